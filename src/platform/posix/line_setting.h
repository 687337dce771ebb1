// Rate, parity, data and stop bits of a Linux serial device.
#pragma once

#include "platform/serial_driver.h"

namespace tavro {

// All three return false on failure, with the reason in errno.

bool ReadLineSetting(int device, LineState& state);

// EINVAL when the device cannot have the setting; the device then keeps the one that it had. Binary mode as below
// belongs to every setting.
bool ApplyLineSetting(int device, const LineState& state);

// Every octet passes as it is, in both directions; no flow control; the modem status lines are not looked at.
bool SetBinaryMode(int device);

}  // namespace tavro
