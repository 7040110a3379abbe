#include "ado/odbc/session.hpp"

#include <cstring>

#include "ado/dialect/dialect.hpp"
#include "ado/dialect/statements.hpp"
#include "ado/error_map.hpp"
#include "ado/odbc/api.hpp"
#include "ado/odbc/call_watch.hpp"
#include "ado/odbc/params.hpp"
#include "ado/odbc/result.hpp"
#include "ado/odbc/stream_slot.hpp"
#include "ado/values.hpp"
#include "com/utf.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::ado::detail {
namespace {

// How long the session's own housekeeping calls (commit, rollback, closing
// a cursor) may wait on the server.
constexpr int32_t kHousekeepingSeconds = 30;

}  // namespace

struct Session::Impl {
  odbc::EnvHandle env;
  odbc::DbcHandle dbc;
  const dialect::Dialect* dialect = &dialect::ForEngine(dialect::Engine::Other);
  bool wide = false;
  bool blockReads = false;
  bool bindSingleRows = false;
  enum class Tx { None, Caller, Edit };
  Tx transaction = Tx::None;
  bool stepMode = false;  // the SQLite driver can step through query results
  odbc::StreamSlot stream;
  std::shared_ptr<DiagnosticsListener> listener;
  std::string dbmsName;
  uint64_t definitionsVersion = 0;
  odbc::CallWatch watch;

  [[noreturn]] void FailDbc(const std::string& what) const {
    odbc::Fail(SQL_HANDLE_DBC, dbc.Get(), wide, listener.get(), Explained(what));
  }
  std::string Explained(const std::string& what) const { return watch.Explain(what); }
  // Ends the open transaction, the wait bounded by the watch.
  SQLRETURN EndTran(bool commit, int32_t timeoutSeconds = kHousekeepingSeconds) const {
    auto guard = watch.Watch(timeoutSeconds > 0 ? timeoutSeconds : kHousekeepingSeconds);
    return SQLEndTran(SQL_HANDLE_DBC, dbc.Get(), commit ? SQL_COMMIT : SQL_ROLLBACK);
  }
  // Raises at once on a connection whose link the watch cut.
  void RequireLink(const std::string& what) const {
    if (watch.LinkCut()) RaiseProvider(listener.get(), Explained(what), {});
  }
  std::string InfoText(SQLUSMALLINT info) const {
    char buffer[256] = {};
    SQLSMALLINT length = 0;
    if (!SQL_SUCCEEDED(SQLGetInfo(dbc.Get(), info, buffer, sizeof buffer, &length))) return {};
    return std::string(buffer);
  }
  odbc::StmtHandle NewStatement() const {
    SQLRETURN rc = SQL_ERROR;
    auto stmt = odbc::StmtHandle::Allocate(dbc.Get(), rc);
    if (!stmt) FailDbc("Allocating a statement failed");
    return stmt;
  }
  odbc::StmtHandle NewStatement(int32_t timeoutSeconds) const {
    odbc::StmtHandle stmt = NewStatement();
    SQLSetStmtAttr(stmt.Get(), SQL_ATTR_QUERY_TIMEOUT,
                   reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(std::max(timeoutSeconds, 0))), 0);
    return stmt;
  }
  // The rows of an executed statement, or the count of rows it changed.
  Outcome Finish(std::shared_ptr<Session> self, odbc::StmtHandle stmt, std::function<void(odbc::StmtHandle&)> run,
                 odbc::StreamSlot* streamSlot, int32_t timeoutSeconds) {
    Outcome outcome;
    SQLSMALLINT columns = 0;
    SQLNumResultCols(stmt.Get(), &columns);
    if (columns > 0) {
      odbc::ResultOptions options{dialect, wide, blockReads, bindSingleRows, listener.get(), streamSlot, &watch,
                                  timeoutSeconds};
      outcome.rows = std::make_unique<odbc::OdbcResult>(std::move(self), std::move(stmt), options, std::move(run));
      return outcome;
    }
    SQLLEN count = -1;
    if (SQL_SUCCEEDED(SQLRowCount(stmt.Get(), &count))) outcome.rowsAffected = count;
    return outcome;
  }
};

