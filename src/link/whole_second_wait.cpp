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
  const std::int64_t seconds = FullSeconds(platform_->WallClock()) - startSecond_;
  if (seconds * 1000 >= milliseconds) return true;
  return platform_->TickCount() - startTick_ >= static_cast<std::uint32_t>(milliseconds) + 1000;
}

}  // namespace tavro
