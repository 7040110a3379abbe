// The table locks on both engines (one process; several processes are in
// system_records_multiprocess_test.cpp).
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "sysrecords/attempts.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/com/error.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

class TableLockTest : public SystemTablesTest {
 protected:
  com::Variant LockColumn(const std::string& column) const {
    return Scalar("SELECT [" + column + "] FROM [SYS_LOCK] WHERE [LK_NAME] = 'ORDERS'");
  }
  int32_t LockRows() const { return Count("SELECT COUNT(*) FROM [SYS_LOCK]"); }
  // A lock row written directly, as another user's program left it.
  void PutLock(const std::string& locked, const std::string& user, const std::string& date) const {
    cn->Execute("INSERT INTO [SYS_LOCK] ([LK_UNK], [LK_NAME], [LK_LOCKED], [LK_RCDATE], [LK_RCUSER], [LK_RMDATE], "
                "[LK_RMUSER]) VALUES (900, 'ORDERS', '" + locked + "', " + date + ", '" + user + "', " + date +
                ", '" + user + "')");
  }
};

TEST(LockStatements, AreTheDocumentedTexts) {
  EXPECT_EQ(sysrecords::LockQuery("ORDERS"), "SELECT * FROM [SYS_LOCK] WHERE [LK_NAME] = 'ORDERS'");
  EXPECT_EQ(sysrecords::LockDeleteStatement("it's"), "DELETE FROM [SYS_LOCK] WHERE [LK_NAME] = 'it''s'");
}

TEST_P(TableLockTest, LockingATableWithoutARowInsertsIt) {
  ActAs user("anna");
  const double before = com::Now().value;
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true), TLR_OK);
  EXPECT_EQ(LockRows(), 1);
  EXPECT_EQ(com::CStr(LockColumn("LK_LOCKED")), "S");
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "anna");
  EXPECT_EQ(com::CStr(LockColumn("LK_RMUSER")), "anna");
  EXPECT_GE(com::CDate(LockColumn("LK_RCDATE")).value, before);
  EXPECT_GE(com::CDate(LockColumn("LK_RMDATE")).value, before);
  // The row's number comes from the counter of SYS_LOCK.
  EXPECT_EQ(com::CLng(LockColumn("LK_UNK")), 1);
  EXPECT_EQ(com::CLng(Scalar("SELECT [SU_VALUE] FROM [SYS_UNK] WHERE [SU_TABLE] = 'SYS_LOCK'")), 1);
}

TEST_P(TableLockTest, TheSameUserLockingAgainIsToldSoWhateverTheCase) {
  {
    ActAs user("anna");
    EXPECT_EQ(TableLock(cn, "ORDERS", true), TLR_OK);
    EXPECT_EQ(TableLock(cn, "ORDERS", true), TLR_LOCKEDBYSAMEUSER);
  }
  ActAs upper("ANNA");
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true, 30, true), TLR_LOCKEDBYSAMEUSER);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "anna");
}

TEST_P(TableLockTest, ReleaseByTheOwnerWritesNAndRefreshesTheStamp) {
  ActAs user("anna");
  PutLock("S", "anna", "'2001-02-03 04:05:06'");
  EXPECT_EQ(TableLock(cn, "ORDERS", false), TLR_OK);
  EXPECT_EQ(com::CStr(LockColumn("LK_LOCKED")), "N");
  EXPECT_GT(com::CDate(LockColumn("LK_RCDATE")).value, com::CDate(com::Variant("2001-02-03 04:05:06")).value);
  EXPECT_EQ(com::CLng(LockColumn("LK_UNK")), 900);
  // A free table is locked by whoever asks, keeping its row.
  ActAs other("bruno");
  EXPECT_EQ(TableLock(cn, "ORDERS", true), TLR_OK);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "bruno");
  EXPECT_EQ(LockRows(), 1);
}

TEST_P(TableLockTest, ReleasingAnAbsentOrFreeLockWritesNothing) {
  EXPECT_EQ(TableLock(cn, "ORDERS", false), TLR_OK);
  EXPECT_EQ(LockRows(), 0);
  PutLock("N", "carla", "'2001-02-03 04:05:06'");
  EXPECT_EQ(TableLock(cn, "ORDERS", false), TLR_OK);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "carla");
  EXPECT_EQ(com::DateToString(com::CDate(LockColumn("LK_RCDATE"))), "2001-02-03 04:05:06");
}

