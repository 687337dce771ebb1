#include "incoming/septets.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/national_tables.h"
#include "outgoing/gsm_alphabet.h"

namespace tavro {

namespace {

using Characters = std::array<char16_t, 128>;

constexpr char16_t kNone = 0;

constexpr Characters kDefaultAlphabet = [] {
  Characters characters{};
  for (std::size_t code = 0; code < characters.size(); ++code) characters[code] = static_cast<char16_t>(code);
  for (const auto& [character, code] : kGsmCharacters) characters[code] = character;
  characters[0x40] = u'\u00A1';  // which is not sent
  return characters;
}();

constexpr Characters kDefaultExtension = [] {
  Characters characters{};
  for (const auto& [character, code] : kGsmExtension) characters[code] = character;
  characters[kGsmEscape] = u' ';  // to a further table, of which there is none
  return characters;
}();

char16_t AlphabetCharacter(std::u16string_view table, unsigned code) {
  if (table.empty()) return kDefaultAlphabet[code];
  return code < table.size() ? table[code] : u' ';
}

char16_t ExtensionCharacter(std::u16string_view table, unsigned code) {
  if (table.empty() || code == kGsmEscape) return kDefaultExtension[code];
  return code < table.size() && table[code] != u' ' ? table[code] : kNone;
}

}  // namespace

std::u16string SeptetText(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count,
                          const Languages& languages) {
  const std::u16string_view alphabet = LockingTable(languages.locking);
  const std::u16string_view extension = SingleShiftTable(languages.single);
  const std::size_t bits = octets.size() * 8;
  count = std::min(count, bits > firstBit ? (bits - firstBit) / 7 : 0);
  std::u16string text;
  text.reserve(count);
  bool escaped = false;
  for (std::size_t bit = firstBit; count > 0; --count, bit += 7) {
    const std::size_t octet = bit / 8;
    unsigned pair = octets[octet];
    if (octet + 1 < octets.size()) pair |= static_cast<unsigned>(octets[octet + 1]) << 8;
    const unsigned code = pair >> bit % 8 & 0x7F;
    if (code == kGsmEscape && !escaped) {
      escaped = true;
      continue;
    }
    const char16_t extended = escaped ? ExtensionCharacter(extension, code) : kNone;
    text += extended != kNone ? extended : AlphabetCharacter(alphabet, code);
    escaped = false;
  }
  return text;
}

}  // namespace tavro
