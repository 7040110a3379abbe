// DatabaseInfo on schemas written by others (tests/fixtures: Chinook on
// both engines, Sakila on SQLite, Northwind on PostgreSQL), compared under
// both DBMS values with what the engine's own catalogue says, queried here
// directly: PRAGMA table_info/index_list/index_xinfo on SQLite,
// information_schema and pg_index on PostgreSQL.
//
// Approximations the comparison allows (docs/catalogue-views.md):
//  - SQLite keeps an INTEGER PRIMARY KEY as the rowid, with no index in
//    index_list; both DBMS values list it as the primary index
//    "sqlite_autoindex_0" on that column, and "SQL" reports the column as
//    not nullable (the rowid cannot be null) although table_info says it
//    may be.
//  - Text sizes are the declared length; a text without one has no size
//    the engine states, and is not compared.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <unistd.h>

#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/flags/connection_options.hpp"
#include "velmora/schema/schema_info.hpp"

namespace velmora::test {
namespace {

enum class Engine { SQLite, PostgreSQL };

struct RealSchema {
  std::string name;     // the test's name
  Engine engine;
  std::string fixture;  // file under tests/fixtures
  size_t tables;        // base tables the schema creates
};

std::ostream& operator<<(std::ostream& out, const RealSchema& s) { return out << s.name; }

// ---- what the engine's own catalogue says

struct ColumnFacts {
  std::string name;
  std::string type;  // the declared base type, lower case, without arguments
  int32_t length = 0;  // the declared text length; 0 when none
  bool nullable = true;
};

struct IndexFacts {
  bool unique = false;
  bool primary = false;
  std::vector<std::pair<std::string, bool>> columns;  // name, descending
};

struct TableFacts {
  std::vector<ColumnFacts> columns;
  std::map<std::string, IndexFacts> indexes;
};

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

using Rows = std::vector<std::map<std::string, com::Variant>>;

Rows Query(const ado::ConnectionPtr& cn, const std::string& sql) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant(sql), com::Variant(cn), ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
  Rows rows;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    auto& row = rows.emplace_back();
    for (const auto& f : *rs->Fields()) row[Lower(f->Name())] = f->Value();
  }
  rs->Close();
  return rows;
}

std::string Text(const com::Variant& v) { return v.IsNull() ? std::string() : com::CStr(v); }
int32_t Number(const com::Variant& v) { return v.IsNull() ? 0 : com::CLng(v); }
bool Flag(const com::Variant& v) { return !v.IsNull() && com::CBool(v); }

// "varchar(45)" -> {"varchar", 45}; "integer" -> {"integer", 0}.
std::pair<std::string, int32_t> SplitDeclared(const std::string& declared) {
  const std::string lower = Lower(declared);
  const size_t open = lower.find('(');
  if (open == std::string::npos) return {lower, 0};
  std::string base = lower.substr(0, open);
  while (!base.empty() && base.back() == ' ') base.pop_back();
  return {base, std::atoi(lower.c_str() + open + 1)};
}

bool IsText(const std::string& type) {
  return type.find("char") != std::string::npos || type == "text" || type == "character varying";
}

TableFacts SqliteFacts(const ado::ConnectionPtr& cn, const std::string& table) {
  TableFacts facts;
  int32_t keyColumns = 0;
  std::string integerKey;
  for (auto& row : Query(cn, "SELECT name, type, \"notnull\" AS nn, pk FROM pragma_table_info(" + Quoted(table) +
                                 ") ORDER BY cid")) {
    auto [base, length] = SplitDeclared(Text(row["type"]));
    facts.columns.push_back({Text(row["name"]), base, IsText(base) ? length : 0, !Flag(row["nn"])});
    if (Number(row["pk"]) > 0) ++keyColumns;
    if (Number(row["pk"]) == 1 && base == "integer") integerKey = Text(row["name"]);
  }
  bool keyIndex = false;
  for (auto& row : Query(cn, "SELECT name, \"unique\" AS u, origin FROM pragma_index_list(" + Quoted(table) + ")")) {
    IndexFacts& index = facts.indexes[Text(row["name"])];
    index.unique = Flag(row["u"]);
    index.primary = Text(row["origin"]) == "pk";
    keyIndex = keyIndex || index.primary;
    for (auto& key : Query(cn, "SELECT name, \"desc\" AS d FROM pragma_index_xinfo(" + Quoted(Text(row["name"])) +
                                   ") WHERE key = 1 ORDER BY seqno")) {
      index.columns.emplace_back(Text(key["name"]), Flag(key["d"]));
    }
  }
  // The rowid key: no index of its own (see the note at the top).
  if (!keyIndex && keyColumns == 1 && !integerKey.empty()) {
    facts.indexes["sqlite_autoindex_0"] = {true, true, {{integerKey, false}}};
  }
  return facts;
}

