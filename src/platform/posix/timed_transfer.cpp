#include "platform/posix/timed_transfer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <iterator>
#include <limits>
#include <optional>

namespace tavro {

namespace {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC
using std::chrono::milliseconds;
using TimeLimit = std::optional<Clock::time_point>;  // none: without limit

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

// Waits until the device is ready for `events` or is gone, which the next read or write tells. False when the limit or
// the signal came first; without one it is null.
bool WaitFor(int device, short events, TimeLimit limit, WakeSignal* wake) {
  pollfd entries[] = {{device, events, 0}, {wake ? wake->Descriptor() : -1, POLLIN, 0}};
  while (true) {
    timespec remaining{};
    if (limit) {
      const auto left = *limit - Clock::now();
      if (left <= Clock::duration::zero()) return false;
      const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
      remaining.tv_sec = static_cast<time_t>(seconds.count());
      remaining.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
    }
    const int ready = ppoll(entries, std::size(entries), limit ? &remaining : nullptr, nullptr);
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0 || entries[0].revents != 0) return true;
    if (ready > 0 && wake->Take()) return false;
  }
}

enum class Step { kMoved, kNotReady, kFailed };

// What a read() or write() did. Nothing at all stands for a device that is gone.
Step Judge(ssize_t result) {
  if (result > 0) return Step::kMoved;
  if (result == 0) {
    errno = EIO;
    return Step::kFailed;
  }
  return errno == EAGAIN || errno == EINTR ? Step::kNotReady : Step::kFailed;
}

}  // namespace

bool TimedRead(int device, WakeSignal& wake, const SerialTimeOuts& timeOuts, char* buffer, std::uint32_t size,
               std::uint32_t& bytesRead) {
  bytesRead = 0;
  const bool anyWillDo = timeOuts.readInterval == kAllBits;
  const bool anyInTime = anyWillDo && timeOuts.readTotalMultiplier == kAllBits && timeOuts.readTotalConstant < kAllBits;
  const TimeLimit totalLimit =
      TotalLimit(anyInTime ? 0 : timeOuts.readTotalMultiplier, size, timeOuts.readTotalConstant);
  const bool atOnce = anyWillDo && timeOuts.readTotalMultiplier == 0 && timeOuts.readTotalConstant == 0;
  TimeLimit gapLimit;  // none until the first octet
  while (bytesRead < size) {
    const ssize_t result = read(device, buffer + bytesRead, size - bytesRead);
    switch (Judge(result)) {
      case Step::kMoved:
        bytesRead += static_cast<std::uint32_t>(result);
        if (timeOuts.readInterval != 0 && !anyWillDo) gapLimit = Clock::now() + milliseconds(timeOuts.readInterval);
        break;
      case Step::kNotReady:
        if (atOnce || (anyWillDo && bytesRead > 0)) return true;
        if (!WaitFor(device, POLLIN, Sooner(totalLimit, gapLimit), &wake)) return true;
        break;
      case Step::kFailed:
        return bytesRead > 0;
    }
  }
  return true;
}

bool TimedWrite(int device, const SerialTimeOuts& timeOuts, const char* data, std::uint32_t size,
                std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  const TimeLimit limit = TotalLimit(timeOuts.writeTotalMultiplier, size, timeOuts.writeTotalConstant);
  while (bytesWritten < size) {
    const ssize_t result = write(device, data + bytesWritten, size - bytesWritten);
    switch (Judge(result)) {
      case Step::kMoved:
        bytesWritten += static_cast<std::uint32_t>(result);
        break;
      case Step::kNotReady:
        if (!WaitFor(device, POLLOUT, limit, nullptr)) return true;
        break;
      case Step::kFailed:
        return false;
    }
  }
  return true;
}

void DropInput(int device) {
  constexpr int kRounds = 64;  // more than the kernel holds: a sender that never stops must not keep us here
  char dropped[4096];
  for (int i = 0; i < kRounds && read(device, dropped, sizeof dropped) > 0; ++i) {
  }
}

}  // namespace tavro
