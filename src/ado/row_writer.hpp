#pragma once
// The database side of editing: the transaction an edit works in, finding
// the row read earlier (by key, else by all its original values), locking
// it, and the INSERT, UPDATE and DELETE that write it. An update or delete
// touches exactly one row or raises.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/cursor.hpp"
#include "ado/odbc/session.hpp"
#include "ado/table_key.hpp"

namespace velmora::ado::detail {

// A transaction for one edit: its own when the session has none open,
// otherwise a savepoint inside the one that is open (the caller's
// BeginTrans, or another recordset's edit), which is then left open.
class EditTransaction {
 public:
  explicit EditTransaction(Session& session);
  ~EditTransaction();
  EditTransaction(const EditTransaction&) = delete;
  EditTransaction& operator=(const EditTransaction&) = delete;

  bool OwnsTransaction() const noexcept { return owns_; }
  void Commit();
  void Rollback() noexcept;

 private:
  Session& session_;
  bool owns_ = false;
  bool active_ = false;
};

// How an edited row is found again: the values of its key, or (for a table
// without a usable key) the engine's row id of the one row that matched.
struct RowLocator {
  bool byRowId = false;
  std::vector<com::Variant> values;
};

// One base table behind a recordset and the recordset columns it holds.
struct BaseTable {
  TableRef ref;
  std::vector<int> ordinals;        // recordset columns that belong to the table
  std::vector<std::string> names;   // their base column names (same order)
  std::vector<int> keyOrdinals;     // recordset columns of the key (empty: no key)
};

class RowWriter {
 public:
  RowWriter(std::shared_ptr<Session> session, const BaseTable& table, const std::vector<ColumnInfo>& columns,
            int32_t timeoutSeconds);

  // Finds the row whose values were `original` and, when `lock` is set,
  // locks it for the open transaction. Raises (DB_E_CONCURRENCYVIOLATION)
  // when another session holds it, changed it or deleted it, and when more
  // than one row matches a table without a key.
  RowLocator Locate(const Row& original, EditTransaction& tx);
  void Update(const RowLocator& where, const Row& current, const std::vector<bool>& changed);
  void Delete(const RowLocator& where);
  void Insert(const Row& current, const std::vector<bool>& changed, EditTransaction& tx);

  Session& Sess() { return *session_; }

 private:
  std::string Quote(const std::string& name) const;
  std::string TableName() const;
  std::string WhereOf(const RowLocator& where, std::vector<Session::Param>& params) const;
  // Takes the whole database's write lock inside a transaction already open
  // (engines whose writer locks the whole database).
  void LockDatabase(EditTransaction& tx);
  void ExpectOneRow(int64_t affected, const char* what) const;

  std::shared_ptr<Session> session_;
  const dialect::Dialect& dialect_;
  const BaseTable& table_;
  const std::vector<ColumnInfo>& columns_;
  int32_t timeout_;
};

// Raises the error of a row another session holds, changed or deleted.
[[noreturn]] void RaiseConflict(const std::string& detail);

}  // namespace velmora::ado::detail
