// Reading fields on both engines: Null-free reads, long columns, missing
// fields, and the never-failing connection utilities.
#include <gtest/gtest.h>

#include <string>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::test {
namespace {

using com::Variant;

class FieldReading : public EngineTest {
 protected:
  std::string BinaryType() const { return IsPg() ? "bytea" : "BLOB"; }
  // A binary literal of the engine for the given bytes.
  std::string BinaryLiteral(std::string_view bytes) const {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string hex;
    for (unsigned char c : bytes) hex += {kHex[c >> 4], kHex[c & 15]};
    return IsPg() ? "decode('" + hex + "', 'hex')" : "X'" + hex + "'";
  }
  // A table of one row of every kind of column, all Null.
  std::string NullRow() {
    const std::string t = Table("nulls",
                                "i INTEGER, s VARCHAR(10), d TIMESTAMP, b BOOLEAN, f DOUBLE PRECISION, "
                                "t TEXT, bin " +
                                    BinaryType());
    cn->Execute("INSERT INTO " + t + " (i) VALUES (NULL)");
    return t;
  }
  // A scrollable recordset on the whole table, on its first row.
  ado::RecordsetPtr Rows(const std::string& table) {
    auto rs = Open("SELECT * FROM " + table, ado::adOpenStatic);
    EXPECT_FALSE(rs->IsEOF());
    return rs;
  }
};

TEST_P(FieldReading, NullReadsGiveTheNeutralValueOfTheFieldsType) {
  auto rs = Rows(NullRow());
  struct Case {
    const char* name;
    int16_t vType;  // written back
    Variant value;
  };
  const Case cases[] = {{"i", com::vbLong, int16_t{0}},
                        {"s", com::vbString, ""},
                        {"d", com::vbDate, int16_t{0}},
                        {"b", com::vbBoolean, false},
                        {"f", com::vbDouble, int16_t{0}}};
  for (const Case& c : cases) {
    int16_t vType = 0;
    const Variant v = FieldValueGet(rs->Fields()->Item(c.name), vType, false);
    EXPECT_EQ(vType, c.vType) << c.name;
    EXPECT_EQ(v.VarType(), c.value.VarType()) << c.name;
    EXPECT_TRUE(com::VarEqual(v, c.value)) << c.name;
  }
}

TEST_P(FieldReading, NullReadWithAGivenTypeUsesThatType) {
  auto rs = Rows(NullRow());
  int16_t vType = com::vbBoolean;
  const Variant v = FieldValueGet(rs->Fields()->Item("i"), vType, false);
  EXPECT_EQ(vType, com::vbBoolean);
  EXPECT_EQ(v.VarType(), com::vbBoolean);
}

TEST_P(FieldReading, NullLongColumnsReadAsEmptyText) {
  auto rs = Rows(NullRow());
  for (const char* name : {"t", "bin"}) {
    for (bool ansi : {false, true}) {
      int16_t vType = 0;
      const Variant v = FieldValueGet(rs->Fields()->Item(name), vType, ansi);
      EXPECT_EQ(v.VarType(), com::vbString) << name;
      EXPECT_EQ(v.Get<std::string>(), "") << name;
      EXPECT_EQ(vType, 0) << name;  // the long path leaves vType alone
    }
  }
}

TEST_P(FieldReading, ValueIsReturnedAsTheFieldGivesIt) {
  const std::string t = Table("vals", "i INTEGER, s VARCHAR(10)");
  cn->Execute("INSERT INTO " + t + " VALUES (42, 'x')");
  auto rs = Rows(t);
  int16_t vType = com::vbString;
  const Variant v = FieldValueGet(rs->Fields()->Item("i"), vType, false);
  EXPECT_EQ(v.VarType(), com::vbLong);  // vType does not coerce a value
  EXPECT_EQ(v.Get<int32_t>(), 42);
}

TEST_P(FieldReading, EmptyLongColumnsReadAsEmptyText) {
  const std::string t = Table("empty", "t TEXT, bin " + BinaryType());
  cn->Execute("INSERT INTO " + t + " VALUES ('', " + BinaryLiteral("") + ")");
  auto rs = Rows(t);
  for (const char* name : {"t", "bin"}) {
    EXPECT_EQ(BlobToString(rs->Fields()->Item(name), true), "") << name;
    EXPECT_EQ(BlobToString(rs->Fields()->Item(name), false), "") << name;
  }
}

TEST_P(FieldReading, LongTextReadsBackWholeWithoutAnsi) {
  const std::string t = Table("text", "t TEXT");
  const std::string text = "Città € 😀 " + std::string(5000, 'x');
  cn->Execute("INSERT INTO " + t + " VALUES ('" + text + "')");
  auto rs = Rows(t);
  int16_t vType = 0;
  EXPECT_EQ(FieldValueGet(rs->Fields()->Item("t"), vType, false).Get<std::string>(), text);
}

TEST_P(FieldReading, LongTextReadWithAnsiGivesEachByteOfItsUtf16AsACharacter) {
  const std::string t = Table("text", "t TEXT");
  cn->Execute("INSERT INTO " + t + " VALUES ('ab')");
  auto rs = Rows(t);
  EXPECT_EQ(BlobToString(rs->Fields()->Item("t"), true), std::string("a\0b\0", 4));
}

TEST_P(FieldReading, AnsiBytesInALongBinaryColumn) {
  const std::string t = Table("bin", "bin " + BinaryType());
  cn->Execute("INSERT INTO " + t + " VALUES (" + BinaryLiteral("Perch\xE9 \x80!") + ")");
  auto rs = Rows(t);
  EXPECT_EQ(BlobToString(rs->Fields()->Item("bin"), true), "Perché €!");
  // Read with the other setting: two bytes a character, half the length.
  EXPECT_EQ(BlobToString(rs->Fields()->Item("bin"), false), "\u6550\u6372\uE968\u8020");
}

TEST_P(FieldReading, FieldGetOfAMissingFieldGivesTheNeutralValueOfThePrimedType) {
  auto rs = Rows(NullRow());
  Variant value = true;
  FieldGet(rs->Fields(), "nosuchfield", value);
  EXPECT_EQ(value.VarType(), com::vbBoolean);
  EXPECT_FALSE(value.Get<bool>());
  value = "text";
  FieldGet(rs->Fields(), "nosuchfield", value, FLDRW_ONLYIFEXISTS);
  EXPECT_EQ(value.Get<std::string>(), "");
}

TEST_P(FieldReading, FieldGetOfAMissingFieldWithoutTheFlagRaisesTheLookupError) {
  auto rs = Rows(NullRow());
  Variant value = true;
  EXPECT_EQ(RaisedError([&] { FieldGet(rs->Fields(), "nosuchfield", value, 0); }).Number(),
            ado::adErrItemNotFound);
}

TEST_P(FieldReading, FieldGetTakesTheTypeOfANullFromThePrimedValue) {
  auto rs = Rows(NullRow());
  Variant value = "primed";
  FieldGet(rs->Fields(), "I", value);  // names are found without regard to case
  EXPECT_EQ(value.VarType(), com::vbString);
  EXPECT_EQ(value.Get<std::string>(), "");
  Variant empty;
  FieldGet(rs->Fields(), "i", empty);
  EXPECT_EQ(empty.VarType(), com::vbInteger);  // the field's own type: Long, neutral value Integer 0
}

TEST_P(FieldReading, FieldReadWritesTheFieldsTypeBackIntoTheCallersVariable) {
  auto rs = Rows(NullRow());
  int16_t vType = 0;
  const Variant v = FieldRead(rs->Fields(), "d", vType);
  EXPECT_EQ(vType, com::vbDate);
  EXPECT_EQ(v.VarType(), com::vbInteger);
}

TEST_P(FieldReading, FieldReadOfAMissingField) {
  auto rs = Rows(NullRow());
  int16_t vType = com::vbBoolean;
  EXPECT_EQ(FieldRead(rs->Fields(), "nosuchfield", vType).VarType(), com::vbBoolean);
  vType = 0;
  EXPECT_EQ(FieldRead(rs->Fields(), "nosuchfield", vType).VarType(), com::vbString);
  EXPECT_EQ(vType, 0);
  EXPECT_EQ(RaisedError([&] { FieldRead(rs->Fields(), "nosuchfield", vType, 0); }).Number(),
            ado::adErrItemNotFound);
}

TEST_P(FieldReading, CollectionItemExistsIgnoresCase) {
  auto rs = Rows(NullRow());
  EXPECT_TRUE(Support().CollectionItemExists(rs->Fields(), "BIN"));
  EXPECT_FALSE(Support().CollectionItemExists(rs->Fields(), "bi"));
}

TEST_P(FieldReading, IsValidBookmarkMovesToAValidBookmark) {
  const std::string t = Table("marks", "i INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  cn->Execute("INSERT INTO " + t + " VALUES (2)");
  auto rs = Open("SELECT i FROM " + t + " ORDER BY i", ado::adOpenStatic);
  rs->MoveNext();
  const Variant second = rs->Bookmark();
  rs->MoveFirst();
  EXPECT_TRUE(IsValidBookmark(rs, second));
  EXPECT_EQ(rs->Fields()->Item("i")->Value().Get<int32_t>(), 2);
  EXPECT_FALSE(IsValidBookmark(rs, 99.0));
  EXPECT_FALSE(IsValidBookmark(rs, "not a bookmark"));
  EXPECT_FALSE(IsValidBookmark(nullptr, second));
}

TEST_P(FieldReading, IsValidBookmarkOnAForwardOnlyCursorIsFalse) {
  auto rs = Rows(NullRow());
  auto forward = Open("SELECT * FROM " + created.back());
  EXPECT_FALSE(IsValidBookmark(forward, rs->Bookmark()));
}

TEST_P(FieldReading, RecordsetCloseClosesAndEmptiesTheReference) {
  ado::RecordsetPtr rs = Rows(NullRow());
  const ado::RecordsetPtr kept = rs;
  RecordsetClose(rs);
  EXPECT_EQ(rs, nullptr);
  EXPECT_EQ(kept->State(), ado::adStateClosed);
  ado::RecordsetPtr again = kept;
  RecordsetClose(again);  // already closed: accepted
  EXPECT_EQ(again, nullptr);
  ado::RecordsetPtr none;
  RecordsetClose(none);
  EXPECT_EQ(none, nullptr);
}

TEST_P(FieldReading, ConnectionCloseKeepsTheReference) {
  auto other = std::make_shared<ado::Connection>();
  other->Open(ConnectionString());
  ConnectionClose(other);
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->State(), ado::adStateClosed);
  ConnectionClose(other);  // already closed: accepted
  ConnectionClose(nullptr);
  other->Open(ConnectionString());  // kept for reuse
  EXPECT_EQ(other->State(), ado::adStateOpen);
}

INSTANTIATE_TEST_SUITE_P(Engines, FieldReading, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

// ErrorSet gathers the provider errors of the connection's last failure.
class ErrorSetting : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    Support().ClearErrorRecord();
  }
  void TearDown() override {
    Support().ClearErrorRecord();
    EngineTest::TearDown();
  }
  // Runs a statement that fails and gathers its errors while the failure is
  // being handled, as a caller's error handler does.
  com::Error FailAndGather(const std::string& sql) {
    try {
      cn->Execute(sql);
    } catch (const com::Error& e) {
      ErrorSet(cn);
      return e;
    }
    ADD_FAILURE() << "statement did not fail: " << sql;
    return com::Error(0, "");
  }
  // One error as ErrorSet writes it.
  static std::string Written(const ado::Error& e) {
    return e.Description() + " (SQL:" + e.SQLState() + ") [#" + std::to_string(e.Number()) +
           "(SQL:" + std::to_string(e.NativeError()) + ") in " + e.Source() + "]";
  }
};

