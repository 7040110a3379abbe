// TableLockEx and TableLock: application locks of whole tables in SYS_LOCK.
#include <optional>
#include <stdexcept>

#include "sysrecords/attempts.hpp"
#include "sysrecords/record_fields.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/support/default_connection.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora {
namespace {

constexpr const char* kLocked = "S";
constexpr const char* kFree = "N";

// The state of one TableLockEx call: the request, the working record, and
// what was seen of a foreign lock while waiting.
class LockRequest {
 public:
  LockRequest(std::string table, bool activate)
      : table_(std::move(table)), activate_(activate), user_(Support().UserName()) {}

  // One attempt on the open Recordset of the lock row. Returns the result,
  // or nothing when another user holds the lock or the attempt failed (the
  // Recordset is then closed and the caller tries again).
  std::optional<TableLockReturn> Attempt(std::shared_ptr<ado::Recordset>& rs) {
    try {
      if (auto result = Decide(rs)) return result;
    } catch (const std::exception&) {
    }
    RecordsetClose(rs);
    return std::nullopt;
  }

  // The lock was still held by another user at the deadline. With `force`,
  // a lock whose owner never changed during the wait is taken to be left
  // behind: its row is deleted and the request made again without forcing.
  TableLockReturn TimedOut(const std::shared_ptr<ado::Connection>& connection,
                           const std::shared_ptr<ado::Connection>& dbConnection, int32_t timeOut, bool force) const {
    if (!force || ownerChanged_) return TLR_LOCKEDBYANOTHERUSER;
    connection->Execute(sysrecords::LockDeleteStatement(table_));
    const TableLockReturn again = TableLockEx(dbConnection, table_, activate_, timeOut, false);
    return again == TLR_OK ? TLR_FORCED : again;
  }

 private:
  std::optional<TableLockReturn> Decide(const std::shared_ptr<ado::Recordset>& rs) {
    if (rs->IsEOF()) {
      if (!activate_) return TLR_OK;
      rs->AddNew();
      lock_.LK_NAME(table_);
      return Write(rs);
    }
    lock_.RecordLoad(rs);
    if (!sysrecords::SameText(lock_.LK_LOCKED(), kLocked)) return activate_ ? Write(rs) : TLR_OK;
    if (sysrecords::SameText(lock_.LK_RCUSER(), user_)) return activate_ ? TLR_LOCKEDBYSAMEUSER : Write(rs);
    NoteForeignOwner();
    return std::nullopt;
  }

  // Marks the row locked or free for this user, now, and updates it.
  TableLockReturn Write(const std::shared_ptr<ado::Recordset>& rs) {
    lock_.LK_LOCKED(activate_ ? kLocked : kFree);
    lock_.LK_RCDATE(com::Now());
    lock_.LK_RCUSER(user_);
    lock_.LK_RMDATE(com::Now());
    lock_.LK_RMUSER(user_);
    lock_.RecordSave(rs);
    rs->Update();
    return TLR_OK;
  }

  // A foreign lock whose date or owner differs from the one seen at the
  // previous attempt was released and re-taken meanwhile: it is alive, and
  // must never be forced. A lock without a date never counts as changed.
  void NoteForeignOwner() {
    if (lastSeenDate_.value != 0 &&
        (lock_.LK_RCDATE() != lastSeenDate_ || !sysrecords::SameText(lock_.LK_RCUSER(), lastSeenUser_))) {
      ownerChanged_ = true;
    }
    lastSeenDate_ = lock_.LK_RCDATE();
    lastSeenUser_ = lock_.LK_RCUSER();
  }

  const std::string table_;
  const bool activate_;
  const std::string user_;
  AdoSysLock lock_;
  com::Date lastSeenDate_;
  std::string lastSeenUser_;
  bool ownerChanged_ = false;
};

}  // namespace

TableLockReturn TableLockEx(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                            bool Activate, int32_t timeOut, bool Force) {
  try {
    const auto connection = support::EffectiveConnection(dbConnection);
    LockRequest request(TableName, Activate);
    const int32_t deadline = sysrecords::DeadlineAfter(timeOut);
    const std::string query = sysrecords::LockQuery(TableName);
    for (;;) {
      if (sysrecords::DeadlinePassed(deadline)) return request.TimedOut(connection, dbConnection, timeOut, Force);
      const sysrecords::AttemptTimeout bounded(connection, deadline);
      auto rs = sysrecords::OpenAttempt(connection, query);
      if (!rs) continue;
      if (const auto result = request.Attempt(rs)) {
        RecordsetClose(rs);
        return *result;
      }
    }
  } catch (...) {
    Reraise(ErrorSource("modAdoSupport", "TableLock"));
  }
}

TableLockReturn TableLock(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                          bool Activate, int32_t timeOut) {
  return TableLockEx(dbConnection, TableName, Activate, timeOut, false);
}

}  // namespace velmora
