#pragma once
// Error numbers and raising: the objects' own errors (adErr...) and provider
// errors built from driver diagnostics, which also fill Connection.Errors.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/ado/errors.hpp"
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
// The standard description of one of the objects' own error numbers.
std::string AdoErrorDescription(int32_t number);

// The objects' own error `number`; `detail` (when given) is appended to the
// standard description, naming what failed. RaiseAdo raises it.
com::Error AdoError(int32_t number, const std::string& source, const std::string& detail = {});
[[noreturn]] void RaiseAdo(int32_t number, const std::string& source, const std::string& detail = {});

// Replaces the contents of `errors` (when given) with one Error per record
// and raises the first as com::Error whose description starts with `what`.
[[noreturn]] void RaiseProvider(Errors* errors, const std::string& what, const std::vector<ProviderDiag>& diags,
                                int32_t fallbackNumber = -2147467259);

}  // namespace velmora::ado::detail
