// The type-mapping table from driver column descriptions to DataTypeEnum,
// sizes and attributes (docs/data-access.md keeps the same table).
#include <algorithm>
#include <cctype>

#include "ado/dialect/dialect.hpp"
#include "ado/odbc/result.hpp"
#include "ado/odbc/session.hpp"
#include "velmora/ado/types.hpp"

namespace velmora::ado::odbc {
namespace {

constexpr int32_t kLongTextSize = 1073741823;
constexpr int32_t kLongBinarySize = 2147483647;
// Variable columns wider than this are treated as long (unlimited) ones.
constexpr SQLULEN kLongThreshold = 8000;

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool StartsWith(const std::string& s, const char* prefix) { return s.rfind(prefix, 0) == 0; }

int32_t ClampSize(SQLULEN size) {
  return size > static_cast<SQLULEN>(INT32_MAX) ? INT32_MAX : static_cast<int32_t>(size);
}

void Fixed(ColumnPlan& p, int32_t type, int32_t size, uint8_t precision, FetchKind kind) {
  p.info.type = type;
  p.info.definedSize = size;
  p.info.precision = precision;
  p.kind = kind;
  p.info.attributes |= adFldFixed;
}

// Long values get the long type and size and adFldLong; others their own
// type, their column size and, when fixed-length, adFldFixed.
void Size(ColumnPlan& p, const ColumnDescription& d, bool isLong, int32_t longType, int32_t longSize,
          int32_t shortType, bool fixedLength) {
  if (isLong) {
    p.info.type = longType;
    p.info.definedSize = longSize;
    p.info.attributes |= adFldLong;
    p.isLong = true;
  } else {
    p.info.type = shortType;
    p.info.definedSize = ClampSize(d.columnSize);
    if (fixedLength) p.info.attributes |= adFldFixed;
  }
}

void Text(ColumnPlan& p, const ColumnDescription& d, bool fixedLength) {
  const bool isLong = d.sqlType == SQL_LONGVARCHAR || d.sqlType == SQL_WLONGVARCHAR || d.columnSize == 0 ||
                      d.columnSize > kLongThreshold;
  p.kind = FetchKind::Text;
  Size(p, d, isLong, adLongVarWChar, kLongTextSize, fixedLength ? adWChar : adVarWChar, fixedLength);
}

void Binary(ColumnPlan& p, const ColumnDescription& d) {
  const bool isLong = d.sqlType == SQL_LONGVARBINARY || d.columnSize == 0 || d.columnSize > kLongThreshold;
  const bool fixedLength = d.sqlType == SQL_BINARY;
  p.kind = FetchKind::Binary;
  Size(p, d, isLong, adLongVarBinary, kLongBinarySize, fixedLength ? adBinary : adVarBinary, fixedLength);
}

void Numeric(ColumnPlan& p, const ColumnDescription& d) {
  Fixed(p, adNumeric, 19, static_cast<uint8_t>(std::min<SQLULEN>(d.columnSize, 38)), FetchKind::NumericText);
  p.info.scale = static_cast<uint8_t>(std::clamp<int>(d.decimalDigits, 0, 38));
}

void Currency(ColumnPlan& p) {
  Fixed(p, adCurrency, 8, 19, FetchKind::CurrencyText);
  p.info.scale = 4;
}

void Integer(ColumnPlan& p, const ColumnDescription& d) {
  const bool u = d.isUnsigned;
  switch (d.sqlType) {
    case SQL_TINYINT: Fixed(p, u ? adUnsignedTinyInt : adTinyInt, 1, 3, FetchKind::Int); break;
    case SQL_SMALLINT: Fixed(p, u ? adUnsignedSmallInt : adSmallInt, 2, 5, FetchKind::Int); break;
    case SQL_INTEGER: Fixed(p, u ? adUnsignedInt : adInteger, 4, 10, FetchKind::Int); break;
    default: Fixed(p, u ? adUnsignedBigInt : adBigInt, 8, u ? 20 : 19, u ? FetchKind::UInt : FetchKind::Int); break;
  }
}

bool PlanAs(ColumnPlan& p, const ColumnDescription& d, SQLSMALLINT sqlType);

// SQLite integers are 64-bit whatever the declared type. A column the driver
// types by its first value (an expression such as SUM or COUNT, or a column
// declared without a type) is reported as "integer" in lower case -- declared
// INTEGER and INT come back in capitals -- and gets adBigInt, so that its
// type holds every value it can return (as SUM and COUNT are int8 on
// PostgreSQL). INT8 is the 64-bit name the driver reports as INTEGER.
bool IsSqlite64BitInteger(const ColumnDescription& d) {
  return d.typeName == "integer" || Lower(d.typeName) == "int8";
}

// The SQLite driver reports exact numerics as doubles or text; the declared
// type name says what the column holds.
bool PlanByTypeName(ColumnPlan& p, const ColumnDescription& d) {
  const std::string name = Lower(d.typeName);
  if (IsSqlite64BitInteger(d)) return PlanAs(p, d, SQL_BIGINT);
  if (StartsWith(name, "numeric") || StartsWith(name, "decimal")) {
    Numeric(p, d);
    return true;
  }
  if (name == "blob" || name == "image" || name == "longblob" || name == "bytea") {
    PlanAs(p, d, SQL_LONGVARBINARY);
    return true;
  }
  // The server's type names that the driver reports as another type.
  if (StartsWith(name, "nchar") || StartsWith(name, "char(") || name == "char") return PlanAs(p, d, SQL_WCHAR);
  if (name == "ntext") return PlanAs(p, d, SQL_WLONGVARCHAR);
  if (StartsWith(name, "binary")) return PlanAs(p, d, SQL_BINARY);
  if (name == "real") return PlanAs(p, d, SQL_REAL);
  if (name == "uniqueidentifier") return PlanAs(p, d, SQL_GUID);
  if (name == "smalldatetime") return PlanAs(p, d, SQL_TYPE_TIMESTAMP);
  if (StartsWith(name, "money") || StartsWith(name, "currency") || StartsWith(name, "smallmoney")) {
    Currency(p);
    return true;
  }
  return false;
}

void PlanBySqlType(ColumnPlan& p, const ColumnDescription& d);

// Plans the column as the driver would plan one of `sqlType`.
bool PlanAs(ColumnPlan& p, const ColumnDescription& d, SQLSMALLINT sqlType) {
  ColumnDescription as = d;
  as.sqlType = sqlType;
  PlanBySqlType(p, as);
  return true;
}

void PlanBySqlType(ColumnPlan& p, const ColumnDescription& d) {
  switch (d.sqlType) {
    case SQL_CHAR:
    case SQL_WCHAR: Text(p, d, true); break;
    case SQL_VARCHAR:
    case SQL_WVARCHAR:
    case SQL_LONGVARCHAR:
    case SQL_WLONGVARCHAR: Text(p, d, false); break;
    case SQL_DECIMAL:
    case SQL_NUMERIC: Numeric(p, d); break;
    case SQL_BIT: Fixed(p, adBoolean, 2, 255, FetchKind::Bit); break;
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT: Integer(p, d); break;
    case SQL_REAL: Fixed(p, adSingle, 4, 7, FetchKind::Float); break;
    case SQL_FLOAT:
    case SQL_DOUBLE: Fixed(p, adDouble, 8, 15, FetchKind::Double); break;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY: Binary(p, d); break;
    case SQL_TYPE_DATE:
    case SQL_DATE: Fixed(p, adDBDate, 6, 10, FetchKind::Timestamp); break;
    case SQL_TYPE_TIME:
    case SQL_TIME: Fixed(p, adDBTime, 6, 8, FetchKind::Time); break;
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
      Fixed(p, adDBTimeStamp, 16, static_cast<uint8_t>(std::min<SQLULEN>(d.columnSize, 255)), FetchKind::Timestamp);
      p.info.scale = static_cast<uint8_t>(std::clamp<int>(d.decimalDigits, 0, 9));
      break;
    case SQL_GUID: Fixed(p, adGUID, 16, 255, FetchKind::GuidText); break;
    default: {
      // Intervals, driver-specific types: their text.
      ColumnDescription asText = d;
      asText.sqlType = SQL_WVARCHAR;
      Text(p, asText, false);
      break;
    }
  }
}

}  // namespace

ColumnPlan PlanColumn(const ColumnDescription& d, const dialect::Dialect& dialect) {
  ColumnPlan p;
  p.info.name = d.name;
  if (d.nullable != SQL_NO_NULLS) p.info.attributes |= adFldIsNullable | adFldMayBeNull;
  if (d.updatable == SQL_ATTR_WRITE) p.info.attributes |= adFldUpdatable;
  else if (d.updatable == SQL_ATTR_READWRITE_UNKNOWN) p.info.attributes |= adFldUnknownUpdatable;
  const bool exact = d.sqlType == SQL_NUMERIC || d.sqlType == SQL_DECIMAL;
  if (exact && dialect.NumericIsMoney(static_cast<int64_t>(d.columnSize), d.decimalDigits)) {
    Currency(p);
    return p;
  }
  const bool byName = dialect.TypesColumnsByDeclaredName(d.typeName) && PlanByTypeName(p, d);
  if (!byName) PlanBySqlType(p, d);
  return p;
}

}  // namespace velmora::ado::odbc

namespace velmora::ado::detail {

ColumnInfo DescribeCatalogColumn(int16_t sqlType, int64_t columnSize, int16_t decimalDigits, int16_t nullable,
                                 const std::string& typeName, const dialect::Dialect& dialect) {
  odbc::ColumnDescription d;
  d.sqlType = sqlType;
  d.columnSize = columnSize < 0 ? 0 : static_cast<SQLULEN>(columnSize);
  d.decimalDigits = decimalDigits;
  d.nullable = nullable;
  d.typeName = typeName;
  return odbc::PlanColumn(d, dialect).info;
}

}  // namespace velmora::ado::detail
