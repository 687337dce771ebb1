#include "waiting.h"

#include <iostream>

#include "console.h"
#include "end_signals.h"
#include "failure_hints.h"
#include "progress_line.h"
#include "tavro_output.h"

namespace {

using std::chrono::milliseconds, std::chrono::seconds;

constexpr milliseconds kWatchInterval(50);
constexpr seconds kGrace(1), kLongGrace(30);  // for what is being said to the modem
constexpr seconds kRetryInterval(3);          // from one attempt to find the modem again to the next
constexpr seconds kSameFailure(60);           // one that comes again within this time is not said again

}  // namespace

Waiting::Waiting(Session& session, std::optional<seconds> limit, bool needsOutput)
    : session_(session),
      limit_(limit ? std::optional(Clock::now() + *limit) : std::nullopt),
      needsOutput_(needsOutput),
      watching_([this] { Watch(); }) {
  session_.SetInterrupted([this] { return IsInterrupted(); });
}

Waiting::~Waiting() {
  {
    const std::lock_guard lock(mutex_);
    isLeft_ = true;
  }
  changed_.notify_all();
  watching_.join();
  session_.SetInterrupted({});
}

// In a thread of its own: a call that waits is ended by Cancel, which lets it finish what it has begun.
void Waiting::Watch() {
  std::unique_lock lock(mutex_);
  while (!isLeft_) {
    isTimeOver_ = limit_ && Clock::now() >= *limit_;
    if (isTimeOver_ || EndSignals::Received() != 0 || (needsOutput_ && !IsOutputOpen())) {
      endTime_ = Clock::now();
      hasEnded_ = true;
      changed_.notify_all();
      return session_.Sms().Cancel();
    }
    changed_.wait_for(lock, kWatchInterval);
  }
}

bool Waiting::IsInterrupted() const {
  if (!HasEnded() || isConnecting_) return HasEnded();
  const bool isInNoHurry = isTimeOver_ && EndSignals::Received() == 0;
  return Clock::now() - endTime_.load() >= (isInNoHurry ? kLongGrace : kGrace);
}

bool Waiting::IsOverdue() const {
  return EndSignals::Received() != 0 || (HasEnded() && Clock::now() - endTime_.load() >= kLongGrace);
}

bool Waiting::Run(const std::function<bool()>& step) {
  do {
    try {
      if (step()) return true;
    } catch (const OperationFailed& failure) {
      if (!HasEnded()) ComeBack(failure);
    }
  } while (!HasEnded());
  return false;
}

void Waiting::ComeBack(const OperationFailed& failure) {
  const bool isAway = !session_.Sms().IsConnected();
  Say(isAway ? "the modem is away: " + std::string(failure.what()) : failure.what(), isAway ? "" : HintFor(failure));
  isConnecting_ = true;
  for (bool isBack = false; !isBack;) {
    Pause(kRetryInterval);
    if (HasEnded()) break;
    try {
      session_.Connect();
      isBack = true;
    } catch (const OperationFailed& error) {
      if (!HasEnded()) Say("the modem is away: " + std::string(error.what()), HintFor(error));
    }
  }
  isConnecting_ = false;
  if (!isAway || HasEnded()) return;
  ProgressLine::Clear();
  std::cerr << "tavro: the modem is back\n";
  said_.clear();
}

void Waiting::Say(const std::string& what, const std::string& hint) {
  const bool isNew = what != said_ || Clock::now() - saidTime_ >= kSameFailure;
  ProgressLine::Clear();
  if (isNew) {
    std::cerr << "tavro: " << PrintableLine(what) << "; trying again\n";
    if (!hint.empty()) std::cerr << "  hint: " << PrintableLine(hint) << '\n';
  }
  said_ = what;
  saidTime_ = Clock::now();
}

void Waiting::Pause(seconds time) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, time, [this] { return HasEnded(); });
}
