#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "engine_fixture.h"
#include "facade/gsm.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::EndsWith;
using testing::IsSupersetOf;

TEST(ConnectTest, TheWholeDialogue) {
  Engine engine;
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Opening port COM1 [baud=19200 parity=N data=8 stop=1]
     0 CreateFile \\.\COM1
     0 SetupComm 4096 1024
     0 PurgeComm 15
     0 SetCommTimeouts 0 0 750 2 0
     0 GetCommState
     0 BuildCommDCB baud=19200 parity=N data=8 stop=1
     0 SetCommState
     0 EscapeCommFunction 3
     0 EscapeCommFunction 5
     0 PurgeComm 15
     0 log Verifying if port connected
     0 log Port is connected
     0 log Verifying if modem is connected
     0 log Send AT command [AT<cr>]
     0 SetCommTimeouts 500 4294967295 4294967295 2 0
   100 PurgeComm 15
   100 log Send: AT<cr>
   100 WriteFile AT<cr> -> 3
   601 log Recv: <cr><lf>OK<cr><lf>
   601 log Modem is connected
   601 log Checking ME activity status
   601 AT+CPAS > 701 > 1202 |+CPAS: 0||OK|
  1202 log ME is in ready state
  1202 AT+CMEE=1 > 1302 > 1803 |OK|
  1803 log Checking PIN status
  1803 AT+CPIN? > 1903 > 2404 |+CPIN: READY||OK|
  2404 log Checking ME activity status
  2404 AT+CPAS > 2504 > 3005 |+CPAS: 0||OK|
  3005 log ME is in ready state
  3005 log Disable modem echo
  3005 ATE0 > 3105 > 3606 |OK|
  3606 log Enable long result code format
  3606 ATV1 > 3706 > 4207 |OK|
  4207 AT+CMEE=1 > 4307 > 4808 |OK|
  4808 log Disable network registration unsolicited result code
  4808 AT+CREG=0 > 4908 > 5409 |OK|
  5409 log Checking network registration status
  5409 AT+CREG? > 5509 > 6010 |+CREG: 0,1||OK|
  6010 log Setting PDU mode in GSM modem
  6010 AT+CMGF=0 > 6110 > 6611 |OK|
  6611 log Disable new message indication
  6611 AT+CNMI=2,0,0,0,0 > 6711 > 7212 |OK|
  7212 log Setting message memory as 'SM'
  7212 AT+CPMS="SM",,"SM" > 7312 > 7813 |+CPMS: 0,100,0,100,0,100||OK|
  7813 log Message memory set as 'SM'
  7813 log Port COM1 opened [baud=19200 parity=N data=8 stop=1]
error 0, connected
)");

  EXPECT_TRUE(engine.sms.Connect());  // is connected already
  EXPECT_TRUE(engine.sms.Disconnect());
  EXPECT_TRUE(engine.sms.Disconnect());
  EXPECT_EQ(engine.Transcript(), R"(
     0 EscapeCommFunction 6
     0 EscapeCommFunction 4
     0 CloseHandle
error 0, disconnected
)");

  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Verifying if modem is connected", "Modem is connected"), R"(
     0 log Verifying if modem is connected
     0 log Send AT command [AT<cr>]
     0 SetCommTimeouts 500 4294967295 4294967295 2 0
   100 PurgeComm 15
   100 log Send: AT<cr>
   100 WriteFile AT<cr> -> 3
   601 log Recv: <cr><lf>OK<cr><lf>
error 0, connected
)");
}

class Connecting : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, Connecting, testing::ValuesIn(kManners), MannerName);

TEST_P(Connecting, OpensThePortAsItIsSetWhateverItsSpelling) {
  const std::pair<const char16_t*, int> kPorts[] = {{u" com0012 ", 12}, {u"COM256", 256}};
  for (const auto& [name, number] : kPorts) {
    SimulatedModem modem;
    Engine engine({}, GetParam());
    engine.line->Attach(number, modem);
    engine.sms.SetPort(name);
    engine.sms.SetBaudRate(115200);
    engine.sms.SetParity(u"even");
    engine.sms.SetDataBits(7);
    engine.sms.SetStopBits(u"1.5");
    EXPECT_TRUE(engine.sms.Connect());
    const std::string mode = "baud=115200 parity=E data=7 stop=1.5";
    EXPECT_THAT(engine.folder.LogLines(),
                Contains("Opening port " + engine.line->ToCodePage(engine.sms.Port()) + " [" + mode + "]"));
    EXPECT_THAT(engine.line->CallTexts(),
                IsSupersetOf({"CreateFile \\\\.\\COM" + std::to_string(number), "BuildCommDCB " + mode}));
  }
}

