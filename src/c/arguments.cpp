#include "c/arguments.h"

#include "platform/utf8.h"

namespace tavro {

std::u16string TextArgument(const char* text, std::size_t length) {
  Require(text != nullptr, "A text is NULL");
  const std::string_view octets(text, length);
  Require(IsUtf8(octets), "A text is not UTF-8");
  return FromUtf8(octets);
}

std::u16string TextArgument(const char* text) { return TextArgument(text, text ? std::strlen(text) : 0); }

std::u16string TextArgument(const char* text, std::u16string_view fallback) {
  return text ? TextArgument(text) : std::u16string(fallback);
}

bool TruthArgument(std::int32_t value) {
  Require(value == 0 || value == 1, "A value is neither 0 nor 1");
  return value == 1;
}

}  // namespace tavro
