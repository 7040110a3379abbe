#pragma once
// Error numbers and raising: the objects' own errors (adErr...) and provider
// errors built from driver diagnostics. The diagnostics go to a listener as
// data before the error is raised: the connection keeps them as its Errors.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/com/error.hpp"

namespace velmora::ado::detail {

inline constexpr const char* kProviderSource = "Velmora.ado.odbc";
inline constexpr const char* kConnectionSource = "Velmora.ado.Connection";
inline constexpr const char* kRecordsetSource = "Velmora.ado.Recordset";
inline constexpr const char* kFieldSource = "Velmora.ado.Field";

struct ProviderDiag {
  std::string sqlState;
  int32_t nativeError = 0;
  std::string message;
};

// The error number for a SQLSTATE (table in docs/data-access.md).
int32_t NumberForSqlState(std::string_view sqlState);
// The error number of one diagnostic record (SQLite's lock conflicts,
// reported with a general SQLSTATE, are told by their result code).
int32_t NumberForDiag(const ProviderDiag& diag);

// Told the diagnostic records of every provider error before it is raised.
class DiagnosticsListener {
 public:
  virtual ~DiagnosticsListener() = default;
  // `diags` may be empty (the library found the failure itself): then
  // `raised` is the only record.
  virtual void Failed(const std::vector<ProviderDiag>& diags, const com::Error& raised) = 0;
};
// The standard description of one of the objects' own error numbers.
std::string AdoErrorDescription(int32_t number);

// The objects' own error `number`; `detail` (when given) is appended to the
// standard description, naming what failed. RaiseAdo raises it.
com::Error AdoError(int32_t number, const std::string& source, const std::string& detail = {});
[[noreturn]] void RaiseAdo(int32_t number, const std::string& source, const std::string& detail = {});

// Raises the first record as com::Error whose description starts with
// `what`, after telling `listener` (when given) every record.
[[noreturn]] void RaiseProvider(DiagnosticsListener* listener, const std::string& what,
                                const std::vector<ProviderDiag>& diags, int32_t fallbackNumber = -2147467259);

}  // namespace velmora::ado::detail
