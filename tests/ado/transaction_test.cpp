// A failed statement never costs the connection or the caller's work: inside
// BeginTrans the rows written before a handled error are committed, a failed
// CommitTrans leaves the connection in automatic commit, and outside a
// transaction the next statement runs whatever failed before it.
#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class TransactionTest : public EngineTest {
 protected:
  // Rows of `table` as another connection sees them.
  int32_t CommittedRows(const std::string& table) {
    auto other = std::make_shared<ado::Connection>();
    other->Open(ConnectionString());
    auto rs = other->Execute("SELECT COUNT(*) FROM " + table);
    return com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
  int32_t Scalar(const std::string& sql) {
    auto rs = cn->Execute(sql);
    return com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
  // A query whose row 2500 raises an error on the engine, after the first
  // block of rows has been read.
  std::string QueryFailingAtRow2500() const {
    if (IsPg()) {
      return "SELECT CASE WHEN g = 2500 THEN 1 / (g - 2500) ELSE g END AS v FROM generate_series(1, 3000) AS "
             "g";
    }
    // SQLite raises "integer overflow" for abs() of the smallest integer.
    return "WITH RECURSIVE c(g) AS (SELECT 1 UNION ALL SELECT g + 1 FROM c WHERE g < 3000) "
           "SELECT CASE WHEN g = 2500 THEN abs(-9223372036854775807 - 1) ELSE g END AS v FROM c";
  }
};

TEST_P(TransactionTest, RowsWrittenBeforeAHandledErrorAreCommitted) {
  const std::string t = Table("keep", "id INTEGER PRIMARY KEY");
  cn->BeginTrans();
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  EXPECT_NE(ErrorNumber([&] { cn->Execute("INSERT INTO " + t + " VALUES (1)"); }), 0);  // duplicate key
  EXPECT_NE(ErrorNumber([&] { cn->Execute("SELECT * FROM no_such_table" + suffix); }), 0);
  cn->Execute("INSERT INTO " + t + " VALUES (2)");
  cn->CommitTrans();
  EXPECT_EQ(CommittedRows(t), 2);
}

TEST_P(TransactionTest, AFailedOpenInsideATransactionKeepsTheTransaction) {
  const std::string t = Table("keepopen", "id INTEGER");
  cn->BeginTrans();
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  auto rs = std::make_shared<ado::Recordset>();
  EXPECT_NE(ErrorNumber([&] {
              rs->Open(com::Variant("SELECT * FROM no_such_table" + suffix), com::Variant(cn),
                       ado::adOpenDynamic, ado::adLockPessimistic, ado::adCmdText);
            }),
            0);
  cn->Execute("INSERT INTO " + t + " VALUES (2)");
  cn->CommitTrans();
  EXPECT_EQ(CommittedRows(t), 2);
}

TEST_P(TransactionTest, AFailedCommitLeavesAutomaticCommit) {
  const std::string parent = Table("parent", "id INTEGER PRIMARY KEY");
  const std::string child =
      Table("child", "id INTEGER, p INTEGER REFERENCES " + parent + "(id) DEFERRABLE INITIALLY DEFERRED");
  if (!IsPg()) cn->Execute("PRAGMA foreign_keys = ON");
  cn->BeginTrans();
  cn->Execute("INSERT INTO " + child + " VALUES (1, 42)");  // checked at commit
  EXPECT_NE(ErrorNumber([&] { cn->CommitTrans(); }), 0);
  EXPECT_EQ(ErrorNumber([&] { cn->CommitTrans(); }), ado::adErrIllegalOperation);  // no transaction left
  cn->Execute("INSERT INTO " + parent + " VALUES (7)");
  EXPECT_EQ(CommittedRows(parent), 1);  // committed at once
  EXPECT_EQ(cn->BeginTrans(), 1);
  cn->Execute("INSERT INTO " + parent + " VALUES (8)");
  cn->RollbackTrans();
  EXPECT_EQ(CommittedRows(parent), 1);
}

TEST_P(TransactionTest, AFailedStatementOutsideATransactionLeavesTheConnectionUsable) {
  const std::string t = Table("usable", "id INTEGER");
  EXPECT_NE(ErrorNumber([&] { cn->Execute("SELECT * FROM no_such_table" + suffix); }), 0);
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  EXPECT_NE(ErrorNumber([&] { Open("SELECT * FROM no_such_table" + suffix, ado::adOpenStatic); }), 0);
  cn->Execute("INSERT INTO " + t + " VALUES (2)");
  EXPECT_EQ(CommittedRows(t), 2);
  EXPECT_EQ(ErrorNumber([&] { cn->RollbackTrans(); }), ado::adErrIllegalOperation);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t), 2);
}

