#include "platform/posix/posix_serial_driver.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/device_name.h"
#include "platform/line_state.h"
#include "platform/posix/line_setting.h"
#include "platform/posix/timed_transfer.h"

namespace tavro {

namespace {

// The flags of PurgeComm. Nothing is ever under way that could be aborted (1 and 2).
constexpr std::uint32_t kPurgeTransmitQueue = 4, kPurgeReceiveQueue = 8;

// The flags of ClearCommError.
constexpr std::uint32_t kReceiveQueueOver = 1, kOverrun = 2, kParityError = 4, kFrameError = 8, kBreakSeen = 16;

// The flags of GetCommModemStatus.
constexpr std::uint32_t kCtsOn = 16, kDsrOn = 32, kRingOn = 64, kCarrierOn = 128;

// An exclusive lock that other programs know (TIOCEXCL), and one that stops the superuser too (flock). False, with
// EBUSY in errno, when somebody has the device.
bool Acquire(int device) {
  if (flock(device, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) errno = EBUSY;
    return false;
  }
  int taken = 0;
  if (ioctl(device, TIOCGEXCL, &taken) == 0 && taken != 0) {
    errno = EBUSY;
    return false;
  }
  return ioctl(device, TIOCEXCL) == 0;
}

// The locks would outlive the descriptor where somebody else, a child process for one, has the device open as well.
void Release(int device) {
  ioctl(device, TIOCNXCL);
  flock(device, LOCK_UN);
  close(device);
}

bool IsTerminal(int device) { return isatty(device) == 1; }

}  // namespace

PosixSerialDriver::PosixSerialDriver(std::map<int, std::string> devices) : devices_(std::move(devices)) {}

PosixSerialDriver::~PosixSerialDriver() {
  for (const auto& [handle, port] : ports_) Release(port.device);
}

std::string PosixSerialDriver::DevicePath(const std::string& name) const {
  if (const std::string* device = FindNamedDevice(devices_, name)) return *device;
  const int number = ComPortNumber(name);
  return number > 0 ? "/dev/ttyS" + std::to_string(number - 1) : name;
}

PosixSerialDriver::Port* PosixSerialDriver::Find(Handle handle) {
  const auto port = ports_.find(handle);
  if (port != ports_.end()) return &port->second;
  Fail(EBADF);
  return nullptr;
}

bool PosixSerialDriver::Fail(int error) {
  lastError_ = static_cast<std::uint32_t>(error);
  return false;
}

bool PosixSerialDriver::FailWithErrno() { return Fail(errno); }

SerialDriver::Handle PosixSerialDriver::Open(const std::string& name) {
  const int device = open(DevicePath(name).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (device < 0) {
    FailWithErrno();
    return kInvalidHandle;
  }
  if (!IsTerminal(device) || !Acquire(device)) {
    FailWithErrno();
    close(device);
    return kInvalidHandle;
  }
  if (!SetBinaryMode(device)) {
    FailWithErrno();
    Release(device);
    return kInvalidHandle;
  }
  const Handle handle = device + 1;
  ports_[handle] = Port{device, {}, CountLineErrors(device)};
  return handle;
}

bool PosixSerialDriver::Close(Handle handle) {
  const Port* port = Find(handle);
  if (!port) return false;
  Release(port->device);
  ports_.erase(handle);
  return true;
}

// The kernel's queues have their own sizes.
bool PosixSerialDriver::SetupQueues(Handle handle, std::uint32_t /*inputSize*/, std::uint32_t /*outputSize*/) {
  return Find(handle) != nullptr;
}

bool PosixSerialDriver::Purge(Handle handle, std::uint32_t flags) {
  const Port* port = Find(handle);
  if (!port) return false;
  if (flags == 0 || (flags & ~kPurgeAll) != 0) return Fail(EINVAL);
  if ((flags & kPurgeTransmitQueue) != 0 && tcflush(port->device, TCOFLUSH) != 0) return FailWithErrno();
  if ((flags & kPurgeReceiveQueue) != 0) {
    if (tcflush(port->device, TCIFLUSH) != 0) return FailWithErrno();
    DropInput(port->device);
  }
  return true;
}

bool PosixSerialDriver::GetLineState(Handle handle, LineState& state) {
  const Port* port = Find(handle);
  if (!port) return false;
  return ReadLineSetting(port->device, state) || FailWithErrno();
}

bool PosixSerialDriver::BuildLineState(const std::string& mode, LineState& state) {
  return ParseLineMode(mode, state) || Fail(EINVAL);
}

bool PosixSerialDriver::SetLineState(Handle handle, const LineState& state) {
  const Port* port = Find(handle);
  if (!port) return false;
  return ApplyLineSetting(port->device, state) || FailWithErrno();
}

bool PosixSerialDriver::SetTimeOuts(Handle handle, const SerialTimeOuts& timeOuts) {
  Port* port = Find(handle);
  if (!port) return false;
  port->timeOuts = timeOuts;
  return true;
}

bool PosixSerialDriver::Read(Handle handle, char* buffer, std::uint32_t size, std::uint32_t& bytesRead) {
  bytesRead = 0;
  const Port* port = Find(handle);
  if (!port) return false;
  return TimedRead(port->device, wake_, port->timeOuts, buffer, size, bytesRead) || FailWithErrno();
}

bool PosixSerialDriver::Write(Handle handle, const char* data, std::uint32_t size, std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  const Port* port = Find(handle);
  if (!port) return false;
  return TimedWrite(port->device, port->timeOuts, data, size, bytesWritten) || FailWithErrno();
}

bool PosixSerialDriver::TransferResult(Handle handle, std::uint32_t& transferred) {
  transferred = 0;
  return Find(handle) != nullptr && Fail(ENOTSUP);
}

bool PosixSerialDriver::ClearError(Handle handle, std::uint32_t& errorFlags, std::uint32_t& queued) {
  errorFlags = queued = 0;
  Port* port = Find(handle);
  if (!port) return false;
  int waiting = 0;
  if (ioctl(port->device, FIONREAD, &waiting) != 0) return FailWithErrno();
  queued = static_cast<std::uint32_t>(waiting);

  const LineErrors now = CountLineErrors(port->device), &before = port->reported;
  if (now.bufferOverrun != before.bufferOverrun) errorFlags |= kReceiveQueueOver;
  if (now.overrun != before.overrun) errorFlags |= kOverrun;
  if (now.parity != before.parity) errorFlags |= kParityError;
  if (now.frame != before.frame) errorFlags |= kFrameError;
  if (now.lineBreak != before.lineBreak) errorFlags |= kBreakSeen;
  port->reported = now;
  return true;
}

// All zero for a device that counts nothing, such as a pseudo-terminal.
PosixSerialDriver::LineErrors PosixSerialDriver::CountLineErrors(int device) {
  serial_icounter_struct counters{};
  if (ioctl(device, TIOCGICOUNT, &counters) != 0) return {};
  return {counters.overrun, counters.parity, counters.frame, counters.brk, counters.buf_overrun};
}

bool PosixSerialDriver::GetModemStatus(Handle handle, std::uint32_t& status) {
  status = 0;
  const Port* port = Find(handle);
  if (!port) return false;
  int lines = 0;
  if (ioctl(port->device, TIOCMGET, &lines) != 0) return FailWithErrno();
  if ((lines & TIOCM_CTS) != 0) status |= kCtsOn;
  if ((lines & TIOCM_DSR) != 0) status |= kDsrOn;
  if ((lines & TIOCM_RNG) != 0) status |= kRingOn;
  if ((lines & TIOCM_CAR) != 0) status |= kCarrierOn;
  return true;
}

bool PosixSerialDriver::Escape(Handle handle, std::uint32_t function) {
  const Port* port = Find(handle);
  if (!port) return false;
  const auto setLine = [&](unsigned long request, int line) {
    return ioctl(port->device, request, &line) == 0 || FailWithErrno();
  };
  switch (function) {
    case kSetRts:
      return setLine(TIOCMBIS, TIOCM_RTS);
    case kClearRts:
      return setLine(TIOCMBIC, TIOCM_RTS);
    case kSetDtr:
      return setLine(TIOCMBIS, TIOCM_DTR);
    case kClearDtr:
      return setLine(TIOCMBIC, TIOCM_DTR);
    case kSetBreak:
      return ioctl(port->device, TIOCSBRK) == 0 || FailWithErrno();
    case kClearBreak:
      return ioctl(port->device, TIOCCBRK) == 0 || FailWithErrno();
    default:
      return Fail(EINVAL);
  }
}

std::string PosixSerialDriver::ErrorText(std::uint32_t code) {
  // EHWPOISON is the last error number; the library would call a higher one "Unknown error".
  if (code > EHWPOISON) return {};
  return std::system_category().message(static_cast<int>(code));
}

}  // namespace tavro
