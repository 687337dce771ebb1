// Reads and writes of a terminal device that end as the five time-outs say.
#pragma once

#include <cstdint>

#include "platform/posix/wake_signal.h"
#include "platform/serial_driver.h"

namespace tavro {

// The device is open without blocking and in binary mode. Both return false on failure, with the reason in errno: EIO
// for a device that is gone.

// Octets that came before a failure are a success; the next call then fails. The signal ends a wait and is down then.
bool TimedRead(int device, WakeSignal& wake, const SerialTimeOuts& timeOuts, char* buffer, std::uint32_t size,
               std::uint32_t& bytesRead);

// `bytesWritten` may be less than `size`: that is a success too.
bool TimedWrite(int device, const SerialTimeOuts& timeOuts, const char* data, std::uint32_t size,
                std::uint32_t& bytesWritten);

// Reads and drops what has come in so far.
void DropInput(int device);

}  // namespace tavro
