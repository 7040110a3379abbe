#pragma once
// Unique-key counters and table locks kept in the application's own
// database (tables SYS_UNK and SYS_LOCK, see docs/system-records.md).
//
// Both wait by retrying at once, with no pause, until a deadline measured on
// the support object's millisecond tick; the test of the deadline precedes
// every attempt, so a time-out of 0 or less fails before any query. When
// this thread has a default connection (support/default_connection.hpp) it
// is used instead of the connection argument.
#include <cstdint>
#include <memory>
#include <string>

namespace velmora::ado {
class Connection;
}

namespace velmora {

// Results of TableLock and TableLockEx.
enum TableLockReturn : int32_t {
  TLR_OK = 0,
  TLR_LOCKEDBYANOTHERUSER = 1,
  TLR_LOCKEDBYSAMEUSER = 2,
  TLR_FORCED = 3,
  TLR_ERROR = -1,
};

// The next number (from 1) of the counter of TableName in SYS_UNK, read and
// written under the row's pessimistic lock; the first call for a table
// inserts its row. A locked row, a simultaneous insert or a counter that
// would overflow are retried until the time-out (seconds). Failures --
// opening the query, the time-out ("Timeout expired.", 20000), a deadline
// that overflows -- are raised with the Source
// "Velmora.modAdoSupport.GetUnk".
int32_t GetUnk(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
               int32_t timeOut = 30);

// Sets (Activate true) or releases (false) the application lock of
// TableName in SYS_LOCK for the current user. While another user holds it
// the call retries until the time-out (seconds), then returns
// TLR_LOCKEDBYANOTHERUSER; with Force, a lock whose owner and date stayed
// the same for the whole wait is taken to be left behind: its row is
// deleted and the request made again (without Force), TLR_OK then becoming
// TLR_FORCED. Locking a table one already holds gives TLR_LOCKEDBYSAMEUSER
// (user names compare without regard to case). Failures are raised with the
// Source "Velmora.modAdoSupport.TableLock" (the result would be TLR_ERROR).
TableLockReturn TableLockEx(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                            bool Activate, int32_t timeOut = 30, bool Force = false);
// TableLockEx with Force false.
TableLockReturn TableLock(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                          bool Activate, int32_t timeOut = 30);

}  // namespace velmora
