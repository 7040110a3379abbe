// GetUnk: the next number of a table's counter in SYS_UNK.
#include <optional>
#include <stdexcept>

#include "sysrecords/attempts.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/com/error.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/support/default_connection.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/sysrecords/ado_unk.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora {
namespace {

int32_t Incremented(int32_t value) {
  if (value == INT32_MAX) com::Raise(com::errOverflow);
  return value + 1;
}

// One read-modify-write of the counter row on an open Recordset. Returns
// the number drawn, or nothing when the attempt failed -- the row locked or
// changed by another session, a simultaneous first insert, a counter at its
// maximum -- in which case the Recordset is closed and the caller tries
// again.
std::optional<int32_t> TryDraw(std::shared_ptr<ado::Recordset>& rs, AdoUnk& unk, const std::string& table) {
  try {
    if (rs->IsEOF()) {
      rs->AddNew();
      unk.SU_VALUE(1);
    } else {
      unk.RecordLoad(rs);
      unk.SU_VALUE(Incremented(unk.SU_VALUE()));
    }
    unk.SU_TABLE(table);
    unk.RecordSave(rs);
    rs->Update();
    return unk.SU_VALUE();
  } catch (const std::exception&) {
    RecordsetClose(rs);
    return std::nullopt;
  }
}

}  // namespace

int32_t GetUnk(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
               int32_t timeOut) {
  try {
    const auto connection = support::EffectiveConnection(dbConnection);
    const int32_t deadline = sysrecords::DeadlineAfter(timeOut);
    // One working record for the whole call, kept across attempts.
    auto unk = std::make_shared<AdoUnk>();
    const std::string query = sysrecords::CounterQuery(TableName);
    for (;;) {
      if (sysrecords::DeadlinePassed(deadline)) com::Raise(com::errLibrary, "Timeout expired.");
      const sysrecords::AttemptTimeout bounded(connection, deadline);
      auto rs = sysrecords::OpenAttempt(connection, query);
      if (!rs) continue;
      if (const auto number = TryDraw(rs, *unk, TableName)) {
        RecordsetClose(rs);
        return *number;
      }
    }
  } catch (...) {
    Reraise(ErrorSource("modAdoSupport", "GetUnk"));
  }
}

}  // namespace velmora
