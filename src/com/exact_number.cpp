#include "exact_number.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "velmora/com/error.hpp"

namespace velmora::com::detail {
namespace {

constexpr int64_t kExponentCap = 1'000'000'000;  // keeps exponent arithmetic far from overflow
constexpr UInt128 kUInt128Max = ~UInt128{0};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int RadixDigit(char c, int radix) {
  int v = -1;
  if (IsDigit(c)) v = c - '0';
  else if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
  else if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
  return v < radix ? v : -1;
}

// Strips leading and trailing zeros (moving the latter into the exponent).
void Normalize(ExactNumber& n) {
  auto first = n.digits.find_first_not_of('0');
  if (first == std::string::npos) {
    n = ExactNumber{};
    return;
  }
  n.digits.erase(0, first);
  auto last = n.digits.find_last_not_of('0');
  n.exponent += static_cast<int64_t>(n.digits.size() - 1 - last);
  n.digits.erase(last + 1);
}

std::string UnsignedDigits(uint64_t v) {
  char buf[24];
  auto r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}

// Reads numbers from text. In lenient mode (VB's Val) blanks between any two
// characters are skipped and an incomplete exponent is ignored.
class Scanner {
 public:
  Scanner(std::string_view text, bool lenient) : s_(text), lenient_(lenient) {}

  // Scans a number at the current position; false when there is none.
  bool Scan(ExactNumber& out) {
    SkipInnerBlanks();
    bool negative = false;
    if (Peek() == '+' || Peek() == '-') {
      negative = Peek() == '-';
      Advance();
    }
    bool ok = Peek() == '&' ? ScanRadix(out) : ScanDecimal(out);
    if (ok && negative && !out.IsZero()) out.negative = !out.negative;
    return ok;
  }
  size_t Position() const { return pos_; }
  void SkipBlanks() {
    while (pos_ < s_.size() && IsBlank(s_[pos_])) ++pos_;
  }
  bool AtEnd() const { return pos_ == s_.size(); }

 private:
  char Peek() const { return pos_ < s_.size() ? s_[pos_] : '\0'; }
  void Advance() {
    ++pos_;
    SkipInnerBlanks();
  }
  void SkipInnerBlanks() {
    if (lenient_) SkipBlanks();
  }

  bool ScanDecimal(ExactNumber& out) {
    ExactNumber n;
    bool anyDigit = false;
    for (; IsDigit(Peek()); Advance(), anyDigit = true) n.digits.push_back(Peek());
    if (Peek() == '.') {
      Advance();
      for (; IsDigit(Peek()); Advance(), anyDigit = true) {
        n.digits.push_back(Peek());
        --n.exponent;
      }
    }
    if (!anyDigit) return false;
    if (!ScanExponent(n.exponent)) return false;
    Normalize(n);
    out = std::move(n);
    return true;
  }

  bool ScanExponent(int64_t& exponent) {
    char c = Peek();
    if (c != 'e' && c != 'E' && c != 'd' && c != 'D') return true;
    size_t mark = pos_;
    Advance();
    bool negative = false;
    if (Peek() == '+' || Peek() == '-') {
      negative = Peek() == '-';
      Advance();
    }
    if (!IsDigit(Peek())) {
      pos_ = mark;  // "1e" is the number 1 followed by text
      return lenient_;
    }
    int64_t e = 0;
    for (; IsDigit(Peek()); Advance()) e = std::min(kExponentCap, e * 10 + (Peek() - '0'));
    exponent += negative ? -e : e;
    return true;
  }

  // "&H1F" or "&O17". Up to four hex digits are a 16-bit integer and up to
  // eight a 32-bit one, so "&HFFFF" is -1 as in VB.
  bool ScanRadix(ExactNumber& out) {
    size_t mark = pos_;
    Advance();
    char kind = Peek();
    int radix = (kind == 'h' || kind == 'H') ? 16 : (kind == 'o' || kind == 'O') ? 8 : 0;
    if (radix == 0) {
      pos_ = mark;
      return false;
    }
    Advance();
    uint64_t value = 0;
    bool any = false;
    for (int d; (d = RadixDigit(Peek(), radix)) >= 0; Advance(), any = true) {
      if (value > (std::numeric_limits<uint64_t>::max() >> 4)) Raise(errOverflow);
      value = value * static_cast<uint64_t>(radix) + static_cast<uint64_t>(d);
    }
    if (!any) {
      pos_ = mark;
      return false;
    }
    int64_t signedValue = value <= 0xFFFF         ? static_cast<int16_t>(value)
                          : value <= 0xFFFFFFFFu ? static_cast<int32_t>(value)
                          : value <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max())
                              ? static_cast<int64_t>(value)
                              : (Raise(errOverflow), 0);
    out = ExactFromInteger(signedValue);
    return true;
  }

