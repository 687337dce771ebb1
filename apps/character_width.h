// Characters one by one, for texts that stand in columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Those of a text in UTF-8; octets that are none count as tavro::FromUtf8 has them.
std::vector<char32_t> CodePoints(std::string_view text);
std::string Utf8Of(char32_t character);
// In letters that every terminal has: \u017B or \U0001F642.
std::string Escaped(char32_t character);

// CharacterWidth (console.h) for a system that does not tell: of the blocks of characters that are wide throughout
// (Unicode Standard Annex 11), and of the combining marks that most texts have.
int WidthFromTable(char32_t character);
