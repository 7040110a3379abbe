// Encoding and decoding of one flag value as "CCCC:~:VALUE".
#include "flags/flag_text.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::flags {

namespace {

constexpr std::string_view kMarker = ":~:";
constexpr std::size_t kCodeDigits = 4;
constexpr std::string_view kDatePattern = "yyyymmddhhmmss";

[[noreturn]] void RaiseBadDataType() { com::Raise(com::errLibrary, "bad data type"); }

bool SameBits(float a, float b) { return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b); }
bool SameBits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }
float ParseBack(const std::string& text, float) { return com::CSng(com::Variant(text)); }
double ParseBack(const std::string& text, double) { return com::CDbl(com::Variant(text)); }

// The runtime's standard text of the number when it reads back as the same
// number; otherwise enough digits to read back exactly (17 for a double, 9
// for a single), in the same style ("1.5", "1E+20").
template <class Real>
std::string RealText(Real value) {
  std::string text = com::CStr(com::Variant(value));
  try {
    if (SameBits(ParseBack(text, value), value)) return text;
  } catch (const com::Error&) {
    // not readable back: fall through to the exact form
  }
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general,
                                    std::numeric_limits<Real>::max_digits10);
  text.assign(buffer.data(), result.ptr);
  std::replace(text.begin(), text.end(), 'e', 'E');
  return text;
}

std::string CodeText(int code) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text(kCodeDigits, '0');
  for (std::size_t i = kCodeDigits; i-- > 0; code >>= 4) text[i] = kDigits[code & 0xF];
  return text;
}

std::string StringText(const std::string& text, const std::string& controlChars) {
  if (Support().StringHasAnyChar(text, controlChars))
    return CodeText(kControlStringCode) + std::string(kMarker) + Support().ControlStringEncode(text);
  return CodeText(com::vbString) + std::string(kMarker) + text;
}

// yyyymmddhhmmss, always 14 digits (years before 1000 too).
std::string DateText(com::Date date) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d", com::Year(date), com::Month(date),
                com::Day(date), com::Hour(date), com::Minute(date), com::Second(date));
  return text.data();
}

std::string ValueText(const com::Variant& value) {
  const auto& storage = value.Value();
  if (auto p = std::get_if<float>(&storage)) return RealText(*p);
  if (auto p = std::get_if<double>(&storage)) return RealText(*p);
  if (auto p = std::get_if<com::Date>(&storage)) return DateText(*p);
  return com::CStr(value);
}

bool IsTextType(int16_t type) {
  switch (type) {
    case com::vbInteger: case com::vbLong: case com::vbSingle: case com::vbDouble: case com::vbCurrency:
    case com::vbDate: case com::vbBoolean: case com::vbByte:
      return true;
    default:
      return false;
  }
}

int ParseCode(std::string_view text) {
  const std::string_view digits = text.substr(0, kCodeDigits);
  int code = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
  const bool allHex = digits.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
  if (digits.empty() || !allHex || result.ptr != digits.data() + digits.size()) com::Raise(com::errTypeMismatch);
  return code;
}

int Digits(std::string_view text, std::size_t from, std::size_t count) {
  int value = 0;
  for (std::size_t i = from; i < from + count; ++i) value = value * 10 + (text[i] - '0');
  return value;
}

// yyyymmddhhmmss back to a date. Parts out of range (month 13...) are not
// rolled over: they raise 13 like any text that is not a date.
com::Date ParseDate(std::string_view text) {
  const bool fourteenDigits =
      text.size() == kDatePattern.size() && text.find_first_not_of("0123456789") == std::string_view::npos;
  if (!fourteenDigits) com::Raise(com::errTypeMismatch);
  const int year = Digits(text, 0, 4), month = Digits(text, 4, 2), day = Digits(text, 6, 2);
  const int hour = Digits(text, 8, 2), minute = Digits(text, 10, 2), second = Digits(text, 12, 2);
  if (year < 100 || hour > 23 || minute > 59 || second > 59) com::Raise(com::errTypeMismatch);
  const double date = com::DateSerial(year, month, day).value;
  const double time = com::TimeSerial(hour, minute, second).value;
  // Before 1899-12-30 the time still counts forwards from midnight.
  const com::Date result(date < 0 ? date - time : date + time);
  if (com::Year(result) != year || com::Month(result) != month || com::Day(result) != day)
    com::Raise(com::errTypeMismatch);
  return result;
}

com::Variant ParseValue(int code, const std::string& text) {
  const com::Variant source(text);
  switch (code) {
    case com::vbInteger: return com::CInt(source);
    case com::vbLong: return com::CLng(source);
    case com::vbSingle: return com::CSng(source);
    case com::vbDouble: return com::CDbl(source);
    case com::vbCurrency: return com::CCur(source);
    case com::vbByte: return com::CByte(source);
    case com::vbBoolean: return com::CBool(source);
    case com::vbDate: return ParseDate(text);
    case com::vbString: return text;
    case kControlStringCode: return Support().ControlStringDecode(text);
    default: RaiseBadDataType();
  }
}

}  // namespace

std::string EncodeFlagValue(const com::Variant& value, const std::string& controlChars) {
  if (auto text = value.TryGet<std::string>()) return StringText(*text, controlChars);
  const int16_t type = value.VarType();
  if (!IsTextType(type)) RaiseBadDataType();
  return CodeText(type) + std::string(kMarker) + ValueText(value);
}

com::Variant DecodeFlagValue(std::string_view text) {
  const int code = ParseCode(text);
  if (text.size() < kCodeDigits || text.substr(kCodeDigits).substr(0, kMarker.size()) != kMarker) RaiseBadDataType();
  return ParseValue(code, std::string(text.substr(kCodeDigits + kMarker.size())));
}

}  // namespace velmora::flags
