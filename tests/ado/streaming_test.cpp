// Forward-only results read row by row from the driver: what the connection
// runs while such a result is open must not change what it returns, and
// statements must behave as when results were held whole.
#include <gtest/gtest.h>

#include "ado/connection_string.hpp"
#include "ado/engine_fixture.hpp"
#include "ado/dialect/statements.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

using ado::dialect::IsPlainQuery;
using ado::dialect::StepModeOn;

TEST(StreamingRules, PlainQueriesAreSingleReadingStatements) {
  EXPECT_TRUE(IsPlainQuery("SELECT 1"));
  EXPECT_TRUE(IsPlainQuery("  -- note\n/* x */ select a FROM t;"));
  EXPECT_TRUE(IsPlainQuery("WITH g(n) AS (SELECT 1) SELECT n FROM g"));
  EXPECT_TRUE(IsPlainQuery("VALUES (1), (2)"));
  EXPECT_TRUE(IsPlainQuery("SELECT 'returning; delete' AS [returning x]"));
  EXPECT_TRUE(IsPlainQuery("SELECT a FROM t FOR UPDATE NOWAIT"));
  EXPECT_TRUE(IsPlainQuery("SELECT \"update\", [delete] FROM t"));
  EXPECT_FALSE(IsPlainQuery("WITH g(n) AS (SELECT 1) INSERT INTO t SELECT n FROM g RETURNING n"));
  EXPECT_FALSE(IsPlainQuery("WITH g(n) AS (SELECT 1) INSERT INTO t SELECT n FROM g"));
  EXPECT_FALSE(IsPlainQuery("WITH d AS (DELETE FROM t RETURNING a) SELECT a FROM d"));
  EXPECT_FALSE(IsPlainQuery("with g as (select 1) update t set a = 1"));
  EXPECT_FALSE(IsPlainQuery("INSERT INTO t VALUES (1)"));
  EXPECT_FALSE(IsPlainQuery("PRAGMA table_info(t)"));
  EXPECT_FALSE(IsPlainQuery("SELECT 1; DELETE FROM t"));
  EXPECT_FALSE(IsPlainQuery("(SELECT 1)"));
  EXPECT_FALSE(IsPlainQuery(" -- only a comment"));
}

TEST(StreamingRules, StepModeIsReadFromTheCompletedString) {
  EXPECT_TRUE(StepModeOn("DSN=;Database=a.db;StepAPI=1;Timeout=2000;"));
  EXPECT_TRUE(StepModeOn("stepapi=yes"));
  EXPECT_TRUE(StepModeOn("StepAPI=True;"));
  EXPECT_FALSE(StepModeOn("DSN=;Database=a.db;StepAPI=;Timeout=;"));
  EXPECT_FALSE(StepModeOn("StepAPI=0"));
  EXPECT_FALSE(StepModeOn("StepAPI=on"));  // the driver reads "on" as false
  EXPECT_FALSE(StepModeOn("Database=a.db"));
  EXPECT_FALSE(StepModeOn("Database='unterminated"));
}

TEST(StreamingRules, SqliteConnectionsStepUnlessTheCallerSaysOtherwise) {
  using ado::detail::FindValue;
  using ado::detail::ParseConnectionString;
  using ado::detail::ResolveConnectionString;
  EXPECT_EQ(FindValue(ParseConnectionString(ResolveConnectionString("DRIVER=SQLite3;Database=f").odbcString),
                      "StepAPI"),
            "1");
  EXPECT_EQ(FindValue(ParseConnectionString(
                          ResolveConnectionString("DRIVER=SQLite3;Database=f;StepAPI=0").odbcString),
                      "StepAPI"),
            "0");
  EXPECT_FALSE(HasKey(ParseConnectionString(ResolveConnectionString("DRIVER={PostgreSQL Unicode}").odbcString),
                      "StepAPI"));
}

class StreamingTest : public EngineTest {
 protected:
  // `count` rows k = 1..count, in k order, with an index on k.
  std::string Numbers(int count) {
    const std::string t = Table("walk", "k INTEGER, name VARCHAR(20)");
    cn->Execute("CREATE INDEX " + t + "_k ON " + t + " (k)");
    cn->Execute("INSERT INTO " + t + " (k, name) WITH RECURSIVE g(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM g " +
                "WHERE n < " + std::to_string(count) + ") SELECT n, 'n' || n FROM g");
    return t;
  }

  static int32_t K(const ado::RecordsetPtr& rs) {
    return rs->Fields()->Item(com::Variant("k"))->Value().Get<int32_t>();
  }

