// Sending in the prompt manner: what may be out is not sent again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "prompt_life.h"

namespace tavro {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Connected, with the service centre known. What it sends goes to its own number and comes back: what is in the SIM is
// what was on the air.
struct Sender : Engine {
  explicit Sender(const Options& options = {}) : Engine({}, options) {
    if (!sms.Connect() || sms.SMSC().empty()) throw std::runtime_error("not connected");
    modem.ForgetReceived();
    line->StartTranscript();
  }
  std::string Send(const std::u16string& text = u"hello") {
    const auto references = sms.SendSMS(u"+491701234567", text);
    return references ? line->ToCodePage(*references) : "-";
  }
};

struct FaultCase {
  const char* name;
  void (*prepare)(Sender&);
  const char* reference;  // "-": failed
  std::int32_t code;      // of the failure, or of an attempt before the last one; 0: there was none
  const char* error;      // the end of its text
  std::size_t pdus;       // that the modem got,
  std::size_t aired;      // and sent
  std::int64_t longestMs = 0;
};

void PrintTo(const FaultCase& c, std::ostream* out) { *out << c.name; }

class PromptSendingFault : public testing::TestWithParam<FaultCase> {};

TEST_P(PromptSendingFault, NeverSendsItTwice) {
  const FaultCase& c = GetParam();
  Sender sender;
  c.prepare(sender);
  const std::int64_t start = sender.line->Elapsed();
  EXPECT_EQ(sender.Send(), c.reference);
  EXPECT_LE(sender.line->Elapsed() - start, c.longestMs);
  EXPECT_EQ(sender.sms.ErrorCode(), c.reference == std::string("-") ? c.code : 0) << sender.ErrorText();
  static const std::map<std::int32_t, std::string> kTexts = {{4009, "Send message command error"},
                                                             {4010, "Invalid response to send message command"},
                                                             {4011, "Submit PDU error"},
                                                             {4012, "Invalid response to submit PDU [Response: "}};
  const auto errors = sender.folder.LogLinesWith("ERROR [");
  if (c.code == 0) {
    EXPECT_THAT(errors, IsEmpty());
  } else {
    const std::string line = "ERROR [" + std::to_string(c.code) + "] " + kTexts.at(c.code) + c.error;
    EXPECT_THAT(errors, Contains(line));
  }
  EXPECT_EQ(sender.modem.Pdus().size(), c.pdus);
  EXPECT_EQ(sender.modem.Stored().size(), c.aired);

  sender.modem.ForgetAnswers();
  sender.modem.RestoreLine();
  EXPECT_EQ(sender.Send(), std::to_string(c.aired + 1)) << "the next one";
  EXPECT_EQ(sender.modem.Stored().size(), c.aired + 1);
}

using Reply = ModemReply;

const FaultCase kFaults[] = {
    {"None", [](Sender&) {}, "1", 0, "", 1, 1},
    // The result.
    {"Silence", [](Sender& s) { s.modem.AnswerPdu(Reply::Silence().Executed()); }, "-", 4012, "Result unknown]", 1, 1,
     185000},
    {"NothingSent", [](Sender& s) { s.modem.AnswerPdu(Reply::Silence()); }, "-", 4012, "Result unknown]", 1, 0, 185000},
    {"Slow", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().Late(179000)); }, "1", 0, "", 1, 1, 179000},
    {"LateResult", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().Late(182000)); }, "1", 0, "", 1, 1, 182000},
    {"TooLateResult", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().Late(190000)); }, "-", 4012, "Result unknown]", 1,
     1, 185000},
    {"LateOk", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().ResultLate(29000)); }, "1", 0, "", 1, 1, 29000},
    {"NoOk", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().WithoutResult()); }, "1", 0, "", 1, 1, 30000},
    {"NoReference", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("OK").Executed()); }, "-", 4012,
     "Result unknown: <cr><lf>OK<cr><lf>]", 1, 1, 5000},
    {"NoNumber", [](Sender& s) { s.modem.AnswerPdu(Reply::Ok("+CMGS: none").Executed()); }, "-", 4012,
     "Result unknown: <cr><lf>+CMGS: none<cr><lf><cr><lf>OK<cr><lf>]", 1, 1, 5000},
    {"Temporary", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("+CMS ERROR: 38"), 1); }, "1", 4012,
     "<cr><lf>+CMS ERROR: 38<cr><lf> (Network out of order)] [Send Attempt: 1]", 2, 1},
    {"TemporaryForEver", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("+CMS ERROR: SC busy")); }, "-", 4012,
     "<cr><lf>+CMS ERROR: SC busy<cr><lf> (SC busy)] [Send Attempt: 2]", 3, 0},
    {"PlainError", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("ERROR")); }, "-", 4012,
     "<cr><lf>ERROR<cr><lf>] [Send Attempt: 2]", 3, 0},
    {"Permanent", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("+CMS ERROR: 21")); }, "-", 4012,
     "<cr><lf>+CMS ERROR: 21<cr><lf> (Short message transfer rejected)]", 1, 0},
    {"Unclear", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("+CMS ERROR: 332").Executed()); }, "-", 4012,
     "Result unknown: <cr><lf>+CMS ERROR: 332<cr><lf> (network timeout)]", 1, 1},
    {"GarbledRefusal", [](Sender& s) { s.modem.AnswerPdu(Reply::Line("+KMS ERROR: 332").Executed()); }, "-", 4012,
     "Result unknown: <cr><lf>+KMS ERROR: 332<cr><lf>]", 1, 1, 35000},
    {"RefusalCutShort", [](Sender& s) { s.modem.AnswerPdu(Reply::Bytes("\r\n+CMS ERROR: 3").Executed()); }, "-", 4012,
     "Result unknown: <cr><lf>+CMS ERROR: 3]", 1, 1, 35000},
    {"ErrorBehindTheReference",
     [](Sender& s) { s.modem.AnswerPdu(Reply::Bytes("\r\n+CMGS: 1\r\n\r\nERROR\r\n").Executed()); }, "1", 0, "", 1, 1},
    {"Pieces", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().InPieces(2, 5000)); }, "1", 0, "", 1, 1, 60000},
    {"LinesAroundIt",
     [](Sender& s) {
       s.modem.Interject({Interjection::Moment::kBefore, "+CUSD: 0,\"+CMGS: 9\r\nERROR\",15"}, SimulatedModem::kPdu);
       s.modem.Interject({Interjection::Moment::kBeforeResult, "+CMTI: \"SM\",1"}, SimulatedModem::kPdu);
     },
     "1", 0, "", 1, 1},
    {"LineLostBehindThePdu", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().LineLostAfter(0)); }, "-", 4012,
     "Result unknown]", 1, 1, 100},
    {"LineLostBehindTheReference", [](Sender& s) { s.modem.AnswerPdu(Reply::Own().LineLostAfter(14)); }, "1", 0, "", 1,
     1, 100},
    // The prompt.
    {"NoPrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Silence()); }, "-", 4010, "", 0, 0, 90300},
    {"NoPromptOnce", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Silence(), 1); }, "1", 4010,
     " [Send Attempt: 1]", 1, 1, 30300},
    {"PromptTooLate", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Own().Late(31000), 1); }, "1", 4010,
     " [Send Attempt: 1]", 1, 1, 34000},
    {"PromptSlow", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Own().InPieces(1, 14000)); }, "1", 0, "", 1, 1,
     60000},
    {"PromptRefused", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Line("+CMS ERROR: 302")); }, "-", 4010,
     " [Send Attempt: 2]", 0, 0},
    {"OkForAPrompt", [](Sender& s) { s.modem.Answer("AT+CMGS=*", Reply::Line("OK")); }, "-", 4010, " [Send Attempt: 2]",
     0, 0, 1000},
    {"LinesBeforeThePrompt",
     [](Sender& s) {
       s.modem.Interject({Interjection::Moment::kBefore, "+CUSD: 0,\"ERROR\",15", 2, 600}, "AT+CMGS=*");
       s.modem.Interject({Interjection::Moment::kBehind, "RING", 2, 600}, "AT+CMGS=*");
     },
     "1", 0, "", 1, 1, 1200},
    {"EchoLeftOn", [](Sender& s) { s.modem.Settings().echo = s.modem.Settings().echoStuck = true; }, "1", 0, "", 1, 1},
    // The writing.
    {"HalfACommand", [](Sender& s) { s.line->ShortenWrite(5, 1); }, "1", 4009, " [Send Attempt: 1]", 1, 1, 5000},
    {"HalfAPdu", [](Sender& s) { s.line->ShortenWrite(20, 2); }, "1", 4011, " [Send Attempt: 1]", 1, 1, 5000},
};

