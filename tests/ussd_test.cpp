// Codes to the network and its answers. The packed digits were computed from 3GPP TS 23.038, 6.1.2.3, by a program of
// its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using Reply = ModemReply;

constexpr char kCode[] = "AT+CUSD=1,\"*100#\",15", kPackedCode[] = "AT+CUSD=1,\"AA180C3602\",15",
               kUcs2Code[] = "AT+CUSD=1,\"002A0031003000300023\",15", kAsk[] = "AT+CSCS?";
const ModemReply kOk = Reply::Line("OK");

// The modem takes the command; the network's answer comes so much later.
ModemReply OkAndThen(std::int64_t ms, const std::string& line) {
  return Reply::Line("OK").Then(ms, "\r\n" + line + "\r\n");
}

struct UssdEngine : Engine {
  explicit UssdEngine(Dialogue dialogue = Dialogue::kPrompt) : Engine({}, dialogue) {}

  // The text of the answer to the code, "+" behind it when a reply is expected, or "error" and its number.
  std::string Send(const std::u16string& code = u"*100#") {
    const auto reply = sms.SendUSSD(code);
    EXPECT_EQ(reply.has_value(), sms.ErrorCode() == 0) << ErrorText();
    if (!reply) return "error " + std::to_string(sms.ErrorCode());
    return line->ToCodePage(reply->text) + (reply->expectsReply ? "+" : "");
  }
};

// A menu is answered within its session, between lines that have nothing to do with it.
TEST(UssdTest, ADialogue) {
  UssdEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.Answer(kCode, OkAndThen(1900, "RING\r\n\r\n+CUSD: 1,\"Menu\n1 Balance\n2 OK\",15\r\n\r\n+CREG: 5"));
  engine.modem.Answer("AT+CUSD=1,\"1\",15", Reply::Bytes("\r\n+CUSD: 0,\"5,20 EUR\",15\r\n\r\nOK\r\n").Late(70));
  engine.modem.Output("\r\n+CUSD: 0,\"from before\",15\r\n", engine.line->Elapsed());
  engine.line->StartTranscript();
  EXPECT_EQ(engine.Send(), "Menu\n1 Balance\n2 OK+");
  EXPECT_EQ(engine.Send(u"1"), "5,20 EUR");
  EXPECT_EQ(engine.Transcript(), R"(
     0 log Checking network registration status
     0 log Send AT command [AT+CREG?<cr>]
     0 log Unsolicited: +CUSD: 0,"from before",15
     0 log Send: AT+CREG?<cr>
     0 WriteFile AT+CREG?<cr> -> 9
     0 log Recv: <cr><lf>+CREG: 0,1<cr><lf><cr><lf>OK<cr><lf>
     0 log Sending USSD code '*100#'
     0 AT+CUSD=1,"*100#",15 - 0 > 0 |OK|
  1900 log Unsolicited: RING
  1900 log Unsolicited: +CUSD: 1,"Menu<lf>1 Balance<lf>2 OK",15
  1900 log Unsolicited: +CREG: 5
  1900 log USSD answer: 'Menu<lf>1 Balance<lf>2 OK'
  1900 log Sending USSD code '1'
  1900 log Send AT command [AT+CUSD=1,"1",15<cr>]
  1900 log Send: AT+CUSD=1,"1",15<cr>
  1900 WriteFile AT+CUSD=1,"1",15<cr> -> 17
  1970 log Unsolicited: +CUSD: 0,"5,20 EUR",15
  1970 log Recv: <cr><lf>OK<cr><lf>
  1970 log USSD answer: '5,20 EUR'
error 0, connected
)");

  // One that comes while the next command is held back is from before, too.
  engine.modem.Output("\r\n+CUSD: 0,\"from before\",15\r\n", engine.line->Elapsed() + 50);
  engine.sms.SetModemCommandDelay(100);
  EXPECT_EQ(engine.Send(u"1"), "5,20 EUR");
}

