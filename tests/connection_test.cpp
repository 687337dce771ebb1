#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "connection/modem_connection.h"
#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

const std::vector<std::string> kConnectCommands = {"AT",
                                                   "AT+CPAS",
                                                   "AT+CMEE=1",
                                                   "AT+CPIN?",
                                                   "AT+CPAS",
                                                   "ATE0",
                                                   "ATV1",
                                                   "AT+CMEE=1",
                                                   "AT+CREG=0",
                                                   "AT+CREG?",
                                                   "AT+CMGF=0",
                                                   "AT+CNMI=2,0,0,0,0",
                                                   "AT+CPMS=\"SM\",,\"SM\""};

// The errors and warnings in the log, in order.
std::vector<std::string> LoggedErrors(Engine& engine) {
  std::vector<std::string> codes;
  for (const auto& line : engine.folder.LogLinesWith("ERROR [")) codes.push_back(line.substr(7, 4));
  return codes;
}

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
}

TEST(ConnectTest, SendsTheSequenceOnce) {
  Engine engine;
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 0);
  EXPECT_TRUE(engine.sms.IsConnected());
  EXPECT_THAT(engine.modem.CommandTexts(), ElementsAreArray(kConnectCommands));
  EXPECT_THAT(LoggedErrors(engine), IsEmpty());
  const std::string mode = "[baud=19200 parity=N data=8 stop=1]";
  EXPECT_THAT(engine.folder.LogLines(), Contains("Opening port COM1 " + mode));
  EXPECT_EQ(engine.folder.LogLines().back(), "Port COM1 opened " + mode);

  engine.modem.ForgetReceived();
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_THAT(engine.modem.CommandTexts(), IsEmpty());
  EXPECT_TRUE(engine.sms.Disconnect());
  EXPECT_FALSE(engine.sms.IsConnected());
  EXPECT_TRUE(engine.sms.Disconnect());
  const auto calls = engine.line->CallTexts();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "CloseHandle"), 1);
  EXPECT_THAT(std::vector(calls.end() - 3, calls.end()),
              ElementsAre("EscapeCommFunction 6", "EscapeCommFunction 4", "CloseHandle"));
}

// A connect that fails: its error, the commands that it came to, and the port closed so that the next one works.
struct FailCase {
  const char* name;
  void (*prepare)(Engine&);
  std::int32_t code;
  const char* text;
  std::size_t commands;  // of the sequence; 0: not compared
};

class FailedConnectTest : public testing::TestWithParam<FailCase> {};

TEST_P(FailedConnectTest, ReportsClosesAndCanBeRepeated) {
  const FailCase& c = GetParam();
  ModemSettings working;
  Engine engine;
  c.prepare(engine);
  EXPECT_FALSE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), c.code);
  EXPECT_EQ(engine.ErrorText(), c.text);
  EXPECT_FALSE(engine.sms.IsConnected());
  EXPECT_FALSE(engine.line->IsOpen(1));
  if (c.commands > 0) {
    EXPECT_THAT(engine.modem.CommandTexts(),
                ElementsAreArray(kConnectCommands.begin(), kConnectCommands.begin() + static_cast<long>(c.commands)));
  }
  engine.modem.Settings() = working;
  engine.modem.ForgetAnswers();
  engine.modem.RestoreLine();
  engine.line->ForgetFailures();
  EXPECT_TRUE(engine.sms.Connect()) << engine.ErrorText();
}

