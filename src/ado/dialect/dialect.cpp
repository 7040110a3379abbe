#include "ado/dialect/dialect.hpp"

#include <filesystem>

#include "ado/dialect/rewriter.hpp"
#include "ado/dialect/statements.hpp"
#include "ado/error_map.hpp"
#include "com/utf.hpp"
#include "velmora/ado/types.hpp"

namespace velmora::ado::dialect {
namespace {

using detail::ConnectionPair;

// A database file that the driver is about to create: none there yet, or an
// empty one (no database header), as `velmora init` and the embedded
// provider's callers make them.
bool IsNewDatabaseFile(const std::string& file) {
  if (file.empty() || file == ":memory:") return false;
  std::error_code ec;
  const auto status = std::filesystem::status(file, ec);
  if (status.type() == std::filesystem::file_type::not_found) return true;
  return std::filesystem::is_regular_file(status) && std::filesystem::file_size(file, ec) == 0 && !ec;
}

// The journal modes the engine knows; anything else would reach the driver's
// PRAGMA, which ignores what it cannot use.
void CheckJournalMode(const std::vector<ConnectionPair>& pairs) {
  if (!detail::HasKey(pairs, "JournalMode")) return;
  const std::string mode = detail::FindValue(pairs, "JournalMode");
  for (const char* known : {"DELETE", "TRUNCATE", "PERSIST", "MEMORY", "WAL", "OFF"}) {
    if (com::detail::EqualsIgnoringAsciiCase(mode, known)) return;
  }
  detail::RaiseAdo(DB_E_BADINITSTRING, detail::kConnectionSource,
                   "JournalMode '" + mode + "' is not one of DELETE, TRUNCATE, PERSIST, MEMORY, WAL, OFF");
}

// `name` between `open` and `close`, a `close` inside doubled.
std::string Enclosed(std::string_view name, char open, char close) {
  std::string out(1, open);
  for (char c : name) {
    if (c == close) out += close;
    out += c;
  }
  return out + close;
}

// Plain ODBC: SQL as written, no settings of the library's own.
class PlainDialect : public Dialect {
 public:
  Engine Kind() const noexcept override { return Engine::Other; }
  std::string Rewrite(std::string_view sql) const override { return std::string(sql); }
  std::string_view RowIdColumn() const noexcept override { return {}; }
  std::string_view RowIdCondition() const noexcept override { return {}; }
  int32_t RowIdType() const noexcept override { return adBigInt; }
};

// SQLite through its ODBC driver: narrow UTF-8 text, results stepped
// through in step mode, a writer locking the whole file.
class SqliteDialect : public Dialect {
 public:
  Engine Kind() const noexcept override { return Engine::SQLite; }

  void AddConnectionSettings(std::vector<ConnectionPair>& pairs) const override {
    // The driver waits about twice its busy timeout for another session's
    // write lock: 250 ms keeps a lock conflict prompt (about half a second).
    detail::AddDefault(pairs, "Timeout", "250");
    detail::AddDefault(pairs, "SyncPragma", "FULL");
    // The journal mode is a property of the file: a user's existing file
    // keeps its own unless the string asks for one; new files start in WAL.
    CheckJournalMode(pairs);
    if (IsNewDatabaseFile(detail::FindValue(pairs, "Database"))) detail::AddDefault(pairs, "JournalMode", "WAL");
    detail::AddDefault(pairs, "StepAPI", "1");
  }
  bool NarrowText() const noexcept override { return true; }
  bool StepsThroughResults(std::string_view driverSettings) const override { return StepModeOn(driverSettings); }
  // The driver counts the rows of a statement that starts with WITH as those
  // of a query (none); the engine knows how many it changed.
  std::string_view ChangesOfLastStatementQuery() const noexcept override { return "SELECT changes()"; }
  // The driver reports exact numerics as doubles or text and every integer
  // as INTEGER; the declared type name says what the column holds.
  bool TypesColumnsByDeclaredName(std::string_view) const override { return true; }
  bool NotNullFromCatalogue() const noexcept override { return true; }
  std::string_view EditTransactionStatement() const noexcept override { return "BEGIN IMMEDIATE"; }
  bool LocksWholeDatabase() const noexcept override { return true; }
  std::string_view RowIdColumn() const noexcept override { return "rowid"; }
  std::string_view RowIdCondition() const noexcept override { return "rowid = ?"; }
  int32_t RowIdType() const noexcept override { return adBigInt; }
  CatalogQuery IndexColumnsQuery(const std::string&, const std::string& table) const override {
    return SqliteIndexColumns(table);
  }
  bool IsEngineTable(std::string_view name) const override { return name.starts_with("sqlite_"); }
  std::string CompactionStatement(std::string_view destination) const override {
    return "VACUUM INTO " + Enclosed(destination, '\'', '\'');
  }
  bool IsDatabaseFile(std::string_view header) const override {
    return header.starts_with(std::string_view("SQLite format 3\0", 16));
  }
  std::vector<std::string_view> SideFileSuffixes() const override { return {"-wal", "-shm", "-journal"}; }
};

// PostgreSQL through psqlODBC: wide text, results through server cursors,
// rows locked one by one.
class PostgresDialect : public Dialect {
 public:
  Engine Kind() const noexcept override { return Engine::PostgreSQL; }

