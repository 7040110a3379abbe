#pragma once
// What the schema-reading routines share: the DBMS of the flags, reading a
// field of the current row the Null-free way, opening the recordsets they
// read, and statements whose failure is ignored.
#include <memory>
#include <string>

#include "velmora/ado/recordset.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora::schema {

// The DBMS of the flags' connection options ("SQL" without flags); any other
// than "JET" and "SQL" raises 20000 "DBMS non supportato.".
std::string DbmsOf(const AdoFlagsPtr& flags);

// The value of field `name` of the current row through FieldValueGet
// (Null becomes the field type's neutral value).
com::Variant ValueOf(const ado::Recordset& rs, const std::string& name);
std::string TextOf(const ado::Recordset& rs, const std::string& name);
// A whole number or a flag of the catalogue views: the server types them,
// so Null reads as 0; where an engine cannot type a view's column (SQLite
// types a computed column by its values), Null reads as "" and is taken as
// 0 too.
int32_t NumberOf(const ado::Recordset& rs, const std::string& name);
bool FlagOf(const ado::Recordset& rs, const std::string& name);

// Opens `sql` on `cnn` as a dynamic cursor of the given lock type.
std::shared_ptr<ado::Recordset> OpenQuery(const std::shared_ptr<ado::Connection>& cnn, const std::string& sql,
                                          int32_t lockType);

// Runs a routine's body; on every exit the recordset the body opened in `rs`
// is closed, and a failure is re-raised with the routine's Source
// ("Velmora.modAdoSupport.<name>"). Returns false: the routine succeeded.
template <typename Body>
bool RunRoutine(const char* name, std::shared_ptr<ado::Recordset>& rs, Body body) {
  try {
    body();
    RecordsetClose(rs);
    return false;
  } catch (...) {
    RecordsetClose(rs);
    Reraise(ErrorSource("modAdoSupport", name));
  }
}

// Runs `statement`; an error it raises is dropped and the caller goes on.
template <typename Statement>
void IgnoringErrors(Statement statement) noexcept {
  try {
    statement();
  } catch (...) {
    // the statement is skipped
  }
}

}  // namespace velmora::schema
