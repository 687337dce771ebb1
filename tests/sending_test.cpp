#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "engine_fixture.h"
#include "facade/gsm.h"
#include "outgoing/encodings.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char16_t kNumber[] = u"+919812345678";
// "hello" to that number by the simulated modem's service centre, as Wireshark's dissector reads it.
constexpr char kHelloPdu[] = "079194710167000011000C911989214365870000A705E8329BFD06";

// Connected, with the service centre known: the next command is the first of a message.
struct Sender : Engine {
  explicit Sender(ModemSettings settings = {}, Dialogue dialogue = Dialogue::kClassic)
      : Engine(std::move(settings), dialogue) {
    sms.SetTimeout(5000);
    sms.SetSendDelay(1);
    if (!sms.Connect() || sms.SMSC().empty()) throw std::runtime_error("not connected");
    modem.ForgetReceived();
    line->SetWallClock(1000000);  // a full second
    line->StartTranscript();
  }

  // The references, or "-" for a failure.
  std::string Send(const std::u16string& text = u"hello", const std::u16string& number = kNumber) {
    const auto references = sms.SendSMS(number, text);
    EXPECT_EQ(references.has_value(), !sms.IsError()) << ErrorText();
    return references ? line->ToCodePage(*references) : "-";
  }
  // When each AT+CMGS arrived.
  std::vector<std::int64_t> SubmitTimes() const {
    std::vector<std::int64_t> times;
    for (const auto& command : modem.Commands()) {
      if (command.text.starts_with("AT+CMGS=")) times.push_back(command.ms);
    }
    return times;
  }
  // The octets of the PDU that hold the concatenation: "reference total part".
  std::string Concatenation(std::size_t pdu) const { return modem.Pdus().at(pdu).text.substr(50, 6); }
};

// In 8-bit coding, class 0, valid for 4 days; the modem refuses the second part once.
TEST(SendingTest, TheWholeDialogueOfThreeParts) {
  Sender sender;
  sender.sms.SetCharacter(8);
  sender.sms.SetValidity(u"4D");
  sender.sms.SetSendDelay(2000);
  sender.sms.SetModemCommandDelay(700);
  sender.modem.Answer("AT+CMGS=*", ModemReply::Own(), 1);
  sender.modem.Answer("AT+CMGS=*", ModemReply::Line("+CMS ERROR: 302"), 1);
  sender.line->StartTranscript();
  const std::u16string text = std::u16string(134, u'a') + std::u16string(134, u'b') + u"cc";
  EXPECT_EQ(sender.sms.SendSMS(kNumber, text, true), u"1,2,3") << sender.ErrorText();

  std::string transcript = sender.Transcript();
  const std::string reference = sender.Concatenation(0).substr(0, 2);
  transcript = ReplaceAll(transcript, "050003" + reference, "050003(reference)");
  for (const std::string code : {"61", "62"}) {
    std::string codes;
    for (int i = 0; i < 134; ++i) codes += code;
    transcript = ReplaceAll(transcript, codes, "(134 times " + code + ")");
  }
  const std::string start = "079194710167000051000C911989214365870014AA";
  const std::string first = start + "8C050003(reference)0301(134 times 61)",
                    second = start + "8C050003(reference)0302(134 times 62)",
                    third = start + "08050003(reference)03036363";
  EXPECT_EQ(transcript, R"(
     0 log Sending message to +919812345678 [Option: 3; Encoding: 8 bits]
     0 SetCommTimeouts 500 4294967295 4294967295 3 0
   700 PurgeComm 15
   700 log Modem Command: AT+CMGS=154<cr>
   700 WriteFile AT+CMGS=154<cr> -> 12
  1201 log Recv: >
  1400 WriteFile )" + first +
                            R"(<sub> -> 325
  1400 log PDU: )" + first + R"(
  2400 log Modem Response: <cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>
  4400 PurgeComm 15
  4400 log Modem Command: AT+CMGS=154<cr>
  4400 WriteFile AT+CMGS=154<cr> -> 12
  4901 log Recv: +CMS ERROR: 302
  4901 log Modem Response: +CMS ERROR: 302
  4901 log ERROR [4010] Invalid response to send message command [Send Attempt: 1]
  6901 PurgeComm 15
  6901 log Modem Command: AT+CMGS=154<cr>
  6901 WriteFile AT+CMGS=154<cr> -> 12
  7402 log Recv: >
  7601 WriteFile )" + second +
                            R"(<sub> -> 325
  7601 log PDU: )" + second +
                            R"(
  8601 log Modem Response: <cr><lf>+CMGS: 2<cr><lf><cr><lf>OK<cr><lf>
 10601 PurgeComm 15
 10601 log Modem Command: AT+CMGS=22<cr>
 10601 WriteFile AT+CMGS=22<cr> -> 11
 11102 log Recv: >
 11301 WriteFile )" + third +
                            R"(<sub> -> 61
 11301 log PDU: )" + third + R"(
 12301 log Modem Response: <cr><lf>+CMGS: 3<cr><lf><cr><lf>OK<cr><lf>
 12301 log Message sent [Msg ID: 1,2,3]
error 0, previous ERROR 4010: Invalid response to send message command [Send Attempt: 1], connected
)");
}