  // The first value of a one-row result, as a Long (COUNT is a BIGINT on the server).
  int32_t Scalar(const std::string& sql) {
    return com::CLng(cn->Execute(sql)->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }

  // Walks the rest of `rs`, expecting k = next, next + 1, ...; returns the
  // number of rows walked.
  static int WalkFrom(const ado::RecordsetPtr& rs, int next) {
    int walked = 0;
    for (; !rs->IsEOF(); rs->MoveNext(), ++walked) EXPECT_EQ(K(rs), next + walked);
    return walked;
  }
};

TEST_P(StreamingTest, WritesOfTheConnectionDuringAWalkDoNotChangeIt) {
  const std::string t = Numbers(600);
  auto rs = Open("SELECT k FROM " + t + " ORDER BY k");
  EXPECT_EQ(K(rs), 1);
  // Moving every row past the end of the index order, and adding one there.
  cn->Execute("UPDATE " + t + " SET k = k + 100000");
  cn->Execute("INSERT INTO " + t + " (k, name) VALUES (999999, 'late')");
  EXPECT_EQ(WalkFrom(rs, 1), 600);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t + " WHERE k > 100000"), 601);
}

TEST_P(StreamingTest, WalksOnOneConnectionInterleave) {
  const std::string t = Numbers(700);
  auto up = Open("SELECT k FROM " + t + " ORDER BY k");
  auto down = Open("SELECT k FROM " + t + " ORDER BY k DESC");
  for (int i = 0; i < 700; ++i) {
    ASSERT_FALSE(up->IsEOF());
    ASSERT_FALSE(down->IsEOF());
    EXPECT_EQ(K(up), i + 1);
    EXPECT_EQ(K(down), 700 - i);
    up->MoveNext();
    down->MoveNext();
  }
  EXPECT_TRUE(up->IsEOF());
  EXPECT_TRUE(down->IsEOF());
}

TEST_P(StreamingTest, MoveFirstAfterASettledWalkRunsTheStatementAgain) {
  const std::string t = Numbers(1000);
  auto rs = Open("SELECT k FROM " + t + " ORDER BY k");
  for (int i = 0; i < 300; ++i) rs->MoveNext();
  cn->Execute("DELETE FROM " + t + " WHERE k > 600");
  EXPECT_EQ(WalkFrom(rs, 301), 700);
  rs->MoveFirst();
  EXPECT_EQ(WalkFrom(rs, 1), 600);
}

// A WITH that writes is not a query: the SQLite driver would not run it
// until a fetch, and a server cursor cannot be declared over it.
TEST_P(StreamingTest, StatementsThatStartWithWithAndWriteRunAtOnce) {
  const std::string t = Table("filled", "n INTEGER");
  com::Variant affected;
  cn->Execute("WITH RECURSIVE g(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM g WHERE n < 1000) INSERT INTO " + t +
                  " SELECT n FROM g",
              affected);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t), 1000);
  cn->Execute("WITH old AS (SELECT n FROM " + t + " WHERE n > 10) DELETE FROM " + t + " WHERE n IN (SELECT n FROM old)",
              affected);
  EXPECT_EQ(affected.Get<int32_t>(), 990);
  cn->Execute("WITH one AS (SELECT 1 AS n) UPDATE " + t + " SET n = n + 100 WHERE n IN (SELECT n FROM one)");
  EXPECT_EQ(Scalar("SELECT MAX(n) FROM " + t), 101);
  // A query with FOR UPDATE still reads.
  auto rs = cn->Execute("WITH x AS (SELECT n FROM " + t + ") SELECT n FROM " + t + " ORDER BY n" +
                        (IsPg() ? " FOR UPDATE" : ""));
  EXPECT_EQ(rs->Fields()->Item(com::Variant("n"))->Value().Get<int32_t>(), 2);
}

// A walk that is open while the connection begins and ends a transaction
// reads every row of its result (more rows than one block of the server's
// cursor, so that the walk fetches again after the commit).
TEST_P(StreamingTest, AWalkOpenAcrossATransactionReadsItsWholeResult) {
  const std::string t = Numbers(5000);
  auto rs = Open("SELECT k FROM " + t + " ORDER BY k");
  rs->MoveNext();
  cn->BeginTrans();
  cn->Execute("DELETE FROM " + t + " WHERE k > 3000");
  cn->CommitTrans();
  EXPECT_EQ(WalkFrom(rs, 2), 4999);
  cn->BeginTrans();
  auto inside = Open("SELECT k FROM " + t + " ORDER BY k");
  inside->MoveNext();
  cn->RollbackTrans();
  EXPECT_EQ(WalkFrom(inside, 2), 2999);
  auto executed = cn->Execute("SELECT k FROM " + t + " ORDER BY k");
  cn->BeginTrans();
  cn->Execute("UPDATE " + t + " SET name = 'x' WHERE k = 1");
  cn->CommitTrans();
  EXPECT_EQ(WalkFrom(executed, 1), 3000);
}

