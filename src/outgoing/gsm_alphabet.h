// The GSM 7-bit default alphabet and its extension table (3GPP TS 23.038, 6.2.1), as far as they differ from ASCII.
#pragma once

namespace tavro {

struct GsmCharacter {
  char16_t character;
  unsigned char value;
};

inline constexpr unsigned char kGsmEscape = 0x1B;

// The alphabet's other characters. The inverted exclamation mark (value 0x40) is left out and is sent as "?"; this is
// meant.
inline constexpr GsmCharacter kGsmCharacters[] = {
    {u'@', 0x00},      {u'\u00A3', 0x01}, {u'$', 0x02},      {u'\u00A5', 0x03}, {u'\u00E8', 0x04}, {u'\u00E9', 0x05},
    {u'\u00F9', 0x06}, {u'\u00EC', 0x07}, {u'\u00F2', 0x08}, {u'\u00C7', 0x09}, {u'\u00D8', 0x0B}, {u'\u00F8', 0x0C},
    {u'\u00C5', 0x0E}, {u'\u00E5', 0x0F}, {u'\u0394', 0x10}, {u'_', 0x11},      {u'\u03A6', 0x12}, {u'\u0393', 0x13},
    {u'\u039B', 0x14}, {u'\u03A9', 0x15}, {u'\u03A0', 0x16}, {u'\u03A8', 0x17}, {u'\u03A3', 0x18}, {u'\u0398', 0x19},
    {u'\u039E', 0x1A}, {u'\u00C6', 0x1C}, {u'\u00E6', 0x1D}, {u'\u00DF', 0x1E}, {u'\u00C9', 0x1F}, {u'\u00A4', 0x24},
    {u'\u00C4', 0x5B}, {u'\u00D6', 0x5C}, {u'\u00D1', 0x5D}, {u'\u00DC', 0x5E}, {u'\u00A7', 0x5F}, {u'\u00BF', 0x60},
    {u'\u00E4', 0x7B}, {u'\u00F6', 0x7C}, {u'\u00F1', 0x7D}, {u'\u00FC', 0x7E}, {u'\u00E0', 0x7F},
};

// Each is sent as the escape and its value.
inline constexpr GsmCharacter kGsmExtension[] = {
    {u'\f', 0x0A}, {u'[', 0x3C}, {u'\\', 0x2F}, {u']', 0x3E}, {u'^', 0x14},
    {u'{', 0x28},  {u'|', 0x40}, {u'}', 0x29},  {u'~', 0x3D}, {u'\u20AC', 0x65},
};

// Whether the alphabet has this ASCII character at its own place.
constexpr bool IsGsmSameAsAscii(char16_t character) {
  return character == u'\n' || character == u'\r' ||
         (character >= u' ' && character <= u'Z' && character != u'$' && character != u'@') ||
         (character >= u'a' && character <= u'z');
}

}  // namespace tavro