namespace {

// What a statement needs to run and report: the driver's character width,
// where errors go, the watch over its wait and its time limit.
struct RunContext {
  bool wide;
  DiagnosticsListener* listener;
  const odbc::CallWatch* watch;
  int32_t timeoutSeconds;
  std::string what;

  // Runs `call` on `h` under the watch; raises from its diagnostics when it failed.
  template <typename Call>
  void Run(odbc::StmtHandle& h, Call call) const {
    SQLRETURN rc;
    {
      auto guard = watch->Watch(timeoutSeconds, h.Get());
      rc = call(h.Get());
    }
    if (SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA) return;
    odbc::Fail(SQL_HANDLE_STMT, h.Get(), wide, listener, watch->Explain(what));
  }
};


// True when the prepared statement has result columns and the driver knows
// the declared type of each. In step mode the driver describes a column
// without one (an expression, or a column declared without a type) as
// varchar(255), while a result held whole types it by its first value; such
// results are held whole so that Fields keep their types.
bool EveryColumnDeclared(SQLHSTMT prepared) {
  SQLSMALLINT count = 0;
  if (!SQL_SUCCEEDED(SQLNumResultCols(prepared, &count)) || count == 0) return false;
  constexpr SQLULEN kUndeclaredSize = 255;
  for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(count); ++i) {
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
    if (!SQL_SUCCEEDED(SQLDescribeCol(prepared, i, nullptr, 0, nullptr, &type, &size, nullptr, nullptr))) return false;
    char typeName[16] = {};
    SQLColAttribute(prepared, i, SQL_DESC_TYPE_NAME, typeName, sizeof typeName, nullptr, nullptr);
    const bool varchar = type == SQL_VARCHAR || type == SQL_WVARCHAR;
    if (varchar && size == kUndeclaredSize && std::strcmp(typeName, "varchar") == 0) return false;
  }
  return true;
}


// CREATE, ALTER and DROP may change what the catalogue says of a table.
bool ChangesDefinitions(const std::string& sql) {
  return dialect::StartsWithKeyword(sql, "CREATE") || dialect::StartsWithKeyword(sql, "ALTER") ||
         dialect::StartsWithKeyword(sql, "DROP");
}

// Runs one statement text on a handle, in the driver's character width.
SQLRETURN ExecText(SQLHSTMT stmt, const std::string& sql, bool wide) {
  if (wide) {
    std::u16string text = com::detail::Utf8ToUtf16(sql);
    return SQLExecDirectW(stmt, reinterpret_cast<SQLWCHAR*>(text.data()), static_cast<SQLINTEGER>(text.size()));
  }
  return SQLExecDirect(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.data())),
                       static_cast<SQLINTEGER>(sql.size()));
}

// Arguments of a catalog function in the driver's character width; nullopt
// stays a null pointer (all).
class CatalogArgs {
 public:
  CatalogArgs(const std::vector<std::optional<std::string>>& args, bool wide) : wide_(wide) {
    for (const auto& a : args) {
      narrow_.push_back(a.value_or(std::string()));
      widen_.push_back(com::detail::Utf8ToUtf16(a.value_or(std::string())));
      given_.push_back(a.has_value());
    }
  }
  SQLCHAR* Narrow(size_t i) {
    return given_[i] ? reinterpret_cast<SQLCHAR*>(narrow_[i].data()) : nullptr;
  }
  SQLWCHAR* Wide(size_t i) { return given_[i] ? reinterpret_cast<SQLWCHAR*>(widen_[i].data()) : nullptr; }
  SQLSMALLINT Length(size_t i) const {
    if (!given_[i]) return 0;
    return static_cast<SQLSMALLINT>(wide_ ? widen_[i].size() : narrow_[i].size());
  }
  bool IsWide() const { return wide_; }

 private:
  bool wide_;
  std::vector<std::string> narrow_;
  std::vector<std::u16string> widen_;
  std::vector<bool> given_;
};

