#include "velmora/sysrecords/ado_sys_lock.hpp"

#include "sysrecords/record_fields.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora {
namespace {

const com::Variant kNoText{std::string()};
const com::Variant kNoObject{nullptr};

}  // namespace

AdoSysLock::AdoSysLock() {
  Header()->Prefix(PF_SYS_LOCK());
  Header()->TableName(TB_SYS_LOCK());
}

AdoRecordHeaderPtr AdoSysLock::Header() {
  if (!header_) header_ = std::make_shared<AdoRecordHeader>();
  return header_;
}

void AdoSysLock::CopyTo(const std::shared_ptr<AdoSysLock>& target) {
  // As for the counters: the header is copied onto itself and the target's
  // header is left as it was.
  Header()->CopyTo(Header());
  if (!target) sysrecords::RaiseNothing("AdoSysLock", "CopyTo");
  target->LK_NAME(name_);
  target->LK_LOCKED(locked_);
}

void AdoSysLock::RecordLoad(const std::shared_ptr<ado::Recordset>& rs) {
  Header()->RecordLoad(rs);
  name_ = sysrecords::ReadText(rs, FD_LK_NAME());
  locked_ = sysrecords::ReadText(rs, FD_LK_LOCKED());
}

void AdoSysLock::RecordSave(const std::shared_ptr<ado::Recordset>& rs) {
  Header()->RecordSave(rs);
  sysrecords::WriteColumn(rs, FD_LK_NAME(), name_);
  sysrecords::WriteColumn(rs, FD_LK_LOCKED(), locked_);
}

std::string AdoSysLock::Key(const std::string& Index) {
  if (sysrecords::SameText(Index, IX_LK_NAME())) return name_;
  if (sysrecords::SameText(Index, PK_SYS_LOCK())) return sysrecords::NumberKey(LK_UNK());
  sysrecords::RaiseNotAValidIndex();
}

void AdoSysLock::ReadProperties(com::PropertyBag& bag) {
  header_ = bag.ReadProperty(FD_LK_HEADER(), kNoObject).ObjectAs<AdoRecordHeader>();
  name_ = com::CStr(bag.ReadProperty(FD_LK_NAME(), kNoText));
  locked_ = com::CStr(bag.ReadProperty(FD_LK_LOCKED(), kNoText));
}

void AdoSysLock::WriteProperties(com::PropertyBag& bag) {
  bag.WriteProperty(FD_LK_HEADER(), com::Variant(Header()), kNoObject);
  bag.WriteProperty(FD_LK_NAME(), name_, kNoText);
  bag.WriteProperty(FD_LK_LOCKED(), locked_, kNoText);
}

}  // namespace velmora
