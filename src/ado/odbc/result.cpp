#include "ado/odbc/result.hpp"

#include <cstring>
#include <limits>
#include <utility>

#include "ado/error_map.hpp"
#include "ado/values.hpp"
#include "com/exact_number.hpp"
#include "com/utf.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::odbc {
namespace {

constexpr size_t kBlockRows = 256;
// Bound text buffers hold this many characters; longer values are read whole
// with SQLGetData.
constexpr size_t kBoundTextChars = 128;
constexpr size_t kBoundBinaryBytes = 512;
constexpr size_t kExactTextBytes = 80;  // numeric, currency and GUID text
constexpr size_t kChunkBytes = 8192;

SQLSMALLINT CType(FetchKind kind, bool wide) {
  switch (kind) {
    case FetchKind::Int: return SQL_C_SBIGINT;
    case FetchKind::UInt: return SQL_C_UBIGINT;
    case FetchKind::Float: return SQL_C_FLOAT;
    case FetchKind::Double: return SQL_C_DOUBLE;
    case FetchKind::Bit: return SQL_C_BIT;
    case FetchKind::Timestamp: return SQL_C_TYPE_TIMESTAMP;
    case FetchKind::Time: return SQL_C_TYPE_TIME;
    case FetchKind::Text: return wide ? SQL_C_WCHAR : SQL_C_CHAR;
    case FetchKind::Binary: return SQL_C_BINARY;
    default: return SQL_C_CHAR;
  }
}

size_t FixedBytes(FetchKind kind) {
  switch (kind) {
    case FetchKind::Int:
    case FetchKind::UInt: return sizeof(int64_t);
    case FetchKind::Float: return sizeof(float);
    case FetchKind::Double: return sizeof(double);
    case FetchKind::Bit: return 1;
    case FetchKind::Timestamp: return sizeof(SQL_TIMESTAMP_STRUCT);
    case FetchKind::Time: return sizeof(SQL_TIME_STRUCT);
    default: return kExactTextBytes;
  }
}

std::string& StringSlot(com::Variant& v) {
  if (auto s = v.TryGet<std::string>()) {
    s->clear();
    return *s;
  }
  v = std::string();
  return *v.TryGet<std::string>();
}

void StoreText(com::Variant& out, const char* data, size_t bytes, bool wide) {
  std::string& s = StringSlot(out);
  if (wide) {
    s.reserve(bytes / 2);
    com::detail::AppendUtf8FromUtf16(s, std::u16string_view(reinterpret_cast<const char16_t*>(data), bytes / 2));
  } else {
    s.assign(data, bytes);
  }
}

[[noreturn]] void Overflow(const detail::ColumnInfo& c, std::string_view value) {
  com::Raise(com::errOverflow, "Overflow: the value " + std::string(value) + " of field '" + c.name +
                                   "' does not fit its type");
}

[[noreturn]] void NotANumber(const detail::ColumnInfo& c, std::string_view value) {
  com::Raise(com::errTypeMismatch, "Type mismatch: the value '" + std::string(value) + "' of field '" + c.name +
                                       "' is not a number");
}

// The number a numeric or currency column holds as text; the plain decimal
// form is read directly, others (SQLite hands over a REAL in such a column
// with an exponent) through the exact parser. Text that is no number (SQLite
// keeps whatever a column is given) is a type mismatch, a number beyond the
// type an overflow; both name the field.
template <class T, class Direct, class Exact>
T ExactValue(const detail::ColumnInfo& c, std::string_view text, Direct direct, Exact exact) {
  if (auto value = direct(text)) return *value;
  const auto number = com::detail::ParseNumber(text);
  if (!number) NotANumber(c, text);
  try {
    return exact(*number);
  } catch (const com::Error&) {
    Overflow(c, text);
  }
}

// An integer arrives as its column's Variant type when it fits, else as the
// narrowest wider one that holds it (Long, then Decimal: there is no 64-bit
// Variant). SQLite does not hold a column to its declared type, so an
// INTEGER column may return any 64-bit value.
void StoreInteger(com::Variant& out, int64_t v, int32_t type) {
  const bool byteColumn = type == adUnsignedTinyInt;
  const bool shortColumn = type == adSmallInt || type == adTinyInt;
  const bool longColumn = type == adInteger || type == adUnsignedSmallInt;
  if (byteColumn && v >= 0 && v <= UINT8_MAX) {
    out = static_cast<uint8_t>(v);
  } else if (shortColumn && v >= INT16_MIN && v <= INT16_MAX) {
    out = static_cast<int16_t>(v);
  } else if ((byteColumn || shortColumn || longColumn) && v >= INT32_MIN && v <= INT32_MAX) {
    out = static_cast<int32_t>(v);
  } else {
    out = detail::DecimalFromInt64(v);
  }
}

com::Date DateOf(const SQL_TIMESTAMP_STRUCT& t) {
  return detail::DateFromParts(t.year, t.month, t.day, t.hour, t.minute, t.second, t.fraction);
}

com::Date TimeOf(const SQL_TIME_STRUCT& t) {
  return com::Date((t.hour * 3600.0 + t.minute * 60.0 + t.second) / 86400.0);
}

std::string GuidText(std::string_view raw) {
  std::string s = "{";
  for (char c : raw) {
    if (c == '{' || c == '}') continue;
    s.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
  }
  return s + "}";
}

// Converts a complete value (bytes of the C type of its column) into `out`.
void StoreValue(com::Variant& out, const ColumnPlan& plan, const char* data, size_t bytes, bool wide) {
  const detail::ColumnInfo& c = plan.info;
  switch (plan.kind) {
    case FetchKind::Int: {
      int64_t v;
      std::memcpy(&v, data, sizeof v);
      StoreInteger(out, v, c.type);
      break;
    }
    case FetchKind::UInt: {
      uint64_t v;
      std::memcpy(&v, data, sizeof v);
      out = detail::DecimalFromUInt64(v);
      break;
    }
    case FetchKind::Float: {
      float v;
      std::memcpy(&v, data, sizeof v);
      out = v;
      break;
    }
    case FetchKind::Double: {
      double v;
      std::memcpy(&v, data, sizeof v);
      out = v;
      break;
    }
    case FetchKind::Bit: out = data[0] != 0; break;
    case FetchKind::Timestamp: {
      SQL_TIMESTAMP_STRUCT t;
      std::memcpy(&t, data, sizeof t);
      out = DateOf(t);
      break;
    }
    case FetchKind::Time: {
      SQL_TIME_STRUCT t;
      std::memcpy(&t, data, sizeof t);
      out = TimeOf(t);
      break;
    }
    case FetchKind::Text: StoreText(out, data, bytes, wide); break;
    case FetchKind::Binary: out = com::ByteArray(data, data + bytes); break;
    case FetchKind::NumericText:
      out = ExactValue<com::Decimal>(c, std::string_view(data, bytes), detail::DecimalFromText,
                                     com::detail::ExactToDecimal);
      break;
    case FetchKind::CurrencyText:
      out = ExactValue<com::Currency>(c, std::string_view(data, bytes), detail::CurrencyFromText,
                                      com::detail::ExactToCurrency);
      break;
    case FetchKind::GuidText: out = GuidText(std::string_view(data, bytes)); break;
  }
}

bool IsVariableKind(FetchKind k) { return k == FetchKind::Text || k == FetchKind::Binary; }

}  // namespace

