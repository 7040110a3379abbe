#pragma once
// Moving the values of a system record between a Recordset's current row and
// its class, with the field routines (no Null ever reaches the class).
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/variant.hpp"

namespace velmora::ado {
class Connection;
class Recordset;
}  // namespace velmora::ado

namespace velmora::sysrecords {

// The value of column `name` of the current row, Null read as the column
// type's neutral value. Raises 91 when `rs` is Nothing and the data-access
// error of an unknown column.
com::Variant ReadColumn(const std::shared_ptr<ado::Recordset>& rs, const std::string& name);
// ReadColumn converted to the type of a record's member. A value that does
// not convert raises the conversion's error (13 type mismatch, 6 overflow)
// with the field named in its description.
int32_t ReadLong(const std::shared_ptr<ado::Recordset>& rs, const std::string& name);
com::Date ReadDate(const std::shared_ptr<ado::Recordset>& rs, const std::string& name);
std::string ReadText(const std::shared_ptr<ado::Recordset>& rs, const std::string& name);
// Writes `value` into column `name` of the current row (no Update).
void WriteColumn(const std::shared_ptr<ado::Recordset>& rs, const std::string& name, const com::Variant& value);

// The connection a Recordset is open on (Nothing when it has none).
std::shared_ptr<ado::Connection> ActiveConnection(const std::shared_ptr<ado::Recordset>& rs);

// The key of a numbered index: the number in twelve zero-filled digits.
std::string NumberKey(int32_t number);
// Equality without regard to case (index names, user names, lock flags).
bool SameText(const std::string& a, const std::string& b);
// Raises 20000 "Not a valid index" (no Source).
[[noreturn]] void RaiseNotAValidIndex();
// Raises 91 (object variable not set) for a Nothing argument of `procedure`.
[[noreturn]] void RaiseNothing(const char* className, const char* procedure);

}  // namespace velmora::sysrecords