// At SendRetry 0, so that nothing follows; what a next attempt does is below.
TEST(SendingTest, TheWholeDialogueOfAFailure) {
  const std::string command = R"(
     0 log Sending message to +919812345678 [Option: 3; Encoding: 7 bits]
     0 SetCommTimeouts 500 4294967295 4294967295 3 0
   100 PurgeComm 15
   100 log Modem Command: AT+CMGS=19<cr>
   100 WriteFile AT+CMGS=19<cr> -> )";
  const std::string prompt = "\n   601 log Recv: >\n   601 WriteFile " + std::string(kHelloPdu) + "<sub> -> ";
  const std::string pdu = "\n   601 log PDU: " + std::string(kHelloPdu) + "\n";
  const auto cancelled = [](const std::string& ms, const std::string& escapeMs) {
    return ms + " log Cancelling the message\n" + escapeMs + " WriteFile <esc> -> 1\n";
  };
  const auto end = [](const std::string& ms, const std::string& code, const std::string& text) {
    return ms + " EscapeCommFunction 6\n" + ms + " EscapeCommFunction 4\n" + ms + " CloseHandle\n" + ms +
           " log ERROR [" + code + "] " + text + "\nerror " + code + " " + text + ", disconnected\n";
  };
  const struct {
    void (*prepare)(Sender&);
    std::string transcript;
  } cases[] = {
      {[](Sender& s) { s.line->ShortenWrite(3); },
       command + "3\n   100 log Comm Error: [0] \n" + end("   100", "4009", "Send message command error")},
      {[](Sender& s) { s.modem.ApplyFault("no-prompt"); },
       command + "11\n  5000 log Recv: \n  5000 log Modem Response: \n" + cancelled("  5000", "  5000") +
           end("  5000", "4010", "Invalid response to send message command")},
      {[](Sender& s) { s.line->ShortenWrite(20, 1); },
       command + "11" + prompt + "20" + pdu + "   601 log Comm Error: [0] \n" + cancelled("   601", "   701") +
           end("   701", "4011", "Submit PDU error")},
      {[](Sender& s) { s.modem.AnswerPdu(ModemReply::Silence()); },
       command + "11" + prompt + "55" + pdu + "  5101 log Modem Response: \n" + cancelled("  5101", "  5101") +
           end("  5101", "4012", "Invalid response to submit PDU [Response: ]")},
  };
  for (const auto& c : cases) {
    Sender sender;
    sender.sms.SetSendRetry(0);
    sender.line->StartTranscript();
    c.prepare(sender);
    EXPECT_EQ(sender.Send(), "-");
    EXPECT_EQ(sender.Transcript(), c.transcript);
  }
}

