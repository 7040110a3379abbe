// The index and primary-key rowsets against each engine's own catalogue.
#include <gtest/gtest.h>

#include <map>
#include <tuple>

#include "ado/engine_fixture.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

// One row of the INDEXES rowset, reduced to what the engines decide.
struct IndexColumnRow {
  bool primary, unique, clustered;
  int32_t nulls, ordinal, collation;
  std::string column;
  auto Tie() const { return std::tie(primary, unique, clustered, nulls, ordinal, collation, column); }
  bool operator==(const IndexColumnRow& o) const { return Tie() == o.Tie(); }
};

std::ostream& operator<<(std::ostream& os, const IndexColumnRow& r) {
  return os << "{pk " << r.primary << " unique " << r.unique << " clustered " << r.clustered << " nulls " << r.nulls
            << " #" << r.ordinal << " " << r.column << " collation " << r.collation << "}";
}

class IndexSchemaTest : public EngineTest {
 protected:
  static com::Variant Value(const ado::RecordsetPtr& rs, const char* name) {
    return rs->Fields()->Item(com::Variant(name))->Value();
  }

  // Index name -> its key columns in order.
  std::multimap<std::string, IndexColumnRow> Indexes(const std::string& table) {
    auto rs = cn->OpenSchema(ado::adSchemaIndexes, Criteria({{}, {}, {}, {}, com::Variant(table)}));
    std::multimap<std::string, IndexColumnRow> out;
    for (; !rs->IsEOF(); rs->MoveNext()) {
      EXPECT_EQ(com::CStr(Value(rs, "TABLE_NAME")), table);
      out.emplace(com::CStr(Value(rs, "INDEX_NAME")),
                  IndexColumnRow{com::CBool(Value(rs, "PRIMARY_KEY")), com::CBool(Value(rs, "UNIQUE")),
                                 com::CBool(Value(rs, "CLUSTERED")), com::CLng(Value(rs, "NULLS")),
                                 com::CLng(Value(rs, "ORDINAL_POSITION")), com::CLng(Value(rs, "COLLATION")),
                                 com::CStr(Value(rs, "COLUMN_NAME"))});
    }
    return out;
  }
  std::vector<IndexColumnRow> Of(const std::multimap<std::string, IndexColumnRow>& all, const std::string& name) {
    std::vector<IndexColumnRow> out;
    for (auto [i, end] = all.equal_range(name); i != end; ++i) out.push_back(i->second);
    return out;
  }
  // PK_NAME and the key's columns in order.
  std::pair<std::string, std::vector<std::string>> PrimaryKey(const std::string& table) {
    auto rs = cn->OpenSchema(ado::adSchemaPrimaryKeys, Criteria({{}, {}, com::Variant(table)}));
    std::pair<std::string, std::vector<std::string>> out;
    for (int32_t ordinal = 1; !rs->IsEOF(); rs->MoveNext(), ++ordinal) {
      EXPECT_EQ(com::CLng(Value(rs, "ORDINAL")), ordinal);
      out.first = com::CStr(Value(rs, "PK_NAME"));
      out.second.push_back(com::CStr(Value(rs, "COLUMN_NAME")));
    }
    return out;
  }
  // A name the engine's catalogue gives (first column of the first row).
  std::string EngineText(const std::string& sql) {
    auto rs = cn->Execute(sql);
    return rs->IsEOF() ? std::string() : com::CStr(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
};

TEST_P(IndexSchemaTest, CompositeDescendingUniqueAndPlainIndexes) {
  const std::string t = Table("ix_t", "code VARCHAR(10) NOT NULL, part INTEGER NOT NULL, label VARCHAR(20), "
                                      "qty INTEGER, PRIMARY KEY (code, part)");
  const std::string byLabel = "ix_label" + suffix, byQty = "ix_qty" + suffix;
  cn->Execute("CREATE UNIQUE INDEX " + byLabel + " ON " + t + " (label DESC)");
  cn->Execute("CREATE INDEX " + byQty + " ON " + t + " (qty, label DESC)");
  const auto all = Indexes(t);
  EXPECT_EQ(Of(all, byLabel), (std::vector<IndexColumnRow>{{false, true, false, 0, 1, 2, "label"}}));
  EXPECT_EQ(Of(all, byQty), (std::vector<IndexColumnRow>{{false, false, false, 0, 1, 1, "qty"},
                                                         {false, false, false, 0, 2, 2, "label"}}));
  // The key's index, named as the engine names it.
  const std::string keyIndex =
      IsPg() ? EngineText("SELECT conname FROM pg_constraint WHERE contype = 'p' AND conrelid = '" + t + "'::regclass")
             : EngineText("SELECT name FROM pragma_index_list('" + t + "') WHERE origin = 'pk'");
  ASSERT_FALSE(keyIndex.empty());
  EXPECT_EQ(Of(all, keyIndex), (std::vector<IndexColumnRow>{{true, true, false, 1, 1, 1, "code"},
                                                            {true, true, false, 1, 2, 1, "part"}}));
  EXPECT_EQ(all.size(), 5u);
  EXPECT_EQ(PrimaryKey(t), (std::pair<std::string, std::vector<std::string>>{keyIndex, {"code", "part"}}));
}

TEST_P(IndexSchemaTest, RestrictionsByIndexNameAndType) {
  const std::string t = Table("ix_r", "id INTEGER NOT NULL PRIMARY KEY, a INTEGER");
  const std::string byA = "ix_a" + suffix;
  cn->Execute("CREATE INDEX " + byA + " ON " + t + " (a)");
  auto rs = cn->OpenSchema(ado::adSchemaIndexes, Criteria({{}, {}, com::Variant(byA), {}, com::Variant(t)}));
  ASSERT_FALSE(rs->IsEOF());
  EXPECT_EQ(com::CStr(Value(rs, "COLUMN_NAME")), "a");
  EXPECT_EQ(com::CLng(Value(rs, "TYPE")), 1);
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
  auto hashed = cn->OpenSchema(ado::adSchemaIndexes, Criteria({{}, {}, {}, com::Variant(int32_t{2}), com::Variant(t)}));
  EXPECT_TRUE(hashed->IsEOF());
}

TEST_P(IndexSchemaTest, TableWithoutIndexesHasNoRows) {
  const std::string t = Table("ix_none", "a INTEGER, b VARCHAR(5)");
  EXPECT_TRUE(Indexes(t).empty());
  EXPECT_TRUE(PrimaryKey(t).second.empty());
}

INSTANTIATE_TEST_SUITE_P(Engines, IndexSchemaTest, EnginesAndLegacyStrings(), EngineName);

// SQLite keeps an INTEGER PRIMARY KEY as the rowid, with no index of its
// own in its catalogue; other keys and UNIQUE constraints get automatic
// indexes.
class SqliteIndexSchemaTest : public IndexSchemaTest {};

TEST_P(SqliteIndexSchemaTest, RowidKeyIsListedAsItsDriverNamesIt) {
  const std::string t = Table("ix_rowid", "id INTEGER PRIMARY KEY, a TEXT NOT NULL UNIQUE, b INTEGER");
  const auto all = Indexes(t);
  EXPECT_EQ(Of(all, "sqlite_autoindex_0"), (std::vector<IndexColumnRow>{{true, true, true, 1, 1, 1, "id"}}));
  const std::string autoindex = EngineText("SELECT name FROM pragma_index_list('" + t + "') WHERE origin = 'u'");
  EXPECT_EQ(autoindex, "sqlite_autoindex_" + t + "_1");
  EXPECT_EQ(Of(all, autoindex), (std::vector<IndexColumnRow>{{false, true, false, 0, 1, 1, "a"}}));
  EXPECT_EQ(all.size(), 2u);
  EXPECT_EQ(PrimaryKey(t), (std::pair<std::string, std::vector<std::string>>{"sqlite_autoindex_0", {"id"}}));
}

TEST_P(SqliteIndexSchemaTest, KeysThatAreNotTheRowid) {
  // Descending or composite: an automatic index, which lets null keys in
  // unless the columns are NOT NULL or the table has no rowid.
  const std::string desc = Table("ix_desc", "id INTEGER PRIMARY KEY DESC, v INTEGER");
  EXPECT_EQ(Of(Indexes(desc), "sqlite_autoindex_" + desc + "_1"),
            (std::vector<IndexColumnRow>{{true, true, false, 0, 1, 2, "id"}}));
  const std::string noRowid = "ix_norowid" + suffix;
  cn->Execute("CREATE TABLE " + noRowid + " (k TEXT PRIMARY KEY, v INTEGER) WITHOUT ROWID");
  created.push_back(noRowid);
  EXPECT_EQ(Of(Indexes(noRowid), "sqlite_autoindex_" + noRowid + "_1"),
            (std::vector<IndexColumnRow>{{true, true, true, 1, 1, 1, "k"}}));
  EXPECT_EQ(PrimaryKey(noRowid).first, "sqlite_autoindex_" + noRowid + "_1");
}

INSTANTIATE_TEST_SUITE_P(Engines, SqliteIndexSchemaTest, ::testing::Values(TestEngine::SQLite), EngineName);

}  // namespace
}  // namespace velmora::test