// An answer that is nothing but the command, twice: its echoes go and nothing is left.
ModemReply Empty(const std::string& command) { return ModemReply::Bytes(command + "\r" + command + "\r"); }

TEST(ConnectTest, EverythingThatIsNotNeededFails) {
  Engine engine;
  engine.sms.SetModemInitString(u" +X ");
  engine.modem.Settings().registration = {0, 1};
  for (const char* refused :
       {"AT+X", "ATE0", "ATV1", "AT+CMEE=1", "AT+CFUN=0", "AT+COPS=0", "AT+CNMI=2*", "AT+CPMS=*"}) {
    engine.modem.Answer(refused, ModemReply::Line("ERROR"));
  }
  for (const char* ignored : {"AT+CREG=0", "AT+CFUN=1", "AT+CNMI=3,0,0,0,0"}) {
    engine.modem.Answer(ignored, Empty(ignored));
  }
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Initializing modem"), R"(
     0 log Initializing modem (user defined)
     0 AT+X > 100 > 601 |ERROR|
   601 log ERROR [1018] Error response to user defined modem initialization string
   601 log Disable modem echo
   601 ATE0 > 701 > 1202 |ERROR|
  1202 log ERROR [1019] Error response to disable modem echo
  1202 log Enable long result code format
  1202 ATV1 > 1302 > 1803 |ERROR|
  1803 log ERROR [1022] Error response to enable long result code format
  1803 AT+CMEE=1 > 1903 > 2404 |ERROR|
  2404 log ERROR [1023] Error response to enable numeric result code format
  2404 log Disable network registration unsolicited result code
  2404 AT+CREG=0 > 2504 > 3005 (empty)
  3005 log ERROR [1033] No response to disable network registration unsolicited result code
  3005 log Checking network registration status
  3005 AT+CREG? > 3105 > 3606 |+CREG: 0,0||OK|
  3606 log Set ME to minimum functionality mode
  3606 AT+CFUN=0 > 3706 > 4207 |ERROR|
  4207 log ERROR [1040] Setting ME to minimum functionality mode failed
  6207 log Set ME to full functionality mode
  6207 AT+CFUN=1 > 6207 > 6708 (empty)
  6708 log ERROR [1024] No response to full functionality mode command
  8708 log Enable automatic network selection
  8708 AT+COPS=0 > 8708 > 9209 |ERROR|
  9209 log ERROR [1037] Error response to automatic network selection command
  9209 log ERROR [1017] At least one default modem initialization command failed
  9209 log Checking network registration status
  9209 AT+CREG? > 9309 > 9810 |+CREG: 0,1||OK|
  9810 log Setting PDU mode in GSM modem
  9810 AT+CMGF=0 > 9910 > 10411 |OK|
 10411 log Disable new message indication
 10411 AT+CNMI=2,0,0,0,0 > 10511 > 11012 |ERROR|
 11012 AT+CNMI=2,0,0,0,1 > 11112 > 11613 |ERROR|
 11613 log ERROR [1026] Disabling new message indication failed (mode=2,bfr=1)
 11613 log Disable new message indication
 11613 AT+CNMI=3,0,0,0,0 > 11713 > 12214 (empty)
 12214 log ERROR [1025] No response to disable new message indication command (bfr=0)
 12214 log Setting message memory as 'SM'
 12214 AT+CPMS="SM",,"SM" > 12314 > 12815 |ERROR|
 12815 AT+CPMS="SM",,"SM" > 12915 > 13416 |ERROR|
 13416 log Port COM1 opened [baud=19200 parity=N data=8 stop=1]
error 0, previous ERROR 1025: No response to disable new message indication command (bfr=0), connected
)");
}

