#include "sysrecords/attempts.hpp"

#include <algorithm>

#include "velmora/ado/connection.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/ado_unk.hpp"

namespace velmora::sysrecords {
namespace {

std::string LockCondition(const std::string& table) {
  const AdoSysLock names;
  return " WHERE " + SQLName(names.FD_LK_NAME()) + " = " + QueryArgument(table);
}

}  // namespace

std::string CounterQuery(const std::string& table) {
  const AdoUnk names;
  return "SELECT * FROM " + SQLName(names.TB_SYS_UNK()) + " WHERE " + SQLName(names.FD_SU_TABLE()) + "=" +
         QueryArgument(table);
}

std::string LockQuery(const std::string& table) {
  return "SELECT * FROM " + SQLName(AdoSysLock().TB_SYS_LOCK()) + LockCondition(table);
}

std::string LockDeleteStatement(const std::string& table) {
  return "DELETE FROM " + SQLName(AdoSysLock().TB_SYS_LOCK()) + LockCondition(table);
}

int32_t DeadlineAfter(int32_t seconds) {
  // 32-bit arithmetic: the product and the sum each overflow on their own.
  const int64_t span = int64_t{seconds} * 1000;
  const int64_t deadline = int64_t{Support().TickCount()} + span;
  if (span < INT32_MIN || span > INT32_MAX || deadline < INT32_MIN || deadline > INT32_MAX) {
    com::Raise(com::errOverflow);
  }
  return static_cast<int32_t>(deadline);
}

bool DeadlinePassed(int32_t deadline) { return deadline <= Support().TickCount(); }

AttemptTimeout::AttemptTimeout(std::shared_ptr<ado::Connection> connection, int32_t deadline)
    : connection_(std::move(connection)), saved_(connection_->CommandTimeout()) {
  const int64_t leftMs = int64_t{deadline} - Support().TickCount();
  const auto leftSeconds = static_cast<int32_t>(std::clamp<int64_t>((leftMs + 999) / 1000, 1, INT32_MAX));
  connection_->CommandTimeout(saved_ == 0 ? leftSeconds : std::min(saved_, leftSeconds));
}

AttemptTimeout::~AttemptTimeout() { connection_->CommandTimeout(saved_); }

std::shared_ptr<ado::Recordset> OpenForUpdate(const std::shared_ptr<ado::Connection>& connection,
                                              const std::string& query) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant(query), com::Variant(connection), ado::adOpenDynamic, ado::adLockPessimistic,
           ado::adCmdText);
  return rs;
}

std::shared_ptr<ado::Recordset> OpenAttempt(const std::shared_ptr<ado::Connection>& connection,
                                            const std::string& query) {
  try {
    return OpenForUpdate(connection, query);
  } catch (const com::Error& e) {
    if (e.Number() != ado::DB_E_CONCURRENCYVIOLATION) throw;
    return nullptr;
  }
}

}  // namespace velmora::sysrecords