TEST_P(TransactionTest, AnErrorWhileFetchingLeavesTheConnectionUsable) {
  const std::string t = Table("fetcherr", "id INTEGER");
  // The error comes with a later block of rows where the engine streams the
  // result, and at Open where it computes the result whole.
  ado::RecordsetPtr rs;
  int32_t read = 0;
  const int32_t number = ErrorNumber([&] {
    rs = Open(QueryFailingAtRow2500());
    while (!rs->IsEOF()) {
      ++read;
      rs->MoveNext();
    }
  });
  EXPECT_NE(number, 0);
  EXPECT_LT(read, 2500);
  if (IsPg()) {
    EXPECT_GT(read, 2000);  // past the first block of rows
  }
  rs.reset();
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  EXPECT_EQ(CommittedRows(t), 1);
}

TEST_P(TransactionTest, ACancelledStatementLeavesTheConnectionUsable) {
  const std::string t = Table("cancel", "id INTEGER");
  cn->CommandTimeout(1);
  const std::string slow = IsPg() ? "SELECT pg_sleep(30)"
                                  : "WITH RECURSIVE c(g) AS (SELECT 1 UNION ALL SELECT g + 1 FROM c) "
                                    "SELECT COUNT(*) FROM c";
  EXPECT_NE(ErrorNumber([&] { cn->Execute(slow); }), 0);
  cn->CommandTimeout(30);
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  EXPECT_EQ(CommittedRows(t), 1);
}

TEST_P(TransactionTest, OneExecuteRunsOneStatement) {
  const std::string t = Table("stacked", "id INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  const int32_t number =
      ErrorNumber([&] { cn->Execute("INSERT INTO " + t + " VALUES (2); DROP TABLE " + t); });
  EXPECT_EQ(number, ado::adErrInvalidArgument);
  EXPECT_EQ(ErrorNumber([&] { Open("SELECT 1; DROP TABLE " + t); }), ado::adErrInvalidArgument);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t), 1);
  // A trailing semicolon, and semicolons inside literals, names and comments, are one statement.
  cn->Execute("INSERT INTO " + t + " VALUES (3);  -- done; really\n");
  cn->Execute("INSERT INTO " + t + " SELECT 4 WHERE 'a;b' <> ';' /* ; */");
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t), 3);
}

TEST_P(TransactionTest, BackslashesInLiteralsAreOrdinaryCharacters) {
  const std::string t = Table("backslash", "name VARCHAR(50)");
  // A quote doubled after a backslash stays inside the literal: the text
  // cannot end it early and run what follows.
  cn->Execute("INSERT INTO " + t + " VALUES ('a\\''; DROP TABLE " + t + "; --')");
  auto rs = cn->Execute("SELECT name FROM " + t);
  EXPECT_EQ(com::CStr(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()),
            "a\\'; DROP TABLE " + t + "; --");
  rs.reset();
  cn->Execute("INSERT INTO " + t + " VALUES ('c:\\new\\table')");
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM " + t + " WHERE name = 'c:\\new\\table'"), 1);
  EXPECT_EQ(Scalar("SELECT LENGTH(name) FROM " + t + " WHERE name LIKE 'c:%'"), 12);
}

INSTANTIATE_TEST_SUITE_P(Engines, TransactionTest, EnginesAndLegacyStrings(), EngineName);

}  // namespace
}  // namespace velmora::test
