// CompactMdb through AdoMacros, and `velmora compact` run as a process.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "facade/tool_runner.hpp"
#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/velmora.hpp"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

// A database file with rows deleted, so that compacting it frees pages.
std::string DatabaseWithFreePages() {
  const std::string file = TempFile(".db").string();
  auto cn = std::make_shared<ado::Connection>();
  cn->Open("DRIVER=SQLite3;Database=" + file);
  cn->DialectRewriting(false);
  cn->Execute("CREATE TABLE t (v TEXT)");
  cn->Execute("INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
              "SELECT printf('%0500d', i) FROM n");
  cn->Execute("DELETE FROM t WHERE rowid % 2 = 0");
  cn->Close();
  return file;
}

TEST(CompactMdbFacade, CompactsAndHandsBackTheTemporaryName) {
  const std::string db = DatabaseWithFreePages();
  const auto before = fs::file_size(db);
  std::string tmpFile;
  EXPECT_FALSE(Macros().CompactMdb(db, tmpFile));
  EXPECT_NE(tmpFile, "");
  EXPECT_LT(fs::file_size(db), before);
  EXPECT_FALSE(Macros().CompactMdb(db));
}

TEST(CompactMdbFacade, FailureCarriesTheRoutinesSource) {
  const com::Error e = RaisedError([] { Macros().CompactMdb((TempDir() / "none.db").string()); });
  EXPECT_EQ(e.Number(), 53);
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.CompactMdb");
}

TEST(CompactCommand, PrintsTheSizesBeforeAndAfter) {
  const std::string db = DatabaseWithFreePages();
  const auto before = fs::file_size(db);
  const ToolRun run = RunTool("compact '" + db + "'");
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "before: " + std::to_string(before) + " bytes\nafter: " + std::to_string(fs::file_size(db)) +
                         " bytes\n");
  EXPECT_LT(fs::file_size(db), before);
}

TEST(CompactCommand, FailsWithTheLibrarysErrorLine) {
  const std::string file = TempFile(".txt").string();
  std::ofstream(file) << "not a database at all";
  const ToolRun run = RunTool("compact '" + file + "'");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "velmora compact: error 321 (Velmora.modAdoSupport.CompactMdb): '" + file +
                         "' is not a database file\n");
  EXPECT_EQ(FileContents(file), "not a database at all");
}

}  // namespace
}  // namespace velmora::test