struct OdbcResult::Binding {
  std::vector<char> buffer;
  std::vector<SQLLEN> indicators;
  size_t elementBytes = 0;  // 0: not bound
};

void Fail(SQLSMALLINT kind, SQLHANDLE handle, bool wide, detail::DiagnosticsListener* listener,
          const std::string& what) {
  detail::RaiseProvider(listener, what, ReadDiagnostics(kind, handle, wide));
}

OdbcResult::OdbcResult(std::shared_ptr<void> keepAlive, StmtHandle stmt, ResultOptions options,
                       std::function<void(StmtHandle&)> execute)
    : keepAlive_(std::move(keepAlive)), stmt_(std::move(stmt)), options_(options), execute_(std::move(execute)) {
  Describe();
  Bind();
  ClaimStream();
}

OdbcResult::~OdbcResult() {
  if (streaming_) options_.stream->Release(this);
  if (stmt_) Watched(SQLCloseCursor);
}

template <typename Call>
SQLRETURN OdbcResult::Watched(Call call) {
  if (!options_.watch) return call(stmt_.Get());
  auto guard = options_.watch->Watch(options_.timeoutSeconds, stmt_.Get());
  return call(stmt_.Get());
}

void OdbcResult::ClaimStream() { streaming_ = options_.stream != nullptr && options_.stream->Claim(this); }

