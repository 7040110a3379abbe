#pragma once
// OLE dates, currency and decimal values.
#include <compare>
#include <cstdint>
#include <string>

namespace velmora::com {

// An OLE date: days since 1899-12-30 00:00; the fraction is the time of day.
// Before 1899-12-30 the fraction still counts forwards from midnight
// (-1.25 is 1899-12-29 06:00), as OLE does.
struct Date {
  double value = 0.0;
  constexpr Date() = default;
  constexpr explicit Date(double v) : value(v) {}
  friend constexpr auto operator<=>(const Date&, const Date&) = default;
};

// Smallest and largest valid dates: 0100-01-01 and 9999-12-31 23:59:59.
inline constexpr double kMinDate = -657434.0;
inline constexpr double kMaxDate = 2958465.99998843;

// Builds a date from parts; parts out of range roll over as OLE does
// (month 13 is January of the next year, day 0 the last day of the month
// before). Years 0-29 mean 2000-2029 and 30-99 mean 1930-1999.
Date DateSerial(int year, int month, int day);
Date TimeSerial(int hour, int minute, int second);
// Date and time of a value: the calendar day and the time of day, whole seconds.
int Year(Date d);
int Month(Date d);
int Day(Date d);
int Hour(Date d);
int Minute(Date d);
int Second(Date d);
int Weekday(Date d);  // 1 = Sunday
// The local date and time now.
Date Now();

// Currency: a 64-bit integer counting ten-thousandths.
struct Currency {
  int64_t raw = 0;
  static constexpr int64_t kScale = 10000;
  constexpr Currency() = default;
  static constexpr Currency FromRaw(int64_t r) {
    Currency c;
    c.raw = r;
    return c;
  }
  friend constexpr auto operator<=>(const Currency&, const Currency&) = default;
};

// Decimal, as OLE's DECIMAL: a 96-bit unsigned mantissa (hi32:lo64), a
// sign and a scale of 0 to 28 (value = (-1)^negative * mantissa / 10^scale).
struct Decimal {
  uint64_t lo64 = 0;
  uint32_t hi32 = 0;
  uint8_t scale = 0;
  bool negative = false;
  // Numeric comparison (1.50 equals 1.5).
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);
  friend bool operator==(const Decimal& a, const Decimal& b) { return (a <=> b) == 0; }
};

}  // namespace velmora::com
