#include "simulator/network_time.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>

#include "simulator/at_command.h"

namespace tavro {

namespace {

constexpr std::uint8_t kNegative = 0x08;
constexpr int kQuarter = 15, kLongestZone = 56;  // minutes; quarters

std::uint8_t Swapped(int value) { return static_cast<std::uint8_t>(value % 10 << 4 | value / 10 % 10); }

}  // namespace

std::string TimeStampOctets(std::int64_t wallClockMs, int zoneMinutes) {
  using namespace std::chrono;
  const auto local = floor<seconds>(sys_time<milliseconds>(milliseconds(wallClockMs)) + minutes(zoneMinutes));
  const auto day = floor<days>(local);
  const year_month_day date(day);
  const hh_mm_ss time(local - day);
  const int fields[] = {static_cast<int>(date.year()) % 100,
                        static_cast<int>(static_cast<unsigned>(date.month())),
                        static_cast<int>(static_cast<unsigned>(date.day())),
                        static_cast<int>(time.hours().count()),
                        static_cast<int>(time.minutes().count()),
                        static_cast<int>(time.seconds().count())};
  std::string octets;
  for (const int field : fields) octets += static_cast<char>(Swapped(field));
  const std::uint8_t zone = Swapped(std::abs(zoneMinutes) / kQuarter);
  octets += static_cast<char>(zoneMinutes < 0 ? zone | kNegative : zone);
  return octets;
}

std::string TimeText(std::string_view timeStamp) {
  constexpr std::string_view kDigits = "0123456789ABCDEF", kSeparators = "//,::";
  std::string text;
  for (std::size_t i = 0; i < timeStamp.size(); ++i) {
    auto octet = static_cast<std::uint8_t>(timeStamp[i]);
    if (i + 1 == timeStamp.size()) {
      text += (octet & kNegative) != 0 ? '-' : '+';
      octet &= static_cast<std::uint8_t>(~kNegative);
    } else if (i > 0) {
      text += kSeparators[i - 1];
    }
    text += {kDigits[octet & 15], kDigits[octet >> 4]};
  }
  return text;
}

std::optional<NetworkTime> ParseTimeText(std::string_view text) {
  using namespace std::chrono;
  constexpr std::string_view kForm = "00/00/00,00:00:00";
  if (text.size() != kForm.size() && text.size() != kForm.size() + 3) return std::nullopt;
  int fields[6];
  for (std::size_t i = 0; i < 6; ++i) {
    const std::optional<int> field = WholeNumber(text.substr(3 * i, 2));
    if (!field || (i < 5 && text[3 * i + 2] != kForm[3 * i + 2])) return std::nullopt;
    fields[i] = *field;
  }
  int quarters = 0;
  if (text.size() > kForm.size()) {
    const char sign = text[kForm.size()];
    const std::optional<int> zone = WholeNumber(text.substr(kForm.size() + 1));
    if (!zone || *zone > kLongestZone || (sign != '+' && sign != '-')) return std::nullopt;
    quarters = sign == '-' ? -*zone : *zone;
  }
  const year_month_day date(year(2000 + fields[0]), month(static_cast<unsigned>(fields[1])),
                            day(static_cast<unsigned>(fields[2])));
  if (!date.ok() || fields[3] > 23 || fields[4] > 59 || fields[5] > 59) return std::nullopt;
  const auto local = sys_days(date) + hours(fields[3]) + minutes(fields[4]) + seconds(fields[5]);
  const minutes zone(quarters * kQuarter);
  return NetworkTime{duration_cast<milliseconds>((local - zone).time_since_epoch()).count(),
                     static_cast<int>(zone.count())};
}

}  // namespace tavro