// The other warnings of a connect, each by itself.
TEST(ConnectTest, WarnsOfEachCommandThatFails) {
  const ModemReply error = ModemReply::Line("ERROR").Executed(), silence = ModemReply::Silence(),
                   nonsense = ModemReply::Line("?");
  const std::string silent = "1012] Cannot read modem response",
                    defaults = "1017] At least one default modem initialization command failed";
  const struct {
    const char* command;
    ModemReply reply;
    std::vector<std::string> warnings;
  } kCases[] = {
      {"AT+X", silence, {silent}},
      {"AT+X", Empty("AT+X"), {}},
      {"ATE0", silence, {silent}},
      {"ATE0", Empty("ATE0"), {"1027] No response to disable modem echo command"}},
      {"ATV1", Empty("ATV1"), {"1029] No response to enable long result code format command"}},
      {"AT+CMEE=1", Empty("AT+CMEE=1"), {"1031] No response to enable numeric result code format", defaults}},
      {"AT+CREG=0", error, {}},
      {"AT+CREG=0", silence, {silent, defaults}},
      {"AT+CFUN=0", Empty("AT+CFUN=0"), {"1039] No response to minimum functionality mode command"}},
      {"AT+CFUN=1", error, {"1021] Setting of ME to full functionality mode failed"}},
      {"AT+COPS=0", Empty("AT+COPS=0"), {"1035] No response to enable automatic network selection command", defaults}},
      {"AT+CNMI=2,0,0,0,0", error, {}},
      {"AT+CNMI=2,0,0,0,0", nonsense, {"1026] Disabling new message indication failed (mode=2,bfr=0)"}},
      {"AT+CNMI=2,0,0,0,0", silence, {silent}},
      {"AT+CNMI=*",
       error,
       {"1026] Disabling new message indication failed (mode=2,bfr=1)",
        "1026] Disabling new message indication failed (mode=3,bfr=1)"}},
      {"AT+CPAS", error, {}},
  };
  for (const auto& c : kCases) {
    Engine engine;
    engine.sms.SetModemInitString(u"at+X");
    engine.modem.Answer(c.command, c.reply);
    engine.modem.Answer("AT+X", ModemReply::Line("OK"));
    engine.modem.Settings().registration = {0, 1};  // so that a network is selected
    EXPECT_TRUE(engine.sms.Connect()) << c.command << " " << engine.ErrorText();
    EXPECT_EQ(engine.sms.ErrorCode(), 0);
    std::vector<std::string> warnings;
    for (const auto& line : engine.folder.LogLinesWith("ERROR [")) warnings.push_back(line.substr(7));
    EXPECT_EQ(warnings, c.warnings) << c.command;
    EXPECT_THAT(engine.modem.CommandTexts(), Contains("at+X"));
  }
}

TEST(ConnectTest, NetworkSelectionHasAMinuteAndTheTimeoutIsRestored) {
  Engine engine;
  engine.sms.SetTimeout(2000);
  engine.modem.Settings().registration = {0, 1};
  engine.modem.Answer("AT+COPS=0", ModemReply::Silence());
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.Timeout(), 2000);
  // From 11112 to the full second that is the sixtieth.
  EXPECT_EQ(engine.Transcript("Enable automatic", "Checking network"), R"(
     0 log Enable automatic network selection
     0 AT+COPS=0 > 0 > 59888 ERROR [1012] Cannot read modem response
 59888 log ERROR [1017] At least one default modem initialization command failed
error 0, previous ERROR 1017: At least one default modem initialization command failed, connected
)");
}

TEST(ConnectTest, SearchingModemIsPolledEverySecondWithinTheTimeout) {
  Engine engine;
  engine.modem.Answer("AT+CREG?", ModemReply::Ok("+CREG: 1,2"), 1);  // the second value counts
  engine.modem.Settings().registration = {3, 5};
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Checking network", "Setting PDU"), R"(
     0 log Checking network registration status
     0 AT+CREG? > 100 > 601 |+CREG: 1,2||OK|
   601 log Modem is searching for a new operator to register to
  1601 log Checking network registration status again after 1000ms delay
  1601 AT+CREG? > 1601 > 2102 |+CREG: 0,3||OK|
  2102 log Network registration denied to the modem
  3102 log Checking network registration status again after 1000ms delay
  3102 AT+CREG? > 3102 > 3603 |+CREG: 0,5||OK|
error 0, connected
)");

  Engine searching;
  searching.sms.SetTimeout(3000);
  searching.modem.Settings().registration = {2};
  EXPECT_FALSE(searching.sms.Connect());
  // From second 5 to second 8.
  EXPECT_EQ(searching.Transcript("Checking network", "Set ME to minimum"), R"(
     0 log Checking network registration status
     0 AT+CREG? > 100 > 601 |+CREG: 0,2||OK|
   601 log Modem is searching for a new operator to register to
  1601 log Checking network registration status again after 1000ms delay
  1601 AT+CREG? > 1601 > 2102 |+CREG: 0,2||OK|
  2102 log Modem is searching for a new operator to register to
  3102 log Checking network registration status again after 1000ms delay
error 3002 Network registration failed, disconnected
)");
}

