// The field and SQL text members of AdoMacros: which AnsiBlob each passes,
// the by-value vType of FieldValueGet, and plain forwarding.
#include <gtest/gtest.h>

#include <string>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::test {
namespace {

// A row whose long binary column holds the Windows-1252 bytes of "Perché!"
// and whose other columns are Null.
class FieldsFacade : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    table = Table("facade", std::string("i INTEGER, bin ") + (IsPg() ? "bytea" : "BLOB"));
    cn->Execute("INSERT INTO " + table + " VALUES (NULL, " +
                (IsPg() ? "decode('5065726368e921', 'hex')" : "X'5065726368e921'") + ")");
    rs = Open("SELECT * FROM " + table, ado::adOpenStatic);
    macros = std::make_shared<AdoMacros>();
  }
  ado::FieldPtr Bin() const { return rs->Fields()->Item("bin"); }

  static constexpr const char* kAnsiText = "Perché!";
  // The same bytes read two a character (the odd last byte is dropped).
  static constexpr const char* kPairedText = "\u6550\u6372\ue968";

  std::string table;
  ado::RecordsetPtr rs;
  std::shared_ptr<AdoMacros> macros;
};

TEST_P(FieldsFacade, FreshInstanceHasDefaultAnsiBlobFalse) {
  EXPECT_FALSE(macros->DefaultAnsiBlob());
  int16_t unused = 0;
  EXPECT_EQ(macros->FieldValueGet(Bin()).Get<std::string>(),
            FieldValueGet(Bin(), unused, false).Get<std::string>());
  EXPECT_EQ(macros->FieldValueGet(Bin()).Get<std::string>(), kPairedText);
}

TEST_P(FieldsFacade, FieldValueGetPassesDefaultAnsiBlob) {
  macros->DefaultAnsiBlob(true);
  EXPECT_EQ(macros->FieldValueGet(Bin()).Get<std::string>(), kAnsiText);
}

TEST_P(FieldsFacade, BlobToStringDefaultsToAnsiWhateverDefaultAnsiBlobSays) {
  EXPECT_FALSE(macros->DefaultAnsiBlob());
  EXPECT_EQ(macros->BlobToString(Bin()), kAnsiText);
  EXPECT_EQ(macros->BlobToString(Bin(), false), kPairedText);
  macros->DefaultAnsiBlob(true);
  EXPECT_EQ(macros->BlobToString(Bin(), false), kPairedText);
}

TEST_P(FieldsFacade, FieldGetAndFieldReadNeverUseAnsi) {
  macros->DefaultAnsiBlob(true);
  com::Variant value;
  macros->FieldGet(rs->Fields(), "bin", value);
  EXPECT_EQ(value.Get<std::string>(), kPairedText);
  int16_t vType = 0;
  EXPECT_EQ(macros->FieldRead(rs->Fields(), "bin", vType).Get<std::string>(), kPairedText);
}

TEST_P(FieldsFacade, FieldValueGetTakesVTypeByValue) {
  const int16_t vType = 0;  // a constant can be passed: the member works on a copy
  const com::Variant v = macros->FieldValueGet(rs->Fields()->Item("i"), vType);
  EXPECT_EQ(v.VarType(), com::vbInteger);
  EXPECT_EQ(macros->FieldValueGet(rs->Fields()->Item("i"), com::vbBoolean).VarType(), com::vbBoolean);
}

TEST_P(FieldsFacade, FieldReadWritesTheTypeBackAndFlagsDefaultToOnlyIfExists) {
  int16_t vType = 0;
  EXPECT_EQ(macros->FieldRead(rs->Fields(), "i", vType).VarType(), com::vbInteger);
  EXPECT_EQ(vType, com::vbLong);
  com::Variant primed = true;
  macros->FieldGet(rs->Fields(), "missing", primed);
  EXPECT_EQ(primed.VarType(), com::vbBoolean);
  EXPECT_EQ(RaisedError([&] { macros->FieldGet(rs->Fields(), "missing", primed, 0); }).Number(),
            ado::adErrItemNotFound);
}

TEST_P(FieldsFacade, IsValidBookmarkForwards) {
  const com::Variant mark = rs->Bookmark();
  EXPECT_TRUE(macros->IsValidBookmark(rs, mark));
  EXPECT_FALSE(macros->IsValidBookmark(rs, 1000.0));
}

TEST_P(FieldsFacade, CloseRoutinesForward) {
  ado::RecordsetPtr held = rs;
  macros->RecordsetClose(held);
  EXPECT_EQ(held, nullptr);
  EXPECT_EQ(rs->State(), ado::adStateClosed);
  macros->ConnectionClose(cn);
  EXPECT_NE(cn, nullptr);
  EXPECT_EQ(cn->State(), ado::adStateClosed);
  macros->ConnectionClose(cn);  // never raises
}

