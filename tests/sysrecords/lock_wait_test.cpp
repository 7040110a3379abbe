// Counters and locks on an SQLite file whose write lock another process
// holds for a while (as a writer does while it commits in a rollback-journal
// mode): an attempt that finds the file locked is a failed attempt, waited
// out until the deadline like a locked row.
#include <gtest/gtest.h>

#include "support_common/sqlite_lock_holder.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/com/error.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

class SysLockWaitTest : public SystemTablesTest {
 protected:
  std::unique_ptr<SqliteWriteLockHolder> LockedFile() const {
    return std::make_unique<SqliteWriteLockHolder>(
        connectionString, "INSERT INTO SYS_UNK (SU_TABLE, SU_VALUE) VALUES ('OTHER', 1)");
  }
};

TEST_P(SysLockWaitTest, GetUnkWaitsForTheFile) {
  auto holder = LockedFile();
  holder->ReleaseAfter(std::chrono::milliseconds(1500));
  EXPECT_EQ(GetUnk(cn, "ORDERS", 60), 1);
}

TEST_P(SysLockWaitTest, TableLockWaitsForTheFile) {
  ActAs user("anna");
  auto holder = LockedFile();
  holder->ReleaseAfter(std::chrono::milliseconds(1500));
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 60), TLR_OK);
}

TEST_P(SysLockWaitTest, GetUnkTimesOutWhileTheFileStaysLocked) {
  auto holder = LockedFile();
  try {
    GetUnk(cn, "ORDERS", 1);
    ADD_FAILURE() << "no error raised";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Description(), "Timeout expired.");
  }
  EXPECT_EQ(cn->CommandTimeout(), 30);  // the caller's setting is back
}

TEST_P(SysLockWaitTest, TableLockTimesOutWhileTheFileStaysLocked) {
  ActAs user("anna");
  auto holder = LockedFile();
  EXPECT_EQ(TableLock(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
}

// In WAL (the other SQLite variant) a writer does not keep readers out.
INSTANTIATE_TEST_SUITE_P(Engines, SysLockWaitTest, ::testing::Values(TestEngine::SQLiteDelete), EngineName);

}  // namespace
}  // namespace velmora::test
