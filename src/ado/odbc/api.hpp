#pragma once
// ODBC handles as move-only owners whose handle kind is part of the type,
// and the diagnostic records of a failed call. Only src/ado/odbc includes
// this header (and with it the ODBC headers).
#include <sql.h>
#include <sqlext.h>

#include <string>
#include <utility>
#include <vector>

#include "ado/error_map.hpp"

namespace velmora::ado::odbc {

template <SQLSMALLINT Kind>
class Handle {
 public:
  Handle() = default;
  // Allocates a handle of this kind under `parent` (SQL_NULL_HANDLE for an environment).
  static Handle Allocate(SQLHANDLE parent, SQLRETURN& rc) {
    Handle h;
    rc = SQLAllocHandle(Kind, parent, &h.raw_);
    if (!SQL_SUCCEEDED(rc)) h.raw_ = nullptr;
    return h;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle(Handle&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      Reset();
      raw_ = std::exchange(other.raw_, nullptr);
    }
    return *this;
  }
  ~Handle() { Reset(); }

  void Reset() noexcept {
    if (raw_ != nullptr) SQLFreeHandle(Kind, raw_);
    raw_ = nullptr;
  }
  SQLHANDLE Get() const noexcept { return raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }
  static constexpr SQLSMALLINT kKind = Kind;

 private:
  SQLHANDLE raw_ = nullptr;
};

using EnvHandle = Handle<SQL_HANDLE_ENV>;
using DbcHandle = Handle<SQL_HANDLE_DBC>;
using StmtHandle = Handle<SQL_HANDLE_STMT>;

using DiagRecord = detail::ProviderDiag;

// Every diagnostic record of the last call on a handle (wide calls when the
// driver speaks UTF-16, so that messages keep their characters).
std::vector<DiagRecord> ReadDiagnostics(SQLSMALLINT kind, SQLHANDLE handle, bool wide);

template <SQLSMALLINT Kind>
std::vector<DiagRecord> ReadDiagnostics(const Handle<Kind>& h, bool wide) {
  return ReadDiagnostics(Kind, h.Get(), wide);
}

}  // namespace velmora::ado::odbc