TEST_P(ErrorSetting, ConnectionWithoutErrorsLeavesTheRecordUntouched) {
  Support().SetError(int32_t{7}, "Velmora.Test", "kept");
  ASSERT_EQ(cn->Errors()->Count(), 0);
  ErrorSet(cn);
  ErrorSet(nullptr);
  EXPECT_EQ(Support().ErrorRecord().number, 7);
  EXPECT_EQ(Support().ErrorRecord().description, "kept");
}

TEST_P(ErrorSetting, ProviderErrorBecomesTheDescriptionUnderTheHeading) {
  const com::Error raised = FailAndGather("SELECT * FROM no_such_table" + suffix);
  ASSERT_EQ(cn->Errors()->Count(), 1);
  const PendingError record = Support().ErrorRecord();  // a copy: raising the record clears it
  EXPECT_EQ(record.description, Support().ErrorHeading() + "\r\n" + Written(*cn->Errors()->Item(0)));
  EXPECT_EQ(record.number, raised.Number());  // the other items are the pending error's
  EXPECT_EQ(record.source, raised.Source());
  const com::Error reported = RaisedError([] { Support().RaiseErrorRecord(); });
  EXPECT_EQ(reported.Description(), record.description);
}

TEST_P(ErrorSetting, TheHandlersReraiseRaisesTheComposedDescription) {
  std::string composed;
  int32_t original = 0;
  const com::Error reported = RaisedError([&] {
    try {
      cn->Execute("SELECT * FROM no_such_table" + suffix);
    } catch (const com::Error& e) {
      original = e.Number();
      ErrorSet(cn);
      composed = Support().ErrorRecord().description;
      Reraise(ErrorSource("modAdoSupport", "Query"));
    }
  });
  ASSERT_EQ(cn->Errors()->Count(), 1);
  EXPECT_EQ(composed, Support().ErrorHeading() + "\r\n" + Written(*cn->Errors()->Item(0)));
  EXPECT_EQ(reported.Description(), composed);
  EXPECT_EQ(reported.Number(), original);
  EXPECT_EQ(reported.Source(), "Velmora.modAdoSupport.Query");
  EXPECT_EQ(Support().ErrorRecord().description, "");  // used once
}

