// Messages in parts, as a simulated modem's memory holds them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tavro {

struct LongMessage {
  std::vector<std::string> parts;  // UTF-8, at most 67 characters each
  int reference = 0;
  bool hasWideReference = false;  // of 16 bits (3GPP TS 23.040, 9.2.3.24.8)
  std::string sender = "+491701234568";
  std::int64_t wallClockMs = 1709647629000;  // of the time stamp: milliseconds since 1970-01-01 00:00 UTC
};

// The SMS-DELIVER of each part, as hexadecimal digits with the service centre field in front.
std::vector<std::string> MakeLongMessage(const LongMessage& message);

}  // namespace tavro
