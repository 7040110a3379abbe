// Format patterns and the comparison of variants.
#include <gtest/gtest.h>

#include "support_common/raised_error.hpp"
#include "velmora/com.hpp"

namespace velmora::com {
namespace {

using test::ErrorNumber;

TEST(Format, DatePatterns) {
  const Date d(2.525);  // 1900-01-01 12:36
  EXPECT_EQ(Format(d, "dddd"), "Monday");
  EXPECT_EQ(Format(d, "ddd"), "Mon");
  EXPECT_EQ(Format(d, "mmm"), "Jan");
  EXPECT_EQ(Format(d, "mmmm"), "January");
  EXPECT_EQ(Format(d, "yy"), "00");
  EXPECT_EQ(Format(d, "yyyy"), "1900");
  EXPECT_EQ(Format(d, "dd mm yyyy hh:mm:ss"), "01 01 1900 12:36:00");
  EXPECT_EQ(Format(d, "mm :ss:mm"), "01 :00:01");
  EXPECT_EQ(Format(d, "hh:mm :ss:mm"), "12:36 :00:01");
  EXPECT_EQ(Format(Date(2.725), "hh:nn:ss A/P"), "05:24:00 P");
  EXPECT_EQ(Format(Date(2.725), "h:nn AM/PM"), "5:24 PM");
  EXPECT_EQ(Format(Date(2.025), "h:nn am/pm"), "12:36 am");
  EXPECT_EQ(Format(Date(40531), "dddd"), "Sunday");
  EXPECT_EQ(Format(Date(40531), "d/m/yy"), "19/12/10");
  EXPECT_EQ(Format(Date(40531), "y"), "353");
  EXPECT_EQ(Format(Date(40531), "w q"), "1 4");
}

TEST(Format, TimestampPattern) {
  Date d = CDate(Variant("2009-12-31 23:05:09"));
  EXPECT_EQ(Format(d, "yyyymmddhhmmss"), "20091231230509");
  EXPECT_EQ(Format(Variant("12/31/2009 11:05:09 PM"), "yyyymmddhhnnss"), "20091231230509");
  EXPECT_EQ(Format(d, "YYYY-MM-DD"), "2009-12-31");
  EXPECT_EQ(Format(d, "\\y\"mm\"yyyy"), "ymm2009");
  EXPECT_EQ(Format(Date(-1.25), "yyyymmddhhnnss"), "18991229060000");
  EXPECT_EQ(Format(int32_t{40000}, "yyyymmdd"), "20090706");
  EXPECT_EQ(Format(Variant("not a date"), "yyyymmdd"), "not a date");
}

TEST(Format, DigitPatterns) {
  EXPECT_EQ(Format(int32_t{1}, "00"), "01");
  EXPECT_EQ(Format(int32_t{123}, "00"), "123");
  EXPECT_EQ(Format(int32_t{42}, "000000000000"), "000000000042");
  EXPECT_EQ(Format(Variant("42"), "000000000000"), "000000000042");
  EXPECT_EQ(Format(int32_t{-7}, "000"), "-007");
  EXPECT_EQ(Format(int32_t{1}, "00\\c\\o\\p\\y"), "01copy");
  EXPECT_EQ(Format(int32_t{0}, "#"), "");
  EXPECT_EQ(Format(int32_t{0}, "#.#"), ".");
  EXPECT_EQ(Format(1.7, "#0"), "2");
  EXPECT_EQ(Format(2.5, "0"), "3");  // Format rounds half away from zero
  EXPECT_EQ(Format(9.9999999, "#0.000000"), "10.000000");
  EXPECT_EQ(Format(-0.1, ".#"), "-.1");
  EXPECT_EQ(Format(0.0049, "#.##"), ".");
  EXPECT_EQ(Format(1.5, "0.00"), "1.50");
  EXPECT_EQ(Format(int32_t{100000}, "#,###,###,###"), "100,000");
  EXPECT_EQ(Format(int32_t{123456789}, "#,#.#"), "123,456,789.");
  EXPECT_EQ(Format(0.256, "0.0%"), "25.6%");
  EXPECT_EQ(Format(Currency::FromRaw(922337203685477'5807), "0.0000"), "922337203685477.5807");
}

TEST(Format, Sections) {
  const std::string pattern = "\"pos\";\"neg\";\"zero\"";
  EXPECT_EQ(Format(int32_t{5}, pattern), "pos");
  EXPECT_EQ(Format(int32_t{-5}, pattern), "neg");
  EXPECT_EQ(Format(int32_t{0}, pattern), "zero");
  EXPECT_EQ(Format(int32_t{0}, "0;(0)"), "0");
  EXPECT_EQ(Format(int32_t{-3}, "0;(0)"), "(3)");
}

TEST(Format, SpecialValues) {
  EXPECT_EQ(Format(Null, "00"), "");
  EXPECT_EQ(Format(Variant("abc"), "00"), "abc");
  EXPECT_EQ(Format(1.5, ""), "1.5");
  EXPECT_EQ(Format(Variant(), "00"), "00");
  EXPECT_EQ(Format(Variant("1e20"), "0"), "100000000000000000000");
  EXPECT_EQ(Format(Variant("1e30"), "0"), "1000000000000000000000000000000");
  EXPECT_EQ(ErrorNumber([] { Format(Variant("1E1000000000"), "0"); }), errOverflow);
}

TEST(VarCompare, NullGivesNull) {
  EXPECT_EQ(VarCompare(Null, int32_t{1}), VarCompareResult::Null);
  EXPECT_EQ(VarCompare(Variant("a"), Null), VarCompareResult::Null);
  EXPECT_EQ(VarCompare(Null, Null), VarCompareResult::Null);
  EXPECT_FALSE(VarEqual(Null, Null));
}

TEST(VarCompare, StringsAgainstNumbersAndEmpty) {
  EXPECT_EQ(VarCompare(Variant("1"), int32_t{2}), VarCompareResult::Greater);
  EXPECT_EQ(VarCompare(int32_t{999}, Variant("0")), VarCompareResult::Less);
  EXPECT_EQ(VarCompare(Variant(""), Variant()), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(Variant("0"), Variant()), VarCompareResult::Greater);
  EXPECT_EQ(VarCompare(Variant(), int32_t{0}), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(Variant(), Variant()), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(Variant("a"), Variant("b")), VarCompareResult::Less);
  EXPECT_EQ(VarCompare(Variant("a"), Variant("A")), VarCompareResult::Greater);  // binary
  EXPECT_EQ(VarCompare(Variant("\xC3\xA9"), Variant("z")), VarCompareResult::Greater);
  EXPECT_EQ(VarCompare(true, Variant("True")), VarCompareResult::Less);
}

TEST(VarCompare, NumbersAcrossTypes) {
  EXPECT_EQ(VarCompare(int16_t{1}, 1.0), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(true, int32_t{-1}), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(Date(2.5), 2.5), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(1.0f, 1.0 + 1e-8), VarCompareResult::Equal);  // single precision
  EXPECT_EQ(VarCompare(1.0, 1.0 + 1e-8), VarCompareResult::Less);
  EXPECT_EQ(VarCompare(Currency::FromRaw(15000), CDec(Variant("1.5"))), VarCompareResult::Equal);
  EXPECT_EQ(VarCompare(CDec(Variant("79228162514264337593543950335")), CDec(Variant("79228162514264337593543950334"))),
            VarCompareResult::Greater);
  EXPECT_EQ(VarCompare(uint8_t{200}, int16_t{-5}), VarCompareResult::Greater);
  EXPECT_EQ(VarCompare(Currency::FromRaw(1), int32_t{0}), VarCompareResult::Greater);
}

TEST(VarCompare, ObjectsAndArrays) {
  auto a = std::make_shared<Object>();
  auto b = std::make_shared<Object>();
  EXPECT_TRUE(VarEqual(Variant(a), Variant(a)));
  EXPECT_FALSE(VarEqual(Variant(a), Variant(b)));
  EXPECT_FALSE(VarEqual(Variant(a), Variant()));
  EXPECT_TRUE(VarEqual(Variant(nullptr), Variant(nullptr)));
  EXPECT_EQ(ErrorNumber([&] { VarCompare(Variant(a), int32_t{1}); }), errTypeMismatch);
  EXPECT_TRUE(VarEqual(ByteArray{1, 2}, ByteArray{1, 2}));
  EXPECT_FALSE(VarEqual(ByteArray{1, 2}, ByteArray{1}));
  VariantArray x{vbVariant, 0, {int32_t{1}, Variant("a")}};
  VariantArray y{vbVariant, 0, {int16_t{1}, Variant("a")}};
  EXPECT_TRUE(VarEqual(x, y));
  y.lowerBound = 1;
  EXPECT_FALSE(VarEqual(x, y));
  EXPECT_TRUE(VarEqual(Missing, Missing));
  EXPECT_FALSE(VarEqual(Missing, Variant()));
  EXPECT_EQ(ErrorNumber([&] { VarCompare(ByteArray{1}, ByteArray{1}); }), errTypeMismatch);
}

}  // namespace
}  // namespace velmora::com