// Of a modem that takes the code as characters.
TEST(UssdTest, TellsHowATextIsGiven) {
  const struct {
    const char *answer, *text;  // the answer behind "+CUSD: 0,"
  } kCases[] = {
      // Characters of the GSM alphabet, of UTF-8 and of ASCII.
      {"\"Balance: 5,20\",15", "Balance: 5,20"},
      {"\"w{hlen Sie\"", "wählen Sie"},
      {"\"\x02\x35 \x1B\x65\",15", "$5 €"},
      {"\"Za\xC5\xBC\xC3\xB3\xC5\x82\xC4\x87\",15", "Zażółć"},
      {"\"[1] $5 {x}\",0", "[1] $5 {x}"},
      {"\"en\rHello\",16", "Hello"},
      // Packed.
      {" 49B41C74ACD3D16171D90D", "Ihr Guthaben"},
      {"\"C73A1D1D1697DD3A508D2583818A5529\",15", "Guthaben: 5,20 EUR"},
      {"\"5079393dd7816ea06255ea02\",0", "Preis: 7 EUR."},
      {"\"31D98C56B3DD1A\",15", "1234567"},
      // UCS2.
      {"\"00480061007600690020006B00650072003A002000300046002E00F6\",15", "Havi ker: 0F.ö"},
      {"\"041E0441044204300442043E043A\",72", "Остаток"},
      {"\"0031003200350030\",15", "1250"},
      {"\"65370042\",17", "B"},
      {"\"4F59989D\",72", "余额"},
      {"\"no digits\",72", "no digits"},
      // Octets.
      {"\"4F4B\",68", "OK"},
      {"\"E9\",244", "é"},
      // Numbers and words.
      {"\"12345678\",15", "12345678"},
      {"\"ABBA\",15", "ABBA"},
      // Quotes and fields.
      {"\"say \"1\", please\",15", "say \"1\", please"},
      {"\"\",15", ""},
      {"\"a\r\n\r\nOK\r\n+CUSD: 0\",15", "a\r\n\r\nOK\r\n+CUSD: 0"},
      {"\"a\",999", "a"},
      {"\"not closed, 3", "not closed"},
      {"", ""},
  };
  UssdEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  for (const auto& c : kCases) {
    engine.modem.ForgetAnswers();
    engine.modem.Answer(kCode, OkAndThen(2000, std::string("+CUSD: 0,") + c.answer));
    EXPECT_EQ(engine.Send(), c.text) << c.answer;
  }
  engine.modem.ForgetAnswers();
  const std::string longText(10000, 'x');
  engine.modem.Answer(kCode, OkAndThen(1, "+CUSD: 0,\"" + longText + "\",15"));
  EXPECT_EQ(engine.Send(), longText);
}

// What the modem answers to the code in each form, what comes of it, and of the next code.
TEST(UssdTest, TakesTheFormThatTheModemTakes) {
  const auto kBalance = OkAndThen(500, "+CUSD: 0,\"0035002C003200300020004500550052\",15");
  const struct {
    const char *plain, *packed, *characterSet;  // refusals; null: OK and the balance
    const char* first;
    std::vector<std::string> commands, next;
  } kCases[] = {
      {nullptr, nullptr, "", "5,20 EUR", {kCode}, {kCode}},
      {"ERROR", nullptr, "", "5,20 EUR", {kCode, kPackedCode}, {kPackedCode}},
      {"+CME ERROR: 100", "ERROR", "+CSCS: \"UCS2\"", "5,20 EUR", {kCode, kPackedCode, kAsk, kUcs2Code}, {kUcs2Code}},
      {"ERROR", "COMMAND NOT SUPPORT", "+CSCS: \"GSM\"", "error 9004", {kCode, kPackedCode, kAsk}, {}},
      {"ERROR", "+CME ERROR: 257", "", "error 9002", {kCode, kPackedCode}, {}},
      {"+CME ERROR: 30", nullptr, "", "error 9002", {kCode}, {}},
  };
  for (const auto& c : kCases) {
    UssdEngine engine;
    ASSERT_TRUE(engine.sms.Connect());
    engine.sms.Network();  // registered
    const auto reply = [&](const char* refusal) { return refusal ? Reply::Line(refusal) : kBalance; };
    engine.modem.Answer(kCode, reply(c.plain));
    engine.modem.Answer(kPackedCode, reply(c.packed));
    engine.modem.Answer(kUcs2Code, kBalance);
    engine.modem.Answer(kAsk, Reply::Ok(c.characterSet));
    engine.modem.ForgetReceived();
    EXPECT_EQ(engine.Send(), c.first);
    EXPECT_EQ(engine.modem.CommandTexts(), c.commands);
    if (c.first == std::string("error 9002")) {
      EXPECT_THAT(engine.ErrorText(), testing::MatchesRegex("USSD code refused .Response: .CME ERROR: (30|257)."));
    }
    engine.modem.ForgetReceived();
    EXPECT_TRUE(c.next.empty() || engine.Send() == c.first);
    EXPECT_EQ(engine.modem.CommandTexts(), c.next);
  }
  // What the command line cannot hold is packed: quotes, an escape, seven spare bits that hold CR.
  UssdEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.Answer("AT+CUSD=1,\"229302\",15", OkAndThen(0, "+CUSD: 0,\"quotes\""));
  engine.modem.Answer("AT+CUSD=1,\"9BF25E1583C11A\",15", OkAndThen(0, "+CUSD: 0,\"filled\""));
  EXPECT_EQ(engine.Send(u"\"&\n"), "quotes");
  EXPECT_EQ(engine.Send(u"\u20ACä*100"), "filled");
  for (const auto& [code, result] : {std::pair(std::u16string(), "error 9001"),
                                     {u"\u0416", "error 9001"},
                                     {std::u16string(183, u'1'), "error 9001"},
                                     {std::u16string(92, u'\u20AC'), "error 9001"},
                                     {std::u16string(182, u'1'), "error 9005"}}) {
    EXPECT_EQ(engine.Send(code), result) << code.size();
  }
}

class Ussd : public BothManners {};

INSTANTIATE_TEST_SUITE_P(Manners, Ussd, testing::ValuesIn(kManners), MannerName);

