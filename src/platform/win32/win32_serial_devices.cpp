// The serial devices of Windows: the registry names the ports that are there, the set-up classes what they are.
//
// <windows.h> comes first, as the others need it.
// clang-format off
#include <windows.h>
#include <cfgmgr32.h>
#include <devguid.h>
#include <setupapi.h>
// clang-format on

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <string_view>

#include "platform/serial_device_list.h"

namespace tavro {

namespace {

constexpr DWORD kLongestText = 512;  // characters

std::u16string ToUtf16(const wchar_t* text) { return {text, text + wcslen(text)}; }

std::string ToCodePage(const wchar_t* text) {
  char narrow[kLongestText * 2];
  const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, sizeof narrow, "?", nullptr);
  return size > 0 ? std::string(narrow, static_cast<std::size_t>(size - 1)) : std::string();
}

// A text of the registry, with its end. Empty when there is none.
struct RegistryText {
  wchar_t text[kLongestText + 1] = {};
  DWORD size = kLongestText * sizeof(wchar_t);  // of what is read, in bytes
  BYTE* Bytes() { return reinterpret_cast<BYTE*>(text); }
};

std::u16string Property(HDEVINFO set, SP_DEVINFO_DATA& info, DWORD property) {
  RegistryText value;
  const bool known =
      SetupDiGetDeviceRegistryPropertyW(set, &info, property, nullptr, value.Bytes(), value.size, nullptr);
  return known ? ToUtf16(value.text) : std::u16string();
}

// "COM3" of a device; empty when it is no serial port.
std::string PortName(HDEVINFO set, SP_DEVINFO_DATA& info) {
  const HKEY key = SetupDiOpenDevRegKey(set, &info, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_QUERY_VALUE);
  if (key == INVALID_HANDLE_VALUE) return {};
  RegistryText value;
  const bool known = RegQueryValueExW(key, L"PortName", nullptr, nullptr, value.Bytes(), &value.size) == ERROR_SUCCESS;
  RegCloseKey(key);
  return known ? ToCodePage(value.text) : std::string();
}

// "USB\VID_12D1&PID_1001&MI_02\7&1A2B3C&0&0002": the bus, the kind of device, and which of them.
std::string InstanceId(DEVINST instance) {
  wchar_t id[MAX_DEVICE_ID_LEN + 1] = {};
  return CM_Get_Device_IDW(instance, id, MAX_DEVICE_ID_LEN, 0) == CR_SUCCESS ? ToCodePage(id) : std::string();
}

void DescribeUsb(DEVINST instance, SerialDevice& device) {
  constexpr std::string_view kInterface = "&MI_";
  std::string id = InstanceId(instance);
  if (const auto place = id.find(kInterface); place != std::string::npos) {
    device.interfaceNumber = static_cast<int>(std::strtol(id.c_str() + place + kInterface.size(), nullptr, 16));
    DEVINST parent = 0;  // the stick
    if (CM_Get_Parent(&parent, instance, 0) == CR_SUCCESS) id = InstanceId(parent);
  }
  if (!id.starts_with("USB\\")) return;
  device.usbPath = id;
  // One that the system made up has "&" in it.
  const std::string serial = id.substr(id.rfind('\\') + 1);
  if (serial.find('&') == std::string::npos) device.serialNumber = {serial.begin(), serial.end()};
}

void DescribeClass(const GUID& kind, std::vector<SerialDevice>& devices) {
  const HDEVINFO set = SetupDiGetClassDevsW(&kind, nullptr, nullptr, DIGCF_PRESENT);
  if (set == INVALID_HANDLE_VALUE) return;
  SP_DEVINFO_DATA info{};
  info.cbSize = sizeof info;
  for (DWORD i = 0; SetupDiEnumDeviceInfo(set, i, &info); ++i) {
    const std::string name = PortName(set, info);
    const auto device =
        std::find_if(devices.begin(), devices.end(), [&](const SerialDevice& known) { return known.path == name; });
    if (device == devices.end()) continue;
    device->friendlyName = Property(set, info, SPDRP_FRIENDLYNAME);
    device->maker = Property(set, info, SPDRP_MFG);
    device->product = Property(set, info, SPDRP_DEVICEDESC);
    const std::u16string service = Property(set, info, SPDRP_SERVICE);
    device->driver = {service.begin(), service.end()};
    DescribeUsb(info.DevInst, *device);
  }
  SetupDiDestroyDeviceInfoList(set);
}

}  // namespace

std::vector<SerialDevice> ListSerialDevices() {
  std::vector<SerialDevice> devices;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_QUERY_VALUE, &key) !=
      ERROR_SUCCESS) {
    return devices;
  }
  for (DWORD i = 0;; ++i) {
    wchar_t name[kLongestText];
    DWORD nameSize = kLongestText, type = 0;
    RegistryText value;
    const LSTATUS result = RegEnumValueW(key, i, name, &nameSize, nullptr, &type, value.Bytes(), &value.size);
    if (result != ERROR_SUCCESS) break;
    if (type != REG_SZ) continue;
    SerialDevice device;
    device.path = ToCodePage(value.text);
    devices.push_back(device);
  }
  RegCloseKey(key);
  DescribeClass(GUID_DEVCLASS_PORTS, devices);
  DescribeClass(GUID_DEVCLASS_MODEM, devices);
  return devices;
}

}  // namespace tavro
