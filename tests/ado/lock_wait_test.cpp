// Reads of an SQLite file in a rollback-journal mode while another process
// holds its write lock: they wait for the lock within the command's time-out
// instead of failing after the driver's short wait.
#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "support_common/sqlite_lock_holder.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

class LockWaitTest : public EngineTest {
 protected:
  // A table with one row, and another process holding the file's write lock.
  std::unique_ptr<SqliteWriteLockHolder> LockedTable() {
    table = Table("waited", "n INTEGER");
    cn->Execute("INSERT INTO " + table + " VALUES (1)");
    return std::make_unique<SqliteWriteLockHolder>(ConnectionString(), "INSERT INTO " + table + " VALUES (2)");
  }
  std::string table;
};

TEST_P(LockWaitTest, RecordsetOpenWaitsForTheLock) {
  auto holder = LockedTable();
  holder->ReleaseAfter(std::chrono::milliseconds(1500));
  auto rs = Open("SELECT COUNT(*) FROM " + table);
  EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), 2);
  EXPECT_EQ(cn->Errors()->Count(), 0);
}

TEST_P(LockWaitTest, ConnectionExecuteWaitsForTheLock) {
  auto holder = LockedTable();
  holder->ReleaseAfter(std::chrono::milliseconds(1500));
  auto rs = cn->Execute("SELECT n FROM " + table + " ORDER BY n");
  EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), 1);
}

TEST_P(LockWaitTest, AReadStillLockedAtTheCommandTimeOutReportsAConflict) {
  auto holder = LockedTable();
  cn->CommandTimeout(1);
  EXPECT_EQ(ErrorNumber([&] { Open("SELECT COUNT(*) FROM " + table); }), ado::DB_E_CONCURRENCYVIOLATION);
  EXPECT_EQ(cn->Errors()->Item(com::Variant(int32_t{0}))->NativeError() & 0xff, 5);  // the engine's "busy"
}

TEST_P(LockWaitTest, AWriteReportsTheConflictWithoutWaiting) {
  auto holder = LockedTable();
  EXPECT_EQ(ErrorNumber([&] { cn->Execute("INSERT INTO " + table + " VALUES (3)"); }),
            ado::DB_E_CONCURRENCYVIOLATION);
}

// In WAL (the other SQLite variant) a writer does not keep readers out.
INSTANTIATE_TEST_SUITE_P(Engines, LockWaitTest, ::testing::Values(TestEngine::SQLiteDelete), EngineName);

}  // namespace
}  // namespace velmora::test
