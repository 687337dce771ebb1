// What went wrong in a call of the C interface.
#pragma once

#include <cstddef>
#include <string_view>

#include "tavro/tavro.h"

namespace tavro {

// Needs no memory of its own, so that it can also tell that there is none.
class Failure {
 public:
  // A text that is longer than there is room for ends earlier, with a whole character.
  void Set(int code, std::string_view text) noexcept;
  int Code() const noexcept { return code_; }
  const char* Text() const noexcept { return text_; }

 private:
  static constexpr std::size_t kSize = 1024;

  int code_ = TAVRO_OK;
  char text_[kSize] = "";
};

// Thrown within a call that is made in the wrong way, and caught before it returns.
struct Misuse {
  int code;          // below 0
  const char* text;  // of the program; stays
};

// The last failure of this thread.
Failure& ThreadFailure() noexcept;

// Of the exception that is being handled.
Failure CurrentException() noexcept;

// A call without a handle of a modem: runs the body, and returns TAVRO_OK or the code of the failure that it ended
// with, which is then the thread's. A body fails by an exception.
template <class Body>
int PlainCall(Body&& body) noexcept {
  try {
    body();
    return TAVRO_OK;
  } catch (...) {
    ThreadFailure() = CurrentException();
    return ThreadFailure().Code();
  }
}

}  // namespace tavro
