// A limit in milliseconds, counted in whole seconds of the wall clock.
#pragma once

#include <cstdint>

#include "platform/platform.h"

namespace tavro {

// The seconds are those that the clock shows, so 800 ms end at the next full second and 1500 ms within one to two. The
// tick count keeps a clock that is set forward or back from ending a wait before such a second or making it endless.
// A program that wants to end waits for nothing.
class WholeSecondWait {
 public:
  WholeSecondWait(Platform& platform, std::int32_t milliseconds);

  bool IsOver() const;
  // The same start with another limit.
  bool IsOver(std::int32_t milliseconds) const;
  // Milliseconds since the start.
  std::uint32_t Elapsed() const;

 private:
  Platform* platform_;
  std::int32_t milliseconds_;
  std::int64_t startSecond_;
  std::uint32_t startTick_;
};

}  // namespace tavro
