// The connection-string builders, AdoVersion and RecorsetsCompare.
#include <gtest/gtest.h>

#include <regex>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/version.hpp"

namespace velmora::test {
namespace {

const std::string kQuote = "\"";

TEST(ConnectionStrings, SqlProviderListsTheGivenArgumentsDriverFirst) {
  AdoMacros& m = Macros();
  EXPECT_EQ(m.SQLPROVIDER(), "Provider=MSDASQL.1");
  EXPECT_EQ(m.SQLPROVIDER("S1", kOmittedArgument, kOmittedArgument, kOmittedArgument, "Db"),
            "Provider=MSDASQL.1;Extended Properties=" + kQuote + "SERVER=S1;DATABASE=Db" + kQuote);
  // An empty string counts as given.
  EXPECT_EQ(m.SQLPROVIDER(kOmittedArgument, ""), "Provider=MSDASQL.1;Extended Properties=" + kQuote + "UID=" + kQuote);
  EXPECT_EQ(m.SQLPROVIDER(kOmittedArgument, kOmittedArgument, kOmittedArgument, kOmittedArgument, kOmittedArgument,
                          kOmittedArgument, kOmittedArgument, kOmittedArgument, "SQLOLEDB"),
            "Provider=SQLOLEDB");
  EXPECT_EQ(m.SQLPROVIDER("S", "u", "app", "ws", "d", "yes", "dsn", "{drv}"),
            "Provider=MSDASQL.1;Extended Properties=" + kQuote +
                "DRIVER={drv};SERVER=S;UID=u;APP=app;WSID=ws;DATABASE=d;Trusted_Connection=yes;DSN=dsn" + kQuote);
  // Values go in as they stand.
  EXPECT_EQ(m.SQLPROVIDER("a;b=c"), "Provider=MSDASQL.1;Extended Properties=" + kQuote + "SERVER=a;b=c" + kQuote);
}

TEST(ConnectionStrings, JetProviderNamesTheSource) {
  EXPECT_EQ(Macros().JETPROVIDER(), "Provider=Microsoft.Jet.OLEDB.4.0");
  EXPECT_EQ(Macros().JETPROVIDER("c:\\db\\a.mdb"), "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=c:\\db\\a.mdb");
  EXPECT_EQ(Macros().JETPROVIDER(""), "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=");
}

TEST(ConnectionStrings, TheBuiltStringsOpenBothEngines) {
  const std::string file = TempFile(".db").string();
  std::ofstream(file).flush();
  auto sqlite = std::make_shared<ado::Connection>();
  sqlite->Open(Macros().JETPROVIDER(file));
  EXPECT_EQ(sqlite->DbmsName(), "SQLite");
  // The test server's string names its port, for which the builder has no
  // key: it goes in with the server, as values stand.
  const std::string pg = PostgresOdbc();
  const auto value = [&pg](const std::string& key) {
    std::smatch m;
    return std::regex_search(pg, m, std::regex(key + "=([^;]*)")) ? m[1].str() : std::string();
  };
  auto server = std::make_shared<ado::Connection>();
  server->Open(Macros().SQLPROVIDER(value("SERVER") + ";PORT=" + value("PORT"), value("UID"), kOmittedArgument,
                                    kOmittedArgument, value("DATABASE"), kOmittedArgument, kOmittedArgument,
                                    value("DRIVER")));
  EXPECT_EQ(server->DbmsName(), "PostgreSQL");
}

TEST(AdoVersion, IsTheLibrarysVersionAndNamesTheDriverManager) {
  int32_t major = -1, minor = -1, build = -1, qfe = -1;
  std::string text;
  Macros().AdoVersion(major, minor, build, qfe, text);
  EXPECT_EQ(major, VELMORA_VERSION_MAJOR);
  EXPECT_EQ(minor, VELMORA_VERSION_MINOR);
  EXPECT_EQ(build, VELMORA_VERSION_PATCH);
  EXPECT_EQ(qfe, 0);
  EXPECT_EQ(text.rfind(std::string(VELMORA_VERSION_STRING) + ".0", 0), 0u) << text;
  EXPECT_TRUE(std::regex_search(text, std::regex("ODBC driver manager [0-9][0-9.]+"))) << text;
  EXPECT_FALSE(ado::DriverManagerVersion().empty());
}

// Two databases of every engine configuration: the origin on the engine
// under test, the replica on each engine in turn.
class RecorsetsCompareTest : public EngineTest {
 protected:
  void TearDown() override {
    for (const auto& [connection, table] : made_) {
      try {
        auto c = std::make_shared<ado::Connection>();
        c->Open(connection);
        c->Execute("DROP TABLE " + Macros().SQLName(table));
      } catch (const com::Error&) {
        // a SQLite file goes with the temporary folder
      }
    }
    EngineTest::TearDown();
  }
  std::string SqliteFile() {
    const std::string file = TempFile(".db").string();
    std::ofstream(file).flush();
    return Macros().JETPROVIDER(file);
  }
  // A table "the rows" with a column "the value" (blank and reserved word)
  // holding `values`, on `connection`; returns its name.
  std::string Rows(const std::string& connection, const std::vector<int32_t>& values) {
    auto c = std::make_shared<ado::Connection>();
    c->Open(connection);
    const std::string name = "the rows" + suffix;
    c->Execute("CREATE TABLE " + Macros().SQLName(name) + " (id INTEGER, " + Macros().SQLName("order") + " INTEGER)");
    made_.emplace_back(connection, name);
    for (int32_t v : values) {
      c->Execute("INSERT INTO " + Macros().SQLName(name) + " VALUES (1, " + std::to_string(v) + ")");
    }
    return name;
  }
  std::vector<std::pair<std::string, std::string>> made_;
  int32_t Compare(const std::string& origin, const std::vector<int32_t>& mine, const std::string& replica,
                  const std::vector<int32_t>& theirs) {
    const std::string a = Rows(origin, mine);
    const std::string b = Rows(replica, theirs);
    return Macros().RecorsetsCompare(origin, a, "order", replica, b, "order");
  }
};

TEST_P(RecorsetsCompareTest, TellsWhetherTheReplicaCaughtUpAcrossEngines) {
  const std::string origin = ConnectionString();
  for (bool serverReplica : {false, true}) {
    // A fresh database each round: a new SQLite file, or a table of another suffix on the server.
    suffix += "x";
    const std::string replica = serverReplica ? PostgresOdbc() : SqliteFile();
    if (replica == origin) continue;
    const auto fresh = [&] { suffix += "y"; };
    EXPECT_EQ(Compare(origin, {}, replica, {}), 0);
    fresh();
    EXPECT_EQ(Compare(origin, {}, replica, {4}), 1);
    fresh();
    EXPECT_EQ(Compare(origin, {3}, replica, {}), 1);
    fresh();
    EXPECT_EQ(Compare(origin, {1, 7, 5}, replica, {7}), 0);  // equal greatest values
    fresh();
    EXPECT_EQ(Compare(origin, {1, 7}, replica, {6}), 1);
  }
}

TEST_P(RecorsetsCompareTest, AFailureIsReportedWithItsSource) {
  const std::string origin = ConnectionString();
  const std::string table = Rows(origin, {1});
  const com::Error missing =
      RaisedError([&] { Macros().RecorsetsCompare(origin, table, "order", origin, "no_such" + suffix, "x"); });
  EXPECT_EQ(missing.Source(), "Velmora.AdoMacros.RecorsetsCompare");
  const com::Error unreachable =
      RaisedError([&] { Macros().RecorsetsCompare("Provider=Nope", table, "order", origin, table, "order"); });
  EXPECT_EQ(unreachable.Source(), "Velmora.AdoMacros.RecorsetsCompare");
  EXPECT_EQ(unreachable.Number(), ado::adErrProviderNotFound);
}

INSTANTIATE_TEST_SUITE_P(Engines, RecorsetsCompareTest, EnginesAndLegacyStrings(), EngineName);

}  // namespace
}  // namespace velmora::test
