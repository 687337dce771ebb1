// In the prompt manner a connection finds its modem in whatever state that is, and lines of the modem's own accord
// disturb nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "prompt_life.h"

namespace tavro {
namespace {

struct Start {
  const char* name;
  void (*prepare)(SimulatedModem& modem);
  std::int64_t longestMs;  // of the connection
};

void PrintTo(const Start& start, std::ostream* out) { *out << start.name; }

class PromptStart : public testing::TestWithParam<Start> {};

TEST_P(PromptStart, IsOvercome) {
  PromptEngine engine;
  GetParam().prepare(engine.modem);
  const std::int64_t start = engine.line->Elapsed();
  EXPECT_TRUE(engine.sms.Connect()) << engine.ErrorText();
  EXPECT_LE(engine.line->Elapsed() - start, GetParam().longestMs);
  EXPECT_EQ(engine.Live(), PromptEngine::Well());
  EXPECT_EQ(engine.modem.Pdus().size(), 2u);
}

using Modem = SimulatedModem;

const Start kStarts[] = {
    {"Healthy", [](Modem&) {}, 0},
    {"AtThePrompt", [](Modem& m) { m.ApplyFault("at-prompt"); }, 2100},
    {"RestOfACommand", [](Modem& m) { m.ApplyFault("half-command"); }, 2100},
    {"NumbersForResults", [](Modem& m) { m.ApplyFault("numeric"); }, 0},
    {"NumbersAndNoEcho", [](Modem& m) { m.Earlier("ATE0V0\r"); }, 0},
    {"FirstCommandsLost", [](Modem& m) { m.Settings().deafCommands = 2; }, 5000},
    {"TenSecondsDeaf", [](Modem& m) { m.Settings().startMs = 10000; }, 13000},
    {"SimBusy", [](Modem& m) { m.Settings().simBusyCommands = 4; }, 2000},
    {"SimBusyForAWhile", [](Modem& m) { m.Settings().simBusyMs = 9000; }, 9500},
    {"SimBusyInWords", [](Modem& m) { m.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: SIM busy"), 2); }, 1000},
    {"EchoStuck", [](Modem& m) { m.Settings().echoStuck = true; }, 0},
    {"Quotes", [](Modem& m) { m.Settings().quotesPinState = true; }, 0},
    {"NoBlank", [](Modem& m) { m.Settings().blankBehindColon = false; }, 0},
    {"Pin2", [](Modem& m) { m.Settings().readyState = "SIM PIN2"; }, 0},
    {"Puk2", [](Modem& m) { m.Settings().readyState = "SIM PUK2"; }, 0},
    {"Ucs2", [](Modem& m) { m.Settings().ucs2 = true; }, 0},
    {"Ucs2ForEver", [](Modem& m) { m.Settings().ucs2 = m.Settings().characterSetStuck = true; }, 0},
    {"LineFeeds", [](Modem& m) { m.Settings().lineEnd = "\n"; }, 0},
    {"CarriageReturnsMore", [](Modem& m) { m.Settings().lineEnd = "\r\r\n"; }, 0},
    {"Pieces",
     [](Modem& m) {
       m.Settings().pieceSize = 3;
       m.Settings().pieceGapMs = 1900;
     },
     400000},
    {"Slow", [](Modem& m) { m.Settings().latencyMs = 1800; }, 40000},
    {"SecondMemoryAlone", [](Modem& m) { m.Answer("AT+CNMI=*", ModemReply::Line("ERROR")); }, 0},
    {"KnowsLittle",
     [](Modem& m) {
       for (const char* command : {"AT+CSCS=*", "AT+CPAS", "AT+CMEE=*", "AT+CREG=0"}) {
         m.Answer(command, ModemReply::Line("ERROR"));
       }
     },
     0},
};

INSTANTIATE_TEST_SUITE_P(All, PromptStart, testing::ValuesIn(kStarts),
                         [](const auto& instance) { return std::string(instance.param.name); });

constexpr const char* kLines[] = {"RING",
                                  "+CRING: VOICE",
                                  "+CMTI: \"SM\",3",
                                  "+CDSI: \"SM\",4",
                                  "+CDS: 6\r\n0791947101670000",
                                  "+CMT: ,6\r\n0791947101670000",
                                  "+CUSD: 0,\"ERROR\r\nOK\r\n> \",15",
                                  "+CREG: 1",
                                  "+CEREG: 5,\"00C3\",\"00000A1B\",7",
                                  "+ZUSIMR:2",
                                  "^RSSI:17",
                                  "^BOOT:490154203,0,0,0,6",
                                  "^MODE:5,4",
                                  "^DSFLOWRPT:0,0,0",
                                  "^HCSQ:\"LTE\",50",
                                  "*PSUTTZ: 2024,3,5",
                                  "NITZ 24/03/05",
                                  "#STN: 37",
                                  "+CPIN: READY",
                                  "Call Ready",
                                  "SMS Ready"};

TEST(PromptUnsolicitedTest, DisturbsNothingWhereverItComes) {
  using Moment = Interjection::Moment;
  for (const char* line : kLines) {
    for (const auto& [moment, gap] : {std::pair(Moment::kBefore, 0),
                                      {Moment::kBefore, 400},
                                      {Moment::kBeforeLine, 0},
                                      {Moment::kBeforeResult, 0},
                                      {Moment::kBehind, 0},
                                      {Moment::kBehind, 400}}) {
      PromptEngine engine;
      for (const char* command : {"*", "PDU"}) engine.modem.Interject({moment, line, 2, gap}, command);
      EXPECT_EQ(engine.Live(), PromptEngine::Well()) << line << static_cast<int>(moment) << " " << gap;
      const std::size_t logged =
          engine.folder.LogLinesWith("Unsolicited: " + ReplaceAll(line, "\r\n", "<cr><lf>")).size();
      EXPECT_GE(logged, moment == Moment::kBeforeLine ? 1u : 24u) << line << static_cast<int>(moment);
    }
  }
}
}  // namespace
}  // namespace tavro
