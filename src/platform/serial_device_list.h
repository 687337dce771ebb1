// The serial devices that the system knows of.
#pragma once

#include <string_view>
#include <vector>

#include "tavro/serial_devices.h"

namespace tavro {

// As tavro::SerialDevices returns them, unsorted.
std::vector<SerialDevice> ListSerialDevices();

// Whether `a` comes before `b` where numbers in them count as such: "ttyUSB2" before "ttyUSB10".
bool IsNaturallyLess(std::string_view a, std::string_view b);

}  // namespace tavro
