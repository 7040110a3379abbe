#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "ado/engine_fixture.hpp"
#include "velmora/ado/stream.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "support_common/raised_error.hpp"

namespace velmora::test {
namespace {

using ado::Recordset;
using ado::RecordsetPtr;

class EditTest : public EngineTest {
 protected:
  // A table of three rows keyed by id.
  std::string Keyed() {
    const std::string t = Table("keyed", "id INTEGER PRIMARY KEY, name VARCHAR(20), qty INTEGER");
    cn->Execute("INSERT INTO " + t + " VALUES (1, 'one', 10)");
    cn->Execute("INSERT INTO " + t + " VALUES (2, 'two', 20)");
    cn->Execute("INSERT INTO " + t + " VALUES (3, 'three', 30)");
    return t;
  }
  RecordsetPtr OpenOn(const ado::ConnectionPtr& c, const std::string& sql, int32_t lock) {
    auto rs = std::make_shared<Recordset>();
    rs->Open(com::Variant(sql), com::Variant(c), ado::adOpenDynamic, lock, ado::adCmdText);
    return rs;
  }
  RecordsetPtr Edit(const std::string& sql, int32_t lock = ado::adLockPessimistic) { return OpenOn(cn, sql, lock); }
  ado::ConnectionPtr Second() {
    auto other = std::make_shared<ado::Connection>();
    other->Open(ConnectionString());
    return other;
  }
  com::Variant Scalar(const std::string& sql) {
    auto rs = cn->Execute(sql);
    return rs->IsEOF() ? com::Variant(com::Null) : rs->Fields()->Item(com::Variant(int32_t{0}))->Value();
  }
  std::string Names(const std::string& t) {
    std::string out;
    for (auto rs = cn->Execute("SELECT name FROM " + t + " ORDER BY id"); !rs->IsEOF(); rs->MoveNext()) {
      out += com::CStr(rs->Fields()->Item(com::Variant("name"))->Value()) + ";";
    }
    return out;
  }
};

TEST_P(EditTest, UpdateByKeyTouchesOnlyItsRow) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 2", ado::adLockOptimistic);
  auto name = rs->Fields()->Item(com::Variant("name"));
  EXPECT_TRUE(rs->Fields()->Item(com::Variant("id"))->Attributes() & ado::adFldKeyColumn);
  EXPECT_FALSE(name->Attributes() & ado::adFldKeyColumn);
  EXPECT_TRUE(name->Attributes() & ado::adFldUpdatable);
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  name->Value(com::Variant("TWO"));
  EXPECT_EQ(rs->EditMode(), ado::adEditInProgress);
  EXPECT_EQ(com::CStr(name->OriginalValue()), "two");
  EXPECT_EQ(com::CStr(name->Value()), "TWO");
  rs->Update();
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  EXPECT_EQ(Names(t), "one;TWO;three;");
}

TEST_P(EditTest, ValuesAreConvertedToTheFieldType) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 1");
  auto qty = rs->Fields()->Item(com::Variant("qty"));
  qty->Value(com::Variant("42"));
  EXPECT_EQ(qty->Value().VarType(), com::vbLong);
  EXPECT_EQ(ErrorNumber([&] { qty->Value(com::Variant("forty")); }), com::errTypeMismatch);
  rs->Update();
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE id = 1")), 42);
}

TEST_P(EditTest, CancelUpdateRestoresTheValuesAndWritesNothing) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 3");
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("x"));
  rs->CancelUpdate();
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  EXPECT_EQ(com::CStr(rs->Fields()->Item(com::Variant("name"))->Value()), "three");
  rs->Update();  // nothing pending
  EXPECT_EQ(Names(t), "one;two;three;");
}

TEST_P(EditTest, AddNewInsertsAndDeleteRemovesOneRow) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 0");
  EXPECT_TRUE(rs->IsEOF());
  rs->AddNew();
  EXPECT_EQ(rs->EditMode(), ado::adEditAdd);
  EXPECT_TRUE(rs->Fields()->Item(com::Variant("name"))->Value().IsEmpty());
  rs->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{4}));
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("four"));
  rs->Update();
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  EXPECT_EQ(Names(t), "one;two;three;four;");
  rs->Close();
  rs = Edit("SELECT * FROM " + t + " WHERE id = 2");
  rs->Delete();
  EXPECT_THROW(rs->Fields()->Item(com::Variant("name"))->Value(), com::Error);
  EXPECT_EQ(Names(t), "one;three;four;");
}

