// The simulated modem and the line to it in virtual time, on which the other tests stand.
#include "simulator/simulated_modem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/long_message.h"
#include "simulator/printable.h"
#include "simulator/simulated_line.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kLater = std::numeric_limits<std::int64_t>::max();
constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;

std::string Talk(SimulatedModem& modem, std::string_view bytes, std::int64_t ms = 0) {
  modem.Receive(bytes, ms);
  return modem.TakeOutput(kLater);
}

// "hello" to +491701234567 with a status report wanted, assembled from 3GPP TS 23.040, 9.2.2.2.
constexpr char kSubmit[] =
    "0031000C91947110325476"
    "0000A7"
    "05E8329BFD06";
constexpr char kSubmitNational[] =
    "0011000B811007214365F7"
    "0000A7"
    "05E8329BFD06";
// What 9.2.2.1 and 9.2.2.3 make of it at 2024-03-05 14:07:09 UTC in the zone of -5 hours.
constexpr char kDelivered[] =
    "0791947101670000"
    "240C91947110325476"
    "0000"
    "4230509070900A"
    "05E8329BFD06";
constexpr char kReported[] =
    "0791947101670000"
    "06FF0C91947110325476"
    "4230509070900A"
    "4230509070900A"
    "00";

struct Dialogue {
  const char* name;
  std::vector<std::string> sent;
  std::string answer;  // to the last one
  ModemSettings settings = {};
};

void PrintTo(const Dialogue& dialogue, std::ostream* out) { *out << dialogue.name; }

class ModemDialogue : public testing::TestWithParam<Dialogue> {};

TEST_P(ModemDialogue, Answers) {
  SimulatedModem modem(GetParam().settings);
  std::string answer;
  for (const std::string& bytes : GetParam().sent) answer = Talk(modem, bytes);
  EXPECT_EQ(answer, GetParam().answer);
}

ModemSettings NoSim() {
  ModemSettings settings;
  settings.simPresent = false;
  return settings;
}

ModemSettings WithPin() {
  ModemSettings settings;
  settings.pin = "1234";
  return settings;
}

ModemSettings Unregistered() {
  ModemSettings settings;
  settings.registration = {2};
  return settings;
}

ModemSettings OnLteForMessages() {
  ModemSettings settings;
  settings.registration = {0};
  settings.packetRegistration = {2, 3};
  settings.lteRegistration = {2, 6};
  return settings;
}

ModemSettings ReadyInItsOwnWords() {
  ModemSettings settings;
  settings.readyState = "SIM PUK2";
  settings.quotesPinState = true;
  settings.blankBehindColon = false;
  return settings;
}

ModemSettings WithTwoAttempts() {
  ModemSettings settings = WithPin();
  settings.pinAttempts = 2;
  settings.tellsPinAttempts = true;
  return settings;
}

ModemSettings InUcs2() {
  ModemSettings settings;
  settings.ucs2 = true;
  settings.serviceCentre = "+1";
  settings.ownNumber = "4";
  settings.operators = {{2, "\u00C9", "E", "26299"}};
  return settings;
}

ModemSettings OddOperator() {
  ModemSettings settings;
  settings.operators = {{1, "A,B;C", "A", "26299"}};
  return settings;
}