TEST_P(FieldsFacade, ErrorSetForwards) {
  Support().ClearErrorRecord();
  const com::Error reported = RaisedError([&] {
    try {
      cn->Execute("SELECT * FROM no_such_table" + suffix);
    } catch (...) {
      macros->ErrorSet(cn);
      Reraise(ErrorSource("modAdoSupport", "Query"));
    }
  });
  EXPECT_EQ(reported.Description().rfind(Support().ErrorHeading() + "\r\n", 0), 0u);
  EXPECT_EQ(reported.Source(), "Velmora.modAdoSupport.Query");
}

// Writes go through an updatable recordset on a keyed table.
class FieldsFacadeWrite : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    table = Table("facadew",
                  std::string("id INTEGER PRIMARY KEY, s VARCHAR(10), bin ") + (IsPg() ? "bytea" : "BLOB"));
    cn->Execute("INSERT INTO " + table + " (id, s) VALUES (1, 'x')");
    rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT * FROM " + table), com::Variant(cn), ado::adOpenKeyset,
             ado::adLockOptimistic, ado::adCmdText);
  }
  com::Variant Stored(const std::string& name) {
    rs->Update();
    return Open("SELECT " + name + " FROM " + table)->Fields()->Item(name)->Value();
  }
  std::string table;
  ado::RecordsetPtr rs;
  AdoMacros macros;
};

TEST_P(FieldsFacadeWrite, FieldValueSetNeverStoresNullForEmptyText) {
  macros.FieldValueSet(rs->Fields()->Item("s"), "");
  EXPECT_EQ(Stored("s").Get<std::string>(), "");
}

TEST_P(FieldsFacadeWrite, FieldValueSet2WithDefaultToNullStoresNullForEmptyText) {
  macros.FieldValueSet2(rs->Fields()->Item("s"), "", true);
  EXPECT_TRUE(Stored("s").IsNull());
}

TEST_P(FieldsFacadeWrite, FieldValueSetPassesDefaultAnsiBlob) {
  macros.DefaultAnsiBlob(true);
  macros.FieldValueSet(rs->Fields()->Item("bin"), "Perché");
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{'P', 'e', 'r', 'c', 'h', 0xE9}));
  macros.DefaultAnsiBlob(false);
  macros.FieldValueSet(rs->Fields()->Item("bin"), "é");
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9, 0x00}));
}

TEST_P(FieldsFacadeWrite, FieldValueSet2PassesDefaultAnsiBlob) {
  macros.DefaultAnsiBlob(true);
  macros.FieldValueSet2(rs->Fields()->Item("bin"), "é", true);
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9}));
  macros.DefaultAnsiBlob(false);
  macros.FieldValueSet2(rs->Fields()->Item("bin"), "é");
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9, 0x00}));
}

TEST_P(FieldsFacadeWrite, StringToBlobDefaultsToAnsiAndFieldWriteNeverUsesIt) {
  macros.StringToBlob(rs->Fields()->Item("bin"), "é");
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9}));
  macros.DefaultAnsiBlob(true);
  macros.StringToBlob(rs->Fields()->Item("bin"), "é", false);  // its own argument, not DefaultAnsiBlob
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9, 0x00}));
  macros.FieldWrite(rs->Fields(), "bin", "é");
  EXPECT_EQ(Stored("bin").Get<com::ByteArray>(), (com::ByteArray{0xE9, 0x00}));
  macros.FieldWrite(rs->Fields(), "missing", "é");  // tolerated by default
}

TEST_P(FieldsFacadeWrite, FieldDefaultSetForwards) {
  macros.FieldDefaultSet(rs->Fields()->Item("s"));
  EXPECT_TRUE(Stored("s").IsNull());
}

INSTANTIATE_TEST_SUITE_P(Engines, FieldsFacadeWrite,
                         ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL), EngineName);

INSTANTIATE_TEST_SUITE_P(Engines, FieldsFacade, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

TEST(FieldsFacadeText, SQLNameAndQueryArgumentForward) {
  EXPECT_EQ(Macros().SQLName("dbo.Orders"), "[dbo].[Orders]");
  EXPECT_EQ(Macros().QueryArgument("O'Brien"), "'O''Brien'");
  EXPECT_EQ(Macros().QueryArgument(int32_t{42}, com::vbString), "'42'");
  EXPECT_EQ(Macros().QueryArgument("", com::vbDate, QAFNoTime), "'18991230'");
  EXPECT_EQ(RaisedError([] { Macros().QueryArgument("x", com::vbDate); }).Source(),
            "Velmora.modAdoSupport.QueryArgument");
}

}  // namespace
}  // namespace velmora::test
