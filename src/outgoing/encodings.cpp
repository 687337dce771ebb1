#include "outgoing/encodings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "base/text.h"
#include "outgoing/gsm_alphabet.h"

namespace tavro {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// The value of an upper-case digit, -1 for another character.
int HexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// Marks a value of the extension table.
constexpr unsigned char kExtended = 0x80;

// By character, up to the last Greek letter; all others are "?" but those of the extension table.
constexpr auto kGsmValues = [] {
  std::array<unsigned char, 0x3AA> values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = IsGsmSameAsAscii(static_cast<char16_t>(i)) ? static_cast<unsigned char>(i) : '?';
  }
  for (const auto& [character, value] : kGsmCharacters) values[character] = value;
  for (const auto& [character, value] : kGsmExtension) {
    if (character < values.size()) values[character] = kExtended | value;
  }
  return values;
}();

unsigned char GsmValue(char16_t character) {
  if (character < kGsmValues.size()) return kGsmValues[character];
  for (const auto& extended : kGsmExtension) {
    if (extended.character == character) return kExtended | extended.value;
  }
  return '?';
}

// Both digits of each octet.
constexpr auto kOctetDigits = [] {
  std::array<char, 512> digits{};
  for (std::size_t octet = 0; octet < 256; ++octet) {
    digits[2 * octet] = kHexDigits[octet >> 4];
    digits[2 * octet + 1] = kHexDigits[octet & 0xF];
  }
  return digits;
}();

void WriteOctet(char*& out, std::uint64_t octet) {
  std::memcpy(out, &kOctetDigits[2 * (octet & 0xFF)], 2);
  out += 2;
}

// Collects the bits of fill and codes from the least significant one on and writes them out in units of 8 or 16, the
// last one with zeros at its high end.
template <int kCodeBits, int kUnitBits>
std::string Pack(std::u16string_view codes, std::string_view fillBits) {
  const std::size_t units = (fillBits.size() + codes.size() * kCodeBits + kUnitBits - 1) / kUnitBits;
  std::string hex(units * (kUnitBits / 4), '\0');
  char* out = hex.data();
  std::uint64_t window = 0;
  int count = 0;
  const auto writeUnit = [&] {
    if constexpr (kUnitBits == 16) WriteOctet(out, window >> 8);
    WriteOctet(out, window);
  };
  const auto add = [&](unsigned value, int bits) {
    window |= std::uint64_t{value} << count;
    count += bits;
    if (count >= kUnitBits) {
      writeUnit();
      window >>= kUnitBits;
      count -= kUnitBits;
    }
  };
  for (auto bit = fillBits.rbegin(); bit != fillBits.rend(); ++bit) add(*bit == '1', 1);
  for (const char16_t code : codes) add(code & ((1u << kCodeBits) - 1), kCodeBits);
  if (count > 0) writeUnit();
  return hex;
}

// The same by way of the bit string, which says what becomes of fill that holds other characters than bits.
std::string PackOddFill(std::u16string_view codes, int coding, std::string_view fill) {
  std::string bits;
  for (auto code = codes.rbegin(); code != codes.rend(); ++code) {
    bits += ToBitString(static_cast<std::int16_t>(*code), coding);
  }
  bits += fill;
  const std::size_t unitBits = coding == 16 ? 16 : 8;
  bits.insert(0, (unitBits - bits.size() % unitBits) % unitBits, '0');
  std::string hex;
  for (std::size_t end = bits.size(); end > 0; end -= unitBits) {
    hex += BitsToHex(std::string_view(bits).substr(end - unitBits, unitBits), static_cast<int>(unitBits / 4));
  }
  return hex;
}

// Numeric, without "." and ",", and other than zero: a digit in front of the exponent is.
bool IsWholeNumber(std::string_view text) {
  if (!IsNumeric(text)) return false;
  bool isZero = true;
  bool isMantissa = true;
  for (const char c : text) {
    if (c == '.' || c == ',') return false;
    isMantissa = isMantissa && c != 'e' && c != 'E';
    if (isMantissa && c >= '1' && c <= '9') isZero = false;
  }
  return !isZero;
}

bool IsSign(char c) { return c == '+' || c == '-'; }

}  // namespace

