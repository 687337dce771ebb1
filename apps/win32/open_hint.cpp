#include "open_hint.h"

#include <windows.h>

std::string OpenHint(std::uint32_t systemError, const std::string&) {
  switch (systemError) {
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
      return "another program has it: end it, or unplug the modem and plug it in";
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return "no such device: see which ones are there with tavro ports";
    case ERROR_INVALID_HANDLE:
    case ERROR_INVALID_FUNCTION:
    case ERROR_INVALID_PARAMETER:
      return "it is no serial device, or does not take these settings: see which ones are there with tavro ports";
    default:
      return {};
  }
}
