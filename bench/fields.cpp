// FieldValueGet and FieldValueSet against plain Field.Value over 200,000 rows
// of 5 columns (one of them Null in every other row), in the same run:
//  - "Walk": rows already held by a static cursor, so that only the cost of
//    reading the values is compared;
//  - "Fetch": a forward-only cursor opened each time, the usual way records
//    are loaded (the engine's fetch is part of the cost);
//  - "Write": every field of every row of a recordset held in memory set
//    through the Field.Value put and through FieldValueSet.
// Engines: SQLite, and the PostgreSQL server of VELMORA_PG_ODBC when it is
// set. The aim is the field routines within 1.2x of Field.Value.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "velmora/ado.hpp"
#include "velmora/fields/field_access.hpp"

using namespace velmora;

namespace {

constexpr int kRows = 200000;
const char* const kColumns[] = {"id", "name", "amount", "stamp", "note"};

// The SQLite file of this run, removed at the end of main.
const std::filesystem::path& SqlitePath() {
  static const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("velmora-bench-fields-" + std::to_string(getpid()) + ".db");
  return path;
}

ado::ConnectionPtr Connect(bool pg) {
  const char* server = std::getenv("VELMORA_PG_ODBC");
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(pg ? std::string(server ? server : "") : "DRIVER=SQLite3;Database=" + SqlitePath().string() + ";");
  return cn;
}

// The table, the same on both engines; "note" is Null in every other row.
void Fill(bool pg) {
  auto cn = Connect(pg);
  try {
    cn->Execute("DROP TABLE bench_fields");
  } catch (const com::Error&) {
  }
  cn->Execute(
      "CREATE TABLE bench_fields (id INTEGER, name VARCHAR(30), amount DOUBLE PRECISION, stamp TIMESTAMP, "
      "note VARCHAR(40))");
  const std::string rows = std::to_string(kRows);
  if (pg) {
    cn->Execute(
        "INSERT INTO bench_fields SELECT g, 'name ' || g, g * 1.5, TIMESTAMP '2020-01-01' + g * INTERVAL "
        "'1 second', CASE WHEN g % 2 = 0 THEN 'note ' || g END FROM generate_series(1, " +
        rows + ") g");
  } else {
    cn->Execute(
        "INSERT INTO bench_fields WITH RECURSIVE g(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM g WHERE n < " +
        rows +
        ") SELECT n, 'name ' || n, n * 1.5, '2020-01-01 00:00:00', CASE WHEN n % 2 = 0 THEN 'note ' || n "
        "END FROM g");
  }
}

ado::RecordsetPtr OpenRows(const ado::ConnectionPtr& cn, int32_t cursorType) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant("SELECT id, name, amount, stamp, note FROM bench_fields"), com::Variant(cn),
           cursorType, ado::adLockReadOnly, ado::adCmdText);
  return rs;
}

struct PlainValue {
  static com::Variant Read(const ado::FieldPtr& f) { return f->Value(); }
};
struct NullFreeValue {
  static com::Variant Read(const ado::FieldPtr& f) {
    int16_t vType = 0;
    return FieldValueGet(f, vType, false);
  }
};

// Reads every column of every row from the current position to the end.
template <class Access>
int64_t ReadToEnd(ado::Recordset& rs) {
  ado::FieldPtr fields[std::size(kColumns)];
  for (std::size_t i = 0; i < std::size(kColumns); ++i) fields[i] = rs.Fields()->Item(kColumns[i]);
  int64_t rows = 0;
  for (; !rs.IsEOF(); rs.MoveNext(), ++rows) {
    for (const auto& f : fields) benchmark::DoNotOptimize(Access::Read(f));
  }
  return rows;
}

bool Skip(benchmark::State& state, bool pg) {
  if (!pg || std::getenv("VELMORA_PG_ODBC")) return false;
  state.SkipWithError("VELMORA_PG_ODBC is not set");
  return true;
}

template <class Access>
void Walk(benchmark::State& state, bool pg) {
  if (Skip(state, pg)) return;
  auto cn = Connect(pg);
  auto rs = OpenRows(cn, ado::adOpenStatic);
  ReadToEnd<PlainValue>(*rs);  // every row held from here on
  for (auto _ : state) {
    rs->MoveFirst();
    state.SetItemsProcessed(state.items_processed() + ReadToEnd<Access>(*rs));
  }
}

template <class Access>
void Fetch(benchmark::State& state, bool pg) {
  if (Skip(state, pg)) return;
  auto cn = Connect(pg);
  for (auto _ : state) {
    auto rs = OpenRows(cn, ado::adOpenForwardOnly);
    state.SetItemsProcessed(state.items_processed() + ReadToEnd<Access>(*rs));
  }
}

struct PlainPut {
  static void Write(const ado::FieldPtr& f, const com::Variant& v) { f->Value(v); }
};
struct TolerantPut {
  static void Write(const ado::FieldPtr& f, const com::Variant& v) { FieldValueSet(f, v, false); }
};

// A fabricated recordset of kRows rows with the columns of bench_fields.
ado::RecordsetPtr RowsInMemory() {
  auto rs = std::make_shared<ado::Recordset>();
  auto fields = rs->Fields();
  fields->Append("id", ado::adInteger, 4);
  fields->Append("name", ado::adVarWChar, 30);
  fields->Append("amount", ado::adDouble, 8);
  fields->Append("stamp", ado::adDBTimeStamp, 16);
  fields->Append("note", ado::adVarWChar, 40);
  rs->Open();
  for (int i = 0; i < kRows; ++i) {
    rs->AddNew();
    fields->Item("id")->Value(com::Variant(i));
    rs->Update();
  }
  return rs;
}

template <class Access>
void Write(benchmark::State& state) {
  auto rs = RowsInMemory();
  ado::FieldPtr fields[std::size(kColumns)];
  for (std::size_t i = 0; i < std::size(kColumns); ++i) fields[i] = rs->Fields()->Item(kColumns[i]);
  const com::Variant values[] = {com::Variant(int32_t{7}), com::Variant("name 7"), com::Variant(10.5),
                                 com::Variant(com::Date(43831.5)), com::Variant("note 7")};
  for (auto _ : state) {
    int64_t rows = 0;
    for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext(), ++rows) {
      for (std::size_t i = 0; i < std::size(kColumns); ++i) Access::Write(fields[i], values[i]);
    }
    state.SetItemsProcessed(state.items_processed() + rows);
  }
}

void RegisterAll() {
  benchmark::RegisterBenchmark("Write/FieldValue/InMemory", Write<PlainPut>)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Write/FieldValueSet/InMemory", Write<TolerantPut>)->Unit(benchmark::kMillisecond);
  for (bool pg : {false, true}) {
    const std::string engine = pg ? "PostgreSQL" : "SQLite";
    benchmark::RegisterBenchmark(("Walk/FieldValue/" + engine).c_str(), Walk<PlainValue>, pg)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("Walk/FieldValueGet/" + engine).c_str(), Walk<NullFreeValue>, pg)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("Fetch/FieldValue/" + engine).c_str(), Fetch<PlainValue>, pg)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("Fetch/FieldValueGet/" + engine).c_str(), Fetch<NullFreeValue>, pg)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::filesystem::remove(SqlitePath());
  Fill(false);
  if (std::getenv("VELMORA_PG_ODBC")) Fill(true);
  RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove(SqlitePath());
  return 0;
}