TEST(ConnectTest, SleepingModemIsWokenAndAskedForItsPinAgain) {
  Engine engine;
  engine.modem.Answer("AT+CPAS", ModemReply::Ok("+CPAS: 5"));
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Checking ME activity", "Disable modem echo"), R"(
     0 log Checking ME activity status
     0 AT+CPAS > 100 > 601 |+CPAS: 5||OK|
   601 log ME is asleep (low functionality state)
   601 log Set ME to full functionality mode
   601 AT+CFUN=1 > 701 > 1202 |OK|
  3202 AT+CMEE=1 > 3202 > 3703 |OK|
  3703 log Checking PIN status
  3703 AT+CPIN? > 3803 > 4304 |+CPIN: READY||OK|
  4304 log Checking ME activity status
  4304 AT+CPAS > 4404 > 4905 |+CPAS: 5||OK|
  4905 log ME is asleep (low functionality state)
  4905 log Set ME to full functionality mode
  4905 AT+CFUN=1 > 5005 > 5506 |OK|
  7506 log Verify PIN status after full functionality mode
  7506 AT+CMEE=1 > 7506 > 8007 |OK|
  8007 log Checking PIN status
  8007 AT+CPIN? > 8107 > 8608 |+CPIN: READY||OK|
error 0, connected
)");
}

TEST_P(Connecting, LogsTheActivity) {
  const std::pair<const char*, const char*> kTexts[] = {{"0", "ME is in ready state"},
                                                        {"1", "ME is not available"},
                                                        {"2", "ME is in a unknown state"},
                                                        {"3", "ME is ready but ringer is active"},
                                                        {"4", "ME is ready but call is in progress"},
                                                        {"44", "ME is in a unknown state"},
                                                        {"", "Error checking ME state"}};
  for (const auto& [status, text] : kTexts) {
    Engine engine({}, GetParam());
    engine.modem.Answer("AT+CPAS", ModemReply::Ok("+CPAS: " + std::string(status)));
    engine.sms.Connect();
    EXPECT_THAT(engine.folder.LogLines(), Contains(text));
  }
}

TEST(ConnectTest, PinIsSentAndItsEffectAwaited) {
  Engine engine;
  engine.modem.Settings().pin = "1234";
  engine.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: SIM PIN"), 2);
  engine.sms.SetPIN(u"1234");
  engine.sms.SetDelayAfterPin(5000);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("Checking PIN status", "Disable modem echo"), R"(
     0 log Checking PIN status
     0 AT+CPIN? > 100 > 601 |+CPIN: SIM PIN||OK|
   601 log Modem is waiting for PIN
   601 log Sending PIN [1234]
   601 AT+CPIN="1234" > 701 > 1202 |OK|
  1277 AT+CMEE=1 > 1302 > 1803 |OK|
  1803 log Checking PIN status
  1803 AT+CPIN? > 1903 > 2404 |+CPIN: SIM PIN||OK|
  2404 log Modem is waiting for PIN
  2479 AT+CMEE=1 > 2504 > 3005 |OK|
  3005 log Checking PIN status
  3005 AT+CPIN? > 3105 > 3606 |+CPIN: READY||OK|
  3606 log Modem unlocked with PIN
  8606 log Checking ME activity status
  8606 AT+CPAS > 8606 > 9107 |+CPAS: 0||OK|
  9107 log ME is in ready state
error 0, connected
)");

  Engine locked;
  locked.sms.SetTimeout(2000);
  locked.sms.SetPIN(u"1234");
  locked.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: SIM PIN"));
  locked.modem.Answer("AT+CPIN=*", ModemReply::Line("OK"));
  EXPECT_FALSE(locked.sms.Connect());
  // Sent in second 2, whatever the time of its answer; given up in second 4.
  EXPECT_EQ(locked.Transcript("Sending PIN"), R"(
     0 log Sending PIN [1234]
     0 AT+CPIN="1234" > 100 > 601 |OK|
   676 AT+CMEE=1 > 701 > 1202 |OK|
  1202 log Checking PIN status
  1202 AT+CPIN? > 1302 > 1803 |+CPIN: SIM PIN||OK|
  1803 log Modem is waiting for PIN
  1803 EscapeCommFunction 6
  1803 EscapeCommFunction 4
  1803 log ERROR [2011] Unknown error after sending PIN
  1803 EscapeCommFunction 6
  1803 EscapeCommFunction 4
  1803 CloseHandle
error 2011 Unknown error after sending PIN, disconnected
)");
}