void OdbcResult::EndOfRows() {
  done_ = true;
  Watched([](SQLHSTMT h) { return SQLFreeStmt(h, SQL_CLOSE); });
  if (streaming_) options_.stream->Release(this);
  streaming_ = false;
}

// Reads the rest of the result, so that the rows read before an error are
// kept; the error is raised by the Fetch that reaches it.
void OdbcResult::Settle() {
  settled_ = true;
  while (!done_) {
    const size_t first = settledRows_.size();
    settledRows_.resize(first + arraySize_);
    size_t n = 0;
    try {
      n = options_.blockReads ? FetchBlock(settledRows_, first, arraySize_) : FetchSingle(settledRows_, first, 1);
    } catch (...) {
      settledError_ = std::current_exception();
    }
    settledRows_.resize(first + n);
    if (settledError_) break;
  }
  EndOfRows();
}

size_t OdbcResult::FetchSettled(std::vector<detail::Row>& rows, size_t first, size_t count) {
  size_t n = 0;
  for (; n < count && first + n < rows.size() && settledNext_ < settledRows_.size(); ++n) {
    rows[first + n] = std::move(settledRows_[settledNext_++]);
  }
  if (n == 0 && settledError_) std::rethrow_exception(std::exchange(settledError_, nullptr));
  return n;
}

void OdbcResult::Fail(const std::string& what) {
  odbc::Fail(SQL_HANDLE_STMT, stmt_.Get(), options_.wide, options_.listener,
             options_.watch ? options_.watch->Explain(what) : what);
}

void OdbcResult::Describe() {
  SQLSMALLINT count = 0;
  if (!SQL_SUCCEEDED(SQLNumResultCols(stmt_.Get(), &count))) Fail("Reading the result columns failed");
  for (SQLSMALLINT i = 1; i <= count; ++i) {
    ColumnDescription d;
    SQLWCHAR wname[256] = {};
    SQLCHAR name[512] = {};
    SQLSMALLINT nameLength = 0;
    SQLRETURN rc;
    if (options_.wide) {
      rc = SQLDescribeColW(stmt_.Get(), static_cast<SQLUSMALLINT>(i), wname, 256, &nameLength, &d.sqlType,
                           &d.columnSize, &d.decimalDigits, &d.nullable);
      com::detail::AppendUtf8FromUtf16(
          d.name, std::u16string_view(reinterpret_cast<const char16_t*>(wname),
                                      std::min<size_t>(static_cast<size_t>(nameLength), 255)));
    } else {
      rc = SQLDescribeCol(stmt_.Get(), static_cast<SQLUSMALLINT>(i), name, sizeof name, &nameLength, &d.sqlType,
                          &d.columnSize, &d.decimalDigits, &d.nullable);
      d.name.assign(reinterpret_cast<const char*>(name));
    }
    if (!SQL_SUCCEEDED(rc)) Fail("Describing result column " + std::to_string(i) + " failed");
    SQLLEN flag = 0;
    SQLColAttribute(stmt_.Get(), static_cast<SQLUSMALLINT>(i), SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &flag);
    d.isUnsigned = flag == SQL_TRUE && (d.sqlType == SQL_TINYINT || d.sqlType == SQL_SMALLINT ||
                                        d.sqlType == SQL_INTEGER || d.sqlType == SQL_BIGINT);
    SQLColAttribute(stmt_.Get(), static_cast<SQLUSMALLINT>(i), SQL_DESC_UPDATABLE, nullptr, 0, nullptr,
                    &d.updatable);
    auto text = [&](SQLUSMALLINT field) {
      char buf[256] = {};
      SQLSMALLINT len = 0;
      if (!SQL_SUCCEEDED(SQLColAttribute(stmt_.Get(), static_cast<SQLUSMALLINT>(i), field, buf, sizeof buf, &len,
                                         nullptr))) {
        return std::string();
      }
      return std::string(buf);
    };
    d.typeName = text(SQL_DESC_TYPE_NAME);
    ColumnPlan plan = PlanColumn(d, *options_.dialect);
    plan.info.baseTable = text(SQL_DESC_BASE_TABLE_NAME);
    plan.info.baseColumn = text(SQL_DESC_BASE_COLUMN_NAME);
    plan.info.baseSchema = text(SQL_DESC_SCHEMA_NAME);
    plan.info.baseCatalog = text(SQL_DESC_CATALOG_NAME);
    infos_.push_back(plan.info);
    plans_.push_back(std::move(plan));
  }
}

