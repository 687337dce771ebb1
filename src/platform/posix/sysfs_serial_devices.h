// The serial devices of Linux as sysfs shows them.
#pragma once

#include <string>
#include <vector>

#include "tavro/serial_devices.h"

namespace tavro {

// Reads `root`/sys/class/tty and `root`/dev/serial/by-id; the paths that it returns are without the root.
std::vector<SerialDevice> SysfsSerialDevices(const std::string& root);

}  // namespace tavro
