#pragma once
// The DDL of the system tables SYS_UNK (unique-key counters) and SYS_LOCK
// (table locks). Creating them is the
// application's business; these statements give each table the unique keys
// the counters and locks rest on (SU_TABLE; LK_UNK and LK_NAME).
#include <memory>
#include <string>
#include <vector>

#include "velmora/ado/connection.hpp"

namespace velmora {

// The statements that create both tables, their primary keys and the
// unique index IX_LK_NAME, in the library's bracketed dialect: a
// Connection's Execute (with DialectRewriting on, the default) rewrites them
// for its engine; TranslateSql shows the engine's text. Each statement
// leaves an existing table or index alone, so running them again changes
// nothing.
std::vector<std::string> SystemTablesDdl();

// Runs SystemTablesDdl on the connection.
void CreateSystemTables(const std::shared_ptr<ado::Connection>& connection);

}  // namespace velmora