TEST_P(EditTest, AddNewOfAnExistingKeyRaises) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 0");
  com::VariantArray names{com::vbVariant, 0, {com::Variant("id"), com::Variant("name")}};
  com::VariantArray values{com::vbVariant, 0, {com::Variant(int32_t{5}), com::Variant("five")}};
  rs->AddNew(com::Variant(names), com::Variant(values));  // saved at once
  EXPECT_EQ(rs->EditMode(), ado::adEditNone);
  rs->AddNew();
  rs->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{1}));
  EXPECT_NE(ErrorNumber([&] { rs->Update(); }), 0);
  EXPECT_EQ(com::CStr(Scalar("SELECT name FROM " + t + " WHERE id = 1")), "one");
}

TEST_P(EditTest, ReadOnlyRecordsetsSayWhyWritesRaise) {
  const std::string t = Keyed();
  auto plain = Edit("SELECT * FROM " + t, ado::adLockReadOnly);
  try {
    plain->Fields()->Item(com::Variant("name"))->Value(com::Variant("x"));
    FAIL() << "a read-only recordset must refuse writes";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrFeatureNotAvailable);
    EXPECT_NE(std::string(e.Description()).find("read-only"), std::string::npos);
  }
  EXPECT_THROW(plain->AddNew(), com::Error);
  auto expression = Edit("SELECT id, qty + 1 AS more FROM " + t);
  try {
    expression->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{9}));
    FAIL() << "an expression cannot be updated";
  } catch (const com::Error& e) {
    EXPECT_NE(std::string(e.Description()).find("expression"), std::string::npos);
  }
  const std::string u = Table("other", "id INTEGER PRIMARY KEY, w INTEGER");
  cn->Execute("INSERT INTO " + u + " VALUES (1, 5)");
  auto join = Edit("SELECT a.name, b.w FROM " + t + " a JOIN " + u + " b ON a.id = b.id");
  EXPECT_FALSE(join->Fields()->Item(com::Variant("w"))->Attributes() & ado::adFldUpdatable);
  try {
    join->Fields()->Item(com::Variant("w"))->Value(com::Variant(int32_t{6}));
    FAIL() << "a join cannot be updated";
  } catch (const com::Error& e) {
    EXPECT_NE(std::string(e.Description()).find("join"), std::string::npos);
  }
  EXPECT_EQ(Names(t), "one;two;three;");
}

TEST_P(EditTest, KeylessTableUpdatesByOriginalValues) {
  const std::string t = Table("bag", "name VARCHAR(20), qty INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES ('a', 1)");
  cn->Execute("INSERT INTO " + t + " VALUES ('b', 2)");
  auto rs = Edit("SELECT * FROM " + t + " WHERE name = 'b'", ado::adLockOptimistic);
  rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{5}));
  rs->Update();
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE name = 'b'")), 5);
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE name = 'a'")), 1);
}

TEST_P(EditTest, KeylessTableRefusesAmbiguousAndChangedRows) {
  const std::string t = Table("twins", "name VARCHAR(20), qty INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES ('same', 1)");
  cn->Execute("INSERT INTO " + t + " VALUES ('same', 1)");
  auto rs = Edit("SELECT * FROM " + t, ado::adLockOptimistic);
  rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{7}));
  EXPECT_NE(ErrorNumber([&] { rs->Update(); }), 0);
  EXPECT_EQ(com::CLng(Scalar("SELECT SUM(qty) FROM " + t)), 2);  // neither row changed
  rs->CancelUpdate();
  rs->Close();
  cn->Execute("DELETE FROM " + t);
  cn->Execute("INSERT INTO " + t + " VALUES ('solo', 1)");
  rs = Edit("SELECT * FROM " + t, ado::adLockOptimistic);
  cn->Execute("UPDATE " + t + " SET qty = 2");
  rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{9}));
  EXPECT_EQ(ErrorNumber([&] { rs->Update(); }), ado::DB_E_CONCURRENCYVIOLATION);
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t)), 2);
}

