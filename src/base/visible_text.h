// Text from outside as it may be shown to people: on a terminal, which takes some characters for commands, or as a line
// of a file.
#pragma once

#include <string>
#include <string_view>

namespace tavro {

// Whether the character does something in place of being seen: the control characters up to 9F hexadecimal, the line
// and paragraph separators, and those that turn the direction of the text around them.
bool IsHidden(char16_t character);
// With each of these as \x1B or \u202E, but for those in `kept`.
std::u16string VisibleText(std::u16string_view text, std::u16string_view kept = {});

}  // namespace tavro