const FailCase kFailCases[] = {
    {"PortCannotBeOpened",
     [](Engine& e) {
       e.line->SetErrorText(5, "Access is denied.");
       e.line->FailCall("CreateFile", 5);
     },
     1006, "Error (5): CommOpen (CreateFile) - Access is denied.", 0},
    {"LineSettingRefused",
     [](Engine& e) {
       e.line->SetErrorText(87, "The parameter is incorrect.");
       e.line->FailCall("SetCommState", 87);
     },
     1006, "Error (87): CommOpen (SetCommState) - The parameter is incorrect.", 0},
    {"Silent", [](Engine& e) { e.modem.Answer("*", ModemReply::Silence()); }, 1034,
     "Modem not found on the specified serial port", 1},
    {"Garbage", [](Engine& e) { e.modem.Answer("*", ModemReply::Bytes("\x01\xFF#!")); }, 1034,
     "Modem not found on the specified serial port", 1},
    {"AnswersTooLate", [](Engine& e) { e.modem.Answer("*", ModemReply::Own().Late(40000)); }, 1034,
     "Modem not found on the specified serial port", 1},
    {"NotAvailable", [](Engine& e) { e.modem.Settings().activity = 1; }, 2027,
     "The modem is not in a state to accept AT Commands", 5},
    {"NoSim", [](Engine& e) { e.modem.Settings().simPresent = false; }, 2005, "No SIM card is inserted", 4},
    {"DamagedSim", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 13")); }, 2004,
     "SIM card is damaged", 4},
    {"WrongPinReported", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 16")); }, 2008,
     "Invalid or wrong PIN", 4},
    {"OtherSimError", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 14")); }, 2006,
     "Invalid PIN status response", 4},
    {"SimBusyForever", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 515")); }, 2006,
     "Invalid PIN status response", 0},
    {"PukNeeded", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: SIM PUK")); }, 2010,
     "Modem is waiting SIM PUK to be given", 4},
    {"PhoneLockIsNoSimPin", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: PH-SIM PIN")); }, 2016,
     "Unknown error while checking PIN status", 4},
    {"SilentAtPinQuery", [](Engine& e) { e.modem.Answer("AT+CPIN?", ModemReply::Silence()); }, 2007,
     "Communication error while checking PIN status", 4},
    {"PinNeededButNotSet", [](Engine& e) { e.modem.Settings().pin = "1234"; }, 2014,
     "Blank PIN is not allowed (Modem is waiting for PIN)", 4},
    {"PinRefused",
     [](Engine& e) {
       e.modem.Settings().pin = "1234";
       e.sms.SetPIN(u"9999");
     },
     2013, "Invalid PIN", 0},
    {"PinThatWouldBeACommand",
     [](Engine& e) {
       e.modem.Settings().pin = "1234";
       e.sms.SetPIN(u"1234\"\rAT+CLAC");
     },
     2013, "Invalid PIN", 4},
    {"SilentAfterPin",
     [](Engine& e) {
       e.modem.Settings().pin = "1234";
       e.sms.SetPIN(u"1234");
       e.modem.Answer("AT+CPIN=*", ModemReply::Silence());
     },
     2012, "Communication error while sending PIN", 0},
    {"NonsenseAfterPin",
     [](Engine& e) {
       e.modem.Settings().pin = "1234";
       e.sms.SetPIN(u"1234");
       e.modem.Answer("AT+CPIN=*", ModemReply::Line("WHAT"));
     },
     2015, "Unknown error while sending PIN", 0},
    {"PinAcceptedWithoutEffect",
     [](Engine& e) {
       e.modem.Settings().pin = "1234";
       e.sms.SetPIN(u"1234");
       e.modem.Answer("AT+CPIN=*", ModemReply::Line("OK"));
     },
     2011, "Unknown error after sending PIN", 0},
    {"NotSearching", [](Engine& e) { e.modem.Settings().registration = {0}; }, 3002, "Network registration failed", 0},
    {"SearchingForEver", [](Engine& e) { e.modem.Settings().registration = {2}; }, 3002, "Network registration failed",
     0},
    {"Denied", [](Engine& e) { e.modem.Settings().registration = {3}; }, 3003, "Network registration denied", 0},
    {"UnknownStatus", [](Engine& e) { e.modem.Settings().registration = {4}; }, 3004,
     "Unknown network registration status", 0},
    {"StatusWithoutComma", [](Engine& e) { e.modem.Answer("AT+CREG?", ModemReply::Ok("+CREG: 1")); }, 3005,
     "Unknown network registration status", 0},
    {"StatusError", [](Engine& e) { e.modem.Answer("AT+CREG?", ModemReply::Line("ERROR")); }, 3005,
     "Unknown network registration status", 0},
    {"SilentAtRegistration", [](Engine& e) { e.modem.Answer("AT+CREG?", ModemReply::Silence()); }, 3006,
     "Unknown network registration status", 0},
    {"NoPduMode", [](Engine& e) { e.modem.Answer("AT+CMGF=0", ModemReply::Line("ERROR")); }, 1038,
     "Modem does not support PDU mode", 11},
    {"SilentAtPduMode", [](Engine& e) { e.modem.Answer("AT+CMGF=0", ModemReply::Silence()); }, 1012,
     "Cannot read modem response", 11},
    {"LineLostAtPin", [](Engine& e) { e.modem.LoseLineAfter(3); }, 2007,
     "Communication error while checking PIN status", 0},
    {"LineLostAtRegistration", [](Engine& e) { e.modem.LoseLineAfter(9); }, 3006, "Unknown network registration status",
     0},
};
INSTANTIATE_TEST_SUITE_P(, FailedConnectTest, testing::ValuesIn(kFailCases),
                         [](const auto& test) { return std::string(test.param.name); });

