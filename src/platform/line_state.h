// The mode string of a serial line, for the drivers that have no BuildCommDCB of the system's own.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/serial_driver.h"

namespace tavro {

// Sets what `mode` names and leaves the rest. False, with the state untouched, for an unknown key or value.
//
//   mode   = *( SP / item )
//   item   = "baud=" 1*DIGIT / "parity=" parity / "data=" data / "stop=" stop      ; any letter case
//   parity = "N" / "O" / "E" / "M" / "S"
//   data   = "4" / "5" / "6" / "7" / "8"
//   stop   = "1" / "1.5" / "2"
bool ParseLineMode(std::string_view mode, LineState& state);

// Whether a rate that a device reports is the one that was asked for: a driver reports what its divider gives, within
// 2 % (the measure of Linux).
bool IsSameRate(std::uint32_t actual, std::uint32_t wanted);

}  // namespace tavro
