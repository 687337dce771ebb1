#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"
#include "outgoing/encodings.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;

constexpr char16_t kNumber[] = u"+919812345678";
// "hello" to that number by the simulated modem's service centre, as Wireshark's dissector reads it.
constexpr char kHelloPdu[] = "079194710167000011000C911989214365870000A705E8329BFD06";

// Connected, with the service centre known: the next command is the first of a message.
struct Sender : Engine {
  Sender() {
    sms.SetTimeout(5000);
    sms.SetSendDelay(1);
    if (!sms.Connect() || sms.SMSC().empty()) throw std::runtime_error("not connected");
    modem.ForgetReceived();
    line->ForgetCalls();
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

TEST(SendingTest, SubmitsAndLogsOneMessage) {
  Sender sender;
  EXPECT_EQ(sender.Send(), "1");
  EXPECT_THAT(sender.modem.CommandTexts(), ElementsAre("AT+CMGS=19"));
  ASSERT_EQ(sender.modem.Pdus().size(), 1u);
  EXPECT_EQ(sender.modem.Pdus()[0].text, kHelloPdu);
  const auto log = sender.folder.LogLines();
  EXPECT_THAT(std::vector(log.end() - 6, log.end()),
              ElementsAre("Sending message to +919812345678 [Option: 3; Encoding: 7 bits]",
                          "Modem Command: AT+CMGS=19<cr>", "Recv: >", std::string("PDU: ") + kHelloPdu,
                          "Modem Response: <cr><lf>+CMGS: 1<cr><lf><cr><lf>OK<cr><lf>", "Message sent [Msg ID: 1]"));
}

TEST(SendingTest, UsesTheTimeOutsOfTheBaudRate) {
  const std::pair<std::int32_t, std::string> kCases[] = {{9600, "SetCommTimeouts 1000 4294967295 4294967295 6 0"},
                                                         {14400, "SetCommTimeouts 500 4294967295 4294967295 3 0"}};
  for (const auto& [baudRate, call] : kCases) {
    Engine engine;
    engine.sms.SetBaudRate(baudRate);
    EXPECT_TRUE(engine.sms.SendSMS(kNumber, u"hello"));  // connects by itself
    EXPECT_TRUE(engine.sms.SendSMS(kNumber, u"hello"));
    const auto calls = engine.line->CallTexts();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), call), 1) << baudRate;
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
};

constexpr char kNoPrompt[] = "Invalid response to send message command";

ModemReply Result(const char* lines) { return ModemReply::Bytes(lines); }

const FaultCase kFaults[] = {
    {"NoPrompt", [](Sender& s) { s.modem.ApplyFault("no-prompt"); }, "-", 4010, kNoPrompt, 3, 0},
    {"NoPromptOnce", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Silence(), 1); }, "1", 4010, kNoPrompt, 2,
     1},
    {"PromptTooLate", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Own().Late(8000), 1); }, "1", 4010,
     kNoPrompt, 2, 1},
    {"PromptInPieces", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Own().InPieces(1, 900)); }, "1", 0, "",
     1, 1},
    {"ErrorAtPrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Line("ERROR")); }, "-", 4010, kNoPrompt,
     3, 0},
    {"NumberAtPromptOnce", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Line("+CMS ERROR: 302"), 1); }, "1",
     4010, kNoPrompt, 2, 1},
    // A prompt counts by itself alone; the modem that gave it must not take the next command for a PDU.
    {"RingBeforePrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Before("\r\nRING\r\n"), 1); }, "1",
     4010, kNoPrompt, 2, 1},
    {"ErrorInLineBeforePrompt",
     [](Sender& s) { s.modem.Answer("AT+CMGS=*", ModemReply::Before("\r\n+CUSD: 0,\"Error\"\r\n"), 1); }, "1", 4010,
     kNoPrompt, 2, 1},
    {"EchoLeftOn", [](Sender& s) { s.modem.Settings().echo = true; }, "1", 4010, kNoPrompt, 2, 1},
    {"ShortPdu", [](Sender& s) { s.line->ShortenWrite(20, 1); }, "1", 4011, "Submit PDU error", 2, 1},
    {"PduWithoutItsEnd", [](Sender& s) { s.line->ShortenWrite(sizeof kHelloPdu - 1, 1); }, "1", 4011,
     "Submit PDU error", 2, 1},
    {"RefusedOnce", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMS ERROR: 38"), 1); }, "1", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMS ERROR: 38<cr><lf>]", 2, 2},
    {"RefusedWithText", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMS ERROR: congestion")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMS ERROR: congestion<cr><lf>]", 3, 3},
    {"NoNumber", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Ok("+CMGS: none")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMGS: none<cr><lf><cr><lf>OK<cr><lf>]", 3, 3},
    {"NoReference", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("OK")); }, "-", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>OK<cr><lf>]", 3, 3},
    {"NoOk", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Line("+CMGS: 7"), 1); }, "1", 4012,
     "Invalid response to submit PDU [Response: <cr><lf>+CMGS: 7<cr><lf>]", 2, 2},
    {"SilenceAfterPdu", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Silence()); }, "-", 4012,
     "Invalid response to submit PDU [Response: ]", 3, 3},
    // Confirmed, whatever stands around it: sent, and never again.
    {"ResultInPieces", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Own().InPieces(9, 700)); }, "1", 0, "", 1, 1},
    {"RingBeforeResult", [](Sender& s) { s.modem.AnswerPdu(ModemReply::Before("\r\nRING\r\n")); }, "1", 0, "", 1, 1},
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
  std::vector<std::string> attemptLines;
  for (std::size_t i = 1; i < c.attempts; ++i) {
    attemptLines.push_back("ERROR [" + std::to_string(c.code) + "] " + c.text + " [Send Attempt: " + std::to_string(i) +
                           "]");
  }
  EXPECT_THAT(sender.folder.LogLinesWith(" [Send Attempt: "), ElementsAreArray(attemptLines));
}

