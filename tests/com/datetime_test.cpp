// OLE dates: serial numbers, negative dates, parts, text in both directions.
#include <gtest/gtest.h>

#include <cmath>

#include "support_common/raised_error.hpp"
#include "velmora/com.hpp"

namespace velmora::com {
namespace {

using test::ErrorNumber;

constexpr double kSecond = 1.0 / 86400;

double Parsed(const std::string& text) { return CDate(Variant(text)).value; }

struct Ymdhns {
  int y, m, d, h, n, s;
};
Ymdhns Parts(double v) {
  Date d(v);
  return {Year(d), Month(d), Day(d), Hour(d), Minute(d), Second(d)};
}
#define EXPECT_PARTS(v, Y, M, D, H, N, S)                                      \
  do {                                                                         \
    Ymdhns p = Parts(v);                                                       \
    EXPECT_EQ((std::array<int, 6>{p.y, p.m, p.d, p.h, p.n, p.s}),              \
              (std::array<int, 6>{Y, M, D, H, N, S}))                          \
        << "value " << (v);                                                    \
  } while (0)

TEST(Dates, SerialNumbers) {
  EXPECT_PARTS(0.0, 1899, 12, 30, 0, 0, 0);
  EXPECT_EQ(Weekday(Date(0.0)), 7);  // a Saturday
  EXPECT_PARTS(29221.0, 1980, 1, 1, 0, 0, 0);
  EXPECT_EQ(Weekday(Date(29221.0)), 3);  // a Tuesday
  EXPECT_PARTS(33238.0, 1990, 12, 31, 0, 0, 0);
  EXPECT_PARTS(25570.0, 1970, 1, 2, 0, 0, 0);
  EXPECT_PARTS(kMinDate, 100, 1, 1, 0, 0, 0);
  EXPECT_PARTS(2958465.0, 9999, 12, 31, 0, 0, 0);
  EXPECT_PARTS(kMaxDate, 9999, 12, 31, 23, 59, 59);
  EXPECT_EQ(Weekday(Date(40531)), 1);  // a Sunday
}

TEST(Dates, FractionIsTimeOfDay) {
  EXPECT_PARTS(0.25, 1899, 12, 30, 6, 0, 0);
  EXPECT_PARTS(0.5, 1899, 12, 30, 12, 0, 0);
  EXPECT_PARTS(29221.7508765432, 1980, 1, 1, 18, 1, 16);
  EXPECT_PARTS(29221.9888884444, 1980, 1, 1, 23, 44, 0);  // whole seconds, rounded
}

TEST(Dates, NegativeDatesKeepAPositiveTime) {
  EXPECT_PARTS(-5.25, 1899, 12, 25, 6, 0, 0);
  EXPECT_PARTS(-4.0, 1899, 12, 26, 0, 0, 0);
  EXPECT_PARTS(-1.25, 1899, 12, 29, 6, 0, 0);
  EXPECT_PARTS(-0.25, 1899, 12, 30, 6, 0, 0);  // the same moment as 0.25
  EXPECT_PARTS(-49192.24, 1765, 4, 24, 5, 45, 36);
}

TEST(Dates, DateSerialAndRollover) {
  EXPECT_EQ(DateSerial(0, 1, 1).value, 36526.0);
  EXPECT_EQ(DateSerial(29, 1, 1).value, DateSerial(2029, 1, 1).value);
  EXPECT_EQ(DateSerial(90, 1, 1).value, DateSerial(1990, 1, 1).value);
  EXPECT_EQ(DateSerial(1980, 1, 1).value, 29221.0);
  EXPECT_EQ(DateSerial(1999, 13, 1).value, DateSerial(2000, 1, 1).value);
  EXPECT_EQ(DateSerial(2000, 3, 0).value, DateSerial(2000, 2, 29).value);
  EXPECT_EQ(DateSerial(2000, 0, 1).value, DateSerial(1999, 12, 1).value);
  EXPECT_EQ(DateSerial(2000, -1, 1).value, DateSerial(1999, 11, 1).value);
  EXPECT_EQ(DateSerial(2000, 1, -1).value, DateSerial(1999, 12, 30).value);
  EXPECT_EQ(DateSerial(1899, 12, 25).value, -5.0);
  EXPECT_EQ(DateSerial(100, 1, 1).value, kMinDate);
  EXPECT_EQ(ErrorNumber([] { DateSerial(10000, 1, 1); }), errInvalidProcedureCall);
  EXPECT_EQ(ErrorNumber([] { DateSerial(100, 1, 0); }), errInvalidProcedureCall);
}

TEST(Dates, TimeSerialAndRollover) {
  EXPECT_EQ(TimeSerial(6, 0, 0).value, 0.25);
  EXPECT_NEAR(TimeSerial(42, 0, 0).value, 1.75, kSecond / 100);  // the next day, 18:00
  EXPECT_PARTS(TimeSerial(-1, 0, 0).value, 1899, 12, 29, 23, 0, 0);
  EXPECT_PARTS(TimeSerial(0, 90, -30).value, 1899, 12, 30, 1, 29, 30);
}

TEST(Dates, ToText) {
  EXPECT_EQ(CStr(Date(0.0)), "00:00:00");
  EXPECT_EQ(CStr(Date(365.0)), "1900-12-30");
  EXPECT_EQ(CStr(Date(1461.0)), "1903-12-31");
  EXPECT_EQ(CStr(Date(3.34)), "1900-01-02 08:09:36");
  EXPECT_EQ(CStr(Date(3339.34)), "1909-02-20 08:09:36");
  EXPECT_EQ(CStr(Date(1461.5)), "1903-12-31 12:00:00");
  EXPECT_EQ(CStr(Date(-49192.24)), "1765-04-24 05:45:36");
  EXPECT_EQ(CStr(Date(-657434.0)), "0100-01-01");
  EXPECT_EQ(CStr(Date(2958465.0)), "9999-12-31");
  EXPECT_EQ(CStr(Date(0.75)), "18:00:00");
  EXPECT_EQ(CStr(Date(-0.25)), "06:00:00");
  EXPECT_EQ(ErrorNumber([] { CStr(Date(1e9)); }), errOverflow);
}

TEST(Dates, FromText) {
  EXPECT_NEAR(Parsed("6/30/2011 01:20:34"), 40724.05594907407, kSecond / 10);
  EXPECT_NEAR(Parsed("6/30/2011 01:20:34 PM"), 40724.55594907407, kSecond / 10);
  EXPECT_NEAR(Parsed("12/31/2009 11:05:09 PM"), DateSerial(2009, 12, 31).value + (23 * 3600 + 5 * 60 + 9) * kSecond,
              kSecond / 10);
  EXPECT_NEAR(Parsed("2013-05-14 02:04:12"), 41408.08625, kSecond / 10);
  EXPECT_NEAR(Parsed("2013-05-14T02:04:12"), 41408.08625, kSecond / 10);
  EXPECT_EQ(Parsed("1 2 3"), 37623.0);
  EXPECT_EQ(Parsed("2 14 3"), DateSerial(2003, 2, 14).value);
  EXPECT_EQ(Parsed("14 2 3"), 41673.0);
  EXPECT_EQ(Parsed("2 3 14"), 41673.0);
  EXPECT_EQ(Parsed("32 2 3"), DateSerial(1932, 2, 3).value);
  EXPECT_EQ(Parsed("1 2 29"), 47120.0);
  EXPECT_EQ(Parsed("1 2 30"), 10960.0);
  EXPECT_EQ(Parsed("1 2 31"), DateSerial(1931, 1, 2).value);
  for (const char* s : {"2 January, 1970", "2 Jan 1970", "2-Jan-1970", "1/2/1970", "1-2-1970", "1 2 1970",
                        "Jan 2, 1970", "1970-01-02"})
    EXPECT_EQ(Parsed(s), 25570.0) << s;
  EXPECT_EQ(Parsed("13-1-1970"), 25581.0);
  EXPECT_EQ(Parsed("1970-1-13"), 25581.0);
  EXPECT_EQ(Parsed("30 2"), 10990.0);
  EXPECT_EQ(Parsed("2 30"), 10990.0);
  EXPECT_EQ(Parsed("Jan 35"), 12785.0);
  EXPECT_EQ(Parsed("35-Jan"), 12785.0);
  const int thisYear = Year(Now());
  EXPECT_EQ(Parsed("1 2"), DateSerial(thisYear, 1, 2).value);
  EXPECT_EQ(Parsed("2 1"), DateSerial(thisYear, 2, 1).value);
  EXPECT_EQ(Parsed("14 1"), DateSerial(thisYear, 1, 14).value);
  EXPECT_EQ(Parsed("Jan 2"), DateSerial(thisYear, 1, 2).value);
}

TEST(Dates, TimesFromText) {
  EXPECT_NEAR(Parsed("1 am"), 1.0 / 24, kSecond / 10);
  EXPECT_EQ(Parsed("00:00 AM"), 0.0);
  EXPECT_NEAR(Parsed("12:59 AM"), 59 * 60 * kSecond, kSecond / 10);
  EXPECT_NEAR(Parsed("00:00 pm"), 0.5, kSecond / 10);
  EXPECT_NEAR(Parsed("12:59 pm"), (12 * 60 + 59) * 60 * kSecond, kSecond / 10);
  EXPECT_NEAR(Parsed("1:00 p"), 13.0 / 24, kSecond / 10);
  EXPECT_NEAR(Parsed("13:00 AM"), 13.0 / 24, kSecond / 10);
  EXPECT_NEAR(Parsed("0:20"), 20 * 60 * kSecond, kSecond / 10);
  EXPECT_NEAR(Parsed("23:59:59"), 1 - kSecond, kSecond / 10);
}

TEST(Dates, RejectedTexts) {
  for (const char* s : {"", " ", "0", "1", "0.0", "True", "24:00", "32 49", "1;2;3", "1*2*3", "(1:2)",
                        "1 2 am 3", "1.2.3.4", "1 2 3 4", "02.01.1970", "2013-05-14 02:04:12.017000000",
                        "1:2:3:4", "Jan Feb 1", "1/2/10000", "2/30/2000", "12:60", "hello", "1:", ":1"})
    EXPECT_EQ(ErrorNumber([s] { CDate(Variant(s)); }), errTypeMismatch) << s;
}

TEST(Dates, TextRoundTrip) {
  for (double v : {0.0, 0.25, 1.0, 36526.5, -1.25, -5.25, -657434.0, -657433.5, 2958465.0, 2958465.5,
                   29221.7508680556, 41408.08625}) {
    std::string text = CStr(Date(v));
    EXPECT_NEAR(CDate(Variant(text)).value, v, kSecond / 2) << text;
    EXPECT_EQ(CStr(CDate(Variant(text))), text);
  }
}

TEST(Dates, NumbersAsDates) {
  EXPECT_EQ(CDate(1.5).value, 1.5);
  EXPECT_EQ(CDate(int32_t{2958465}).value, 2958465.0);
  EXPECT_EQ(ErrorNumber([] { CDate(int32_t{2958466}); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CDate(kMinDate - 1); }), errOverflow);
  EXPECT_EQ(CDate(true).value, -1.0);
}

TEST(Dates, Now) {
  Date now = Now();
  EXPECT_GT(now.value, DateSerial(2020, 1, 1).value);
  EXPECT_EQ(now.value, std::round(now.value * 86400) / 86400);
}

}  // namespace
}  // namespace velmora::com
