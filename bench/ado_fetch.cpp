// Walks 200,000 rows x 5 columns through Recordset/Field.Value and through
// raw ODBC (bound columns, row arrays) in the same run, on SQLite and on the
// PostgreSQL server of VELMORA_PG_ODBC, and prints the ratio.
//
// Mode "memory" (bench_ado_fetch memory [rows]) walks a forward-only cursor
// over 1,000,000 rows and prints peak RSS before and after.
#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "velmora/ado.hpp"

using namespace velmora;

namespace {

constexpr int kRows = 200000;

std::string SqliteFile() {
  static const std::string file = [] {
    auto path = std::filesystem::temp_directory_path() / ("velmora-bench-" + std::to_string(getpid()) + ".db");
    std::filesystem::remove(path);
    return path.string();
  }();
  return file;
}

std::string ConnectionString(bool pg) {
  if (!pg) return "DRIVER=SQLite3;Database=" + SqliteFile() + ";";
  const char* s = std::getenv("VELMORA_PG_ODBC");
  return s ? s : "";
}

// The same table on both engines: id, name, amount, stamp, note.
void Fill(bool pg, int rows) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(ConnectionString(pg));
  try {
    cn->Execute("DROP TABLE bench_rows");
  } catch (const com::Error&) {
  }
  cn->Execute("CREATE TABLE bench_rows (id INTEGER, name VARCHAR(30), amount DOUBLE PRECISION, stamp TIMESTAMP, "
              "note VARCHAR(40))");
  if (pg) {
    cn->Execute("INSERT INTO bench_rows SELECT g, 'name ' || g, g * 1.5, TIMESTAMP '2020-01-01' + g * INTERVAL '1 "
                "second', 'note number ' || g FROM generate_series(1, " + std::to_string(rows) + ") g");
  } else {
    cn->Execute("WITH RECURSIVE g(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM g WHERE n < " + std::to_string(rows) +
                ") INSERT INTO bench_rows SELECT n, 'name ' || n, n * 1.5, '2020-01-01 00:00:00', 'note number ' || n "
                "FROM g");
  }
}

double WalkAdo(bool pg) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(ConnectionString(pg));
  const auto start = std::chrono::steady_clock::now();
  auto rs = cn->Execute("SELECT id, name, amount, stamp, note FROM bench_rows");
  auto fields = rs->Fields();
  ado::FieldPtr f[5];
  for (int i = 0; i < 5; ++i) f[i] = fields->Item(com::Variant(int32_t{i}));
  size_t touched = 0;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    for (auto& field : f) {
      const com::Variant v = field->Value();
      touched += static_cast<size_t>(v.VarType());
    }
  }
  benchmark::DoNotOptimize(touched);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double WalkRaw(bool pg) {
  SQLHENV env;
  SQLHDBC dbc;
  SQLHSTMT stmt;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
  SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
  std::string cs = ConnectionString(pg);
  if (pg) cs += ";UseDeclareFetch=1;Fetch=2000;Protocol=7.4-1;BoolsAsChar=0";
  SQLDriverConnect(dbc, nullptr, reinterpret_cast<SQLCHAR*>(cs.data()), SQL_NTS, nullptr, 0, nullptr,
                   SQL_DRIVER_NOPROMPT);
  const auto start = std::chrono::steady_clock::now();
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &stmt);
  constexpr SQLULEN kArray = 256;
  SQLULEN fetched = 0;
  SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kArray), 0);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
  SQLExecDirect(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>("SELECT id, name, amount, stamp, note FROM bench_rows")),
                SQL_NTS);
  static SQLBIGINT id[kArray];
  static char name[kArray][64], note[kArray][64];
  static double amount[kArray];
  static SQL_TIMESTAMP_STRUCT stamp[kArray];
  static SQLLEN ind[5][kArray];
  SQLBindCol(stmt, 1, SQL_C_SBIGINT, id, 0, ind[0]);
  SQLBindCol(stmt, 2, SQL_C_CHAR, name, 64, ind[1]);
  SQLBindCol(stmt, 3, SQL_C_DOUBLE, amount, 0, ind[2]);
  SQLBindCol(stmt, 4, SQL_C_TYPE_TIMESTAMP, stamp, 0, ind[3]);
  SQLBindCol(stmt, 5, SQL_C_CHAR, note, 64, ind[4]);
  size_t touched = 0;
  while (SQL_SUCCEEDED(SQLFetch(stmt))) {
    for (SQLULEN r = 0; r < fetched; ++r) touched += static_cast<size_t>(id[r]) + std::strlen(name[r]) + std::strlen(note[r]);
  }
  benchmark::DoNotOptimize(touched);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  SQLFreeHandle(SQL_HANDLE_STMT, stmt);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  SQLFreeHandle(SQL_HANDLE_ENV, env);
  return seconds;
}

void Compare(benchmark::State& state, bool pg) {
  if (pg && ConnectionString(true).empty()) {
    state.SkipWithError("VELMORA_PG_ODBC is not set");
    return;
  }
  Fill(pg, kRows);
  double ado = 0, raw = 0;
  for (auto _ : state) {
    raw += WalkRaw(pg);
    ado += WalkAdo(pg);
  }
  state.counters["raw_ms"] = raw * 1000 / static_cast<double>(state.iterations());
  state.counters["ado_ms"] = ado * 1000 / static_cast<double>(state.iterations());
  state.counters["ratio"] = ado / raw;
  std::printf("%s: object model %.1f ms, raw ODBC %.1f ms, ratio %.2f\n", pg ? "PostgreSQL" : "SQLite",
              ado * 1000 / static_cast<double>(state.iterations()), raw * 1000 / static_cast<double>(state.iterations()),
              ado / raw);
}

void BM_FetchSqlite(benchmark::State& state) { Compare(state, false); }
void BM_FetchPostgres(benchmark::State& state) { Compare(state, true); }
BENCHMARK(BM_FetchSqlite)->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FetchPostgres)->Iterations(3)->Unit(benchmark::kMillisecond);

long PeakRssKb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

int MemoryMode(int rows) {
  for (bool pg : {true, false}) {  // peak RSS only grows: the server engine first
    if (pg && ConnectionString(true).empty()) continue;
    Fill(pg, rows);
    const long before = PeakRssKb();
    auto cn = std::make_shared<ado::Connection>();
    cn->Open(ConnectionString(pg));
    auto rs = cn->Execute("SELECT id, name, amount, stamp, note FROM bench_rows");
    long count = 0;
    for (; !rs->IsEOF(); rs->MoveNext()) ++count;
    std::printf("%s forward-only walk of %ld rows: peak RSS before %ld KiB, after %ld KiB\n",
                pg ? "PostgreSQL" : "SQLite", count, before, PeakRssKb());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  int rc = 0;
  if (argc > 1 && std::strcmp(argv[1], "memory") == 0) {
    rc = MemoryMode(argc > 2 ? std::atoi(argv[2]) : 1000000);
  } else {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
  }
  std::filesystem::remove(SqliteFile());
  return rc;
}