// A connect that works in spite of something: the warnings in the log.
struct WarnCase {
  const char* command;
  ModemReply reply;
  std::vector<std::string> warnings;
};

TEST(ConnectTest, InitialisationCommandsThatFailAreWarnings) {
  const ModemReply error = ModemReply::Line("ERROR"), silence = ModemReply::Silence();
  const WarnCase kCases[] = {
      {"ATE0", error, {"1019"}},
      {"ATE0", silence, {"1012"}},
      {"ATV1", error, {"1022"}},
      {"AT+CREG=0", error, {}},
      {"AT+CREG=0", silence, {"1012", "1017"}},
      {"AT+X", error, {"1018"}},
      {"AT+X", silence, {"1012"}},
      {"AT+CNMI=2,0,0,0,0", error, {}},
      {"AT+CNMI=2,*", error, {"1026"}},
      {"AT+CNMI=*", error, {"1026", "1026"}},
      {"AT+CNMI=2,0,0,0,0", silence, {"1012"}},
      {"AT+CPMS=*", error, {"2002"}},
      {"AT+CPAS", error, {}},
  };
  for (const auto& c : kCases) {
    Engine engine;
    engine.sms.SetModemInitString(u" +X ");
    if (std::string(c.command) != "AT+X") engine.modem.Answer("AT+X", ModemReply::Line("OK"));
    engine.modem.Answer(c.command, c.reply);
    EXPECT_TRUE(engine.sms.Connect()) << c.command << " " << engine.ErrorText();
    EXPECT_EQ(engine.sms.ErrorCode(), 0);
    EXPECT_THAT(LoggedErrors(engine), ElementsAreArray(c.warnings)) << c.command;
    EXPECT_THAT(engine.modem.CommandTexts(), Contains("AT+X"));
  }
}

TEST(ConnectTest, NumericErrorFormatIsAskedTwiceAndWarnsOnce) {
  Engine engine;
  engine.modem.Answer("AT+CMEE=1", ModemReply::Line("ERROR"));
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_THAT(LoggedErrors(engine), ElementsAre("1023", "1017"));
}