const Dialogue kDialogues[] = {
    {"Echo", {"AT\r\n"}, "AT\r\r\nOK\r\n"},
    {"NoEcho", {"ATE0\r", "AT\r"}, "\r\nOK\r\n"},
    {"LowerCase", {"ate0\r", "at+csq\r"}, "\r\n+CSQ: 23,0\r\n\r\nOK\r\n"},
    {"BytewiseWithLineFeed", {"ATE0\r\n", "\nA", "T\r\n"}, "\r\nOK\r\n"},
    {"NoiseInFront", {"ATE0\r", "\x80+#AT+CGSN\r"}, "\r\n490154203237518\r\n\r\nOK\r\n"},
    {"Backspace", {"ATE0\r", "ATE1\b0\r"}, "\r\nOK\r\n"},
    {"NoAttention", {"ATE0\r", "HELLO\r"}, ""},
    {"Repeated", {"ATE0;+CSQ\r", "a/"}, "\r\n+CSQ: 23,0\r\n\r\nOK\r\n"},
    {"Several",
     {"ATE0V1+CMEE=1;+CREG?;+CMEE?\r"},
     "ATE0V1+CMEE=1;+CREG?;+CMEE?\r\r\n+CREG: 0,1\r\n\r\n+CMEE: 1\r\n\r\nOK\r\n"},
    {"StopsAtTheFirstError", {"ATE0\r", "AT+NONE;+CMEE=1\r", "AT+CMEE?\r"}, "\r\n+CMEE: 0\r\n\r\nOK\r\n"},
    {"Quoted", {"ATE0\r", "AT+COPS=1,0,\"A,B;C\"\r"}, "\r\nOK\r\n", OddOperator()},
    {"Unknown", {"ATE0+CMEE=2\r", "AT+NONE=1\r"}, "\r\nERROR\r\n"},
    {"Numeric", {"ATE0V0\r", "AT+CSQ\r"}, "+CSQ: 23,0\r\n0\r"},
    {"NumericError", {"ATE0V0\r", "AT+NONE\r"}, "4\r"},
    {"Quiet", {"ATE0Q1\r", "AT\r"}, ""},
    {"PlainError", {"ATE0\r", "AT+CPIN?\r"}, "\r\nERROR\r\n", NoSim()},
    {"ErrorNumber", {"ATE0+CMEE=1\r", "AT+CPIN?\r"}, "\r\n+CME ERROR: 10\r\n", NoSim()},
    {"ErrorText", {"ATE0+CMEE=2\r", "AT+CPIN?\r"}, "\r\n+CME ERROR: SIM not inserted\r\n", NoSim()},
    {"MessageErrorNumber", {"ATE0+CMEE=1\r", "AT+CMGR=7\r"}, "\r\n+CMS ERROR: 321\r\n"},
    {"Locked", {"ATE0+CMEE=1\r", "AT+CIMI\r"}, "\r\n+CME ERROR: 11\r\n", WithPin()},
    {"WrongPin", {"ATE0+CMEE=1\r", "AT+CPIN=\"4321\"\r"}, "\r\n+CME ERROR: 16\r\n", WithPin()},
    {"Pin", {"ATE0\r", "AT+CPIN=\"1234\"\r", "AT+CPIN?\r"}, "\r\n+CPIN: READY\r\n\r\nOK\r\n", WithPin()},
    {"PukAfterThreeWrongPins",
     {"ATE0\r", "AT+CPIN=0\r", "AT+CPIN=0\r", "AT+CPIN=0\r", "AT+CPIN?\r"},
     "\r\n+CPIN: SIM PUK\r\n\r\nOK\r\n",
     WithPin()},
    {"PinStateInOtherWords", {"ATE0\r", "AT+CPIN?\r"}, "\r\n+CPIN:\"SIM PUK2\"\r\n\r\nOK\r\n", ReadyInItsOwnWords()},
    {"PinAttempts",
     {"ATE0\r", "AT+CPIN=0\r", "AT+CPINR=\"SIM PIN\";+CPINR=\"SIM PUK*\"\r"},
     "\r\n+CPINR: SIM PIN,1,3\r\n\r\n+CPINR: SIM PUK,10,10\r\n+CPINR: SIM PUK2,10,10\r\n\r\nOK\r\n",
     WithTwoAttempts()},
    {"EachDomainHasItsRegistration",
     {"ATE0\r", "AT+CEREG=2;+CEREG?;+CREG?;+CGREG?\r", "AT+CEREG?;+CREG?;+CGREG?\r"},
     "\r\n+CEREG: 2,6,\"00C3\",\"00000A1B\",7\r\n\r\n+CREG: 0,0\r\n\r\n+CGREG: 0,3\r\n\r\nOK\r\n",
     OnLteForMessages()},
    {"UnknownDomain", {"ATE0\r", "AT+C5GREG?\r"}, "\r\nERROR\r\n", OnLteForMessages()},
    {"SendsOnLte",
     {"ATE0\r", "AT+CEREG?\r", "AT+CMGS=19\r", std::string(kSubmit) + "\x1a"},
     "\r\n+CMGS: 1\r\n\r\nOK\r\n",
     OnLteForMessages()},
    {"CentreInUcs2",
     {"ATE0\r", "AT+CSCA?;+CNUM;+COPS?;+CSCS?\r"},
     "\r\n+CSCA: \"002B0031\",145\r\n\r\n+CNUM: \"004F0077006E\",\"0034\",129\r\n\r\n+COPS: 0,0,\"00C9\"\r\n"
     "\r\n+CSCS: \"UCS2\"\r\n\r\nOK\r\n",
     InUcs2()},
    {"Ucs2Left", {"ATE0\r", "AT+CSCS=\"GSM\"\r", "AT+CSCA?\r"}, "\r\n+CSCA: \"+1\",145\r\n\r\nOK\r\n", InUcs2()},
    {"Prompt", {"ATE0\r", "AT+CMGS=19\r"}, "\r\n> "},
    {"Escape", {"ATE0\r", "AT+CMGS=19\r", "0011\x1b"}, "\r\nOK\r\n"},
    {"WrongLength", {"ATE0+CMEE=1\r", "AT+CMGS=19\r", "0011\x1a"}, "\r\n+CMS ERROR: 304\r\n"},
    {"NotRegistered",
     {"ATE0+CMEE=1\r", "AT+CMGS=19\r", std::string(kSubmit) + "\x1a"},
     "\r\n+CMS ERROR: 331\r\n",
     Unregistered()},
};

