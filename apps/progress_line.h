// What long work shows while it goes on: one line at the foot of the terminal.
#pragma once

#include <string>

// The line is written over and over on standard error when that is a terminal; elsewhere nothing is. It goes when the
// object does, and with Clear, which whoever prints something else meanwhile calls first. For one thread.
class ProgressLine {
 public:
  ProgressLine() = default;
  ~ProgressLine() { Clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Cut to the terminal's width. The text has no control characters.
  void Show(const std::string& text);
  // Takes away the line that any of the objects shows.
  static void Clear();
};