TEST(SendingTest, ASlowLineGetsLongerGaps) {
  for (const std::int32_t baudRate : {9600, 14400}) {
    Engine engine;
    engine.sms.SetBaudRate(baudRate);
    EXPECT_TRUE(engine.sms.SendSMS(kNumber, u"hello") && engine.sms.SendSMS(kNumber, u"hello"));
    EXPECT_TRUE(engine.sms.Inbox()->Refresh());
    const std::size_t slow = baudRate == 9600 ? 1 : 0;
    EXPECT_THAT(engine.line->CallTexts(), Contains("SetCommTimeouts 1000 4294967295 4294967295 6 0").Times(slow));
    EXPECT_THAT(engine.line->CallTexts(), Contains("SetCommTimeouts 1000 4294967295 4294967295 4 0").Times(slow));
  }
}

// What goes wrong with a message at SendRetry 2, and what comes of it. Each attempt but the last leaves a line with the
// error in the log, and the last its error in the call unless it succeeds.
struct FaultCase {
  const char* name;
  void (*prepare)(Sender&);
  const char* references;
  std::int32_t code;
  const char* text;
  std::size_t attempts, pdus;  // AT+CMGS and PDUs that came to their end
  int resets = 0;              // how often the line was closed
};

constexpr char kNoPrompt[] = "Invalid response to send message command";

ModemReply Result(const char* lines) { return ModemReply::Bytes(lines); }

const FaultCase kFaults[] = {
    {"NoPrompt", [](Sender& s) { s.modem.ApplyFault("no-prompt"); }, "-", 4010, kNoPrompt, 3, 0, 3},
    {"NoPromptOnce", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Silence(), 1); }, "1", 4010, kNoPrompt, 2,
     1, 1},
    {"PromptTooLate", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Own().Late(8000), 1); }, "1", 4010,
     kNoPrompt, 2, 1, 1},
    {"PromptInPieces", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Own().InPieces(1, 900)); }, "1", 0, "",
     1, 1},
    {"ErrorAtPrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Line("ERROR")); }, "-", 4010, kNoPrompt,
     3, 0},
    {"NumberAtPromptOnce", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Line("+CMS error: 302"), 1); }, "1",
     4010, kNoPrompt, 2, 1},
    // A prompt counts when it comes by itself; the modem that gave another must not take the next command for a PDU.
    {"RingLongBeforePrompt",
     [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Bytes("\r\nRING\r\n").Then(600, "\r\n> ")); }, "1", 0, "",
     1, 1},
    {"RingBeforePrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Before("\r\nRING\r\n"), 1); }, "1",
     4010, kNoPrompt, 2, 1, 1},
    {"ErrorInLineBeforePrompt",
     [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Before("\r\n+CUSD: 0,\"Error\"\r\n"), 1); }, "1", 4010,
     kNoPrompt, 2, 1, 1},
    {"QuotedErrorLongBeforePrompt",
     [](Sender& s) {
       s.modem.Answer("AT+CMGS=*", ModemReply::Bytes("\r\n+CUSD: 0,\"Error\"\r\n").Then(700, "\r\n> "));
     },
     "1", 0, "", 1, 1},
    {"UnsolicitedErrorLongBeforePrompt",  // the prompt that comes then is cancelled
     [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Bytes("\r\n^X: ERROR\r\n").Then(560, "\r\n> "), 1); }, "1",
     4010, kNoPrompt, 2, 1},
    // Connecting anew switches it off again.
    {"EchoLeftOn", [](Sender& s) { s.modem.Settings().echo = true; }, "1", 4010, kNoPrompt, 2, 1, 1},
    {"ShortPdu", [](Sender& s) { s.line->ShortenWrite(20, 1); }, "1", 4011, "Submit PDU error", 2, 1, 1},
    {"PduWithoutItsEnd", [](Sender& s) { s.line->ShortenWrite(sizeof kHelloPdu - 1, 1); }, "1", 4011,
     "Submit PDU error", 2, 1, 1},
    {"RefusedOnce", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMS ERROR: 38"), 1); }, "1", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMS ERROR: 38<cr><lf>]", 2, 2, 1},
    {"RefusedWithText", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMS ERROR: congestion")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMS ERROR: congestion<cr><lf>]", 3, 3, 3},
    {"NoNumber", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Ok("+CMGS: none")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMGS: none<cr><lf><cr><lf>OK<cr><lf>]", 3, 3},
    {"NoReference", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("OK")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>OK<cr><lf>]", 3, 3},
    {"NoOk", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMGS: 7"), 1); }, "1", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMGS: 7<cr><lf>]", 2, 2},
    {"ErrorInLineBeforeResult",
     [](Sender& s) { s.modem.AnswerPdu(Result("\r\n^X: ERROR\r\n\r\n+CMGS: 7\r\n\r\nOK\r\n"), 1); }, "1", 4012,
     "Invalid response to submit PDU [Response: "
     "<cr><lf>^X: ERROR<cr><lf><cr><lf>+CMGS: 7<cr><lf><cr><lf>OK<cr><lf>]",
     2, 2, 1},
    // Confirmed, whatever stands around it: sent, and never again.
    {"ResultInPieces", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Own().InPieces(9, 700)); }, "1", 0, "", 1, 1},
    {"RingBeforeResult", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Before("\r\nRING\r\n")); }, "1", 0, "", 1, 1},
    {"QuotedErrorBeforeResult",
     [](Sender& s) { s.modem.AnswerPdu(ModemReply::Before("\r\n+CUSD: 0,\"ERROR 5\",15\r\n")); }, "1", 0, "", 1, 1},
    {"QuotedErrorLongBeforeResult",
     [](Sender& s) {
       s.modem.AnswerPdu(
           Result("\r\n+CUSD: 0,\"first line\r\nERROR 5\",15\r\n").Then(1200, "\r\n+CMGS: 8\r\n\r\nOK\r\n"));
     },
     "8", 0, "", 1, 1},
    {"ResultBeforeItsText", [](Sender& s) { s.modem.AnswerPdu(Result("\r\nOK\r\n\r\n+CMGS: 9\r\n")); }, "9", 0, "", 1,
     1},
    {"LineInResult", [](Sender& s) { s.modem.AnswerPdu(Result("\r\n+CMGS: 45\r\n\r\n+CMTI: \"SM\",3\r\n\r\nOK\r\n")); },
     "45", 0, "", 1, 1},
    {"LineAfterResult",
     [](Sender& s) { s.modem.AnswerPdu(Result("\r\n+CMGS: 45\r\n\r\nOK\r\n\r\n+CMTI: \"SM\",3\r\n")); }, "45", 0, "", 1,
     1},
    {"ErrorInLineAfterResult",
     [](Sender& s) { s.modem.AnswerPdu(Result("\r\n+CMGS: 45\r\n\r\nOK\r\n\r\n+CUSD: 0,\"Error\"\r\n")); }, "45", 0, "",
     1, 1},
    {"Acknowledged", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Ok("+CMGS: 45,\"0102\"")); }, "45", 0, "", 1, 1},
    {"SmallLetters", [](Sender& s) { s.modem.AnswerPdu(Result("+cmgs:45\r\nok\r\n")); }, "45", 0, "", 1, 1},
};

