// The fields of an information answer (3GPP TS 27.007, 5.4).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

// The information without double quotes, cut at its commas; each field trimmed.
std::vector<std::string> AnswerFields(std::string_view information);

// The number with "+" in front when its type of number (3GPP TS 24.008, 10.5.4.7) is not 129, unknown.
std::string WithTypeOfNumber(const std::string& number, std::string_view type);

// The text of a field that is UCS2 in hexadecimal digits, four a character, as a modem gives it whose character set was
// left at UCS2 (AT+CSCS, 27.007, 5.5); nothing for another text. Digits that make no text of letters in use are none.
std::optional<std::u16string> Ucs2Text(std::string_view field);
// The same for a number of at least three dialled characters.
std::optional<std::string> Ucs2Number(std::string_view field);

}  // namespace tavro
