#include "ado/row_writer.hpp"

#include <algorithm>

#include "ado/dialect/dialect.hpp"
#include "ado/error_map.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::detail {
namespace {

constexpr const char* kSavepoint = "velmora_edit";

// Values read back through the same conversions compare exactly; values an
// edit set may differ only in their numeric type.
bool SameValue(const com::Variant& a, const com::Variant& b) {
  if (a.IsNull() || b.IsNull()) return a.IsNull() && b.IsNull();
  if (auto x = a.TryGet<std::string>()) {
    const auto* y = b.TryGet<std::string>();
    return y && *x == *y;
  }
  if (auto x = a.TryGet<com::ByteArray>()) {
    const auto* y = b.TryGet<com::ByteArray>();
    return y && *x == *y;
  }
  if (b.IsString() || b.IsArray()) return false;
  return com::VarEqual(a, b);
}

// Columns whose equality the engine tests exactly (integers, booleans, short
// text): a table without a key narrows its search by them.
bool ComparableInSql(const ColumnInfo& c) {
  switch (c.type) {
    case adSmallInt:
    case adInteger:
    case adTinyInt:
    case adUnsignedTinyInt:
    case adUnsignedSmallInt:
    case adBoolean:
    case adVarWChar:
    case adWChar: return true;
    default: return false;
  }
}

bool Known(const com::Variant& v) { return !v.IsEmpty(); }

}  // namespace

void RaiseConflict(const std::string& detail) {
  throw com::Error(DB_E_CONCURRENCYVIOLATION,
                   "Row cannot be located for updating: " + detail + ".", kRecordsetSource);
}

// ---- EditTransaction -----------------------------------------------------------

EditTransaction::EditTransaction(Session& session) : session_(session) {
  if (session.InTransaction()) {
    session.Execute(std::string("SAVEPOINT ") + kSavepoint, 0, "Starting the edit failed");
  } else {
    try {
      session.BeginEditTransaction();
    } catch (const com::Error& e) {
      if (!session.Dialect().LocksWholeDatabase()) throw;
      RaiseConflict("the database is locked by another session (" + e.Description() + ")");
    }
    owns_ = true;
  }
  active_ = true;
}

EditTransaction::~EditTransaction() {
  if (active_) Rollback();
}

void EditTransaction::Commit() {
  active_ = false;
  if (owns_) {
    session_.EndEditTransaction(true);
  } else {
    session_.Execute(std::string("RELEASE SAVEPOINT ") + kSavepoint, 0, "Ending the edit failed");
  }
}

void EditTransaction::Rollback() noexcept {
  active_ = false;
  try {
    if (owns_) {
      session_.EndEditTransaction(false);
    } else {
      session_.Execute(std::string("ROLLBACK TO SAVEPOINT ") + kSavepoint, 0, "Undoing the edit failed");
      session_.Execute(std::string("RELEASE SAVEPOINT ") + kSavepoint, 0, "Undoing the edit failed");
    }
  } catch (const com::Error&) {
    // The session keeps the error in Errors; there is nothing left to undo here.
  }
}

// ---- RowWriter -----------------------------------------------------------------

RowWriter::RowWriter(std::shared_ptr<Session> session, const BaseTable& table, const std::vector<ColumnInfo>& columns,
                     int32_t timeoutSeconds)
    : session_(std::move(session)),
      dialect_(session_->Dialect()),
      table_(table),
      columns_(columns),
      timeout_(timeoutSeconds) {}

std::string RowWriter::Quote(const std::string& name) const { return dialect_.QuoteName(name); }

std::string RowWriter::TableName() const {
  std::string out;
  if (!table_.ref.schema.empty()) out = Quote(table_.ref.schema) + ".";
  return out + Quote(table_.ref.name);
}

void RowWriter::LockDatabase(EditTransaction& tx) {
  if (!dialect_.LocksWholeDatabase() || tx.OwnsTransaction()) return;
  // A write that changes nothing takes the write lock of the open transaction.
  const std::string any = Quote(table_.names.front());
  try {
    session_->Execute("UPDATE " + TableName() + " SET " + any + " = " + any + " WHERE 1 = 0", 0,
                      "Taking the database's write lock failed");
  } catch (const com::Error& e) {
    RaiseConflict("the database is locked by another session (" + e.Description() + ")");
  }
}