TEST_P(EditTest, OptimisticUpdateDetectsAChangedRow) {
  const std::string t = Keyed();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 1", ado::adLockOptimistic);
  rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{11}));
  auto other = Second();
  other->Execute("UPDATE " + t + " SET qty = 99 WHERE id = 1");
  EXPECT_EQ(ErrorNumber([&] { rs->Update(); }), ado::DB_E_CONCURRENCYVIOLATION);
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE id = 1")), 99);
}

TEST_P(EditTest, PessimisticEditLocksTheRowAndAnotherEditRaisesAtOnce) {
  const std::string t = Keyed();
  auto mine = Edit("SELECT * FROM " + t + " WHERE id = 1");
  mine->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{11}));  // locked now
  auto other = Second();
  auto theirs = OpenOn(other, "SELECT * FROM " + t + " WHERE id = 1", ado::adLockPessimistic);  // opening never waits
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ErrorNumber([&] { theirs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{12})); }),
            ado::DB_E_CONCURRENCYVIOLATION);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_EQ(theirs->EditMode(), ado::adEditNone);
  mine->Update();
  // The row changed after `theirs` read it: editing it again raises, it never overwrites.
  EXPECT_EQ(ErrorNumber([&] { theirs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{12})); }),
            ado::DB_E_CONCURRENCYVIOLATION);
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE id = 1")), 11);
}

TEST_P(EditTest, ClosingDropsTheEditAndReleasesTheLock) {
  const std::string t = Keyed();
  auto mine = Edit("SELECT * FROM " + t + " WHERE id = 2");
  mine->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{0}));
  mine->Close();
  auto theirs = OpenOn(Second(), "SELECT * FROM " + t + " WHERE id = 2", ado::adLockPessimistic);
  theirs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{21}));
  theirs->Update();
  EXPECT_EQ(com::CLng(Scalar("SELECT qty FROM " + t + " WHERE id = 2")), 21);
}

TEST_P(EditTest, UpdateInsideTheCallersTransactionDoesNotCommitIt) {
  const std::string t = Keyed();
  cn->BeginTrans();
  auto rs = Edit("SELECT * FROM " + t + " WHERE id = 1");
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("changed"));
  rs->Update();
  rs->Close();
  auto added = Edit("SELECT * FROM " + t + " WHERE id = 0");
  added->AddNew();
  added->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{8}));
  added->Update();
  added->Close();
  EXPECT_EQ(com::CStr(Scalar("SELECT name FROM " + t + " WHERE id = 1")), "changed");
  cn->RollbackTrans();
  EXPECT_EQ(Names(t), "one;two;three;");
}

TEST_P(EditTest, ALockConflictInsideTheCallersTransactionLeavesItUsable) {
  const std::string t = Keyed();
  auto other = Second();
  auto theirs = OpenOn(other, "SELECT * FROM " + t + " WHERE id = 1", ado::adLockPessimistic);
  theirs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{5}));
  if (!IsPg()) theirs->CancelUpdate();  // the embedded engine locks the whole file
  cn->BeginTrans();
  cn->Execute("UPDATE " + t + " SET name = 'mine' WHERE id = 3");
  if (IsPg()) {
    auto rs = Edit("SELECT * FROM " + t + " WHERE id = 1");
    EXPECT_EQ(ErrorNumber([&] { rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{6})); }),
              ado::DB_E_CONCURRENCYVIOLATION);
  }
  cn->CommitTrans();
  EXPECT_EQ(Names(t), "one;two;mine;");
}

TEST_P(EditTest, BatchOptimisticWritesAtUpdateBatch) {
  const std::string t = Keyed();
  auto rs = std::make_shared<Recordset>();
  rs->Open(com::Variant("SELECT * FROM " + t + " ORDER BY id"), com::Variant(cn), ado::adOpenStatic,
           ado::adLockBatchOptimistic, ado::adCmdText);
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("uno"));
  rs->MoveNext();  // keeps the change
  rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("due"));
  rs->Update();
  rs->MoveNext();
  rs->Delete();
  EXPECT_EQ(Names(t), "one;two;three;");
  rs->UpdateBatch();
  EXPECT_EQ(Names(t), "uno;due;");
}