TEST(ConnectTest, NewMessageIndicationsAreTriedInEveryForm) {
  Engine engine;
  engine.modem.Answer("AT+CNMI=*", ModemReply::Line("ERROR"));
  EXPECT_TRUE(engine.sms.Connect());
  const auto commands = engine.modem.CommandTexts();
  EXPECT_THAT(std::vector(commands.begin() + 11, commands.begin() + 15),
              ElementsAre("AT+CNMI=2,0,0,0,0", "AT+CNMI=2,0,0,0,1", "AT+CNMI=3,0,0,0,0", "AT+CNMI=3,0,0,0,1"));
  EXPECT_THAT(engine.folder.LogLines(),
              Contains("ERROR [1026] Disabling new message indication failed (mode=3,bfr=1)"));
}

TEST(ConnectTest, UnregisteredModemIsRestartedAndSelectsItsNetwork) {
  Engine engine;
  engine.modem.Settings().registration = {0, 1};
  EXPECT_TRUE(engine.sms.Connect());
  const auto commands = engine.modem.CommandTexts();
  EXPECT_THAT(std::vector(commands.begin() + 9, commands.begin() + 14),
              ElementsAre("AT+CREG?", "AT+CFUN=0", "AT+CFUN=1", "AT+COPS=0", "AT+CREG?"));
  EXPECT_THAT(LoggedErrors(engine), IsEmpty());
  const auto& received = engine.modem.Commands();
  EXPECT_GE(received[11].ms - received[10].ms, 2000);
}

TEST(ConnectTest, NetworkSelectionHasAMinuteAndTheTimeoutIsRestored) {
  Engine engine;
  engine.sms.SetTimeout(2000);
  engine.modem.Settings().registration = {0, 1};
  engine.modem.Answer("AT+COPS=0", ModemReply::Own().Late(50000));
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.Timeout(), 2000);
  EXPECT_THAT(LoggedErrors(engine), IsEmpty());
}

TEST(ConnectTest, SearchingModemIsPolledEverySecond) {
  Engine engine;
  engine.modem.Settings().registration = {2, 3, 2, 5};
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_THAT(engine.modem.CommandTexts(), Not(Contains("AT+CFUN=0")));
  EXPECT_EQ(engine.folder.LogLinesWith("Modem is searching for a new operator to register to").size(), 2u);
  EXPECT_EQ(engine.folder.LogLinesWith("Network registration denied to the modem").size(), 1u);
  EXPECT_EQ(engine.folder.LogLinesWith("Checking network registration status again after 1000ms delay").size(), 3u);
  const auto& received = engine.modem.Commands();
  EXPECT_GE(received[10].ms - received[9].ms, 1000);
}

TEST(ConnectTest, SleepingModemIsWokenAndAskedForItsPinAgain) {
  Engine engine;
  engine.modem.Settings().activity = 5;
  engine.modem.Answer("AT+CPAS", ModemReply::Ok("+CPAS: 5"), 2);
  EXPECT_TRUE(engine.sms.Connect());
  const auto commands = engine.modem.CommandTexts();
  EXPECT_THAT(std::vector(commands.begin(), commands.begin() + 10),
              ElementsAre("AT", "AT+CPAS", "AT+CFUN=1", "AT+CMEE=1", "AT+CPIN?", "AT+CPAS", "AT+CFUN=1", "AT+CMEE=1",
                          "AT+CPIN?", "ATE0"));
  EXPECT_EQ(engine.folder.LogLinesWith("ME is asleep (low functionality state)").size(), 2u);
}

TEST(ConnectTest, PinIsSentAndItsDelayKept) {
  Engine engine;
  engine.modem.Settings().pin = "1234";
  engine.sms.SetPIN(u"1234");
  engine.sms.SetDelayAfterPin(5000);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_THAT(engine.folder.LogLines(), Contains("Sending PIN [1234]"));
  const auto& received = engine.modem.Commands();
  ASSERT_EQ(received[4].text, "AT+CPIN=\"1234\"");
  ASSERT_EQ(received[6].text, "AT+CPIN?");
  EXPECT_GE(received[7].ms - received[6].ms, 5000);
}

