// What to do about a serial device that the system does not open.
#pragma once

#include <cstdint>
#include <string>

// In a line, by the system's error number; empty for a reason that is not known. Of a device that is busy: which
// program has it, as far as that can be seen.
std::string OpenHint(std::uint32_t systemError, const std::string& device);