class SendingFaultTest : public testing::TestWithParam<FaultCase> {};

TEST_P(SendingFaultTest, IsReportedAndRetried) {
  const FaultCase& c = GetParam();
  Sender sender;
  c.prepare(sender);
  EXPECT_EQ(sender.Send(), c.references);
  const bool sent = c.references != std::string("-");
  EXPECT_EQ(sender.sms.ErrorCode(), sent ? 0 : c.code);
  EXPECT_EQ(sender.ErrorText(), sent ? "" : c.text);
  EXPECT_EQ(sender.SubmitTimes().size(), c.attempts);
  EXPECT_EQ(sender.modem.Pdus().size(), c.pdus);
  for (const auto& pdu : sender.modem.Pdus()) EXPECT_EQ(pdu.text, kHelloPdu);
  const auto calls = sender.line->CallTexts();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "CloseHandle"), c.resets);
  std::vector<std::string> attemptLines;
  for (std::size_t i = 1; i < c.attempts; ++i) {
    attemptLines.push_back("ERROR [" + std::to_string(c.code) + "] " + c.text + " [Send Attempt: " + std::to_string(i) +
                           "]");
  }
  EXPECT_THAT(sender.folder.LogLinesWith(" [Send Attempt: "), ElementsAreArray(attemptLines));
}

