#include "ado/odbc/params.hpp"

#include <cmath>
#include <cstring>

#include "ado/dialect/dialect.hpp"
#include "ado/values.hpp"
#include "com/calendar.hpp"
#include "com/utf.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::ado::odbc {
namespace {

// The SQL type a value is declared with, from the type of its column.
SQLSMALLINT SqlTypeOf(int32_t adoType) {
  switch (adoType) {
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt: return SQL_SMALLINT;
    case adInteger:
    case adUnsignedSmallInt: return SQL_INTEGER;
    case adBigInt:
    case adUnsignedInt:
    case adUnsignedBigInt: return SQL_BIGINT;
    case adSingle: return SQL_REAL;
    case adDouble: return SQL_DOUBLE;
    case adNumeric:
    case adDecimal: return SQL_NUMERIC;
    case adBoolean: return SQL_BIT;
    case adDBDate: return SQL_TYPE_DATE;
    case adDBTime: return SQL_TYPE_TIME;
    case adDate:
    case adDBTimeStamp: return SQL_TYPE_TIMESTAMP;
    case adGUID: return SQL_GUID;
    case adLongVarWChar:
    case adLongVarChar: return SQL_WLONGVARCHAR;
    case adBinary:
    case adVarBinary: return SQL_VARBINARY;
    case adLongVarBinary: return SQL_LONGVARBINARY;
    default: return SQL_WVARCHAR;
  }
}

// Calendar parts of an OLE date (milliseconds kept).
SQL_TIMESTAMP_STRUCT TimestampOf(com::Date date) {
  const double days = std::floor(date.value);
  // Before the epoch the fraction counts forwards from midnight.
  const double fraction = date.value >= 0 ? date.value - days : std::ceil(date.value) - date.value;
  const int64_t dayNumber = date.value >= 0 ? static_cast<int64_t>(days) : static_cast<int64_t>(std::ceil(date.value));
  int64_t millis = std::llround(fraction * 86400000.0);
  int64_t day = dayNumber;
  if (millis >= 86400000) {
    millis -= 86400000;
    ++day;
  }
  const com::detail::CivilDate civil = com::detail::CivilFromDays(day);
  SQL_TIMESTAMP_STRUCT t{};
  t.year = static_cast<SQLSMALLINT>(civil.year);
  t.month = static_cast<SQLUSMALLINT>(civil.month);
  t.day = static_cast<SQLUSMALLINT>(civil.day);
  t.hour = static_cast<SQLUSMALLINT>(millis / 3600000);
  t.minute = static_cast<SQLUSMALLINT>(millis / 60000 % 60);
  t.second = static_cast<SQLUSMALLINT>(millis / 1000 % 60);
  t.fraction = static_cast<SQLUINTEGER>(millis % 1000 * 1000000);
  return t;
}

template <class T>
void Store(std::vector<char>& data, const T& value) {
  data.resize(sizeof(T));
  std::memcpy(data.data(), &value, sizeof(T));
}

std::optional<int64_t> IntegerOf(const com::Variant& v) {
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  return std::nullopt;
}

}  // namespace

BoundParams::BoundParams(const std::vector<detail::Session::Param>& params, const dialect::Dialect& dialect, bool wide,
                         const std::string& what)
    : slots_(params.size()), dialect_(dialect), wide_(wide) {
  for (size_t i = 0; i < params.size(); ++i) {
    // Engines would alter malformed UTF-8 or cut a string at a NUL: such a
    // value is refused before anything is sent.
    if (const auto* text = params[i].value.TryGet<std::string>()) {
      com::detail::RequireEngineText(*text, what + ": the text of parameter " + std::to_string(i + 1));
    }
    Fill(slots_[i], params[i].value, params[i].adoType);
  }
}

void BoundParams::Fill(Slot& slot, const com::Variant& value, int32_t adoType) const {
  slot.sqlType = SqlTypeOf(dialect_.ParameterType(adoType));
  if (value.IsNull() || value.IsEmpty()) {
    slot.cType = SQL_C_CHAR;
    slot.indicator = SQL_NULL_DATA;
    slot.columnSize = 1;
    return;
  }
  if (auto n = IntegerOf(value)) {
    slot.cType = SQL_C_SBIGINT;
    Store(slot.data, *n);
  } else if (auto b = value.TryGet<bool>()) {
    slot.cType = SQL_C_BIT;
    Store(slot.data, static_cast<unsigned char>(*b ? 1 : 0));
  } else if (auto f = value.TryGet<float>()) {
    slot.cType = SQL_C_DOUBLE;
    Store(slot.data, static_cast<double>(*f));
  } else if (auto d = value.TryGet<double>()) {
    slot.cType = SQL_C_DOUBLE;
    Store(slot.data, *d);
  } else if (auto date = value.TryGet<com::Date>()) {
    slot.cType = SQL_C_TYPE_TIMESTAMP;
    Store(slot.data, TimestampOf(*date));
    slot.columnSize = 23;
    slot.digits = 3;
    // A date column takes the day; a time column the time of day.
    if (slot.sqlType == SQL_TYPE_DATE) slot.sqlType = SQL_TYPE_TIMESTAMP;
    if (slot.sqlType == SQL_TYPE_TIME) slot.sqlType = SQL_TYPE_TIMESTAMP;
  } else if (auto bytes = value.TryGet<com::ByteArray>()) {
    slot.cType = SQL_C_BINARY;
    slot.data.assign(bytes->begin(), bytes->end());
  } else {
    // Text, and exact numerics as their text (never through a double).
    const std::string text = value.IsString() ? value.Get<std::string>() : com::CStr(value);
    if (wide_) {
      const std::u16string units = com::detail::Utf8ToUtf16(text);
      slot.cType = SQL_C_WCHAR;
      const auto* first = reinterpret_cast<const char*>(units.data());
      slot.data.assign(first, first + units.size() * sizeof(char16_t));
    } else {
      slot.cType = SQL_C_CHAR;
      slot.data.assign(text.begin(), text.end());
    }
    if (slot.sqlType == SQL_NUMERIC) slot.digits = 28;
  }
  if (slot.cType == SQL_C_CHAR || slot.cType == SQL_C_WCHAR || slot.cType == SQL_C_BINARY) {
    slot.indicator = static_cast<SQLLEN>(slot.data.size());
    slot.columnSize = std::max<SQLULEN>(slot.data.size(), 1);
    if (slot.sqlType == SQL_NUMERIC) slot.columnSize = 38;
  } else {
    slot.indicator = 0;
  }
}

SQLRETURN BoundParams::BindTo(SQLHSTMT stmt) {
  for (size_t i = 0; i < slots_.size(); ++i) {
    Slot& s = slots_[i];
    if (s.data.empty()) s.data.resize(1);  // a valid address even for Null and empty values
    const SQLRETURN rc = SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT, s.cType,
                                          s.sqlType, s.columnSize, s.digits, s.data.data(),
                                          static_cast<SQLLEN>(s.data.size()), &s.indicator);
    if (!SQL_SUCCEEDED(rc)) return rc;
  }
  return SQL_SUCCESS;
}

}  // namespace velmora::ado::odbc
