// The text in a message's user data (3GPP TS 23.038, 6.1.2 and 6.2.1).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tavro {

// The text of user data in upper-case hex digits; no valid input is asked for.
//
//   alphabet    bits of a character: 7 (GSM alphabet), 8 (Latin-1) or 16 (UTF-16 units); any other gives no text
//   headerFlag  "1" when a header of six octets stood before the data: seven-bit text then begins after one fill bit
//   limit       the most characters that the message can have, in characters of the alphabet. Each escape pair lowers
//               it by one, as the pair is one character of the text. The caller cuts the text to it.
//
// A unit (an octet, or two for alphabet 16) is read as HexToBits reads it: a character that is no digit repeats the one
// before it in the unit, and at its start gives nothing. Bits that fill no character are dropped.
std::u16string UnpackUserData(std::string_view hex, int alphabet, std::string_view headerFlag, std::int16_t& limit);

inline constexpr auto kHexDigitValues = [] {
  std::array<signed char, 256> values{};
  values.fill(-1);
  for (int digit = 0; digit < 16; ++digit) {
    values[static_cast<std::size_t>("0123456789ABCDEF"[digit])] = static_cast<signed char>(digit);
  }
  return values;
}();

// The value of a hex digit in capitals; -1 for another character.
inline int HexDigitValue(char digit) { return kHexDigitValues[static_cast<unsigned char>(digit)]; }

}  // namespace tavro
