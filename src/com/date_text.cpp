#include "date_text.hpp"

#include <array>
#include <cstdio>
#include <vector>

#include "calendar.hpp"

namespace velmora::com::detail {
namespace {

enum class TokenKind { Number, MonthName, Meridiem, Colon, Separator };

struct Token {
  TokenKind kind;
  int64_t value = 0;  // number, month 1..12, or 12 for PM / 0 for AM
  int digits = 0;
};

constexpr std::array<std::string_view, 12> kMonthNames = {"january", "february", "march",     "april",
                                                          "may",     "june",     "july",      "august",
                                                          "september", "october", "november", "december"};

bool IsAsciiAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// A word of the date: a month name (full or at least three letters of it),
// AM/PM (or A/P), or the 'T' between an ISO date and time.
std::optional<Token> ClassifyWord(const std::string& word) {
  if (word == "am" || word == "a") return Token{TokenKind::Meridiem, 0};
  if (word == "pm" || word == "p") return Token{TokenKind::Meridiem, 12};
  if (word == "t") return Token{TokenKind::Separator};
  if (word.size() >= 3)
    for (size_t i = 0; i < kMonthNames.size(); ++i)
      if (kMonthNames[i].substr(0, word.size()) == word) return Token{TokenKind::MonthName, int64_t(i) + 1};
  return std::nullopt;
}

std::optional<std::vector<Token>> Tokenize(std::string_view s) {
  std::vector<Token> tokens;
  for (size_t i = 0; i < s.size();) {
    char c = s[i];
    if (c >= '0' && c <= '9') {
      Token t{TokenKind::Number};
      for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i, ++t.digits) {
        if (t.digits == 9) return std::nullopt;
        t.value = t.value * 10 + (s[i] - '0');
      }
      tokens.push_back(t);
    } else if (IsAsciiAlpha(c)) {
      std::string word;
      for (; i < s.size() && IsAsciiAlpha(s[i]); ++i) word.push_back(Lower(s[i]));
      auto t = ClassifyWord(word);
      if (!t) return std::nullopt;
      tokens.push_back(*t);
    } else if (c == ':') {
      tokens.push_back({TokenKind::Colon});
      ++i;
    } else if (c == '/' || c == '-' || c == ',' || c == ' ' || c == '\t') {
      if (tokens.empty() || tokens.back().kind != TokenKind::Separator) tokens.push_back({TokenKind::Separator});
      ++i;
    } else {
      return std::nullopt;
    }
  }
  return tokens;
}

struct TimeOfDay {
  int hour = 0, minute = 0, second = 0;
  std::optional<int64_t> meridiem;
};

struct Pieces {
  std::vector<Token> dateItems;  // numbers and at most one month name
  std::optional<TimeOfDay> time;
};

size_t SkipSeparators(const std::vector<Token>& t, size_t i) {
  while (i < t.size() && t[i].kind == TokenKind::Separator) ++i;
  return i;
}

// Reads "h:n[:s] [AM|PM]" or "h AM|PM" starting at a number; false when the
// number does not start a time.
bool ReadTime(const std::vector<Token>& t, size_t& i, TimeOfDay& time) {
  std::array<int64_t, 3> parts{};
  size_t count = 1, j = i + 1;
  parts[0] = t[i].value;
  while (count < 3 && j + 1 < t.size() && t[j].kind == TokenKind::Colon && t[j + 1].kind == TokenKind::Number) {
    parts[count++] = t[j + 1].value;
    j += 2;
  }
  size_t after = SkipSeparators(t, j);
  bool hasMeridiem = after < t.size() && t[after].kind == TokenKind::Meridiem;
  if (count == 1 && !hasMeridiem) return false;
  if (j < t.size() && t[j].kind == TokenKind::Colon) return false;  // "1:2:3:4" or a dangling ':'
  if (hasMeridiem) {
    time.meridiem = t[after].value;
    j = after + 1;
  }
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59) return false;
  time.hour = static_cast<int>(parts[0]);
  time.minute = static_cast<int>(parts[1]);
  time.second = static_cast<int>(parts[2]);
  if (time.meridiem && time.hour <= 12) time.hour = time.hour % 12 + static_cast<int>(*time.meridiem);
  i = j;
  return true;
}

