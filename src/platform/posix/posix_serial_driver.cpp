#include "platform/posix/posix_serial_driver.h"

#include <memory>
#include <utility>

#include "platform/device_name.h"
#include "platform/network_address.h"
#include "platform/network_line.h"
#include "platform/posix/terminal_line.h"

namespace tavro {

PosixSerialDriver::PosixSerialDriver(std::map<int, std::string> devices, std::function<bool()> interrupted)
    : devices_(std::move(devices)), interrupted_(std::move(interrupted)) {}

std::string PosixSerialDriver::DevicePath(const std::string& name) const {
  if (const std::string* device = FindNamedDevice(devices_, name)) return *device;
  const int number = ComPortNumber(name);
  return number > 0 ? "/dev/ttyS" + std::to_string(number - 1) : name;
}

SerialDriver::Handle PosixSerialDriver::Open(const std::string& name) {
  const std::string path = DevicePath(name);
  std::uint32_t error = 0;
  std::unique_ptr<ByteLine> line;
  if (IsNetworkAddress(path)) {
    line = OpenNetworkLine(path, {interrupted_, &wake_}, error);
  } else {
    line = TerminalLine::Open(path, wake_, error);
  }
  return Keep(std::move(line), error);
}

}  // namespace tavro
