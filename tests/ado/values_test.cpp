// Values on their way out of and into the engines: integers at full width,
// text refused unless it is valid UTF-8 without NUL, and conversion errors
// that name their field.
#include <gtest/gtest.h>

#include <filesystem>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class ValuesTest : public EngineTest {
 protected:
  ado::FieldPtr F(const ado::RecordsetPtr& rs, int32_t i) { return rs->Fields()->Item(com::Variant(i)); }
  // A Recordset on `table` that can add and change rows.
  ado::RecordsetPtr Editable(const std::string& table) {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT * FROM " + table), com::Variant(cn), ado::adOpenKeyset, ado::adLockOptimistic,
             ado::adCmdText);
    return rs;
  }
  int32_t Rows(const std::string& table) { return com::CLng(F(Open("SELECT COUNT(*) FROM " + table), 0)->Value()); }
  static std::string Text(const com::Variant& v) { return com::DecimalToString(v.Get<com::Decimal>()); }
};

// The Bytes column of Chinook's tracks adds up to more than 32 bits.
TEST_P(ValuesTest, ChinookTrackBytesAddUpToADecimalOfTheirFullSum) {
  const auto chinook = TempDir() / ("chinook" + suffix + ".db");
  std::filesystem::copy_file(Fixtures() / "Chinook_Sqlite.sqlite", chinook);
  auto source = std::make_shared<ado::Connection>();
  source->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + chinook.string());
  auto tracks = std::make_shared<ado::Recordset>();
  tracks->Open(com::Variant("SELECT [Bytes] FROM [Track]"), com::Variant(source), ado::adOpenForwardOnly,
               ado::adLockReadOnly, ado::adCmdText);
  std::string rows;
  for (; !tracks->IsEOF(); tracks->MoveNext()) {
    rows += (rows.empty() ? "(" : ", (") + com::CStr(tracks->Fields()->Item(com::Variant("Bytes"))->Value()) + ")";
  }
  const std::string t = Table("track", "bytes INTEGER");
  cn->Execute("INSERT INTO " + t + " (bytes) VALUES " + rows);
  for (auto* connection : {&source, &cn}) {
    const std::string table = connection == &source ? "Track" : t;
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT SUM(Bytes) FROM " + table), com::Variant(*connection), ado::adOpenForwardOnly,
             ado::adLockReadOnly, ado::adCmdText);
    auto sum = F(rs, 0);
    EXPECT_EQ(sum->Type(), ado::adBigInt) << table;
    EXPECT_EQ(Text(sum->Value()), "117386255350") << table;
  }
}

// SQLite INTEGER holds 64 bits (epoch milliseconds, say): such a value
// arrives whole as a Decimal, as a PostgreSQL bigint does; the column keeps
// its type and smaller values their Long.
TEST_P(ValuesTest, IntegersBeyondThirtyTwoBitsArriveWholeAsDecimals) {
  const std::string t = Table("stamps", std::string("id INTEGER, ms ") + (IsPg() ? "BIGINT" : "INTEGER"));
  cn->Execute("INSERT INTO " + t + " VALUES (1, 1700000000123), (2, -1700000000123), (3, 42)");
  auto rs = Open("SELECT id, ms FROM " + t + " ORDER BY id", ado::adOpenStatic);
  EXPECT_EQ(F(rs, 1)->Type(), IsPg() ? ado::adBigInt : ado::adInteger);
  EXPECT_EQ(Text(F(rs, 1)->Value()), "1700000000123");
  rs->MoveNext();
  EXPECT_EQ(Text(F(rs, 1)->Value()), "-1700000000123");
  rs->MoveNext();
  EXPECT_EQ(F(rs, 1)->Value().VarType(), IsPg() ? com::vbDecimal : com::vbLong);
  EXPECT_EQ(com::CLng(F(rs, 1)->Value()), 42);
}

// Expressions have a type that holds what they return, as on PostgreSQL.
TEST_P(ValuesTest, CountsAndSumsAreBigInts) {
  const std::string t = Table("counted", "n INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (2000000000), (2000000000)");
  auto rs = Open("SELECT COUNT(*), SUM(n) FROM " + t);
  EXPECT_EQ(F(rs, 0)->Type(), ado::adBigInt);
  EXPECT_EQ(Text(F(rs, 0)->Value()), "2");
  EXPECT_EQ(F(rs, 1)->Type(), ado::adBigInt);
  EXPECT_EQ(Text(F(rs, 1)->Value()), "4000000000");
}

// A row holding a value beyond 32 bits is found and changed like any other.
TEST_P(ValuesTest, ARowWithAWideIntegerCanBeEdited) {
  const std::string t = Table("wide", std::string("ms ") + (IsPg() ? "BIGINT" : "INTEGER") + ", note VARCHAR(10)");
  cn->Execute("INSERT INTO " + t + " VALUES (1700000000123, 'a')");
  auto rs = Editable(t);
  rs->Fields()->Item(com::Variant("note"))->Value(com::Variant("b"));
  rs->Update();
  rs->Close();
  auto back = Open("SELECT ms, note FROM " + t);
  EXPECT_EQ(Text(F(back, 0)->Value()), "1700000000123");
  EXPECT_EQ(F(back, 1)->Value().Get<std::string>(), "b");
}

