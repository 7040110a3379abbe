#include "velmora/sysrecords/record_header.hpp"

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {
namespace {

const com::Variant kNoNumber{int32_t{0}};
const com::Variant kNoDate{com::Date{}};
const com::Variant kNoText{std::string()};
const com::Variant kFalse{false};

}  // namespace

void AdoRecordHeader::CopyTo(const std::shared_ptr<AdoRecordHeader>& target) const {
  if (!target) com::Raise(com::errObjectNotSet, {}, ErrorSource("AdoRecordHeader", "CopyTo"));
  target->Unk(unk_);
  target->RcDate(rcDate_);
  target->RcUser(rcUser_);
  target->RmDate(rmDate_);
  target->RmUser(rmUser_);
  target->Prefix(prefix_);
  target->TableName(tableName_);
}

void AdoRecordHeader::ReadProperties(com::PropertyBag& bag) {
  unk_ = com::CLng(bag.ReadProperty("Unk", kNoNumber));
  rcDate_ = com::CDate(bag.ReadProperty("RcDate", kNoDate));
  rcUser_ = com::CStr(bag.ReadProperty("RcUser", kNoText));
  rmDate_ = com::CDate(bag.ReadProperty("RmDate", kNoDate));
  rmUser_ = com::CStr(bag.ReadProperty("RmUser", kNoText));
  small_ = com::CBool(bag.ReadProperty("Small", kFalse));
  prefix_ = com::CStr(bag.ReadProperty("Prefix", kNoText));
  tableName_ = com::CStr(bag.ReadProperty("TableName", kNoText));
}

void AdoRecordHeader::WriteProperties(com::PropertyBag& bag) {
  bag.WriteProperty("Unk", unk_, kNoNumber);
  bag.WriteProperty("RcDate", rcDate_, kNoDate);
  bag.WriteProperty("RcUser", rcUser_, kNoText);
  bag.WriteProperty("RmDate", rmDate_, kNoDate);
  bag.WriteProperty("RmUser", rmUser_, kNoText);
  bag.WriteProperty("Small", small_, kFalse);
  bag.WriteProperty("Prefix", prefix_, kNoText);
  bag.WriteProperty("TableName", tableName_, kNoText);
}

}  // namespace velmora