SQLRETURN CallCatalog(SQLHSTMT s, CatalogCall call, CatalogArgs& a) {
  const bool w = a.IsWide();
  switch (call) {
    case CatalogCall::Tables:
      return w ? SQLTablesW(s, a.Wide(0), a.Length(0), a.Wide(1), a.Length(1), a.Wide(2), a.Length(2), a.Wide(3),
                            a.Length(3))
               : SQLTables(s, a.Narrow(0), a.Length(0), a.Narrow(1), a.Length(1), a.Narrow(2), a.Length(2),
                           a.Narrow(3), a.Length(3));
    case CatalogCall::Columns:
      return w ? SQLColumnsW(s, a.Wide(0), a.Length(0), a.Wide(1), a.Length(1), a.Wide(2), a.Length(2), a.Wide(3),
                             a.Length(3))
               : SQLColumns(s, a.Narrow(0), a.Length(0), a.Narrow(1), a.Length(1), a.Narrow(2), a.Length(2),
                            a.Narrow(3), a.Length(3));
    case CatalogCall::Statistics:
      return w ? SQLStatisticsW(s, a.Wide(0), a.Length(0), a.Wide(1), a.Length(1), a.Wide(2), a.Length(2),
                                SQL_INDEX_ALL, SQL_QUICK)
               : SQLStatistics(s, a.Narrow(0), a.Length(0), a.Narrow(1), a.Length(1), a.Narrow(2), a.Length(2),
                               SQL_INDEX_ALL, SQL_QUICK);
    case CatalogCall::PrimaryKeys:
      return w ? SQLPrimaryKeysW(s, a.Wide(0), a.Length(0), a.Wide(1), a.Length(1), a.Wide(2), a.Length(2))
               : SQLPrimaryKeys(s, a.Narrow(0), a.Length(0), a.Narrow(1), a.Length(1), a.Narrow(2), a.Length(2));
  }
  return SQL_ERROR;
}

}  // namespace

Session::Session() : impl_(std::make_unique<Impl>()) {}
Session::~Session() {
  if (impl_->dbc) {
    if (impl_->transaction != Impl::Tx::None && !impl_->watch.LinkCut()) impl_->EndTran(false);
    SQLDisconnect(impl_->dbc.Get());
  }
}

std::shared_ptr<Session> Session::Connect(const OdbcTarget& target, int32_t loginTimeout,
                                          std::shared_ptr<DiagnosticsListener> listener) {
  std::shared_ptr<Session> session(new Session());
  Impl& s = *session->impl_;
  s.listener = std::move(listener);
  SQLRETURN rc = SQL_ERROR;
  s.env = odbc::EnvHandle::Allocate(SQL_NULL_HANDLE, rc);
  if (!s.env) RaiseProvider(s.listener.get(), "Connection.Open failed: no ODBC environment", {});
  SQLSetEnvAttr(s.env.Get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  s.dbc = odbc::DbcHandle::Allocate(s.env.Get(), rc);
  if (!s.dbc) {
    RaiseProvider(s.listener.get(), "Connection.Open failed", odbc::ReadDiagnostics(s.env, false));
  }
  SQLSetConnectAttr(s.dbc.Get(), SQL_ATTR_LOGIN_TIMEOUT,
                    reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(std::max(loginTimeout, 0))), 0);
  std::string text = target.odbcString;
  // The completed string tells the settings the driver runs with.
  SQLCHAR completed[2048] = {};
  SQLSMALLINT completedLength = 0;
  rc = SQLDriverConnect(s.dbc.Get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                        static_cast<SQLSMALLINT>(text.size()), completed, sizeof completed, &completedLength,
                        SQL_DRIVER_NOPROMPT);
  if (!SQL_SUCCEEDED(rc)) {
    auto diags = odbc::ReadDiagnostics(s.dbc, false);
    s.dbc.Reset();
    RaiseProvider(s.listener.get(), "Connection.Open failed", diags);
  }
  s.dbmsName = s.InfoText(SQL_DBMS_NAME);
  // The one place that picks the engine's dialect: from the driver's name,
  // else from the DBMS name the driver reports.
  s.dialect = &dialect::ForEngine(target.engine != dialect::Engine::Other ? target.engine
                                                                         : dialect::EngineOfDriver(s.dbmsName));
  s.wide = !s.dialect->NarrowText();
  s.stepMode = s.dialect->StepsThroughResults(reinterpret_cast<const char*>(completed));
  if (s.dialect->CursorsEndWithTransactions()) {
    s.stream = odbc::StreamSlot(odbc::StreamSlot::Policy::AllInsideTransactions);
  }
  SQLUINTEGER extensions = 0;
  SQLGetInfo(s.dbc.Get(), SQL_GETDATA_EXTENSIONS, &extensions, sizeof extensions, nullptr);
  constexpr SQLUINTEGER kNeeded = SQL_GD_ANY_COLUMN | SQL_GD_BLOCK | SQL_GD_BOUND;
  s.blockReads = (extensions & kNeeded) == kNeeded;
  constexpr SQLUINTEGER kBoundReads = SQL_GD_ANY_COLUMN | SQL_GD_BOUND;
  s.bindSingleRows = (extensions & kBoundReads) == kBoundReads;
  if (!s.dialect->SessionSetupQuery().empty()) session->PrepareServerSession();
  return session;
}

