#pragma once
// An ODBC connection to one database, shared by the Connection and its
// Recordsets. This header exposes no ODBC types.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/connection_string.hpp"
#include "ado/cursor.hpp"
#include "ado/error_map.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado::dialect {
class Dialect;
}

namespace velmora::ado::detail {

// How long an insert waits on the server for another session's lock (an
// uncommitted row of the same key) before it raises.
inline constexpr int32_t kShortLockWaitMs = 100;

enum class CatalogCall { Tables, Columns, Statistics, PrimaryKeys };

class Session : public std::enable_shared_from_this<Session> {
 public:
  // Connects. Every provider error of the session, this one's included, is
  // told to `listener` before it is raised.
  static std::shared_ptr<Session> Connect(const OdbcTarget& target, int32_t loginTimeout,
                                          std::shared_ptr<DiagnosticsListener> listener);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Every engine-specific answer, chosen when the session connected.
  const dialect::Dialect& Dialect() const noexcept;
  std::string DbmsName() const;
  // Counts the statements run that may have changed what the catalogue
  // says of a table (CREATE, ALTER, DROP): caches of catalogue facts
  // compare it with the count they were filled at.
  uint64_t DefinitionsVersion() const noexcept;

  // Runs `sql`; the rows when it returns a result set (nullptr otherwise).
  struct Outcome {
    std::unique_ptr<RowSource> rows;
    int64_t rowsAffected = -1;
  };
  Outcome Execute(const std::string& sql, int32_t timeoutSeconds, const std::string& what);

  // A catalog function with its arguments (nullopt = all); the driver's own
  // result, read by position.
  std::unique_ptr<RowSource> Catalog(CatalogCall call, const std::vector<std::optional<std::string>>& args);
  // The escape for '%' and '_' in pattern arguments ("" when none).
  std::string SearchPatternEscape() const;
  // SQL_NULL_COLLATION as the OLE DB NULL_COLLATION value.
  int32_t NullCollation() const;

  // A value sent with a statement, with the DataTypeEnum of the column it
  // goes to (which decides the SQL type declared for it).
  struct Param {
    com::Variant value;
    int32_t adoType = 0;
  };
  // Runs `sql` with its `?` markers bound to `params` (in order).
  Outcome Execute(const std::string& sql, const std::vector<Param>& params, int32_t timeoutSeconds,
                  const std::string& what);

  // The caller's transaction (Connection.BeginTrans).
  void BeginTransaction();
  // Commits or rolls back, waiting at most `timeoutSeconds` (0: the
  // session's own bound) on the server.
  void EndTransaction(bool commit, int32_t timeoutSeconds);
  // True while any transaction is open on the session: the caller's, or one
  // that an edit of a Recordset opened.
  bool InTransaction() const noexcept;
  bool InCallerTransaction() const noexcept;

  // Transactions that editing opens for itself (none while another is open:
  // then the edit works inside it, under a savepoint).
  void BeginEditTransaction();
  void EndEditTransaction(bool commit);

  struct Impl;

 private:
  Session();
  void PrepareServerSession();
  Outcome ExecuteOnce(const std::string& sql, const std::vector<Param>& params, int32_t timeoutSeconds,
                      const std::string& what);
  int64_t ChangesOfLastStatement();
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::ado::detail

namespace velmora::ado::detail {
// The Field view (type, sizes, fixed/long/nullable attributes) of a column
// that a catalog function describes by its SQL type.
ColumnInfo DescribeCatalogColumn(int16_t sqlType, int64_t columnSize, int16_t decimalDigits, int16_t nullable,
                                 const std::string& typeName, const dialect::Dialect& dialect);
}  // namespace velmora::ado::detail
