#include "link/at_exchange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "engine_fixture.h"

namespace tavro {
namespace {

class AtExchangeTest : public testing::Test {
 protected:
  AtExchangeTest() {
    log_.AttachErrorState([this](std::int32_t code, std::string_view text) { errors_.SetError(code, text); });
    log_.SetFolderPath(folder_.Path().u16string());
    log_.SetLogType(2);
    settings_.port = "COM1";
    settings_.portNumber = 1;
    Open();
  }
  void Open() {
    std::string name = "COM1";
    comm_.CommOpen(1, name, "baud=19200 parity=N data=8 stop=1");
  }

  TempFolder folder_;
  SimulatedModem modem_;
  TranscriptLine line_{modem_};
  Settings settings_;
  LogHandling log_{line_};
  ErrorState errors_{line_, log_, settings_};
  clsCOMM comm_{line_};
  AtExchange exchange_{line_, comm_, errors_, log_, settings_};
};

TEST_F(AtExchangeTest, SendsPacesPurgesReadsAndLogs) {
  line_.StartTranscript();
  EXPECT_EQ(exchange_.SendCommand("AT+CSQ\r").Text(), "\r\n+CSQ: 23,0\r\n\r\nOK\r\n");
  exchange_.SendCommand("AT\r");
  EXPECT_EQ(line_.Transcript(), R"(
     0 log Send AT command [AT+CSQ<cr>]
     0 SetCommTimeouts 500 4294967295 4294967295 2 0
   100 PurgeComm 15
   100 log Send: AT+CSQ<cr>
   100 WriteFile AT+CSQ<cr> -> 7
   601 log Recv: <cr><lf>+CSQ: 23,0<cr><lf><cr><lf>OK<cr><lf>
   601 AT > 701 > 1202 |OK|
)");
}

TEST_F(AtExchangeTest, CommandsAreApartByTheDelayAtAnyTickCount) {
  for (const std::int32_t delay : {50, 1000, 5000}) {
    for (const std::uint32_t tick : {0u, 0xFFFFFF00u}) {  // the second wraps round within the exchange
      settings_.pauses.command = delay;
      line_.SetTickCount(tick);
      exchange_.MarkCommandEnd();
      const auto start = line_.Elapsed();
      exchange_.SendCommand("AT\r");
      exchange_.SendCommand("AT\r");
      EXPECT_EQ(line_.Elapsed() - start, 2 * (delay + 501)) << delay << " " << tick;
    }
  }
}

TEST_F(AtExchangeTest, TheGapEndsTheAnswer) {
  modem_.Answer("AT+X", ModemReply::Bytes("\r\n+X: 1").Then(499, "2\r\n\r\nOK\r\n"), 1);
  EXPECT_EQ(CleanResponse(exchange_.SendCommand("AT+X\r").Text()), "+X: 12");
  modem_.Answer("AT+X", ModemReply::Bytes("\r\n+X: 1").Then(600, "2\r\n\r\nOK\r\n"), 1);
  EXPECT_EQ(CleanResponse(exchange_.SendCommand("AT+X\r").Text()), "+X: 1");
  EXPECT_EQ(errors_.LastErrorCode(), 0);
}

TEST_F(AtExchangeTest, SilenceAndAnEchoAloneEndByTheClocksSeconds) {
  // The clock stands at a full second when the command is sent, 100 ms after the one before.
  const struct {
    std::int32_t timeout;
    std::int64_t waited;
  } kCases[] = {{1, 1000}, {800, 1000}, {1000, 1000}, {1500, 2000}, {30000, 30000}};
  for (const char* echo : {"ATE0\r", "ATE1\r"}) {
    modem_.ForgetAnswers();
    exchange_.SendCommand(echo);
    modem_.Answer("*", ModemReply::Silence());
    for (const auto& c : kCases) {
      settings_.timeout = c.timeout;
      line_.SetWallClock(1000000 - 100);
      exchange_.MarkCommandEnd();
      const auto start = line_.Elapsed() + 100;
      EXPECT_EQ(exchange_.SendCommand("AT+CSQ\r").Text(), "");
      EXPECT_GE(line_.Elapsed() - start, c.waited);
      EXPECT_LE(line_.Elapsed() - start, c.waited + 1) << c.timeout;
      EXPECT_EQ(errors_.LastErrorCode(), 1012);
    }
  }
}

TEST_F(AtExchangeTest, AClockThatIsSetNeitherEndsNorLengthensTheWait) {
  exchange_.SendCommand("ATE0\r");
  modem_.Answer("*", ModemReply::Silence());
  settings_.timeout = 5000;
  for (const std::int64_t clock : {std::int64_t{0}, std::int64_t{4000000000000}}) {
    const auto start = line_.Elapsed();
    line_.At(start + 500, [this, clock] { line_.SetWallClock(clock); });
    EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");
    EXPECT_GE(line_.Elapsed() - start, 4000) << clock;
    EXPECT_LE(line_.Elapsed() - start, 6200) << clock;
  }
}

TEST_F(AtExchangeTest, OctetsThatNeverStopEndAfterTenTimesTheTimeout) {
  settings_.timeout = 1000;
  const std::pair<std::uint32_t, std::int64_t> kGaps[] = {{500, 400}, {1000, 900}};  // that end a read; between octets
  for (const auto& [gap, pause] : kGaps) {
    modem_.ForgetAnswers();
    modem_.Answer("AT+X", ModemReply::Bytes(std::string(50, 'x')).InPieces(1, pause));
    exchange_.ApplyTimeOuts(gap == 500 ? 'N' : 'S', {gap, 0xFFFFFFFF, 0xFFFFFFFF, 2, 0});
    exchange_.Write("AT+X\r");
    const auto start = line_.Elapsed();
    EXPECT_TRUE(exchange_.AwaitAnswer(1, [](const std::string& read) { return Contains(read, "xxxxxxxx"); })) << gap;
    EXPECT_GE(line_.Elapsed() - start, 10000);
    EXPECT_LE(line_.Elapsed() - start, 12000);
    line_.Sleep(50000);
    exchange_.Purge();
  }
}

TEST_F(AtExchangeTest, OnlyTheBareTextsGetSettlingTime) {
  const struct {
    const char* command;
    std::int64_t settling;
  } kCases[] = {{"AT+COPS?", 2000}, {"at+cops=?", 2500}, {"AT+CPIN=\"", 3500},
                {"AT+COPS?\r", 0},  {"AT+COPS=?\r", 0},  {"AT+CPIN=\"1234\"\r", 0}};
  exchange_.SendCommand("ATE0\r");
  modem_.Answer("*", ModemReply::Silence());
  settings_.timeout = 1;
  for (const auto& c : kCases) {
    line_.SetWallClock(1000000);
    exchange_.MarkCommandEnd();
    const auto start = line_.Elapsed();
    exchange_.SendCommand(c.command);
    EXPECT_EQ(line_.Elapsed() - start, c.settling > 0 ? 100 + c.settling : 1000) << c.command;
  }
}

// What its first line raises goes with what the command before it left; the next line raises it again.
TEST_F(AtExchangeTest, LogThatCannotBeWrittenStopsNoCommand) {
  std::filesystem::remove_all(folder_.Path());
  EXPECT_EQ(CleanResponse(exchange_.SendCommand("AT\r").Text(), false), "OK");
  EXPECT_EQ(errors_.LastErrorCode(), 8004);
  EXPECT_EQ(errors_.PreviousErrorCode(), 8004);
}

TEST_F(AtExchangeTest, ShortWriteIsAnError) {
  line_.ShortenWrite(2);
  EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");
  EXPECT_EQ(errors_.LastErrorText(), "Cannot send command to modem");
  EXPECT_EQ(errors_.LastErrorCode(), 1011);
}

TEST_F(AtExchangeTest, LostDeviceIsAnErrorWithinTheTimeout) {
  modem_.Settings().latencyMs = 50;
  line_.At(120, [this] { modem_.LoseLine(); });  // behind the write, in front of the answer's end
  EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");
  EXPECT_EQ(errors_.LastErrorCode(), 1012);
  EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");
  EXPECT_EQ(errors_.LastErrorCode(), 1011);
  EXPECT_LE(line_.Elapsed(), 31000);
}

TEST_F(AtExchangeTest, BusyModemIsAskedThirtyTimes) {
  exchange_.SendCommand("ATE0\r");
  modem_.ForgetReceived();
  line_.StartTranscript();
  modem_.Answer("AT+CPIN?", ModemReply::Line("+CME ERROR: 515"));
  EXPECT_EQ(CleanResponse(exchange_.CheckCommandResponse("AT+CPIN?\r").Text()), "+CME ERROR: 515");
  EXPECT_EQ(modem_.Commands().size(), 30u);
  EXPECT_EQ(line_.Elapsed(), 601 + 601 + 29 * 1501);
  EXPECT_EQ(errors_.LastErrorCode(), 0);
  const std::string transcript = line_.Transcript();
  EXPECT_THAT(transcript, testing::StartsWith(R"(
     0 AT+CPIN? > 100 > 601 |+CME ERROR: 515|
   601 log Modem is busy initializing or previous command processing in progress
  1601 log Retrying command after 1000ms delay
  1601 AT+CPIN? > 1601 > 2102 |+CME ERROR: 515|
  2102 log Modem is busy)"));
  EXPECT_THAT(transcript, testing::EndsWith("AT+CPIN? > 43629 > 44130 |+CME ERROR: 515|\n"));
}

TEST_F(AtExchangeTest, OtherErrorsAreNotRepeated) {
  modem_.Answer("AT+A", ModemReply::Bytes("\r\n+CME ERROR: 515\r\n"), 2);
  modem_.Answer("AT+A", ModemReply::Bytes("\r\nok\r\n"));
  EXPECT_EQ(exchange_.CheckCommandResponse("AT+A\r").Text(), "\r\nOK\r\n");  // in capitals
  EXPECT_EQ(modem_.Commands().size(), 3u);
  for (const char* reply : {"\r\n+CME ERROR: 10\r\n", "\r\nERROR 515\r\n", "\r\n515\r\n"}) {
    modem_.ForgetReceived();
    modem_.ForgetAnswers();
    modem_.Answer("AT+B", ModemReply::Bytes(reply));
    exchange_.CheckCommandResponse("AT+B\r");
    EXPECT_EQ(modem_.Commands().size(), 1u) << reply;
  }
}

TEST_F(AtExchangeTest, ClosedPortAsksForTheConnectionOnce) {
  comm_.CommClose(1);
  EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");
  int asked = 0;
  exchange_.SetConnection(
      [&] {
        ++asked;
        Open();
        if (asked == 1) errors_.SetError(kModemNotFound);
      },
      {});
  EXPECT_EQ(exchange_.SendCommand("AT\r").Text(), "");  // open again, but with an error
  EXPECT_EQ(errors_.LastErrorCode(), 1034);
  comm_.CommClose(1);
  EXPECT_EQ(CleanResponse(exchange_.SendCommand("AT\r").Text(), false), "OK");
  EXPECT_EQ(asked, 2);
}

TEST(CleanResponseTest, RemovesWhatIsAskedFor) {
  const struct {
    const char* text;
    bool ok, cr, lf;
    const char* cleaned;
  } kCases[] = {
      {"\r\n+CSQ: 1,99\r\n\r\nOK\r\n", true, true, true, "+CSQ: 1,99"},
      {" Book ok OK ", true, true, true, "Book ok"},
      {"BOOKOKOK", true, true, true, "BO"},
      {"\r\nNokia\r\n\r\nOK\r\n", true, true, true, "NOKIA"},
      {"Nokia Book\r\nOK\r\n", true, false, true, "NOKIA BO\r\r"},
      {"\r\nOK\r\n", false, true, false, "\nOK\n"},
  };
  for (const auto& c : kCases) EXPECT_EQ(CleanResponse(c.text, c.ok, c.cr, c.lf), c.cleaned) << c.text;
}

TEST_F(AtExchangeTest, HandsOnWhatTheModemSaysOfItsOwnAccord) {
  AtExchange exchange(line_, comm_, errors_, log_, settings_, kPromptManner);
  std::vector<std::string> lines;
  exchange.SetUnsolicited([&](const std::string& line) { lines.push_back(line); });
  modem_.Unsolicited("+CMT: ,25\r\n0011", line_.Elapsed());
  modem_.Answer("AT+CSQ", ModemReply::Before("\r\nRING\r\n"), 1);
  EXPECT_EQ(exchange.SendCommand("AT+CSQ\r").Information("+CSQ:"), "23,0");
  EXPECT_THAT(lines, testing::ElementsAre("+CMT: ,25\r\n0011", "RING"));

  // While no answer is awaited.
  int closed = 0;
  exchange.SetConnection({}, [&] {
    ++closed;
    comm_.CommClose(1);
  });
  const auto awaits = [&](std::uint32_t milliseconds) {
    lines.clear();
    const std::int64_t start = line_.Elapsed();
    const bool handedOn = exchange.AwaitUnsolicited(milliseconds);
    EXPECT_EQ(handedOn, !lines.empty());
    return (lines.empty() ? "" : lines.front()) + " " + std::to_string(line_.Elapsed() - start);
  };
  const auto later = [&](std::int64_t ms, const char* octets) { modem_.Output(octets, line_.Elapsed() + ms); };
  EXPECT_EQ(awaits(0), " 0");
  EXPECT_EQ(awaits(1050), " 1100") << "the slices are whole";
  later(5020, "\r\n+CMTI: \"SM\",1\r\n\r\nRING\r\n\r\n+CU");
  EXPECT_EQ(awaits(60000), "+CMTI: \"SM\",1 5020");
  later(400, "SD: 0,\"a\r\nOK\",15\r\n");
  EXPECT_EQ(awaits(60000), "+CUSD: 0,\"a\r\nOK\",15 400");
  later(700, "+CUSD: 0,\"not closed\r\n");
  EXPECT_EQ(awaits(60000), "+CUSD: 0,\"not closed 3700");
  line_.At(line_.Elapsed() + 2500, [&] { modem_.LoseLine(); });
  EXPECT_EQ(awaits(60000), " 2500");
  EXPECT_EQ(awaits(60000), " 0");
  EXPECT_EQ(closed, 1);
}

}  // namespace
}  // namespace tavro
