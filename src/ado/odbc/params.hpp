#pragma once
// Values bound to the `?` markers of a statement: each Variant is converted
// once into a buffer of the C type that carries it exactly (integers as
// 64-bit, exact numerics as text, dates as timestamps, text in the driver's
// width, bytes as they are), declared with the SQL type of its column.
#include <memory>
#include <vector>

#include "ado/odbc/api.hpp"
#include "ado/odbc/session.hpp"

namespace velmora::ado::odbc {

class BoundParams {
 public:
  // Raises (description starting with `what`) for a text value that is not
  // valid UTF-8 or holds a NUL character.
  BoundParams(const std::vector<detail::Session::Param>& params, const dialect::Dialect& dialect, bool wide,
              const std::string& what);
  // Binds every value to the statement (the buffers live as long as this object).
  SQLRETURN BindTo(SQLHSTMT stmt);

 private:
  struct Slot {
    std::vector<char> data;
    SQLLEN indicator = 0;
    SQLSMALLINT cType = SQL_C_CHAR;
    SQLSMALLINT sqlType = SQL_VARCHAR;
    SQLULEN columnSize = 0;
    SQLSMALLINT digits = 0;
  };
  void Fill(Slot& slot, const com::Variant& value, int32_t adoType) const;

  std::vector<Slot> slots_;
  const dialect::Dialect& dialect_;
  bool wide_;
};

}  // namespace velmora::ado::odbc
