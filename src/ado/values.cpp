#include "ado/values.hpp"

#include <cctype>

#include "com/calendar.hpp"

namespace velmora::ado::detail {
namespace {

__extension__ using U128 = unsigned __int128;

// A 96-bit unsigned accumulator: value = hi:lo.
struct Mantissa {
  uint64_t lo = 0;
  uint32_t hi = 0;
  // this = this * 10 + digit; false on overflow of 96 bits.
  bool Push(unsigned digit) {
    const U128 low = static_cast<U128>(lo) * 10u + digit;
    const uint64_t carry = static_cast<uint64_t>(low >> 64);
    const uint64_t high = static_cast<uint64_t>(hi) * 10u + carry;
    if (high > 0xFFFFFFFFull) return false;
    lo = static_cast<uint64_t>(low);
    hi = static_cast<uint32_t>(high);
    return true;
  }
};

std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

}  // namespace

std::optional<com::Decimal> DecimalFromText(std::string_view text) {
  text = Trim(text);
  com::Decimal d;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    d.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  Mantissa m;
  bool seenDigit = false, seenPoint = false;
  int scale = 0;
  for (char c : text) {
    if (c == '.' && !seenPoint) {
      seenPoint = true;
      continue;
    }
    if (c < '0' || c > '9') return std::nullopt;
    seenDigit = true;
    if (seenPoint) {
      if (scale == 28) continue;  // digits beyond the 28th place are dropped
      ++scale;
    }
    if (!m.Push(static_cast<unsigned>(c - '0'))) return std::nullopt;
  }
  if (!seenDigit) return std::nullopt;
  d.lo64 = m.lo;
  d.hi32 = m.hi;
  d.scale = static_cast<uint8_t>(scale);
  if (m.lo == 0 && m.hi == 0) d.negative = false;
  return d;
}

std::optional<com::Currency> CurrencyFromText(std::string_view text) {
  std::string digits;
  for (char c : text) {
    if ((c >= '0' && c <= '9') || c == '.' || c == '-') digits.push_back(c);
    else if (c == '(') digits.insert(digits.begin(), '-');  // accounting negative
  }
  auto dec = DecimalFromText(digits);
  if (!dec || dec->hi32 != 0) return std::nullopt;
  U128 v = dec->lo64;
  int scale = dec->scale;
  for (; scale < 4; ++scale) v *= 10;
  bool roundUp = false;
  for (; scale > 4; --scale) {
    roundUp = (v % 10) >= 5;
    v /= 10;
  }
  if (roundUp) ++v;
  if (v > static_cast<U128>(INT64_MAX)) return std::nullopt;
  const auto raw = static_cast<int64_t>(v);
  return com::Currency::FromRaw(dec->negative ? -raw : raw);
}

com::Decimal DecimalFromUInt64(uint64_t value) {
  com::Decimal d;
  d.lo64 = value;
  return d;
}

com::Decimal DecimalFromInt64(int64_t value) {
  com::Decimal d;
  d.negative = value < 0;
  d.lo64 = value < 0 ? (~static_cast<uint64_t>(value) + 1) : static_cast<uint64_t>(value);
  return d;
}

com::Date DateFromParts(int year, int month, int day, int hour, int minute, int second, uint32_t fraction) {
  const int64_t days = com::detail::DaysFromCivil(year, month, day);
  const double millis = static_cast<double>(fraction / 1000000u);
  const double time = ((hour * 60.0 + minute) * 60.0 + second + millis / 1000.0) / 86400.0;
  // OLE dates before the epoch keep a positive time fraction: -1.25 is a day back at 06:00.
  return com::Date(days >= 0 ? static_cast<double>(days) + time : static_cast<double>(days) - time);
}

}  // namespace velmora::ado::detail
