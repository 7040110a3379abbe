// VB-style conversions: numbers, text, rounding, overflow and type mismatch.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support_common/raised_error.hpp"
#include "velmora/com.hpp"

namespace velmora::com {
namespace {

using test::ErrorNumber;

Decimal DecimalOf(const std::string& text) { return CDec(Variant(text)); }

TEST(Conversions, IntegersRoundHalfToEven) {
  EXPECT_EQ(CInt(0.5), 0);
  EXPECT_EQ(CInt(1.5), 2);
  EXPECT_EQ(CInt(2.5), 2);
  EXPECT_EQ(CInt(-2.5), -2);
  EXPECT_EQ(CInt(0.5001), 1);
  EXPECT_EQ(CLng(Variant("2.5")), 2);
  EXPECT_EQ(CLng(Variant("3.5")), 4);
  EXPECT_EQ(CLng(CCur(Variant("2.5"))), 2);
  EXPECT_EQ(CLng(DecimalOf("-7.5")), -8);
  EXPECT_EQ(CByte(Variant(-0.5)), 0);
}

TEST(Conversions, OverflowRaises6) {
  EXPECT_EQ(CInt(32767.4), 32767);
  EXPECT_EQ(ErrorNumber([] { CInt(32767.5); }), errOverflow);
  EXPECT_EQ(CInt(-32768.5), -32768);
  EXPECT_EQ(ErrorNumber([] { CInt(int32_t{40000}); }), errOverflow);
  EXPECT_EQ(CLng(Variant("-2147483648")), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(ErrorNumber([] { CLng(Variant("2147483648")); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(1e300); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CLng(std::nan("")); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CByte(Variant(-0.6)); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CByte(int16_t{256}); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CSng(1e300); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CCur(1e15); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CCur(Variant("922337203685477.5808")); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CDec(Variant("79228162514264337593543950336")); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CDbl(Variant("1e999")); }), errOverflow);
  EXPECT_EQ(ErrorNumber([] { CDate(3e6); }), errOverflow);
}

TEST(Conversions, TypeMismatchRaises13) {
  EXPECT_EQ(ErrorNumber([] { CDbl(Variant("")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CDbl(Variant(" ")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CLng(Variant("12abc")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CLng(Variant("1e")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CBool(Variant("Yes")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CBool(Variant("#False#")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CDate(Variant("1")); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CStr(Variant(std::make_shared<Object>())); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { CLng(Variant(ByteArray{1})); }), errTypeMismatch);
  EXPECT_EQ(ErrorNumber([] { ChangeType(Variant("x"), vbObject); }), errTypeMismatch);
}

TEST(Conversions, NullRaises94AndEmptyIsZero) {
  EXPECT_EQ(ErrorNumber([] { CStr(Null); }), 94);
  EXPECT_EQ(ErrorNumber([] { CLng(Null); }), 94);
  EXPECT_EQ(ErrorNumber([] { CDate(Null); }), 94);
  EXPECT_EQ(ErrorNumber([] { CBool(Null); }), 94);
  EXPECT_EQ(CLng(Variant()), 0);
  EXPECT_EQ(CStr(Variant()), "");
  EXPECT_FALSE(CBool(Variant()));
  EXPECT_EQ(CDbl(Variant()), 0.0);
}

TEST(Conversions, StringsToNumbers) {
  EXPECT_EQ(CDbl(Variant("  -1.5  ")), -1.5);
  EXPECT_EQ(CDbl(Variant("+1e+01")), 10.0);
  EXPECT_EQ(CDbl(Variant("1.")), 1.0);
  EXPECT_EQ(CDbl(Variant(".25")), 0.25);
  EXPECT_EQ(CDbl(Variant("2D3")), 2000.0);
  EXPECT_EQ(CLng(Variant("&H10")), 16);
  EXPECT_EQ(CLng(Variant("&HFFFF")), -1);
  EXPECT_EQ(CLng(Variant("&O17")), 15);
  EXPECT_EQ(CDbl(true), -1.0);
  EXPECT_EQ(CInt(false), 0);
  EXPECT_EQ(CDbl(Date(1.5)), 1.5);
}

TEST(Conversions, Booleans) {
  EXPECT_TRUE(CBool(Variant("true")));
  EXPECT_TRUE(CBool(Variant(" TRUE ")));
  EXPECT_FALSE(CBool(Variant("False")));
  EXPECT_TRUE(CBool(Variant("#TRUE#")));
  EXPECT_FALSE(CBool(Variant("#FALSE#")));
  EXPECT_FALSE(CBool(Variant("0")));
  EXPECT_TRUE(CBool(Variant("-1")));
  EXPECT_TRUE(CBool(Variant("+1")));
  EXPECT_TRUE(CBool(Variant("0.1")));
  EXPECT_TRUE(CBool(0.1));
  EXPECT_FALSE(CBool(Currency{}));
  EXPECT_EQ(CStr(true), "True");
  EXPECT_EQ(CStr(false), "False");
}

TEST(Conversions, NumbersToText) {
  EXPECT_EQ(CStr(int32_t{std::numeric_limits<int32_t>::min()}), "-2147483648");
  EXPECT_EQ(CStr(uint8_t{255}), "255");
  EXPECT_EQ(CStr(0.5f), "0.5");
  EXPECT_EQ(CStr(-0.0f), "0");
  EXPECT_EQ(CStr(654322.23456f), "654322.3");
  EXPECT_EQ(CStr(1.0), "1");
  EXPECT_EQ(CStr(0.1 + 0.2), "0.3");
  EXPECT_EQ(CStr(123456789012345.0), "123456789012345");
  EXPECT_EQ(CStr(1234567890123456.0), "1.23456789012346E+15");
  EXPECT_EQ(CStr(1e15), "1E+15");
  EXPECT_EQ(CStr(0.0001), "0.0001");
  EXPECT_EQ(CStr(0.00001), "1E-05");
  EXPECT_EQ(CStr(-1.5e-300), "-1.5E-300");
}

TEST(Conversions, CurrencyText) {
  EXPECT_EQ(CStr(Currency::FromRaw(0)), "0");
  EXPECT_EQ(CStr(Currency::FromRaw(10000)), "1");
  EXPECT_EQ(CStr(Currency::FromRaw(15000)), "1.5");
  EXPECT_EQ(CStr(Currency::FromRaw(-15000)), "-1.5");
  EXPECT_EQ(CStr(Currency::FromRaw(9)), "0.0009");
  EXPECT_EQ(CStr(Currency::FromRaw(std::numeric_limits<int64_t>::max())), "922337203685477.5807");
  EXPECT_EQ(CStr(Currency::FromRaw(std::numeric_limits<int64_t>::min())), "-922337203685477.5808");
  EXPECT_EQ(CCur(1.00009).raw, 10001);
  EXPECT_EQ(CCur(Variant("1.00005")).raw, 10000);  // half to even
  EXPECT_EQ(CCur(Variant("1.00015")).raw, 10002);
  EXPECT_EQ(CCur(Variant("1.000050001")).raw, 10001);
}

TEST(Conversions, DecimalText) {
  EXPECT_EQ(CStr(DecimalOf("1.0")), "1");
  EXPECT_EQ(CStr(DecimalOf("1.000")), "1");
  EXPECT_EQ(CStr(DecimalOf("1.50")), "1.5");
  EXPECT_EQ(CStr(DecimalOf("18446744073709551616")), "18446744073709551616");
  EXPECT_EQ(CStr(DecimalOf("79228162514264337593543950335")), "79228162514264337593543950335");
  EXPECT_EQ(CStr(DecimalOf("-79228162514264337593543950335")), "-79228162514264337593543950335");
  EXPECT_EQ(CStr(DecimalOf("7.9228162514264337593543950335")), "7.9228162514264337593543950335");
  EXPECT_EQ(CStr(DecimalOf("1e-10")), "0.0000000001");
  EXPECT_EQ(CStr(DecimalOf("0.0000000000000000000000000001")), "0.0000000000000000000000000001");
  // More digits than fit are rounded half to even.
  EXPECT_EQ(CStr(DecimalOf("7.92281625142643375935439503354")), "7.9228162514264337593543950335");
  EXPECT_EQ(CStr(DecimalOf("0.00000000000000000000000000005")), "0");
  EXPECT_EQ(CStr(CDec(0.1)), "0.1");
  EXPECT_EQ(DecimalOf("1.50"), DecimalOf("1.5"));
  EXPECT_LT(DecimalOf("-2"), DecimalOf("-1.5"));
  EXPECT_LT(DecimalOf("0.0000000000000000000000000001"), DecimalOf("79228162514264337593543950335"));
  EXPECT_EQ(DecimalOf("0"), Decimal{});
}

TEST(Conversions, RoundTripsThroughText) {
  const std::vector<Variant> values = {
      int16_t{-32768},
      int16_t{32767},
      int32_t{-2147483647 - 1},
      int32_t{2147483647},
      uint8_t{0},
      uint8_t{255},
      1.5f,
      -3.402823e38f,
      0.1,
      -123456.789012345,
      1.23456789012345e-200,
      9.87654321098765e300,
      Currency::FromRaw(std::numeric_limits<int64_t>::max()),
      Currency::FromRaw(std::numeric_limits<int64_t>::min()),
      Currency::FromRaw(-1),
      DecimalOf("79228162514264337593543950335"),
      DecimalOf("-0.0000000000000000000000000001"),
      DecimalOf("1234567890.123456789012345678"),
      true,
      false,
      Date(0.0),
      Date(36526.5),
      Date(2958465.0),
      Date(-657434.0),
      Date(DateSerial(1765, 4, 24).value - 0.25),
      std::string("text"),
  };
  for (const Variant& v : values) {
    std::string text = CStr(v);
    Variant back = ChangeType(Variant(text), v.VarType());
    EXPECT_TRUE(VarEqual(v, back)) << text << " (type " << v.VarType() << ")";
    EXPECT_EQ(CStr(back), text);
  }
}

TEST(Conversions, ChangeType) {
  EXPECT_EQ(ChangeType(Variant("12"), vbInteger).VarType(), vbInteger);
  EXPECT_EQ(ChangeType(Variant("12"), vbEmpty).VarType(), vbEmpty);
  EXPECT_TRUE(ChangeType(Variant("12"), vbNull).IsNull());
  EXPECT_EQ(ChangeType(int16_t{5}, vbVariant).VarType(), vbInteger);
  ByteArray abc = ChangeType(Variant("ab\xC3\xA9"), vbByteArray).Get<ByteArray>();
  EXPECT_EQ(abc, (ByteArray{'a', 0, 'b', 0, 0xE9, 0}));
  EXPECT_EQ(CStr(abc), "ab\xC3\xA9");
  EXPECT_EQ(CStr(ByteArray{0x3D, 0xD8, 0x00, 0xDE}), "\xF0\x9F\x98\x80");
}

TEST(Conversions, Val) {
  EXPECT_EQ(Val("12abc"), 12.0);
  EXPECT_EQ(Val("  1 2 3"), 123.0);
  EXPECT_EQ(Val(" 1615 198th Street"), 1615198.0);
  EXPECT_EQ(Val("-1.5e2x"), -150.0);
  EXPECT_EQ(Val("1.5.6"), 1.5);
  EXPECT_EQ(Val("1e"), 1.0);
  EXPECT_EQ(Val(""), 0.0);
  EXPECT_EQ(Val("abc"), 0.0);
  EXPECT_EQ(Val("-"), 0.0);
  EXPECT_EQ(Val("&H1F"), 31.0);
  EXPECT_EQ(Val("&HFFFF"), -1.0);
  EXPECT_EQ(Val("&H10000"), 65536.0);
  EXPECT_EQ(Val("&O17"), 15.0);
  EXPECT_EQ(Val("&X"), 0.0);
  EXPECT_EQ(ErrorNumber([] { Val("1e400"); }), errOverflow);
}

TEST(Conversions, IsNumericAndIsDate) {
  EXPECT_TRUE(IsNumeric(Variant(" 12.5 ")));
  EXPECT_TRUE(IsNumeric(Variant("&HFF")));
  EXPECT_TRUE(IsNumeric(Variant()));
  EXPECT_TRUE(IsNumeric(true));
  EXPECT_FALSE(IsNumeric(Variant("")));
  EXPECT_FALSE(IsNumeric(Variant("1,000")));
  EXPECT_FALSE(IsNumeric(Variant("&HFFFFFFFFFFFFFFFFFFFF")));
  EXPECT_EQ(ErrorNumber([] { CLng(Variant("&HFFFFFFFFFFFFFFFFFFFF")); }), errOverflow);
  EXPECT_FALSE(IsNumeric(Null));
  EXPECT_FALSE(IsNumeric(Date(1)));
  EXPECT_TRUE(IsDate(Date(1)));
  EXPECT_TRUE(IsDate(Variant("2009-12-31")));
  EXPECT_TRUE(IsDate(Variant("12/31/2009 11:05:09 PM")));
  EXPECT_FALSE(IsDate(Variant("0")));
  EXPECT_FALSE(IsDate(Variant("True")));
  EXPECT_FALSE(IsDate(int32_t{1}));
  EXPECT_FALSE(IsDate(Null));
}

}  // namespace
}  // namespace velmora::com
