#include "velmora/sysrecords/ado_unk.hpp"

#include "sysrecords/record_fields.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora {
namespace {

const com::Variant kNoText{std::string()};
const com::Variant kNoNumber{int32_t{0}};
const com::Variant kNoObject{nullptr};

}  // namespace

AdoUnk::AdoUnk() {
  Header()->Prefix(Prefix());
  Header()->TableName(TableName());
  // A Small header: saving a counter row never asks for a number itself.
  Header()->Small(true);
}

AdoRecordHeaderPtr AdoUnk::Header() {
  if (!header_) header_ = std::make_shared<AdoRecordHeader>();
  return header_;
}

void AdoUnk::CopyTo(const std::shared_ptr<AdoUnk>& target) {
  // The header is copied onto itself, not onto the target's header: the
  // target keeps the header it has.
  Header()->CopyTo(Header());
  if (!target) sysrecords::RaiseNothing("AdoUnk", "CopyTo");
  target->SU_TABLE(table_);
  target->SU_VALUE(value_);
}

void AdoUnk::RecordLoad(const std::shared_ptr<ado::Recordset>& rs) {
  Header()->RecordLoad(rs);
  table_ = sysrecords::ReadText(rs, FD_SU_TABLE());
  value_ = sysrecords::ReadLong(rs, FD_SU_VALUE());
}

void AdoUnk::RecordSave(const std::shared_ptr<ado::Recordset>& rs) {
  Header()->RecordSave(rs);
  sysrecords::WriteColumn(rs, FD_SU_TABLE(), table_);
  sysrecords::WriteColumn(rs, FD_SU_VALUE(), value_);
}

std::string AdoUnk::Key(const std::string& Index) const {
  if (sysrecords::SameText(Index, FD_SU_TABLE())) return table_;
  if (sysrecords::SameText(Index, FD_SU_VALUE())) return sysrecords::NumberKey(value_);
  sysrecords::RaiseNotAValidIndex();
}

void AdoUnk::ReadProperties(com::PropertyBag& bag) {
  header_ = bag.ReadProperty("Header", kNoObject).ObjectAs<AdoRecordHeader>();
  table_ = com::CStr(bag.ReadProperty(FD_SU_TABLE(), kNoText));
  value_ = com::CLng(bag.ReadProperty(FD_SU_VALUE(), kNoNumber));
}

void AdoUnk::WriteProperties(com::PropertyBag& bag) {
  bag.WriteProperty("Header", com::Variant(Header()), kNoObject);
  // The values are written under keys made of the values themselves, which
  // the reader does not look for: only the header survives a round trip.
  bag.WriteProperty(table_, table_, kNoText);
  bag.WriteProperty(std::to_string(value_), value_, kNoNumber);
}

}  // namespace velmora
