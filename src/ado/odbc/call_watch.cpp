#include "ado/odbc/call_watch.hpp"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::ado::odbc {
namespace {

// Nanoseconds of the coarse monotonic clock: a few milliseconds of
// resolution are plenty for a watch that looks ten times a second, and
// reading it costs a few nanoseconds on every fetch.
int64_t Now() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &t);
  return int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

int PortOf(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return -1;
}

// True when `fd` is a TCP socket from `localPort` to `peerPort`.
bool SocketHasPorts(int fd, int localPort, int peerPort) {
  sockaddr_storage local{};
  sockaddr_storage peer{};
  socklen_t localLength = sizeof local;
  socklen_t peerLength = sizeof peer;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) != 0) return false;
  if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) != 0) return false;
  return PortOf(local) == localPort && PortOf(peer) == peerPort;
}

// The open socket of this process between the two ports (-1 when none).
int FindSocket(int localPort, int peerPort) {
  DIR* fds = opendir("/proc/self/fd");
  if (!fds) return -1;
  int found = -1;
  while (dirent* e = readdir(fds)) {
    char* end = nullptr;
    const long fd = std::strtol(e->d_name, &end, 10);
    if (end == e->d_name || *end != '\0' || fd == dirfd(fds)) continue;
    struct stat st {};
    if (fstat(static_cast<int>(fd), &st) != 0 || !S_ISSOCK(st.st_mode)) continue;
    if (SocketHasPorts(static_cast<int>(fd), localPort, peerPort)) {
      found = static_cast<int>(fd);
      break;
    }
  }
  closedir(fds);
  return found;
}

}  // namespace

// One connection as the watch thread sees it. A call arms `due` (a steady
// clock count; 0 when no call is watched) and disarms it when it returns.
// The thread sets `acting` before it reads `due` and clears it after it
// acted, and a call disarms before it reads `acting`: so once a Guard is
// gone, the thread no longer touches its statement.
struct CallSlot {
  std::atomic<int64_t> due{0};
  std::atomic<SQLHSTMT> statement{SQL_NULL_HSTMT};
  std::atomic<bool> acting{false};
  std::atomic<bool> cut{false};
  int fd = -1;  // the connection's socket (-1: none; calls are cancelled)
  int localPort = 0;
  int peerPort = 0;
};

namespace {

// The one thread of the process that watches calls: it looks at every
// connection's slot each tick while any connection exists.
class Watcher {
 public:
  static Watcher& Instance() {
    static Watcher* watcher = new Watcher();  // lives as long as the process
    return *watcher;
  }

  void Add(CallSlot* slot) {
    std::lock_guard lock(mutex_);
    slots_.push_back(slot);
    if (!started_) {
      std::thread([this] { Run(); }).detach();
      started_ = true;
    }
    changed_.notify_all();
  }

  void Remove(CallSlot* slot) {
    std::lock_guard lock(mutex_);
    slots_.erase(std::remove(slots_.begin(), slots_.end(), slot), slots_.end());
  }

 private:
  Watcher() = default;

  void Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return !slots_.empty(); });
      const int64_t now = Now();
      for (CallSlot* slot : slots_) Look(*slot, now);
      lock.unlock();
      std::this_thread::sleep_for(CallWatch::kTick);
      lock.lock();
    }
  }

  static void Look(CallSlot& slot, int64_t now) {
    slot.acting.store(true);
    const int64_t due = slot.due.load();
    if (due != 0 && due <= now) Act(slot);
    slot.acting.store(false);
  }

  // A call on a socket loses its link; any other is cancelled. The socket
  // is checked again first: it must still be this connection's.
  static void Act(CallSlot& slot) {
    if (slot.fd < 0) {
      const SQLHSTMT statement = slot.statement.load();
      if (statement != SQL_NULL_HSTMT) SQLCancel(statement);
      slot.due.store(0);  // once is enough
      return;
    }
    if (SocketHasPorts(slot.fd, slot.localPort, slot.peerPort)) {
      slot.cut.store(true);
      shutdown(slot.fd, SHUT_RDWR);
    }
    slot.due.store(0);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<CallSlot*> slots_;
  bool started_ = false;
};

}  // namespace

CallWatch::CallWatch() : slot_(std::make_shared<CallSlot>()) { Watcher::Instance().Add(slot_.get()); }
CallWatch::~CallWatch() { Watcher::Instance().Remove(slot_.get()); }

void CallWatch::AttachSocket(int localPort, int peerPort) {
  const int fd = FindSocket(localPort, peerPort);
  if (fd < 0) return;
  slot_->fd = fd;
  slot_->localPort = localPort;
  slot_->peerPort = peerPort;
}

bool CallWatch::LinkCut() const noexcept { return slot_->cut.load(); }

std::string CallWatch::Explain(const std::string& what) const {
  if (!LinkCut()) return what;
  return what + " (the server did not answer within the time-out; the connection is lost and must be reopened)";
}

CallWatch::Guard CallWatch::Watch(int32_t seconds, SQLHSTMT statement) const {
  Guard guard;
  if (seconds <= 0) return guard;
  CallSlot& slot = *slot_;
  if (slot.fd < 0 && statement == SQL_NULL_HSTMT) return guard;  // nothing to cancel
  const std::chrono::nanoseconds limit =
      std::chrono::seconds(seconds) + (slot.fd >= 0 ? kCutGrace : std::chrono::milliseconds::zero());
  guard.slot_ = &slot;
  guard.previousStatement_ = slot.statement.exchange(statement);
  guard.previousDue_ = slot.due.exchange(Now() + limit.count());
  return guard;
}

CallWatch::Guard::Guard(Guard&& other) noexcept
    : slot_(std::exchange(other.slot_, nullptr)),
      previousDue_(other.previousDue_),
      previousStatement_(other.previousStatement_) {}

CallWatch::Guard::~Guard() {
  if (!slot_) return;
  slot_->due.store(previousDue_);
  while (slot_->acting.load()) std::this_thread::yield();
  slot_->statement.store(previousStatement_);
}

}  // namespace velmora::ado::odbc