TEST_P(Connecting, PinThatWouldBeMoreThanAPinIsNotSent) {
  for (const char16_t* pin : {u"1234\"", u"1234\rAT+CLAC", u"1\n", u"12\b34", u"1\x7F", u"1\x1A", u"\x1B", u"1\x1F"}) {
    Engine engine({}, GetParam());
    engine.modem.Settings().pin = "1234";
    engine.sms.SetPIN(pin);
    EXPECT_FALSE(engine.sms.Connect());
    EXPECT_EQ(engine.ErrorText(), "Invalid PIN");
    EXPECT_EQ(engine.modem.CommandTexts().back(), "AT+CPIN?") << engine.line->ToCodePage(pin);
  }
}

// Connects that fail: a command and its answer, or what else is wrong; the error, the last command and the end of the
// dialogue. The next one works.
TEST(ConnectTest, FailsClosesAndCanBeRepeated) {
  enum class End : std::uint8_t { kNotOpened, kErrorFirst, kLinesFirst, kErrorThenLines, kOther };
  constexpr auto kLines = End::kLinesFirst, kError = End::kErrorFirst, kOther = End::kOther;
  const auto line = [](const char* text) { return ModemReply::Line(text); };
  const auto ok = [](const char* text) { return ModemReply::Ok(text); };
  const ModemReply silence = ModemReply::Silence();
  const struct {
    const char* command;
    ModemReply reply;
    std::int32_t code;
    End end;
    const char* lastCommand;  // "": not compared
    void (*prepare)(Engine&) = [](Engine&) {};
  } kCases[] = {
      {"", {}, 1006, End::kNotOpened, "", [](Engine& e) { e.line->FailCall("CreateFile", 5); }},
      {"", {}, 1006, kError, "", [](Engine& e) { e.line->FailCall("SetCommState", 87); }},
      {"*", silence, 1034, kLines, "ATV1"},
      {"*", ModemReply::Bytes("\x01\xFF#!"), 1034, kLines, "ATV1"},
      {"*", ModemReply::Own().Late(3000), 1034, kLines, "ATV1"},
      {"AT+CPAS", ok("+CPAS: 1"), 2027, End::kErrorThenLines, "AT+CPAS"},
      {"", {}, 2005, kLines, "AT+CPIN?", [](Engine& e) { e.modem.Settings().simPresent = false; }},
      {"AT+CPIN?", line("+CME ERROR: 13"), 2004, kLines, "AT+CPIN?"},
      {"AT+CPIN?", line("+CME ERROR: 10"), 2005, kLines, "AT+CPIN?"},
      {"AT+CPIN?", line("+CME ERROR: 16"), 2008, kLines, "AT+CPIN?"},
      {"AT+CPIN?", line("+CME ERROR: 14"), 2006, kLines, "AT+CPIN?"},
      {"AT+CPIN?", line("+CME ERROR: 515"), 2006, kLines, "AT+CPIN?"},
      {"AT+CPIN?", ok("+CPIN: SIM PUK"), 2010, kLines, "AT+CPIN?"},
      {"AT+CPIN?", ok("+CPIN: PH-SIM PIN"), 2016, kLines, "AT+CPIN?"},
      {"AT+CPIN?", ok("+CPIN: SIM PIN"), 2014, kLines, "AT+CPIN?", [](Engine& e) { e.sms.SetPIN(u""); }},
      {"AT+CPIN?", silence, 2007, kLines, "AT+CPIN?"},
      {"AT+CPIN=*", line("+CME ERROR: 16"), 2013, kLines, "AT+CPIN=\"1234\""},
      {"AT+CPIN=*", silence, 2012, kLines, "AT+CPIN=\"1234\""},
      {"AT+CPIN=*", line("WHAT"), 2015, kLines, "AT+CPIN=\"1234\""},
      {"AT+CPIN=*", line("OK"), 2011, kLines, "AT+CPIN?"},
      {"AT+CPAS", ok("+CPAS: 5"), 2005, End::kErrorThenLines, "AT+CPIN?",
       [](Engine& e) {
         e.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: READY"), 1);
         e.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 10"));
       }},
      {"AT+CREG?", ok("+CREG: 0,0"), 3002, kLines, "AT+CREG?"},
      {"AT+CREG?", ok("+CREG: 0,2"), 3002, kLines, "AT+CREG?"},
      {"AT+CREG?", ok("+CREG: 0,3"), 3003, kLines, "AT+CREG?"},
      {"AT+CREG?", ok("+CREG: 0,4"), 3004, kLines, "AT+CREG?"},
      {"AT+CREG?", ok("+CREG: 1"), 3005, kLines, "AT+CREG?"},
      {"AT+CREG?", line("ERROR"), 3005, kLines, "AT+CREG?"},
      {"AT+CREG?", silence, 3006, kLines, "AT+CREG?"},
      {"AT+CMGF=0", line("ERROR"), 1038, kError, "AT+CMGF=0"},
      {"AT+CMGF=0", silence, 1012, kOther, "AT+CMGF=0"},
      {"", {}, 2007, kOther, "AT+CPIN?", [](Engine& e) { e.modem.LoseLineAfter(3); }},
      {"", {}, 1011, kOther, "", [](Engine& e) { e.modem.LoseLineAfter(9); }},
  };
  const std::string lines = "     0 EscapeCommFunction 6\n     0 EscapeCommFunction 4\n";
  for (const auto& c : kCases) {
    Engine engine;
    engine.sms.SetTimeout(2000);
    engine.sms.SetPIN(u"1234");
    if (std::string_view(c.command) == "AT+CPIN=*") engine.modem.Settings().pin = "1234";
    c.prepare(engine);
    engine.modem.Answer(c.command, c.reply);
    EXPECT_FALSE(engine.sms.Connect());
    const auto commands = engine.modem.CommandTexts();
    EXPECT_TRUE(!*c.lastCommand || commands.back() == c.lastCommand) << commands.back();
    const std::string code = std::to_string(c.code), text = engine.ErrorText();
    std::string end = "\n     0 log ERROR [" + code + "] " + text + "\n";
    if (c.end == kLines) end.insert(1, lines);
    if (c.end == End::kErrorThenLines) end += lines;
    if (c.end != End::kNotOpened) end += lines + "     0 CloseHandle\n";
    end += "error " + code + " " + text + ", disconnected\n";
    if (c.end == kOther) end.erase(0, end.rfind("error "));
    const std::string transcript = engine.Transcript(c.end == kLines ? lines.substr(7, 20) : "ERROR [" + code);
    EXPECT_THAT(transcript, EndsWith(end)) << c.command << " " << c.code;
    EXPECT_TRUE(c.end == kOther || transcript.size() == end.size()) << transcript;
    engine.modem.Settings() = ModemSettings();
    engine.modem.ForgetAnswers();
    engine.modem.RestoreLine();
    engine.line->ForgetFailures();
    EXPECT_TRUE(engine.sms.Connect()) << engine.ErrorText();
  }
}

