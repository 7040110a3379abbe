#include "ado/values.hpp"

#include <cctype>

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

int64_t DaysFromCivil(int year, unsigned month, unsigned day) {
  // Howard Hinnant's days_from_civil, shifted to the OLE epoch 1899-12-30.
  year -= month <= 2;
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yoe = static_cast<unsigned>(year - era * 400);
  const unsigned doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  constexpr int64_t kUnixToOle = 25569;  // days from 1899-12-30 to 1970-01-01
  return era * 146097 + static_cast<int64_t>(doe) - 719468 + kUnixToOle;
}

com::Date DateFromParts(int year, int month, int day, int hour, int minute, int second, uint32_t fraction) {
  const int64_t days = DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
  const double millis = static_cast<double>(fraction / 1000000u);
  const double time = ((hour * 60.0 + minute) * 60.0 + second + millis / 1000.0) / 86400.0;
  // OLE dates before the epoch keep a positive time fraction: -1.25 is a day back at 06:00.
  return com::Date(days >= 0 ? static_cast<double>(days) + time : static_cast<double>(days) - time);
}

void AppendUtf8FromUtf16(std::string& out, const char16_t* units, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    uint32_t cp = units[i];
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
      continue;
    }
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (units[i + 1] - 0xDC00u);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = 0xFFFD;
    }
    if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    }
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

std::u16string Utf16FromUtf8(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const auto b = static_cast<unsigned char>(text[i]);
    uint32_t cp;
    size_t len;
    if (b < 0x80) { cp = b; len = 1; }
    else if ((b & 0xE0) == 0xC0) { cp = b & 0x1Fu; len = 2; }
    else if ((b & 0xF0) == 0xE0) { cp = b & 0x0Fu; len = 3; }
    else if ((b & 0xF8) == 0xF0) { cp = b & 0x07u; len = 4; }
    else { out.push_back(u'\xFFFD'); ++i; continue; }
    if (i + len > text.size()) { out.push_back(u'\xFFFD'); break; }
    bool valid = true;
    for (size_t k = 1; k < len; ++k) {
      const auto c = static_cast<unsigned char>(text[i + k]);
      if ((c & 0xC0) != 0x80) valid = false;
      cp = (cp << 6) | (c & 0x3Fu);
    }
    i += valid ? len : 1;
    if (!valid) { out.push_back(u'\xFFFD'); continue; }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

}  // namespace velmora::ado::detail