INSTANTIATE_TEST_SUITE_P(All, SendingFaultTest, testing::ValuesIn(kFaults),
                         [](const auto& test) { return test.param.name; });

class Sending : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, Sending, testing::ValuesIn(kManners), MannerName);

TEST(SendingTest, GivesUpWhenTheLineIsLostBetweenParts) {
  Sender sender;
  sender.modem.AnswerPdu(ModemReply::Own(), 1);
  sender.modem.AnswerPdu(ModemReply::Silence().LineLostAfter(0));
  EXPECT_EQ(sender.Send(std::u16string(400, u'x')), "-");
  EXPECT_EQ(sender.sms.ErrorCode(), 1006);  // that of the connection, which came first
  EXPECT_EQ(sender.modem.Pdus().size(), 2u);
  // The two attempts behind it found no line; their 4008 came second.
  EXPECT_THAT(sender.folder.LogLinesWith(" [Send Attempt: "),
              ElementsAre("ERROR [4012] Invalid response to submit PDU [Response: ] [Send Attempt: 1]"));
  EXPECT_EQ(sender.folder.LogLinesWith("ERROR [1006]").size(), 2u);

  sender.modem.RestoreLine();
  sender.modem.ForgetAnswers();
  EXPECT_EQ(sender.Send(), "2");
}

TEST(SendingTest, NeverSendsThePartsBehindAFailure) {
  Sender sender;
  sender.sms.SetSendRetry(0);
  sender.modem.AnswerPdu(ModemReply::Own(), 1);
  sender.modem.AnswerPdu(ModemReply::Line("ERROR"));
  EXPECT_EQ(sender.Send(std::u16string(400, u'x')), "-");
  EXPECT_EQ(sender.sms.ErrorCode(), 4012);
  EXPECT_EQ(sender.modem.Pdus().size(), 2u);
  EXPECT_EQ(sender.line->Elapsed() - sender.modem.Pdus()[1].ms, 1000);  // it does not wait on after the error
}

// The message is out, but an error that an event of the application's left while it waited is not passed over.
TEST(SendingTest, AnErrorThatIsStillPendingFailsIt) {
  Sender sender;
  sender.line->At(sender.line->Elapsed() + 700, [&] { sender.sms.SetBaudRate(9600); });
  EXPECT_EQ(sender.Send(), "-");
  EXPECT_EQ(sender.sms.ErrorCode(), 1009);
  EXPECT_EQ(sender.modem.Pdus().size(), 1u);
  EXPECT_EQ(sender.folder.LogLines().back(), "Message sending failed");
}

TEST_P(Sending, NumbersMessagesFrom1To255) {
  Sender sender({}, GetParam());
  sender.sms.SetLogType(0);
  sender.line->RecordCalls(false);
  int reference = 0;
  const auto next = [&] { return ByteToHex(static_cast<std::int16_t>(reference % 255 + 1)); };
  for (int i = 0; i <= 255; ++i) {
    sender.modem.ForgetReceived();
    sender.Send(std::u16string(400, u'x'));
    if (i > 0) {
      ASSERT_EQ(sender.Concatenation(0), next() + "0301");
    }
    reference = static_cast<int>(HexToLong(sender.Concatenation(0).substr(0, 2)));
    ASSERT_EQ(sender.Concatenation(1).substr(2), "0302");
  }
  sender.sms.SetLongMessage(MessageSplit);
  EXPECT_EQ(Split(sender.Send(std::u16string(161, u'x')), ",").size(), 2u);
  reference += 2;  // each part of a split text takes one
  sender.sms.SetLongMessage(MessageConcatenate);
  sender.modem.ForgetReceived();
  EXPECT_EQ(Split(sender.Send(std::u16string(40000, u'x')), ",").size(), 255u);
  EXPECT_EQ(sender.Concatenation(0), next() + "FF01");
  EXPECT_EQ(sender.Concatenation(254), next() + "FFFF");
}

