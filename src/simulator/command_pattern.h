// What a rule for commands applies to, and how often.
#pragma once

#include <string>
#include <string_view>

#include "simulator/at_command.h"

namespace tavro {

// A command line ("AT+CREG?"), or what command lines begin with ("AT+CMGD=*", "*"), letter case aside.
class CommandPattern {
 public:
  // Applies `times` times, always when negative.
  CommandPattern(std::string_view text, int times) : isPrefix_(text.ends_with('*')), times_(times) {
    if (isPrefix_) text.remove_suffix(1);
    text_ = InCapitals(text);
  }

  // The line is in capitals.
  bool Applies(std::string_view line) const {
    return times_ != 0 && (isPrefix_ ? line.starts_with(text_) : line == text_);
  }
  void Count() {
    if (times_ > 0) --times_;
  }

 private:
  std::string text_;
  bool isPrefix_;
  int times_;
};

}  // namespace tavro
