#include "platform/device_name.h"

#include <charconv>

#include "base/text.h"

namespace tavro {

int ComPortNumber(std::string_view name) {
  constexpr std::string_view kNamespace = R"(\\.\)", kCom = "COM";
  if (name.starts_with(kNamespace)) name.remove_prefix(kNamespace.size());
  if (Upper(name.substr(0, kCom.size())) != kCom) return 0;
  name.remove_prefix(kCom.size());
  int number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  const bool valid = error == std::errc() && end == name.data() + name.size() && number > 0;
  return valid ? number : 0;
}

const std::string* FindNamedDevice(const std::map<int, std::string>& devices, std::string_view name) {
  const auto device = devices.find(ComPortNumber(name));
  return device == devices.end() ? nullptr : &device->second;
}

}  // namespace tavro