void OdbcResult::Bind() {
  bindings_.resize(plans_.size());
  if (options_.blockReads) {
    arraySize_ = kBlockRows;
    SQLSetStmtAttr(stmt_.Get(), SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0);
    if (!SQL_SUCCEEDED(SQLSetStmtAttr(stmt_.Get(), SQL_ATTR_ROW_ARRAY_SIZE,
                                      reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(arraySize_)), 0)) ||
        !SQL_SUCCEEDED(SQLSetStmtAttr(stmt_.Get(), SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0))) {
      arraySize_ = 1;
      options_.blockReads = false;
    }
  }
  // One row at a time: bound columns spare a driver call per value where the
  // driver can still read a bound column whole (a value longer than its
  // buffer); otherwise every value is read by SQLGetData.
  if (!options_.blockReads && !options_.bindSingleRows) return;
  for (size_t i = 0; i < plans_.size(); ++i) {
    const ColumnPlan& p = plans_[i];
    if (p.isLong) continue;
    Binding& b = bindings_[i];
    if (p.kind == FetchKind::Text) {
      const size_t chars = std::min<size_t>(static_cast<size_t>(std::max(p.info.definedSize, 1)), kBoundTextChars);
      b.elementBytes = options_.wide ? (chars + 1) * 2 : chars * 4 + 1;
    } else if (p.kind == FetchKind::Binary) {
      b.elementBytes = std::min<size_t>(static_cast<size_t>(std::max(p.info.definedSize, 1)), kBoundBinaryBytes);
    } else {
      b.elementBytes = FixedBytes(p.kind);
    }
    b.buffer.resize(b.elementBytes * arraySize_);
    b.indicators.resize(arraySize_);
    if (!SQL_SUCCEEDED(SQLBindCol(stmt_.Get(), static_cast<SQLUSMALLINT>(i + 1), CType(p.kind, options_.wide),
                                  b.buffer.data(), static_cast<SQLLEN>(b.elementBytes), b.indicators.data()))) {
      Fail("Binding result column '" + p.info.name + "' failed");
    }
  }
}

size_t OdbcResult::Fetch(std::vector<detail::Row>& rows, size_t first, size_t count) {
  if (settled_) return FetchSettled(rows, first, count);
  if (done_ || count == 0) return 0;
  return options_.blockReads ? FetchBlock(rows, first, count) : FetchSingle(rows, first, count);
}

