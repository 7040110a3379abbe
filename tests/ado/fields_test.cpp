#include <gtest/gtest.h>

#include <filesystem>

#include "ado/engine_fixture.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class FieldsTest : public EngineTest {
 protected:
  std::string Typed() {
    const std::string blob = IsPg() ? "BYTEA" : "BLOB";
    const std::string t = Table("typed", "id INTEGER NOT NULL PRIMARY KEY, small SMALLINT, big BIGINT, "
                                         "dbl DOUBLE PRECISION, amount NUMERIC(14,4), flag BOOLEAN, "
                                         "stamp TIMESTAMP, name VARCHAR(20), memo TEXT, data " + blob);
    const std::string bytes = IsPg() ? "'\\x00ff10'::bytea" : "x'00ff10'";
    cn->Execute("INSERT INTO " + t + " VALUES (1, -5, 12345678901, 2.5, 123456789.1234, " +
                std::string(IsPg() ? "TRUE" : "1") + ", '2009-12-31 23:05:09', 'Città', '" +
                std::string(20000, 'x') + "', " + bytes + ")");
    cn->Execute("INSERT INTO " + t + " (id) VALUES (2)");
    return t;
  }
  ado::FieldPtr F(const ado::RecordsetPtr& rs, const char* name) { return rs->Fields()->Item(com::Variant(name)); }
};

TEST_P(FieldsTest, ValuesArriveAsTheirVariantTypes) {
  auto rs = Open("SELECT * FROM " + Typed() + " ORDER BY id");
  EXPECT_EQ(F(rs, "id")->Value().Get<int32_t>(), 1);
  EXPECT_EQ(F(rs, "small")->Value().Get<int16_t>(), -5);
  const auto big = F(rs, "big")->Value().Get<com::Decimal>();
  EXPECT_EQ(big.lo64, 12345678901u);
  EXPECT_EQ(F(rs, "dbl")->Value().Get<double>(), 2.5);
  const auto amount = F(rs, "amount")->Value().Get<com::Decimal>();
  EXPECT_EQ(com::DecimalToString(amount), "123456789.1234");
  EXPECT_EQ(F(rs, "flag")->Value().Get<bool>(), true);
  EXPECT_EQ(com::DateToString(F(rs, "stamp")->Value().Get<com::Date>()), "2009-12-31 23:05:09");
  EXPECT_EQ(F(rs, "name")->Value().Get<std::string>(), "Città");
  EXPECT_EQ(F(rs, "name")->ActualSize(), 6);  // bytes of UTF-8
  EXPECT_EQ(F(rs, "memo")->Value().Get<std::string>().size(), 20000u);  // never cut to a buffer
  EXPECT_EQ(F(rs, "data")->Value().Get<com::ByteArray>(), (com::ByteArray{0x00, 0xff, 0x10}));
  rs->MoveNext();
  for (const char* name : {"small", "big", "dbl", "amount", "flag", "stamp", "name", "memo", "data"}) {
    EXPECT_TRUE(F(rs, name)->Value().IsNull()) << name;
  }
}

TEST_P(FieldsTest, TypesSizesAndAttributes) {
  auto rs = Open("SELECT * FROM " + Typed());
  EXPECT_EQ(F(rs, "id")->Type(), ado::adInteger);
  EXPECT_EQ(F(rs, "small")->Type(), ado::adSmallInt);
  EXPECT_EQ(F(rs, "big")->Type(), ado::adBigInt);
  EXPECT_EQ(F(rs, "dbl")->Type(), ado::adDouble);
  EXPECT_EQ(F(rs, "amount")->Type(), ado::adNumeric);
  EXPECT_EQ(F(rs, "amount")->Precision(), 14);
  EXPECT_EQ(F(rs, "flag")->Type(), ado::adBoolean);
  EXPECT_EQ(F(rs, "stamp")->Type(), ado::adDBTimeStamp);
  EXPECT_EQ(F(rs, "name")->Type(), ado::adVarWChar);
  EXPECT_EQ(F(rs, "name")->DefinedSize(), 20);
  EXPECT_EQ(F(rs, "memo")->Type(), ado::adLongVarWChar);
  EXPECT_EQ(F(rs, "data")->Type(), ado::adLongVarBinary);
  EXPECT_TRUE(F(rs, "memo")->Attributes() & ado::adFldLong);
  EXPECT_TRUE(F(rs, "data")->Attributes() & ado::adFldLong);
  EXPECT_FALSE(F(rs, "name")->Attributes() & ado::adFldLong);
  EXPECT_TRUE(F(rs, "id")->Attributes() & ado::adFldFixed);
  EXPECT_FALSE(F(rs, "name")->Attributes() & ado::adFldFixed);
  EXPECT_TRUE(F(rs, "name")->Attributes() & ado::adFldIsNullable);
  EXPECT_TRUE(F(rs, "name")->Attributes() & ado::adFldMayBeNull);
  if (IsPg()) {
    EXPECT_FALSE(F(rs, "id")->Attributes() & ado::adFldIsNullable);  // NOT NULL is reported
  }
  EXPECT_FALSE(F(rs, "name")->Attributes() & (ado::adFldUpdatable | ado::adFldUnknownUpdatable));  // read-only recordset
  EXPECT_EQ(F(rs, "dbl")->Precision(), 15);
  EXPECT_EQ(F(rs, "name")->NumericScale(), 255);
}

