// The line to simulated modems in virtual time.
#include "simulator/simulated_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/simulated_modem.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kNoLimit = 0xFFFFFFFF;

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

TEST(SimulatedLineTest, WakeEndsTheReadThatWaitsOrElseTheNext) {
  SimulatedModem modem;
  SimulatedLine line(modem);
  const SerialDriver::Handle handle = line.Open("\\\\.\\COM1");
  line.SetTimeOuts(handle, kGap);
  modem.Output("ab", 100);
  line.At(120, [&] { line.Wake(); });
  char buffer[4];
  std::uint32_t count = 0;
  EXPECT_TRUE(line.Read(handle, buffer, 4, count));
  EXPECT_EQ(std::string(buffer, count), "ab");
  EXPECT_EQ(line.Elapsed(), 120);
  line.Wake();
  EXPECT_TRUE(line.Read(handle, buffer, 4, count));
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(line.Elapsed(), 120);
  EXPECT_THROW(line.Read(handle, buffer, 4, count), std::logic_error) << "woken twice";
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
