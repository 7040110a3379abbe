#pragma once
// AdoSysLock: one row of the table-lock table SYS_LOCK -- the name of a
// locked application table, its state ("S" locked, "N" free) and a full
// record header whose creation user is the lock's owner. Persistable under
// "Velmora.AdoSysLock".
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/datetime.hpp"
#include "velmora/com/property_bag.hpp"
#include "velmora/sysrecords/record_header.hpp"

namespace velmora::ado {
class Recordset;
}

namespace velmora {

class AdoSysLock : public com::PersistableObject {
 public:
  static constexpr const char* kProgID = "Velmora.AdoSysLock";

  // Creates the header with Prefix "LK" and TableName "SYS_LOCK".
  AdoSysLock();

  // The row's header, created (without any layout) on first use when
  // Nothing was assigned.
  AdoRecordHeaderPtr Header();
  void Header(AdoRecordHeaderPtr value) { header_ = std::move(value); }

  const std::string& LK_NAME() const noexcept { return name_; }
  void LK_NAME(std::string value) { name_ = std::move(value); }
  const std::string& LK_LOCKED() const noexcept { return locked_; }
  void LK_LOCKED(std::string value) { locked_ = std::move(value); }

  std::string FD_LK_HEADER() const { return "HEADER"; }
  std::string PF_SYS_LOCK() const { return "LK"; }
  std::string PK_SYS_LOCK() const { return "PK_SYS_LOCK"; }
  std::string IX_LK_NAME() const { return "IX_LK_NAME"; }
  std::string FD_LK_LOCKED() const { return "LK_LOCKED"; }
  std::string FD_LK_RMDATE() const { return "LK_RMDATE"; }
  std::string FD_LK_RCUSER() const { return "LK_RCUSER"; }
  std::string FD_LK_RCDATE() const { return "LK_RCDATE"; }
  std::string FD_LK_UNK() const { return "LK_UNK"; }
  std::string TB_SYS_LOCK() const { return "SYS_LOCK"; }
  std::string FD_LK_NAME() const { return "LK_NAME"; }

  // Copies the own header onto itself (the target's header is left as it
  // is), then LK_NAME and LK_LOCKED into `target`.
  void CopyTo(const std::shared_ptr<AdoSysLock>& target);

  std::string TableName() const { return TB_SYS_LOCK(); }
  std::string Prefix() const { return PF_SYS_LOCK(); }

  // Reads the header, LK_NAME and LK_LOCKED from the current record.
  void RecordLoad(const std::shared_ptr<ado::Recordset>& rs);
  // Writes the header, LK_NAME and LK_LOCKED into the current record (the
  // caller calls Update).
  void RecordSave(const std::shared_ptr<ado::Recordset>& rs);

  // The key of an index, named without regard to case: "IX_LK_NAME" gives
  // LK_NAME, "PK_SYS_LOCK" gives LK_UNK in twelve zero-filled digits; any
  // other name raises 20000 "Not a valid index".
  std::string Key(const std::string& Index);

  // The header's values under the column names of SYS_LOCK.
  int32_t LK_UNK() { return Header()->Unk(); }
  void LK_UNK(int32_t value) { Header()->Unk(value); }
  com::Date LK_RCDATE() { return Header()->RcDate(); }
  void LK_RCDATE(com::Date value) { Header()->RcDate(value); }
  std::string LK_RCUSER() { return Header()->RcUser(); }
  void LK_RCUSER(std::string value) { Header()->RcUser(std::move(value)); }
  com::Date LK_RMDATE() { return Header()->RmDate(); }
  void LK_RMDATE(com::Date value) { Header()->RmDate(value); }
  std::string LK_RMUSER() { return Header()->RmUser(); }
  void LK_RMUSER(std::string value) { Header()->RmUser(std::move(value)); }

  // Persistence under the same keys both ways: "HEADER" (the header
  // object), "LK_NAME", "LK_LOCKED".
  std::string ProgID() const override { return kProgID; }
  void ReadProperties(com::PropertyBag& bag) override;
  void WriteProperties(com::PropertyBag& bag) override;

 private:
  AdoRecordHeaderPtr header_;
  std::string name_;
  std::string locked_;
};

using AdoSysLockPtr = std::shared_ptr<AdoSysLock>;

}  // namespace velmora
