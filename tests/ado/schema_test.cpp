#include <gtest/gtest.h>

#include <filesystem>

#include "ado/engine_fixture.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class SchemaTest : public EngineTest {
 protected:
  static std::vector<std::string> Names(const ado::RecordsetPtr& rs) {
    std::vector<std::string> out;
    for (const auto& f : *rs->Fields()) out.push_back(f->Name());
    return out;
  }
};

TEST_P(SchemaTest, TablesRowsetHasTheOleDbColumnsAndRestrictions) {
  const std::string t = Table("sch_t", "id INTEGER PRIMARY KEY, name VARCHAR(50) NOT NULL");
  Table("sch_x", "id INTEGER");
  auto rs = cn->OpenSchema(ado::adSchemaTables, Criteria({com::Variant(), com::Variant(), com::Variant(t)}));
  EXPECT_EQ(Names(rs), (std::vector<std::string>{"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "TABLE_TYPE",
                                                 "TABLE_GUID", "DESCRIPTION", "TABLE_PROPID", "DATE_CREATED",
                                                 "DATE_MODIFIED"}));
  ASSERT_FALSE(rs->IsEOF());
  EXPECT_EQ(rs->Fields()->Item(com::Variant("TABLE_NAME"))->Value().Get<std::string>(), t);
  EXPECT_EQ(rs->Fields()->Item(com::Variant("TABLE_TYPE"))->Value().Get<std::string>(), "TABLE");
  EXPECT_TRUE(rs->Fields()->Item(com::Variant("TABLE_GUID"))->Value().IsNull());
  EXPECT_EQ(rs->RecordCount(), 1);
  auto all = cn->OpenSchema(ado::adSchemaTables, Criteria({com::Variant(), com::Variant(), com::Variant(),
                                                           com::Variant("TABLE")}));
  EXPECT_GE(all->RecordCount(), 2);
}

TEST_P(SchemaTest, ColumnsRowsetDescribesEachColumnInOrder) {
  const std::string t = Table("sch_c", "id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(50), amount NUMERIC(10,2)");
  auto rs = cn->OpenSchema(ado::adSchemaColumns, Criteria({com::Variant(), com::Variant(), com::Variant(t)}));
  EXPECT_EQ(Names(rs).size(), 28u);
  EXPECT_EQ(Names(rs)[9], "COLUMN_FLAGS");
  std::vector<std::string> columns;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    columns.push_back(rs->Fields()->Item(com::Variant("COLUMN_NAME"))->Value().Get<std::string>());
    const std::string& c = columns.back();
    const com::Variant type = rs->Fields()->Item(com::Variant("DATA_TYPE"))->Value();
    if (c == "name") {
      EXPECT_EQ(type.Get<int32_t>(), ado::adWChar);
      EXPECT_EQ(rs->Fields()->Item(com::Variant("CHARACTER_MAXIMUM_LENGTH"))->Value().Get<int32_t>(), 50);
      EXPECT_TRUE(rs->Fields()->Item(com::Variant("IS_NULLABLE"))->Value().Get<bool>());
    } else if (c == "id") {
      EXPECT_EQ(type.Get<int32_t>(), ado::adInteger);
      EXPECT_EQ(rs->Fields()->Item(com::Variant("ORDINAL_POSITION"))->Value().Get<int32_t>(), 1);
    } else if (c == "amount") {
      EXPECT_EQ(type.Get<int32_t>(), ado::adNumeric);
    }
  }
  EXPECT_EQ(columns, (std::vector<std::string>{"id", "name", "amount"}));
}

TEST_P(SchemaTest, IndexesAndPrimaryKeys) {
  const std::string t = Table("sch_i", "code VARCHAR(10) NOT NULL PRIMARY KEY, label VARCHAR(20)");
  cn->Execute("CREATE UNIQUE INDEX ix_label" + suffix + " ON " + t + " (label)");
  auto ix = cn->OpenSchema(ado::adSchemaIndexes,
                           Criteria({com::Variant(), com::Variant(), com::Variant(), com::Variant(), com::Variant(t)}));
  EXPECT_EQ(Names(ix).size(), 24u);
  bool sawLabel = false, sawPrimary = false;
  for (; !ix->IsEOF(); ix->MoveNext()) {
    const std::string column = ix->Fields()->Item(com::Variant("COLUMN_NAME"))->Value().Get<std::string>();
    EXPECT_TRUE(ix->Fields()->Item(com::Variant("UNIQUE"))->Value().Get<bool>());
    if (column == "label") {
      sawLabel = true;
      EXPECT_EQ(ix->Fields()->Item(com::Variant("INDEX_NAME"))->Value().Get<std::string>(), "ix_label" + suffix);
    }
    if (ix->Fields()->Item(com::Variant("PRIMARY_KEY"))->Value().Get<bool>()) sawPrimary = true;
  }
  EXPECT_TRUE(sawLabel);
  auto pk = cn->OpenSchema(ado::adSchemaPrimaryKeys, Criteria({com::Variant(), com::Variant(), com::Variant(t)}));
  EXPECT_EQ(Names(pk), (std::vector<std::string>{"TABLE_CATALOG", "TABLE_SCHEMA", "TABLE_NAME", "COLUMN_NAME",
                                                 "COLUMN_GUID", "COLUMN_PROPID", "ORDINAL", "PK_NAME"}));
  ASSERT_FALSE(pk->IsEOF());
  EXPECT_EQ(pk->Fields()->Item(com::Variant("COLUMN_NAME"))->Value().Get<std::string>(), "code");
  EXPECT_EQ(pk->Fields()->Item(com::Variant("ORDINAL"))->Value().Get<int32_t>(), 1);
  if (IsPg()) {
    EXPECT_TRUE(sawPrimary);
  }
  try {
    cn->OpenSchema(ado::adSchemaProcedures);
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrFeatureNotAvailable);
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, SchemaTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

// The Chinook sample database, copied so that the fixture stays untouched.
TEST(SampleDatabase, ChinookReadsThroughTheFileProvider) {
  const auto copy = TempDir() / "chinook.db";
  std::filesystem::copy_file(Fixtures() / "Chinook_Sqlite.sqlite", copy);
  auto cn = std::make_shared<ado::Connection>();
  cn->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + copy.string());
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant("SELECT TOP 5 [Name], [UnitPrice], [Milliseconds] FROM [Track] ORDER BY [TrackId]"),
           com::Variant(cn), ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdText);
  EXPECT_EQ(rs->RecordCount(), 5);
  EXPECT_EQ(rs->Fields()->Item(com::Variant("name"))->Value().Get<std::string>(),
            "For Those About To Rock (We Salute You)");
  EXPECT_EQ(rs->Fields()->Item(com::Variant("UnitPrice"))->Type(), ado::adNumeric);
  auto tables = cn->OpenSchema(ado::adSchemaTables);
  EXPECT_GE(tables->RecordCount(), 11);
  auto count = cn->Execute("SELECT COUNT(*) FROM [Track]");
  EXPECT_EQ(com::CLng(count->Fields()->Item(com::Variant(int32_t{0}))->Value()), 3503);
}

}  // namespace
}  // namespace velmora::test
