// `velmora compare` and `velmora version`.
#include <gtest/gtest.h>

#include <fstream>

#include "facade/tool_runner.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/facade/ado_macros.hpp"

namespace velmora::test {
namespace {

// A new SQLite file holding table t with the values of column v.
std::string FileWith(const std::vector<int>& values) {
  const std::string file = TempFile(".db").string();
  std::ofstream(file).flush();
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(Macros().JETPROVIDER(file));
  cn->Execute("CREATE TABLE t (v INTEGER)");
  for (int v : values) cn->Execute("INSERT INTO t VALUES (" + std::to_string(v) + ")");
  return file;
}

TEST(CompareTool, ExitStatusTellsEqualFromDifferentFromFailed) {
  const std::string a = FileWith({1, 5}), b = FileWith({5}), c = FileWith({4});
  const ToolRun equal = RunTool("compare '" + a + "' t v '" + b + "' t v");
  EXPECT_EQ(equal.exitCode, 0) << equal.err;
  EXPECT_EQ(equal.out, "equal\n");
  const ToolRun different = RunTool("compare '" + a + "' t v '" + c + "' t v");
  EXPECT_EQ(different.exitCode, 3) << different.err;
  EXPECT_EQ(different.out, "different\n");
  const ToolRun failed = RunTool("compare '" + a + "' t v '" + c + "' missing v");
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_NE(failed.err.find("Velmora.AdoMacros.RecorsetsCompare"), std::string::npos) << failed.err;
  EXPECT_EQ(RunTool("compare '" + a + "' t v").exitCode, 2);
}

TEST(CompareTool, TheServerIsReachedByItsConnectionString) {
  const std::string a = FileWith({});
  const ToolRun run = RunTool("compare '" + a + "' t v '" + PostgresOdbc() + "' no_such_table_here v");
  EXPECT_EQ(run.exitCode, 1);  // the server answered: the table is missing there
  EXPECT_NE(run.err.find("no_such_table_here"), std::string::npos) << run.err;
}

TEST(VersionTool, PrintsTheDataAccessVersionAsTextOrJson) {
  int32_t major = 0, minor = 0, build = 0, qfe = 0;
  std::string text;
  Macros().AdoVersion(major, minor, build, qfe, text);
  const ToolRun plain = RunTool("version");
  EXPECT_EQ(plain.exitCode, 0);
  EXPECT_EQ(plain.out, text + "\n");
  const ToolRun json = RunTool("version --json");
  EXPECT_EQ(json.exitCode, 0);
  EXPECT_EQ(json.out.rfind("{\"major\":" + std::to_string(major), 0), 0u) << json.out;
  EXPECT_NE(json.out.find("\"text\":"), std::string::npos) << json.out;
  EXPECT_EQ(RunTool("version --xml").exitCode, 2);
}

}  // namespace
}  // namespace velmora::test