// The SIM locks itself after three wrong ones.
TEST(ConnectTest, OneCallSendsAWrongPinOnce) {
  const std::pair<const char*, void (*)(SMS&)> kCalls[] = {
      {"Connect", [](SMS& sms) { sms.Connect(); }},
      {"Command", [](SMS& sms) { sms.Command(u"AT\r"); }},
      {"IMEI", [](SMS& sms) { sms.IMEI(); }},
      {"SignalStrength", [](SMS& sms) { sms.SignalStrength(); }},
      {"SetMessageMemory", [](SMS& sms) { sms.SetMessageMemory(u"ME"); }},
      {"SendSMS", [](SMS& sms) { sms.SendSMS(u"123", u"x"); }},
      {"Refresh", [](SMS& sms) { sms.Inbox()->Refresh(); }},
      {"Clear", [](SMS& sms) { sms.Inbox()->Clear(); }},
  };
  for (const auto& [name, call] : kCalls) {
    Engine engine;
    engine.modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
    engine.modem.Store("0791947101670000040C919471214365870000423040707040800131", 1);
    ASSERT_TRUE(engine.sms.Inbox()->Refresh());
    EXPECT_EQ(engine.sms.Inbox()->Count(), 2);
    engine.sms.Disconnect();
    engine.modem.ForgetReceived();
    engine.modem.Answer("AT+CPIN?", ModemReply::Ok("+CPIN: SIM PIN"));
    engine.modem.Answer("AT+CPIN=*", ModemReply::Line("+CME ERROR: 16"));
    engine.sms.SetPIN(u"9999");
    call(engine.sms);
    EXPECT_TRUE(engine.sms.IsError()) << name;
    const auto commands = engine.modem.CommandTexts();
    EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CPIN=\"9999\""), 1) << name;
  }
}

TEST(ConnectTest, PinCheckCanBeSwitchedOff) {
  Engine engine;
  engine.sms.SetDisableCheckPIN(true);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_THAT(engine.modem.CommandTexts(), Not(Contains("AT+CPIN?")));
}

TEST(ConnectTest, BusyModemIsWaitedFor) {
  Engine engine;
  engine.modem.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 515"), 5);
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.modem.Commands().size(), kConnectCommands.size() + 5);
}

TEST(ConnectTest, LogThatCannotBeWrittenDoesNotStopIt) {
  Engine engine;
  std::filesystem::remove_all(engine.folder.Path());
  EXPECT_TRUE(engine.sms.Connect());
  EXPECT_EQ(engine.sms.ErrorCode(), 8004);
}

TEST(ConnectTest, ACommandOnAClosedPortConnectsFirst) {
  Engine engine;
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
  SMS sms(line);
  EXPECT_FALSE(sms.Connect());
  EXPECT_EQ(sms.ErrorCode(), 1010);
  EXPECT_TRUE(sms.Disconnect());
  EXPECT_EQ(sms.ErrorCode(), 0);
  EXPECT_THAT(line->Calls(), IsEmpty());
}

TEST(ConnectTest, EverySpellingOfAPortFindsItsDevice) {
  Engine engine;
  engine.sms.SetPort(u"com001");
  EXPECT_EQ(engine.sms.Port(), u"COM001");
  EXPECT_TRUE(engine.sms.Connect());
}

TEST(ConnectTest, ReleasingTheObjectClosesThePort) {
  SimulatedModem modem;
  TempFolder folder;
  auto line = std::make_shared<SimulatedLine>(modem);
  {
    SMS sms(line);
    sms.SetPort(u"COM1");
    sms.SetLogFolderPath(folder.Path().u16string());
    sms.SetLogType(2);
    sms.SetDebugMode(true);
    sms.Connect();
    line->FailCall("CloseHandle", 6);
  }
  EXPECT_FALSE(line->IsOpen(1));
  EXPECT_THAT(line->MessageBoxes(), IsEmpty());
  EXPECT_EQ(folder.LogLines().back(), "Tavro Closed");
}

}  // namespace
}  // namespace tavro
