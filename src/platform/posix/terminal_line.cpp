#include "platform/posix/terminal_line.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/await.h"
#include "platform/posix/line_setting.h"

namespace tavro {

namespace {

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

std::uint32_t Errno() { return static_cast<std::uint32_t>(errno); }
std::uint32_t ErrnoUnless(bool done) { return done ? 0 : Errno(); }

// What a read() or write() did. Nothing at all stands for a device that is gone.
std::uint32_t Judge(ssize_t result, std::uint32_t& count) {
  count = result > 0 ? static_cast<std::uint32_t>(result) : 0;
  if (result == 0) return EIO;
  return ErrnoUnless(result > 0 || errno == EAGAIN || errno == EINTR);
}

}  // namespace

std::unique_ptr<TerminalLine> TerminalLine::Open(const std::string& path, WakeSignal& wake, std::uint32_t& error) {
  error = 0;
  const int device = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (device < 0) {
    error = Errno();
    return nullptr;
  }
  if (!IsTerminal(device) || !Acquire(device)) {
    error = Errno();
    close(device);
    return nullptr;
  }
  if (!SetBinaryMode(device)) {
    error = Errno();
    Release(device);
    return nullptr;
  }
  return std::unique_ptr<TerminalLine>(new TerminalLine(device, wake));
}

TerminalLine::~TerminalLine() {
  if (ProcessId() == process_) {
    Release(device_);
  } else {
    close(device_);  // the locks are those of the other process
  }
}

std::uint32_t TerminalLine::Read(char* buffer, std::uint32_t size, std::uint32_t& count) {
  return Judge(read(device_, buffer, size), count);
}

std::uint32_t TerminalLine::Write(const char* data, std::uint32_t size, std::uint32_t& count) {
  return Judge(write(device_, data, size), count);
}

bool TerminalLine::Await(Direction direction, TimeLimit limit) {
  const bool reads = direction == Direction::kRead;
  return AwaitDescriptor(device_, reads ? POLLIN : POLLOUT, limit, reads ? &wake_ : nullptr);
}

std::uint32_t TerminalLine::CountQueued(std::uint32_t& count) {
  int waiting = 0;
  const std::uint32_t error = ErrnoUnless(ioctl(device_, FIONREAD, &waiting) == 0);
  count = static_cast<std::uint32_t>(waiting);
  return error;
}

std::uint32_t TerminalLine::Purge(bool received, bool written) {
  if (written && tcflush(device_, TCOFLUSH) != 0) return Errno();
  if (received) {
    if (tcflush(device_, TCIFLUSH) != 0) return Errno();
    DropInput();
  }
  return 0;
}

// What the terminal's own flush left.
void TerminalLine::DropInput() {
  constexpr int kRounds = 64;  // more than the kernel holds: a sender that never stops must not keep us here
  char dropped[4096];
  for (int i = 0; i < kRounds && read(device_, dropped, sizeof dropped) > 0; ++i) {
  }
}

std::uint32_t TerminalLine::TakeLineErrors(std::uint32_t& flags) {
  flags = 0;
  const LineErrors now = CountLineErrors(), &before = reported_;
  if (now.bufferOverrun != before.bufferOverrun) flags |= kReceiveQueueOver;
  if (now.overrun != before.overrun) flags |= kOverrun;
  if (now.parity != before.parity) flags |= kParityError;
  if (now.frame != before.frame) flags |= kFrameError;
  if (now.lineBreak != before.lineBreak) flags |= kBreakSeen;
  reported_ = now;
  return 0;
}

// All zero for a device that counts nothing, such as a pseudo-terminal.
TerminalLine::LineErrors TerminalLine::CountLineErrors() const {
  serial_icounter_struct counters{};
  if (ioctl(device_, TIOCGICOUNT, &counters) != 0) return {};
  return {counters.overrun, counters.parity, counters.frame, counters.brk, counters.buf_overrun};
}

std::uint32_t TerminalLine::GetLineState(LineState& state) { return ErrnoUnless(ReadLineSetting(device_, state)); }

std::uint32_t TerminalLine::SetLineState(const LineState& state) {
  return ErrnoUnless(ApplyLineSetting(device_, state));
}

std::uint32_t TerminalLine::GetModemStatus(std::uint32_t& status) {
  int lines = 0;
  if (ioctl(device_, TIOCMGET, &lines) != 0) return Errno();
  if ((lines & TIOCM_CTS) != 0) status |= kCtsOn;
  if ((lines & TIOCM_DSR) != 0) status |= kDsrOn;
  if ((lines & TIOCM_RNG) != 0) status |= kRingOn;
  if ((lines & TIOCM_CAR) != 0) status |= kCarrierOn;
  return 0;
}

std::uint32_t TerminalLine::Escape(std::uint32_t function) {
  const auto setLine = [this](unsigned long request, int line) {
    return ErrnoUnless(ioctl(device_, request, &line) == 0);
  };
  switch (function) {
    case SerialDriver::kSetRts:
      return setLine(TIOCMBIS, TIOCM_RTS);
    case SerialDriver::kClearRts:
      return setLine(TIOCMBIC, TIOCM_RTS);
    case SerialDriver::kSetDtr:
      return setLine(TIOCMBIS, TIOCM_DTR);
    case SerialDriver::kClearDtr:
      return setLine(TIOCMBIC, TIOCM_DTR);
    case SerialDriver::kSetBreak:
      return ErrnoUnless(ioctl(device_, TIOCSBRK) == 0);
    case SerialDriver::kClearBreak:
      return ErrnoUnless(ioctl(device_, TIOCCBRK) == 0);
    default:
      return EINVAL;
  }
}

}  // namespace tavro
