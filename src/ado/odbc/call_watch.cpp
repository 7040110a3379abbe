#include "ado/odbc/call_watch.hpp"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace velmora::ado::odbc {
namespace {

using Clock = std::chrono::steady_clock;

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

struct CallWatch::Socket {
  int fd = -1;
  int localPort = 0;
  int peerPort = 0;
};

struct CallWatch::Guard::Entry {
  Clock::time_point due;
  SQLHSTMT statement = SQL_NULL_HSTMT;
  std::shared_ptr<Socket> socket;  // null: cancel the statement instead
  std::shared_ptr<std::atomic<bool>> cut;
  bool acting = false;  // the watcher is acting on it outside its lock
};

namespace {

using Entry = CallWatch::Guard::Entry;

// The one thread of the process that watches calls, and the calls it
// watches, earliest first.
class Watcher {
 public:
  static Watcher& Instance() {
    static Watcher* watcher = new Watcher();  // lives as long as the process
    return *watcher;
  }

  void Add(Entry* e) {
    std::lock_guard lock(mutex_);
    const bool earliest = entries_.empty() || e->due < entries_.begin()->first;
    entries_.emplace(e->due, e);
    if (!started_) {
      std::thread([this] { Run(); }).detach();
      started_ = true;
    }
    if (earliest) changed_.notify_all();
  }

  void Remove(Entry* e) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [e] { return !e->acting; });
    for (auto [i, end] = entries_.equal_range(e->due); i != end; ++i) {
      if (i->second == e) {
        entries_.erase(i);
        break;
      }
    }
  }

 private:
  Watcher() = default;

  void Run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      if (entries_.empty()) {
        changed_.wait(lock);
        continue;
      }
      const auto first = entries_.begin();
      if (Clock::now() < first->first) {
        changed_.wait_until(lock, first->first);
        continue;
      }
      Entry* e = first->second;
      entries_.erase(first);
      e->acting = true;
      lock.unlock();
      Act(*e);
      lock.lock();
      e->acting = false;
      changed_.notify_all();
    }
  }

  // A call on a socket loses its link; any other is cancelled.
  static void Act(Entry& e) {
    if (!e.socket) {
      if (e.statement != SQL_NULL_HSTMT) SQLCancel(e.statement);
      return;
    }
    const CallWatch::Socket& s = *e.socket;
    // The descriptor is checked again: it must still be this connection's.
    if (SocketHasPorts(s.fd, s.localPort, s.peerPort)) {
      e.cut->store(true);
      shutdown(s.fd, SHUT_RDWR);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<Clock::time_point, Entry*> entries_;
  bool started_ = false;
};

}  // namespace

CallWatch::CallWatch() : cut_(std::make_shared<std::atomic<bool>>(false)) {}
CallWatch::~CallWatch() = default;

void CallWatch::AttachSocket(int localPort, int peerPort) {
  const int fd = FindSocket(localPort, peerPort);
  if (fd < 0) return;
  socket_ = std::make_shared<Socket>(Socket{fd, localPort, peerPort});
}

bool CallWatch::HasSocket() const noexcept { return socket_ != nullptr; }

std::string CallWatch::Explain(const std::string& what) const {
  if (!LinkCut()) return what;
  return what + " (the server did not answer within the time-out; the connection is lost and must be reopened)";
}

CallWatch::Guard CallWatch::Watch(int32_t seconds, SQLHSTMT statement) const {
  if (seconds <= 0 || (!socket_ && statement == SQL_NULL_HSTMT)) return Guard();
  auto entry = std::make_unique<Guard::Entry>();
  entry->due = Clock::now() + std::chrono::seconds(seconds) + (socket_ ? kCutGrace : Clock::duration::zero());
  entry->statement = statement;
  entry->socket = socket_;
  entry->cut = cut_;
  Watcher::Instance().Add(entry.get());
  return Guard(std::move(entry));
}

CallWatch::Guard::Guard(std::unique_ptr<Entry> entry) : entry_(std::move(entry)) {}
CallWatch::Guard::Guard(Guard&& other) noexcept = default;
CallWatch::Guard::~Guard() {
  if (entry_) Watcher::Instance().Remove(entry_.get());
}

}  // namespace velmora::ado::odbc
