#include "outgoing/validity_period.h"

#include "base/text.h"

namespace tavro {

namespace {

bool InRange(int value, int low, int high) { return value >= low && value <= high; }

// The nearest multiple of five, a half to the even one.
int NearestFives(int minutes) {
  const int fives = minutes / 5, rest = minutes % 5;  // five being odd, there is no half
  return rest >= 3 ? fives + 1 : fives;
}

std::optional<std::int16_t> EncodeMinutes(int minutes) {
  if (!InRange(minutes, 5, 720)) return {};
  return static_cast<std::int16_t>(NearestFives(minutes) - 1);
}

std::optional<std::int16_t> EncodeDays(int days) {
  if (!InRange(days, 1, 30)) return {};
  return static_cast<std::int16_t>(166 + days);
}

}  // namespace

std::optional<std::int16_t> EncodeValidityPeriod(std::string_view text) {
  text = Trim(text);
  int number = 0;
  if (text.size() < 2 || !ParseWhole(text.substr(0, text.size() - 1), number)) return {};
  switch (text.back()) {
    case 'W':
    case 'w':
      if (!InRange(number, 1, 63)) return {};
      if (number < 5) return EncodeDays(number * 7);
      return static_cast<std::int16_t>(192 + number);
    case 'D':
    case 'd':
      return EncodeDays(number);
    case 'H':
    case 'h':
      if (!InRange(number, 1, 24)) return {};
      if (number < 12) return EncodeMinutes(number * 60);
      return static_cast<std::int16_t>(143 + (number - 12) * 2);
    case 'M':
    case 'm':
      return EncodeMinutes(number);
    default:
      return {};
  }
}

std::string DecodeValidityPeriod(std::int16_t octet) {
  if (octet >= 197) return std::to_string(octet - 192) + "W";
  if (octet >= 167) return std::to_string(octet - 166) + "D";
  const int minutes = octet <= 143 ? (octet + 1) * 5 : 720 + (octet - 143) * 30;
  return minutes % 60 == 0 ? std::to_string(minutes / 60) + "H" : std::to_string(minutes) + "M";
}

}  // namespace tavro
