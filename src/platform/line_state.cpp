#include "platform/line_state.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/text.h"

namespace tavro {

namespace {

bool ParseBaudRate(std::string_view value, std::uint32_t& baudRate) {
  const char* const end = value.data() + value.size();
  const auto result = std::from_chars(value.data(), end, baudRate);
  return result.ec == std::errc() && result.ptr == end && baudRate > 0;
}

bool ParseParity(std::string_view value, LineState::Parity& parity) {
  constexpr std::string_view kLetters = "NOEMS";  // in the order of the enumeration
  const auto position = value.size() == 1 ? kLetters.find(value) : std::string_view::npos;
  if (position == std::string_view::npos) return false;
  parity = static_cast<LineState::Parity>(position);
  return true;
}

bool ParseDataBits(std::string_view value, std::uint8_t& dataBits) {
  if (value.size() != 1 || value[0] < '4' || value[0] > '8') return false;
  dataBits = static_cast<std::uint8_t>(value[0] - '0');
  return true;
}

bool ParseStopBits(std::string_view value, LineState::StopBits& stopBits) {
  if (value == "1") {
    stopBits = LineState::StopBits::kOne;
  } else if (value == "1.5") {
    stopBits = LineState::StopBits::kOneAndHalf;
  } else if (value == "2") {
    stopBits = LineState::StopBits::kTwo;
  } else {
    return false;
  }
  return true;
}

bool ParseItem(std::string_view item, LineState& state) {
  const auto equals = item.find('=');
  if (equals == std::string_view::npos) return false;
  const std::string_view key = item.substr(0, equals), value = item.substr(equals + 1);
  if (key == "BAUD") return ParseBaudRate(value, state.baudRate);
  if (key == "PARITY") return ParseParity(value, state.parity);
  if (key == "DATA") return ParseDataBits(value, state.dataBits);
  if (key == "STOP") return ParseStopBits(value, state.stopBits);
  return false;
}

}  // namespace

bool ParseLineMode(std::string_view mode, LineState& state) {
  LineState parsed = state;
  const std::string capitals = Upper(mode);
  for (const std::string_view item : Split(capitals, " ")) {
    if (!item.empty() && !ParseItem(item, parsed)) return false;
  }
  state = parsed;
  return true;
}

bool IsSameRate(std::uint32_t actual, std::uint32_t wanted) {
  return std::llabs(static_cast<long long>(actual) - wanted) * 50 <= wanted;
}

}  // namespace tavro
