#include "platform/posix/await.h"

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <iterator>

namespace tavro {

bool AwaitDescriptor(int descriptor, short events, TimeLimit limit, WakeSignal* wake) {
  using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC
  pollfd entries[] = {{descriptor, events, 0}, {wake ? wake->Descriptor() : -1, POLLIN, 0}};
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

}  // namespace tavro
