// A Service Indication, a text and the address it belongs to, as WBXML (WAP-167-ServiceInd; WAP-192-WBXML).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/calendar.h"

namespace tavro {

struct ServiceIndication {
  std::u16string text;
  std::u16string url;
  std::int16_t action = 2;  // 1 signal-low, 2 signal-medium, 3 signal-high
  DateTime created;
  std::optional<DateTime> expires;
};

// Hex digits.
std::string EncodeServiceIndication(const ServiceIndication& indication);

// How long an indication is valid: "0" for ever, or a whole number and a unit, "1H" to "24H" hours, "1D" to "31D" days,
// "1M" to "12M" months, either letter case.
bool IsExpiry(std::string_view expiry);
// When an indication created then expires; nothing for "0". A month later is the same day, or the month's last one.
std::optional<DateTime> ExpiryDate(const DateTime& created, std::string_view expiry);

}  // namespace tavro
