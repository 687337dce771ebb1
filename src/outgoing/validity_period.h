// The relative validity period of an SMS-SUBMIT (TP-VP, 3GPP TS 23.040, 9.2.3.12.1) and its text.
//
//   text   = number unit            unit = "M" minutes | "H" hours | "D" days | "W" weeks, either letter case
//   octet    0..143    (octet + 1) * 5 minutes                  5 minutes to 12 hours
//            144..167  12 hours + (octet - 143) * 30 minutes    to 24 hours
//            168..196  (octet - 166) days                       2 to 30 days
//            197..255  (octet - 192) weeks                      5 to 63 weeks
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

inline constexpr std::int16_t kDefaultValidityPeriod = 167;  // 24 hours

// The octet of a text; nothing when the text is none or its number is outside its unit's range. Minutes are rounded to
// the nearest multiple of five.
std::optional<std::int16_t> EncodeValidityPeriod(std::string_view text);
// The text of an octet, in the largest unit that is exact; 24 hours are "1D".
std::string DecodeValidityPeriod(std::int16_t octet);

}  // namespace tavro
