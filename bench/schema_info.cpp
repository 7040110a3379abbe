// DatabaseInfo on databases of 10, 100 and 1,000 tables (20 columns and 3
// indexes each), under both DBMS values and on both engines, against the
// engine's own catalogue queries that gather the same facts, in the same
// run and through raw ODBC:
//  - SQLite: the table list, then per table pragma table_info and
//    index_list, and pragma index_xinfo per index;
//  - PostgreSQL: one query for every table's columns and one for every
//    index's key columns.
// Counters: us_per_table (DatabaseInfo), native_us_per_table (the engine's
// queries) and ratio (the first over the second).
// SQLite runs on files in the temporary folder, PostgreSQL on fresh
// databases of the server of VELMORA_PG_ODBC (dropped at the end).
#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "velmora/velmora.hpp"

using namespace velmora;

namespace {

constexpr int kColumns = 20;

std::string PgServer() {
  const char* s = std::getenv("VELMORA_PG_ODBC");
  return s ? s : "";
}

std::string PgDatabase(int tables) { return "velmora_bench_schema_" + std::to_string(tables); }

std::string SqliteFile(int tables) {
  return (std::filesystem::temp_directory_path() /
          ("velmora-bench-schema-" + std::to_string(getpid()) + "-" + std::to_string(tables) + ".db"))
      .string();
}

// The ODBC connection string of the database with `tables` tables, for the
// library (SQLite through the embedded provider) or for raw ODBC.
std::string Connection(bool pg, int tables, bool raw) {
  if (!pg) {
    return raw ? "DRIVER=SQLite3;Database=" + SqliteFile(tables)
               : "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + SqliteFile(tables);
  }
  std::string s = PgServer();
  const std::string current = "DATABASE=velmora_test;";
  const size_t at = s.find(current);
  if (at != std::string::npos) s.replace(at, current.size(), "DATABASE=" + PgDatabase(tables) + ";");
  return s;
}

ado::ConnectionPtr Open(const std::string& connection) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(connection);
  return cn;
}

// Table i: an integer key, a unique code, and a plain two-column index.
void CreateTable(const ado::ConnectionPtr& cn, int i) {
  const std::string t = "t" + std::to_string(i);
  std::string columns = "id INTEGER NOT NULL PRIMARY KEY, code VARCHAR(20) NOT NULL";
  for (int c = 2; c < kColumns; ++c) {
    columns += ", c" + std::to_string(c) + (c % 3 == 0 ? " VARCHAR(40)" : c % 3 == 1 ? " INTEGER" : " NUMERIC(12,2)");
  }
  cn->Execute("CREATE TABLE " + t + " (" + columns + ")");
  cn->Execute("CREATE UNIQUE INDEX " + t + "_code ON " + t + " (code)");
  cn->Execute("CREATE INDEX " + t + "_c2 ON " + t + " (c2, c3 DESC)");
}

void Populate(bool pg, int tables) {
  if (pg) {
    auto admin = Open(PgServer());
    admin->Execute("DROP DATABASE IF EXISTS " + PgDatabase(tables));
    admin->Execute("CREATE DATABASE " + PgDatabase(tables));
  } else {
    std::filesystem::remove(SqliteFile(tables));
    std::ofstream(SqliteFile(tables)).flush();  // the embedded provider opens existing files only
  }
  auto cn = Open(Connection(pg, tables, false));
  cn->BeginTrans();
  for (int i = 0; i < tables; ++i) CreateTable(cn, i);
  cn->CommitTrans();
}

// Each database is made once per run and removed when the run ends.
void Prepare(bool pg, int tables) {
  static std::map<std::pair<bool, int>, bool> made;
  if (made[{pg, tables}]) return;
  Populate(pg, tables);
  made[{pg, tables}] = true;
  std::atexit([] {
    for (const auto& [key, done] : made) {
      if (!done) continue;
      if (key.first) {
        try {
          Open(PgServer())->Execute("DROP DATABASE IF EXISTS " + PgDatabase(key.second));
        } catch (const std::exception&) {
        }
      } else {
        std::filesystem::remove(SqliteFile(key.second));
      }
    }
  });
}

// ---- the engine's own catalogue through raw ODBC

SQLCHAR* Chars(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

class RawOdbc {
 public:
  explicit RawOdbc(const std::string& connection) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env_);
    SQLSetEnvAttr(env_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env_, &dbc_);
    const SQLRETURN rc = SQLDriverConnect(dbc_, nullptr, Chars(connection), SQL_NTS, nullptr, 0, nullptr,
                                          SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc)) throw std::runtime_error("raw ODBC connection failed");
  }
  ~RawOdbc() {
    SQLDisconnect(dbc_);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
    SQLFreeHandle(SQL_HANDLE_ENV, env_);
  }
  RawOdbc(const RawOdbc&) = delete;
  RawOdbc& operator=(const RawOdbc&) = delete;

  // Every row of `sql`, each value as text.
  std::vector<std::vector<std::string>> Rows(const std::string& sql) {
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, dbc_, &stmt);
    if (!SQL_SUCCEEDED(SQLExecDirect(stmt, Chars(sql), SQL_NTS))) {
      SQLFreeHandle(SQL_HANDLE_STMT, stmt);
      throw std::runtime_error("raw ODBC query failed: " + sql);
    }
    SQLSMALLINT columns = 0;
    SQLNumResultCols(stmt, &columns);
    std::vector<std::vector<std::string>> rows;
    while (SQL_SUCCEEDED(SQLFetch(stmt))) {
      auto& row = rows.emplace_back();
      for (SQLUSMALLINT c = 1; c <= columns; ++c) {
        char buffer[256];
        SQLLEN length = 0;
        SQLGetData(stmt, c, SQL_C_CHAR, buffer, sizeof buffer, &length);
        row.emplace_back(length > 0 ? std::string(buffer, std::min<size_t>(length, sizeof buffer - 1)) : "");
      }
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return rows;
  }

 private:
  SQLHENV env_ = SQL_NULL_HENV;
  SQLHDBC dbc_ = SQL_NULL_HDBC;
};

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