INSTANTIATE_TEST_SUITE_P(All, PromptSendingFault, testing::ValuesIn(kFaults),
                         [](const auto& test) { return test.param.name; });

// It may wait for the PDU's end: ESC. What it says to that may be the late result.
TEST(PromptSendingTest, AnUnknownResultEndsTheDialogue) {
  for (const std::int32_t timeout : {30000, 1000}) {
    Sender sender;
    sender.sms.SetTimeout(timeout);
    sender.modem.AnswerPdu(ModemReply::Silence());
    EXPECT_EQ(sender.Send(std::u16string(200, u'x')), "-") << "the parts behind it stay";
    const std::string end = timeout < 5000 ? "  1000" : "  5000";
    EXPECT_EQ(sender.Transcript("Modem Response"),
              R"(
     0 log Modem Response: 
     0 log Cancelling the message
     0 WriteFile <esc> -> 1
)" + end + " log Modem Response: \n" +
                  end + " EscapeCommFunction 6\n" + end + " EscapeCommFunction 4\n" + end + " CloseHandle\n" + end +
                  R"( log ERROR [4012] Invalid response to submit PDU [Response: Result unknown]
error 4012 Invalid response to submit PDU [Response: Result unknown], disconnected
)");
  }
}

TEST(PromptSendingTest, PushesLikewise) {
  const struct {
    ModemReply reply;
    const char* error;
    std::size_t pdus;
  } kCases[] = {
      {ModemReply::Silence(), "Result unknown]", 1},
      {ModemReply::Line("+CMS ERROR: 28"), "<cr><lf>+CMS ERROR: 28<cr><lf> (Unidentified subscriber)]", 1},
      {ModemReply::Line("+CMS ERROR: 42"), "<cr><lf>+CMS ERROR: 42<cr><lf> (Congestion)]", 3},
  };
  for (const auto& c : kCases) {
    Sender sender;
    const auto wap = sender.sms.WapPush();
    wap->SetDestination(kSomebody);
    wap->SetText(u"Hi");
    wap->SetURL(u"a");
    sender.modem.AnswerPdu(c.reply);
    EXPECT_FALSE(wap->Send());
    EXPECT_EQ(sender.sms.ErrorCode(), 7015);
    EXPECT_EQ(sender.ErrorText(), std::string("Invalid response to submit WAP push PDU [Response: ") + c.error);
    EXPECT_EQ(sender.modem.Pdus().size(), c.pdus);
  }
}

