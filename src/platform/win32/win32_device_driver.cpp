#include "platform/win32/win32_device_driver.h"

#include <utility>

#include "platform/device_name.h"
#include "platform/network_address.h"
#include "platform/network_line.h"

namespace tavro {

Win32DeviceDriver::Win32DeviceDriver(std::map<int, std::string> devices, std::function<bool()> interrupted)
    : devices_(std::move(devices)), interrupted_(std::move(interrupted)) {}

SerialDriver::Handle Win32DeviceDriver::Open(const std::string& name) {
  const std::string* named = FindNamedDevice(devices_, name);
  const bool isNetwork = named && IsNetworkAddress(*named);
  last_ = isNetwork ? static_cast<SerialDriver*>(&network_) : &ports_;
  return last_->Open(isNetwork ? *named : name);
}

SerialDriver::Handle Win32DeviceDriver::Network::Open(const std::string& name) {
  std::uint32_t error = 0;
  auto line = OpenNetworkLine(name, {owner_.interrupted_, nullptr}, error);
  return Keep(std::move(line), error);
}

SerialDriver& Win32DeviceDriver::For(Handle handle) {
  const bool isNetwork = handle != kInvalidHandle && (handle & 1) != 0;
  last_ = isNetwork ? static_cast<SerialDriver*>(&network_) : &ports_;
  return *last_;
}

}  // namespace tavro
