// The names under which the component opens serial devices.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tavro {

// n for "\\.\COMn" or "COMn" in any letter case; 0 for another name.
int ComPortNumber(std::string_view name);

// The device that the application named for this COM port; nullptr when it named none.
const std::string* FindNamedDevice(const std::map<int, std::string>& devices, std::string_view name);

}  // namespace tavro
