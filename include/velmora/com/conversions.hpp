#pragma once
// VB-style conversions between variants, numbers, dates, booleans and text.
//
// Text convention (one fixed, invariant convention, the same in both
// directions):
//  - numbers: '.' as decimal separator, no thousands separators, up to 15
//    significant digits for doubles and 7 for singles, never an exponent for
//    currency and decimal; doubles below 1e-4 or from 1e15 up (in
//    magnitude) use "E+nn"/"E-nn" ("1E-05", "1.5E+15");
//  - booleans: "True" and "False" (parsing also takes any case, and numbers);
//  - dates: "yyyy-mm-dd hh:nn:ss"; the date alone when the time is 0 and the
//    time alone when the date is 0; parsing also accepts the en-US forms
//    ("12/31/2009 11:05:09 PM").
// Type mismatch raises 13, overflow raises 6.
#include <cstdint>
#include <string>

#include "velmora/com/variant.hpp"

namespace velmora::com {

int16_t CInt(const Variant& v);   // round half to even; overflow raises 6
int32_t CLng(const Variant& v);   // round half to even; overflow raises 6
float CSng(const Variant& v);
double CDbl(const Variant& v);
Currency CCur(const Variant& v);  // rounds to four decimals (half to even)
Decimal CDec(const Variant& v);
std::string CStr(const Variant& v);
Date CDate(const Variant& v);
bool CBool(const Variant& v);
uint8_t CByte(const Variant& v);

// Converts to the given variant type code (2, 3, 4, 5, 6, 7, 8, 11, 12, 14,
// 17; 0 gives Empty, 1 Null; 12 returns the value unchanged).
Variant ChangeType(const Variant& v, int16_t vtype);

// The leading numeric part of a text (blanks skipped, "&H" and "&O" prefixes
// understood); 0 when there is none.
double Val(const std::string& text);
bool IsNumeric(const Variant& v);
bool IsDate(const Variant& v);

// Formats a value with a pattern; the patterns the library uses are
// "yyyymmddhhmmss" (and other date patterns of y, m, d, h, n, s), and digit
// patterns of zeros ("00", "000000000000").
std::string Format(const Variant& v, const std::string& pattern);

// Comparison of two variants as VB compares them: Null against anything
// gives Null; a string is greater than any number; Empty equals 0 and "".
// (The enumerator Null is scoped; it does not hide com::Null.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
enum class VarCompareResult { Less, Equal, Greater, Null };
#pragma GCC diagnostic pop
VarCompareResult VarCompare(const Variant& a, const Variant& b);
// VB's `a = b` taken as a condition: true when VarCompare is Equal (a Null
// result counts as false). Objects compare by identity.
bool VarEqual(const Variant& a, const Variant& b);

// Text of numbers and dates in the convention above.
std::string DoubleToString(double d);
std::string CurrencyToString(Currency c);
std::string DecimalToString(const Decimal& d);
std::string DateToString(Date d);

}  // namespace velmora::com
