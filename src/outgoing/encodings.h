// Text and numbers in the form that a PDU has them: upper-case hexadecimal digits, two per octet, most significant
// first (GSM 03.38 / 3GPP TS 23.038; 3GPP TS 23.040, 9.1.2).
//
//   code-value string   one character per septet (coding 7; an extension character is 27 and its value), per octet
//                       (coding 8) or per UTF-16 unit (coding 16); its length is the message's length
//   bit string          "0" and "1", most significant bit first
//
// Pure functions. None fails: each says what it makes of input that it was not meant for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

// The coding that an application names: 7, 8 or 16, or 0, 1 or 2 for these; nothing for another number.
std::optional<std::int16_t> CodingOf(std::int16_t name);
// The code-value string of a text in the GSM 7-bit default alphabet. A character that it lacks becomes "?".
std::u16string ToGsmAlphabet(std::u16string_view text);
// Whether it has every character of the text.
bool FitsGsmAlphabet(std::u16string_view text);
// The low `width` bits of the value in two's complement; "" for a width other than 7, 8 and 16.
std::string ToBitString(std::int16_t value, int width);
// The last `digits` * 4 bits, zeros in front when there are fewer. Four characters that are no bits repeat the digit
// behind them; at the end they give nothing.
std::string BitsToHex(std::string_view bits, int digits);
// Four bits per digit. A character that is no upper-case digit repeats the bits of the one before; at the start it
// gives nothing.
std::string HexToBits(std::string_view hex);
// The user data of a code-value string in the coding 7, 8 or 16, `fillBits` in front of its first bit; "" for another
// coding. "hello" in 7 bits is E8329BFD06, with the fill bit "0" D06536FB0D.
std::string EncodeUserData(std::u16string_view codes, int coding, std::string_view fillBits = {});
// At least two digits; a negative value as its 16-bit two's complement.
std::string ByteToHex(std::int16_t value);
// Up to four digits are a 16-bit two's complement value ("FFFF" is -1), up to eight a 32-bit one; 0 for other text.
std::int32_t HexToLong(std::string_view hex);
// The digits in swapped pairs; a last single digit a gives "Fa".
std::string SwapSemiOctets(std::string_view digits);
// "+" and a number other than zero, without "." and ",".
bool IsInternationalNumber(std::string_view number);
// A number other than zero, without sign, "." and ",".
bool IsNationalNumber(std::string_view number);

}  // namespace tavro