size_t SqliteCatalogue(RawOdbc& odbc) {
  size_t facts = 0;
  for (const auto& table : odbc.Rows("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
                                     "'sqlite!_%' ESCAPE '!'")) {
    facts += odbc.Rows("PRAGMA table_info(" + Quoted(table[0]) + ")").size();
    for (const auto& index : odbc.Rows("PRAGMA index_list(" + Quoted(table[0]) + ")")) {
      facts += odbc.Rows("PRAGMA index_xinfo(" + Quoted(index[1]) + ")").size();
    }
  }
  return facts;
}

size_t PostgresCatalogue(RawOdbc& odbc) {
  const auto columns = odbc.Rows(
      "SELECT c.relname, a.attname, a.attnum, t.typname, a.atttypmod, a.attnotnull FROM pg_attribute a "
      "JOIN pg_class c ON c.oid = a.attrelid JOIN pg_namespace n ON n.oid = c.relnamespace "
      "JOIN pg_type t ON t.oid = a.atttypid WHERE n.nspname = 'public' AND c.relkind = 'r' AND a.attnum > 0 "
      "AND NOT a.attisdropped ORDER BY c.relname, a.attnum");
  const auto indexes = odbc.Rows(
      "SELECT t.relname, ic.relname, i.indisunique, i.indisprimary, k.n, a.attname, i.indoption[k.n] & 1 "
      "FROM pg_index i JOIN pg_class ic ON ic.oid = i.indexrelid JOIN pg_class t ON t.oid = i.indrelid "
      "JOIN pg_namespace n ON n.oid = t.relnamespace "
      "CROSS JOIN LATERAL generate_series(0, i.indnkeyatts - 1) AS k(n) "
      "JOIN pg_attribute a ON a.attrelid = t.oid AND a.attnum = i.indkey[k.n] "
      "WHERE n.nspname = 'public' ORDER BY t.relname, ic.relname, k.n");
  return columns.size() + indexes.size();
}

double NativeSecondsPerRun(bool pg, int tables, int64_t runs) {
  RawOdbc odbc(Connection(pg, tables, true));
  const auto start = std::chrono::steady_clock::now();
  for (int64_t i = 0; i < runs; ++i) {
    benchmark::DoNotOptimize(pg ? PostgresCatalogue(odbc) : SqliteCatalogue(odbc));
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / static_cast<double>(runs);
}

// ---- DatabaseInfo

// Args: engine (0 SQLite, 1 PostgreSQL), DBMS (0 "SQL", 1 "JET"), tables.
void BM_DatabaseInfo(benchmark::State& state) {
  const bool pg = state.range(0) == 1;
  const std::string dbms = state.range(1) == 0 ? "SQL" : "JET";
  const int tables = static_cast<int>(state.range(2));
  if (pg && PgServer().empty()) {
    state.SkipWithError("VELMORA_PG_ODBC is not set");
    return;
  }
  Prepare(pg, tables);
  auto cn = Open(Connection(pg, tables, false));
  AdoFlagsPtr flags;
  ConnectionOptionsSet(flags, dbms);
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    com::CollectionPtr described;
    DatabaseInfo(cn, described, flags);
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (described->Count() != tables) state.SkipWithError("DatabaseInfo missed tables");
  }
  const double perTable = seconds / static_cast<double>(state.iterations()) / tables;
  const double nativePerTable = NativeSecondsPerRun(pg, tables, std::max<int64_t>(state.iterations(), 3)) / tables;
  state.counters["us_per_table"] = perTable * 1e6;
  state.counters["native_us_per_table"] = nativePerTable * 1e6;
  state.counters["ratio"] = perTable / nativePerTable;
  state.SetLabel(std::string(pg ? "PostgreSQL" : "SQLite") + " " + dbms);
}

void Sizes(benchmark::internal::Benchmark* b) {
  for (int engine : {0, 1}) {
    for (int dbms : {0, 1}) {
      for (int tables : {10, 100, 1000}) b->Args({engine, dbms, tables});
    }
  }
}

BENCHMARK(BM_DatabaseInfo)->Apply(Sizes)->Unit(benchmark::kMillisecond)->MinTime(0.5);

}  // namespace

BENCHMARK_MAIN();
