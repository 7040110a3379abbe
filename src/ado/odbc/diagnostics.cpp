#include "ado/odbc/api.hpp"

#include "com/utf.hpp"

namespace velmora::ado::odbc {

namespace {

bool ReadOneWide(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT index, DiagRecord& out) {
  SQLWCHAR state[6] = {};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  std::u16string message(512, u'\0');
  SQLRETURN rc = SQLGetDiagRecW(kind, handle, index, state, &native, reinterpret_cast<SQLWCHAR*>(message.data()),
                                static_cast<SQLSMALLINT>(message.size()), &length);
  if (rc == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(message.size())) {
    message.assign(static_cast<size_t>(length) + 1, u'\0');
    rc = SQLGetDiagRecW(kind, handle, index, state, &native, reinterpret_cast<SQLWCHAR*>(message.data()),
                        static_cast<SQLSMALLINT>(message.size()), &length);
  }
  if (!SQL_SUCCEEDED(rc)) return false;
  message.resize(std::min<size_t>(static_cast<size_t>(length), message.size()));
  out.sqlState.clear();
  for (SQLWCHAR c : state) {
    if (c) out.sqlState.push_back(static_cast<char>(c));
  }
  out.nativeError = native;
  out.message.clear();
  com::detail::AppendUtf8FromUtf16(out.message, message);
  return true;
}

bool ReadOneNarrow(SQLSMALLINT kind, SQLHANDLE handle, SQLSMALLINT index, DiagRecord& out) {
  SQLCHAR state[6] = {};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  std::string message(1024, '\0');
  SQLRETURN rc = SQLGetDiagRec(kind, handle, index, state, &native, reinterpret_cast<SQLCHAR*>(message.data()),
                               static_cast<SQLSMALLINT>(message.size()), &length);
  if (rc == SQL_SUCCESS_WITH_INFO && length >= static_cast<SQLSMALLINT>(message.size())) {
    message.assign(static_cast<size_t>(length) + 1, '\0');
    rc = SQLGetDiagRec(kind, handle, index, state, &native, reinterpret_cast<SQLCHAR*>(message.data()),
                       static_cast<SQLSMALLINT>(message.size()), &length);
  }
  if (!SQL_SUCCEEDED(rc)) return false;
  message.resize(std::min<size_t>(static_cast<size_t>(length), message.size()));
  out.sqlState.assign(reinterpret_cast<const char*>(state));
  out.nativeError = native;
  out.message = std::move(message);
  return true;
}

}  // namespace

std::vector<DiagRecord> ReadDiagnostics(SQLSMALLINT kind, SQLHANDLE handle, bool wide) {
  std::vector<DiagRecord> records;
  if (handle == SQL_NULL_HANDLE) return records;
  for (SQLSMALLINT i = 1;; ++i) {
    DiagRecord r;
    if (!(wide ? ReadOneWide(kind, handle, i, r) : ReadOneNarrow(kind, handle, i, r))) break;
    records.push_back(std::move(r));
  }
  return records;
}

}  // namespace velmora::ado::odbc
