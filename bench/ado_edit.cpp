// One increment of a counter row, side by side in one run:
//  - through a pessimistic recordset (open (2, 2), read, set value + 1,
//    Update, Close), as the unique-key counters do;
//  - through plain SQL statements on the same Connection (a transaction that
//    locks the row, reads it, updates it and commits).
// On SQLite (a file in the temporary folder) and on the PostgreSQL server of
// VELMORA_PG_ODBC. The aim is a recordset within 2x of the statements.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "velmora/ado.hpp"
#include "velmora/com/conversions.hpp"

using namespace velmora;

namespace {

enum class Db { SQLite, PostgreSQL };

std::string ConnectionString(Db db) {
  if (db == Db::PostgreSQL) {
    const char* s = std::getenv("VELMORA_PG_ODBC");
    return s ? s : "";
  }
  static const std::string file = [] {
    auto path = std::filesystem::temp_directory_path() / ("velmora-edit-" + std::to_string(getpid()) + ".db");
    std::filesystem::remove(path);
    std::filesystem::remove(path.string() + "-wal");
    return path.string();
  }();
  return "DRIVER=SQLite3;Database=" + file + ";";
}

ado::ConnectionPtr Prepared(Db db) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(ConnectionString(db));
  try {
    cn->Execute("DROP TABLE bench_counter");
  } catch (const com::Error&) {
    // first run
  }
  cn->Execute("CREATE TABLE bench_counter (name VARCHAR(20) PRIMARY KEY, value INTEGER)");
  cn->Execute("INSERT INTO bench_counter VALUES ('c', 0)");
  return cn;
}

constexpr const char* kSelect = "SELECT * FROM bench_counter WHERE name='c'";

void IncrementThroughRecordset(ado::Connection& cn) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant(kSelect), com::Variant(cn.shared_from_this()), ado::adOpenDynamic, ado::adLockPessimistic,
           ado::adCmdText);
  auto value = rs->Fields()->Item(com::Variant("value"));
  value->Value(com::Variant(com::CLng(value->Value()) + 1));
  rs->Update();
  rs->Close();
}

void IncrementThroughStatements(ado::Connection& cn, Db db) {
  const bool pg = db == Db::PostgreSQL;
  if (pg) cn.BeginTrans();
  else cn.Execute("BEGIN IMMEDIATE");
  auto rs = cn.Execute(std::string("SELECT value FROM bench_counter WHERE name='c'") + (pg ? " FOR UPDATE" : ""));
  const int32_t next = com::CLng(rs->Fields()->Item(com::Variant("value"))->Value()) + 1;
  rs->Close();
  cn.Execute("UPDATE bench_counter SET value = " + std::to_string(next) + " WHERE name='c'");
  if (pg) cn.CommitTrans();
  else cn.Execute("COMMIT");
}

void Run(benchmark::State& state, Db db, bool recordset) {
  auto cn = Prepared(db);
  for (auto _ : state) {
    if (recordset) IncrementThroughRecordset(*cn);
    else IncrementThroughStatements(*cn, db);
  }
  auto rs = cn->Execute("SELECT value FROM bench_counter");
  const int64_t total = com::CLng(rs->Fields()->Item(com::Variant("value"))->Value());
  if (total != static_cast<int64_t>(state.iterations())) state.SkipWithError("the counter lost increments");
  state.counters["increments/s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                      benchmark::Counter::kIsRate);
}

void BM_Increment_SQLite_Statements(benchmark::State& s) { Run(s, Db::SQLite, false); }
void BM_Increment_SQLite_Recordset(benchmark::State& s) { Run(s, Db::SQLite, true); }
void BM_Increment_PostgreSQL_Statements(benchmark::State& s) { Run(s, Db::PostgreSQL, false); }
void BM_Increment_PostgreSQL_Recordset(benchmark::State& s) { Run(s, Db::PostgreSQL, true); }

BENCHMARK(BM_Increment_SQLite_Statements)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Increment_SQLite_Recordset)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Increment_PostgreSQL_Statements)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Increment_PostgreSQL_Recordset)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
