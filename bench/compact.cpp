// CompactMdb on a 100 MB embedded database with a third of its rows
// deleted, against the engine shell's own compaction into a new file plus a
// copy over the original (the same work by hand), in the same run. Each
// iteration starts from a fresh copy of the same database (not timed).
// Counters: library_ms, anchor_ms, ratio (library over anchor), and
// reclaimed_mb (the size the compaction gave back).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "velmora/velmora.hpp"

using namespace velmora;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

fs::path Folder() {
  static const fs::path folder = [] {
    fs::path p = fs::temp_directory_path() / ("velmora_bench_compact_" + std::to_string(::getpid()));
    fs::create_directories(p);
    return p;
  }();
  return folder;
}

void Run(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

std::string Quoted(const fs::path& p) { return "'" + p.string() + "'"; }

// About 100 MB of rows of 1,000 bytes, every third row then deleted.
fs::path Template() {
  const fs::path file = Folder() / "template.db";
  if (!fs::exists(file)) {
    Run("sqlite3 " + Quoted(file) +
        " \"CREATE TABLE t (id INTEGER PRIMARY KEY, v BLOB); "
        "INSERT INTO t (v) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
        "SELECT randomblob(1000) FROM n; DELETE FROM t WHERE id % 3 = 0;\"");
  }
  return file;
}

double Milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

void CompactMdbAgainstTheShell(benchmark::State& state) {
  const fs::path source = Template();
  const fs::path work = Folder() / "work.db";
  const fs::path shellCopy = Folder() / "shell.db";
  double library = 0, anchor = 0, reclaimed = 0;
  for (auto _ : state) {
    fs::copy_file(source, work, fs::copy_options::overwrite_existing);
    const auto before = fs::file_size(work);
    auto start = Clock::now();
    std::string tmpFile;
    if (Macros().CompactMdb(work.string(), tmpFile)) throw std::runtime_error("CompactMdb failed");
    const auto libraryTime = Clock::now() - start;
    reclaimed += static_cast<double>(before - fs::file_size(work)) / 1e6;

    fs::copy_file(source, work, fs::copy_options::overwrite_existing);
    fs::remove(shellCopy);
    start = Clock::now();
    Run("sqlite3 " + Quoted(work) + " \"VACUUM INTO '" + shellCopy.string() + "'\" && cp " + Quoted(shellCopy) +
        " " + Quoted(work) + " && sync " + Quoted(work));
    const auto anchorTime = Clock::now() - start;

    library += Milliseconds(libraryTime);
    anchor += Milliseconds(anchorTime);
    state.SetIterationTime(std::chrono::duration<double>(libraryTime).count());
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["library_ms"] = library / n;
  state.counters["anchor_ms"] = anchor / n;
  state.counters["ratio"] = library / anchor;
  state.counters["reclaimed_mb"] = reclaimed / n;
}

BENCHMARK(CompactMdbAgainstTheShell)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(Folder(), ec);
  return 0;
}
