#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavro {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Moves `position` over digits and returns how many there were.
std::size_t SkipDigits(std::string_view text, std::size_t& position) {
  const std::size_t start = position;
  while (position < text.size() && IsDigit(text[position])) ++position;
  return position - start;
}

void SkipSign(std::string_view text, std::size_t& position) {
  if (position < text.size() && (text[position] == '+' || text[position] == '-')) ++position;
}

bool HasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

bool IsExponentMark(std::string_view text, std::size_t position) {
  return position < text.size() && (text[position] == 'e' || text[position] == 'E');
}

}  // namespace

std::string_view Trim(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string Trimmed(std::string_view text) { return std::string(Trim(text)); }

std::string Upper(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return result;
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  std::size_t start = 0;
  for (auto found = text.find(from); found != std::string_view::npos && !from.empty(); found = text.find(from, start)) {
    result.append(text, start, found - start).append(to);
    start = found + from.size();
  }
  return result.append(text, start);
}

std::string RemoveAll(std::string_view text, std::string_view part) { return ReplaceAll(text, part, {}); }

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool ContainsNoCase(std::string_view text, std::string_view part) { return Contains(Upper(text), part); }

bool IsQuotable(std::string_view text) { return !HasControls(text) && !Contains(text, "\""); }

bool IsSingleCommand(std::string_view text) {
  constexpr char kCtrlZ = 26, kEsc = 27;
  if (text.ends_with("\r\n")) text.remove_suffix(1);
  if (text.ends_with('\r') || text.ends_with(kCtrlZ) || text.ends_with(kEsc)) text.remove_suffix(1);
  return !HasControls(text);
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  for (auto found = text.find(separator); found != std::string_view::npos; found = text.find(separator, start)) {
    pieces.push_back(text.substr(start, found - start));
    start = found + separator.size();
  }
  pieces.push_back(text.substr(start));
  return pieces;
}

bool IsNumeric(std::string_view text) {
  text = Trim(text);
  std::size_t position = 0;
  SkipSign(text, position);
  std::size_t digits = SkipDigits(text, position);
  if (position < text.size() && text[position] == '.') digits += SkipDigits(text, ++position);
  if (digits == 0) return false;
  if (IsExponentMark(text, position)) {
    SkipSign(text, ++position);
    if (SkipDigits(text, position) == 0) return false;
  }
  return position == text.size();
}

bool ParseWhole(std::string_view text, int& value) {
  text = Trim(text);
  if (!IsNumeric(text) || Contains(text, ".")) return false;
  std::size_t position = 0;
  SkipSign(text, position);
  double magnitude = 0;
  while (position < text.size() && IsDigit(text[position])) magnitude = magnitude * 10 + (text[position++] - '0');
  if (IsExponentMark(text, position)) {
    const bool negative = text[position + 1] == '-';
    SkipSign(text, ++position);
    int exponent = 0;
    while (position < text.size()) exponent = std::min(exponent * 10 + (text[position++] - '0'), 1000);
    magnitude *= std::pow(10.0, negative ? -exponent : exponent);
  }
  if (text[0] == '-') magnitude = -magnitude;
  if (magnitude < std::numeric_limits<int>::min() || magnitude > std::numeric_limits<int>::max() ||
      magnitude != std::floor(magnitude)) {
    return false;
  }
  value = static_cast<int>(magnitude);
  return true;
}

}  // namespace tavro
