#pragma once
// AdoRecordHeader: the audit header of a record -- its unique number, the
// creation date and user and the last-modification date and user -- with
// the column layout of the table that holds it. Column names are Prefix +
// "_" + one of the FD_HDR_ suffixes, read at the moment of use. Persistable
// under the class name "Velmora.AdoRecordHeader".
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/datetime.hpp"
#include "velmora/com/property_bag.hpp"

namespace velmora::ado {
class Recordset;
}

namespace velmora {

class AdoRecordHeader : public com::PersistableObject {
 public:
  static constexpr const char* kProgID = "Velmora.AdoRecordHeader";

  int32_t Unk() const noexcept { return unk_; }
  void Unk(int32_t value) noexcept { unk_ = value; }
  com::Date RcDate() const noexcept { return rcDate_; }
  void RcDate(com::Date value) noexcept { rcDate_ = value; }
  const std::string& RcUser() const noexcept { return rcUser_; }
  void RcUser(std::string value) { rcUser_ = std::move(value); }
  com::Date RmDate() const noexcept { return rmDate_; }
  void RmDate(com::Date value) noexcept { rmDate_ = value; }
  const std::string& RmUser() const noexcept { return rmUser_; }
  void RmUser(std::string value) { rmUser_ = std::move(value); }
  // True: the table has no UNK, RCDATE and RCUSER columns.
  bool Small() const noexcept { return small_; }
  void Small(bool value) noexcept { small_ = value; }

  // Bare column suffixes (never including the prefix).
  std::string FD_HDR_RMUSER() const { return "RMUSER"; }
  std::string FD_HDR_RMDATE() const { return "RMDATE"; }
  std::string FD_HDR_RCUSER() const { return "RCUSER"; }
  std::string FD_HDR_RCDATE() const { return "RCDATE"; }
  std::string FD_HDR_UNK() const { return "UNK"; }

  // Copies Unk, RcDate, RcUser, RmDate, RmUser, Prefix and TableName into
  // `target` through its own puts; Small and Simple stay the target's own.
  void CopyTo(const std::shared_ptr<AdoRecordHeader>& target) const;
  // The decimal text of Unk ("0" when unassigned).
  std::string Key() const { return std::to_string(unk_); }

  const std::string& Prefix() const noexcept { return prefix_; }
  void Prefix(std::string value) { prefix_ = std::move(value); }
  // Reads the header's columns of the current record (skipping those the
  // layout lacks); a Null becomes 0 or "".
  void RecordLoad(const std::shared_ptr<ado::Recordset>& rs);
  // Writes them (no Update). First fills what is missing: a new Unk from
  // GetUnk on TableName (not for a Small header), and the dates and user of
  // creation and of modification -- only when empty, so the modification
  // stamp is renewed only when the caller cleared it.
  void RecordSave(const std::shared_ptr<ado::Recordset>& rs);
  const std::string& TableName() const noexcept { return tableName_; }
  void TableName(std::string value) { tableName_ = std::move(value); }
  // True: the table has no RMDATE and RMUSER columns. Not persisted.
  bool Simple() const noexcept { return simple_; }
  void Simple(bool value) noexcept { simple_ = value; }

  // Persistence: the keys "Unk", "RcDate", "RcUser", "RmDate", "RmUser",
  // "Small", "Prefix", "TableName", each stored only when it differs from
  // its zero value. Simple is neither written nor read: a header restored
  // from a bag starts with Simple false, one that reads a bag keeps its own.
  std::string ProgID() const override { return kProgID; }
  void ReadProperties(com::PropertyBag& bag) override;
  void WriteProperties(com::PropertyBag& bag) override;

 private:
  int32_t unk_ = 0;
  com::Date rcDate_;
  std::string rcUser_;
  com::Date rmDate_;
  std::string rmUser_;
  bool small_ = false;
  bool simple_ = false;
  std::string tableName_;
  std::string prefix_;
};

using AdoRecordHeaderPtr = std::shared_ptr<AdoRecordHeader>;

}  // namespace velmora
