// The simulated modem, on which the other tests stand.
#include "simulator/simulated_modem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/long_message.h"

namespace tavro {
namespace {

using testing::ElementsAre;

constexpr std::int64_t kLater = std::numeric_limits<std::int64_t>::max();

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
     {"ATE0\r", "AT+CPIN=0000\r", "AT+CPIN=0000\r", "AT+CPIN=0000\r", "AT+CPIN?\r"},
     "\r\n+CPIN: SIM PUK\r\n\r\nOK\r\n",
     WithPin()},
    {"PinStateInOtherWords", {"ATE0\r", "AT+CPIN?\r"}, "\r\n+CPIN:\"SIM PUK2\"\r\n\r\nOK\r\n", ReadyInItsOwnWords()},
    {"PinAttempts",
     {"ATE0\r", "AT+CPIN=0000\r", "AT+CPINR=\"SIM PIN\";+CPINR=\"SIM PUK*\"\r"},
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

}  // namespace
}  // namespace tavro
