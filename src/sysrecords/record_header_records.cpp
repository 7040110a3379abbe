// AdoRecordHeader: loading from and saving into the current record of a
// Recordset.
#include "sysrecords/record_fields.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/record_header.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora {
namespace {

// A fresh number is asked for with the counter's usual time-out.
constexpr int32_t kUnkTimeOut = 30;

std::string ColumnName(const std::string& prefix, const std::string& suffix) { return prefix + "_" + suffix; }

}  // namespace

void AdoRecordHeader::RecordLoad(const std::shared_ptr<ado::Recordset>& rs) {
  using sysrecords::ReadDate;
  using sysrecords::ReadText;
  if (!small_) {
    unk_ = sysrecords::ReadLong(rs, ColumnName(prefix_, FD_HDR_UNK()));
    rcDate_ = ReadDate(rs, ColumnName(prefix_, FD_HDR_RCDATE()));
    rcUser_ = ReadText(rs, ColumnName(prefix_, FD_HDR_RCUSER()));
  }
  if (!simple_) {
    rmDate_ = ReadDate(rs, ColumnName(prefix_, FD_HDR_RMDATE()));
    rmUser_ = ReadText(rs, ColumnName(prefix_, FD_HDR_RMUSER()));
  }
}

void AdoRecordHeader::RecordSave(const std::shared_ptr<ado::Recordset>& rs) {
  using sysrecords::WriteColumn;
  // Every default is assigned before anything is written, so that the
  // object ends up holding exactly what was stored.
  if (!small_) {
    if (unk_ == 0) {
      unk_ = GetUnk(sysrecords::ActiveConnection(rs), tableName_, kUnkTimeOut);
      if (unk_ == 0) Support().NoUniqueNumber();
    }
    if (rcDate_.value == 0) rcDate_ = com::Now();
    if (rcUser_.empty()) rcUser_ = Support().UserName();
  }
  // Filled only when empty, not renewed on every save: a caller that wants
  // a new modification stamp clears both first.
  if (rmDate_.value == 0) rmDate_ = com::Now();
  if (rmUser_.empty()) rmUser_ = Support().UserName();
  if (!small_) {
    WriteColumn(rs, ColumnName(prefix_, FD_HDR_UNK()), unk_);
    WriteColumn(rs, ColumnName(prefix_, FD_HDR_RCDATE()), rcDate_);
    WriteColumn(rs, ColumnName(prefix_, FD_HDR_RCUSER()), rcUser_);
  }
  if (!simple_) {
    WriteColumn(rs, ColumnName(prefix_, FD_HDR_RMDATE()), rmDate_);
    WriteColumn(rs, ColumnName(prefix_, FD_HDR_RMUSER()), rmUser_);
  }
}

}  // namespace velmora