  void AddConnectionSettings(std::vector<ConnectionPair>& pairs) const override {
    detail::AddDefault(pairs, "CommLog", "0");
    // A failed statement undoes only itself: inside the caller's
    // transaction the work before it stays, and outside one the connection
    // runs the next statement (with no rollback the server refuses every
    // statement until the transaction ends; with the transaction level it
    // silently undoes the caller's whole transaction). The library relies
    // on it, so a value given by the caller is replaced.
    detail::Require(pairs, "Protocol", "7.4-2");
    // Probes a silent peer (a host gone away) within about a minute.
    detail::AddDefault(pairs, "KeepaliveTime", "30");
    detail::AddDefault(pairs, "KeepaliveInterval", "5");
    detail::AddDefault(pairs, "UseDeclareFetch", "1");
    detail::AddDefault(pairs, "Fetch", "2000");
    detail::AddDefault(pairs, "BoolsAsChar", "0");
  }
  bool CursorsEndWithTransactions() const noexcept override { return true; }
  // Literals as the library's quoting writes them (a backslash is an
  // ordinary character), whatever the server's configuration, and the
  // connection's ports, by which its socket is found.
  std::string SessionSetupQuery() const override {
    return "SELECT set_config('standard_conforming_strings', 'on', false), inet_client_port(), inet_server_port()";
  }
  // With UseDeclareFetch the driver runs a statement whose first word is
  // SELECT or WITH as a cursor declaration, which the server refuses for one
  // that writes (WITH ... INSERT, ... RETURNING); it classifies a statement
  // by its first word, so one that starts with a comment runs as it is.
  std::string_view WriteStatementPrefix() const noexcept override { return "/* */ "; }
  // Given a table name and no schema, the driver lists only the tables the
  // search path makes visible.
  std::optional<std::string> EverySchemaPattern() const override { return "%"; }
  bool TypesColumnsByDeclaredName(std::string_view typeName) const override {
    return com::detail::EqualsIgnoringAsciiCase(typeName, "money");
  }
  // money and smallmoney columns are created as numeric(19,4) and numeric(10,4).
  bool NumericIsMoney(int64_t precision, int scale) const override {
    return scale == 4 && (precision == 19 || precision == 10);
  }
  // GUIDs bind as uuid; the driver maps only VARBINARY to bytea, whatever
  // its settings.
  int32_t ParameterType(int32_t adoType) const override {
    const bool binary = adoType == adBinary || adoType == adVarBinary || adoType == adLongVarBinary;
    return binary ? adVarBinary : adoType;
  }
  // The server locks the row without waiting: another session's lock
  // raises at once.
  std::string_view RowLockClause() const noexcept override { return " FOR UPDATE NOWAIT"; }
  std::string_view RowIdColumn() const noexcept override { return "ctid"; }
  std::string_view RowIdCondition() const noexcept override { return "ctid = CAST(? AS tid)"; }
  int32_t RowIdType() const noexcept override { return adVarWChar; }
  std::string ShortLockWaitStatement(int32_t milliseconds) const override {
    return "SET LOCAL lock_timeout = " + std::to_string(milliseconds);
  }
  std::string_view DefaultLockWaitStatement() const noexcept override { return "SET LOCAL lock_timeout TO DEFAULT"; }
  CatalogQuery IndexColumnsQuery(const std::string& schema, const std::string& table) const override {
    return PostgresIndexColumns(schema, table);
  }
};

}  // namespace

void Dialect::AddConnectionSettings(std::vector<ConnectionPair>& /*pairs*/) const {}

std::string Dialect::Rewrite(std::string_view sql) const { return dialect::Rewrite(sql, Kind()); }

std::string Dialect::QuoteName(std::string_view name) const { return Enclosed(name, '"', '"'); }

// GUIDs go as their text and bytes as long binary values, which every
// driver takes.
int32_t Dialect::ParameterType(int32_t adoType) const {
  switch (adoType) {
    case adGUID: return adVarWChar;
    case adBinary:
    case adVarBinary: return adLongVarBinary;
    default: return adoType;
  }
}

bool Dialect::TypesColumnsByDeclaredName(std::string_view typeName) const {
  return com::detail::EqualsIgnoringAsciiCase(typeName, "money");
}

const Dialect& EmbeddedDialect() { return ForEngine(Engine::SQLite); }

const Dialect& ForEngine(Engine engine) {
  static const SqliteDialect sqlite;
  static const PostgresDialect postgres;
  static const PlainDialect plain;
  switch (engine) {
    case Engine::SQLite: return sqlite;
    case Engine::PostgreSQL: return postgres;
    default: return plain;
  }
}

Engine EngineOfDriver(std::string_view driver) {
  if (com::detail::ContainsIgnoringAsciiCase(driver, "sqlite")) return Engine::SQLite;
  if (com::detail::ContainsIgnoringAsciiCase(driver, "postgres") || com::detail::ContainsIgnoringAsciiCase(driver, "psqlodbc")) {
    return Engine::PostgreSQL;
  }
  return Engine::Other;
}

}  // namespace velmora::ado::dialect