// Separates the time from the date items; date items on both sides of the
// time ("1 2 am 3") are rejected.
std::optional<Pieces> Split(const std::vector<Token>& t) {
  Pieces p;
  bool itemsBefore = false, itemsAfter = false;
  for (size_t i = 0; i < t.size();) {
    switch (t[i].kind) {
      case TokenKind::Separator: ++i; break;
      case TokenKind::Number: {
        TimeOfDay time;
        if (ReadTime(t, i, time)) {
          if (p.time) return std::nullopt;
          p.time = time;
          break;
        }
        [[fallthrough]];
      }
      case TokenKind::MonthName:
        (p.time ? itemsAfter : itemsBefore) = true;
        p.dateItems.push_back(t[i++]);
        break;
      default: return std::nullopt;  // a stray ':' or AM/PM
    }
  }
  if (itemsBefore && itemsAfter) return std::nullopt;
  return p;
}

int64_t ExpandYear(const Token& t) {
  if (t.digits <= 2) return t.value < 30 ? 2000 + t.value : 1900 + t.value;
  return t.value;
}

struct Ymd {
  int64_t year;
  int64_t month;
  int64_t day;
};

bool IsValid(const Ymd& d) {
  return d.year >= 100 && d.year <= 9999 && d.month >= 1 && d.month <= 12 && d.day >= 1 &&
         d.day <= DaysInMonth(d.year, static_cast<int>(d.month));
}

int64_t CurrentYear() { return CivilFromDays(SplitDate(Now()).dayNumber).year; }

std::optional<Ymd> FirstValid(std::initializer_list<Ymd> candidates) {
  for (const Ymd& c : candidates)
    if (IsValid(c)) return c;
  return std::nullopt;
}

std::optional<Ymd> ResolveWithMonthName(const std::vector<Token>& items) {
  std::vector<Token> numbers;
  int64_t month = 0;
  for (const Token& t : items) {
    if (t.kind == TokenKind::MonthName) month = t.value;
    else numbers.push_back(t);
  }
  if (numbers.size() == 1)
    return FirstValid({{CurrentYear(), month, numbers[0].value}, {ExpandYear(numbers[0]), month, 1}});
  if (numbers.size() != 2) return std::nullopt;
  const Token& a = numbers[0];
  const Token& b = numbers[1];
  return FirstValid({{ExpandYear(b), month, a.value}, {ExpandYear(a), month, b.value}});
}

std::optional<Ymd> ResolveNumbers(const std::vector<Token>& n) {
  if (n.size() == 2) {
    int64_t year = CurrentYear();
    return FirstValid({{year, n[0].value, n[1].value},
                       {year, n[1].value, n[0].value},
                       {ExpandYear(n[0]), n[1].value, 1},
                       {ExpandYear(n[1]), n[0].value, 1}});
  }
  if (n.size() != 3) return std::nullopt;
  if (n[0].digits >= 3) return FirstValid({{ExpandYear(n[0]), n[1].value, n[2].value}});
  // en-US month/day/year first, then year/month/day, then day/month/year.
  return FirstValid({{ExpandYear(n[2]), n[0].value, n[1].value},
                     {ExpandYear(n[0]), n[1].value, n[2].value},
                     {ExpandYear(n[2]), n[1].value, n[0].value}});
}

std::optional<Ymd> ResolveDate(const std::vector<Token>& items) {
  int monthNames = 0;
  for (const Token& t : items) monthNames += t.kind == TokenKind::MonthName;
  if (monthNames > 1) return std::nullopt;
  return monthNames == 1 ? ResolveWithMonthName(items) : ResolveNumbers(items);
}

}  // namespace

std::optional<Date> ParseDate(std::string_view text) {
  auto tokens = Tokenize(text);
  if (!tokens) return std::nullopt;
  auto pieces = Split(*tokens);
  if (!pieces || (pieces->dateItems.empty() && !pieces->time)) return std::nullopt;
  int64_t dayNumber = 0;
  if (!pieces->dateItems.empty()) {
    auto ymd = ResolveDate(pieces->dateItems);
    if (!ymd) return std::nullopt;
    dayNumber = DaysFromCivil(ymd->year, static_cast<int>(ymd->month), static_cast<int>(ymd->day));
  }
  int64_t second = 0;
  if (pieces->time) second = pieces->time->hour * 3600 + pieces->time->minute * 60 + pieces->time->second;
  return MakeDate(dayNumber, second);
}

std::string FormatDate(Date d) {
  DateParts p = SplitDate(d);
  char buf[40];
  if (p.dayNumber == 0) {
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", p.hour, p.minute, p.second);
  } else if (p.secondOfDay == 0) {
    std::snprintf(buf, sizeof buf, "%04lld-%02d-%02d", static_cast<long long>(p.year), p.month, p.day);
  } else {
    std::snprintf(buf, sizeof buf, "%04lld-%02d-%02d %02d:%02d:%02d", static_cast<long long>(p.year), p.month,
                  p.day, p.hour, p.minute, p.second);
  }
  return buf;
}

}  // namespace velmora::com::detail
