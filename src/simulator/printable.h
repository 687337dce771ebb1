// Bytes of a line as one line of text, for records and transcripts.
#pragma once

#include <string>
#include <string_view>

namespace tavro {

// Carriage return, line feed, Ctrl-Z and escape as <cr>, <lf>, <sub> and <esc>, every other octet that is no printable
// ASCII character as <FF>.
inline std::string Printable(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto octet = static_cast<unsigned char>(byte);
    if (byte == '\r') {
      text += "<cr>";
    } else if (byte == '\n') {
      text += "<lf>";
    } else if (octet == 26) {
      text += "<sub>";
    } else if (octet == 27) {
      text += "<esc>";
    } else if (octet < 32 || octet > 126) {
      text += {'<', kDigits[octet >> 4], kDigits[octet & 15], '>'};
    } else {
      text += byte;
    }
  }
  return text;
}

}  // namespace tavro