TEST(ConnectTest, IsNoSuccessWhenTheLineIsLostOnTheWay) {
  for (int commands = 0; commands <= 13; ++commands) {
    Engine engine;
    engine.sms.SetTimeout(1000);
    engine.modem.LoseLineAfter(commands);
    EXPECT_EQ(engine.sms.Connect(), commands == 13) << commands;
    EXPECT_EQ(engine.line->IsOpen(1), commands == 13) << commands;
    EXPECT_EQ(engine.sms.IsError(), commands != 13) << commands;
  }
}

TEST_P(Connecting, ADeviceThatWasGoneIsConnectedAnew) {
  Engine engine({}, GetParam());
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.LoseLine();
  EXPECT_EQ(engine.sms.IMEI(), u"");
  EXPECT_EQ(engine.sms.ErrorCode(), GetParam() == Dialogue::kClassic ? 1011 : 1006);  // noticed before it is used
  EXPECT_FALSE(engine.line->IsOpen(1));
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 1006);
  engine.modem.RestoreLine();
  EXPECT_EQ(engine.sms.IMEI(), u"490154203237518");
  EXPECT_TRUE(engine.sms.IsConnected());
}

// The SIM locks itself after three wrong ones.
TEST(ConnectTest, APinIsSentOnceWhateverTheAnswer) {
  for (const char* answer : {"+CME ERROR: 515", "+CREG: 2,\"5151\",\"00A2\"\r\n\r\n+CME ERROR: 16"}) {
    Engine engine;
    engine.modem.Settings().pin = "1234";
    engine.modem.Answer("AT+CPIN=*", ModemReply::Line(answer));
    engine.sms.SetPIN(u"9999");
    EXPECT_FALSE(engine.sms.Connect());
    EXPECT_EQ(engine.ErrorText(), "Invalid PIN");
    EXPECT_THAT(engine.modem.CommandTexts(), Contains("AT+CPIN=\"9999\"").Times(1));
  }
}