TableFacts PostgresFacts(const ado::ConnectionPtr& cn, const std::string& table) {
  TableFacts facts;
  for (auto& row : Query(cn, "SELECT column_name, data_type, character_maximum_length AS len, is_nullable "
                             "FROM information_schema.columns WHERE table_schema = 'public' AND table_name = " +
                                 Quoted(table) + " ORDER BY ordinal_position")) {
    facts.columns.push_back(
        {Text(row["column_name"]), Text(row["data_type"]), Number(row["len"]), Text(row["is_nullable"]) == "YES"});
  }
  for (auto& row : Query(cn, "SELECT ic.relname AS name, i.indisunique AS u, i.indisprimary AS p, a.attname AS col, "
                             "(i.indoption[k.n] & 1) AS d FROM pg_index i JOIN pg_class ic ON ic.oid = i.indexrelid "
                             "JOIN pg_class t ON t.oid = i.indrelid JOIN pg_namespace ns ON ns.oid = t.relnamespace "
                             "CROSS JOIN LATERAL generate_series(0, i.indnkeyatts - 1) AS k(n) "
                             "JOIN pg_attribute a ON a.attrelid = t.oid AND a.attnum = i.indkey[k.n] "
                             "WHERE ns.nspname = 'public' AND t.relname = " +
                                 Quoted(table) + " ORDER BY ic.relname, k.n")) {
    IndexFacts& index = facts.indexes[Text(row["name"])];
    index.unique = Flag(row["u"]);
    index.primary = Flag(row["p"]);
    index.columns.emplace_back(Text(row["col"]), Number(row["d"]) == 1);
  }
  return facts;
}

std::set<std::string> BaseTables(const ado::ConnectionPtr& cn, Engine engine) {
  const std::string sql = engine == Engine::SQLite
                              ? "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite!_%' "
                                "ESCAPE '!'"
                              : "SELECT table_name AS name FROM information_schema.tables WHERE table_schema = "
                                "'public' AND table_type = 'BASE TABLE'";
  std::set<std::string> names;
  for (auto& row : Query(cn, sql)) names.insert(Text(row["name"]));
  return names;
}

// ---- loading the schemas

// Runs a command line; the test fails when it does not exit with 0.
void RunCommand(const std::string& command) {
  const int status = std::system(command.c_str());
  ASSERT_EQ(status, 0) << command;
}

std::string ConnectionValue(const std::string& connection, const std::string& key) {
  const size_t at = connection.find(key + "=");
  if (at == std::string::npos) return {};
  const size_t start = at + key.size() + 1;
  return connection.substr(start, connection.find(';', start) - start);
}

// The script without the lines that drop, create and enter a database of
// its own: the test loads it into the fresh database it made.
std::string IntoCurrentDatabase(const std::string& script) {
  std::ifstream in(script);
  const std::string copy = (TempDir() / "script.sql").string();
  std::ofstream out(copy);
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("DROP DATABASE", 0) == 0 || line.rfind("CREATE DATABASE", 0) == 0 || line.rfind("\\c ", 0) == 0) {
      continue;
    }
    out << line << '\n';
  }
  return copy;
}

