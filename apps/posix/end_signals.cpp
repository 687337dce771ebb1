#include "end_signals.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
std::atomic<int> received = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void Keep(int signal) {
  int none = 0;
  if (!received.compare_exchange_strong(none, signal)) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  }
}

}  // namespace

void EndSignals::Watch() {
  for (const int signal : kSignals) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Keep;
    sigaction(signal, &action, nullptr);
  }
}

int EndSignals::Received() { return received; }

std::string EndSignals::NameOf(int signal) { return strsignal(signal); }
