// Waiting for a descriptor.
#pragma once

#include "platform/byte_line.h"
#include "platform/posix/wake_signal.h"

namespace tavro {

// Waits until the descriptor is ready for `events` (POLLIN, POLLOUT) or is gone, which the next read or write tells.
// False when the limit or the signal came first; the signal, which may be null, is down then.
bool AwaitDescriptor(int descriptor, short events, TimeLimit limit, WakeSignal* wake);

}  // namespace tavro
