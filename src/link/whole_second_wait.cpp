#include "link/whole_second_wait.h"

namespace tavro {

namespace {

std::int64_t FullSeconds(std::int64_t milliseconds) {
  return milliseconds >= 0 ? milliseconds / 1000 : (milliseconds - 999) / 1000;
}

}  // namespace

WholeSecondWait::WholeSecondWait(Platform& platform, std::int32_t milliseconds)
    : platform_(&platform),
      milliseconds_(milliseconds),
      startSecond_(FullSeconds(platform.WallClock())),
      startTick_(platform.TickCount()) {}

bool WholeSecondWait::IsOver() const { return IsOver(milliseconds_); }

bool WholeSecondWait::IsOver(std::int32_t milliseconds) const {
  if (platform_->IsInterrupted()) return true;
  const std::int32_t wholeSeconds = milliseconds / 1000 + (milliseconds % 1000 != 0 ? 1 : 0);
  const std::uint32_t elapsed = Elapsed();
  if (elapsed >= static_cast<std::uint32_t>(milliseconds) + 1000) return true;
  // A clock that nobody sets is at most a second ahead.
  const bool tooEarly = wholeSeconds > 1 && elapsed < static_cast<std::uint32_t>(wholeSeconds - 1) * 1000;
  return !tooEarly && FullSeconds(platform_->WallClock()) - startSecond_ >= wholeSeconds;
}

std::uint32_t WholeSecondWait::Elapsed() const { return platform_->TickCount() - startTick_; }

}  // namespace tavro