  std::string_view s_;
  bool lenient_;
  size_t pos_ = 0;
};

bool RoundsUp(const std::string& digits, int64_t keep, Rounding mode) {
  if (keep < 0 || keep >= static_cast<int64_t>(digits.size())) return false;
  char first = digits[static_cast<size_t>(keep)];
  if (first != '5') return first > '5';
  bool sticky = keep + 1 < static_cast<int64_t>(digits.size());  // digits carry no trailing zeros
  if (sticky || mode == Rounding::HalfAwayFromZero) return true;
  return keep > 0 && (digits[static_cast<size_t>(keep - 1)] - '0') % 2 == 1;
}

void IncrementDigits(std::string& digits) {
  for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
    if (*it != '9') {
      ++*it;
      return;
    }
    *it = '0';
  }
  digits.insert(digits.begin(), '1');
}

}  // namespace

std::optional<ExactNumber> ParseNumber(std::string_view text) {
  Scanner scanner(text, false);
  scanner.SkipBlanks();
  ExactNumber n;
  if (!scanner.Scan(n)) return std::nullopt;
  scanner.SkipBlanks();
  if (!scanner.AtEnd()) return std::nullopt;
  return n;
}

ExactNumber ParseLeadingNumber(std::string_view text) {
  Scanner scanner(text, true);
  ExactNumber n;
  return scanner.Scan(n) ? n : ExactNumber{};
}

ExactNumber ExactFromInteger(int64_t value) {
  ExactNumber n;
  n.negative = value < 0;
  uint64_t magnitude = n.negative ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  n.digits = UnsignedDigits(magnitude);
  Normalize(n);
  return n;
}

ExactNumber ExactFromCurrency(Currency value) {
  ExactNumber n = ExactFromInteger(value.raw);
  if (!n.IsZero()) n.exponent -= 4;
  return n;
}

ExactNumber ExactFromDecimal(const Decimal& value) {
  ExactNumber n;
  n.digits = UInt128ToDigits((UInt128{value.hi32} << 64) | value.lo64);
  n.exponent = -static_cast<int64_t>(value.scale);
  n.negative = value.negative;
  Normalize(n);
  return n;
}

ExactNumber ExactFromDouble(double value, int significant) {
  if (!std::isfinite(value)) Raise(errOverflow);
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, significant - 1);
  return *ParseNumber(std::string_view(buf, static_cast<size_t>(r.ptr - buf)));
}