// Makes the server read literals as the library's quoting writes them (a
// backslash is an ordinary character), whatever the server's configuration,
// and finds the connection's socket by the ports the server sees, so that
// calls can be bounded when the server stalls. One round trip.
void Session::PrepareServerSession() {
  Outcome outcome = Execute(impl_->dialect->SessionSetupQuery(), kHousekeepingSeconds, "Preparing the session failed");
  std::vector<Row> rows(1);
  if (!outcome.rows || outcome.rows->Fetch(rows, 0, 1) != 1) return;
  const Row& row = rows[0];
  if (com::CStr(row.at(0)) != "on") RaiseProvider(impl_->listener.get(), "The server keeps backslash escapes in literals", {});
  if (row.at(1).IsNull() || row.at(2).IsNull()) return;  // a local socket: no port to find it by
  impl_->watch.AttachSocket(com::CLng(row.at(1)), com::CLng(row.at(2)));
}

const dialect::Dialect& Session::Dialect() const noexcept { return *impl_->dialect; }
std::string Session::DbmsName() const { return impl_->dbmsName; }
bool Session::InTransaction() const noexcept { return impl_->transaction != Impl::Tx::None; }
bool Session::InCallerTransaction() const noexcept { return impl_->transaction == Impl::Tx::Caller; }
uint64_t Session::DefinitionsVersion() const noexcept { return impl_->definitionsVersion; }

Session::Outcome Session::Execute(const std::string& sql, int32_t timeoutSeconds, const std::string& what) {
  return Execute(sql, {}, timeoutSeconds, what);
}

