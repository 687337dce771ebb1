// Times as a modem writes them.
//
//   time stamp = year, month, day, hour, minute, second, zone     an octet each (3GPP TS 23.040, 9.2.3.11): two decimal
//                                                                 digits, the second one first; local time
//   text       = yy/MM/dd,hh:mm:ss and the zone with its sign     (3GPP TS 27.005, 3.1: <scts>; 27.007, 8.15: <time>)
//
// A zone counts quarters of an hour; in the time stamp bit 3 of its octet is the sign.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavro {

struct NetworkTime {
  std::int64_t wallClockMs = 0;  // since 1970-01-01 00:00 UTC
  int zoneMinutes = 0;           // east of UTC
};

std::string TimeStampOctets(std::int64_t wallClockMs, int zoneMinutes);
// The text of a time stamp, whatever its digits are.
std::string TimeText(std::string_view timeStamp);
// Nothing when the text is no time of the years from 2000 to 2099; without a zone it is UTC.
std::optional<NetworkTime> ParseTimeText(std::string_view text);

}  // namespace tavro
