#include "velmora/fields/sql_text.hpp"

#include <cstdio>

#include "velmora/com/conversions.hpp"
#include "velmora/com/datetime.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {

namespace {

// The date a value stands for: the date 0 when its text is empty (an Empty
// value or ""), otherwise the value converted to a date.
com::Date DateOfArgument(const com::Variant& argument) {
  if (const auto* date = argument.TryGet<com::Date>()) return *date;
  if (argument.IsEmpty() || com::CStr(argument).empty()) return com::Date(0.0);
  return com::CDate(argument);
}

std::string DateLiteral(com::Date d, bool noTime) {
  char text[64];
  if (noTime) {
    std::snprintf(text, sizeof text, "'%02d%02d%02d'", com::Year(d), com::Month(d), com::Day(d));
  } else {
    std::snprintf(text, sizeof text, "CONVERT(DATETIME, '%02d-%02d-%02d %02d:%02d:%02d', 102)", com::Year(d),
                  com::Month(d), com::Day(d), com::Hour(d), com::Minute(d), com::Second(d));
  }
  return text;
}

std::string QuotedText(const std::string& text) {
  std::string quoted;
  quoted.reserve(text.size() + 2);
  quoted += '\'';
  for (char c : text) {
    if (c == '\'') quoted += '\'';
    quoted += c;
  }
  quoted += '\'';
  return quoted;
}

}  // namespace

std::string SQLName(const std::string& Name) {
  std::string quoted;
  quoted.reserve(Name.size() + 2);
  quoted += '[';
  for (char c : Name) {
    if (c == '.') {
      quoted += "].[";
    } else {
      quoted += c;
    }
  }
  quoted += ']';
  return quoted;
}

std::string QueryArgument(const com::Variant& Argument, int16_t vType, int32_t Flags) {
  try {
    const int16_t type = vType != 0 ? vType : Argument.VarType();
    if (Argument.IsNull()) return "Null";
    if (type == com::vbDate) return DateLiteral(DateOfArgument(Argument), (Flags & QAFNoTime) != 0);
    if (type == com::vbString) return QuotedText(com::CStr(Argument));
    return com::CStr(Argument);
  } catch (...) {
    Reraise(ErrorSource("modAdoSupport", "QueryArgument"));
  }
}

}  // namespace velmora
