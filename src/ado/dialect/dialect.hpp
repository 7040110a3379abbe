#pragma once
// Every answer that differs between engines, in one object per engine,
// chosen once when a session connects (from the driver's name, else from
// the DBMS name the driver reports). The rest of the data-access layer asks
// its session's dialect and never names an engine.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/connection_string.hpp"
#include "ado/dialect/catalog_queries.hpp"
#include "ado/dialect/engine.hpp"

namespace velmora::ado::dialect {

class Dialect {
 public:
  virtual ~Dialect() = default;
  // The engine this dialect speaks for.
  virtual Engine Kind() const noexcept = 0;

  // ---- Connecting
  // Adds the driver settings the library relies on (docs/data-access.md)
  // to an ODBC connection string's pairs, keeping what the caller gave
  // unless the library cannot work without its own value.
  virtual void AddConnectionSettings(std::vector<detail::ConnectionPair>& pairs) const;
  // True when the driver takes and returns text as UTF-8 through the narrow
  // calls (otherwise UTF-16 through the wide ones).
  virtual bool NarrowText() const noexcept { return false; }
  // True when the driver can step through a plain query's rows instead of
  // holding them whole, given the settings it reports it runs with.
  virtual bool StepsThroughResults(std::string_view /*driverSettings*/) const { return false; }
  // True when results are read through server cursors, and those declared
  // inside a transaction end with it.
  virtual bool CursorsEndWithTransactions() const noexcept { return false; }
  // A statement run once after connecting that returns one row: a setting
  // the library needs ("on"), then the client's and the server's ports of
  // the connection (Null over a local socket). Empty when there is none.
  virtual std::string SessionSetupQuery() const { return {}; }

  // ---- Statements
  // Prefixed to a statement that is not a plain query, so that the driver
  // runs it as written rather than as a cursor declaration.
  virtual std::string_view WriteStatementPrefix() const noexcept { return {}; }
  // A query for the count of rows the last statement changed, for drivers
  // that count a writing WITH statement as a query (empty: none needed).
  virtual std::string_view ChangesOfLastStatementQuery() const noexcept { return {}; }
  // The schema pattern that makes the driver's table list span every schema
  // when a table name is given (nullopt: leaving it out already does).
  virtual std::optional<std::string> EverySchemaPattern() const { return std::nullopt; }
  // The statement text in the engine's own SQL (brackets, TOP, CONVERT).
  virtual std::string Rewrite(std::string_view sql) const;
  // `name` quoted as one identifier.
  virtual std::string QuoteName(std::string_view name) const;

  // ---- Results
  // True when a column's declared type name decides its type (exact
  // numbers, blobs, money, 64-bit integers reported as INTEGER).
  virtual bool TypesColumnsByDeclaredName(std::string_view typeName) const;
  // True when an exact numeric of this precision and scale is how the
  // engine stores the server's money types (read as Currency).
  virtual bool NumericIsMoney(int64_t precision, int scale) const {
    (void)precision;
    (void)scale;
    return false;
  }
  // True when results do not say which columns are NOT NULL and the
  // table's catalogue must be asked.
  virtual bool NotNullFromCatalogue() const noexcept { return false; }
  // The DataTypeEnum a bound value of `adoType` is declared as.
  virtual int32_t ParameterType(int32_t adoType) const;

  // ---- Editing
  // The statement that starts an edit's own transaction with the write lock
  // taken at once; empty when the driver's manual-commit transaction is used
  // and rows are locked one by one.
  virtual std::string_view EditTransactionStatement() const noexcept { return {}; }
  // True when a writer locks the whole database: a write lock held by
  // another session is a conflict, and a read may meet it.
  virtual bool LocksWholeDatabase() const noexcept { return false; }
  // Appended to the SELECT that re-reads the row to edit: locks it without
  // waiting (empty when the edit transaction already holds the lock).
  virtual std::string_view RowLockClause() const noexcept { return {}; }
  // The hidden column that addresses a row of a table without a key, the
  // condition on it with its marker, and the DataTypeEnum of the marker.
  virtual std::string_view RowIdColumn() const noexcept = 0;
  virtual std::string_view RowIdCondition() const noexcept = 0;
  virtual int32_t RowIdType() const noexcept = 0;
  // Statements around an insert that bound how long it waits for another
  // session's uncommitted row of the same key (empty: the engine does not wait).
  virtual std::string ShortLockWaitStatement(int32_t milliseconds) const {
    (void)milliseconds;
    return {};
  }
  virtual std::string_view DefaultLockWaitStatement() const noexcept { return {}; }

  // ---- Catalogue
  // The engine's query for the key columns of a table's indexes (columns in
  // catalog_queries.hpp); empty when the ODBC catalog functions answer alone.
  virtual CatalogQuery IndexColumnsQuery(const std::string& schema, const std::string& table) const {
    (void)schema;
    (void)table;
    return {};
  }
  // True for a table the engine keeps for itself that its driver lists as
  // an ordinary one.
  virtual bool IsEngineTable(std::string_view name) const {
    (void)name;
    return false;
  }

  // ---- Maintenance
  // The statement that writes a compacted copy of the whole database into
  // the file `destination` (which must not exist or be empty); empty when
  // the engine cannot compact into another file.
  virtual std::string CompactionStatement(std::string_view destination) const {
    (void)destination;
    return {};
  }
  // True when `header` (the first bytes of a file, up to 32) starts a
  // database file of this engine.
  virtual bool IsDatabaseFile(std::string_view header) const {
    (void)header;
    return false;
  }
  // The suffixes of the side files the engine keeps beside a database file
  // while it is in use (a connection holding one holds the database).
  virtual std::vector<std::string_view> SideFileSuffixes() const { return {}; }
};

// The dialect of the embedded engine, the one the file provider's strings
// ("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=<file>") open.
const Dialect& EmbeddedDialect();

// The dialect of an engine (Other: plain ODBC, SQL as written).
const Dialect& ForEngine(Engine engine);
// The engine a driver or DBMS name stands for ("SQLite3", "{PostgreSQL Unicode}").
Engine EngineOfDriver(std::string_view driver);

}  // namespace velmora::ado::dialect
