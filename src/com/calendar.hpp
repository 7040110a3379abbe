#pragma once
// Calendar arithmetic behind OLE dates.
//
// An OLE date stores the day in the integer part and the time of day as the
// distance from midnight in the fraction, also before 1899-12-30 (where the
// integer part is negative but the fraction still counts forwards). The
// "linear" form used for arithmetic is a plain count of days since
// 1899-12-30 00:00 (-1.25 OLE is -0.75 linear).
#include <cstdint>

#include "velmora/com/datetime.hpp"

namespace velmora::com::detail {

inline constexpr int64_t kSecondsPerDay = 86400;

int64_t FloorDiv(int64_t a, int64_t b);

// Days from 1899-12-30 to the given proleptic Gregorian date.
int64_t DaysFromCivil(int64_t year, int month, int day);
struct CivilDate {
  int64_t year;
  int month;
  int day;
};
CivilDate CivilFromDays(int64_t days);
int DaysInMonth(int64_t year, int month);

double OleToLinear(double ole);
double LinearToOle(double linear);

// A date split into calendar parts, rounded to the nearest second.
struct DateParts {
  int64_t year;
  int month;
  int day;
  int hour;
  int minute;
  int second;
  int64_t dayNumber;  // days since 1899-12-30
  int64_t secondOfDay;
};
DateParts SplitDate(Date d);

bool IsInDateRange(double ole);
// A date from a day number and a second of the day; raises 6 out of range.
Date MakeDate(int64_t dayNumber, int64_t secondOfDay);

}  // namespace velmora::com::detail
