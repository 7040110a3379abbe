// Unique-key counters and table locks against the engines' own tools, in the
// same run:
//  - GetUnk against the engine's own sequence (PostgreSQL nextval, SQLite
//    autoincrement insert), each from 1 process and from 4 processes at once;
//  - TableLock take-and-release against a PostgreSQL advisory lock and
//    unlock (and TableLock on SQLite, for scale).
// SQLite runs on a file in the temporary folder with the driver's defaults
// and a busy timeout of 10 s;
// PostgreSQL on the server of VELMORA_PG_ODBC.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "velmora/velmora.hpp"
#include "velmora/support/system_services.hpp"
#include "velmora/sysrecords/system_tables.hpp"

using namespace velmora;

namespace {

constexpr int kProcesses = 4;
constexpr int kOpsPerProcess = 500;

std::string ConnectionString(bool pg) {
  if (pg) {
    const char* s = std::getenv("VELMORA_PG_ODBC");
    return s ? s : "";
  }
  static const std::string file = [] {
    const auto path =
        std::filesystem::temp_directory_path() / ("velmora-bench-sys-" + std::to_string(getpid()) + ".db");
    std::filesystem::remove(path);
    std::ofstream(path).flush();
    return path.string();
  }();
  // A busy timeout lets the anchor's plain inserts wait for each other as
  // the counter's own transactions do.
  return "DRIVER=SQLite3;Database=" + file + ";Timeout=10000";
}

ado::ConnectionPtr Connect(bool pg) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(ConnectionString(pg));
  return cn;
}

void ExecuteIgnoringErrors(const ado::ConnectionPtr& cn, const std::string& sql) {
  try {
    cn->Execute(sql);
  } catch (const com::Error&) {
  }
}

// Fresh system tables and the engine's own counters.
void Prepare(bool pg) {
  auto cn = Connect(pg);
  ExecuteIgnoringErrors(cn, "DROP TABLE [SYS_UNK]");
  ExecuteIgnoringErrors(cn, "DROP TABLE [SYS_LOCK]");
  ExecuteIgnoringErrors(cn, "DROP TABLE bench_auto");
  CreateSystemTables(cn);
  if (pg) {
    ExecuteIgnoringErrors(cn, "DROP SEQUENCE bench_seq");
    cn->Execute("CREATE SEQUENCE bench_seq");
  } else {
    cn->Execute("CREATE TABLE bench_auto (id INTEGER PRIMARY KEY AUTOINCREMENT, x INTEGER)");
  }
}

using Operation = std::function<void(const ado::ConnectionPtr&)>;

void DrawUnk(const ado::ConnectionPtr& cn) { benchmark::DoNotOptimize(GetUnk(cn, "BENCH", 120)); }

Operation EngineSequence(bool pg) {
  if (pg) return [](const ado::ConnectionPtr& cn) { cn->Execute("SELECT nextval('bench_seq')"); };
  return [](const ado::ConnectionPtr& cn) { cn->Execute("INSERT INTO bench_auto (x) VALUES (1)"); };
}

void TakeAndRelease(const ado::ConnectionPtr& cn) {
  if (TableLock(cn, "BENCH", true, 120) != TLR_OK || TableLock(cn, "BENCH", false, 120) != TLR_OK) {
    std::abort();
  }
}

void AdvisoryLockAndUnlock(const ado::ConnectionPtr& cn) {
  cn->Execute("SELECT pg_advisory_lock(4242)");
  cn->Execute("SELECT pg_advisory_unlock(4242)");
}

void OneProcess(benchmark::State& state, bool pg, const Operation& operation) {
  Prepare(pg);
  auto cn = Connect(pg);
  for (auto _ : state) operation(cn);
  state.SetItemsProcessed(state.iterations());
}

// kProcesses processes each run kOpsPerProcess operations at once; one
// iteration is the wall time of the whole batch.
void ManyProcesses(benchmark::State& state, bool pg, const Operation& operation) {
  Prepare(pg);
  for (auto _ : state) {
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) {
      const pid_t pid = fork();
      if (pid == 0) {
        // Each process is a user of its own, as on separate workstations.
        setenv(support::kUserOverrideVariable, ("bench" + std::to_string(i)).c_str(), 1);
        auto cn = Connect(pg);
        for (int n = 0; n < kOpsPerProcess; ++n) operation(cn);
        _exit(0);
      }
      children.push_back(pid);
    }
    for (const pid_t pid : children) {
      int status = 0;
      waitpid(pid, &status, 0);
      if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("a child failed");
    }
  }
  state.SetItemsProcessed(state.iterations() * kProcesses * kOpsPerProcess);
}

void Register(const std::string& name, bool pg, const Operation& operation) {
  const std::string engine = pg ? "/PostgreSQL" : "/SQLite";
  benchmark::RegisterBenchmark((name + engine + "/1proc").c_str(), [=](benchmark::State& s) {
    OneProcess(s, pg, operation);
  })->UseRealTime();
  benchmark::RegisterBenchmark((name + engine + "/4proc").c_str(), [=](benchmark::State& s) {
    ManyProcesses(s, pg, operation);
  })->UseRealTime()->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
  for (const bool pg : {false, true}) {
    Register("GetUnk", pg, DrawUnk);
    Register("EngineSequence", pg, EngineSequence(pg));
    Register("TableLockTakeRelease", pg, TakeAndRelease);
  }
  Register("AdvisoryLockUnlock", true, AdvisoryLockAndUnlock);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