INSTANTIATE_TEST_SUITE_P(Dialogues, ModemDialogue, testing::ValuesIn(kDialogues),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(SimulatedModemTest, MessageToTheOwnNumberComesBack) {
  ModemSettings settings;
  settings.echo = false;
  settings.zoneMinutes = -300;
  settings.firstReference = 255;
  SimulatedModem modem(settings);
  Talk(modem, "AT+CNMI=2,1,0,2,0\r");
  Talk(modem, "AT+CMGS=19\r");
  EXPECT_EQ(Talk(modem, kSubmit + std::string("\x1a")),
            "\r\n+CMGS: 255\r\n\r\nOK\r\n\r\n+CMTI: \"SM\",1\r\n\r\n+CDSI: \"SM\",2\r\n");
  const std::vector<StoredMessage> stored = modem.Stored();
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(stored[0].pdu, kDelivered);
  EXPECT_EQ(stored[1].pdu, kReported);

  // The national form of the number; the reference begins again.
  Talk(modem, "AT+CMGS=19\r");
  EXPECT_EQ(Talk(modem, kSubmitNational + std::string("\x1a")), "\r\n+CMGS: 0\r\n\r\nOK\r\n\r\n+CMTI: \"SM\",3\r\n");
  EXPECT_EQ(Talk(modem, "AT+CMGL=0\r"), "\r\n+CMGL: 1,0,,24\r\n" + std::string(kDelivered) + "\r\n+CMGL: 2,0,,25\r\n" +
                                            kReported + "\r\n+CMGL: 3,0,,24\r\n" + modem.Stored()[2].pdu +
                                            "\r\n\r\nOK\r\n");
  EXPECT_EQ(Talk(modem, "AT+CMGL=0\r"), "\r\nOK\r\n") << "the listing marks them as read";
  EXPECT_EQ(Talk(modem, "AT+CMGD=1,1\r"), "\r\nOK\r\n");
  EXPECT_TRUE(modem.Stored().empty());
}

struct Loop {
  const char* what;
  int length;
  std::string submit, deliver;  // "": refused with 304; "-": sent and gone
};

TEST(SimulatedModemTest, NetworkKeepsWhatTheReceiverNeeds) {
  // Reply path, header, 8-bit data, absolute validity and a service centre of its own.
  const std::string fields =
                        "0C91947110325476"
                        "4104",
                    data =
                        "07"
                        "0500032A020141";
  const Loop kCases[] = {
      {"all fields", 27,
       "0491947107"
       "D900" +
           fields + "42305061709000" + data,
       "0491947107"
       "C4" +
           fields + "42305041709000" + data},
      {"enhanced validity", 27,
       "0049"
       "00" +
           fields + "01A70000000000" + data,
       "0791947101670000"
       "44" +
           fields + "42305041709000" + data},
      {"no validity", 20,
       "0041"
       "00" +
           fields + data,
       "0791947101670000"
       "44" +
           fields + "42305041709000" + data},
      {"octet too many", 21,
       "0041"
       "00" +
           fields + data + "00",
       ""},
      {"octet too few", 19,
       "0041"
       "00" +
           fields + data.substr(0, 14),
       ""},
      {"no SMS-SUBMIT", 20,
       "0040"
       "00" +
           fields + data,
       ""},
      {"another number", 20,
       "0041"
       "00"
       "0C91947110325477"
       "4104" +
           data,
       "-"},
      {"last digits alone", 17,
       "0041"
       "00"
       "05814365F7"
       "4104" +
           data,
       "-"},
  };
  for (const Loop& loop : kCases) {
    SimulatedModem modem;
    Talk(modem, "ATE0+CMEE=1\r");
    Talk(modem, "AT+CMGS=" + std::to_string(loop.length) + "\r");
    EXPECT_EQ(Talk(modem, loop.submit + "\x1a"),
              loop.deliver.empty() ? "\r\n+CMS ERROR: 304\r\n" : "\r\n+CMGS: 1\r\n\r\nOK\r\n")
        << loop.what;
    const std::vector<StoredMessage> stored = modem.Stored();
    EXPECT_EQ(stored.empty() ? loop.deliver.empty() ? "" : "-" : stored[0].pdu, loop.deliver) << loop.what;
  }
}

TEST(SimulatedModemTest, MemoriesHaveTheirCapacities) {
  ModemSettings settings;
  settings.echo = false;
  settings.simCapacity = 2;
  settings.phoneCapacity = 1;
  SimulatedModem modem(settings);
  EXPECT_EQ(modem.Store("00"), 1);
  EXPECT_EQ(modem.Store("01"), 2);
  EXPECT_EQ(modem.Store("02"), 0) << "full";
  EXPECT_EQ(Talk(modem, "AT+CPMS=\"MT\",,\"ME\"\r"), "\r\n+CPMS: 2,3,2,2,0,1\r\n\r\nOK\r\n");
  EXPECT_EQ(modem.Incoming("03", 0), 1);
  EXPECT_EQ(Talk(modem, "AT+CMGD=1\r"), "\r\nOK\r\n");
  EXPECT_EQ(Talk(modem, "AT+CMGR=3\r"), "\r\n+CMGR: 0,,0\r\n03\r\n\r\nOK\r\n") << "ME follows SM";
  EXPECT_EQ(modem.Store("04"), 1) << "the place that became free";
}

TEST(SimulatedModemTest, ListsInOtherForms) {
  SimulatedModem modem;
  modem.Settings().echo = false;
  modem.Store("0001", 1);
  modem.Store("0002", 2);
  modem.Settings().listsEverything = true;
  modem.Settings().listing = "{location},{stat},{pdu}";
  modem.Settings().pduFilledTo = 4;
  EXPECT_EQ(Talk(modem, "AT+CMGL=0\r"), "\r\n+CMGL: 1,1,0001FFFF\r\n+CMGL: 2,2,0002FFFF\r\n\r\nOK\r\n");
  modem.Settings().lineEnd = "\n";
  EXPECT_EQ(Talk(modem, "AT+CMGR=2\r"), "\n+CMGR: 2,0002FFFF\n\nOK\n");
}

TEST(SimulatedModemTest, AnotherMessageTakesThePlaceOfADeletedOne) {
  SimulatedModem modem;
  modem.Settings().echo = false;
  modem.Store("0001");
  modem.Store("0002");
  modem.IncomingWhenFreed("0003");
  ASSERT_TRUE(modem.ApplyFault("delete-silence-once"));
  EXPECT_EQ(Talk(modem, "AT+CNMI=2,1;+CMGD=1\r"), "\r\nOK\r\n\r\n+CMTI: \"SM\",1\r\n");
  EXPECT_EQ(Talk(modem, "AT+CMGD=2\r"), "") << "deleted, but it does not say so";
  EXPECT_EQ(Talk(modem, "AT+CMGL=4\r"), "\r\n+CMGL: 1,0,,1\r\n0003\r\n\r\nOK\r\n");
}

// The octets from 3GPP TS 23.040, 9.2.2.1 and 9.2.3.24.1.
TEST(SimulatedModemTest, LongMessages) {
  const std::string front =
      "0791947101670000"
      "44"
      "0C91947110325486"
      "0008"
      "42305041709000";
  EXPECT_THAT(MakeLongMessage({.parts = {"a", "\u20AC"}, .reference = 255}), ElementsAre(front + "08"
                                                                                                 "050003FF0201"
                                                                                                 "0061",
                                                                                         front + "08"
                                                                                                 "050003FF0202"
                                                                                                 "20AC"));
  EXPECT_THAT(MakeLongMessage({.parts = {"a"}, .reference = 258, .hasWideReference = true}),
              ElementsAre(front + "09"
                                  "06080401020101"
                                  "0061"));
}

TEST(SimulatedModemTest, RulesReplaceAnswersInTheirOrder) {
  SimulatedModem modem;
  modem.Settings().echo = false;
  modem.Answer("at+csq", ModemReply::Own(), 1);
  modem.Answer("AT+CSQ", ModemReply::Line("+CME ERROR: 515"), 1);
  modem.Answer("AT+C*", ModemReply::Before("\r\nRING\r\n"));
  const std::string own = "\r\n+CSQ: 23,0\r\n\r\nOK\r\n";
  EXPECT_EQ(Talk(modem, "AT+CSQ\r"), own);
  EXPECT_EQ(Talk(modem, "AT+CSQ\r"), "\r\n+CME ERROR: 515\r\n");
  EXPECT_EQ(Talk(modem, "AT+CSQ\r"), "\r\nRING\r\n" + own);
  modem.ForgetAnswers();

  modem.Output("3", 20);
  modem.Output("1", 10);
  modem.Output("2", 10);
  EXPECT_EQ(modem.TakeOutput(20), "123");
  modem.Answer("AT+CSQ", ModemReply::Own().Late(200).InPieces(4, 50), 1);
  modem.Receive("AT+CSQ\r", 1000);
  EXPECT_EQ(modem.NextOutput(), 1200);
  EXPECT_EQ(modem.TakeOutput(1249), own.substr(0, 4));
  EXPECT_EQ(modem.TakeOutput(1250), own.substr(4, 4));
  modem.Receive("AT\r", 1251);
  EXPECT_EQ(modem.TakeOutput(kLater), own.substr(8) + "\r\nOK\r\n") << "one answer behind the other";

  // The modem takes the PDU after a prompt of the test's own, and sends it though it does not say so.
  modem.Answer("AT+CMGS=*", ModemReply::Bytes("\r\n").Then(300, "> "));
  modem.AnswerPdu(ModemReply::Silence().Executed());
  EXPECT_EQ(Talk(modem, "AT+CMGS=19\r", 2000), "\r\n> ");
  EXPECT_EQ(Talk(modem, kSubmit + std::string("\x1a"), 2000), "");
  EXPECT_EQ(modem.Stored().size(), 2u);

  modem.Answer("ATI", ModemReply::Own().LineLostAfter(3));
  EXPECT_EQ(Talk(modem, "ATI\r", 2000), "\r\nS");
  EXPECT_TRUE(modem.IsLineLost());
  EXPECT_EQ(Talk(modem, "AT\r", 2000), "");
  modem.RestoreLine();
  EXPECT_EQ(Talk(modem, "AT\r", 2000), "\r\nOK\r\n");
  EXPECT_THAT(modem.CommandTexts(),
              ElementsAre("AT+CSQ", "AT+CSQ", "AT+CSQ", "AT+CSQ", "AT", "AT+CMGS=19", "ATI", "AT"));
  EXPECT_EQ(modem.Commands()[3].ms, 1000);
}

// What is sent, and when, and what comes back until 10 s have passed.
struct Situation {
  const char* name;
  void (*prepare)(SimulatedModem& modem);
  std::vector<std::pair<std::int64_t, std::string>> sent;
  std::vector<std::string> heard;  // "<milliseconds> <bytes>"
};

void PrintTo(const Situation& situation, std::ostream* out) { *out << situation.name; }

class ModemSituation : public testing::TestWithParam<Situation> {};

TEST_P(ModemSituation, IsHeardAtItsTime) {
  SimulatedModem modem;
  modem.Settings().echo = false;
  GetParam().prepare(modem);
  std::vector<std::string> heard;
  const auto listenUntil = [&](std::int64_t ms) {
    for (auto due = modem.NextOutput(); due && *due < ms; due = modem.NextOutput()) {
      heard.push_back(std::to_string(*due) + " " + Printable(modem.TakeOutput(*due)));
    }
  };
  for (const auto& [ms, bytes] : GetParam().sent) {
    listenUntil(ms);
    modem.Receive(bytes, ms);
  }
  listenUntil(10000);
  EXPECT_EQ(heard, GetParam().heard);
}

using Moment = Interjection::Moment;

const Situation kSituations[] = {
    {"LinesOfItsOwnBeforeInsideAndBehindAnAnswer",
     [](SimulatedModem& modem) {
       modem.Interject({Moment::kBehind, "CALL"}, "AT+CSQ");
       modem.Interject({Moment::kBefore, "+CMT: ,19\r\n0011"}, "AT+CSQ", 1);
       modem.Interject({Moment::kBeforeResult, "RING"}, "at+c*", 1);
       modem.Interject({Moment::kBeforeResult, "NEVER"}, "PDU");
     },
     {{0, "AT+CSQ\r"}, {10, "AT+CSQ\r"}},
     {"0 <cr><lf>+CMT: ,19<cr><lf>0011<cr><lf><cr><lf>+CSQ: 23,0<cr><lf><cr><lf>RING<cr><lf><cr><lf>OK<cr><lf>"
      "<cr><lf>CALL<cr><lf>",
      "10 <cr><lf>+CSQ: 23,0<cr><lf><cr><lf>OK<cr><lf><cr><lf>CALL<cr><lf>"}},
    {"BetweenTheLinesOfAListingInTwoPieces",
     [](SimulatedModem& modem) {
       modem.Store("0001");
       modem.Store("0002", 2);
       modem.Interject({Moment::kBeforeLine, "RING", 3, 400}, "AT+CMGL=4");
       modem.Interject({Moment::kBeforeLine, "NEVER", 5}, "AT+CMGL=4");
     },
     {{0, "AT+CMGL=4\r"}},
     {"0 <cr><lf>+CMGL: 1,0,,1<cr><lf>0001<cr><lf><cr><lf>RI",
      "400 NG<cr><lf>+CMGL: 2,2,,1<cr><lf>0002<cr><lf><cr><lf>OK<cr><lf>"}},
    {"AroundThePromptAndTheResultOfAMessage",
     [](SimulatedModem& modem) {
       modem.Interject({Moment::kBefore, "A"}, "AT+CMGS=*");
       modem.Interject({Moment::kBehind, "B"}, "AT+CMGS=*");
       modem.Interject({Moment::kBefore, "C"}, "PDU");
       modem.Settings().sendMs = 3000;
     },
     {{0, "AT+CMGS=19\r"}, {100, kSubmitNational + std::string("\x1a")}},
     {"0 <cr><lf>A<cr><lf><cr><lf>> <cr><lf>B<cr><lf>",
      "3100 <cr><lf>C<cr><lf><cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>"}},
    {"PeriodicLinesNeverWithinAnother",
     [](SimulatedModem& modem) {
       modem.UnsolicitedEvery("^RSSI: 17", 4000, 1000);
       modem.Settings().pieceSize = 8;
       modem.Settings().pieceGapMs = 1500;
     },
     {{4000, "AT+CSQ\r"}},
     {"1000 <cr><lf>^RSSI: 17<cr><lf>", "4000 <cr><lf>+CSQ: ", "5500 23,0<cr><lf><cr><lf><cr><lf>^RSSI: 17<cr><lf>",
      "7000 OK<cr><lf>", "9000 <cr><lf>^RSSI: 17<cr><lf>"}},
    {"ResultLateLostAndFirst",
     [](SimulatedModem& modem) {
       modem.Answer("AT+CSQ", ModemReply::Own().ResultLate(2000), 1);
       modem.Answer("AT+CSQ", ModemReply::Own().WithoutResult(), 1);
       modem.Settings().resultFirst = true;
       modem.Settings().lineEnd = "\r\r\n";
     },
     {{0, "AT+CPIN?\r"}, {1000, "AT+CSQ\r"}, {4000, "AT+CSQ\r"}},
     {"0 <cr><cr><lf>OK<cr><cr><lf><cr><cr><lf>+CPIN: READY<cr><cr><lf>",
      "3000 <cr><cr><lf>OK<cr><cr><lf><cr><cr><lf>+CSQ: 23,0<cr><cr><lf>", "4000 <cr><cr><lf>+CSQ: 23,0<cr><cr><lf>"}},
    {"EndlessAnswerEndsWithTheNextByte",
     [](SimulatedModem& modem) { modem.Answer("AT+CSQ", ModemReply::Endless("x", 300), 1); },
     {{0, "AT+CSQ\r"}, {700, "AT\r"}},
     {"0 x", "300 x", "600 x", "700 <cr><lf>OK<cr><lf>"}},
    {"PromptWithoutReason",
     [](SimulatedModem& modem) { modem.Answer("AT+CSQ", ModemReply::Bytes("\r\n> ")); },
     {{0, "AT+CSQ\r"}, {1, "AT\r"}, {2, "\x1b"}, {3, "AT+CSQ\r"}, {4, "00\x1a"}},
     {"0 <cr><lf>> ", "2 <cr><lf>OK<cr><lf>", "3 <cr><lf>> ", "4 <cr><lf>ERROR<cr><lf>"}},
    {"LearnsTheBaudRate",
     [](SimulatedModem& modem) {
       modem.Settings().echo = true;
       modem.Settings().deafCommands = 2;
     },
     {{0, "AT\r\n"}, {1, "\r"}, {2, "AT\r\n"}, {3, "AT\r"}},
     {"3 AT<cr><cr><lf>OK<cr><lf>"}},
    {"StartsAndReadsItsSim",
     [](SimulatedModem& modem) {
       modem.Settings().startMs = 2000;
       modem.Settings().simBusyMs = 4000;
       modem.Settings().simBusyCommands = 1;
       modem.Unsolicited("^SYSSTART", 2500);
     },
     {{1000, "AT\r"}, {3000, "AT+CMEE=1\r"}, {4000, "AT+CPIN?\r"}, {4500, "AT+CMGL\r"}, {5000, "AT+CPIN?\r"}},
     {"2500 <cr><lf>^SYSSTART<cr><lf>", "3000 <cr><lf>OK<cr><lf>", "4000 <cr><lf>+CME ERROR: 14<cr><lf>",
      "4500 <cr><lf>+CMS ERROR: 314<cr><lf>", "5000 <cr><lf>+CPIN: READY<cr><lf><cr><lf>OK<cr><lf>"}},
    {"LeftAtItsPrompt",
     [](SimulatedModem& modem) { modem.Earlier("AT+CMGS=19\r0011"); },
     {{0, "AT\r"}, {1, "\x1b"}, {2, "AT\r"}},
     {"1 <cr><lf>OK<cr><lf>", "2 <cr><lf>OK<cr><lf>"}},
    {"LeftWithHalfACommand",
     [](SimulatedModem& modem) { modem.Earlier("ATE0\rAT+CM"); },
     {{0, "AT\r"}, {1, "AT\r"}},
     {"0 <cr><lf>ERROR<cr><lf>", "1 <cr><lf>OK<cr><lf>"}},
    {"LeftWithNumbersForResults",
     [](SimulatedModem& modem) { modem.Earlier("ATV0\r"); },
     {{0, "AT\r"}, {1, "ATV1\r"}},
     {"0 0<cr>", "1 <cr><lf>OK<cr><lf>"}},
};

INSTANTIATE_TEST_SUITE_P(Situations, ModemSituation, testing::ValuesIn(kSituations),
                         [](const auto& instance) { return std::string(instance.param.name); });

struct TimedRead {
  const char* name;
  SerialTimeOuts timeOuts;
  std::uint32_t size;
  std::vector<std::pair<std::int64_t, std::string>> output;  // when, what
  std::string expected;
  std::int64_t elapsedMs;
};

void PrintTo(const TimedRead& read, std::ostream* out) { *out << read.name; }

class LineRead : public testing::TestWithParam<TimedRead> {};

TEST_P(LineRead, EndsAsTheTimeOutsSay) {
  SimulatedModem modem;
  SimulatedLine line(modem, 7);
  const SerialDriver::Handle handle = line.Open("\\\\.\\COM7");
  ASSERT_GT(handle, 0);
  ASSERT_TRUE(line.SetTimeOuts(handle, GetParam().timeOuts));
  for (const auto& [ms, bytes] : GetParam().output) modem.Output(bytes, ms);
  char buffer[16];
  std::uint32_t count = 0;
  ASSERT_TRUE(line.Read(handle, buffer, GetParam().size, count));
  EXPECT_EQ(std::string(buffer, count), GetParam().expected);
  EXPECT_EQ(line.Elapsed(), GetParam().elapsedMs);
}

constexpr SerialTimeOuts kTotal{0, 0, 750, 0, 0}, kPerByte{0, 100, 50, 0, 0}, kGap{500, kNoLimit, kNoLimit, 0, 0},
    kGapAndTotal{500, 0, 750, 0, 0}, kAtOnce{kNoLimit, 0, 0, 0, 0}, kNone{};

const TimedRead kReads[] = {
    {"TotalEndsIt", kTotal, 9, {{100, "ab"}, {740, "c"}, {760, "d"}}, "abc", 750},
    {"FullEndsIt", kTotal, 3, {{100, "ab"}, {740, "cd"}}, "abc", 740},
    {"NothingComes", kTotal, 3, {}, "", 750},
    {"MultiplierCountsTheSize", kPerByte, 4, {{400, "a"}}, "a", 450},
    {"GapEndsIt", kGap, 9, {{0, "ab"}, {499, "c"}, {999, "d"}}, "abc", 999},
    {"FirstByteHasNoLimit", kGap, 9, {{100000, "a"}}, "a", 100500},
    {"TotalInFrontOfGap", kGapAndTotal, 9, {{400, "a"}}, "a", 750},
    {"AtOnce", kAtOnce, 9, {{0, "ab"}, {1, "c"}}, "ab", 0},
    {"NoLimitButTheSize", kNone, 2, {{5000, "a"}, {90000, "bc"}}, "ab", 90000},
};

INSTANTIATE_TEST_SUITE_P(Reads, LineRead, testing::ValuesIn(kReads),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(SimulatedLineTest, TimeMovesOnlyInSleepsAndWaits) {
  SimulatedModem modem;
  SimulatedLine line(modem);
  line.SetTickCount(0xFFFFFFFF);
  line.SetWallClock(1000000);
  line.At(300, [&] { line.SetWallClock(0); });
  line.At(400, [&] { modem.Unsolicited("RING", line.Elapsed()); });
  line.Sleep(1);
  EXPECT_EQ(line.TickCount(), 0u) << "wraps round";
  EXPECT_EQ(line.WallClock(), 1000001);

  const SerialDriver::Handle handle = line.Open("\\\\.\\COM1");
  line.SetTimeOuts(handle, kGap);
  char buffer[64];
  std::uint32_t count = 0;
  ASSERT_TRUE(line.Read(handle, buffer, sizeof buffer, count));
  EXPECT_EQ(std::string(buffer, count), "\r\nRING\r\n");
  EXPECT_EQ(line.Elapsed(), 900);
  EXPECT_EQ(line.WallClock(), 600) << "set back at 300";
  EXPECT_THROW(line.Read(handle, buffer, sizeof buffer, count), std::logic_error) << "it would hang";
}

TEST(SimulatedLineTest, CharactersTakeTheirTime) {
  SimulatedModem modem;
  SimulatedLine line(modem);
  line.SetCharacterTiming(true);
  const SerialDriver::Handle handle = line.Open("\\\\.\\COM1");
  LineState state;
  ASSERT_TRUE(line.BuildLineState("baud=1000 parity=N data=8 stop=1", state));  // 10 ms per character
  ASSERT_TRUE(line.SetLineState(handle, state));
  line.SetTimeOuts(handle, {20, 0, 0, 2, 0});
  std::uint32_t count = 0;
  ASSERT_TRUE(line.Write(handle, "ATE0\r", 5, count));
  EXPECT_EQ(count, 1u) << "5 characters may take 10 ms";
  EXPECT_EQ(line.Elapsed(), 10);
  line.SetTimeOuts(handle, {20, 0, 0, 0, 0});
  ASSERT_TRUE(line.Write(handle, "TE0\r", 4, count));
  char buffer[64];
  ASSERT_TRUE(line.Read(handle, buffer, sizeof buffer, count));
  EXPECT_EQ(std::string(buffer, count), "ATE0\r\r\nOK\r\n");
  EXPECT_EQ(line.Elapsed(), 170) << "5 out, 10 back (the first echo came while we wrote), and the gap";
}

TEST(SimulatedLineTest, LostLineGivesWhatArrivedAndThenFailsForGood) {
  SimulatedModem modem;
  SimulatedLine line(modem);
  EXPECT_EQ(line.Open("\\\\.\\COM2"), SerialDriver::kInvalidHandle);
  EXPECT_EQ(line.LastError(), 2u);
  const SerialDriver::Handle handle = line.Open("\\\\.\\COM1");
  EXPECT_EQ(line.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_EQ(line.LastError(), 5u);
  line.SetTimeOuts(handle, kGap);
  modem.Answer("AT", ModemReply::Own().Late(10).LineLostAfter(4));
  std::uint32_t count = 0, flags = 0;
  char buffer[64];
  ASSERT_TRUE(line.Write(handle, "AT\r", 3, count));
  line.Sleep(10);
  EXPECT_TRUE(line.ClearError(handle, flags, count));
  EXPECT_EQ(count, 7u);
  ASSERT_TRUE(line.Read(handle, buffer, sizeof buffer, count));
  EXPECT_EQ(std::string(buffer, count), "AT\r\r\nOK");
  EXPECT_FALSE(line.Read(handle, buffer, sizeof buffer, count));
  EXPECT_EQ(line.LastError(), 1167u);
  EXPECT_FALSE(line.ClearError(handle, flags, count));
  EXPECT_EQ(line.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);

  // Plugged in again, the device is there for a new handle alone.
  modem.RestoreLine();
  modem.ForgetAnswers();
  modem.ForgetReceived();
  modem.Unsolicited("RING", line.Elapsed());
  EXPECT_FALSE(line.Write(handle, "AT\r", 3, count));
  EXPECT_FALSE(line.Read(handle, buffer, sizeof buffer, count));
  EXPECT_EQ(line.LastError(), 1167u);
  EXPECT_THAT(modem.CommandTexts(), IsEmpty());
  EXPECT_EQ(line.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_TRUE(line.Close(handle));
  EXPECT_FALSE(line.Close(handle));
  const SerialDriver::Handle again = line.Open("\\\\.\\COM1");
  EXPECT_GT(again, handle);
  EXPECT_TRUE(line.Write(again, "AT\r", 3, count));
  EXPECT_THAT(
      line.CallTexts(),
      ElementsAre("CreateFile \\\\.\\COM2 -> error 2", "CreateFile \\\\.\\COM1", "CreateFile \\\\.\\COM1 -> error 5",
                  "SetCommTimeouts 500 4294967295 4294967295 0 0", "WriteFile AT<cr> -> 3", "ClearCommError -> 7",
                  "ReadFile 64 -> 7", "ReadFile 64 -> error 1167", "ClearCommError -> error 1167",
                  "CreateFile \\\\.\\COM1 -> error 2", "WriteFile AT<cr> -> error 1167", "ReadFile 64 -> error 1167",
                  "CreateFile \\\\.\\COM1 -> error 5", "CloseHandle", "CloseHandle -> error 6",
                  "CreateFile \\\\.\\COM1", "WriteFile AT<cr> -> 3"));
}

}  // namespace
}  // namespace tavro
