#include "ado/error_map.hpp"

#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::detail {

int32_t NumberForSqlState(std::string_view s) {
  auto is = [&](std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; };
  if (is("42S02") || is("42P01") || is("S0002")) return DB_E_NOTABLE;
  if (is("42") || is("37")) return DB_E_ERRORSINCOMMAND;
  if (is("23")) return DB_E_INTEGRITYVIOLATION;
  if (is("22") || is("07006")) return DB_E_CANTCONVERTVALUE;
  if (is("28")) return DB_SEC_E_AUTH_FAILED;
  if (is("HYT") || is("57014")) return DB_E_ABORTLIMITREACHED;
  if (is("HY008")) return DB_E_CANCELED;
  if (is("HYC00") || is("IM001") || is("0A")) return DB_E_NOTSUPPORTED;
  if (is("40") || is("55P03")) return DB_E_CONCURRENCYVIOLATION;
  return E_FAIL_;
}

namespace {

// The message without the "[vendor]" tags that drivers put before it.
std::string_view WithoutTags(std::string_view message) {
  while (!message.empty() && message.front() == '[') {
    const size_t end = message.find(']');
    if (end == std::string_view::npos) break;
    message.remove_prefix(end + 1);
  }
  return message;
}

bool StartsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// SQLite reports a file or table locked by another connection with a general
// SQLSTATE; its result code (SQLITE_BUSY 5, SQLITE_LOCKED 6, in the low byte
// of an extended code) and message tell it apart.
bool IsEngineLockConflict(const ProviderDiag& d) {
  const int32_t code = d.nativeError & 0xff;
  const std::string_view text = WithoutTags(d.message);
  return (code == 5 || code == 6) &&
         (StartsWith(text, "database is locked") || StartsWith(text, "database table is locked") ||
          StartsWith(text, "database schema is locked"));
}

}  // namespace

int32_t NumberForDiag(const ProviderDiag& d) {
  return IsEngineLockConflict(d) ? DB_E_CONCURRENCYVIOLATION : NumberForSqlState(d.sqlState);
}

std::string AdoErrorDescription(int32_t number) {
  switch (number) {
    case adErrInvalidArgument:
      return "Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another.";
    case adErrNoCurrentRecord:
      return "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
             "current record.";
    case adErrIllegalOperation: return "Operation is not allowed in this context.";
    case adErrFeatureNotAvailable:
      return "Object or provider is not capable of performing requested operation.";
    case adErrItemNotFound:
      return "Item cannot be found in the collection corresponding to the requested name or ordinal.";
    case adErrObjectNotSet: return "Object is no longer valid.";
    case adErrDataConversion: return "Application uses a value of the wrong type for the current operation.";
    case adErrObjectClosed: return "Operation is not allowed when the object is closed.";
    case adErrObjectOpen: return "Operation is not allowed when the object is open.";
    case adErrProviderNotFound: return "Provider cannot be found. It may not be properly installed.";
    case adErrInvalidConnection:
      return "The connection cannot be used to perform this operation. It is either closed or invalid in this "
             "context.";
    case DB_E_CANTFETCHBACKWARDS: return "The rowset does not support fetching backward.";
    case DB_E_BADINITSTRING:
      return "Format of the initialization string does not conform to the connection-string rules.";
    default: return "Unspecified error.";
  }
}

com::Error AdoError(int32_t number, const std::string& source, const std::string& detail) {
  std::string description = AdoErrorDescription(number);
  if (!detail.empty()) description += " (" + detail + ")";
  return com::Error(number, description, source);
}

void RaiseAdo(int32_t number, const std::string& source, const std::string& detail) {
  throw AdoError(number, source, detail);
}

namespace {

com::Error ProviderError(const std::string& what, const std::vector<ProviderDiag>& diags, int32_t fallbackNumber) {
  if (diags.empty()) return com::Error(fallbackNumber, what, kProviderSource);
  const ProviderDiag& first = diags.front();
  const int32_t number = first.sqlState.empty() && !IsEngineLockConflict(first) ? fallbackNumber : NumberForDiag(first);
  return com::Error(number, what + ": " + first.message + " (SQLSTATE " + first.sqlState + ")", kProviderSource);
}

}  // namespace

void RaiseProvider(DiagnosticsListener* listener, const std::string& what, const std::vector<ProviderDiag>& diags,
                   int32_t fallbackNumber) {
  const com::Error raised = ProviderError(what, diags, fallbackNumber);
  if (listener) listener->Failed(diags, raised);
  throw raised;
}

}  // namespace velmora::ado::detail
