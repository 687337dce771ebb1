// Calendar dates as OLE Automation dates: days since 1899-12-30, the time of day as a fraction that counts forward also
// before that day.
#pragma once

#include <cstdint>

namespace tavro {

struct DateTime {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar. A day beyond the month's end runs into the next.
std::int64_t DaysFromCivil(int year, int month, int day);
// 0 Sunday to 6 Saturday.
int Weekday(int year, int month, int day);
int DaysInMonth(int year, int month);

double ToOleDate(const DateTime& dateTime);
// Rounded to the nearest second, within the last day. The date must be valid.
DateTime FromOleDate(double date);
// Whether the number is a date from 0100-01-01 to the end of 9999.
bool IsOleDate(double date);

}  // namespace tavro