std::optional<std::int16_t> CodingOf(std::int16_t name) {
  switch (name) {
    case 0:
    case 7:
      return std::int16_t{7};
    case 1:
    case 8:
      return std::int16_t{8};
    case 2:
    case 16:
      return std::int16_t{16};
    default:
      return {};
  }
}

std::u16string ToGsmAlphabet(std::u16string_view text) {
  std::u16string codes(text.size() * 2, u'\0');
  char16_t* out = codes.data();
  for (const char16_t character : text) {
    const unsigned char value = GsmValue(character);
    *out = kGsmEscape;  // overwritten unless the value is of the extension table
    out += value / kExtended;
    *out++ = value % kExtended;
  }
  codes.resize(static_cast<std::size_t>(out - codes.data()));
  return codes;
}

bool FitsGsmAlphabet(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char16_t character) { return character == u'?' || GsmValue(character) != '?'; });
}

std::string ToBitString(std::int16_t value, int width) {
  if (width != 7 && width != 8 && width != 16) return {};
  std::string bits;
  for (int bit = width - 1; bit >= 0; --bit) bits += (value >> bit) & 1 ? '1' : '0';
  return bits;
}

std::string BitsToHex(std::string_view bits, int digits) {
  if (digits <= 0) return {};
  std::string padded(static_cast<std::size_t>(digits) * 4, '0');
  padded.append(bits);
  std::string_view groups(padded);
  groups.remove_prefix(bits.size());
  std::string reversed;
  for (; !groups.empty(); groups.remove_suffix(4)) {
    const std::string_view group = groups.substr(groups.size() - 4);
    if (group.find_first_not_of("01") == std::string_view::npos) {
      int value = 0;
      for (const char bit : group) value = value * 2 + (bit == '1');
      reversed += kHexDigits[value];
    } else if (!reversed.empty()) {
      reversed += reversed.back();
    }
  }
  return {reversed.rbegin(), reversed.rend()};
}

std::string HexToBits(std::string_view hex) {
  std::string bits;
  bits.reserve(hex.size() * 4);
  std::string last;
  for (const char digit : hex) {
    if (const int value = HexValue(digit); value >= 0) {
      last.clear();
      for (int bit = 3; bit >= 0; --bit) last += (value >> bit) & 1 ? '1' : '0';
    }
    bits += last;
  }
  return bits;
}

std::string EncodeUserData(std::u16string_view codes, int coding, std::string_view fillBits) {
  const bool oddFill = fillBits.find_first_not_of("01") != std::string_view::npos;
  if (oddFill && (coding == 7 || coding == 8 || coding == 16)) return PackOddFill(codes, coding, fillBits);
  switch (coding) {
    case 7:
      return Pack<7, 8>(codes, fillBits);
    case 8:
      return Pack<8, 8>(codes, fillBits);
    case 16:
      return Pack<16, 16>(codes, fillBits);
    default:
      return {};
  }
}

std::string ByteToHex(std::int16_t value) {
  const auto bits = static_cast<std::uint16_t>(value);
  char digits[4];
  char* out = digits;
  WriteOctet(out, bits >> 8);
  WriteOctet(out, bits);
  const int leading = bits < 0x100 ? 2 : bits < 0x1000 ? 1 : 0;
  return {digits + leading, out};
}

std::int32_t HexToLong(std::string_view hex) {
  if (hex.empty() || hex.size() > 8) return 0;
  std::uint32_t value = 0;
  for (const char c : Upper(hex)) {
    const int digit = HexValue(c);
    if (digit < 0) return 0;
    value = value << 4 | static_cast<std::uint32_t>(digit);
  }
  return hex.size() <= 4 ? static_cast<std::int16_t>(value) : static_cast<std::int32_t>(value);
}

std::string SwapSemiOctets(std::string_view digits) {
  std::string swapped;
  swapped.reserve(digits.size() + 1);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    swapped += digits[i + 1];
    swapped += digits[i];
  }
  if (digits.size() % 2 != 0) {
    swapped += 'F';
    swapped += digits.back();
  }
  return swapped;
}

bool IsInternationalNumber(std::string_view number) {
  return number.size() >= 2 && number[0] == '+' && !IsSign(number[1]) && IsWholeNumber(number.substr(1));
}

bool IsNationalNumber(std::string_view number) {
  return !number.empty() && !IsSign(number[0]) && IsWholeNumber(number);
}

}  // namespace tavro