TEST_P(ErrorSetting, DoubledLineBreaksAreCollapsedInOnePass) {
  // Three line breaks in a row: the first two become one, the third stays.
  FailAndGather("SELECT * FROM \"gone\r\n\r\n\r\nfor good" + suffix + "\"");
  const std::string& description = Support().ErrorRecord().description;
  EXPECT_NE(description.find("gone\r\n\r\nfor good"), std::string::npos) << description;
  EXPECT_EQ(description.find("\r\n\r\n\r\n"), std::string::npos) << description;
}

INSTANTIATE_TEST_SUITE_P(Engines, ErrorSetting, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

// The PostgreSQL driver hands a long message over in several diagnostic
// records: every one of them is gathered, in order, with no separator.
class ErrorSettingManyRecords : public ErrorSetting {};

TEST_P(ErrorSettingManyRecords, EveryRecordIsGatheredInOrder) {
  FailAndGather("DO $$ BEGIN RAISE EXCEPTION '%', repeat('x', 1500); END $$");
  ASSERT_GE(cn->Errors()->Count(), 2);
  std::string expected = Support().ErrorHeading() + "\r\n";
  for (const ado::ErrorPtr& e : *cn->Errors()) expected += Written(*e);
  EXPECT_EQ(Support().ErrorRecord().description, expected);
}

INSTANTIATE_TEST_SUITE_P(Engines, ErrorSettingManyRecords, ::testing::Values(TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
