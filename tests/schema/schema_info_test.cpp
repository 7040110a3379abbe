// TypesInfo, TableInfo and DatabaseInfo under both DBMS values, on every
// engine; the Jet conversions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/flags/connection_options.hpp"
#include "velmora/schema/schema_info.hpp"

namespace velmora::test {
namespace {

TEST(JetConversions, MapAsTheCatalogExpects) {
  EXPECT_EQ(AdoDataTypeToJet(ado::adDBTimeStamp), ado::adDate);
  EXPECT_EQ(AdoDataTypeToJet(ado::adWChar), ado::adVarWChar);
  EXPECT_EQ(AdoDataTypeToJet(ado::adVarWChar), ado::adVarWChar);
  EXPECT_EQ(AdoDataTypeToJet(ado::adLongVarBinary), ado::adLongVarBinary);
  for (int32_t text : {ado::adChar, ado::adVarChar, ado::adLongVarChar, ado::adLongVarWChar}) {
    EXPECT_EQ(AdoDataTypeToJet(text), ado::adVarWChar) << text;
  }
  EXPECT_EQ(AdoDataTypeToJet(ado::adInteger), ado::adInteger);
  EXPECT_EQ(AdoDataSizeToJet(ado::adBoolean, 1), 2);
  EXPECT_EQ(AdoDataSizeToJet(ado::adInteger, 4), 4);
  EXPECT_EQ(AdoDataPrecisionToJet(ado::adBoolean, 1), 0);
  EXPECT_EQ(AdoDataPrecisionToJet(ado::adNumeric, 18), 18);
  EXPECT_EQ(AdoDataAttributesToJet(ado::adInteger, true), 2);
  EXPECT_EQ(AdoDataAttributesToJet(ado::adInteger, false), 0);
  EXPECT_EQ(DataTypeKey(56), "K56");
}

// The object held under `key` (a name or a 1-based position); throws when
// the item holds none, so that a test fails rather than dereferences null.
template <class T>
std::shared_ptr<T> Held(const com::CollectionPtr& items, const com::Variant& key) {
  auto object = items->Item(key).ObjectAs<T>();
  if (!object) throw std::runtime_error("the item holds no object of the expected class");
  return object;
}

AdoFlagsPtr FlagsFor(const std::string& dbms) {
  AdoFlagsPtr flags;
  ConnectionOptionsSet(flags, dbms);
  return flags;
}

TEST(TypesInfoJet, IsTheFixedListWithoutTheConnection) {
  com::CollectionPtr types;
  auto closed = std::make_shared<ado::Connection>();
  EXPECT_FALSE(TypesInfo(closed, types, FlagsFor("JET")));
  ASSERT_EQ(types->Count(), 16);
  const std::vector<std::string> keys{"K1", "K2",  "K3",  "K4",  "K5",  "K7",  "K8",  "K9",
                                      "K10", "K11", "K12", "K15", "K16", "K20", "K21", "K129"};
  for (int32_t i = 0; i < 16; ++i) EXPECT_EQ(types->KeyAt(i + 1), keys[static_cast<size_t>(i)]);
  const auto text = Held<AdoDataType>(types, com::Variant("K10"));
  EXPECT_EQ(text->NName(), "nvarchar");
  EXPECT_EQ(text->AName(), "nvarchar");
  EXPECT_EQ(text->AType(), ado::adVarWChar);
  EXPECT_FALSE(text->Fixed());
  EXPECT_TRUE(Held<AdoDataType>(types, com::Variant("K4"))->Fixed());
  EXPECT_EQ(Held<AdoDataType>(types, com::Variant("K4"))->AType(), ado::adInteger);
}

TEST(SchemaInfo, AnUnsupportedDbmsIsTheConnectionOptionsError) {
  AdoFlagsPtr flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("DBMS", com::Variant("ORACLE"));
  com::CollectionPtr types;
  auto cn = std::make_shared<ado::Connection>();
  const com::Error e = RaisedError([&] { TypesInfo(cn, types, flags); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "DBMS non supportato.");
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TypesInfo");
  auto table = std::make_shared<AdoTable>();
  table->Name("t");
  EXPECT_EQ(RaisedError([&] { TableInfo(cn, table, flags); }).Source(), "Velmora.modAdoSupport.TableInfo");
  com::CollectionPtr tables;
  EXPECT_EQ(RaisedError([&] { DatabaseInfo(cn, tables, flags); }).Source(), "Velmora.modAdoSupport.DatabaseInfo");
}

class SchemaInfoTest : public EngineTest {
 protected:
  // A keyed table with a unique constraint and a plain index. Its name is
  // in lower case, as PostgreSQL keeps unquoted names.
  std::string Orders() {
    const std::string t = Table("orders", "id INTEGER NOT NULL PRIMARY KEY, code nvarchar(50) NOT NULL UNIQUE, "
                                          "note nvarchar(20), qty INTEGER");
    cn->Execute("CREATE INDEX ix_qty" + suffix + " ON " + t + " (qty DESC, note)");
    return t;
  }
  AdoTablePtr Describe(const std::string& name, const std::string& dbms) {
    auto table = std::make_shared<AdoTable>();
    table->Name(name);
    EXPECT_FALSE(TableInfo(cn, table, FlagsFor(dbms)));
    return table;
  }
};

TEST_P(SchemaInfoTest, TypesInfoSqlReadsSystypes) {
  com::CollectionPtr types;
  EXPECT_FALSE(TypesInfo(cn, types, FlagsFor("SQL")));
  const auto integer = Held<AdoDataType>(types, com::Variant("K56"));
  EXPECT_EQ(integer->NName(), "int");
  EXPECT_EQ(integer->AType(), ado::adInteger);
  EXPECT_FALSE(integer->Fixed());  // variable = 0, taken as it stands
  // nvarchar and sysname share code 231: the first row wins.
  const auto nvarchar = Held<AdoDataType>(types, com::Variant("K231"));
  EXPECT_EQ(nvarchar->NName(), "nvarchar");
  EXPECT_TRUE(nvarchar->Fixed());  // variable = 1: Fixed true, not negated
  EXPECT_EQ(nvarchar->AName(), "nvarchar");
}

TEST_P(SchemaInfoTest, TableInfoSqlDescribesColumnsAndIndexes) {
  const std::string t = Orders();
  const AdoTablePtr table = Describe(t, "SQL");
  EXPECT_NE(table->Id(), 0);
  ASSERT_EQ(table->Fields()->Count(), 4);
  const auto code = Held<AdoField>(table->Fields(), com::Variant("code"));
  EXPECT_EQ(code->NType(), 231);
  EXPECT_EQ(code->Size(), 50);  // characters, not bytes
  EXPECT_EQ(code->NTypeName(), "nvarchar");
  EXPECT_EQ(code->AType(), ado::adVarWChar);
  EXPECT_FALSE(code->IsNullable());
  EXPECT_EQ(code->Id(), 2);
  EXPECT_TRUE(Held<AdoField>(table->Fields(), com::Variant("note"))->IsNullable());
  int32_t primaries = 0;
  for (const com::Variant& item : *table->Indexes()) {
    const auto index = item.ObjectAs<AdoIndex>();
    ASSERT_TRUE(index);
    if (index->Primary()) {
      ++primaries;
      EXPECT_TRUE(index->IsObject()) << index->Name();  // a constraint of the table
    }
  }
  EXPECT_EQ(primaries, 1);
  const auto plain = Held<AdoIndex>(table->Indexes(), com::Variant("ix_qty" + suffix));
  EXPECT_FALSE(plain->IsObject());  // made by CREATE INDEX
  EXPECT_FALSE(plain->Unique());
  ASSERT_EQ(plain->Fields()->Count(), 2);
  EXPECT_EQ(plain->Fields()->KeyAt(1), "qty");
  EXPECT_EQ(Held<AdoField>(plain->Fields(), com::Variant("qty"))->Collation(), 2);
  EXPECT_EQ(Held<AdoField>(plain->Fields(), com::Variant("note"))->Collation(), 1);
}

TEST_P(SchemaInfoTest, TableInfoJetReadsTheCatalog) {
  const std::string t = Orders();
  const AdoTablePtr table = Describe(t, "JET");
  EXPECT_EQ(table->Id(), 0);
  ASSERT_EQ(table->Fields()->Count(), 4);
  const auto code = Held<AdoField>(table->Fields(), com::Variant("code"));
  EXPECT_EQ(code->NType(), ado::adVarWChar);
  EXPECT_EQ(code->Size(), 50);
  EXPECT_FALSE(code->IsNullable());
  EXPECT_FALSE(code->Fixed());
  // The lookup "K" + ADO type finds the Jet row of that number: type 202 has
  // none, type 3 (adInteger) finds the row of Jet code 3 (smallint).
  EXPECT_EQ(code->NTypeName(), "");
  // The key column reads as adInteger (3), which finds Jet's code 3: smallint.
  const auto id = Held<AdoField>(table->Fields(), com::Variant("id"));
  EXPECT_EQ(id->NType(), ado::adInteger);
  EXPECT_EQ(id->NTypeName(), "smallint");
  EXPECT_EQ(id->AType(), ado::adSmallInt);
  EXPECT_TRUE(id->Fixed());
  const auto plain = Held<AdoIndex>(table->Indexes(), com::Variant("ix_qty" + suffix));
  EXPECT_FALSE(plain->Primary());
  EXPECT_EQ(Held<AdoField>(plain->Fields(), com::Variant("qty"))->Collation(), 2);
  bool primary = false;
  for (int32_t i = 1; i <= table->Indexes()->Count(); ++i) {
    primary = primary || Held<AdoIndex>(table->Indexes(), com::Variant(i))->Primary();
  }
  EXPECT_TRUE(primary);
}

TEST_P(SchemaInfoTest, AMissingTableIsReportedByTheBranch) {
  auto table = std::make_shared<AdoTable>();
  table->Name("no_such_table" + suffix);
  const com::Error sql = RaisedError([&] { TableInfo(cn, table, FlagsFor("SQL")); });
  EXPECT_EQ(sql.Number(), 20000);
  EXPECT_EQ(sql.Description(), "La tabella no_such_table" + suffix + " non è in sysobjects.");
  EXPECT_EQ(sql.Source(), "Velmora.modAdoSupport.TableInfo");
  const com::Error jet = RaisedError([&] { TableInfo(cn, table, FlagsFor("JET")); });
  EXPECT_EQ(jet.Number(), 20000);
  EXPECT_EQ(jet.Description(), "Nessuno schema per la tabella no_such_table" + suffix);
}

TEST_P(SchemaInfoTest, TheCatalogueIsHandedBackForTheNextCall) {
  const std::string t = Orders();
  auto table = std::make_shared<AdoTable>();
  table->Name(t);
  com::CollectionPtr types;
  EXPECT_FALSE(TableInfo(cn, table, FlagsFor("SQL"), types));
  ASSERT_TRUE(types);
  const com::CollectionPtr first = types;
  EXPECT_FALSE(TableInfo(cn, table, FlagsFor("SQL"), types));
  EXPECT_EQ(types, first);
}

TEST_P(SchemaInfoTest, DatabaseInfoTakesWholeNamesOfTheLists) {
  const std::string orders = Orders();
  const std::string other = Table("ord", "id INTEGER PRIMARY KEY");
  std::string upper = orders;
  std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
  for (const std::string dbms : {"SQL", "JET"}) {
    AdoFlagsPtr flags = FlagsFor(dbms);
    flags->WriteProperty("INCLTABLES", com::Variant("," + upper + "," + other));  // any case
    flags->WriteProperty("EXCLTABLES", com::Variant(other));
    com::CollectionPtr tables;
    EXPECT_FALSE(DatabaseInfo(cn, tables, flags));
    ASSERT_EQ(tables->Count(), 1) << dbms;
    EXPECT_EQ(tables->KeyAt(1), orders);
    EXPECT_EQ(Held<AdoTable>(tables, com::Variant(orders))->Fields()->Count(), 4);

    flags->WriteProperty("EXCLTABLES", com::Variant("ord"));  // a whole name only
    flags->WriteProperty("INCLTABLES", com::Variant(orders + ", " + other));  // the blank stays
    EXPECT_FALSE(DatabaseInfo(cn, tables, flags));
    EXPECT_EQ(tables->Count(), 1) << dbms;
    EXPECT_TRUE(tables->HasKey(orders));
  }
}

TEST_P(SchemaInfoTest, DatabaseInfoWithoutFlagsDescribesEveryBaseTable) {
  const std::string orders = Orders();
  cn->Execute("CREATE VIEW v" + suffix + " AS SELECT id FROM " + orders);
  created.insert(created.begin(), "v" + suffix);
  com::CollectionPtr tables;
  EXPECT_FALSE(DatabaseInfo(cn, tables));
  EXPECT_TRUE(tables->HasKey(orders));
  EXPECT_FALSE(tables->HasKey("v" + suffix));
}

// Names with blanks, brackets and letters beyond ASCII are described under
// both DBMS values; a name with an apostrophe goes into the SQL branch's
// query as it stands and fails there with the engine's error.
TEST_P(SchemaInfoTest, OddNamesAreDescribedOrRefusedClearly) {
  for (const std::string base : {"a b", "x]y", "\xc3\xa0\xc3\xa9"}) {
    const std::string name = base + suffix;
    cn->Execute("CREATE TABLE \"" + name + "\" (\"k \xc3\xa8\" INTEGER PRIMARY KEY, \"v]w\" nvarchar(10))");
    created.push_back("\"" + name + "\"");
    for (const std::string dbms : {"SQL", "JET"}) {
      const AdoTablePtr table = Describe(name, dbms);
      ASSERT_TRUE(table->Fields()) << name << " " << dbms;
      EXPECT_EQ(table->Fields()->Count(), 2) << name << " " << dbms;
      EXPECT_TRUE(table->Fields()->HasKey("k \xc3\xa8")) << name << " " << dbms;
      EXPECT_TRUE(table->Fields()->HasKey("v]w")) << name << " " << dbms;
    }
  }
  const std::string quoted = "o'k" + suffix;
  cn->Execute("CREATE TABLE \"" + quoted + "\" (id INTEGER PRIMARY KEY)");
  created.push_back("\"" + quoted + "\"");
  auto table = std::make_shared<AdoTable>();
  table->Name(quoted);
  const com::Error e = RaisedError([&] { TableInfo(cn, table, FlagsFor("SQL")); });
  EXPECT_NE(e.Number(), 0);
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TableInfo");
  EXPECT_FALSE(TableInfo(cn, table, FlagsFor("JET")));
  EXPECT_EQ(table->Fields()->Count(), 1);
}

TEST_P(SchemaInfoTest, AClosedConnectionIsReportedByTheRoutine) {
  const std::string t = Orders();
  auto closed = std::make_shared<ado::Connection>();
  auto table = std::make_shared<AdoTable>();
  table->Name(t);
  com::CollectionPtr types;
  for (const std::string dbms : {"SQL", "JET"}) {
    // A query on it is refused as an unusable connection (3709), a schema
    // rowset as an operation on a closed object (3704).
    const auto closedError = [](int32_t n) { return n == ado::adErrInvalidConnection || n == ado::adErrObjectClosed; };
    const com::Error e = RaisedError([&] { TableInfo(closed, table, FlagsFor(dbms), types); });
    EXPECT_TRUE(closedError(e.Number())) << dbms << " " << e.Number();
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TableInfo") << dbms;
    com::CollectionPtr tables;
    EXPECT_TRUE(closedError(RaisedError([&] { DatabaseInfo(closed, tables, FlagsFor(dbms)); }).Number())) << dbms;
  }
}

// Columns the engine declares with its own type names (TEXT, TIMESTAMP,
// REAL, BLOB...) are described under both DBMS values; so is a table of a
// schema outside the search path on PostgreSQL.
TEST_P(SchemaInfoTest, EveryDeclaredTypeAndEverySchemaIsDescribed) {
  const std::string t = Table("plain", std::string("id INTEGER PRIMARY KEY, note TEXT, stamp TIMESTAMP, ratio REAL, ") +
                                           (IsPg() ? "data BYTEA" : "data BLOB") + ", amount NUMERIC(10,2)");
  for (const std::string dbms : {"SQL", "JET"}) {
    const AdoTablePtr table = Describe(t, dbms);
    ASSERT_TRUE(table->Fields()) << dbms;
    EXPECT_EQ(table->Fields()->Count(), 6) << dbms;
  }
  if (!IsPg()) return;
  const std::string schema = "other" + suffix;
  cn->Execute("CREATE SCHEMA " + schema);
  cn->Execute("CREATE TABLE " + schema + ".elsewhere" + suffix + " (id INTEGER PRIMARY KEY, label TEXT)");
  for (const std::string dbms : {"SQL", "JET"}) {
    AdoFlagsPtr flags = FlagsFor(dbms);
    flags->WriteProperty("INCLTABLES", com::Variant("elsewhere" + suffix));
    com::CollectionPtr tables;
    EXPECT_FALSE(DatabaseInfo(cn, tables, flags)) << dbms;
    ASSERT_EQ(tables->Count(), 1) << dbms;
    EXPECT_EQ(Held<AdoTable>(tables, com::Variant(int32_t{1}))->Owner(), schema) << dbms;
  }
  cn->Execute("DROP SCHEMA " + schema + " CASCADE");
}

INSTANTIATE_TEST_SUITE_P(Engines, SchemaInfoTest, EnginesAndLegacyStrings(), EngineName);

}  // namespace
}  // namespace velmora::test
