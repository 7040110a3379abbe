// The `velmora` tool, run as a separate process: exit codes and output.
#include <gtest/gtest.h>

#include <string>

#include "facade/tool_runner.hpp"
#include "support_common/test_env.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/version.hpp"

namespace velmora {
namespace {

using test::HasLine;
using test::RunTool;

TEST(Tool, HelpListsEveryCommandWithUsageAndSummary) {
  const auto run = RunTool("--help");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(HasLine(run.out, "  types")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "      print the type tables.*")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  demo")) << run.out;
  EXPECT_EQ(run.err, "");
}

TEST(Tool, VersionComesFromTheBuild) {
  const auto run = RunTool("--version");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, std::string("velmora ") + VELMORA_VERSION_STRING + "\n");
}

TEST(Tool, NoArgumentsIsAUsageError) {
  const auto run = RunTool("");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("usage: velmora"), std::string::npos);
}

TEST(Tool, UnknownCommandIsAUsageError) {
  const auto run = RunTool("frobnicate");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_NE(run.err.find("unknown command 'frobnicate'"), std::string::npos) << run.err;
}

TEST(Tool, CommandHelpGivesItsUsage) {
  const auto run = RunTool("types --help");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(HasLine(run.out, "usage: velmora types")) << run.out;
}

TEST(Tool, TypesRejectsArguments) {
  const auto run = RunTool("types extra");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_NE(run.err.find("takes no arguments"), std::string::npos) << run.err;
}

TEST(Tool, TypesPrintsTheVariantTypeNames) {
  const auto run = RunTool("types");
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(HasLine(run.out, " +2  Integer"));
  EXPECT_TRUE(HasLine(run.out, " +17  Byte"));
  EXPECT_TRUE(HasLine(run.out, " +14  -"));
}

TEST(Tool, TypesPrintsTheAdoTypes) {
  const auto run = RunTool("types");
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(HasLine(run.out, " +2  adSmallInt +2 Integer +smallint"));
  EXPECT_TRUE(HasLine(run.out, " +131  adNumeric +5 Double +decimal"));
  EXPECT_TRUE(HasLine(run.out, " +135  adDBTimeStamp +7 Date +datetime"));
  EXPECT_TRUE(HasLine(run.out, " +204  adVarBinary +8 String +image"));
  EXPECT_TRUE(HasLine(run.out, " +205  adLongVarBinary +8 String +unknown"));
}

TEST(Tool, TypesPrintsEveryKnownSqlServerName) {
  const auto run = RunTool("types");
  ASSERT_EQ(run.exitCode, 0) << run.err;
  for (std::string_view name : FieldTypeNames()) {
    const int32_t code = FieldTypeStringToConst(std::string(name));
    EXPECT_TRUE(HasLine(run.out, "  " + std::string(name) + " +" + std::to_string(code) + " ad[A-Za-z]+")) << name;
  }
  EXPECT_TRUE(HasLine(run.out, "  timestamp +128 adBinary"));
}

// A file the tool cannot open is reported by its cause, not as a file that
// cannot be found.
TEST(Tool, FileErrorsNameTheirCause) {
  const std::filesystem::path folder = test::TempDir() / "tool-files";
  std::filesystem::create_directory(folder);
  const std::string missingFolder = (folder / "none" / "x.db").string();
  auto run = RunTool("init '" + missingFolder + "'");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("error 76"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("the folder '" + (folder / "none").string() + "' does not exist"), std::string::npos)
      << run.err;
  run = RunTool("unk '" + folder.string() + "' T");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("error 75"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("it is a folder"), std::string::npos) << run.err;
  run = RunTool("unk '" + (folder / "missing.db").string() + "' T");  // the provider's own message
  EXPECT_NE(run.err.find("Could not find file"), std::string::npos) << run.err;
}

TEST(Tool, DemoRunsTheMainJob) {
  const auto run = RunTool("demo");
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_TRUE(HasLine(run.out, "== Type tables ==")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  varchar +200 adVarChar")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "numbers for ORDERS: 1 2 3; for ITEMS: 1")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "release ORDERS: TLR_OK")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  ID 1: NAME \"O'Brien & \", SINCE 00:00:00")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  ID 2: NAME \"\", SINCE 0")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "serialized to [0-9]+ characters and back: ok")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "keys in order: apple apple fig pear plum")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "Find \"banana\": GE at 3, LT at 2, EQ at 0")) << run.out;
}

}  // namespace
}  // namespace velmora
