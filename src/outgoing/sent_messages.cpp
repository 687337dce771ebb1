#include "outgoing/sent_messages.h"

#include <algorithm>

namespace tavro {

namespace {

template <class Text>
std::string DigitsOf(const Text& text) {
  std::string digits;
  for (const auto c : text) {
    if (c >= '0' && c <= '9') digits += static_cast<char>(c);
  }
  return digits;
}

}  // namespace

bool IsSameRecipient(std::string_view dialled, std::u16string_view named) {
  constexpr std::size_t kCounting = 7;
  const std::string a = DigitsOf(dialled), b = DigitsOf(named);
  const std::size_t count = std::min({a.size(), b.size(), kCounting});
  return count > 0 && a.substr(a.size() - count) == b.substr(b.size() - count);
}

}  // namespace tavro
