// The connection-string builders, the version and the replica comparison of
// AdoMacros: implemented in the facade class itself.
#include <utility>
#include <vector>

#include "velmora/ado/connection.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/version.hpp"

namespace velmora {
namespace {

bool Given(const std::string& argument) { return argument != kOmittedArgument; }

// "key=value;" for every given argument, in order, the last ";" removed.
std::string KeyList(const std::vector<std::pair<const char*, const std::string*>>& pairs) {
  std::string list;
  for (const auto& [key, value] : pairs) {
    if (Given(*value)) list += std::string(key) + *value + ";";
  }
  return Support().TrimTrailingSeparator(list, ";");
}

}  // namespace

std::string AdoMacros::SQLPROVIDER(const std::string& Server, const std::string& UID, const std::string& App,
                                   const std::string& WSID, const std::string& DATABASE,
                                   const std::string& TrustedConnection, const std::string& DSN,
                                   const std::string& Driver, const std::string& Provider) const {
  // Driver comes first although it is the eighth argument.
  std::string list = KeyList({{"DRIVER=", &Driver},
                              {"SERVER=", &Server},
                              {"UID=", &UID},
                              {"APP=", &App},
                              {"WSID=", &WSID},
                              {"DATABASE=", &DATABASE},
                              {"Trusted_Connection=", &TrustedConnection},
                              {"DSN=", &DSN}});
  if (!list.empty()) list = ";Extended Properties=\"" + list + "\"";
  return "Provider=" + Provider + list;
}

std::string AdoMacros::JETPROVIDER(const std::string& Source) const {
  std::string text = "Provider=Microsoft.Jet.OLEDB.4.0;";
  if (Given(Source)) text += "Data Source=" + Source + ";";
  return Support().TrimTrailingSeparator(text, ";");
}

void AdoMacros::AdoVersion(int32_t& Major, int32_t& Minor, int32_t& Build, int32_t& Qfe,
                           std::string& ToString) const {
  Major = VELMORA_VERSION_MAJOR;
  Minor = VELMORA_VERSION_MINOR;
  Build = VELMORA_VERSION_PATCH;
  Qfe = 0;
  const std::string manager = ado::DriverManagerVersion();
  ToString = std::string(VELMORA_VERSION_STRING) + ".0 (object model " + ado::Connection().Version() +
             ", ODBC driver manager " + (manager.empty() ? std::string("unknown") : manager) + ")";
}

int32_t AdoMacros::RecorsetsCompare(const std::string& OrigConn, const std::string& OrigTable,
                                    const std::string& OrigField, const std::string& ReplicaConn,
                                    const std::string& ReplicaTable, const std::string& ReplicaField) const {
  auto origin = std::make_shared<ado::Connection>();
  auto replica = std::make_shared<ado::Connection>();
  std::shared_ptr<ado::Recordset> originRows, replicaRows;
  const auto closeAll = [&] {
    RecordsetClose(originRows);
    RecordsetClose(replicaRows);
    ConnectionClose(origin);
    ConnectionClose(replica);
  };
  const auto greatest = [this](const std::shared_ptr<ado::Connection>& cn, const std::string& table,
                               const std::string& field) {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant("SELECT TOP 1 " + SQLName(field) + " FROM " + SQLName(table) + " ORDER BY " +
                          SQLName(field) + " DESC"),
             com::Variant(cn), ado::adOpenDynamic, ado::adLockReadOnly, ado::adCmdUnknown);
    return rs;
  };
  try {
    origin->Open(OrigConn);
    replica->Open(ReplicaConn);
    originRows = greatest(origin, OrigTable, OrigField);
    replicaRows = greatest(replica, ReplicaTable, ReplicaField);
    int32_t result = 0;
    if (originRows->IsEOF()) {
      result = replicaRows->IsEOF() ? 0 : 1;
    } else if (replicaRows->IsEOF()) {
      result = 1;
    } else {
      const com::Variant mine = FieldValueGet(originRows->Fields()->Item(com::Variant(OrigField)));
      const com::Variant theirs = FieldValueGet(replicaRows->Fields()->Item(com::Variant(ReplicaField)));
      const com::VarCompareResult order = com::VarCompare(mine, theirs);
      result = order == com::VarCompareResult::Less || order == com::VarCompareResult::Greater ? 1 : 0;
    }
    closeAll();
    return result;
  } catch (...) {
    closeAll();
    Reraise(ErrorSource("AdoMacros", "RecorsetsCompare"));
  }
}

}  // namespace velmora