// A statement that is not a plain query never runs as a server cursor (see
// the dialect's WriteStatementPrefix). In step mode a plain query without parameters whose columns all have
// declared types is prepared and executed forward-only, so that the driver
// steps through it (unless a transaction or another stream is open: then it
// holds it whole). Anything but a plain query first settles the open
// stream, which it could disturb. The rest runs with a static cursor, which
// the driver always executes at once and holds whole; without that a
// statement it takes for a query, such as WITH ... INSERT, would wait for a
// fetch that never comes.
Session::Outcome Session::Execute(const std::string& sql, const std::vector<Param>& params, int32_t timeoutSeconds,
                                  const std::string& what) {
  impl_->RequireLink(what);
  com::detail::RequireEngineText(sql, what + ": the statement text");
  const bool plainQuery = dialect::IsPlainQuery(sql);
  if (impl_->stepMode && !plainQuery) impl_->stream.Settle();
  if (!plainQuery && ChangesDefinitions(sql)) ++impl_->definitionsVersion;
  if (!plainQuery && !impl_->dialect->WriteStatementPrefix().empty()) {
    return ExecuteOnce(std::string(impl_->dialect->WriteStatementPrefix()) + sql, params, timeoutSeconds, what);
  }
  if (impl_->stepMode && plainQuery && params.empty()) {
    odbc::StmtHandle stmt = impl_->NewStatement(timeoutSeconds);
    const RunContext context{impl_->wide, impl_->listener.get(), &impl_->watch, timeoutSeconds, what};
    // Step mode belongs to the SQLite driver, which is given narrow text.
    context.Run(stmt, [&sql](SQLHSTMT h) {
      return SQLPrepare(h, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.data())),
                        static_cast<SQLINTEGER>(sql.size()));
    });
    if (EveryColumnDeclared(stmt.Get())) {
      auto execute = [context](odbc::StmtHandle& h) { context.Run(h, [](SQLHSTMT s) { return SQLExecute(s); }); };
      execute(stmt);
      return impl_->Finish(shared_from_this(), std::move(stmt), execute, &impl_->stream, timeoutSeconds);
    }
  }
  Outcome outcome = ExecuteOnce(sql, params, timeoutSeconds, what);
  if (!impl_->dialect->ChangesOfLastStatementQuery().empty() && !outcome.rows &&
      dialect::StartsWithKeyword(sql, "WITH")) {
    outcome.rowsAffected = ChangesOfLastStatement();
  }
  return outcome;
}

// The SQLite driver counts the rows of a statement that starts with WITH as
// those of a query (none); the engine knows how many it changed.
int64_t Session::ChangesOfLastStatement() {
  Outcome changes = ExecuteOnce(std::string(impl_->dialect->ChangesOfLastStatementQuery()), {}, 0,
                                "Reading the count of changed rows failed");
  std::vector<Row> rows(1);
  if (!changes.rows || changes.rows->Fetch(rows, 0, 1) != 1) return -1;
  return com::CLng(rows[0].at(0));
}

// Runs `sql` at once; in step mode with a static cursor, which the driver
// always executes at once and holds whole.
Session::Outcome Session::ExecuteOnce(const std::string& sql, const std::vector<Param>& params,
                                      int32_t timeoutSeconds, const std::string& what) {
  const bool wide = impl_->wide;
  odbc::StmtHandle stmt = impl_->NewStatement(timeoutSeconds);
  if (impl_->stepMode) {
    SQLSetStmtAttr(stmt.Get(), SQL_ATTR_CURSOR_TYPE, reinterpret_cast<SQLPOINTER>(SQL_CURSOR_STATIC), 0);
  }
  auto bound = std::make_shared<odbc::BoundParams>(params, *impl_->dialect, wide, what);
  const RunContext context{wide, impl_->listener.get(), &impl_->watch, timeoutSeconds, what};
  auto run = [sql, wide, context, bound](odbc::StmtHandle& h) {
    context.Run(h, [&](SQLHSTMT s) {
      const SQLRETURN rc = bound->BindTo(s);
      return SQL_SUCCEEDED(rc) ? ExecText(s, sql, wide) : rc;
    });
  };
  run(stmt);
  odbc::StreamSlot* slot = impl_->dialect->CursorsEndWithTransactions() ? &impl_->stream : nullptr;
  return impl_->Finish(shared_from_this(), std::move(stmt), run, slot, timeoutSeconds);
}

std::unique_ptr<RowSource> Session::Catalog(CatalogCall call, const std::vector<std::optional<std::string>>& args) {
  odbc::StmtHandle stmt = impl_->NewStatement();
  const bool wide = impl_->wide;
  DiagnosticsListener* listener = impl_->listener.get();
  auto run = [call, args, wide, listener](odbc::StmtHandle& h) {
    CatalogArgs a(args, wide);
    if (!SQL_SUCCEEDED(CallCatalog(h.Get(), call, a))) {
      odbc::Fail(SQL_HANDLE_STMT, h.Get(), wide, listener, "Connection.OpenSchema failed");
    }
  };
  run(stmt);
  // Catalog results are read by position, one row at a time.
  odbc::ResultOptions options{impl_->dialect, wide, false, false, listener, nullptr, &impl_->watch,
                              kHousekeepingSeconds};
  return std::make_unique<odbc::OdbcResult>(shared_from_this(), std::move(stmt), options, run);
}

