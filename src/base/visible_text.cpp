#include "base/visible_text.h"

namespace tavro {

bool IsHidden(char16_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

std::u16string VisibleText(std::u16string_view text, std::u16string_view kept) {
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  std::u16string visible;
  visible.reserve(text.size());
  for (const char16_t c : text) {
    if (!IsHidden(c) || kept.find(c) != std::u16string_view::npos) {
      visible += c;
      continue;
    }
    visible += c < 0x100 ? u"\\x" : u"\\u";
    for (int shift = c < 0x100 ? 4 : 12; shift >= 0; shift -= 4) visible += kDigits[(c >> shift) & 15];
  }
  return visible;
}

}  // namespace tavro