class RealSchemaTest : public ::testing::TestWithParam<RealSchema> {
 protected:
  void SetUp() override {
    const std::string fixture = (Fixtures() / GetParam().fixture).string();
    if (GetParam().engine == Engine::SQLite) LoadSqlite(fixture);
    else LoadPostgres(fixture);
  }
  void TearDown() override {
    if (cn && cn->State() == ado::adStateOpen) cn->Close();
    if (database.empty()) return;
    auto admin = std::make_shared<ado::Connection>();
    admin->Open(PostgresOdbc());
    admin->Execute("DROP DATABASE IF EXISTS " + database);
  }

  void LoadSqlite(const std::string& fixture) {
    const std::string file = TempFile(".db").string();
    if (fixture.ends_with(".sql")) RunCommand("sqlite3 -bail " + file + " < " + fixture);
    else std::filesystem::copy_file(fixture, file);
    Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file);
  }

  void LoadPostgres(const std::string& fixture) {
    const std::string server = PostgresOdbc();
    database = "velmora_real_" + std::to_string(getpid());
    auto admin = std::make_shared<ado::Connection>();
    admin->Open(server);
    admin->Execute("DROP DATABASE IF EXISTS " + database);
    admin->Execute("CREATE DATABASE " + database);
    RunCommand("psql -X -q -v ON_ERROR_STOP=1 -h 127.0.0.1 -p " + ConnectionValue(server, "PORT") + " -U " +
        ConnectionValue(server, "UID") + " -d " + database + " -f " + IntoCurrentDatabase(fixture) + " >/dev/null");
    std::string connection = server;
    const std::string current = "DATABASE=" + ConnectionValue(server, "DATABASE") + ";";
    connection.replace(connection.find(current), current.size(), "DATABASE=" + database + ";");
    Open(connection);
  }

  void Open(const std::string& connection) {
    cn = std::make_shared<ado::Connection>();
    cn->Open(connection);
  }

  TableFacts Facts(const std::string& table) {
    return GetParam().engine == Engine::SQLite ? SqliteFacts(cn, table) : PostgresFacts(cn, table);
  }

  com::CollectionPtr Describe(const std::string& dbms) {
    AdoFlagsPtr flags;
    ConnectionOptionsSet(flags, dbms);
    com::CollectionPtr tables;
    EXPECT_FALSE(DatabaseInfo(cn, tables, flags));
    return tables;
  }

  ado::ConnectionPtr cn;
  std::string database;
};

template <class T>
std::shared_ptr<T> Held(const com::CollectionPtr& items, const std::string& key) {
  auto object = items->Item(com::Variant(key)).ObjectAs<T>();
  if (!object) throw std::runtime_error("no object under " + key);
  return object;
}

std::set<std::string> Keys(const com::CollectionPtr& items) {
  std::set<std::string> keys;
  for (int32_t i = 1; i <= items->Count(); ++i) keys.insert(items->KeyAt(i));
  return keys;
}

// The type each DBMS value reports for a declared type of the fixtures:
// "SQL" the server type code of syscolumns.xtype, "JET" the ADO type of the
// catalog's column (what the driver reports for a query of the table).
struct ExpectedType {
  int32_t sql;
  int32_t jet;
};

ExpectedType TypeOf(const std::string& declared) {
  static const std::map<std::string, ExpectedType> kTypes = {
      {"integer", {56, ado::adInteger}},
      {"int", {56, ado::adInteger}},
      {"smallint", {52, ado::adSmallInt}},
      {"real", {59, ado::adSingle}},
      {"numeric", {108, ado::adNumeric}},
      {"decimal", {106, ado::adNumeric}},
      {"varchar", {231, ado::adVarWChar}},
      {"nvarchar", {231, ado::adVarWChar}},
      {"character varying", {231, ado::adVarWChar}},
      {"char", {239, ado::adWChar}},
      {"character", {239, ado::adWChar}},
      {"text", {99, ado::adLongVarWChar}},
      {"blob", {34, ado::adLongVarBinary}},
      {"bytea", {34, ado::adLongVarBinary}},
      // Text to the engine's affinity rules, binary to the SQLite driver,
      // which reads the first word only.
      {"blob sub_type text", {99, ado::adBinary}},
      {"date", {40, ado::adDBDate}},
      {"datetime", {61, ado::adDBTimeStamp}},
      {"timestamp", {61, ado::adDBTimeStamp}},
      {"timestamp without time zone", {42, ado::adDBTimeStamp}},
  };
  const auto found = kTypes.find(declared);
  if (found == kTypes.end()) throw std::runtime_error("no expected type for " + declared);
  return found->second;
}

