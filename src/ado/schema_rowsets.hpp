#pragma once
// Schema rowsets (tables, columns, indexes, primary keys) built from the ODBC
// catalog functions, with the OLE DB column names, order and restrictions.
#include <cstdint>
#include <memory>

#include "ado/cursor.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado::detail {

class Session;

// Raises adErrFeatureNotAvailable for schemas other than 4, 12, 20 and 28.
std::unique_ptr<RowSource> BuildSchemaRowset(Session& session, int32_t schema, const com::Variant& criteria);

}  // namespace velmora::ado::detail