INSTANTIATE_TEST_SUITE_P(Engines, StreamingTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

class SqliteStreamingTest : public StreamingTest {};

TEST_P(SqliteStreamingTest, ATransactionBegunDuringAWalkLeavesItWhole) {
  const std::string t = Numbers(600);
  auto rs = Open("SELECT k FROM " + t + " ORDER BY k");
  rs->MoveNext();
  cn->BeginTrans();
  cn->Execute("DELETE FROM " + t + " WHERE k > 300");
  cn->CommitTrans();
  EXPECT_EQ(WalkFrom(rs, 2), 599);
  // Results opened inside a transaction are complete as well.
  cn->BeginTrans();
  auto inside = Open("SELECT k FROM " + t + " ORDER BY k");
  cn->Execute("DELETE FROM " + t + " WHERE k > 100");
  cn->RollbackTrans();
  EXPECT_EQ(WalkFrom(inside, 1), 300);
}

// Columns without a declared type (expressions, untyped table columns) are
// typed by their values, as when results are held whole; integers among them
// are bigints, since SQLite integers hold 64 bits.
TEST_P(SqliteStreamingTest, ColumnsWithoutADeclaredTypeKeepTheTypeOfTheirValues) {
  const std::string t = Table("untyped", "a, b INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (7, 8)");
  auto rs = Open("SELECT COUNT(*), 1.5 * 2, 'a' || 1, x'00ff', a, b FROM " + t);
  auto value = [&](int32_t i) { return rs->Fields()->Item(com::Variant(i))->Value(); };
  EXPECT_EQ(com::DecimalToString(value(0).Get<com::Decimal>()), "1");
  EXPECT_DOUBLE_EQ(value(1).Get<double>(), 3.0);
  EXPECT_EQ(value(2).Get<std::string>(), "a1");
  EXPECT_EQ(value(3).Get<com::ByteArray>(), (com::ByteArray{0x00, 0xff}));
  EXPECT_EQ(com::DecimalToString(value(4).Get<com::Decimal>()), "7");
  EXPECT_EQ(value(5).Get<int32_t>(), 8);
}

// An error in rows read early (because the connection had to run a write)
// is raised when the walk reaches it, not by the write.
TEST_P(SqliteStreamingTest, AnErrorInTheRestOfAWalkIsRaisedWhereTheWalkReachesIt) {
  const std::string t = Numbers(600);
  auto rs = Open("SELECT k FROM " + t + " WHERE CASE WHEN k = 400 THEN abs(-9223372036854775808) ELSE 1 END");
  EXPECT_EQ(K(rs), 1);
  Table("other", "x INTEGER");  // a write: the rest of the walk is read now
  int walked = 0;
  try {
    for (; !rs->IsEOF(); rs->MoveNext()) EXPECT_EQ(K(rs), ++walked);
    FAIL() << "the overflow must be raised";
  } catch (const com::Error& e) {
    EXPECT_NE(e.Description().find("integer overflow"), std::string::npos) << e.Description();
  }
  EXPECT_EQ(walked, 399);
}

// With step mode turned off by the caller the driver holds results whole;
// walks and writes work the same.
TEST_P(SqliteStreamingTest, StepModeCanBeTurnedOff) {
  const std::string t = Numbers(300);
  auto plain = std::make_shared<ado::Connection>();
  plain->Open("DRIVER=SQLite3;Database=" + sqliteFile + ";StepAPI=0");
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant("SELECT k FROM " + t + " ORDER BY k"), com::Variant(plain), ado::adOpenForwardOnly,
           ado::adLockReadOnly, ado::adCmdText);
  plain->Execute("DELETE FROM " + t + " WHERE k > 10");
  EXPECT_EQ(WalkFrom(rs, 1), 300);
  rs->Close();
  plain->Close();
}

INSTANTIATE_TEST_SUITE_P(Engines, SqliteStreamingTest, ::testing::Values(TestEngine::SQLite), EngineName);

}  // namespace
}  // namespace velmora::test
