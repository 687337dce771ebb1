// A wait that may last, and outlasts a modem that goes away.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "tavro_session.h"

// It ends at one of EndSignals, when its time is over and, where that is wanted, when nobody reads standard output any
// more. What is being said to the modem then is said to its end, as a message that was half read would count as read:
// for a second at most, or for half a minute when it is only that the time is over.
class Waiting {
 public:
  // Without a limit it lasts as long as nothing else ends it.
  Waiting(Session& session, std::optional<std::chrono::seconds> limit, bool needsOutput);
  ~Waiting();
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

  // For the library's waits, which Waiting ends: the longest.
  static constexpr std::int32_t kLongest = 0x7FFFFFFF;  // ms

  // Does the step, once at least, until it returns true or the wait ends. When it throws OperationFailed, that is said
  // on standard error, and behind a pause the modem is connected anew where it has to be. Whether the step returned
  // true.
  bool Run(const std::function<bool()>& step);
  // Whether one of EndSignals came, or the wait has ended so long ago that nothing that still runs is waited for. From
  // any thread.
  bool IsOverdue() const;

 private:
  using Clock = std::chrono::steady_clock;

  void Watch();
  bool HasEnded() const { return hasEnded_; }
  bool IsInterrupted() const;
  void ComeBack(const OperationFailed& failure);
  void Say(const std::string& what, const std::string& hint);
  void Pause(std::chrono::seconds time);

  Session& session_;
  const std::optional<Clock::time_point> limit_;
  const bool needsOutput_;
  bool isConnecting_ = false;
  std::string said_;
  Clock::time_point saidTime_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> hasEnded_ = false;
  std::atomic<bool> isTimeOver_ = false;
  std::atomic<Clock::time_point> endTime_ = Clock::time_point();
  bool isLeft_ = false;  // the object goes
  std::thread watching_;
};