TEST(ConnectTest, ADeviceThatIsGoneEndsTheWaitForTheSim) {
  Engine engine;
  engine.modem.Settings().pin = "1234";
  engine.modem.Answer("AT+CPIN=*", ModemReply::Own().LineLostAfter(6));
  engine.sms.SetPIN(u"1234");
  const std::int64_t start = engine.line->Elapsed();
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_LT(engine.line->Elapsed() - start, 6000);
}

TEST_P(Connecting, OneCallSendsAWrongPinOnce) {
  const std::pair<const char*, void (*)(SMS&)> kCalls[] = {
      {"Connect", [](SMS& sms) { sms.Connect(); }},
      {"Command", [](SMS& sms) { sms.Command(u"AT\r"); }},
      {"IMEI", [](SMS& sms) { sms.IMEI(); }},
      {"SignalStrength", [](SMS& sms) { sms.SignalStrength(); }},
      {"SetMessageMemory", [](SMS& sms) { sms.SetMessageMemory(u"ME"); }},
      {"SendSMS", [](SMS& sms) { sms.SendSMS(u"+123", std::u16string(200, u'x')); }},
      {"Send",
       [](SMS& sms) {
         sms.WapPush()->SetDestination(u"+123");
         sms.WapPush()->SetText(u"x");
         sms.WapPush()->SetURL(u"x");
         sms.WapPush()->Send();
       }},
      {"Refresh", [](SMS& sms) { sms.Inbox()->Refresh(); }},
      {"Clear", [](SMS& sms) { sms.Inbox()->Clear(); }},
  };
  for (const auto& [name, call] : kCalls) {
    for (const bool isDropped : {false, true}) {  // in the middle of the call
      Engine engine({}, GetParam());
      engine.modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
      engine.modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
      ASSERT_TRUE(engine.sms.Inbox()->Refresh());
      EXPECT_EQ(engine.sms.Inbox()->Count(), 2);
      if (!isDropped) engine.sms.Disconnect();
      for (const char* command : {"AT+CMGS=*", "AT+CMGD=*", "AT+CMGL=*"}) {
        engine.modem.Answer(command, ModemReply::Silence());
      }
      engine.modem.ForgetReceived();
      engine.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: SIM PIN"));
      engine.modem.Answer("AT+CPIN=*", ModemReply::Line("+CME ERROR: 16"));
      engine.sms.SetPIN(u"9999");
      engine.sms.SetTimeout(1000);
      call(engine.sms);
      const auto commands = engine.modem.CommandTexts();
      const auto sent = std::count(commands.begin(), commands.end(), "AT+CPIN=\"9999\"");
      EXPECT_LE(sent, 1) << name;
      if (!isDropped) {
        EXPECT_EQ(sent, 1) << name;
        EXPECT_EQ(engine.ErrorText(), "Invalid PIN") << name;
      }
    }
  }
}