TEST_P(TableLockTest, ALowerCaseSCountsAsLocked) {
  PutLock("s", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "carla");
}

TEST_P(TableLockTest, AForeignLockIsWaitedForThenReported) {
  PutLock("S", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  const int32_t started = Support().TickCount();
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_GE(Support().TickCount() - started, 1000);
  // Releasing someone else's lock waits the same way.
  EXPECT_EQ(TableLock(cn, "ORDERS", false, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(com::CStr(LockColumn("LK_LOCKED")), "S");
}

TEST_P(TableLockTest, ForcingTakesALockLeftBehind) {
  PutLock("S", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true, 1, true), TLR_FORCED);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "anna");
  EXPECT_EQ(com::CStr(LockColumn("LK_LOCKED")), "S");
  EXPECT_EQ(com::CLng(LockColumn("LK_UNK")), 1);  // a new row
}

TEST_P(TableLockTest, AForcedReleaseLeavesNoRow) {
  PutLock("S", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  EXPECT_EQ(TableLockEx(cn, "ORDERS", false, 1, true), TLR_FORCED);
  EXPECT_EQ(LockRows(), 0);
}

TEST_P(TableLockTest, TableLockNeverForces) {
  PutLock("S", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true, 1, false), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "carla");
}

TEST_P(TableLockTest, ZeroTimeOutAnswersLockedByAnotherUserWithoutQuerying) {
  cn->Execute("DROP TABLE [SYS_LOCK]");  // a query would raise
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 0), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(TableLock(cn, "ORDERS", false, -1), TLR_LOCKEDBYANOTHERUSER);
}

TEST_P(TableLockTest, ZeroTimeOutWithForceDeletesTheRowAndLocksNothing) {
  PutLock("N", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true, 0, true), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(LockRows(), 0);
}

TEST_P(TableLockTest, AnOwnerChangeDuringTheWaitPreventsForcing) {
  PutLock("S", "carla", "'2001-02-03 04:05:06'");
  ActAs user("anna");
  // A third user takes the lock over in one statement while anna waits.
  std::thread third([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    Connect()->Execute("UPDATE [SYS_LOCK] SET [LK_RCUSER] = 'dario', [LK_RCDATE] = '2002-02-03 04:05:06'");
  });
  const TableLockReturn result = TableLockEx(cn, "ORDERS", true, 2, true);
  third.join();
  EXPECT_EQ(result, TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "dario");
}

TEST_P(TableLockTest, ALockWithoutADateNeverCountsAsChanged) {
  PutLock("S", "carla", "NULL");
  ActAs user("anna");
  std::thread third([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    Connect()->Execute("UPDATE [SYS_LOCK] SET [LK_RCUSER] = 'dario'");
  });
  const TableLockReturn result = TableLockEx(cn, "ORDERS", true, 2, true);
  third.join();
  EXPECT_EQ(result, TLR_FORCED);
  EXPECT_EQ(com::CStr(LockColumn("LK_RCUSER")), "anna");
}

TEST_P(TableLockTest, FailuresAreReportedUnderTableLock) {
  cn->Execute("DROP TABLE [SYS_LOCK]");
  try {
    TableLockEx(cn, "ORDERS", true, 600, true);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TableLock");
  }
  try {
    TableLock(cn, "ORDERS", true, INT32_MAX);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 6);
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TableLock");
  }
}

TEST_P(TableLockTest, TheDefaultConnectionTakesPrecedence) {
  auto b = std::make_shared<ado::Connection>();  // never opened: using it would fail
  support::DefaultConnection(cn);
  EXPECT_EQ(TableLock(b, "ORDERS", true), TLR_OK);
  EXPECT_EQ(TableLockEx(b, "ORDERS", false, 30, true), TLR_OK);
  support::DefaultConnection(nullptr);
  EXPECT_THROW(TableLock(b, "ORDERS", true), com::Error);
  EXPECT_EQ(com::CStr(LockColumn("LK_LOCKED")), "N");
}

INSTANTIATE_TEST_SUITE_P(Engines, TableLockTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
