// Apart from the platform itself: what does not name devices does without the network.
#include <utility>

#include "platform/win32/win32_device_driver.h"
#include "platform/win32/win32_platform.h"

namespace tavro {

std::shared_ptr<Platform> CreateSystemPlatform(const std::map<int, std::string>& devices,
                                               std::function<bool()> interrupted) {
  return std::make_shared<Win32Platform>(std::make_unique<Win32DeviceDriver>(devices, interrupted), interrupted);
}

}  // namespace tavro
