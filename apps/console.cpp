#include "console.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "character_width.h"
#include "system_console.h"

namespace {

constexpr int kLeastWidth = 20, kUsualWidth = 80;

int outputError = 0;  // the first one (errno); a later attempt may tell none

const char* CodeOf(Colour colour) {
  switch (colour) {
    case Colour::kBold:
      return "1";
    case Colour::kDim:
      return "2";
    case Colour::kRed:
      return "31";
    case Colour::kGreen:
      return "32";
    case Colour::kYellow:
      break;
  }
  return "33";
}

}  // namespace

void PassOutputOn() {
  errno = 0;
  if (!std::cout.flush() && outputError == 0) outputError = errno;
}

void FlushOutput() {
  PassOutputOn();
  if (std::cout) return;
  if (outputError == 0) {  // it failed in between; one more try tells why
    std::cout.clear();
    PassOutputOn();
    std::cout.setstate(std::ios::badbit);
  }
  throw std::runtime_error("cannot write the output" +
                           (outputError == 0 ? std::string() : ": " + std::generic_category().message(outputError)));
}

int TerminalWidth() {
  const std::string columns = EnvironmentValue("COLUMNS");
  int width = 0;
  std::from_chars(columns.data(), columns.data() + columns.size(), width);
  if (width <= 0) width = system_console::Columns();
  return width <= 0 ? kUsualWidth : std::max(width, kLeastWidth);
}

bool UsesColours(Stream stream) {
  return IsTerminal(stream) && EnvironmentValue("NO_COLOR").empty() && system_console::TakesColours(stream);
}

std::string Coloured(Stream stream, Colour colour, const std::string& text) {
  if (text.empty() || !UsesColours(stream)) return text;
  return std::string("\x1B[") + CodeOf(colour) + "m" + text + "\x1B[0m";
}

int DisplayWidth(std::string_view text) {
  int width = 0;
  for (const char32_t character : CodePoints(text)) width += CharacterWidth(character);
  return width;
}
