// The system's error numbers for what goes wrong above its calls, and its texts.
#pragma once

#include <cstdint>
#include <string>

namespace tavro {

struct SystemErrors {
  std::uint32_t badHandle, invalidParameter;
  std::uint32_t notSupported;    // a call that the driver does not have
  std::uint32_t noControlLines;  // a line without modem status and control lines, such as a pseudo-terminal
  std::uint32_t deviceGone;
  std::uint32_t timedOut;
  std::uint32_t canceled;
};
extern const SystemErrors kSystemErrors;

// Why a device could not be opened, as far as a person can do something about it.
enum class OpenFailure : std::uint8_t { kBusy, kNoPermission, kOther };
OpenFailure OpenFailureOf(std::uint32_t code);

// In the code page, in one line; empty for a number that has none.
std::string SystemErrorText(std::uint32_t code);

}  // namespace tavro