// Nullability and key columns come from the table's catalogue (the SQLite
// driver describes every column as nullable), whatever the lock type.
TEST_P(FieldsTest, NotNullAndKeyColumnsFollowTheTable) {
  const std::string t = Typed();
  for (int32_t lock : {ado::adLockReadOnly, ado::adLockOptimistic}) {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT name, id FROM " + t), com::Variant(cn), ado::adOpenForwardOnly, lock,
             ado::adCmdText);
    const int32_t id = F(rs, "id")->Attributes();
    const int32_t name = F(rs, "name")->Attributes();
    EXPECT_FALSE(id & (ado::adFldIsNullable | ado::adFldMayBeNull)) << lock;
    EXPECT_TRUE(id & ado::adFldKeyColumn) << lock;
    EXPECT_EQ(name & (ado::adFldIsNullable | ado::adFldMayBeNull), ado::adFldIsNullable | ado::adFldMayBeNull);
    EXPECT_FALSE(name & ado::adFldKeyColumn) << lock;
  }
  // A table made again under the same name is looked up again.
  cn->Execute("DROP TABLE " + t);
  cn->Execute("CREATE TABLE " + t + " (id INTEGER, name VARCHAR(20) NOT NULL, CONSTRAINT pk_" + t +
              " PRIMARY KEY (name))");
  auto rs = Open("SELECT id, name FROM " + t);
  EXPECT_TRUE(F(rs, "id")->Attributes() & ado::adFldIsNullable);
  EXPECT_FALSE(F(rs, "id")->Attributes() & ado::adFldKeyColumn);
  EXPECT_FALSE(F(rs, "name")->Attributes() & ado::adFldIsNullable);
  EXPECT_TRUE(F(rs, "name")->Attributes() & ado::adFldKeyColumn);
  // An expression has no table to ask.
  auto counted = Open("SELECT COUNT(*) AS n FROM " + t);
  EXPECT_FALSE(F(counted, "n")->Attributes() & ado::adFldKeyColumn);
}

TEST_P(FieldsTest, FieldsByNameWithoutCaseAndByPosition) {
  auto rs = Open("SELECT id, name FROM " + Typed());
  auto fields = rs->Fields();
  EXPECT_EQ(fields->Count(), 2);
  EXPECT_EQ(fields->Item(com::Variant("NAME")), fields->Item(com::Variant(int32_t{1})));
  EXPECT_EQ(fields->Item(com::Variant(int16_t{0})), fields->Item(com::Variant("Id")));
  EXPECT_EQ(fields->Item(com::Variant(0.1)), fields->Item(com::Variant("id")));
  std::vector<std::string> names;
  for (const auto& f : *fields) names.push_back(f->Name());
  EXPECT_EQ(names, (std::vector<std::string>{"id", "name"}));
  for (const com::Variant& bad : {com::Variant("nope"), com::Variant(int32_t{2}), com::Variant(int32_t{-1})}) {
    try {
      fields->Item(bad);
      FAIL();
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), ado::adErrItemNotFound);
    }
  }
}

TEST_P(FieldsTest, GetChunkReadsLongValuesInPieces) {
  const std::string t = Table("chunks", "id INTEGER, memo TEXT");
  cn->Execute("INSERT INTO " + t + " VALUES (1, 'àbcdé')");
  auto rs = Open("SELECT memo FROM " + t);
  auto memo = F(rs, "memo");
  EXPECT_EQ(memo->GetChunk(2).Get<std::string>(), "àb");
  EXPECT_EQ(memo->GetChunk(2).Get<std::string>(), "cd");
  EXPECT_EQ(memo->GetChunk(10).Get<std::string>(), "é");
  EXPECT_TRUE(memo->GetChunk(10).IsNull());
}

INSTANTIATE_TEST_SUITE_P(Engines, FieldsTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

// SQLite integer columns hold 64 bits: a value beyond 32 bits in an INTEGER
// column is read at full width, as a Decimal, never wrapped or refused; a
// column declared INT8 is a bigint.
TEST(FieldsWideIntegers, ValuesBeyondTheColumnTypeArriveInATypeThatHoldsThem) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(FreshSqliteOdbc());
  cn->Execute("CREATE TABLE wide (id INTEGER, small SMALLINT, big INT8)");
  cn->Execute("INSERT INTO wide VALUES (5000000000, 100000, 7)");
  auto rs = cn->Execute("SELECT id, small, big FROM wide");
  auto field = [&](const char* name) { return rs->Fields()->Item(com::Variant(name)); };
  EXPECT_EQ(field("id")->Type(), ado::adInteger);
  EXPECT_EQ(com::DecimalToString(field("id")->Value().Get<com::Decimal>()), "5000000000");
  EXPECT_EQ(field("small")->Type(), ado::adSmallInt);
  EXPECT_EQ(field("small")->Value().Get<int32_t>(), 100000);
  EXPECT_EQ(field("big")->Type(), ado::adBigInt);
  EXPECT_EQ(com::DecimalToString(field("big")->Value().Get<com::Decimal>()), "7");
}

}  // namespace
}  // namespace velmora::test
