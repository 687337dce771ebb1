#include "platform/posix/wake_signal.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace tavro {

WakeSignal::WakeSignal() : descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

WakeSignal::~WakeSignal() {
  if (descriptor_ >= 0) close(descriptor_);
}

void WakeSignal::Raise() {
  eventfd_write(descriptor_, 1);  // can only fail where it is up already
}

bool WakeSignal::Take() {
  eventfd_t count = 0;
  return eventfd_read(descriptor_, &count) == 0;
}

}  // namespace tavro
