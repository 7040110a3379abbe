// The counter and table-lock members of AdoMacros: plain forwarders (the
// routines themselves give the default connection precedence).
#include "velmora/facade/ado_macros.hpp"

namespace velmora {

TableLockReturn AdoMacros::TableLock(const std::shared_ptr<ado::Connection>& dbConnection,
                                     const std::string& TableName, bool Activate, int32_t timeOut) const {
  return velmora::TableLockEx(dbConnection, TableName, Activate, timeOut, false);
}

TableLockReturn AdoMacros::TableLockEx(const std::shared_ptr<ado::Connection>& dbConnection,
                                       const std::string& TableName, bool Activate, int32_t timeOut,
                                       bool Force) const {
  return velmora::TableLockEx(dbConnection, TableName, Activate, timeOut, Force);
}

int32_t AdoMacros::GetUnk(const std::shared_ptr<ado::Connection>& dbConnection, const std::string& TableName,
                          int32_t timeOut) const {
  return velmora::GetUnk(dbConnection, TableName, timeOut);
}

}  // namespace velmora