// Each of the network's answers, and the lack of one; the time is that of the prompt manner.
TEST_P(Ussd, EveryAnswerHasItsResult) {
  const struct {
    ModemReply reply;
    const char* result;
    std::int64_t ms;
    const char* text = "";
  } kCases[] = {
      {OkAndThen(29000, "+CUSD: 0,\"done\",15"), "done", 29000},
      {OkAndThen(59000, "+CUSD: 1,\"more\",15"), "more+", 59000},
      {OkAndThen(900, "+CUSD: 2,\"ended\",15"), "ended", 900},
      {OkAndThen(900, "+CUSD: 0"), "", 900},
      {OkAndThen(900, "+CUSD: 2"), "error 9006", 900},
      {OkAndThen(900, "+CUSD: 3"), "error 9002", 900, "USSD code refused [Response: +CUSD: 3]"},
      {OkAndThen(900, "+CUSD: 4,\"x\""), "error 9005", 900},
      {OkAndThen(900, "+CUSD: 5"), "error 9003", 900},
      {OkAndThen(900, "+CUSD: \"text\",15"), "error 9007", 900},
      {OkAndThen(900, "+CME ERROR: 30"), "error 9002", 900, "USSD code refused [Response: +CME ERROR: 30]"},
      {Reply::Line("OK").Then(900, "\r\n+CUSD: 0,\"not closed\r\n"), "not closed", 3900},
      {Reply::Line("OK").Then(900, "\r\n+CUSD: 0,\"in pi").Then(700, "eces\",15\r\n"), "in pieces", 1600},
      {Reply::Bytes("\r\n+CUSD: 0,\"An ERROR\r\nOK\",15\r\n\r\nOK\r\n"), "An ERROR\r\nOK", 0},
      {OkAndThen(900, "RING"), "error 9003", 60000},
      {OkAndThen(60500, "+CUSD: 0,\"late\",15"), "error 9003", 60000},
  };
  const std::int64_t slack = GetParam() == Dialogue::kClassic ? 1200 : 100;
  for (const auto& c : kCases) {
    UssdEngine engine(GetParam());
    ASSERT_TRUE(engine.sms.Connect());
    engine.sms.Network();
    engine.modem.Answer(kCode, c.reply);
    engine.modem.Answer("AT+CUSD=2", kOk);
    engine.modem.ForgetReceived();
    const std::int64_t start = engine.line->Elapsed();
    EXPECT_EQ(engine.Send(), c.result);
    EXPECT_TRUE(!*c.text || engine.ErrorText() == c.text) << engine.ErrorText();
    const auto commands = engine.modem.Commands();
    const bool cancelled = commands.back().text == "AT+CUSD=2";
    EXPECT_EQ(cancelled, c.ms == 60000) << c.result;
    const std::int64_t ms = (cancelled ? commands.back().ms : engine.line->Elapsed()) - start;
    EXPECT_GE(ms, c.ms) << c.result;
    EXPECT_LE(ms, c.ms + slack) << c.result;
    EXPECT_TRUE(engine.sms.IsConnected());
  }
}

struct EndingLine : SimulatedLine {
  using SimulatedLine::SimulatedLine;
  bool IsInterrupted() override { return Elapsed() >= endMs; }
  std::int64_t endMs = INT64_MAX;
};

TEST_P(Ussd, AWaitEndsWithTheDeviceAndTheProgram) {
  for (const auto& [isLost, code] : {std::pair(true, 1012), {false, 9003}}) {
    SimulatedModem modem;
    const auto line = std::make_shared<EndingLine>(modem);
    SMS sms(line, {.dialogue = GetParam()});
    sms.SetPort(u"COM1");
    ASSERT_TRUE(sms.Connect());
    modem.Answer(kCode, kOk);
    modem.Answer("AT+CUSD=2", kOk);
    sms.Network();
    const std::int64_t endMs = line->Elapsed() + 20000;
    if (isLost) {
      line->At(endMs, [&modem = modem] { modem.LoseLine(); });
    } else {
      line->endMs = endMs;
    }
    EXPECT_FALSE(sms.SendUSSD(u"*100#"));
    EXPECT_EQ(sms.ErrorCode(), code);
    EXPECT_GE(line->Elapsed(), endMs);
    EXPECT_LE(line->Elapsed(), endMs + 100);
    EXPECT_EQ(modem.CommandTexts().back(), kCode);
    EXPECT_EQ(sms.IsConnected(), !isLost);
  }
}

TEST_P(Ussd, ASessionIsCancelled) {
  UssdEngine engine(GetParam());
  engine.modem.Answer("AT+CUSD=2", ModemReply::Line("ERROR"), 1);
  EXPECT_FALSE(engine.sms.CancelUSSD());
  EXPECT_EQ(engine.sms.ErrorCode(), 9008);
  engine.modem.Answer("AT+CUSD=2", kOk);
  EXPECT_TRUE(engine.sms.CancelUSSD());
  engine.modem.Settings().registration = {3};
  engine.sms.Disconnect();
  engine.sms.SetTimeout(1000);
  EXPECT_EQ(engine.Send(), "error 3003");
}

}  // namespace
}  // namespace tavro