RowLocator RowWriter::Locate(const Row& original, EditTransaction& tx) {
  LockDatabase(tx);
  bool byKey = !table_.keyOrdinals.empty();
  for (int k : table_.keyOrdinals) {
    if (!Known(original[static_cast<size_t>(k)]) || original[static_cast<size_t>(k)].IsNull()) byKey = false;
  }
  std::string sql = "SELECT ";
  if (!byKey) sql += std::string(dialect_.RowIdColumn()) + ", ";
  for (size_t i = 0; i < table_.names.size(); ++i) sql += (i ? ", " : "") + Quote(table_.names[i]);
  sql += " FROM " + TableName() + " WHERE 1 = 1";
  std::vector<Session::Param> params;
  auto condition = [&](int ordinal, const std::string& name) {
    const com::Variant& v = original[static_cast<size_t>(ordinal)];
    if (v.IsNull()) {
      sql += " AND " + Quote(name) + " IS NULL";
    } else {
      sql += " AND " + Quote(name) + " = ?";
      params.push_back({v, columns_[static_cast<size_t>(ordinal)].type});
    }
  };
  for (size_t i = 0; i < table_.ordinals.size(); ++i) {
    const int ordinal = table_.ordinals[i];
    const bool isKey = std::find(table_.keyOrdinals.begin(), table_.keyOrdinals.end(), ordinal) !=
                       table_.keyOrdinals.end();
    const bool use = byKey ? isKey : (Known(original[static_cast<size_t>(ordinal)]) &&
                                      ComparableInSql(columns_[static_cast<size_t>(ordinal)]));
    if (use) condition(ordinal, table_.names[i]);
  }
  sql += dialect_.RowLockClause();
  auto outcome = session_->Execute(sql, params, timeout_, "Locking the row failed");
  const std::vector<Row> rows = outcome.rows ? ReadAll(*outcome.rows) : std::vector<Row>();
  const size_t offset = byKey ? 0 : 1;
  std::vector<const Row*> matches;
  for (const Row& r : rows) {
    bool same = true;
    for (size_t i = 0; i < table_.ordinals.size() && same; ++i) {
      const com::Variant& was = original[static_cast<size_t>(table_.ordinals[i])];
      same = !Known(was) || SameValue(was, r[i + offset]);
    }
    if (same) matches.push_back(&r);
  }
  if (byKey && rows.empty()) RaiseConflict("the row was deleted by another session");
  if (matches.empty()) RaiseConflict("the row was changed by another session");
  if (matches.size() > 1) {
    throw com::Error(E_FAIL_,
                     "Row cannot be located for updating: " + std::to_string(matches.size()) +
                         " rows of a table without a key hold the same values; none was changed.",
                     kRecordsetSource);
  }
  RowLocator where;
  where.byRowId = !byKey;
  if (byKey) {
    for (int k : table_.keyOrdinals) where.values.push_back(original[static_cast<size_t>(k)]);
  } else {
    where.values.push_back((*matches.front())[0]);
  }
  return where;
}

std::string RowWriter::WhereOf(const RowLocator& where, std::vector<Session::Param>& params) const {
  if (where.byRowId) {
    params.push_back({where.values.front(), dialect_.RowIdType()});
    return " WHERE " + std::string(dialect_.RowIdCondition());
  }
  std::string sql = " WHERE ";
  for (size_t i = 0; i < table_.keyOrdinals.size(); ++i) {
    const int k = table_.keyOrdinals[i];
    const auto it = std::find(table_.ordinals.begin(), table_.ordinals.end(), k);
    const std::string& name = table_.names[static_cast<size_t>(it - table_.ordinals.begin())];
    sql += (i ? " AND " : "") + Quote(name) + " = ?";
    params.push_back({where.values[i], columns_[static_cast<size_t>(k)].type});
  }
  return sql;
}

void RowWriter::ExpectOneRow(int64_t affected, const char* what) const {
  if (affected == 1) return;
  if (affected == 0) RaiseConflict(std::string("the row to ") + what + " is gone");
  throw com::Error(E_FAIL_, std::string("The ") + what + " would have touched " + std::to_string(affected) +
                                " rows; it was undone.", kRecordsetSource);
}

void RowWriter::Update(const RowLocator& where, const Row& current, const std::vector<bool>& changed) {
  std::string sql = "UPDATE " + TableName() + " SET ";
  std::vector<Session::Param> params;
  bool any = false;
  for (size_t i = 0; i < table_.ordinals.size(); ++i) {
    const auto ordinal = static_cast<size_t>(table_.ordinals[i]);
    if (!changed[ordinal]) continue;
    sql += (any ? ", " : "") + Quote(table_.names[i]) + " = ?";
    params.push_back({current[ordinal], columns_[ordinal].type});
    any = true;
  }
  if (!any) return;
  sql += WhereOf(where, params);
  ExpectOneRow(session_->Execute(sql, params, timeout_, "Recordset.Update failed").rowsAffected, "update");
}

void RowWriter::Delete(const RowLocator& where) {
  std::vector<Session::Param> params;
  const std::string sql = "DELETE FROM " + TableName() + WhereOf(where, params);
  ExpectOneRow(session_->Execute(sql, params, timeout_, "Recordset.Delete failed").rowsAffected, "delete");
}

void RowWriter::Insert(const Row& current, const std::vector<bool>& changed, EditTransaction& tx) {
  LockDatabase(tx);
  // A concurrent insert of the same key makes a server wait for the other
  // transaction: bounded, so that the conflict raises promptly.
  const std::string shortWait = dialect_.ShortLockWaitStatement(kShortLockWaitMs);
  if (!shortWait.empty()) session_->Execute(shortWait, 0, "Setting the lock timeout failed");
  std::string names, markers;
  std::vector<Session::Param> params;
  for (size_t i = 0; i < table_.ordinals.size(); ++i) {
    const auto ordinal = static_cast<size_t>(table_.ordinals[i]);
    if (!changed[ordinal]) continue;
    names += (params.empty() ? "" : ", ") + Quote(table_.names[i]);
    markers += params.empty() ? "?" : ", ?";
    params.push_back({current[ordinal], columns_[ordinal].type});
  }
  const std::string sql = "INSERT INTO " + TableName() +
                          (params.empty() ? " DEFAULT VALUES" : " (" + names + ") VALUES (" + markers + ")");
  session_->Execute(sql, params, timeout_, "Recordset.Update failed");
  if (!shortWait.empty() && !tx.OwnsTransaction()) {
    session_->Execute(std::string(dialect_.DefaultLockWaitStatement()), 0, "Restoring the lock timeout failed");
  }
}

}  // namespace velmora::ado::detail
