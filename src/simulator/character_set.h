// The character set of texts in commands and answers (AT+CSCS, 3GPP TS 27.007, 5.5).
//
//   GSM    an octet per septet of the default alphabet (3GPP TS 23.038, 6.2.1)
//   IRA    ASCII
//   UCS2   four hexadecimal digits per unit of UTF-16
//   HEX    two hexadecimal digits per septet of the default alphabet
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/modem_state.h"

namespace tavro {

// A text in UTF-8 as the current set has it; "?" stands for what it has not.
std::string Encoded(const ModemState& modem, std::string_view text);
// The other way round; nothing when the text is none of this set.
std::optional<std::string> Decoded(const ModemState& modem, std::string_view text);
// Encoded and in quotes.
std::string Quoted(const ModemState& modem, std::string_view text);
// A number or keyword in a command: in the current set, or as it is where that gives none.
std::string DecodedWord(const ModemState& modem, std::string_view text);

CommandResult SelectCharacterSet(ModemState& modem, const AtCommand& command);

bool IsAscii(std::string_view text);
// Hexadecimal digits of UCS2 as UTF-8; nothing when the text is none.
std::optional<std::string> Utf8FromUcs2Hex(std::string_view hex);

}  // namespace tavro
