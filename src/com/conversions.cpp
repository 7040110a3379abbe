#include "velmora/com/conversions.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>

#include "date_text.hpp"
#include "exact_number.hpp"
#include "utf.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {

using detail::ExactNumber;

namespace {

constexpr int kDoubleDigits = 15;
constexpr int kSingleDigits = 7;

// Single, double and date hold binary floating values; they are converted
// with the floating rules (round half to even on the value itself).
std::optional<double> FloatingValue(const Variant& v) {
  if (auto p = v.TryGet<double>()) return *p;
  if (auto p = v.TryGet<float>()) return static_cast<double>(*p);
  if (auto p = v.TryGet<Date>()) return p->value;
  return std::nullopt;
}

ExactNumber ParseNumberOrMismatch(const std::string& s) {
  auto n = detail::ParseNumber(s);
  if (!n) Raise(errTypeMismatch);
  return *n;
}

// The exact value of a variant that converts to a number.
ExactNumber ExactValue(const Variant& v) {
  if (v.IsEmpty()) return {};
  if (v.IsNull()) Raise(errInvalidUseOfNull);
  if (auto p = v.TryGet<int16_t>()) return detail::ExactFromInteger(*p);
  if (auto p = v.TryGet<int32_t>()) return detail::ExactFromInteger(*p);
  if (auto p = v.TryGet<uint8_t>()) return detail::ExactFromInteger(*p);
  if (auto p = v.TryGet<bool>()) return detail::ExactFromInteger(*p ? vbTrue : 0);
  if (auto p = v.TryGet<Currency>()) return detail::ExactFromCurrency(*p);
  if (auto p = v.TryGet<Decimal>()) return detail::ExactFromDecimal(*p);
  if (auto p = v.TryGet<std::string>()) return ParseNumberOrMismatch(*p);
  if (auto p = v.TryGet<float>()) return detail::ExactFromDouble(*p, kSingleDigits);
  if (auto d = FloatingValue(v)) return detail::ExactFromDouble(*d, kDoubleDigits);
  Raise(errTypeMismatch);
}

double CheckedDouble(double d) {
  if (!std::isfinite(d)) Raise(errOverflow);
  return d;
}

// The value of a variant that holds a whole number of a small type.
std::optional<int64_t> SmallIntegerValue(const Variant& v) {
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  if (auto p = v.TryGet<bool>()) return *p ? -1 : 0;
  return std::nullopt;
}

int64_t RoundedInteger(const Variant& v, int64_t min, int64_t max) {
  if (auto i = SmallIntegerValue(v)) {
    if (*i < min || *i > max) Raise(errOverflow);
    return *i;
  }
  if (auto d = FloatingValue(v)) {
    const double r = std::nearbyint(*d);  // the default rounding mode: half to even
    if (!(r >= static_cast<double>(min) && r <= static_cast<double>(max))) Raise(errOverflow);
    return static_cast<int64_t>(r);
  }
  return detail::ExactToInteger(ExactValue(v), min, max);
}

template <class T>
T RoundedTo(const Variant& v) {
  return static_cast<T>(RoundedInteger(v, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

// Shortest text of `d` to `digits` significant digits, ties away from zero,
// in fixed notation unless the exponent is below -4 or reaches `digits`.
std::string FloatingToString(double d, int digits) {
  if (d == 0) return "0";
  constexpr int kDecidingDigits = 40;  // enough to tell a true tie from a near one
  ExactNumber n = detail::ExactFromDouble(d, kDecidingDigits);
  auto leading = [](const ExactNumber& x) { return static_cast<int64_t>(x.digits.size()) + x.exponent; };
  n = detail::ExactRound(n, static_cast<int>(digits - leading(n)), detail::Rounding::HalfAwayFromZero);
  const int64_t exponent = leading(n) - 1;
  if (exponent >= -4 && exponent < digits) return detail::ExactToString(n);
  std::string out = n.negative ? "-" : "";
  out += n.digits[0];
  if (n.digits.size() > 1) out += "." + n.digits.substr(1);
  char buf[32];
  std::snprintf(buf, sizeof buf, "E%c%02lld", exponent < 0 ? '-' : '+', static_cast<long long>(std::llabs(exponent)));
  return out + buf;
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool BooleanFromString(const std::string& s) {
  std::string_view t = s;
  while (!t.empty() && (t.front() == ' ' || t.front() == '\t')) t.remove_prefix(1);
  while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
  if (EqualsIgnoringAsciiCase(t, "true") || t == "#TRUE#") return true;
  if (EqualsIgnoringAsciiCase(t, "false") || t == "#FALSE#") return false;
  return !ParseNumberOrMismatch(s).IsZero();
}

ByteArray ToByteArray(const Variant& v) {
  if (auto p = v.TryGet<ByteArray>()) return *p;
  if (auto p = v.TryGet<std::string>()) return detail::Utf8ToUtf16Le(*p);
  Raise(errTypeMismatch);
}

}  // namespace

int16_t CInt(const Variant& v) { return RoundedTo<int16_t>(v); }
int32_t CLng(const Variant& v) { return RoundedTo<int32_t>(v); }
uint8_t CByte(const Variant& v) { return RoundedTo<uint8_t>(v); }

double CDbl(const Variant& v) {
  if (auto d = FloatingValue(v)) return *d;
  if (auto p = v.TryGet<Currency>()) return static_cast<double>(p->raw) / Currency::kScale;
  return CheckedDouble(detail::ExactToDouble(ExactValue(v)));
}

float CSng(const Variant& v) {
  const double d = CDbl(v);
  if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) Raise(errOverflow);
  return static_cast<float>(d);
}

Currency CCur(const Variant& v) {
  if (auto d = FloatingValue(v)) {
    const double raw = std::nearbyint(*d * Currency::kScale);
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    if (!(raw >= -kLimit && raw < kLimit)) Raise(errOverflow);
    return Currency::FromRaw(static_cast<int64_t>(raw));
  }
  return detail::ExactToCurrency(ExactValue(v));
}

Decimal CDec(const Variant& v) { return detail::ExactToDecimal(ExactValue(v)); }

bool CBool(const Variant& v) {
  if (auto p = v.TryGet<bool>()) return *p;
  if (auto p = v.TryGet<std::string>()) return BooleanFromString(*p);
  if (auto d = FloatingValue(v)) return *d != 0;
  return !ExactValue(v).IsZero();
}

Date CDate(const Variant& v) {
  if (auto p = v.TryGet<Date>()) return *p;
  if (v.IsNull()) Raise(errInvalidUseOfNull);
  if (auto p = v.TryGet<std::string>()) {
    auto d = detail::ParseDate(*p);
    if (!d) Raise(errTypeMismatch);
    return *d;
  }
  const double value = CDbl(v);
  if (!(value >= kMinDate && value <= kMaxDate)) Raise(errOverflow);
  return Date(value);
}

std::string CStr(const Variant& v) {
  struct Text {
    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(NullValue) const { Raise(errInvalidUseOfNull); }
    std::string operator()(int16_t x) const { return std::to_string(x); }
    std::string operator()(int32_t x) const { return std::to_string(x); }
    std::string operator()(uint8_t x) const { return std::to_string(x); }
    std::string operator()(float x) const { return FloatingToString(x, kSingleDigits); }
    std::string operator()(double x) const { return DoubleToString(x); }
    std::string operator()(Currency x) const { return CurrencyToString(x); }
    std::string operator()(const Decimal& x) const { return DecimalToString(x); }
    std::string operator()(Date x) const { return DateToString(x); }
    std::string operator()(const std::string& x) const { return x; }
    std::string operator()(bool x) const { return x ? "True" : "False"; }
    std::string operator()(const ByteArray& x) const { return detail::Utf16LeToUtf8(x); }
    std::string operator()(const ObjectPtr&) const { Raise(errTypeMismatch); }
    std::string operator()(MissingValue) const { Raise(errTypeMismatch); }
    std::string operator()(const VariantArray&) const { Raise(errTypeMismatch); }
  };
  return std::visit(Text{}, v.Value());
}

Variant ChangeType(const Variant& v, int16_t vtype) {
  if (v.VarType() == vtype) return v;  // nothing to convert
  switch (vtype) {
    case vbEmpty: return Variant();
    case vbNull: return Variant(Null);
    case vbInteger: return CInt(v);
    case vbLong: return CLng(v);
    case vbSingle: return CSng(v);
    case vbDouble: return CDbl(v);
    case vbCurrency: return CCur(v);
    case vbDate: return CDate(v);
    case vbString: return CStr(v);
    case vbBoolean: return CBool(v);
    case vbVariant: return v;
    case vbDecimal: return CDec(v);
    case vbByte: return CByte(v);
    case vbByteArray: return ToByteArray(v);
    default:
      Raise(errTypeMismatch);
  }
}

double Val(const std::string& text) { return CheckedDouble(detail::ExactToDouble(detail::ParseLeadingNumber(text))); }

bool IsNumeric(const Variant& v) {
  if (auto p = v.TryGet<std::string>()) {
    try {
      return detail::ParseNumber(*p).has_value();
    } catch (const Error&) {
      return false;  // "&H" digits beyond 64 bits
    }
  }
  switch (v.VarType()) {
    case vbEmpty:
    case vbInteger:
    case vbLong:
    case vbSingle:
    case vbDouble:
    case vbCurrency:
    case vbBoolean:
    case vbDecimal:
    case vbByte: return true;
    default: return false;
  }
}

bool IsDate(const Variant& v) {
  if (v.TryGet<Date>()) return true;
  if (auto p = v.TryGet<std::string>()) return detail::ParseDate(*p).has_value();
  return false;
}

std::string DoubleToString(double d) { return FloatingToString(d, kDoubleDigits); }
std::string CurrencyToString(Currency c) { return detail::ExactToString(detail::ExactFromCurrency(c)); }
std::string DecimalToString(const Decimal& d) { return detail::ExactToString(detail::ExactFromDecimal(d)); }
std::string DateToString(Date d) { return detail::FormatDate(d); }

}  // namespace velmora::com