// A program that is started for each message must not give them all the same one: receivers join such parts.
TEST(SendingTest, BeginsAtAnotherReferenceEachTime) {
  std::set<std::string> references;
  for (int minute = 0; minute < 60; ++minute) {
    SimulatedModem modem;
    const auto line = std::make_shared<SimulatedLine>(modem);
    line->SetWallClock(1709647629000 + minute * 60000);
    SMS sms(line);
    sms.SetPort(u"COM1");
    EXPECT_TRUE(sms.SendSMS(kNumber, std::u16string(161, u'x')));
    references.insert(modem.Pdus().at(0).text.substr(50, 2));
  }
  EXPECT_GT(references.size(), 45u);
}

TEST(SendingTest, AsksForOneReportOfAMessage) {
  SimulatedModem modem;
  GSM gsm(std::make_shared<SimulatedLine>(modem));
  gsm.settings.port = "COM1";
  gsm.settings.portNumber = 1;
  for (const bool requested : {false, true}) {
    modem.ForgetReceived();
    gsm.settings.statusReportRequested = requested;
    EXPECT_TRUE(gsm.textSender.SendSMS("+4915112345678", u"x", false));
    EXPECT_TRUE(gsm.textSender.SendSMS("+4915112345678", std::u16string(400, u'x'), false));
    std::string firstOctets;
    for (const auto& pdu : modem.Pdus()) firstOctets += pdu.text.substr(16, 2) + " ";
    EXPECT_EQ(firstOctets, requested ? "31 51 51 71 " : "11 51 51 51 ");
  }
}

// National numbers of the service centre and the phone, UCS2, class 0, valid for 24 hours.
TEST_P(Sending, DialsNationalNumbers) {
  ModemSettings settings;
  settings.serviceCentre = "0171076";
  Sender sender(settings, GetParam());
  sender.sms.SetCharacter(16);
  EXPECT_TRUE(sender.sms.SendSMS(u"0981", u"Ж", true));
  EXPECT_EQ(sender.modem.CommandTexts().back(), "AT+CMGS=12");
  EXPECT_EQ(sender.modem.Pdus().at(0).text,
            "0581101770F6"
            "11000481901800"
            "18A7020416");
}

// From the end of one attempt to the next message SendDelay passes, whatever the clock's milliseconds are then, and
// also after a failure. The application's events go on meanwhile.
TEST_P(Sending, KeepsMessagesApart) {
  for (const std::int32_t delay : {1000, 1500, 3000}) {
    for (const int milliseconds : {0, 450, 950}) {
      for (const bool fails : {false, true}) {
        Sender sender({}, GetParam());
        sender.sms.SetSendDelay(delay);
        sender.sms.SetSendRetry(0);
        sender.line->SetWallClock(1000000 + milliseconds);
        if (fails) sender.modem.AnswerPdu(ModemReply::Ok("+CMGS: none"), 1);
        const std::int64_t start = sender.line->Elapsed();
        EXPECT_EQ(sender.Send(), fails ? "-" : "1");
        EXPECT_EQ(sender.SubmitTimes().at(0) - start,
                  GetParam() == Dialogue::kClassic ? 100 : 0);  // the first one waits for nothing
        sender.modem.ForgetReceived();
        const std::int64_t end = sender.line->Elapsed(), pumps = sender.line->PumpCount();
        sender.Send();
        const std::int64_t apart = sender.SubmitTimes().at(0) - end;
        EXPECT_GE(apart, delay);
        const std::int64_t now = sender.line->WallClock() - sender.line->Elapsed();
        EXPECT_GE((now + end + apart) / 1000 - (now + end) / 1000, (delay + 999) / 1000);
        EXPECT_LE(apart, (delay + 999) / 1000 * 1000 + 10);  // a whole second at the most is added to a broken one
        EXPECT_GE(sender.line->PumpCount() - pumps, delay / 10);
      }
    }
  }
}

