// Writing fields on both engines: tolerant writes, DefaultToNull, missing
// fields, neutral values, and long columns through the byte path.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/field_access.hpp"

namespace velmora::test {
namespace {

using com::Variant;

// One row (id 1) of every kind of column, written through an optimistic
// recordset and read back through a fresh one.
class FieldWriting : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    table = Table("writes", std::string("id INTEGER PRIMARY KEY, s VARCHAR(4), d TIMESTAMP, n INTEGER, ") +
                                "b BOOLEAN, t TEXT, bin " + (IsPg() ? "bytea" : "BLOB") +
                                ", nn INTEGER NOT NULL, ns VARCHAR(10) NOT NULL");
    cn->Execute("INSERT INTO " + table + " (id, s, n, nn, ns) VALUES (1, 'x', 5, 7, 'y')");
    rs = std::make_shared<ado::Recordset>();
    rs->Open(Variant("SELECT * FROM " + table + " WHERE id = 1"), Variant(cn), ado::adOpenKeyset,
             ado::adLockOptimistic, ado::adCmdText);
  }
  ado::FieldPtr F(const std::string& name) const { return rs->Fields()->Item(name); }
  // The stored value of a column, read back from the database.
  Variant Stored(const std::string& name) {
    rs->Update();
    auto back = Open("SELECT " + name + " FROM " + table + " WHERE id = 1");
    return back->Fields()->Item(name)->Value();
  }
  std::string StoredText(const std::string& name, bool ansi) {
    rs->Update();
    auto back = Open("SELECT " + name + " FROM " + table + " WHERE id = 1", ado::adOpenStatic);
    return BlobToString(back->Fields()->Item(name), ansi);
  }

  std::string table;
  ado::RecordsetPtr rs;
};

TEST_P(FieldWriting, NullIsStoredWhateverTheColumnAndDefaultToNull) {
  const std::pair<const char*, Variant> notNull[] = {{"s", "x"},  {"d", "2009-12-31"}, {"n", int32_t{1}},
                                                     {"b", true}, {"t", "x"},          {"bin", "x"}};
  for (const bool defaultToNull : {false, true}) {
    for (const auto& [name, value] : notNull) {
      FieldValueSet2(F(name), value, false, false);
      ASSERT_FALSE(Stored(name).IsNull()) << name;
      FieldValueSet2(F(name), com::Null, false, defaultToNull);
      EXPECT_TRUE(Stored(name).IsNull()) << name << " DefaultToNull " << defaultToNull;
    }
  }
}

TEST_P(FieldWriting, TextLongerThanTheColumnIsCutToItsSize) {
  FieldValueSet(F("s"), "abcdef", false);
  EXPECT_EQ(Stored("s").Get<std::string>(), "abcd");
  FieldValueSet(F("s"), "àèìòùé", false);  // characters, not bytes
  EXPECT_EQ(Stored("s").Get<std::string>(), "àèìò");
}

TEST_P(FieldWriting, TextThatIsNotADateStoresDateZero) {
  FieldValueSet(F("d"), "not a date", false);
  EXPECT_EQ(com::CDate(Stored("d")).value, 0.0);
  FieldValueSet(F("d"), "2009-12-31 23:05:09", false);
  EXPECT_EQ(com::CStr(Stored("d")), "2009-12-31 23:05:09");
}

TEST_P(FieldWriting, DefaultToNullStoresNeutralValuesAsNull) {
  FieldValueSet2(F("s"), "", false, true);
  FieldValueSet2(F("n"), int32_t{0}, false, true);
  FieldValueSet2(F("b"), false, false, true);
  FieldValueSet2(F("d"), int32_t{0}, false, true);  // dates never become Null
  rs->Update();
  EXPECT_TRUE(Stored("s").IsNull());
  EXPECT_TRUE(Stored("n").IsNull());
  EXPECT_TRUE(Stored("b").IsNull());
  EXPECT_EQ(com::CDate(Stored("d")).value, 0.0);
}

TEST_P(FieldWriting, WithoutDefaultToNullNeutralValuesAreStored) {
  FieldValueSet(F("s"), "", false);
  FieldValueSet(F("n"), int32_t{0}, false);
  FieldValueSet(F("b"), false, false);
  EXPECT_EQ(Stored("s").Get<std::string>(), "");
  EXPECT_EQ(com::CLng(Stored("n")), 0);
  EXPECT_FALSE(com::CBool(Stored("b")));
}

TEST_P(FieldWriting, FieldWriteOfAMissingField) {
  FieldWrite(rs->Fields(), "nosuchfield", int32_t{1});  // skipped silently
  FieldWrite(rs->Fields(), "N", int32_t{9}, FLDRW_ONLYIFEXISTS);
  EXPECT_EQ(com::CLng(Stored("n")), 9);
  EXPECT_EQ(RaisedError([&] { FieldWrite(rs->Fields(), "nosuchfield", int32_t{1}, 0); }).Number(),
            ado::adErrItemNotFound);
}

TEST_P(FieldWriting, FieldDefaultSetStoresNullInANullableField) {
  ASSERT_NE(F("n")->Attributes() & ado::adFldIsNullable, 0);
  FieldDefaultSet(F("n"));
  EXPECT_TRUE(Stored("n").IsNull());
}

TEST_P(FieldWriting, LongColumnsRoundTripWithTheSameSetting) {
  FieldValueSet(F("bin"), "Perché € œ", true);
  EXPECT_EQ(StoredText("bin", true), "Perché € œ");
  FieldValueSet(F("t"), "Città 😀", false);
  EXPECT_EQ(StoredText("t", false), "Città 😀");
  FieldValueSet(F("bin"), "Città 😀", false);
  EXPECT_EQ(StoredText("bin", false), "Città 😀");
}

TEST_P(FieldWriting, AnsiWrittenUnicodeReadGivesHalfTheLength) {
  StringToBlob(F("bin"), "abcdef");  // AnsiBlob defaults to True
  EXPECT_EQ(StoredText("bin", false), "\u6261\u6463\u6665");
}

TEST_P(FieldWriting, EmptyTextMakesAnEmptyLongColumn) {
  StringToBlob(F("t"), "", true);
  StringToBlob(F("bin"), "", true);
  EXPECT_EQ(StoredText("t", true), "");
  EXPECT_EQ(StoredText("bin", false), "");
}

INSTANTIATE_TEST_SUITE_P(Engines, FieldWriting, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

// Only the PostgreSQL driver reports NOT NULL columns (SQLite's reports every
// column nullable), so the neutral-value branch is checked there.
class FieldWritingNotNull : public FieldWriting {};

TEST_P(FieldWritingNotNull, FieldDefaultSetStoresTheNeutralValueInANotNullField) {
  ASSERT_EQ(F("nn")->Attributes() & ado::adFldIsNullable, 0);
  FieldDefaultSet(F("nn"));
  FieldDefaultSet(F("ns"));
  EXPECT_EQ(com::CLng(Stored("nn")), 0);
  EXPECT_EQ(Stored("ns").Get<std::string>(), "");
}

INSTANTIATE_TEST_SUITE_P(Engines, FieldWritingNotNull, ::testing::Values(TestEngine::PostgreSQL), EngineName);

}  // namespace
}  // namespace velmora::test
