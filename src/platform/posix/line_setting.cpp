// <asm/termbits.h> has the termios2 of the kernel, which takes a rate as a number, and not only the rates that have a
// constant: there is none for 14400. It cannot stand beside <termios.h>, so that all of termios is in this file.
#include "platform/posix/line_setting.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <cerrno>

#include "platform/line_state.h"

namespace tavro {

namespace {

using Parity = LineState::Parity;
using StopBits = LineState::StopBits;

constexpr tcflag_t kParityFlags = PARENB | PARODD | CMSPAR;

bool Get(int device, termios2& setting) { return ioctl(device, TCGETS2, &setting) == 0; }
bool Set(int device, const termios2& setting) { return ioctl(device, TCSETS2, &setting) == 0; }

void MakeBinary(termios2& setting) {
  setting.c_iflag = IGNBRK;
  setting.c_oflag = 0;
  setting.c_lflag = 0;
  setting.c_cflag &= ~tcflag_t{CRTSCTS};
  setting.c_cflag |= CLOCAL | CREAD;
  setting.c_cc[VMIN] = 1;  // so that a read of nothing means that the device is gone
  setting.c_cc[VTIME] = 0;
}

tcflag_t ParityFlags(Parity parity) {
  switch (parity) {
    case Parity::kNone:
      return 0;
    case Parity::kOdd:
      return PARENB | PARODD;
    case Parity::kEven:
      return PARENB;
    case Parity::kMark:
      return PARENB | PARODD | CMSPAR;
    case Parity::kSpace:
      return PARENB | CMSPAR;
  }
  return 0;
}

// CSTOPB means one and a half stop bits behind five data bits, two behind more.
StopBits LongStop(int dataBits) { return dataBits == 5 ? StopBits::kOneAndHalf : StopBits::kTwo; }

// False when the flags cannot express the setting.
bool ControlFlags(const LineState& state, tcflag_t& flags) {
  switch (state.dataBits) {
    case 5:
      flags = CS5;
      break;
    case 6:
      flags = CS6;
      break;
    case 7:
      flags = CS7;
      break;
    case 8:
      flags = CS8;
      break;
    default:
      return false;
  }
  flags |= ParityFlags(state.parity);
  if (state.stopBits == StopBits::kOne) return true;
  flags |= CSTOPB;
  return state.stopBits == LongStop(state.dataBits);
}

LineState FromTermios(const termios2& setting) {
  LineState state;
  state.baudRate = setting.c_ospeed;
  switch (setting.c_cflag & CSIZE) {
    case CS5:
      state.dataBits = 5;
      break;
    case CS6:
      state.dataBits = 6;
      break;
    case CS7:
      state.dataBits = 7;
      break;
    default:
      state.dataBits = 8;
  }
  state.parity = Parity::kNone;
  for (const Parity parity : {Parity::kOdd, Parity::kEven, Parity::kMark, Parity::kSpace}) {
    if ((setting.c_cflag & kParityFlags) == ParityFlags(parity)) state.parity = parity;
  }
  state.stopBits = (setting.c_cflag & CSTOPB) != 0 ? LongStop(state.dataBits) : StopBits::kOne;
  return state;
}

bool IsSame(const LineState& actual, const LineState& wanted) {
  return IsSameRate(actual.baudRate, wanted.baudRate) && actual.dataBits == wanted.dataBits &&
         actual.parity == wanted.parity && actual.stopBits == wanted.stopBits;
}

}  // namespace

bool ReadLineSetting(int device, LineState& state) {
  termios2 setting{};
  if (!Get(device, setting)) return false;
  state = FromTermios(setting);
  return true;
}

bool ApplyLineSetting(int device, const LineState& state) {
  termios2 before{};
  if (!Get(device, before)) return false;
  tcflag_t flags = 0;
  if (state.baudRate == 0 || !ControlFlags(state, flags)) {
    errno = EINVAL;
    return false;
  }
  termios2 setting = before;
  MakeBinary(setting);
  // No CIBAUD: the input has the output's rate.
  setting.c_cflag &= ~tcflag_t{CSIZE | CSTOPB | CBAUD | CIBAUD | kParityFlags};
  setting.c_cflag |= flags | BOTHER;
  setting.c_ospeed = setting.c_ispeed = state.baudRate;
  if (!Set(device, setting)) return false;

  // The call succeeds also when the driver took something else.
  termios2 actual{};
  if (!Get(device, actual)) return false;
  if (IsSame(FromTermios(actual), state)) return true;
  Set(device, before);
  errno = EINVAL;
  return false;
}

bool SetBinaryMode(int device) {
  termios2 setting{};
  if (!Get(device, setting)) return false;
  MakeBinary(setting);
  return Set(device, setting);
}

}  // namespace tavro
