#pragma once
// AdoUnk: one row of the unique-key counter table SYS_UNK -- the name of the
// application table a counter serves and the last number handed out for it.
// Its header is a Small one (the table has SU_RMDATE and SU_RMUSER only), so
// saving a counter row never asks for a number itself. Persistable under
// "Velmora.AdoUnk".
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/property_bag.hpp"
#include "velmora/sysrecords/record_header.hpp"

namespace velmora::ado {
class Recordset;
}

namespace velmora {

class AdoUnk : public com::PersistableObject {
 public:
  static constexpr const char* kProgID = "Velmora.AdoUnk";

  // Creates the header with Prefix "SU", TableName "SYS_UNK" and Small true.
  AdoUnk();

  // The row's header, created (without any layout) on first use when
  // Nothing was assigned.
  AdoRecordHeaderPtr Header();
  void Header(AdoRecordHeaderPtr value) { header_ = std::move(value); }

  const std::string& SU_TABLE() const noexcept { return table_; }
  void SU_TABLE(std::string value) { table_ = std::move(value); }
  int32_t SU_VALUE() const noexcept { return value_; }
  void SU_VALUE(int32_t value) noexcept { value_ = value; }
  std::string TableName() const { return TB_SYS_UNK(); }

  // Copies the own header onto itself (the target's header is left as it
  // is), then SU_TABLE and SU_VALUE into `target`.
  void CopyTo(const std::shared_ptr<AdoUnk>& target);

  std::string FD_SU_VALUE() const { return "SU_VALUE"; }
  std::string Prefix() const { return PFX_SYS_UNK(); }

  // Reads the header, SU_TABLE and SU_VALUE from the current record.
  void RecordLoad(const std::shared_ptr<ado::Recordset>& rs);
  // Writes the header, SU_TABLE and SU_VALUE into the current record (the
  // caller calls Update).
  void RecordSave(const std::shared_ptr<ado::Recordset>& rs);

  // The key of an index, named without regard to case: "SU_TABLE" gives
  // SU_TABLE, "SU_VALUE" gives SU_VALUE in twelve zero-filled digits; any
  // other name raises 20000 "Not a valid index".
  std::string Key(const std::string& Index) const;

  std::string FD_SU_TABLE() const { return "SU_TABLE"; }
  std::string FD_SU_RMUSER() const { return "SU_RMUSER"; }
  std::string FD_SU_RMDATE() const { return "SU_RMDATE"; }
  std::string PFX_SYS_UNK() const { return "SU"; }
  std::string TB_SYS_UNK() const { return "SYS_UNK"; }

  // Persistence. Written: "Header", then SU_TABLE under the key that is its
  // own value, then SU_VALUE under the key that is its decimal text. Read:
  // "Header", SU_TABLE from "SU_TABLE", SU_VALUE from "SU_VALUE". The keys
  // differ on purpose: a restored object keeps only its header (unless a
  // value happens to equal its key).
  std::string ProgID() const override { return kProgID; }
  void ReadProperties(com::PropertyBag& bag) override;
  void WriteProperties(com::PropertyBag& bag) override;

 private:
  AdoRecordHeaderPtr header_;
  std::string table_;
  int32_t value_ = 0;
};

using AdoUnkPtr = std::shared_ptr<AdoUnk>;

}  // namespace velmora
