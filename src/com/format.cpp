// Format with date patterns (y, m, d, h, n, s, AM/PM) and digit patterns
// (0, #, '.', ',', '%', sections separated by ';').
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <string_view>
#include <vector>

#include "calendar.hpp"
#include "exact_number.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {
namespace {

using detail::ExactNumber;

constexpr std::array<std::string_view, 12> kMonths = {"January", "February", "March",     "April",
                                                      "May",     "June",     "July",      "August",
                                                      "September", "October", "November", "December"};
constexpr std::array<std::string_view, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                       "Thursday", "Friday", "Saturday"};

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// A pattern split into literal text and placeholder runs.
struct Piece {
  bool literal = true;
  std::string text;  // the literal, or the placeholder run as written
};

bool IsDateLetter(char c) { return std::string_view("ymdhnswq").find(Lower(c)) != std::string_view::npos; }

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  if (s.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (Lower(s[i]) != Lower(prefix[i])) return false;
  return true;
}

// Splits on quotes and backslash escapes; `isPlaceholder` chooses the
// characters that form placeholder runs (a run is one repeated letter, or
// "AM/PM" / "A/P").
template <class IsPlaceholder>
std::vector<Piece> Tokenize(std::string_view pattern, IsPlaceholder isPlaceholder, bool dateRuns) {
  std::vector<Piece> pieces;
  auto literal = [&pieces](std::string_view text) {
    if (pieces.empty() || !pieces.back().literal) pieces.push_back({});
    pieces.back().text += text;
  };
  for (size_t i = 0; i < pattern.size();) {
    char c = pattern[i];
    if (c == '\\' && i + 1 < pattern.size()) {
      literal(pattern.substr(i + 1, 1));
      i += 2;
    } else if (c == '"') {
      size_t close = pattern.find('"', i + 1);
      size_t end = close == std::string_view::npos ? pattern.size() : close;
      literal(pattern.substr(i + 1, end - i - 1));
      i = end + 1;
    } else if (dateRuns && (StartsWithNoCase(pattern.substr(i), "am/pm") || StartsWithNoCase(pattern.substr(i), "a/p"))) {
      size_t len = StartsWithNoCase(pattern.substr(i), "am/pm") ? 5 : 3;
      pieces.push_back({false, std::string(pattern.substr(i, len))});
      i += len;
    } else if (isPlaceholder(c)) {
      size_t j = i + 1;
      if (dateRuns)
        while (j < pattern.size() && Lower(pattern[j]) == Lower(c)) ++j;
      pieces.push_back({false, std::string(pattern.substr(i, j - i))});
      i = j;
    } else {
      literal(pattern.substr(i, 1));
      ++i;
    }
  }
  return pieces;
}

std::vector<std::string_view> SplitSections(std::string_view pattern) {
  std::vector<std::string_view> sections;
  size_t start = 0;
  bool quoted = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\') ++i;
    else if (pattern[i] == '"') quoted = !quoted;
    else if (pattern[i] == ';' && !quoted) {
      sections.push_back(pattern.substr(start, i - start));
      start = i + 1;
    }
  }
  sections.push_back(pattern.substr(start));
  return sections;
}

bool HasDatePlaceholder(std::string_view pattern) {
  for (const Piece& p : Tokenize(pattern, IsDateLetter, true))
    if (!p.literal && IsDateLetter(p.text[0])) return true;
  return false;
}

// ---- dates ----

std::string Padded(int64_t value, int width) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%0*lld", width, static_cast<long long>(value));
  return buf;
}

// "m"/"mm" means minutes when it is the first one after an hour (literals
// in between allowed); every other "m" run is the month.
std::vector<bool> MinuteRuns(const std::vector<Piece>& pieces) {
  std::vector<bool> minutes(pieces.size(), false);
  char previous = 0;
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (pieces[i].literal) continue;
    const char kind = Lower(pieces[i].text[0]);
    minutes[i] = kind == 'm' && pieces[i].text.size() <= 2 && previous == 'h';
    previous = kind;
  }
  return minutes;
}

bool HasMeridiem(const std::vector<Piece>& pieces) {
  for (const Piece& p : pieces)
    if (!p.literal && p.text.find('/') != std::string::npos) return true;
  return false;
}

std::string DatePiece(const Piece& p, const detail::DateParts& d, int weekday, bool minute, bool twelveHour) {
  const int n = static_cast<int>(p.text.size());
  const int hour = twelveHour ? (d.hour % 12 == 0 ? 12 : d.hour % 12) : d.hour;
  switch (Lower(p.text[0])) {
    case 'y':
      if (n == 1) return std::to_string(d.dayNumber - detail::DaysFromCivil(d.year, 1, 1) + 1);
      return n <= 2 ? Padded(d.year % 100, 2) : Padded(d.year, 4);
    case 'm':
      if (minute) return Padded(d.minute, n);
      if (n <= 2) return Padded(d.month, n);
      return std::string(n == 3 ? kMonths[d.month - 1].substr(0, 3) : kMonths[d.month - 1]);
    case 'd':
      if (n <= 2) return Padded(d.day, n);
      return std::string(n == 3 ? kWeekdays[weekday - 1].substr(0, 3) : kWeekdays[weekday - 1]);
    case 'h': return Padded(hour, std::min(n, 2));
    case 'n': return Padded(d.minute, std::min(n, 2));
    case 's': return Padded(d.second, std::min(n, 2));
    case 'w': return std::to_string(weekday);
    case 'q': return std::to_string((d.month - 1) / 3 + 1);
    default: {  // AM/PM or A/P, in the case written
      const bool pm = d.hour >= 12;
      const size_t slash = p.text.find('/');
      return pm ? p.text.substr(slash + 1) : p.text.substr(0, slash);
    }
  }
}

