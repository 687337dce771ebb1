#include "platform/serial_device_list.h"

#include <cstddef>

namespace tavro {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The number that the text begins with, without leading zeros; it is taken off the text.
std::string_view TakeNumber(std::string_view& text) {
  std::size_t size = 0, zeros = 0;
  while (size < text.size() && IsDigit(text[size])) ++size;
  while (zeros + 1 < size && text[zeros] == '0') ++zeros;
  const std::string_view number = text.substr(zeros, size - zeros);
  text.remove_prefix(size);
  return number;
}

}  // namespace

bool IsNaturallyLess(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (IsDigit(a[0]) && IsDigit(b[0])) {
      const std::string_view one = TakeNumber(a), other = TakeNumber(b);
      if (one.size() != other.size()) return one.size() < other.size();
      if (one != other) return one < other;
    } else {
      if (a[0] != b[0]) return a[0] < b[0];
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  return a.size() < b.size();
}

}  // namespace tavro
