// Texts as a simulated modem's memory holds them, long ones in parts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/looped_message.h"

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

// The same of a text in UTF-8, in the GSM alphabet when it has every character and in UCS2 otherwise. A text that is
// too long for one message is cut into parts with this reference (8 bits); beyond 255 parts it ends.
std::vector<std::string> MakeTextMessage(std::string_view text, int reference, const NetworkView& network);

}  // namespace tavro
