// Texts as a modem and its network write them: the GSM 7-bit default alphabet with its extension table, and UCS2 (3GPP
// TS 23.038, 6.2). It shares nothing with the encodings of the component. Other texts are in UTF-8.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

inline constexpr char kGsmEscapeSeptet = 0x1B;

// Septets, one per octet, with the escapes of the extension table; nothing when a character is in neither table.
std::optional<std::string> SeptetsFromUtf8(std::string_view text);
// The same with "?" in the place of such a character.
std::string NearestSeptets(std::string_view text);
// Septets that mean nothing become blanks.
std::string Utf8FromSeptets(std::string_view septets);

// Packed into octets (6.1.2.1.1), so many zero bits in front.
std::string PackSeptets(std::string_view septets, std::size_t fillBits = 0);
// As many as there are, at most `count`.
std::string UnpackSeptets(std::string_view octets, std::size_t count, std::size_t fillBits = 0);

// Octets, the high one first.
std::string Ucs2FromUtf8(std::string_view text);
std::string Utf8FromUcs2(std::string_view octets);

}  // namespace tavro