// A modem that lost its power, and a PIN that is no longer the SIM's: each attempt would be one of the SIM's three.
TEST(SendingTest, OneCallSendsOnePin) {
  const struct {
    const char* name;
    void (*call)(SMS&);
    bool closed;        // otherwise a command without an answer closes the line
    std::int32_t code;  // 0: whatever the call makes of it
  } cases[] = {
      {"SendSMS", [](SMS& sms) { sms.SendSMS(kNumber, u"hello"); }, true, 2013},
      {"SendSMS in parts", [](SMS& sms) { sms.SendSMS(kNumber, std::u16string(400, u'x')); }, false, 2013},
      {"Send", [](SMS& sms) { sms.WapPush()->Send(); }, false, 2013},
      {"Refresh", [](SMS& sms) { sms.Inbox()->Refresh(); }, true, 2013},
      {"Delete", [](SMS& sms) { sms.Inbox()->Message(1)->Delete(); }, true, 2013},
      {"Clear", [](SMS& sms) { sms.Inbox()->Clear(); }, false, 0},
  };
  for (const auto& c : cases) {
    ModemSettings settings;
    settings.pin = "1234";
    Engine engine(settings);
    engine.sms.SetPIN(u"1234");
    engine.sms.SetSendRetry(3);
    engine.sms.WapPush()->SetDestination(kNumber);
    engine.sms.WapPush()->SetText(u"Hi");
    engine.sms.WapPush()->SetURL(u"a");
    for (int i = 0; i < 3; ++i) engine.modem.Store("000405812143F50000002092329595000573F45B4E07");
    ASSERT_TRUE(engine.sms.Connect() && engine.sms.Inbox()->Refresh());
    ASSERT_EQ(engine.sms.SMSC(), u"+491710760000");
    engine.sms.Command(u"AT+CFUN=1,1\r");
    engine.modem.Settings().echo = false;
    engine.modem.Settings().pin = "4321";
    engine.modem.ForgetReceived();
    engine.modem.Answer("AT+CMGS=*", ModemReply::Silence());
    engine.modem.Answer("AT+CMGD=*", ModemReply::Silence());
    if (c.closed) engine.sms.Disconnect();
    c.call(engine.sms);
    if (c.code != 0) {
      EXPECT_EQ(engine.sms.ErrorCode(), c.code) << c.name;
    }
    const auto commands = engine.modem.CommandTexts();
    EXPECT_EQ(std::count(commands.begin(), commands.end(), "AT+CPIN=\"1234\""), 1) << c.name;
  }
}

TEST_P(Sending, SendsNothingItCannot) {
  struct Case {
    const char16_t *number, *text;
    std::int32_t code;
    const char* error;
  };
  const Case kCases[] = {{u"call me", u"hello", 4004, "Invalid destination number"},
                         {u"+0", u"hello", 4004, "Invalid destination number"},
                         {kNumber, u"", 4016, "Send message error"},
                         {u"1e5", u"hello", 4017, "Error generating message PDU"},
                         {u"+91 981", u"hello", 4004, "Invalid destination number"},
                         {u"981 ", u"hello", 4017, "Error generating message PDU"}};
  Sender sender({}, GetParam());
  for (const Case& c : kCases) {
    EXPECT_EQ(sender.Send(c.text, c.number), "-");
    EXPECT_EQ(sender.sms.ErrorCode(), c.code);
    EXPECT_EQ(sender.ErrorText(), c.error);
  }
  EXPECT_THAT(sender.modem.CommandTexts(), IsEmpty());
}

TEST(SendingTest, NeedsAServiceCentreAndAConnection) {
  ModemSettings settings;
  settings.serviceCentre.clear();
  Engine engine(settings);
  EXPECT_FALSE(engine.sms.SendSMS(kNumber, u"hello"));
  EXPECT_EQ(engine.sms.ErrorCode(), 4018);
  EXPECT_EQ(engine.ErrorText(), "SMSC not specified");
  EXPECT_EQ(engine.modem.CommandTexts().back(), "AT+CSCA?");

  Engine refused;
  refused.modem.Answer("AT+CMGF=0", ModemReply::Line("ERROR"), 1);
  EXPECT_FALSE(refused.sms.SendSMS(kNumber, u"hello"));
  EXPECT_EQ(refused.sms.ErrorCode(), 1038);
  EXPECT_TRUE(refused.sms.SendSMS(kNumber, u"hello")) << refused.ErrorText();
}

}  // namespace
}  // namespace tavro
