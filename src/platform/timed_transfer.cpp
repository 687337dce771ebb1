#include "platform/timed_transfer.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace tavro {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::uint32_t kAllBits = std::numeric_limits<std::uint32_t>::max();

// The end of a transfer of `size` octets that begins now. There is none for 0 in both values, and none beyond 99 days:
// that is all bits set in both.
TimeLimit TotalLimit(std::uint32_t multiplier, std::uint32_t size, std::uint32_t constant) {
  constexpr std::uint64_t kEndless = std::uint64_t{kAllBits} + kAllBits;
  const std::uint64_t total = std::uint64_t{multiplier} * size + constant;
  if (total == 0 || total >= kEndless) return std::nullopt;
  return Clock::now() + milliseconds(total);
}

TimeLimit Sooner(TimeLimit a, TimeLimit b) {
  if (!a || !b) return a ? a : b;
  return std::min(*a, *b);
}

}  // namespace

std::uint32_t TimedRead(ByteLine& line, const SerialTimeOuts& timeOuts, char* buffer, std::uint32_t size,
                        std::uint32_t& bytesRead) {
  bytesRead = 0;
  const bool anyWillDo = timeOuts.readInterval == kAllBits;
  const bool anyInTime = anyWillDo && timeOuts.readTotalMultiplier == kAllBits && timeOuts.readTotalConstant < kAllBits;
  const TimeLimit totalLimit =
      TotalLimit(anyInTime ? 0 : timeOuts.readTotalMultiplier, size, timeOuts.readTotalConstant);
  const bool atOnce = anyWillDo && timeOuts.readTotalMultiplier == 0 && timeOuts.readTotalConstant == 0;
  TimeLimit gapLimit;  // none until the first octet
  while (bytesRead < size) {
    std::uint32_t count = 0;
    const std::uint32_t error = line.Read(buffer + bytesRead, size - bytesRead, count);
    if (error != 0) return bytesRead > 0 ? 0 : error;
    if (count > 0) {
      bytesRead += count;
      if (timeOuts.readInterval != 0 && !anyWillDo) gapLimit = Clock::now() + milliseconds(timeOuts.readInterval);
    } else {
      if (atOnce || (anyWillDo && bytesRead > 0)) return 0;
      if (!line.Await(ByteLine::Direction::kRead, Sooner(totalLimit, gapLimit))) return 0;
    }
  }
  return 0;
}

std::uint32_t TimedWrite(ByteLine& line, const SerialTimeOuts& timeOuts, const char* data, std::uint32_t size,
                         std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  const TimeLimit limit = TotalLimit(timeOuts.writeTotalMultiplier, size, timeOuts.writeTotalConstant);
  while (bytesWritten < size) {
    std::uint32_t count = 0;
    if (const std::uint32_t error = line.Write(data + bytesWritten, size - bytesWritten, count)) return error;
    bytesWritten += count;
    if (count == 0 && !line.Await(ByteLine::Direction::kWrite, limit)) return 0;
  }
  return 0;
}

}  // namespace tavro