// The modem's own, 3GPP TS 23.040, 9.1.2.5: no octets.
TEST(PromptSendingTest, AServiceCentreThatCannotBeReadIsTheModems) {
  for (const ModemReply& reply :
       {ModemReply::Line("ERROR"), ModemReply::Ok("+CSCA: \"\",129"), ModemReply::Silence()}) {
    Engine engine({}, Dialogue::kPrompt);
    engine.modem.Answer("AT+CSCA?", reply);
    EXPECT_EQ(engine.sms.SendSMS(kSomebody, u"hello"), u"1") << engine.ErrorText();
    ASSERT_EQ(engine.modem.Pdus().size(), 1u);
    EXPECT_EQ(engine.modem.Pdus()[0].text, "0011000C911989214365870000A705E8329BFD06");
    EXPECT_EQ(engine.sms.SMSC(), u"");
    EXPECT_NE(engine.sms.ErrorCode(), 0);
  }
}

std::string Times(int times, std::string_view text) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}

// As Wireshark's dissector reads them: 16-bit reference, three parts, 152 characters, 133 octets or 66 of UCS2 in one.
TEST(PromptSendingTest, WideReferences) {
  const struct {
    std::int16_t coding;
    std::size_t capacity;
    std::vector<std::string> parts;  // length and, behind the header, text
  } kCases[] = {
      {7,
       152,
       {"A0", Times(19, "E170381C0E87C3"), "A0", "62B1783C1E8FC7" + Times(18, "E3F1783C1E8FC7"), "0B", "E3F118"}},
      {8, 133, {"8C", Times(133, "61"), "8C", "626262" + Times(130, "63"), "0A", "636363"}},
      {16, 66, {"8B", Times(66, "0061"), "8B", "006200620062" + Times(63, "0063"), "0D", "006300630063"}},
  };
  for (const auto& c : kCases) {
    Options options;
    options.wideReferences = true;
    Sender sender(options);
    sender.sms.SetCharacter(c.coding);
    EXPECT_EQ(sender.Send(std::u16string(c.capacity, u'a') + u"bbb" + std::u16string(c.capacity, u'c')), "1,2,3");
    EXPECT_EQ(sender.Send(std::u16string(200, u'x')).substr(0, 3), "4,5");
    const std::string dcs = c.coding == 7 ? "00" : c.coding == 8 ? "04" : "08";
    std::vector<std::string> pdus;
    for (const auto& pdu : sender.modem.Pdus()) pdus.push_back(pdu.text);
    const std::string reference = pdus[0].substr(50, 4);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(pdus[i], "079194710167000051000C9194711032547600" + dcs + "A7" + c.parts[2 * i] + "060804" + reference +
                             "030" + std::to_string(i + 1) + c.parts[2 * i + 1]);
    }
    EXPECT_EQ(std::stoi(pdus[3].substr(50, 4), nullptr, 16), std::stoi(reference, nullptr, 16) + 1);
  }
}

TEST(PromptSendingTest, CutsNoSurrogatePair) {
  Sender sender;
  sender.sms.SetCharacter(16);
  std::u16string text = u"x";
  for (int i = 0; i < 80; ++i) text += u"\U0001F600";
  EXPECT_EQ(sender.Send(text), "1,2,3");
  const int pairs[] = {33, 33, 14};
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string& pdu = sender.modem.Pdus()[i].text;
    EXPECT_EQ(pdu.substr(pdu.find("0500") + 12), (i == 0 ? "0078" : "") + Times(pairs[i], "D83DDE00"));
  }
}

}  // namespace
}  // namespace tavro
