#include "velmora/sysrecords/system_tables.hpp"

#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {
namespace {

// Names of tables and users are text without a length limit, so that no
// name is ever cut when stored: names that share a long beginning stay
// apart, each with its own counter and its own lock.
const std::vector<std::string> kDdl{
    "CREATE TABLE IF NOT EXISTS [SYS_UNK] ([SU_TABLE] TEXT NOT NULL, [SU_VALUE] INTEGER NOT NULL, "
    "[SU_RMDATE] TIMESTAMP, [SU_RMUSER] TEXT, CONSTRAINT [PK_SYS_UNK] PRIMARY KEY ([SU_TABLE]))",
    "CREATE TABLE IF NOT EXISTS [SYS_LOCK] ([LK_UNK] INTEGER NOT NULL, [LK_NAME] TEXT NOT NULL, "
    "[LK_LOCKED] VARCHAR(1), [LK_RCDATE] TIMESTAMP, [LK_RCUSER] TEXT, [LK_RMDATE] TIMESTAMP, "
    "[LK_RMUSER] TEXT, CONSTRAINT [PK_SYS_LOCK] PRIMARY KEY ([LK_UNK]))",
    "CREATE UNIQUE INDEX IF NOT EXISTS [IX_LK_NAME] ON [SYS_LOCK] ([LK_NAME])",
};

}  // namespace

std::vector<std::string> SystemTablesDdl() { return kDdl; }

void CreateSystemTables(const std::shared_ptr<ado::Connection>& connection) {
  if (!connection) com::Raise(91, {}, ErrorSource("modAdoSupport", "CreateSystemTables"));
  for (const std::string& statement : kDdl) connection->Execute(statement);
}

}  // namespace velmora
