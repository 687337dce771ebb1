// Where an answer ends in the prompt manner, and what a modem that misbehaves comes to.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt_life.h"

namespace tavro {
namespace {

using Reply = ModemReply;

struct EndCase {
  const char* name;
  void (*prepare)(SimulatedModem& modem);
  const char* answer;  // of SMS::Command(AT+CSQ), "": 1012
  std::int64_t durationMs;
};

constexpr char kAnswer[] = "+CSQ: 23,0";

TEST(PromptExchangeTest, AnAnswerEndsWhenItEnds) {
  const EndCase kCases[] = {
      {"at once", [](SimulatedModem&) {}, kAnswer, 0},
      {"when octets come", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().Late(7)); }, kAnswer, 7},
      {"late", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().Late(29999)); }, kAnswer, 29999},
      {"too late", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().Late(30001)); }, "", 30000},
      {"silence", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Silence()); }, "", 30000},
      {"from the last octet", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().InPieces(8, 29000)); }, kAnswer,
       58000},
      {"result late", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().ResultLate(29999)); }, kAnswer, 29999},
      {"result lost", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Own().Late(1000).WithoutResult()); }, "",
       31000},
      {"never stops", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Endless("\r\n+CSQ: 1", 700)); }, "", 330000},
      {"never ends a line", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Endless("x", 700)); }, "", 330000},
      {"carriage return alone", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Bytes("+CSQ: 23,0\rOK\r")); },
       kAnswer, 100},
      {"result without its end", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Bytes("+CSQ: 23,0\r\nOK")); },
       kAnswer, 30000},
      {"lines of its own do not count as an answer",
       [](SimulatedModem& m) {
         m.Answer("AT+CSQ", Reply::Silence());
         m.UnsolicitedEvery("RING", 5000);
         m.UnsolicitedEvery("^RSSI: 17", 1700);
       },
       "", 30000},
      {"but it ends between them",
       [](SimulatedModem& m) {
         m.Answer("AT+CSQ", Reply::Own().Late(27000));
         m.UnsolicitedEvery("RING", 5000);
       },
       kAnswer, 27000},
      {"unknown lines wait, but not for ever",
       [](SimulatedModem& m) {
         m.Answer("AT+CSQ", Reply::Silence());
         m.UnsolicitedEvery("^NEW: 17", 5000);
       },
       "", 330000},
      {"a prompt", [](SimulatedModem& m) { m.ApplyFault("unexpected-prompt"); }, ">", 0},
      {"a prompt without its blank", [](SimulatedModem& m) { m.Answer("AT+CSQ", Reply::Bytes("\r\n>")); }, ">", 30000},
  };
  for (const auto& c : kCases) {
    PromptEngine engine;
    ASSERT_TRUE(engine.sms.Connect());
    c.prepare(engine.modem);
    const std::int64_t start = engine.line->Elapsed();
    const auto answer = engine.line->ToCodePage(engine.sms.Command(u"AT+CSQ\r"));
    EXPECT_EQ(answer, c.answer) << c.name;
    EXPECT_LE(engine.line->Elapsed() - start, c.durationMs + 99) << c.name;
    EXPECT_GE(engine.line->Elapsed() - start, c.durationMs) << c.name;
    EXPECT_EQ(engine.sms.ErrorCode(), *c.answer ? 0 : 1012) << c.name;
    engine.modem.ForgetAnswers();
    EXPECT_EQ(engine.sms.IMEI(), u"490154203237518") << c.name;
  }
}

TEST(PromptExchangeTest, KeepsSixteenMegabytesAtMost) {
  for (const auto& [begin, end] : {std::pair("+CSQ: 1", "\r\n"), {"#X: ", "\r\n"}, {"", ""}}) {
    PromptEngine engine;
    ASSERT_TRUE(engine.sms.Connect());
    engine.sms.SetLogType(0);
    std::string mega;
    while (mega.size() < 1 << 20) mega += begin + std::string(10000, '0') + end;
    engine.modem.Answer("AT+CSQ", Reply::Endless(mega, 1000));
    const std::int64_t start = engine.line->Elapsed();
    EXPECT_EQ(engine.sms.SignalStrengthDB(), -1);
    EXPECT_EQ(engine.sms.ErrorCode(), 1012);
    EXPECT_LE(engine.line->Elapsed() - start, 17000) << begin;
    engine.modem.ForgetAnswers();
    EXPECT_EQ(engine.sms.SignalStrengthDB(), -67);
  }
}

