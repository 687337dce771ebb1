// A time stamp is seven octets of two decimal digits each, the first digit in the low half:
//
//   time stamp = year month day hour minute second zone
//   zone       = quarters of an hour; bit 3 of the octet as sent (bit 7 of the swapped one) is set west of Greenwich
#include "incoming/time_stamp.h"

#include <cstdlib>
#include <ctime>

#include "base/calendar.h"

namespace tavro {

namespace {

constexpr int kMinutesPerZoneUnit = 15;

std::u16string FormatDate(Platform& platform, const char* format, const std::tm& date) {
  char buffer[64];
  const std::size_t size = std::strftime(buffer, sizeof buffer, format, &date);
  return platform.FromCodePage({buffer, size});
}

bool IsDecimal(char digit) { return digit >= '0' && digit <= '9'; }

// Two decimal digits, the first in the low half of the octet; -1 when they are none.
int SwappedNumber(std::string_view octet) {
  if (!IsDecimal(octet[0]) || !IsDecimal(octet[1])) return -1;
  return (octet[1] - '0') * 10 + (octet[0] - '0');
}

// The signed zone in minutes. The sign is the top bit of the tens digit, which is hexadecimal with it.
std::optional<int> ZoneMinutes(std::string_view octet) {
  if (!IsDecimal(octet[0])) return {};
  const bool west = octet[1] > '7';
  const int octal = IsDecimal(octet[1]) ? octet[1] - '0' : octet[1] - 'A' + 10;
  const int minutes = ((octal & 7) * 10 + (octet[0] - '0')) * kMinutesPerZoneUnit;
  return west ? -minutes : minutes;
}

void AppendTwoDigits(std::u16string& text, int value) {
  text += static_cast<char16_t>(u'0' + value / 10);
  text += static_cast<char16_t>(u'0' + value % 10);
}

void AppendZone(std::u16string& text, int zone) {
  if (zone == 0) {
    text += u"GMT";
    return;
  }
  text += zone < 0 ? u'-' : u'+';
  AppendTwoDigits(text, std::abs(zone) / 60);
  text += u':';
  AppendTwoDigits(text, std::abs(zone) % 60);
}

// Weekday and month are those of the date, the digits those received: they differ for a stamp like 31 February.
std::u16string RfcText(const DateTime& date, const int (&received)[6], int zone, const DateNames& names) {
  const auto [year, month, day, hour, minute, second] = received;
  std::u16string text;
  text.reserve(32);
  text += names.weekdays[static_cast<std::size_t>(Weekday(date.year, date.month, date.day))];
  text += u", ";
  AppendTwoDigits(text, day);
  text += u' ';
  text += names.months[static_cast<std::size_t>(date.month - 1)];
  text += u" 20";
  AppendTwoDigits(text, year);
  text += u' ';
  AppendTwoDigits(text, hour);
  text += u':';
  AppendTwoDigits(text, minute);
  text += u':';
  AppendTwoDigits(text, second);
  text += u' ';
  AppendZone(text, zone);
  return text;
}

}  // namespace

DateNames LocalDateNames(Platform& platform) {
  DateNames names;
  std::tm date{};
  for (std::size_t day = 0; day < names.weekdays.size(); ++day) {
    date.tm_wday = static_cast<int>(day);
    names.weekdays[day] = FormatDate(platform, "%a", date);
  }
  for (std::size_t month = 0; month < names.months.size(); ++month) {
    date.tm_mon = static_cast<int>(month);
    names.months[month] = FormatDate(platform, "%b", date);
  }
  return names;
}

std::optional<TimeStamp> DecodeTimeStamp(std::string_view digits, const DateNames& names) {
  int numbers[6];
  for (std::size_t i = 0; i < 6; ++i) {
    numbers[i] = SwappedNumber(digits.substr(2 * i, 2));
    if (numbers[i] < 0) return {};
  }
  const std::optional<int> zone = ZoneMinutes(digits.substr(12, 2));
  if (!zone) return {};
  // What is beyond its range runs over into the next larger unit, so that no message is lost for its stamp.
  const int months = (2000 + numbers[0]) * 12 + numbers[1] - 1;
  const double date = ToOleDate({months / 12, months % 12 + 1, numbers[2], numbers[3], numbers[4], numbers[5]});
  return TimeStamp{date, static_cast<std::int16_t>(*zone), RfcText(FromOleDate(date), numbers, *zone, names)};
}

}  // namespace tavro