double ExactToDouble(const ExactNumber& n) {
  if (n.IsZero()) return 0.0;
  std::string text = n.digits + "e" + std::to_string(n.exponent);
  double value = 0.0;
  auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  if (r.ec == std::errc::result_out_of_range) {
    bool huge = static_cast<int64_t>(n.digits.size()) + n.exponent > 0;
    value = huge ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return n.negative ? -value : value;
}

ExactNumber ExactRound(const ExactNumber& n, int decimals, Rounding mode) {
  int64_t keep = static_cast<int64_t>(n.digits.size()) + n.exponent + decimals;
  if (n.IsZero() || keep >= static_cast<int64_t>(n.digits.size())) return n;
  ExactNumber r;
  r.negative = n.negative;
  bool up = RoundsUp(n.digits, keep, mode);
  if (keep > 0) r.digits = n.digits.substr(0, static_cast<size_t>(keep));
  if (up) IncrementDigits(r.digits);
  r.exponent = -static_cast<int64_t>(decimals);
  Normalize(r);
  return r;
}

std::optional<UInt128> ExactToScaled(const ExactNumber& n, int scale, Rounding mode) {
  ExactNumber r = ExactRound(n, scale, mode);
  int64_t zeros = r.exponent + scale;
  if (r.IsZero()) return UInt128{0};
  if (static_cast<int64_t>(r.digits.size()) + zeros > 39) return std::nullopt;
  UInt128 value = 0;
  auto push = [&value](unsigned d) {
    if (value > (kUInt128Max - d) / 10) return false;
    value = value * 10 + d;
    return true;
  };
  for (char c : r.digits)
    if (!push(static_cast<unsigned>(c - '0'))) return std::nullopt;
  for (int64_t i = 0; i < zeros; ++i)
    if (!push(0)) return std::nullopt;
  return value;
}

namespace {
int64_t ScaledToInt64(const ExactNumber& n, int scale, int64_t min, int64_t max) {
  auto magnitude = ExactToScaled(n, scale);
  constexpr UInt128 kLimit = UInt128{1} << 63;
  if (!magnitude || *magnitude > kLimit) Raise(errOverflow);
  int64_t value = 0;
  if (!n.negative) {
    if (*magnitude == kLimit) Raise(errOverflow);
    value = static_cast<int64_t>(*magnitude);
  } else {
    value = *magnitude == kLimit ? std::numeric_limits<int64_t>::min() : -static_cast<int64_t>(*magnitude);
  }
  if (value < min || value > max) Raise(errOverflow);
  return value;
}
}  // namespace

int64_t ExactToInteger(const ExactNumber& n, int64_t min, int64_t max) { return ScaledToInt64(n, 0, min, max); }

Currency ExactToCurrency(const ExactNumber& n) {
  return Currency::FromRaw(
      ScaledToInt64(n, 4, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()));
}

Decimal ExactToDecimal(const ExactNumber& n) {
  if (n.IsZero()) return Decimal{};
  constexpr UInt128 kLimit = UInt128{1} << 96;
  if (static_cast<int64_t>(n.digits.size()) + n.exponent > 29) Raise(errOverflow);
  int64_t natural = std::max<int64_t>(0, -n.exponent);
  for (int64_t scale = std::min<int64_t>(28, natural); scale >= 0; --scale) {
    auto m = ExactToScaled(n, static_cast<int>(scale));
    if (!m || *m >= kLimit) continue;
    Decimal d;
    d.lo64 = static_cast<uint64_t>(*m);
    d.hi32 = static_cast<uint32_t>(*m >> 64);
    d.scale = static_cast<uint8_t>(scale);
    d.negative = n.negative && *m != 0;
    return d;
  }
  Raise(errOverflow);
}

int CompareExact(const ExactNumber& a, const ExactNumber& b) {
  auto sign = [](const ExactNumber& n) { return n.IsZero() ? 0 : n.negative ? -1 : 1; };
  if (sign(a) != sign(b)) return sign(a) < sign(b) ? -1 : 1;
  if (sign(a) == 0) return 0;
  // Same sign: the position of the leading digit, then the digits themselves
  // (no trailing zeros, so a shorter prefix is the smaller magnitude).
  auto leading = [](const ExactNumber& n) { return static_cast<int64_t>(n.digits.size()) + n.exponent; };
  int magnitude = leading(a) != leading(b) ? (leading(a) < leading(b) ? -1 : 1) : a.digits.compare(b.digits);
  magnitude = magnitude < 0 ? -1 : magnitude > 0 ? 1 : 0;
  return sign(a) * magnitude;
}

std::string ExactToString(const ExactNumber& n) {
  if (n.IsZero()) return "0";
  std::string out = n.negative ? "-" : "";
  int64_t point = static_cast<int64_t>(n.digits.size()) + n.exponent;
  if (n.exponent >= 0) {
    out += n.digits;
    out.append(static_cast<size_t>(n.exponent), '0');
  } else if (point > 0) {
    out += n.digits.substr(0, static_cast<size_t>(point));
    out += '.';
    out += n.digits.substr(static_cast<size_t>(point));
  } else {
    out += "0.";
    out.append(static_cast<size_t>(-point), '0');
    out += n.digits;
  }
  return out;
}

std::string UInt128ToDigits(UInt128 value) {
  if (value == 0) return "0";
  std::string digits;
  for (; value != 0; value /= 10) digits.push_back(static_cast<char>('0' + static_cast<int>(value % 10)));
  std::reverse(digits.begin(), digits.end());
  return digits;
}

}  // namespace velmora::com::detail
