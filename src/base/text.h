// Small operations on 8-bit text: answers of the modem, log lines, settings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavro {

// Without leading and trailing spaces; other white space stays.
std::string_view Trim(std::string_view text);
std::string Trimmed(std::string_view text);
// With the letters a to z as capitals; every other octet stays.
std::string Upper(std::string_view text);
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);
std::string RemoveAll(std::string_view text, std::string_view part);
bool Contains(std::string_view text, std::string_view part);
// Whether the letters a to z count as capitals in `text`; `part` is in capitals.
bool ContainsNoCase(std::string_view text, std::string_view part);
// Whether the text can stand between quotes in a command: it has no quote, and no control character, which would end
// the command or take back what stands before it.
bool IsQuotable(std::string_view text);
// Whether the text is one command, or one input to the modem's prompt: it has no control character but those that may
// end it, CR, CR LF, Ctrl-Z or ESC. Others could begin a second command.
bool IsSingleCommand(std::string_view text);
// The pieces between the separators; an empty text has one empty piece.
std::vector<std::string_view> Split(std::string_view text, std::string_view separator);
// A decimal number, optionally signed, with an optional decimal point and an optional exponent, spaces around it
// allowed; independent of the locale.
bool IsNumeric(std::string_view text);
// A numeric text without "." and "," whose value is a whole number in the range of int; false otherwise.
bool ParseWhole(std::string_view text, int& value);

}  // namespace tavro
