// Reads and writes of a line that end as the five time-outs say.
#pragma once

#include <cstdint>

#include "platform/byte_line.h"
#include "platform/serial_driver.h"

namespace tavro {

// Both return the system's error number, 0 for success.

// Octets that came before a failure are a success; the next call then fails.
std::uint32_t TimedRead(ByteLine& line, const SerialTimeOuts& timeOuts, char* buffer, std::uint32_t size,
                        std::uint32_t& bytesRead);

// `bytesWritten` may be less than `size`: that is a success too.
std::uint32_t TimedWrite(ByteLine& line, const SerialTimeOuts& timeOuts, const char* data, std::uint32_t size,
                         std::uint32_t& bytesWritten);

}  // namespace tavro
