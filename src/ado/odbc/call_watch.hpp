#pragma once
// Bounds every wait of a call into the driver, whatever the server does.
//
// A server-side statement timeout ends a slow statement, but not a call
// waiting on a server that has stopped answering (a stalled backend, a host
// gone behind a silent network): the driver then waits on its socket for as
// long as the stall lasts, and TCP keepalives do not help while the peer's
// kernel still acknowledges. So a call made under a Guard is watched by one
// thread of the process: once it outlives its limit, the watch cancels it
// (an embedded engine stops at once) or, for a connection over a socket,
// shuts the socket down a moment later, which makes the blocked read return
// and the call fail. The connection is then lost for good and says so.
//
// Arming the watch for a call costs a clock read and two atomic stores: it
// sits on the path of every fetch.
#include <sql.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace velmora::ado::odbc {

// What the watch thread knows of one connection (defined beside it).
struct CallSlot;

class CallWatch {
 public:
  CallWatch();
  ~CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  // Finds the socket of this connection by its two ports (the local one
  // as the server saw it) among the process's open sockets; without one,
  // calls are only cancelled.
  void AttachSocket(int localPort, int peerPort);

  // True once a call outlived its limit and the socket was shut down.
  bool LinkCut() const noexcept;
  // `what`, naming the cause when the link was cut.
  std::string Explain(const std::string& what) const;

  // While a Guard lives, the call it covers is cancelled once it has run
  // `seconds` (0: no limit), or its socket cut shortly after. Guards of one
  // connection nest (the inner one rules until it ends).
  class Guard {
   public:
    Guard() = default;
    Guard(Guard&& other) noexcept;
    Guard& operator=(Guard&&) = delete;
    ~Guard();

   private:
    friend class CallWatch;
    CallSlot* slot_ = nullptr;
    int64_t previousDue_ = 0;
    SQLHSTMT previousStatement_ = SQL_NULL_HSTMT;
  };
  [[nodiscard]] Guard Watch(int32_t seconds, SQLHSTMT statement = SQL_NULL_HSTMT) const;

  // How long after a call's limit its socket is shut down: the server's own
  // timeout answers first when the server is alive.
  static constexpr std::chrono::milliseconds kCutGrace{700};
  // How often the watch looks at the calls it watches.
  static constexpr std::chrono::milliseconds kTick{100};

 private:
  std::shared_ptr<CallSlot> slot_;
};

}  // namespace velmora::ado::odbc