// Byte sequences that are not UTF-8: lone bytes, an overlong form, encoded
// surrogates (the second swallows the next character when decoded loosely),
// a code point beyond U+10FFFF and a cut sequence.
const char* const kMalformed[] = {"\xFF", "\xFE", "bad\xC0\xAF", "\xED\xA0\x80x", "\xED\xB0\x80", "\xF4\x90\x80\x80",
                                  "cut\xE2\x82"};

TEST_P(ValuesTest, StatementTextThatIsNotUtf8IsRefused) {
  const std::string t = Table("names", "name VARCHAR(20)");
  for (const char* bad : kMalformed) {
    const com::Error e = RaisedError([&] { cn->Execute("INSERT INTO " + t + " VALUES ('" + bad + "')"); });
    EXPECT_EQ(e.Number(), com::errInvalidProcedureCall) << e.Description();
    EXPECT_NE(e.Description().find("not valid UTF-8"), std::string::npos) << e.Description();
  }
  EXPECT_EQ(Rows(t), 0);
}

TEST_P(ValuesTest, TextValuesThatAreNotUtf8AreRefusedAndNothingIsStored) {
  const std::string t = Table("names", "name VARCHAR(20)");
  for (const char* bad : kMalformed) {
    auto rs = Editable(t);
    rs->AddNew();
    rs->Fields()->Item(com::Variant("name"))->Value(com::Variant(std::string(bad)));
    const com::Error e = RaisedError([&] { rs->Update(); });
    EXPECT_EQ(e.Number(), com::errInvalidProcedureCall) << e.Description();
    EXPECT_NE(e.Description().find("not valid UTF-8"), std::string::npos) << e.Description();
  }
  EXPECT_EQ(Rows(t), 0);
}

// Three texts that a loose decoder would merge stay three distinct values.
TEST_P(ValuesTest, ValidTextRoundTripsUnchanged) {
  const std::string t = Table("names", "id INTEGER, name VARCHAR(20)");
  const std::string texts[] = {"\xEF\xBF\xBD", "Citt\xC3\xA0", "\xF0\x9F\x98\x80!"};
  auto rs = Editable(t);
  for (int32_t i = 0; i < 3; ++i) {
    rs->AddNew();
    rs->Fields()->Item(com::Variant("id"))->Value(com::Variant(i));
    rs->Fields()->Item(com::Variant("name"))->Value(com::Variant(texts[i]));
    rs->Update();
  }
  auto back = Open("SELECT name FROM " + t + " ORDER BY id");
  for (const auto& text : texts) {
    EXPECT_EQ(F(back, 0)->Value().Get<std::string>(), text);
    back->MoveNext();
  }
}

// No engine keeps a NUL inside text (PostgreSQL cannot store it, the SQLite
// driver ends the value there): such text is refused, never cut.
TEST_P(ValuesTest, TextWithANulIsRefusedNotCut) {
  const std::string t = Table("names", "name VARCHAR(20)");
  const std::string withNul("a\0b", 3);
  auto rs = Editable(t);
  rs->AddNew();
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant(withNul));
  const com::Error e = RaisedError([&] { rs->Update(); });
  EXPECT_EQ(e.Number(), com::errInvalidProcedureCall);
  EXPECT_NE(e.Description().find("NUL"), std::string::npos) << e.Description();
  EXPECT_EQ(ErrorNumber([&] { cn->Execute("INSERT INTO " + t + " VALUES ('" + withNul + "')"); }),
            com::errInvalidProcedureCall);
  EXPECT_EQ(Rows(t), 0);
}

// An exact number beyond what a Decimal holds names its field.
TEST_P(ValuesTest, AnExactNumberBeyondADecimalIsAnOverflowNamingTheField) {
  const std::string t = Table("huge", "amount NUMERIC(40,0)");
  cn->Execute("INSERT INTO " + t + " VALUES (" + std::string(40, '9') + ")");
  const com::Error e = RaisedError([&] { Open("SELECT amount FROM " + t)->Fields()->Item(com::Variant("amount")); });
  EXPECT_EQ(e.Number(), com::errOverflow);
  EXPECT_NE(e.Description().find("field 'amount'"), std::string::npos) << e.Description();
}

INSTANTIATE_TEST_SUITE_P(Engines, ValuesTest, EnginesAndLegacyStrings(),
                         EngineName);

// SQLite keeps any text in a NUMERIC or MONEY column: reading it is a type
// mismatch that names the field, not an overflow.
TEST(SqliteValues, TextInANumericColumnIsATypeMismatchNamingTheField) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(FreshSqliteOdbc());
  cn->Execute("CREATE TABLE odd (amount NUMERIC(10,2), price MONEY)");
  cn->Execute("INSERT INTO odd VALUES ('abc', 'def')");
  for (const std::string column : {"amount", "price"}) {
    const com::Error e = RaisedError([&] { cn->Execute("SELECT " + column + " FROM odd"); });
    EXPECT_EQ(e.Number(), com::errTypeMismatch) << e.Description();
    EXPECT_NE(e.Description().find("field '" + column + "'"), std::string::npos) << e.Description();
  }
}

}  // namespace
}  // namespace velmora::test
