// The signals that ask a program to end: SIGINT, SIGTERM and SIGHUP.
#pragma once

#include <array>
#include <atomic>
#include <csignal>

// After Watch, the first of them is only kept, so that the program can end in order; a second one ends it at once. One
// that the program was started to ignore (nohup) stays ignored.
class EndSignals {
 public:
  static void Watch() {
    for (const int signal : kSignals) {
      struct sigaction action {};
      if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
      action = {};
      action.sa_handler = Keep;
      sigaction(signal, &action, nullptr);
    }
  }
  // The one that came; 0 as long as none has. From any thread.
  static int Received() { return received_; }

 private:
  static void Keep(int signal) {
    int none = 0;
    if (!received_.compare_exchange_strong(none, signal)) {
      std::signal(signal, SIG_DFL);
      std::raise(signal);
    }
  }

  static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
  static inline std::atomic<int> received_ = 0;
  static_assert(std::atomic<int>::is_always_lock_free);
};
