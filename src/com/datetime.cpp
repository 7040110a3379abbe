#include "velmora/com/datetime.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "calendar.hpp"
#include "exact_number.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {
namespace detail {

namespace {
constexpr int64_t kEpochOffset = 693899;  // 1899-12-30 counted in days from 0000-03-01
}  // namespace

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

int64_t DaysFromCivil(int64_t year, int month, int day) {
  year -= month <= 2;
  const int64_t era = FloorDiv(year, 400);
  const int64_t yoe = year - era * 400;
  const int64_t mp = (month + 9) % 12;
  const int64_t doy = (153 * mp + 2) / 5 + day - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - kEpochOffset;
}

CivilDate CivilFromDays(int64_t days) {
  days += kEpochOffset;
  const int64_t era = FloorDiv(days, 146097);
  const int64_t doe = days - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return {yoe + era * 400 + (month <= 2), month, day};
}

int DaysInMonth(int64_t year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

double OleToLinear(double ole) {
  if (ole >= 0) return ole;
  double whole = std::trunc(ole);
  return whole - (ole - whole);
}

double LinearToOle(double linear) {
  if (linear >= 0) return linear;
  double day = std::floor(linear);
  double fraction = linear - day;
  return fraction == 0 ? day : day - fraction;
}

DateParts SplitDate(Date d) {
  if (!IsInDateRange(d.value)) Raise(errOverflow);
  const auto total = static_cast<int64_t>(std::llround(OleToLinear(d.value) * kSecondsPerDay));
  DateParts p{};
  p.dayNumber = FloorDiv(total, kSecondsPerDay);
  p.secondOfDay = total - p.dayNumber * kSecondsPerDay;
  CivilDate c = CivilFromDays(p.dayNumber);
  p.year = c.year;
  p.month = c.month;
  p.day = c.day;
  p.hour = static_cast<int>(p.secondOfDay / 3600);
  p.minute = static_cast<int>(p.secondOfDay / 60 % 60);
  p.second = static_cast<int>(p.secondOfDay % 60);
  return p;
}

bool IsInDateRange(double ole) { return ole >= kMinDate && ole < kMaxDate + 1.0 / kSecondsPerDay; }

Date MakeDate(int64_t dayNumber, int64_t secondOfDay) {
  double linear = static_cast<double>(dayNumber) + static_cast<double>(secondOfDay) / kSecondsPerDay;
  double ole = LinearToOle(linear);
  if (!IsInDateRange(ole)) Raise(errOverflow);
  return Date(ole);
}

}  // namespace detail

using detail::SplitDate;

Date DateSerial(int year, int month, int day) {
  int64_t y = year;
  if (y >= 0 && y <= 29) y += 2000;
  else if (y >= 30 && y <= 99) y += 1900;
  const int64_t months = y * 12 + (month - 1);
  const int64_t normYear = detail::FloorDiv(months, 12);
  const int normMonth = static_cast<int>(months - normYear * 12) + 1;
  if (normYear < 100 || normYear > 9999) Raise(errInvalidProcedureCall);
  const int64_t dayNumber = detail::DaysFromCivil(normYear, normMonth, 1) + day - 1;
  const auto ole = static_cast<double>(dayNumber);
  if (!detail::IsInDateRange(ole)) Raise(errInvalidProcedureCall);
  return Date(ole);
}

Date TimeSerial(int hour, int minute, int second) {
  const int64_t total = int64_t{hour} * 3600 + int64_t{minute} * 60 + second;
  const int64_t day = detail::FloorDiv(total, detail::kSecondsPerDay);
  return detail::MakeDate(day, total - day * detail::kSecondsPerDay);
}

int Year(Date d) { return static_cast<int>(SplitDate(d).year); }
int Month(Date d) { return SplitDate(d).month; }
int Day(Date d) { return SplitDate(d).day; }
int Hour(Date d) { return SplitDate(d).hour; }
int Minute(Date d) { return SplitDate(d).minute; }
int Second(Date d) { return SplitDate(d).second; }

int Weekday(Date d) {
  const int64_t day = SplitDate(d).dayNumber;  // day 0 was a Saturday
  return static_cast<int>(((day % 7) + 13) % 7) + 1;
}

Date Now() {
  std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  const int64_t day = detail::DaysFromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
  return detail::MakeDate(day, local.tm_hour * 3600 + local.tm_min * 60 + std::min(local.tm_sec, 59));
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) {
  return detail::CompareExact(detail::ExactFromDecimal(a), detail::ExactFromDecimal(b)) <=> 0;
}

}  // namespace velmora::com
