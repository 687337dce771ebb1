// The fields of an information answer (3GPP TS 27.007, 5.4).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

using AnswerFieldList = std::vector<std::string>;

// The information without double quotes, cut at its commas; each field trimmed.
AnswerFieldList AnswerFields(std::string_view information);
// The same for each list in brackets that stands in front of ",,(": the modes and formats behind the operators look
// like operators.
std::vector<AnswerFieldList> AnswerLists(std::string_view information);
// The same where a comma or bracket in quotes belongs to its field, and the lists end at ",,".
AnswerFieldList QuotedFields(std::string_view information);
std::vector<AnswerFieldList> QuotedLists(std::string_view information);

// The number with "+" in front when its type is of an international number (3GPP TS 24.008, 10.5.4.7), or is missing.
std::string WithTypeOfNumber(const std::string& number, std::string_view type);
// The same when its type is not 129, unknown.
std::string WithAnyKnownType(const std::string& number, std::string_view type);

// The text of a field that is UCS2 in hexadecimal digits, four a character, as a modem gives it whose character set was
// left at UCS2 (AT+CSCS, 27.007, 5.5); nothing for another text. Digits that make no text of letters in use are none.
std::optional<std::u16string> Ucs2Text(std::string_view field);
// The same for a number of at least three dialled characters.
std::optional<std::string> Ucs2Number(std::string_view field);

}  // namespace tavro
