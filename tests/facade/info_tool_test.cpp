// `velmora info`: tables, columns and indexes as text and as JSON on both
// engines, the table lists, progress on stderr, errors and bad usage.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "ado/engine_fixture.hpp"
#include "facade/json_reader.hpp"
#include "facade/tool_runner.hpp"

namespace velmora::test {
namespace {

std::string Upper(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

class InfoToolTest : public EngineTest {
 protected:
  // An order line: a key, a unique code, a decimal price and a plain index
  // over two columns in opposite orders. Names are in lower case, as
  // PostgreSQL keeps unquoted names.
  std::string Orders() {
    const std::string t = Table("lines", "id INTEGER NOT NULL PRIMARY KEY, code nvarchar(50) NOT NULL UNIQUE, "
                                         "note nvarchar(20), price NUMERIC(10, 2), qty INTEGER");
    cn->Execute("CREATE INDEX ix_qty" + suffix + " ON " + t + " (qty DESC, note)");
    return t;
  }
  // Runs `velmora info` on this test's database. The server's database is
  // shared with other tests, so its tests name their tables.
  ToolRun Info(const std::string& options) { return RunTool("info '" + ConnectionString() + "' " + options); }
  Json InfoJson(const std::string& options) {
    const ToolRun run = Info("--json " + options);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    return JsonReader::Parse(run.out);
  }
};

std::vector<std::string> TableNames(const Json& document) {
  std::vector<std::string> names;
  for (const Json& table : document["tables"].items) names.push_back(table["name"].text);
  return names;
}

const Json& Named(const Json& array, const std::string& name) {
  for (const Json& item : array.items) {
    if (item["name"].text == name) return item;
  }
  throw std::runtime_error("nothing named " + name);
}

TEST_P(InfoToolTest, TextAlignsColumnsAndIndexes) {
  const std::string t = Orders();
  const ToolRun run = Info("--include " + t);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(HasLine(run.out, "table " + t + "( \\(owner [^)]+\\))?")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  column  native type   ADO type        size  precision  scale  nullable")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  id      int 56        adInteger 3        4         10      0  no")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  code    nvarchar 231  adVarWChar 202    50         50      0  no")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  note    nvarchar 231  adVarWChar 202    20         20      0  yes")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  ix_qty" + suffix + " +qty desc, note asc +no +no +no")) << run.out;
  EXPECT_TRUE(HasLine(run.out, "  [^ ]+ +id asc +yes +yes +yes")) << run.out;  // the primary key constraint
  EXPECT_TRUE(HasLine(run.out, "  [^ ]+ +code asc +no +yes +yes")) << run.out;
  EXPECT_TRUE(run.out.ends_with("\n1 table\n")) << run.out;
}

TEST_P(InfoToolTest, JsonHasTheDocumentedShape) {
  const std::string t = Orders();
  const Json document = InfoJson("--include " + t);
  EXPECT_EQ(document.keyOrder, (std::vector<std::string>{"dbms", "tables"}));
  EXPECT_EQ(document["dbms"].text, "SQL");
  ASSERT_EQ(document["tables"].items.size(), 1u);
  const Json& table = document["tables"][0];
  EXPECT_EQ(table.keyOrder, (std::vector<std::string>{"name", "owner", "columns", "indexes"}));
  EXPECT_EQ(table["name"].text, t);
  ASSERT_EQ(table["columns"].items.size(), 5u);
  const Json& code = table["columns"][1];
  EXPECT_EQ(code.keyOrder, (std::vector<std::string>{"name", "native_type", "native_code", "ado_type", "ado_code",
                                                      "size", "precision", "scale", "nullable"}));
  EXPECT_EQ(code["name"].text, "code");
  EXPECT_EQ(code["native_type"].text, "nvarchar");
  EXPECT_EQ(code["native_code"].number, 231);
  EXPECT_EQ(code["ado_type"].text, "adVarWChar");
  EXPECT_EQ(code["ado_code"].number, 202);
  EXPECT_EQ(code["size"].number, 50);
  EXPECT_EQ(code["nullable"].kind, Json::Kind::Bool);
  EXPECT_FALSE(code["nullable"].boolean);
  EXPECT_TRUE(table["columns"][2]["nullable"].boolean);
  const Json& price = table["columns"][3];
  EXPECT_EQ(price["ado_code"].number, 131) << price["ado_type"].text;
  EXPECT_EQ(price["precision"].number, 10);
  EXPECT_EQ(price["scale"].number, 2);
  const Json& plain = Named(table["indexes"], "ix_qty" + suffix);
  EXPECT_FALSE(plain["primary"].boolean);
  EXPECT_FALSE(plain["unique"].boolean);
  EXPECT_FALSE(plain["constraint"].boolean);
  ASSERT_EQ(plain["columns"].items.size(), 2u);
  EXPECT_EQ(plain["columns"][0]["name"].text, "qty");
  EXPECT_EQ(plain["columns"][0]["order"].text, "desc");
  EXPECT_EQ(plain["columns"][1]["order"].text, "asc");
  int primaries = 0;
  for (const Json& index : table["indexes"].items) primaries += index["primary"].boolean ? 1 : 0;
  EXPECT_EQ(primaries, 1);
}

TEST_P(InfoToolTest, JsonEscapesNames) {
  const std::string t = Table("odd", "\"say \"\"hi\"\" \\ there\" INTEGER");
  const Json document = InfoJson("--include " + t);
  ASSERT_EQ(document["tables"].items.size(), 1u);
  EXPECT_EQ(document["tables"][0]["columns"][0]["name"].text, "say \"hi\" \\ there");
}

TEST_P(InfoToolTest, JetBranchReadsTheCatalog) {
  const std::string t = Orders();
  const Json document = InfoJson("--dbms jet --include " + t);
  EXPECT_EQ(document["dbms"].text, "JET");
  const Json& table = document["tables"][0];
  ASSERT_EQ(table["columns"].items.size(), 5u);
  EXPECT_EQ(table["columns"][1]["native_code"].number, 202);  // the catalog's ADO type
  EXPECT_EQ(table["columns"][1]["size"].number, 50);
  EXPECT_EQ(Named(table["indexes"], "ix_qty" + suffix)["columns"][0]["order"].text, "desc");
}

TEST_P(InfoToolTest, IncludeAndExcludeTakeWholeNamesInAnyCase) {
  const std::string a = Table("a", "id INTEGER");
  const std::string b = Table("b", "id INTEGER");
  const std::string c = Table("c", "id INTEGER");
  Table("ab", "id INTEGER");
  const Json document = InfoJson("--include '" + Upper(a) + "," + b + "," + c + "' --exclude " + b);
  EXPECT_EQ(TableNames(document), (std::vector<std::string>{a, c}));
  const ToolRun none = Info("--include " + b + " --exclude " + Upper(b));
  EXPECT_EQ(none.exitCode, 0) << none.err;
  EXPECT_EQ(none.out, "0 tables\n");
}

// Many tables are described in batches when progress is asked for: the
// output is the same, and the progress lines go to stderr only.
TEST_P(InfoToolTest, ProgressGoesToStderrOnly) {
  std::string include;
  for (int i = 0; i < 30; ++i) include += (include.empty() ? "" : ",") + Table("p" + std::to_string(i), "id INTEGER");
  const ToolRun plain = Info("--json --include " + include);
  const ToolRun progress = Info("--json --progress --include " + include);
  ASSERT_EQ(plain.exitCode, 0) << plain.err;
  ASSERT_EQ(progress.exitCode, 0) << progress.err;
  EXPECT_EQ(plain.err, "");
  EXPECT_EQ(progress.out, plain.out);
  EXPECT_EQ(JsonReader::Parse(progress.out)["tables"].items.size(), 30u);
  EXPECT_TRUE(std::regex_match(progress.err, std::regex("(described [0-9]+/30 tables\n)*described 30/30 tables\n")))
      << progress.err;
  const ToolRun text = Info("--progress --include " + include);
  EXPECT_EQ(text.out, Info("--include " + include).out);
}

INSTANTIATE_TEST_SUITE_P(Engines, InfoToolTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

TEST(InfoTool, AMissingDatabaseFileIsAnError) {
  const std::filesystem::path folder = TempDir() / "info-files";
  std::filesystem::create_directories(folder);
  ToolRun run = RunTool("info '" + (folder / "missing.db").string() + "'");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(HasLine(run.err, "velmora info: error -?[0-9]+ .*Could not find file.*")) << run.err;
  EXPECT_FALSE(std::filesystem::exists(folder / "missing.db"));
  run = RunTool("info '" + (folder / "none" / "x.db").string() + "' --json");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("velmora info: error 76"), std::string::npos) << run.err;
}

TEST(InfoTool, AnUnreachableServerIsAnError) {
  // Nothing listens on port 1 of the loopback address.
  const ToolRun run = RunTool("info 'DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=1;DATABASE=x;UID=x' --json");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(HasLine(run.err, "velmora info: error .*")) << run.err;
}

TEST(InfoTool, BadUsageExitsWithTwo) {
  const std::string file = (TempDir() / "any.db").string();
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", "expected CONNECTION"},
      {"'" + file + "' --dbms ORACLE", "--dbms must be SQL or JET, got 'ORACLE'"},
      {"'" + file + "' --include", "option '--include' needs a value"},
      {"'" + file + "' --exclude", "option '--exclude' needs a value"},
      {"'" + file + "' --dbms", "option '--dbms' needs a value"},
      {"'" + file + "' --tables", "unknown option '--tables'"},
      {"'" + file + "' other.db", "unexpected argument 'other.db'"},
  };
  for (const auto& [arguments, message] : cases) {
    const ToolRun run = RunTool("info " + arguments);
    EXPECT_EQ(run.exitCode, 2) << arguments;
    EXPECT_EQ(run.out, "") << arguments;
    EXPECT_NE(run.err.find("velmora info: " + message + "\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("usage: velmora info CONNECTION"), std::string::npos) << run.err;
  }
}

TEST(InfoTool, HelpGivesTheUsage) {
  const ToolRun run = RunTool("info --help");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(HasLine(run.out, "usage: velmora info CONNECTION .*--json.*")) << run.out;
}

}  // namespace
}  // namespace velmora::test