size_t OdbcResult::FetchBlock(std::vector<detail::Row>& rows, size_t first, size_t count) {
  // The block size is fixed at binding time; the cursor asks for PreferredBlock().
  (void)count;
  const SQLRETURN rc = Watched(SQLFetch);
  if (rc == SQL_NO_DATA) {
    EndOfRows();
    return 0;
  }
  if (!SQL_SUCCEEDED(rc)) Fail("Fetching rows failed");
  const size_t n = std::min<size_t>(fetched_, rows.size() - first);
  for (size_t r = 0; r < n; ++r) {
    detail::Row& row = rows[first + r];
    row.resize(plans_.size());
    bool positioned = false;
    for (size_t c = 0; c < plans_.size(); ++c) {
      const bool whole = !FitsBound(c, r);
      if (!whole) {
        StoreBound(c, r, row[c]);
        continue;
      }
      if (!positioned) {
        if (!SQL_SUCCEEDED(SQLSetPos(stmt_.Get(), static_cast<SQLSETPOSIROW>(r + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE))) {
          Fail("Positioning on a row to read a long value failed");
        }
        positioned = true;
      }
      ReadWhole(c, row[c]);
    }
  }
  if (fetched_ < arraySize_) EndOfRows();
  return n;
}

// True when the bound buffer holds the whole value (or a Null).
bool OdbcResult::FitsBound(size_t column, size_t row) const {
  const Binding& b = bindings_[column];
  if (b.elementBytes == 0) return false;
  const SQLLEN ind = b.indicators[row];
  if (ind == SQL_NULL_DATA) return true;
  if (ind == SQL_NO_TOTAL || ind < 0) return false;
  const FetchKind kind = plans_[column].kind;
  size_t terminator = 0;
  if (kind == FetchKind::Text) terminator = options_.wide ? 2 : 1;
  else if (kind != FetchKind::Binary && CType(kind, options_.wide) == SQL_C_CHAR) terminator = 1;
  return static_cast<size_t>(ind) + terminator <= b.elementBytes;
}

void OdbcResult::StoreBound(size_t column, size_t row, com::Variant& out) {
  const Binding& b = bindings_[column];
  const SQLLEN ind = b.indicators[row];
  if (ind == SQL_NULL_DATA) {
    out = com::Null;
    return;
  }
  const char* data = b.buffer.data() + row * b.elementBytes;
  const ColumnPlan& plan = plans_[column];
  const bool counted = IsVariableKind(plan.kind) || CType(plan.kind, options_.wide) == SQL_C_CHAR;
  const size_t bytes = counted ? static_cast<size_t>(ind) : b.elementBytes;
  StoreValue(out, plan, data, std::min(bytes, b.elementBytes), options_.wide);
}

size_t OdbcResult::FetchSingle(std::vector<detail::Row>& rows, size_t first, size_t count) {
  size_t n = 0;
  while (n < count && first + n < rows.size()) {
    const SQLRETURN rc = Watched(SQLFetch);
    if (rc == SQL_NO_DATA) {
      EndOfRows();
      break;
    }
    if (!SQL_SUCCEEDED(rc)) Fail("Fetching a row failed");
    detail::Row& row = rows[first + n];
    row.resize(plans_.size());
    for (size_t c = 0; c < plans_.size(); ++c) {
      if (FitsBound(c, 0)) StoreBound(c, 0, row[c]);
      else ReadWhole(c, row[c]);
    }
    ++n;
  }
  return n;
}

// Reads one value of the current row with SQLGetData, in pieces until it is
// complete (variable types), so that no value is cut to a buffer size.
void OdbcResult::ReadWhole(size_t column, com::Variant& out) {
  const ColumnPlan& plan = plans_[column];
  const SQLSMALLINT ctype = CType(plan.kind, options_.wide);
  const auto col = static_cast<SQLUSMALLINT>(column + 1);
  if (!IsVariableKind(plan.kind)) {
    char buffer[kExactTextBytes];
    SQLLEN ind = 0;
    const SQLRETURN rc = SQLGetData(stmt_.Get(), col, ctype, buffer, sizeof buffer, &ind);
    if (!SQL_SUCCEEDED(rc)) Fail("Reading column '" + plan.info.name + "' failed");
    if (ind == SQL_NULL_DATA) {
      out = com::Null;
      return;
    }
    const bool textual = ctype == SQL_C_CHAR;
    const size_t bytes = textual ? std::min<size_t>(static_cast<size_t>(ind), sizeof buffer - 1) : sizeof buffer;
    StoreValue(out, plan, buffer, bytes, options_.wide);
    return;
  }
  const size_t terminator = plan.kind == FetchKind::Text ? (options_.wide ? 2 : 1) : 0;
  scratch_.resize(kChunkBytes);
  size_t used = 0;
  for (;;) {
    SQLLEN ind = 0;
    const SQLRETURN rc = SQLGetData(stmt_.Get(), col, ctype, scratch_.data() + used,
                                    static_cast<SQLLEN>(scratch_.size() - used), &ind);
    if (rc == SQL_NO_DATA) break;
    if (!SQL_SUCCEEDED(rc)) Fail("Reading column '" + plan.info.name + "' failed");
    if (ind == SQL_NULL_DATA) {
      out = com::Null;
      return;
    }
    const size_t room = scratch_.size() - used;
    if (rc == SQL_SUCCESS) {
      used += static_cast<size_t>(ind);
      break;
    }
    // Truncated: the buffer holds room - terminator bytes of data.
    used += room - terminator;
    const size_t wanted = ind == SQL_NO_TOTAL ? scratch_.size() * 2 : used + static_cast<size_t>(ind) + terminator;
    scratch_.resize(std::max(wanted, used + kChunkBytes));
  }
  if (plan.kind == FetchKind::Text) StoreText(out, scratch_.data(), used, options_.wide);
  else out = com::ByteArray(scratch_.begin(), scratch_.begin() + static_cast<std::ptrdiff_t>(used));
}

void OdbcResult::Restart() {
  if (streaming_) options_.stream->Release(this);
  streaming_ = false;
  settled_ = false;
  settledRows_.clear();
  settledNext_ = 0;
  settledError_ = nullptr;
  Watched(SQLCloseCursor);
  done_ = false;
  execute_(stmt_);
  ClaimStream();
}

}  // namespace velmora::ado::odbc
