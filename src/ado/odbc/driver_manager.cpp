#include "ado/odbc/driver_manager.hpp"

#include "ado/odbc/api.hpp"

namespace velmora::ado::odbc {

// The driver manager answers SQL_DM_VER on a connection handle that is not
// connected: no driver is loaded.
std::string DriverManagerVersion() {
  SQLRETURN rc = SQL_ERROR;
  EnvHandle env = EnvHandle::Allocate(SQL_NULL_HANDLE, rc);
  if (!env) return {};
  SQLSetEnvAttr(env.Get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  DbcHandle dbc = DbcHandle::Allocate(env.Get(), rc);
  if (!dbc) return {};
  char text[64] = {};
  SQLSMALLINT length = 0;
  if (!SQL_SUCCEEDED(SQLGetInfo(dbc.Get(), SQL_DM_VER, text, sizeof text, &length))) return {};
  return text;
}

}  // namespace velmora::ado::odbc