void CompareColumns(const AdoTable& table, const TableFacts& facts, const std::string& dbms) {
  ASSERT_EQ(table.Fields()->Count(), static_cast<int32_t>(facts.columns.size()));
  for (size_t i = 0; i < facts.columns.size(); ++i) {
    const ColumnFacts& expected = facts.columns[i];
    SCOPED_TRACE(table.Name() + "." + expected.name + " (" + expected.type + ")");
    ASSERT_EQ(table.Fields()->KeyAt(static_cast<int32_t>(i) + 1), expected.name);
    const auto field = Held<AdoField>(table.Fields(), expected.name);
    if (dbms == "SQL") {
      EXPECT_EQ(field->Id(), static_cast<int32_t>(i) + 1);
    }
    if (expected.length > 0) {
      EXPECT_EQ(field->Size(), expected.length);
    }
    EXPECT_EQ(field->IsNullable(), expected.nullable);
    const ExpectedType type = TypeOf(expected.type);
    EXPECT_EQ(field->NType(), dbms == "SQL" ? type.sql : type.jet);
  }
}

void CompareIndexes(const AdoTable& table, const TableFacts& facts) {
  EXPECT_EQ(Keys(table.Indexes()), [&] {
    std::set<std::string> names;
    for (const auto& [name, index] : facts.indexes) names.insert(name);
    return names;
  }()) << table.Name();
  for (const auto& [name, expected] : facts.indexes) {
    if (!table.Indexes()->HasKey(name)) continue;
    SCOPED_TRACE(table.Name() + " index " + name);
    const auto index = Held<AdoIndex>(table.Indexes(), name);
    EXPECT_EQ(index->Unique(), expected.unique);
    EXPECT_EQ(index->Primary(), expected.primary);
    ASSERT_EQ(index->Fields()->Count(), static_cast<int32_t>(expected.columns.size()));
    for (size_t i = 0; i < expected.columns.size(); ++i) {
      const auto& [column, descending] = expected.columns[i];
      EXPECT_EQ(index->Fields()->KeyAt(static_cast<int32_t>(i) + 1), column);
      EXPECT_EQ(Held<AdoField>(index->Fields(), column)->Collation(), descending ? 2 : 1);
    }
  }
}

TEST_P(RealSchemaTest, DatabaseInfoAgreesWithTheEngineCatalogue) {
  const std::set<std::string> tables = BaseTables(cn, GetParam().engine);
  EXPECT_EQ(tables.size(), GetParam().tables);
  std::map<std::string, TableFacts> facts;
  for (const std::string& t : tables) facts[t] = Facts(t);
  for (const std::string dbms : {"SQL", "JET"}) {
    SCOPED_TRACE(dbms);
    const com::CollectionPtr described = Describe(dbms);
    ASSERT_TRUE(described);
    EXPECT_EQ(Keys(described), tables);  // no view, no engine table
    for (const std::string& t : tables) {
      if (!described->HasKey(t)) continue;
      const auto table = Held<AdoTable>(described, t);
      CompareColumns(*table, facts[t], dbms);
      CompareIndexes(*table, facts[t]);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Schemas, RealSchemaTest,
                         ::testing::Values(RealSchema{"ChinookSqlite", Engine::SQLite, "Chinook_Sqlite.sqlite", 11},
                                           RealSchema{"SakilaSqlite", Engine::SQLite, "sakila_sqlite_schema.sql", 16},
                                           RealSchema{"ChinookPostgres", Engine::PostgreSQL,
                                                      "Chinook_PostgreSql.sql", 11},
                                           RealSchema{"NorthwindPostgres", Engine::PostgreSQL,
                                                      "northwind_postgresql.sql", 14}),
                         [](const ::testing::TestParamInfo<RealSchema>& p) { return p.param.name; });

}  // namespace
}  // namespace velmora::test
