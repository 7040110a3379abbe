#pragma once
// The rows of an executed ODBC statement as a RowSource: described columns,
// block fetches into bound arrays where the driver allows reading a value
// of a row inside a block, one row at a time with SQLGetData otherwise.
#include <exception>
#include <functional>
#include <memory>

#include "ado/cursor.hpp"
#include "ado/odbc/api.hpp"
#include "ado/odbc/call_watch.hpp"
#include "ado/odbc/stream_slot.hpp"

namespace velmora::ado::dialect {
class Dialect;
}

namespace velmora::ado::odbc {

// How a column's values are read from the driver.
enum class FetchKind { Int, UInt, Float, Double, Bit, Timestamp, Time, Text, Binary, NumericText, CurrencyText,
                       GuidText };

struct ColumnPlan {
  detail::ColumnInfo info;
  FetchKind kind = FetchKind::Text;
  bool isLong = false;  // never bound: read until complete
};

// The ADO view of one described column (docs/data-access.md, type mapping).
struct ColumnDescription {
  std::string name;
  SQLSMALLINT sqlType = 0;
  SQLULEN columnSize = 0;
  SQLSMALLINT decimalDigits = 0;
  SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
  bool isUnsigned = false;
  SQLLEN updatable = SQL_ATTR_READWRITE_UNKNOWN;
  std::string typeName;
};
ColumnPlan PlanColumn(const ColumnDescription& d, const dialect::Dialect& dialect);

struct ResultOptions {
  const dialect::Dialect* dialect = nullptr;
  bool wide = false;          // text as UTF-16 (SQL_C_WCHAR)
  bool blockReads = false;    // the driver can SQLGetData inside a block
  bool bindSingleRows = false;  // the driver can SQLGetData a bound column
  detail::DiagnosticsListener* listener = nullptr;
  StreamSlot* stream = nullptr;  // set when the driver may step through the result
  const CallWatch* watch = nullptr;  // bounds the waits of fetches
  int32_t timeoutSeconds = 0;        // how long one fetch may wait (0: no limit)
};

class OdbcResult : public detail::RowSource, private StreamedRows {
 public:
  // `execute` runs (or re-runs) the statement on the handle.
  OdbcResult(std::shared_ptr<void> keepAlive, StmtHandle stmt, ResultOptions options,
             std::function<void(StmtHandle&)> execute);
  ~OdbcResult() override;

  const std::vector<detail::ColumnInfo>& Columns() const override { return infos_; }
  size_t Fetch(std::vector<detail::Row>& rows, size_t first, size_t count) override;
  void Restart() override;

 private:
  struct Binding;
  void Describe();
  void Bind();
  size_t FetchBlock(std::vector<detail::Row>& rows, size_t first, size_t count);
  size_t FetchSingle(std::vector<detail::Row>& rows, size_t first, size_t count);
  void ReadWhole(size_t column, com::Variant& out);
  bool FitsBound(size_t column, size_t row) const;
  void StoreBound(size_t column, size_t row, com::Variant& out);
  [[noreturn]] void Fail(const std::string& what);
  // A fetch (or cursor close) on the driver, its wait bounded by the watch.
  template <typename Call>
  SQLRETURN Watched(Call call);
  void ClaimStream();
  // No more rows: closes the driver's cursor and frees the connection's stream.
  void EndOfRows();
  void Settle() override;
  size_t FetchSettled(std::vector<detail::Row>& rows, size_t first, size_t count);

  std::shared_ptr<void> keepAlive_;
  StmtHandle stmt_;
  ResultOptions options_;
  std::function<void(StmtHandle&)> execute_;
  std::vector<ColumnPlan> plans_;
  std::vector<detail::ColumnInfo> infos_;
  std::vector<Binding> bindings_;
  size_t arraySize_ = 1;
  SQLULEN fetched_ = 0;
  bool done_ = false;
  bool streaming_ = false;  // holds the connection's stream
  std::vector<char> scratch_;
  // The rest of a stream read at once (Settle), and the error that ended it.
  bool settled_ = false;
  std::vector<detail::Row> settledRows_;
  size_t settledNext_ = 0;
  std::exception_ptr settledError_;
};

// Raises from the diagnostics of `handle`.
[[noreturn]] void Fail(SQLSMALLINT kind, SQLHANDLE handle, bool wide, detail::DiagnosticsListener* listener,
                       const std::string& what);

}  // namespace velmora::ado::odbc
