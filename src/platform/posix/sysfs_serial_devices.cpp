#include "platform/posix/sysfs_serial_devices.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>

#include "base/text.h"
#include "platform/posix/files.h"
#include "platform/serial_device_list.h"
#include "platform/utf8.h"

namespace tavro {

namespace {

namespace fs = std::filesystem;

// The first octets of an attribute without its line end; nothing when there is none.
std::optional<std::string> Attribute(const fs::path& file) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(OpenRegularFile(file.native()), std::fclose);
  if (!opened) return std::nullopt;
  char text[512];
  const std::size_t size = std::fread(text, 1, sizeof text, opened.get());
  const std::string_view line(text, size);
  return Trimmed(line.substr(0, line.find('\n')));
}

std::u16string TextAttribute(const fs::path& file) { return FromUtf8(Attribute(file).value_or("")); }

fs::path Resolved(const fs::path& link) {
  std::error_code error;
  const fs::path target = fs::canonical(link, error);
  return error ? fs::path() : target;
}

std::vector<fs::path> EntriesOf(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::end(entry); entry.increment(error)) {
    entries.push_back(entry->path());
  }
  return entries;
}

// By the device's name. Of several links to one the first in order.
std::map<std::string, std::string> StablePaths(const std::string& root) {
  std::map<std::string, std::string> paths;
  const std::string folder = "/dev/serial/by-id";
  for (const fs::path& link : EntriesOf(root + folder)) {
    std::error_code error;
    const fs::path target = fs::read_symlink(link, error);
    if (error) continue;
    const std::string path = folder + "/" + link.filename().native();
    std::string& stable = paths[target.filename().native()];
    if (stable.empty() || path < stable) stable = path;
  }
  return paths;
}

// The buses between a port and the driver of its hardware have drivers of their own.
bool IsBusDriver(const std::string& name) { return name == "port" || name == "ctrl"; }

// What the folders above the port's own device say of it, from the inside out.
void Describe(fs::path folder, const fs::path& end, SerialDevice& device) {
  for (; folder != end && folder.has_relative_path(); folder = folder.parent_path()) {
    std::error_code error;
    const std::string driver = Resolved(folder / "driver").filename().native();
    if (device.driver.empty() && !IsBusDriver(driver)) device.driver = driver;
    if (const auto number = Attribute(folder / "bInterfaceNumber"); number && device.interfaceNumber < 0) {
      int value = -1;
      std::from_chars(number->data(), number->data() + number->size(), value, 16);
      device.interfaceNumber = value;
    }
    if (!fs::exists(folder / "idVendor", error)) continue;
    device.usbPath = folder.filename().native();
    device.maker = TextAttribute(folder / "manufacturer");
    device.product = TextAttribute(folder / "product");
    device.serialNumber = TextAttribute(folder / "serial");
    return;
  }
}

}  // namespace

std::vector<SerialDevice> SysfsSerialDevices(const std::string& root) {
  const fs::path classFolder = root + "/sys/class/tty";
  const std::string consoles = Attribute(classFolder / "console/active").value_or("");
  std::set<std::string, std::less<>> consoleNames;
  for (const std::string_view name : Split(consoles, " ")) consoleNames.emplace(name);
  const auto stablePaths = StablePaths(root);
  const fs::path devices = Resolved(root + "/sys/devices");
  std::vector<SerialDevice> found;
  for (const fs::path& entry : EntriesOf(classFolder)) {
    const std::string name = entry.filename().native();
    const fs::path hardware = Resolved(entry / "device");  // none: a virtual terminal
    // A port of the 8250 kind whose place is empty has the type 0.
    if (hardware.empty() || Attribute(entry / "type") == "0" || consoleNames.contains(name)) continue;
    SerialDevice device;
    device.path = "/dev/" + name;
    if (const auto stable = stablePaths.find(name); stable != stablePaths.end()) device.stablePath = stable->second;
    Describe(hardware, devices, device);
    found.push_back(device);
  }
  return found;
}

std::vector<SerialDevice> ListSerialDevices() { return SysfsSerialDevices(""); }

}  // namespace tavro
