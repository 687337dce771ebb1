#include "base/calendar.h"

#include <cmath>

namespace tavro {

namespace {

constexpr int kSecondsPerDay = 86400;
constexpr std::int64_t kLastOleDay = 2958465;  // 9999-12-31
constexpr std::int64_t kOleEpoch = -25569;     // 1899-12-30 in days from 1970-01-01

struct CivilDate {
  int year, month, day;
};

// Years are counted from March, so that the leap day is the last of its year.
CivilDate CivilFromDays(std::int64_t days) {
  days += 719468;  // from 0000-03-01
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<int>(days - era * 146097);
  const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int monthFromMarch = (5 * dayOfYear + 2) / 153;
  const int day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
  const int month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  return {static_cast<int>(era * 400) + yearOfEra + (month <= 2 ? 1 : 0), month, day};
}

}  // namespace

std::int64_t DaysFromCivil(int year, int month, int day) {
  const int marchYear = month <= 2 ? year - 1 : year;
  const int era = (marchYear >= 0 ? marchYear : marchYear - 399) / 400;
  const int yearOfEra = marchYear - era * 400;
  const int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
  const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return static_cast<std::int64_t>(era) * 146097 + dayOfEra - 719468 + day - 1;
}

int Weekday(int year, int month, int day) {
  const auto weekday = static_cast<int>((DaysFromCivil(year, month, day) + 4) % 7);  // 1970-01-01 was a Thursday
  return weekday < 0 ? weekday + 7 : weekday;
}

int DaysInMonth(int year, int month) {
  const bool december = month == 12;
  return static_cast<int>(DaysFromCivil(december ? year + 1 : year, december ? 1 : month + 1, 1) -
                          DaysFromCivil(year, month, 1));
}

double ToOleDate(const DateTime& dateTime) {
  const auto days = static_cast<double>(DaysFromCivil(dateTime.year, dateTime.month, dateTime.day) - kOleEpoch);
  const double time = (dateTime.hour * 3600 + dateTime.minute * 60 + dateTime.second) / double{kSecondsPerDay};
  return days < 0 ? days - time : days + time;
}

DateTime FromOleDate(double date) {
  auto days = static_cast<std::int64_t>(date);  // towards zero, as the time of day counts forward on either side
  auto seconds = static_cast<int>(std::lround(std::fabs(date - static_cast<double>(days)) * kSecondsPerDay));
  if (seconds == kSecondsPerDay) {
    const bool lastDay = days == kLastOleDay;
    seconds = lastDay ? kSecondsPerDay - 1 : 0;
    if (!lastDay) ++days;
  }
  const CivilDate civil = CivilFromDays(days + kOleEpoch);
  return {civil.year, civil.month, civil.day, seconds / 3600, seconds / 60 % 60, seconds % 60};
}

bool IsOleDate(double date) { return date > -657435.0 && date < 2958466.0; }

}  // namespace tavro