// What a modem does to each kind of call: its result or an error, in time, and all is well as soon as the modem is.
TEST(PromptExchangeTest, EveryFaultIsAnErrorAndPasses) {
  const std::vector<std::string> well = PromptEngine::Well();
  for (const auto& fault : SimulatedModem::Faults()) {
    if (fault.name == std::string("same-reference")) continue;
    for (const bool connected : {false, true}) {
      PromptEngine engine;
      engine.sms.SetTimeout(2000);
      engine.sms.SetPIN(u"1234");
      if (connected) engine.sms.Connect();
      const ModemSettings healthy = engine.modem.Settings();
      engine.modem.ApplyFault(fault.name);
      const std::vector<std::string> results = engine.Live();
      for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_TRUE(results[i] == well[i] || results[i].starts_with("error ")) << fault.name << " " << results[i];
      }
      EXPECT_LE(engine.line->Elapsed(), 370000) << fault.name;

      engine.modem.ForgetAnswers();
      engine.modem.Settings() = healthy;
      engine.modem.RestoreLine();
      engine.line->Sleep(60000);  // what was late has come
      engine.sms.SetPIN(u"");
      if (engine.modem.Stored().empty()) engine.modem.Store(kMessage);
      EXPECT_EQ(engine.Live(), well) << fault.name << connected;
    }
  }
}

TEST(PromptExchangeTest, AResultInFrontOfItsTextIsAnError) {
  PromptEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.Settings().resultFirst = true;
  std::vector<std::string> results = engine.Live();
  EXPECT_EQ(results.front(), "connected");
  EXPECT_EQ(results.back(), "read") << "OK is an empty listing";
  results.erase(results.begin());
  results.pop_back();
  for (const std::string& result : results)
    EXPECT_THAT(result, testing::StartsWith("error ")) << testing::PrintToString(results);
  engine.modem.Settings().resultFirst = false;
  EXPECT_EQ(engine.Live(), PromptEngine::Well());
}

// A modem that asks for a PDU where none was announced is told to give up, and the next command waits for that.
TEST(PromptExchangeTest, CancelsAPromptThatNobodyAskedFor) {
  PromptEngine engine;
  ASSERT_TRUE(engine.sms.Connect());
  engine.modem.ApplyFault("unexpected-prompt");
  engine.line->StartTranscript();
  engine.sms.SignalStrengthDB();
  engine.sms.IMEI();
  EXPECT_EQ(engine.Transcript("<esc>", "log Modem IMEI"), R"(
     0 WriteFile <esc> -> 1
     0 log Recv: <cr><lf>> 
     0 log ERROR [3001] Signal strength not known or not detectable
     0 log Reading modem IMEI
     0 log Send AT command [AT+CGSN<cr>]
   100 log Unsolicited: OK
   100 log Waiting for answers that are late
   100 WriteFile AT+CMEE?<cr> -> 9
   100 log Send: AT+CGSN<cr>
   100 WriteFile AT+CGSN<cr> -> 8
   100 log Recv: <cr><lf>490154203237518<cr><lf><cr><lf>OK<cr><lf>
error 0, previous ERROR 3001: Signal strength not known or not detectable, connected
)");
}

// The line is lost behind each octet of each answer of a dialogue.
TEST(PromptExchangeTest, ALineThatIsLostAnywhere) {
  constexpr int kCommands = 17;
  for (int command = 0; command <= kCommands; ++command) {
    bool lost = true;
    for (std::size_t octets = 0; lost; ++octets) {
      Engine engine({}, Dialogue::kPrompt);
      engine.sms.SetLogType(0);
      const auto rule = [&](const char* name) {
        engine.modem.Answer(name, ModemReply::Own().LineLostAfter(octets), 1);
      };
      if (command < kCommands) engine.modem.Answer("*", ModemReply::Own(), command);
      rule(command < kCommands ? "*" : "PDU");
      const std::string what = std::to_string(command) + "/" + std::to_string(octets);
      const bool sent = engine.sms.SendSMS(kSomebody, u"hello").has_value();
      lost = engine.modem.IsLineLost();
      EXPECT_EQ(engine.sms.IsError(), !sent) << what;
      EXPECT_LE(engine.line->Elapsed(), lost ? 200 : 0) << what;
      EXPECT_EQ(engine.modem.Pdus().size(), command < kCommands && lost ? 0u : 1u) << what;
      EXPECT_TRUE(!sent || engine.modem.Pdus().size() == 1) << what;
      engine.modem.ForgetAnswers();
      engine.modem.RestoreLine();
      EXPECT_TRUE(engine.sms.SendSMS(kSomebody, u"hello")) << what << engine.ErrorText();
      EXPECT_EQ(engine.modem.Pdus().size(), command < kCommands && lost ? 1u : 2u) << what;
    }
  }
}

}  // namespace
}  // namespace tavro