TEST(ConnectTest, PinCheckCanBeSwitchedOff) {
  Engine engine;
  engine.sms.SetDisableCheckPIN(true);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.Transcript("ME is in ready state", "Checking ME"), R"(
     0 log ME is in ready state
     0 log Bypassing PIN status check because disabled
error 0, connected
)");
}

TEST_P(Connecting, RestoresTheMemoryThatWasChosen) {
  Engine engine({}, GetParam());
  engine.sms.SetMessageMemory(u"me");
  engine.sms.Disconnect();
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.modem.CommandTexts().back(), "AT+CPMS=\"ME\",,\"ME\"");
}

TEST(ConnectTest, VerifiesAConnectionAndGivesItUp) {
  Engine engine;
  engine.sms.SetLogType(0);
  GSM gsm(engine.line);
  gsm.settings.port = "COM1";
  gsm.settings.portNumber = 1;
  gsm.settings.timeout = 1000;
  ASSERT_TRUE(gsm.connection.EnsureConnection());
  gsm.log.SetFolderPath(engine.folder.Path().u16string());
  gsm.log.SetLogType(2);
  engine.line->StartTranscript();
  EXPECT_TRUE(gsm.connection.EnsureConnection());
  engine.modem.Answer("AT", ModemReply::Line("ERROR"));
  EXPECT_FALSE(gsm.connection.EnsureConnection());
  EXPECT_EQ(engine.line->Transcript(), R"(
     0 log Verifying connection
     0 AT > 100 > 601 |OK|
   601 log Connection verified OK
   601 log Verifying connection
   601 AT > 701 > 1202 |ERROR|
  1202 log ERROR [1015] Connection verification failed
  1202 EscapeCommFunction 6
  1202 EscapeCommFunction 4
  1202 CloseHandle
)");
}

TEST_P(Connecting, LogThatCannotBeWrittenDoesNotStopIt) {
  Engine engine({}, GetParam());
  std::filesystem::remove_all(engine.folder.Path());
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 8004);
}

TEST_P(Connecting, ACommandOnAClosedPortConnectsFirst) {
  Engine engine({}, GetParam());
  EXPECT_EQ(engine.sms.Command(u"AT+CSQ\r"), u"+CSQ: 23,0");
  EXPECT_TRUE(engine.sms.IsConnected());
  EXPECT_THAT(engine.modem.CommandTexts().back(), "AT+CSQ");
  engine.sms.Disconnect();
  engine.modem.LoseLine();
  EXPECT_EQ(engine.sms.Command(u"AT+CSQ\r"), u"");
  EXPECT_EQ(engine.sms.ErrorCode(), 1006);
}

TEST(ConnectTest, NoPortIsNoDevice) {
  auto line = std::make_shared<SimulatedLine>();
  SMS sms(line, Options{.dialogue = Dialogue::kClassic});
  EXPECT_FALSE(sms.Connect());
  EXPECT_EQ(sms.ErrorCode(), 1010);
  EXPECT_TRUE(sms.Disconnect());
  EXPECT_EQ(sms.ErrorCode(), 0);
  EXPECT_TRUE(line->Calls().empty());
}

TEST(ConnectTest, ReleasingTheObjectClosesThePortAndShowsNoBox) {
  SimulatedModem modem;
  auto line = std::make_shared<TranscriptLine>(modem);
  for (const char* log : {"log Tavro Closed", "log cannot be written"}) {
    TempFolder folder;
    {
      SMS sms(line, Options{.dialogue = Dialogue::kClassic});
      sms.SetPort(u"COM1");
      sms.SetLogFolderPath(folder.Path().u16string());
      sms.SetLogType(2);
      sms.SetDebugMode(true);
      sms.Connect();
      line->StartTranscript();
      if (log[4] == 'c') std::filesystem::remove_all(folder.Path());
    }
    EXPECT_EQ(line->Transcript(), "\n     0 " + std::string(log) + R"(
     0 EscapeCommFunction 6
     0 EscapeCommFunction 4
     0 CloseHandle
)");
  }
}

}  // namespace
}  // namespace tavro