std::string FormatDateValue(Date date, std::string_view pattern) {
  const auto pieces = Tokenize(pattern, IsDateLetter, true);
  const auto minutes = MinuteRuns(pieces);
  const bool twelveHour = HasMeridiem(pieces);
  const detail::DateParts parts = detail::SplitDate(date);
  const int weekday = Weekday(date);
  std::string out;
  for (size_t i = 0; i < pieces.size(); ++i)
    out += pieces[i].literal ? pieces[i].text : DatePiece(pieces[i], parts, weekday, minutes[i], twelveHour);
  return out;
}

// ---- numbers ----

bool IsDigitPlaceholder(char c) { return c == '0' || c == '#' || c == '.' || c == ',' || c == '%'; }

struct NumberLayout {
  std::vector<Piece> pieces;
  int integerPlaces = 0;
  int integerRequired = 0;  // zeros from the first '0' of the integer part on
  int decimals = 0;
  int decimalsRequired = 0;  // up to the last '0' of the fraction
  bool grouping = false;
  bool percent = false;
};

NumberLayout Analyze(std::string_view section) {
  NumberLayout l;
  l.pieces = Tokenize(section, IsDigitPlaceholder, false);
  bool fraction = false, sawZero = false;
  for (const Piece& p : l.pieces) {
    if (p.literal) continue;
    switch (p.text[0]) {
      case '.': fraction = true; break;
      case ',': l.grouping = l.grouping || (!fraction && l.integerPlaces > 0); break;
      case '%': l.percent = true; break;
      default:
        if (fraction) {
          ++l.decimals;
          if (p.text[0] == '0') l.decimalsRequired = l.decimals;
        } else {
          ++l.integerPlaces;
          sawZero = sawZero || p.text[0] == '0';
          l.integerRequired += sawZero;
        }
    }
  }
  return l;
}

std::string Grouped(const std::string& digits) {
  std::string out;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

std::string FormatNumberSection(ExactNumber value, const NumberLayout& l, bool withSign) {
  if (l.percent) value.exponent += 2;
  ExactNumber r = detail::ExactRound(value, l.decimals, detail::Rounding::HalfAwayFromZero);
  std::string text = detail::ExactToString(r);
  if (r.negative) text.erase(0, 1);
  const size_t point = text.find('.');
  std::string integer = text.substr(0, point);
  std::string fraction = point == std::string::npos ? "" : text.substr(point + 1);
  if (integer == "0") integer.clear();
  if (static_cast<int>(integer.size()) < l.integerRequired)
    integer.insert(0, static_cast<size_t>(l.integerRequired) - integer.size(), '0');
  if (static_cast<int>(fraction.size()) < l.decimalsRequired)
    fraction.append(static_cast<size_t>(l.decimalsRequired) - fraction.size(), '0');
  if (l.grouping) integer = Grouped(integer);

  std::string out = withSign && r.negative ? "-" : "";
  int place = 0, decimal = 0;
  bool fractionPart = false;
  for (const Piece& p : l.pieces) {
    if (p.literal) {
      out += p.text;
      continue;
    }
    char c = p.text[0];
    if (c == '.') {
      fractionPart = true;
      out += '.';
    } else if (c == '%') {
      out += '%';
    } else if (c == ',') {
      continue;
    } else if (fractionPart) {
      if (decimal < static_cast<int>(fraction.size())) out += fraction[static_cast<size_t>(decimal)];
      ++decimal;
    } else {
      // The first integer place takes every digit the places to its right do not.
      const int right = l.integerPlaces - place - 1;
      const int available = static_cast<int>(integer.size());
      if (l.grouping) {
        if (place == 0) out += integer;
      } else if (place == 0) {
        out += integer.substr(0, static_cast<size_t>(std::max(0, available - right)));
      } else if (available - right - 1 >= 0) {
        out += integer[static_cast<size_t>(available - right - 1)];
      }
      ++place;
    }
  }
  return out;
}

std::string FormatNumberValue(const ExactNumber& value, std::string_view pattern) {
  const auto sections = SplitSections(pattern);
  size_t chosen = 0;
  if (value.negative && sections.size() >= 2) chosen = 1;
  else if (value.IsZero() && sections.size() >= 3) chosen = 2;
  if (sections[chosen].empty()) chosen = 0;
  ExactNumber magnitude = value;
  if (chosen != 0) magnitude.negative = false;
  return FormatNumberSection(magnitude, Analyze(sections[chosen]), chosen == 0);
}

// The exact value to format; doubles keep their 15 significant digits.
ExactNumber NumberOf(const Variant& v) {
  if (v.IsString()) {
    // Exact when it fits a Decimal; larger texts are read as doubles (and
    // overflow beyond them) rather than spelled out digit by digit.
    try {
      return detail::ExactFromDecimal(CDec(v));
    } catch (const Error& e) {
      if (e.Number() != errOverflow) throw;
      return detail::ExactFromDouble(CDbl(v), 15);
    }
  }
  if (auto f = v.TryGet<float>()) return detail::ExactFromDouble(*f, 7);
  if (v.TryGet<double>() || v.TryGet<Date>()) return detail::ExactFromDouble(CDbl(v), 15);
  return detail::ExactFromDecimal(CDec(v));
}

}  // namespace

std::string Format(const Variant& v, const std::string& pattern) {
  if (v.IsNull()) return {};
  if (pattern.empty()) return CStr(v);
  if (HasDatePlaceholder(pattern)) {
    if (v.IsString() && !IsDate(v)) return CStr(v);
    return FormatDateValue(CDate(v), pattern);
  }
  if (v.IsString() && !IsNumeric(v)) return CStr(v);
  return FormatNumberValue(NumberOf(v), pattern);
}

}  // namespace velmora::com
