#include "simulator/gsm_text.h"

#include <algorithm>
#include <iterator>

#include "platform/utf8.h"

namespace tavro {

namespace {

// By their codes; a blank stands at the place of the escape.
constexpr std::u16string_view kAlphabet =
    u"@\u00A3$\u00A5\u00E8\u00E9\u00F9\u00EC\u00F2\u00C7\n\u00D8\u00F8\r\u00C5\u00E5"
    u"\u0394_\u03A6\u0393\u039B\u03A9\u03A0\u03A8\u03A3\u0398\u039E \u00C6\u00E6\u00DF\u00C9"
    u" !\"#\u00A4%&'()*+,-./"
    u"0123456789:;<=>?"
    u"\u00A1ABCDEFGHIJKLMNO"
    u"PQRSTUVWXYZ\u00C4\u00D6\u00D1\u00DC\u00A7"
    u"\u00BFabcdefghijklmno"
    u"pqrstuvwxyz\u00E4\u00F6\u00F1\u00FC\u00E0";
static_assert(kAlphabet.size() == 128);

struct Extension {
  char16_t character;
  char code;
};

constexpr Extension kExtensions[] = {{u'\f', 0x0A}, {u'^', 0x14}, {u'{', 0x28}, {u'}', 0x29}, {u'\\', 0x2F},
                                     {u'[', 0x3C},  {u'~', 0x3D}, {u']', 0x3E}, {u'|', 0x40}, {u'\u20AC', 0x65}};

char Octet(unsigned value) { return static_cast<char>(static_cast<unsigned char>(value)); }
unsigned Value(char octet) { return static_cast<unsigned char>(octet); }

// False when neither table has the character.
bool Append(std::string& septets, char16_t unit) {
  constexpr std::size_t kEscapeCode = 0x1B;
  std::size_t code = kAlphabet.find(unit);
  if (code == kEscapeCode) code = kAlphabet.find(unit, code + 1);
  if (code != std::u16string_view::npos) {
    septets += Octet(static_cast<unsigned>(code));
    return true;
  }
  const auto extension = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                      [&](const Extension& each) { return each.character == unit; });
  if (extension == std::end(kExtensions)) return false;
  septets += {kGsmEscapeSeptet, extension->code};
  return true;
}

}  // namespace

std::optional<std::string> SeptetsFromUtf8(std::string_view text) {
  std::string septets;
  for (const char16_t unit : FromUtf8(text)) {
    if (!Append(septets, unit)) return std::nullopt;
  }
  return septets;
}

std::string NearestSeptets(std::string_view text) {
  std::string septets;
  for (const char16_t unit : FromUtf8(text)) {
    if (!Append(septets, unit)) septets += '?';
  }
  return septets;
}

std::string Utf8FromSeptets(std::string_view septets) {
  std::u16string text;
  for (std::size_t i = 0; i < septets.size(); ++i) {
    if (septets[i] != kGsmEscapeSeptet) {
      text += kAlphabet[Value(septets[i]) & 0x7F];
    } else if (++i < septets.size()) {
      const auto extension = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                          [&](const Extension& each) { return each.code == septets[i]; });
      // An unknown one means the character of the main table.
      text += extension != std::end(kExtensions) ? extension->character : kAlphabet[Value(septets[i]) & 0x7F];
    }
  }
  return ToUtf8(text);
}

std::string PackSeptets(std::string_view septets, std::size_t fillBits) {
  std::string octets((septets.size() * 7 + fillBits + 7) / 8, '\0');
  std::size_t bit = fillBits;
  for (const char septet : septets) {
    const unsigned shifted = (Value(septet) & 0x7F) << bit % 8;
    octets[bit / 8] = Octet(Value(octets[bit / 8]) | shifted);
    if (shifted > 0xFF) octets[bit / 8 + 1] = Octet(shifted >> 8);
    bit += 7;
  }
  return octets;
}

std::string UnpackSeptets(std::string_view octets, std::size_t count, std::size_t fillBits) {
  std::string septets;
  for (std::size_t bit = fillBits; septets.size() < count && bit + 7 <= octets.size() * 8; bit += 7) {
    unsigned pair = Value(octets[bit / 8]);
    if (bit / 8 + 1 < octets.size()) pair |= Value(octets[bit / 8 + 1]) << 8;
    septets += Octet(pair >> bit % 8 & 0x7F);
  }
  return septets;
}

std::string Ucs2FromUtf8(std::string_view text) {
  std::string octets;
  for (const char16_t unit : FromUtf8(text)) octets += {Octet(unit >> 8), Octet(unit & 0xFF)};
  return octets;
}

std::string Utf8FromUcs2(std::string_view octets) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < octets.size(); i += 2) {
    text += static_cast<char16_t>(Value(octets[i]) << 8 | Value(octets[i + 1]));
  }
  return ToUtf8(text);
}

}  // namespace tavro
