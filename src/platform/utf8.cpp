#include "platform/utf8.h"

#include <algorithm>
#include <cstddef>

namespace tavro {

namespace {

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

char Octet(char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); }

void AppendUtf8(std::string& out, char32_t character) {
  const auto continuation = [&](int shift) { return Octet(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    out += Octet(character);
  } else if (character < 0x800) {
    out += {Octet(0xC0 | (character >> 6)), continuation(0)};
  } else if (character < 0x10000) {
    out += {Octet(0xE0 | (character >> 12)), continuation(6), continuation(0)};
  } else {
    out += {Octet(0xF0 | (character >> 18)), continuation(12), continuation(6), continuation(0)};
  }
}

struct Decoded {
  char32_t character;
  std::size_t length;  // octets; 0 when the text does not begin with a valid sequence
};

Decoded DecodeFirst(std::string_view text) {
  constexpr Decoded kInvalid{0, 0};
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};  // by length: less would be an overlong form
  const auto at = [&](std::size_t i) { return char32_t{static_cast<unsigned char>(text[i])}; };
  const char32_t lead = at(0);
  if (lead < 0x80) return {lead, 1};
  if (lead < 0xC0 || lead > 0xF7) return kInvalid;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length) return kInvalid;
  char32_t character = lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return kInvalid;
    character = (character << 6) | (at(i) & 0x3F);
  }
  const bool valid =
      character >= kLeast[length] && character <= 0x10FFFF && !IsHighSurrogate(character) && !IsLowSurrogate(character);
  return valid ? Decoded{character, length} : kInvalid;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  // Nearly all text is ASCII at its start, if not to its end.
  const auto ascii = std::find_if(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x80; });
  std::string out(static_cast<std::size_t>(ascii - text.begin()), '\0');
  std::transform(text.begin(), ascii, out.begin(), [](char16_t unit) { return static_cast<char>(unit); });
  for (auto i = static_cast<std::size_t>(ascii - text.begin()); i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsHighSurrogate(character) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (char32_t{text[++i]} - 0xDC00);
    } else if (IsHighSurrogate(character) || IsLowSurrogate(character)) {
      character = U'?';
    }
    AppendUtf8(out, character);
  }
  return out;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) {
    auto [character, length] = DecodeFirst(text);
    if (length == 0) {
      character = static_cast<unsigned char>(text[0]);
      length = 1;
    }
    if (character < 0x10000) {
      out += static_cast<char16_t>(character);
    } else {
      character -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (character >> 10));
      out += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
    text.remove_prefix(length);
  }
  return out;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = DecodeFirst(text).length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace tavro
