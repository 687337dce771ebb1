// The name of a serial port: "COM" and a number.
#pragma once

#include <optional>
#include <string_view>

namespace tavro {

// The number of "COM3", any letter case; nothing for a text that is no such name. The number's range is not checked.
std::optional<int> ParsePortName(std::string_view name);

}  // namespace tavro
