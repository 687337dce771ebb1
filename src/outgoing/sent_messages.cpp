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
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

}  // namespace

bool IsSameRecipient(std::string_view dialled, std::u16string_view named) {
  const std::string a = DigitsOf(dialled), b = DigitsOf(named);
  return a.ends_with(b) || b.ends_with(a);
}

}  // namespace tavro
