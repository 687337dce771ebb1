// The service centre time stamp (3GPP TS 23.040, 9.2.3.11).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace tavro {

// The abbreviated names of weekdays, Sunday first, and months.
struct DateNames {
  std::array<std::u16string, 7> weekdays;
  std::array<std::u16string, 12> months;
};

// Those of the C library in the process's locale, which is English unless the application set another.
DateNames LocalDateNames(Platform& platform);

struct TimeStamp {
  double date = 0;         // OLE Automation date in the sender's zone, of the years 2000 to 2099
  std::int16_t zone = 0;   // minutes from UTC
  std::u16string rfcText;  // "Wed, 05 Mar 2008 14:07:09 +05:30", "GMT" for zone 0
};

// `digits` are the 14 digits as received. Nothing when they are no decimal digits, the sign of the
// zone aside. A stamp like 31 February runs over into the next month.
std::optional<TimeStamp> DecodeTimeStamp(std::string_view digits, const DateNames& names);

}  // namespace tavro
