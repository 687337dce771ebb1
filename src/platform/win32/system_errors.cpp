#include "platform/system_errors.h"

#include <windows.h>

#include <string_view>

#include "base/text.h"

namespace tavro {

const SystemErrors kSystemErrors{ERROR_INVALID_HANDLE,   ERROR_INVALID_PARAMETER,    ERROR_NOT_SUPPORTED,
                                 ERROR_INVALID_FUNCTION, ERROR_DEVICE_NOT_CONNECTED, WSAETIMEDOUT,
                                 ERROR_CANCELLED};

// The system says the same of a device that another program has and of one that is not permitted.
OpenFailure OpenFailureOf(std::uint32_t code) {
  return code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION ? OpenFailure::kBusy : OpenFailure::kOther;
}

std::string SystemErrorText(std::uint32_t code) {
  constexpr std::size_t kLongestText = 255;
  // The system allocates the text: it would refuse to put a longer one into a buffer of ours.
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
  if (length == 0) return {};
  std::string_view line = std::string_view(text, length).substr(0, kLongestText);
  line = line.substr(0, line.find_first_of("\r\n"));
  std::string result = Trimmed(line);
  LocalFree(text);
  return result;
}

}  // namespace tavro
