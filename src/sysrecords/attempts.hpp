#pragma once
// What the counter and the lock routines share: their statements, the
// deadline on the support object's tick, and the Recordset each attempt
// opens.
#include <cstdint>
#include <memory>
#include <string>

namespace velmora::ado {
class Connection;
class Recordset;
}  // namespace velmora::ado

namespace velmora::sysrecords {

// SELECT of the counter row of `table` in SYS_UNK ("=" without blanks).
std::string CounterQuery(const std::string& table);
// SELECT of the lock row of `table` in SYS_LOCK (" = " with blanks).
std::string LockQuery(const std::string& table);
// DELETE of the lock row of `table` (used when a lock is forced).
std::string LockDeleteStatement(const std::string& table);

// The tick `seconds` from now, in 32-bit arithmetic; raises 6 (overflow)
// when it does not fit.
int32_t DeadlineAfter(int32_t seconds);
// True when the deadline is not later than the current tick.
bool DeadlinePassed(int32_t deadline);

// Gives each statement of one attempt no more than the time left before
// `deadline` (a second at least), so that a server that stops answering
// costs the routine its time-out and not the connection's CommandTimeout;
// the connection's own CommandTimeout is back when the object goes away.
class AttemptTimeout {
 public:
  AttemptTimeout(std::shared_ptr<ado::Connection> connection, int32_t deadline);
  ~AttemptTimeout();
  AttemptTimeout(const AttemptTimeout&) = delete;
  AttemptTimeout& operator=(const AttemptTimeout&) = delete;

 private:
  std::shared_ptr<ado::Connection> connection_;
  int32_t saved_;
};

// A new Recordset on `query`: dynamic cursor, pessimistic locking, text
// command.
std::shared_ptr<ado::Recordset> OpenForUpdate(const std::shared_ptr<ado::Connection>& connection,
                                              const std::string& query);
// OpenForUpdate for one attempt of a retry loop, under its AttemptTimeout.
// A read that finds the database locked by another session's write waits
// for it no longer than the connection's command time-out (the time left);
// when it is still locked the attempt failed and nothing (nullptr) is
// returned, for the caller to try again while time is left. Other errors
// are raised.
std::shared_ptr<ado::Recordset> OpenAttempt(const std::shared_ptr<ado::Connection>& connection,
                                            const std::string& query);

}  // namespace velmora::sysrecords