std::string Session::SearchPatternEscape() const { return impl_->InfoText(SQL_SEARCH_PATTERN_ESCAPE); }

int32_t Session::NullCollation() const {
  SQLUSMALLINT value = 0;
  if (!SQL_SUCCEEDED(SQLGetInfo(impl_->dbc.Get(), SQL_NULL_COLLATION, &value, sizeof value, nullptr))) return 0;
  switch (value) {
    case SQL_NC_HIGH: return 2;
    case SQL_NC_LOW: return 4;
    case SQL_NC_START: return 8;
    case SQL_NC_END: return 1;
    default: return 0;
  }
}

void Session::BeginTransaction() {
  impl_->stream.TransactionBegins();  // the SQLite driver would end an open stream early
  if (!SQL_SUCCEEDED(SQLSetConnectAttr(impl_->dbc.Get(), SQL_ATTR_AUTOCOMMIT,
                                       reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0))) {
    impl_->FailDbc("Connection.BeginTrans failed");
  }
  impl_->transaction = Impl::Tx::Caller;
}

// Whatever the outcome, the connection leaves the transaction in automatic
// commit: a commit the engine refused is rolled back (an engine may keep
// the transaction open after a failed COMMIT) and the error says so.
void Session::EndTransaction(bool commit, int32_t timeoutSeconds) {
  impl_->RequireLink(commit ? "Connection.CommitTrans failed" : "Connection.RollbackTrans failed");
  impl_->stream.TransactionEnds();  // server cursors declared inside it end with it
  SQLRETURN rc = impl_->EndTran(commit, timeoutSeconds);
  std::vector<odbc::DiagRecord> diags;
  if (!SQL_SUCCEEDED(rc)) {
    diags = odbc::ReadDiagnostics(impl_->dbc, impl_->wide);
    if (commit && !impl_->watch.LinkCut()) impl_->EndTran(false, timeoutSeconds);
  }
  impl_->transaction = Impl::Tx::None;
  const SQLRETURN restored = SQLSetConnectAttr(impl_->dbc.Get(), SQL_ATTR_AUTOCOMMIT,
                                               reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
  if (!SQL_SUCCEEDED(rc)) {
    const std::string what = commit ? "Connection.CommitTrans failed; the transaction was rolled back"
                                    : "Connection.RollbackTrans failed";
    RaiseProvider(impl_->listener.get(), impl_->Explained(what + " and automatic commit is on again"), diags);
  }
  if (!SQL_SUCCEEDED(restored)) impl_->FailDbc("Restoring automatic commit failed");
}

// An engine whose writer locks the whole database takes that lock for the
// whole transaction at once (its dialect's statement), waiting no longer
// than the connection's short busy timeout for another session's; server
// engines open a manual-commit transaction and lock rows one by one.
void Session::BeginEditTransaction() {
  const std::string_view begin = impl_->dialect->EditTransactionStatement();
  if (!begin.empty()) {
    Execute(std::string(begin), 0, "Taking the database's write lock failed");
  } else {
    BeginTransaction();
  }
  impl_->transaction = Impl::Tx::Edit;
}

void Session::EndEditTransaction(bool commit) {
  if (impl_->dialect->EditTransactionStatement().empty()) {
    EndTransaction(commit, kHousekeepingSeconds);
    return;
  }
  try {
    Execute(commit ? "COMMIT" : "ROLLBACK", 0, commit ? "Committing the edit failed" : "Rolling back the edit failed");
  } catch (...) {
    if (commit) Execute("ROLLBACK", 0, "Rolling back the edit failed");
    impl_->transaction = Impl::Tx::None;
    throw;
  }
  impl_->transaction = Impl::Tx::None;
}

}  // namespace velmora::ado::detail
