#pragma once
// Exact decimal numbers used to move values between text, Currency, Decimal
// and the integer types without passing through a double.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "velmora/com/datetime.hpp"

namespace velmora::com::detail {

__extension__ typedef unsigned __int128 UInt128;

// value = (negative ? -1 : 1) * digits * 10^exponent. `digits` holds decimal
// digits without leading zeros; an empty `digits` is zero.
struct ExactNumber {
  bool negative = false;
  std::string digits;
  int64_t exponent = 0;

  bool IsZero() const noexcept { return digits.empty(); }
};

enum class Rounding { HalfEven, HalfAwayFromZero };

// Strict parse of a whole text: blanks around, a sign, digits with an
// optional '.', an optional exponent (E or D), or an "&H"/"&O" integer.
std::optional<ExactNumber> ParseNumber(std::string_view text);
// The leading numeric part of a text as VB's Val reads it: blanks anywhere
// are skipped, parsing stops at the first character that does not fit.
ExactNumber ParseLeadingNumber(std::string_view text);

ExactNumber ExactFromInteger(int64_t value);
ExactNumber ExactFromCurrency(Currency value);
ExactNumber ExactFromDecimal(const Decimal& value);
// The double rounded to `significant` decimal digits.
ExactNumber ExactFromDouble(double value, int significant);

// Nearest double (infinite when out of range).
double ExactToDouble(const ExactNumber& n);
// The magnitude times 10^scale rounded to an integer; nullopt when it does
// not fit in 128 bits.
std::optional<UInt128> ExactToScaled(const ExactNumber& n, int scale, Rounding mode = Rounding::HalfEven);
// Rounded to an integer (half to even); raises 6 when outside [min, max].
int64_t ExactToInteger(const ExactNumber& n, int64_t min, int64_t max);
Currency ExactToCurrency(const ExactNumber& n);  // raises 6 when out of range
Decimal ExactToDecimal(const ExactNumber& n);    // raises 6 when out of range
// Rounded to `decimals` fraction digits.
ExactNumber ExactRound(const ExactNumber& n, int decimals, Rounding mode);

// Numeric comparison: negative, zero or positive as a < b, a == b, a > b.
int CompareExact(const ExactNumber& a, const ExactNumber& b);

// Plain notation, never an exponent: "-12.5", "0.0001", "100".
std::string ExactToString(const ExactNumber& n);
// Decimal digits of an unsigned 128-bit value.
std::string UInt128ToDigits(UInt128 value);

}  // namespace velmora::com::detail
