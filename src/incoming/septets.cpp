#include "incoming/septets.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

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

// Makes a text of code after code.
class TextOfCodes {
 public:
  TextOfCodes(const Languages& languages, std::size_t count)
      : alphabet_(LockingTable(languages.locking)), extension_(SingleShiftTable(languages.single)) {
    text_.reserve(count);
  }

  void Add(unsigned code) {
    if (code == kGsmEscape && !escaped_) {
      escaped_ = true;
      return;
    }
    const char16_t extended = escaped_ ? ExtensionCharacter(extension_, code) : kNone;
    text_ += extended != kNone ? extended : AlphabetCharacter(alphabet_, code);
    escaped_ = false;
  }
  std::u16string Text() && { return std::move(text_); }

 private:
  const std::u16string_view alphabet_, extension_;
  std::u16string text_;
  bool escaped_ = false;
};

template <typename Use>
void ForEachSeptet(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count, Use use) {
  const std::size_t bits = octets.size() * 8;
  count = std::min(count, bits > firstBit ? (bits - firstBit) / 7 : 0);
  for (std::size_t bit = firstBit; count > 0; --count, bit += 7) {
    const std::size_t octet = bit / 8;
    unsigned pair = octets[octet];
    if (octet + 1 < octets.size()) pair |= static_cast<unsigned>(octets[octet + 1]) << 8;
    use(pair >> bit % 8 & 0x7F);
  }
}

}  // namespace

std::u16string SeptetText(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count,
                          const Languages& languages) {
  TextOfCodes text(languages, std::min(count, octets.size() * 8 / 7));
  ForEachSeptet(octets, firstBit, count, [&](unsigned code) { text.Add(code); });
  return std::move(text).Text();
}

SeptetSeams SeamsOf(std::span<const std::uint8_t> octets, std::size_t firstBit, std::size_t count,
                    const Languages& languages) {
  SeptetSeams seams;
  bool isFirst = true;
  ForEachSeptet(octets, firstBit, count, [&](unsigned code) {
    if (isFirst && code != kGsmEscape) {
      seams.escapedStart = ExtensionCharacter(SingleShiftTable(languages.single), code);
    }
    isFirst = false;
    seams.endsInEscape = code == kGsmEscape && !seams.endsInEscape;
  });
  return seams;
}

std::u16string CodesText(std::span<const std::uint8_t> codes, const Languages& languages) {
  TextOfCodes text(languages, codes.size());
  for (const std::uint8_t code : codes) text.Add(code & 0x7F);
  return std::move(text).Text();
}

}  // namespace tavro
