#include "progress_line.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

#include "character_width.h"
#include "console.h"

namespace {

int shownWidth = 0;  // of the line that is there

}  // namespace

void ProgressLine::Show(const std::string& text) {
  if (!IsTerminal(Stream::kError)) return;
  const int limit = TerminalWidth() - 1;  // the last column may begin another line
  std::string line;
  int width = 0;
  for (const char32_t character : CodePoints(ShownText(text))) {
    const int next = CharacterWidth(character);
    if (width + next > limit) break;
    width += next;
    line += Utf8Of(character);
  }
  std::cerr << '\r' << line << std::string(static_cast<std::size_t>(std::max(shownWidth - width, 0)), ' ')
            << std::flush;
  shownWidth = width;
}

void ProgressLine::Clear() {
  if (shownWidth == 0) return;
  std::cerr << '\r' << std::string(static_cast<std::size_t>(shownWidth), ' ') << '\r' << std::flush;
  shownWidth = 0;
}