TEST_P(EditTest, GetUnkPatternCountsAndRefusesAConcurrentIncrement) {
  const std::string t = Table("unk", "SU_TABLE VARCHAR(50) NOT NULL UNIQUE, SU_VALUE INTEGER");
  const std::string sql = "SELECT * FROM " + t + " WHERE SU_TABLE='ORDERS'";
  auto next = [&](const ado::ConnectionPtr& c) {
    auto rs = OpenOn(c, sql, ado::adLockPessimistic);
    int32_t value = 1;
    if (rs->IsEOF()) {
      rs->AddNew();
    } else {
      value = com::CLng(rs->Fields()->Item(com::Variant("SU_VALUE"))->Value()) + 1;
    }
    rs->Fields()->Item(com::Variant("SU_TABLE"))->Value(com::Variant("ORDERS"));
    rs->Fields()->Item(com::Variant("SU_VALUE"))->Value(com::Variant(value));
    rs->Update();
    rs->Close();
    return value;
  };
  EXPECT_EQ(next(cn), 1);
  EXPECT_EQ(next(cn), 2);
  // Two sessions read 2; the second to write must raise instead of writing 3 again.
  auto other = Second();
  auto a = OpenOn(cn, sql, ado::adLockPessimistic);
  auto b = OpenOn(other, sql, ado::adLockPessimistic);
  a->Fields()->Item(com::Variant("SU_VALUE"))->Value(com::Variant(int32_t{3}));
  a->Update();
  EXPECT_NE(ErrorNumber([&] {
              b->Fields()->Item(com::Variant("SU_VALUE"))->Value(com::Variant(int32_t{3}));
              b->Update();
            }),
            0);
  EXPECT_EQ(com::CLng(Scalar("SELECT SU_VALUE FROM " + t)), 3);
  // Two sessions find no row for a new table: only one insert wins.
  const std::string fresh = "SELECT * FROM " + t + " WHERE SU_TABLE='NEW'";
  auto c1 = OpenOn(cn, fresh, ado::adLockPessimistic);
  auto c2 = OpenOn(other, fresh, ado::adLockPessimistic);
  c1->AddNew(com::Variant("SU_TABLE"), com::Variant("NEW"));
  EXPECT_NE(ErrorNumber([&] { c2->AddNew(com::Variant("SU_TABLE"), com::Variant("NEW")); }), 0);
  EXPECT_EQ(com::CLng(Scalar("SELECT COUNT(*) FROM " + t + " WHERE SU_TABLE='NEW'")), 1);
}

// Names the library quotes for the engine (in double quotes on every
// engine: SQLite's brackets have no escape for ']', and the SQLite driver,
// which counts parameter markers outside quotes, reads a bracket as text).
TEST_P(EditTest, EditsReachColumnsWithBracketsAndQuotesInTheirNames) {
  const std::string t = Table("odd", "id INTEGER PRIMARY KEY, \"x]y\" INTEGER, \"q\"\"r\" INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (1, 2, 3)");
  auto rs = Edit("SELECT * FROM " + t, ado::adLockOptimistic);
  rs->Fields()->Item(com::Variant("x]y"))->Value(com::Variant(int32_t{20}));
  rs->Fields()->Item(com::Variant("q\"r"))->Value(com::Variant(int32_t{30}));
  rs->Update();
  EXPECT_EQ(com::CLng(Scalar("SELECT \"x]y\" + \"q\"\"r\" FROM " + t)), 50);
}

INSTANTIATE_TEST_SUITE_P(Engines, EditTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
namespace velmora::test {
namespace {
class EditLongResultTest : public EditTest {};
TEST_P(EditLongResultTest, EditingInTheMiddleOfALongResultKeepsReading) {
  const std::string t = Table("many", "id INTEGER PRIMARY KEY, qty INTEGER");
  cn->BeginTrans();
  for (int i = 1; i <= 5000; ++i) cn->Execute("INSERT INTO " + t + " VALUES (" + std::to_string(i) + ", 0)");
  cn->CommitTrans();
  auto rs = Edit("SELECT * FROM " + t + " ORDER BY id");
  rs->Fields()->Item(com::Variant("qty"))->Value(com::Variant(int32_t{1}));
  rs->Update();
  int rows = 1;
  for (rs->MoveNext(); !rs->IsEOF(); rs->MoveNext()) ++rows;
  EXPECT_EQ(rows, 5000);
}
INSTANTIATE_TEST_SUITE_P(Engines, EditLongResultTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);
}  // namespace
}  // namespace velmora::test