INSTANTIATE_TEST_SUITE_P(All, SendingFaultTest, testing::ValuesIn(kFaults),
                         [](const auto& test) { return test.param.name; });

TEST(SendingTest, ReopensTheLineAfterAShortCommand) {
  Sender sender;
  sender.line->ShortenWrite(3);
  EXPECT_EQ(sender.Send(), "1");
  EXPECT_THAT(sender.folder.LogLinesWith(" [Send Attempt: 1]"),
              ElementsAre("ERROR [4009] Send message command error [Send Attempt: 1]"));
  EXPECT_THAT(sender.folder.LogLinesWith("Comm Error: "), ElementsAre("Comm Error: [0] "));
  EXPECT_EQ(sender.modem.Pdus().size(), 1u);
}

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
  EXPECT_THAT(sender.folder.LogLinesWith(" [Send Attempt: "), IsEmpty());
}

TEST(SendingTest, DoesNotWaitOnAfterAnError) {
  Sender sender;
  sender.sms.SetSendRetry(0);
  sender.modem.Answer("AT+CMGS=*", ModemReply::Line("ERROR"), 1);
  sender.modem.AnswerPdu(ModemReply::Line("ERROR"), 1);
  for (const std::int32_t code : {4010, 4012}) {
    const std::int64_t start = sender.line->Elapsed();
    EXPECT_EQ(sender.Send(), "-");
    EXPECT_EQ(sender.sms.ErrorCode(), code);
    EXPECT_LT(sender.line->Elapsed() - start, 3000);
  }
}

TEST(SendingTest, NumbersConcatenatedParts) {
  Sender sender;
  sender.modem.Settings().firstReference = 45;
  EXPECT_THAT(sender.Send(std::u16string(400, u'x')), EndsWith("3"));
  const int first = HexToLong(sender.Concatenation(0).substr(0, 2));
  const auto reference = [&](int advanced) {
    return ByteToHex(static_cast<std::int16_t>((first - 1 + advanced) % 255 + 1));
  };
  EXPECT_EQ(sender.Concatenation(0), reference(0) + "0301");
  EXPECT_EQ(sender.Concatenation(2), reference(0) + "0303");
  sender.modem.ForgetReceived();
  sender.sms.SetLongMessage(MessageSplit);
  EXPECT_EQ(sender.Send(std::u16string(161, u'x')), "4,5");  // each part takes a reference
  sender.modem.ForgetReceived();
  sender.sms.SetLongMessage(MessageConcatenate);
  const std::string references = sender.Send(std::u16string(40000, u'x'));
  EXPECT_EQ(Split(references, ",").size(), 255u);
  EXPECT_EQ(sender.Concatenation(254), reference(3) + "FFFF");
}

TEST(SendingTest, PassesAlertAndCodingOn) {
  Sender sender;
  sender.sms.SetCharacter(16);
  EXPECT_TRUE(sender.sms.SendSMS(u"0981", u"Ж", true));
  EXPECT_EQ(sender.modem.Pdus().at(0).text,
            "079194710167000011000481901800"
            "18A7020416");
}

TEST(SendingTest, KeepsMessagesApart) {
  Sender sender;
  sender.sms.SetSendDelay(3000);
  const std::int64_t start = sender.line->Elapsed();
  sender.Send();
  sender.Send(std::u16string(200, u'x'));
  const auto times = sender.SubmitTimes();
  ASSERT_EQ(times.size(), 3u);
  // A submission takes about 1.5 s. The first message waits for nothing, the next for whole seconds, and its second
  // part for exactly the delay.
  EXPECT_LE(times[0] - start, 100);
  EXPECT_GE(times[1] - times[0], 3000);
  EXPECT_LT(times[1] - times[0], 5600);
  EXPECT_GE(times[2] - times[1], 4500);
  EXPECT_LT(times[2] - times[1], 4600);
  EXPECT_GT(sender.line->PumpCount(), 500);

  sender.modem.ForgetReceived();
  sender.sms.SetModemCommandDelay(5000);
  sender.Send();
  EXPECT_EQ(sender.modem.Pdus().at(0).ms - sender.SubmitTimes().at(0), 5000);
}

TEST(SendingTest, SendsNothingItCannot) {
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
  Sender sender;
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
