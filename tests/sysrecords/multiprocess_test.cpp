// Counters and locks shared by several processes, each acting as a user of
// its own, on both engines.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "support_common/child_process.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

constexpr int kDrawers = 8;
constexpr int kDrawsEach = 500;
constexpr int kLockers = 4;
constexpr int kLocksEach = 200;
constexpr int kViolation = 3;

ado::ConnectionPtr ChildConnection(const std::string& connectionString) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(connectionString);
  return cn;
}

void ActAsChild(const std::string& user) { setenv(support::kUserOverrideVariable, user.c_str(), 1); }

// args: connection string, output file prefix, index. Writes the numbers
// drawn, one a line, to <prefix><index>.
VELMORA_TEST_CHILD(draw_numbers) {
  auto cn = ChildConnection(args.at(0));
  std::ofstream out(args.at(1) + args.at(2));
  for (int i = 0; i < kDrawsEach; ++i) out << GetUnk(cn, "ORDERS", 120) << '\n';
  return out.good() ? 0 : 1;
}

// args: connection string, marker file, index. Takes and releases the lock
// of ORDERS, checking inside that no other process is: the marker file is
// created exclusively on entry and removed on exit.
VELMORA_TEST_CHILD(lock_loop) {
  ActAsChild("worker" + args.at(2));
  auto cn = ChildConnection(args.at(0));
  const std::string marker = args.at(1);
  for (int i = 0; i < kLocksEach; ++i) {
    if (TableLock(cn, "ORDERS", true, 120) != TLR_OK) return 1;
    const int fd = open(marker.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
    if (fd < 0) return kViolation;
    close(fd);
    std::this_thread::yield();
    unlink(marker.c_str());
    if (TableLock(cn, "ORDERS", false, 120) != TLR_OK) return 2;
  }
  return 0;
}

// args: connection string, user, ready file, index. Takes the lock of ORDERS,
// says so through the ready file, and waits to be killed.
VELMORA_TEST_CHILD(hold_lock) {
  ActAsChild(args.at(1));
  auto cn = ChildConnection(args.at(0));
  if (TableLock(cn, "ORDERS", true) != TLR_OK) return 1;
  std::ofstream(args.at(2)).flush();
  for (;;) pause();
}

// args: connection string, user, time-out, index. Exits with the result of
// a forcing TableLockEx.
VELMORA_TEST_CHILD(force_lock) {
  ActAsChild(args.at(1));
  auto cn = ChildConnection(args.at(0));
  return TableLockEx(cn, "ORDERS", true, std::stoi(args.at(2)), true);
}

class MultiProcessTest : public SystemTablesTest {
 protected:
  // Starts a child that takes the lock as `user`, waits until it holds it,
  // and kills it, leaving its lock behind.
  void LeaveLockBehind(const std::string& user) {
    const std::string ready = TempFile(".ready").string();
    const auto pids = SpawnChildren("hold_lock", {connectionString, user, ready}, 1);
    const auto started = std::chrono::steady_clock::now();
    while (!std::filesystem::exists(ready) && std::chrono::steady_clock::now() - started < std::chrono::seconds(60)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(pids[0], SIGKILL);
    EXPECT_EQ(WaitAll(pids), std::vector<int>{128 + SIGKILL});
    ASSERT_TRUE(std::filesystem::exists(ready));
  }
  std::string Owner() const {
    return com::CStr(Scalar("SELECT [LK_RCUSER] FROM [SYS_LOCK] WHERE [LK_NAME] = 'ORDERS'"));
  }
};

TEST_P(MultiProcessTest, EightProcessesDrawEveryNumberExactlyOnce) {
  const std::string prefix = (TempDir() / "numbers.").string();
  const auto codes = WaitAll(SpawnChildren("draw_numbers", {connectionString, prefix}, kDrawers));
  EXPECT_EQ(codes, std::vector<int>(kDrawers, 0));
  std::vector<int32_t> all;
  for (int i = 0; i < kDrawers; ++i) {
    std::ifstream in(prefix + std::to_string(i));
    for (int32_t n = 0; in >> n;) all.push_back(n);
  }
  std::sort(all.begin(), all.end());
  std::vector<int32_t> expected(kDrawers * kDrawsEach);
  for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<int32_t>(i + 1);
  EXPECT_EQ(all, expected);
}

TEST_P(MultiProcessTest, FourProcessesNeverHoldTheLockTogether) {
  const std::string marker = (TempDir() / "inside.marker").string();
  const auto codes = WaitAll(SpawnChildren("lock_loop", {connectionString, marker}, kLockers));
  EXPECT_EQ(codes, std::vector<int>(kLockers, 0));
  EXPECT_EQ(com::CStr(Scalar("SELECT [LK_LOCKED] FROM [SYS_LOCK]")), "N");
}

TEST_P(MultiProcessTest, ALockLeftByAKilledProcessIsForcedAfterTheTimeOut) {
  LeaveLockBehind("ghost");
  EXPECT_EQ(Owner(), "ghost");
  ActAs user("bruno");
  const int32_t started = Support().TickCount();
  EXPECT_EQ(TableLockEx(cn, "ORDERS", true, 2, true), TLR_FORCED);
  EXPECT_GE(Support().TickCount() - started, 2000);
  EXPECT_EQ(Owner(), "bruno");
}

TEST_P(MultiProcessTest, ALockRetakenByAThirdUserDuringTheWaitIsNotForced) {
  LeaveLockBehind("ghost");
  const auto waiter = SpawnChildren("force_lock", {connectionString, "bruno", "3"}, 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  // carla takes the lock over in one step while bruno waits.
  cn->Execute("UPDATE [SYS_LOCK] SET [LK_RCUSER] = 'carla', [LK_RCDATE] = '2030-01-02 03:04:05'");
  EXPECT_EQ(WaitAll(waiter), std::vector<int>{TLR_LOCKEDBYANOTHERUSER});
  EXPECT_EQ(Owner(), "carla");
}

INSTANTIATE_TEST_SUITE_P(Engines, MultiProcessTest,
                         ::testing::Values(TestEngine::SQLite, TestEngine::SQLiteDelete, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
