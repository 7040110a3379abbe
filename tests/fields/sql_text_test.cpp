#include "velmora/fields/sql_text.hpp"

#include <gtest/gtest.h>

#include "velmora/com/datetime.hpp"
#include "velmora/com/error.hpp"

namespace velmora {
namespace {

using com::Variant;

com::Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return com::Date(com::DateSerial(year, month, day).value + com::TimeSerial(hour, minute, second).value);
}

TEST(SQLName, QuotesEachDottedPart) {
  EXPECT_EQ(SQLName("a.b.c"), "[a].[b].[c]");
  EXPECT_EQ(SQLName("dbo.Orders"), "[dbo].[Orders]");
  EXPECT_EQ(SQLName("Order Details"), "[Order Details]");
}

TEST(SQLName, EmptyPartsBecomeEmptyBrackets) {
  EXPECT_EQ(SQLName(""), "[]");
  EXPECT_EQ(SQLName(".x"), "[].[x]");
  EXPECT_EQ(SQLName("x."), "[x].[]");
  EXPECT_EQ(SQLName(".."), "[].[].[]");
}

TEST(SQLName, NothingInsideAPartIsEscaped) {
  EXPECT_EQ(SQLName("a]b"), "[a]b]");
  EXPECT_EQ(SQLName("[Orders]"), "[[Orders]]");
  EXPECT_EQ(SQLName("Città"), "[Città]");
}

TEST(QueryArgument, NullGivesNullWhateverTheType) {
  for (int16_t vType : {0, 2, 3, 7, 8, 11}) {
    EXPECT_EQ(QueryArgument(com::Null, vType), "Null") << vType;
    EXPECT_EQ(QueryArgument(com::Null, vType, QAFNoTime), "Null") << vType;
  }
}

TEST(QueryArgument, TextIsQuotedWithApostrophesDoubled) {
  EXPECT_EQ(QueryArgument("O'Brien"), "'O''Brien'");
  EXPECT_EQ(QueryArgument("''"), "''''''");
  EXPECT_EQ(QueryArgument(""), "''");
  EXPECT_EQ(QueryArgument("Perché"), "'Perché'");
}

TEST(QueryArgument, NumbersAreUnquoted) {
  EXPECT_EQ(QueryArgument(int32_t{42}), "42");
  EXPECT_EQ(QueryArgument(int16_t{-7}), "-7");
  EXPECT_EQ(QueryArgument(1.5), "1.5");
  EXPECT_EQ(QueryArgument(int32_t{42}, 0, QAFNoTime), "42");
}

TEST(QueryArgument, VTypeEightForcesQuotes) {
  EXPECT_EQ(QueryArgument(int32_t{42}, com::vbString), "'42'");
  EXPECT_EQ(QueryArgument(Variant(At(2009, 12, 31, 23, 5, 9)), com::vbString), "'2009-12-31 23:05:09'");
}

TEST(QueryArgument, BooleansGiveTheirNames) {
  EXPECT_EQ(QueryArgument(true), "True");
  EXPECT_EQ(QueryArgument(false), "False");
}

TEST(QueryArgument, EmptyValueWithoutTypeIsEmptyText) {
  EXPECT_EQ(QueryArgument(Variant()), "");
}

TEST(QueryArgument, DateWithTime) {
  EXPECT_EQ(QueryArgument(Variant(At(2009, 12, 31, 23, 5, 9))),
            "CONVERT(DATETIME, '2009-12-31 23:05:09', 102)");
}

TEST(QueryArgument, DateWithoutTimeStillShowsMidnight) {
  EXPECT_EQ(QueryArgument(Variant(At(2024, 2, 9))), "CONVERT(DATETIME, '2024-02-09 00:00:00', 102)");
}

TEST(QueryArgument, NoTimeFlagGivesCompactDate) {
  EXPECT_EQ(QueryArgument(Variant(At(2009, 12, 31, 23, 5, 9)), 0, QAFNoTime), "'20091231'");
  EXPECT_EQ(QueryArgument(Variant(At(2024, 2, 9)), com::vbDate, QAFNoTime), "'20240209'");
}

TEST(QueryArgument, EmptyTextAsDateIsDateZero) {
  EXPECT_EQ(QueryArgument("", com::vbDate), "CONVERT(DATETIME, '1899-12-30 00:00:00', 102)");
  EXPECT_EQ(QueryArgument("", com::vbDate, QAFNoTime), "'18991230'");
  EXPECT_EQ(QueryArgument(Variant(), com::vbDate), "CONVERT(DATETIME, '1899-12-30 00:00:00', 102)");
}

TEST(QueryArgument, TextConvertedToDate) {
  EXPECT_EQ(QueryArgument("2009-12-31 23:05:09", com::vbDate),
            "CONVERT(DATETIME, '2009-12-31 23:05:09', 102)");
  EXPECT_EQ(QueryArgument("12/31/2009 11:05:09 PM", com::vbDate),
            "CONVERT(DATETIME, '2009-12-31 23:05:09', 102)");
  EXPECT_EQ(QueryArgument("12/31/2009", com::vbDate, QAFNoTime), "'20091231'");
}

TEST(QueryArgument, NumberAsDateCountsDays) {
  EXPECT_EQ(QueryArgument(1.5, com::vbDate), "CONVERT(DATETIME, '1899-12-31 12:00:00', 102)");
}

TEST(QueryArgument, YearBelowOneThousandKeepsItsOwnDigits) {
  EXPECT_EQ(QueryArgument(Variant(At(100, 1, 2)), 0, QAFNoTime), "'1000102'");
}

TEST(QueryArgument, UnparseableDateRaisesWithItsSource) {
  try {
    QueryArgument("not a date", com::vbDate);
    FAIL() << "nothing raised";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), com::errTypeMismatch);
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.QueryArgument");
  }
}

}  // namespace
}  // namespace velmora
