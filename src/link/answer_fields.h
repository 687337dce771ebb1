// The fields of an information answer (3GPP TS 27.007, 5.4).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavro {

// The answer without its prefix ("+CSQ:"), double quotes, "OK" and line ends, cut at its commas; each field trimmed.
std::vector<std::string> AnswerFields(std::string_view answer, std::string_view prefix);

// The number with "+" in front when its type of number (3GPP TS 24.008, 10.5.4.7) is not 129, unknown.
std::string WithTypeOfNumber(const std::string& number, std::string_view type);

}  // namespace tavro
