#pragma once
// Another process holding the write lock of an SQLite file, as a writer
// does while it commits in a rollback-journal mode: no other connection can
// read the file until it lets go. Include from one source file per test
// executable (it registers a child process).
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support_common/child_process.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"

namespace velmora::test {

namespace sqlite_lock_holder {

inline bool WaitForFile(const std::string& path) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!std::filesystem::exists(path)) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace sqlite_lock_holder

// args: connection string, a statement that writes, ready file, release
// file, index. Keeps the exclusive lock the write took (locking mode
// EXCLUSIVE) from the ready file's creation until the release file exists.
VELMORA_TEST_CHILD(hold_sqlite_write_lock) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(args.at(0));
  cn->Execute("PRAGMA locking_mode = EXCLUSIVE");
  cn->Execute(args.at(1));
  std::ofstream(args.at(2)).flush();
  const bool released = sqlite_lock_holder::WaitForFile(args.at(3));
  cn->Close();
  return released ? 0 : 1;
}

class SqliteWriteLockHolder {
 public:
  // Starts the holder and returns once it holds the lock.
  SqliteWriteLockHolder(const std::string& connectionString, const std::string& writeStatement)
      : ready_(TempFile(".ready").string()), release_(TempFile(".release").string()) {
    pids_ = SpawnChildren("hold_sqlite_write_lock", {connectionString, writeStatement, ready_, release_}, 1);
    EXPECT_TRUE(sqlite_lock_holder::WaitForFile(ready_)) << "the holder never took the lock";
  }
  ~SqliteWriteLockHolder() {
    Release();
    if (releaser_.joinable()) releaser_.join();
    EXPECT_EQ(WaitAll(pids_), std::vector<int>{0});
  }
  SqliteWriteLockHolder(const SqliteWriteLockHolder&) = delete;
  SqliteWriteLockHolder& operator=(const SqliteWriteLockHolder&) = delete;

  void Release() const { std::ofstream(release_).flush(); }
  // Lets go of the lock after `delay`, well after the driver's own wait for
  // a lock (about half a second) has run out, while the caller waits.
  void ReleaseAfter(std::chrono::milliseconds delay) {
    releaser_ = std::thread([this, delay] {
      std::this_thread::sleep_for(delay);
      Release();
    });
  }

 private:
  std::string ready_;
  std::string release_;
  std::vector<pid_t> pids_;
  std::thread releaser_;
};

}  // namespace velmora::test
