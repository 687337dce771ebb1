// UTF-8 (RFC 3629) and UTF-16, for a system whose code page is UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace tavro {

// A lone surrogate becomes "?".
std::string ToUtf8(std::u16string_view text);
// An octet that belongs to no valid sequence becomes the character of the same number, so that nothing is lost.
std::u16string FromUtf8(std::string_view text);
// Whether all of it is valid.
bool IsUtf8(std::string_view text);

}  // namespace tavro
