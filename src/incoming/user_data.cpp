#include "incoming/user_data.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "outgoing/gsm_alphabet.h"

namespace tavro {

namespace {

// By GSM value. 0x40 is "@" too and not the inverted exclamation mark; this is meant.
constexpr auto kBasicCharacters = [] {
  std::array<char16_t, 128> characters{};
  for (std::size_t value = 0; value < characters.size(); ++value) characters[value] = static_cast<char16_t>(value);
  for (const auto& [character, value] : kGsmCharacters) characters[value] = character;
  return characters;
}();

constexpr auto kExtensionCharacters = [] {
  std::array<char16_t, 128> characters{};
  characters.fill(u'?');
  for (const auto& [character, value] : kGsmExtension) characters[value] = character;
  characters[kGsmEscape] = u' ';  // a further extension table, of which there is none
  return characters;
}();

// The codes of the data, `kWidth` bits each, as they arrive: first unit first, least significant bit first.
template <unsigned kWidth>
class CodeReader {
 public:
  explicit CodeReader(std::string_view hex) : next_(hex.data()), end_(hex.data() + hex.size()) {}

  void SkipFillBit() {
    if (Fill(1)) Take(1);
  }

  bool Next(unsigned& code) {
    if (!Fill(kWidth)) return false;
    code = Take(kWidth);
    return true;
  }

 private:
  static constexpr std::ptrdiff_t kUnitDigits = kWidth == 16 ? 4 : 2;

  bool Fill(unsigned count) {
    while (count_ < count) {
      if (next_ == end_) return false;
      if (!ReadWholeUnit()) ReadUnit();
    }
    return true;
  }

  // What nearly all units are: digits alone.
  bool ReadWholeUnit() {
    if (end_ - next_ < kUnitDigits) return false;
    unsigned unit = 0;
    int signs = 0;
    for (std::ptrdiff_t i = 0; i < kUnitDigits; ++i) {
      const int value = HexDigitValue(next_[i]);
      signs |= value;
      unit = unit << 4 | static_cast<unsigned>(value);
    }
    if (signs < 0) return false;
    next_ += kUnitDigits;
    bits_ |= unit << count_;
    count_ += 4 * kUnitDigits;
    return true;
  }

  // A character that is no digit repeats the one before; at the start of a unit it gives nothing.
  void ReadUnit() {
    const char* const unitEnd = next_ + std::min(kUnitDigits, end_ - next_);
    unsigned unit = 0;
    unsigned unitBits = 0;
    int digit = -1;
    for (; next_ != unitEnd; ++next_) {
      const int value = HexDigitValue(*next_);
      if (value >= 0) digit = value;
      if (digit < 0) continue;
      unit = unit << 4 | static_cast<unsigned>(digit);
      unitBits += 4;
    }
    bits_ |= unit << count_;
    count_ += unitBits;
  }

  unsigned Take(unsigned count) {
    const unsigned code = bits_ & ((1U << count) - 1);
    bits_ >>= count;
    count_ -= count;
    return code;
  }

  const char* next_;
  const char* end_;
  unsigned bits_ = 0;   // at most 15 bits wait when a unit of 16 joins them
  unsigned count_ = 0;  // of them
};

template <unsigned kWidth>
std::u16string Unpack(std::string_view hex) {
  CodeReader<kWidth> codes(hex);
  std::u16string text(hex.size() * 4 / kWidth, u'\0');
  char16_t* out = text.data();
  for (unsigned code = 0; codes.Next(code);) *out++ = static_cast<char16_t>(code);
  text.resize(static_cast<std::size_t>(out - text.data()));
  return text;
}

std::u16string UnpackGsm(std::string_view hex, bool hasFillBit, std::int16_t& limit) {
  CodeReader<7> codes(hex);
  if (hasFillBit) codes.SkipFillBit();
  std::u16string text(hex.size() * 4 / 7, u'\0');
  char16_t* out = text.data();
  for (unsigned code = 0; codes.Next(code);) {
    if (code != kGsmEscape) {
      *out++ = kBasicCharacters[code];
    } else if (codes.Next(code)) {
      *out++ = kExtensionCharacters[code];
      --limit;
    }
  }
  text.resize(static_cast<std::size_t>(out - text.data()));
  return text;
}

}  // namespace

std::u16string UnpackUserData(std::string_view hex, int alphabet, std::string_view headerFlag, std::int16_t& limit) {
  switch (alphabet) {
    case 7:
      return UnpackGsm(hex, headerFlag == "1", limit);
    case 8:
      return Unpack<8>(hex);
    case 16:
      return Unpack<16>(hex);
    default:
      return {};
  }
}

}  // namespace tavro
