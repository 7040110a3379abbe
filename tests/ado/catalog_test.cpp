// The catalog of tables, columns and indexes against each engine's own
// catalogue and against what a Recordset reports.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "ado/engine_fixture.hpp"
#include "velmora/ado/catalog.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class CatalogTest : public EngineTest {
 protected:
  ado::CatalogPtr NewCatalog() {
    auto catalog = std::make_shared<ado::Catalog>();
    catalog->ActiveConnection(com::Variant(cn));
    return catalog;
  }
  static int32_t ErrorOf(const std::function<void()>& f) {
    try {
      f();
    } catch (const com::Error& e) {
      return e.Number();
    }
    return 0;
  }
  // The engine's own count of a table's nullable columns.
  int32_t NullableColumns(const std::string& t) {
    const std::string sql = IsPg() ? "SELECT count(*) FROM information_schema.columns WHERE table_name = '" + t +
                                         "' AND is_nullable = 'YES'"
                                   : "SELECT count(*) FROM pragma_table_info('" + t + "') WHERE \"notnull\" = 0 AND pk = 0";
    return com::CLng(cn->Execute(sql)->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
};

TEST_P(CatalogTest, TablesAndViewsByNameAndPosition) {
  const std::string t = Table("cat_t", "id INTEGER PRIMARY KEY, name VARCHAR(20)");
  const std::string v = "cat_v" + suffix;
  cn->Execute("CREATE VIEW " + v + " AS SELECT name FROM " + t);  // dropped before its table below
  auto tables = NewCatalog()->Tables();
  auto table = tables->Item(com::Variant(t));
  EXPECT_EQ(table->Name(), t);
  EXPECT_EQ(table->Type(), "TABLE");
  std::string upper = t;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  EXPECT_EQ(tables->Item(com::Variant(upper)), table);
  EXPECT_EQ((*tables)[v]->Type(), "VIEW");
  int32_t position = 0;
  for (const auto& each : *tables) {
    EXPECT_EQ((*tables)[position++], each);
    EXPECT_TRUE(each->Type() == "TABLE" || each->Type() == "VIEW");
  }
  EXPECT_EQ(position, tables->Count());
  EXPECT_EQ(ErrorOf([&] { tables->Item(com::Variant("no_such_table" + suffix)); }), ado::adErrItemNotFound);
  EXPECT_EQ(ErrorOf([&] { tables->Item(com::Variant(tables->Count())); }), ado::adErrItemNotFound);
  EXPECT_EQ((*(*tables)[v]->Columns())[0]->Name(), "name");
  cn->Execute("DROP VIEW " + v);
}

TEST_P(CatalogTest, ColumnsAreWhatARecordsetReports) {
  const std::string t = Table("cat_c", "i INTEGER NOT NULL, s SMALLINT, b BIGINT, r REAL, d DOUBLE PRECISION, "
                                       "n NUMERIC(10,2) NOT NULL, c CHAR(4), vc VARCHAR(30) NOT NULL, tx TEXT, "
                                       "dt DATE, ts TIMESTAMP, bo BOOLEAN");
  auto columns = NewCatalog()->Tables()->Item(com::Variant(t))->Columns();
  auto rs = Open("SELECT * FROM " + t);
  ASSERT_EQ(columns->Count(), rs->Fields()->Count());
  int32_t nullable = 0;
  for (int32_t i = 0; i < columns->Count(); ++i) {
    auto c = (*columns)[i];
    auto f = rs->Fields()->Item(com::Variant(i));
    SCOPED_TRACE(c->Name());
    EXPECT_EQ(c->Name(), f->Name());
    EXPECT_EQ(c->Type(), f->Type());
    EXPECT_EQ(c->DefinedSize(), f->DefinedSize());
    EXPECT_EQ(c->Precision(), f->Precision() == 255 ? 0 : f->Precision());
    EXPECT_EQ(c->NumericScale(), f->NumericScale() == 255 ? 0 : f->NumericScale());
    EXPECT_EQ((c->Attributes() & ado::adColFixed) != 0, (f->Attributes() & ado::adFldFixed) != 0);
    EXPECT_EQ((c->Attributes() & ado::adColNullable) != 0, (f->Attributes() & ado::adFldIsNullable) != 0);
    if (c->Attributes() & ado::adColNullable) ++nullable;
    EXPECT_EQ(c->SortOrder(), ado::adSortAscending);
  }
  EXPECT_EQ(nullable, NullableColumns(t));
  EXPECT_EQ(nullable, 9);
  auto n = (*columns)["N"];
  EXPECT_EQ(n->Type(), ado::adNumeric);
  if (IsPg()) {  // SQLite's driver does not give a query's numeric precision and scale
    EXPECT_EQ(n->Precision(), 10);
    EXPECT_EQ(n->NumericScale(), 2);
  }
  EXPECT_EQ((*columns)["vc"]->DefinedSize(), 30);
  EXPECT_EQ((*columns)["vc"]->Precision(), 0);
  EXPECT_EQ(ErrorOf([&] { columns->Item(com::Variant("missing")); }), ado::adErrItemNotFound);
}

TEST_P(CatalogTest, IndexesWithTheirKeyColumns) {
  const std::string t = Table("cat_i", "code VARCHAR(10) NOT NULL, part INTEGER NOT NULL, label VARCHAR(20), "
                                       "qty INTEGER, PRIMARY KEY (code, part)");
  cn->Execute("CREATE UNIQUE INDEX cat_label" + suffix + " ON " + t + " (label DESC)");
  cn->Execute("CREATE INDEX cat_qty" + suffix + " ON " + t + " (qty, label DESC)");
  auto indexes = NewCatalog()->Tables()->Item(com::Variant(t))->Indexes();
  const std::string countSql = IsPg() ? "SELECT count(*) FROM pg_indexes WHERE tablename = '" + t + "'"
                                      : "SELECT count(*) FROM pragma_index_list('" + t + "')";
  EXPECT_EQ(indexes->Count(), com::CLng(cn->Execute(countSql)->Fields()->Item(com::Variant(int32_t{0}))->Value()));
  auto label = (*indexes)["cat_label" + suffix];
  EXPECT_TRUE(label->Unique());
  EXPECT_FALSE(label->PrimaryKey());
  EXPECT_FALSE(label->Clustered());
  EXPECT_EQ(label->IndexNulls(), ado::adIndexNullsAllow);
  ASSERT_EQ(label->Columns()->Count(), 1);
  EXPECT_EQ((*label->Columns())[0]->SortOrder(), ado::adSortDescending);
  EXPECT_EQ((*label->Columns())[0]->DefinedSize(), 20);
  auto qty = (*indexes)["cat_qty" + suffix];
  EXPECT_FALSE(qty->Unique());
  ASSERT_EQ(qty->Columns()->Count(), 2);
  EXPECT_EQ((*qty->Columns())[0]->Name(), "qty");
  EXPECT_EQ((*qty->Columns())[0]->SortOrder(), ado::adSortAscending);
  EXPECT_EQ((*qty->Columns())[1]->SortOrder(), ado::adSortDescending);
  int32_t primaries = 0;
  for (const auto& index : *indexes) {
    if (!index->PrimaryKey()) continue;
    ++primaries;
    EXPECT_TRUE(index->Unique());
    EXPECT_EQ(index->IndexNulls(), ado::adIndexNullsDisallow);
    ASSERT_EQ(index->Columns()->Count(), 2);
    EXPECT_EQ((*index->Columns())[1]->Name(), "part");
    EXPECT_EQ((*index->Columns())[1]->Type(), ado::adInteger);
  }
  EXPECT_EQ(primaries, 1);
  EXPECT_EQ(ErrorOf([&] { indexes->Item(com::Variant("missing")); }), ado::adErrItemNotFound);
}

TEST_P(CatalogTest, NamesWithQuotesBracketsBlanksAndNonAscii) {
  const std::string name = "cat \"q\" [b] \xC3\xA9" + suffix;
  const std::string quoted = "\"cat \"\"q\"\" [b] \xC3\xA9" + suffix + "\"";
  cn->Execute("CREATE TABLE " + quoted + " (\"a b\" INTEGER NOT NULL PRIMARY KEY, \"\xC3\xBC\" VARCHAR(5))");
  created.push_back(quoted);
  auto table = NewCatalog()->Tables()->Item(com::Variant(name));
  auto columns = table->Columns();
  ASSERT_EQ(columns->Count(), 2);
  EXPECT_EQ((*columns)[0]->Name(), "a b");
  EXPECT_EQ((*columns)[1]->Name(), "\xC3\xBC");
  auto indexes = table->Indexes();
  ASSERT_EQ(indexes->Count(), 1);
  EXPECT_TRUE((*indexes)[0]->PrimaryKey());
  EXPECT_EQ((*(*indexes)[0]->Columns())[0]->Name(), "a b");
}

TEST_P(CatalogTest, ClosedOrMissingConnectionRaises) {
  const std::string t = Table("cat_x", "id INTEGER");
  auto catalog = NewCatalog();
  auto table = catalog->Tables()->Item(com::Variant(t));
  cn->Close();
  EXPECT_EQ(ErrorOf([&] { table->Columns(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorOf([&] { table->Indexes(); }), ado::adErrObjectClosed);
  catalog->ActiveConnection(com::Variant(nullptr));
  EXPECT_TRUE(catalog->ActiveConnection().IsObject());
  EXPECT_EQ(ErrorOf([&] { catalog->Tables(); }), ado::adErrObjectClosed);
  cn->Open(ConnectionString());
}

TEST_P(CatalogTest, ConnectionStringOpensItsOwnConnection) {
  const std::string t = Table("cat_s", "id INTEGER");
  auto catalog = std::make_shared<ado::Catalog>();
  catalog->ActiveConnection(com::Variant(ConnectionString()));
  EXPECT_NE(catalog->ActiveConnection().ObjectAs<ado::Connection>(), cn);
  EXPECT_EQ(catalog->Tables()->Item(com::Variant(t))->Columns()->Count(), 1);
}

INSTANTIATE_TEST_SUITE_P(Engines, CatalogTest, EnginesAndLegacyStrings(), EngineName);

std::string Bytes(const std::filesystem::path& file) { return FileContents(file); }

class SqliteCatalogTest : public CatalogTest {};

TEST_P(SqliteCatalogTest, NoSystemTablesAndNothingWritten) {
  const std::string t = Table("cat_auto", "id INTEGER PRIMARY KEY AUTOINCREMENT, a TEXT UNIQUE");
  cn->Execute("INSERT INTO " + t + " (a) VALUES ('x')");
  const std::string before = Bytes(sqliteFile) + Bytes(sqliteFile + "-wal");
  auto tables = NewCatalog()->Tables();
  for (const auto& table : *tables) {
    EXPECT_NE(table->Name().rfind("sqlite_", 0), 0u) << table->Name();
    table->Columns();
    table->Indexes();
  }
  auto indexes = tables->Item(com::Variant(t))->Indexes();
  ASSERT_EQ(indexes->Count(), 2);
  EXPECT_TRUE((*indexes)["sqlite_autoindex_0"]->PrimaryKey());
  EXPECT_TRUE((*indexes)["sqlite_autoindex_0"]->Clustered());
  EXPECT_TRUE((*indexes)["sqlite_autoindex_" + t + "_1"]->Unique());
  EXPECT_EQ(Bytes(sqliteFile) + Bytes(sqliteFile + "-wal"), before);
}

INSTANTIATE_TEST_SUITE_P(Engines, SqliteCatalogTest, ::testing::Values(TestEngine::SQLite), EngineName);

TEST(CatalogCreate, MakesANewEmptyFileInWal) {
  const auto file = TempDir() / "created.db";
  auto catalog = std::make_shared<ado::Catalog>();
  auto cn = catalog->Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.string());
  EXPECT_EQ(catalog->ActiveConnection().ObjectAs<ado::Connection>(), cn);
  EXPECT_EQ(catalog->Tables()->Count(), 0);
  auto mode = cn->Execute("PRAGMA journal_mode");
  EXPECT_EQ(com::CStr(mode->Fields()->Item(com::Variant(int32_t{0}))->Value()), "wal");
  EXPECT_EQ(Bytes(file).substr(0, 15), "SQLite format 3");
}

TEST(CatalogCreate, RefusesAnExistingFileAndOtherProviders) {
  const auto file = TempDir() / "existing.db";
  std::ofstream(file) << "keep me";
  auto catalog = std::make_shared<ado::Catalog>();
  try {
    catalog->Create("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.string());
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_NE(e.Description().find("already exists"), std::string::npos) << e.Description();
  }
  EXPECT_EQ(Bytes(file), "keep me");
  try {
    catalog->Create("DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;DATABASE=x");
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrFeatureNotAvailable);
    EXPECT_NE(e.Description().find("embedded"), std::string::npos) << e.Description();
  }
}

}  // namespace
}  // namespace velmora::test
