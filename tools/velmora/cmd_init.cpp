// `velmora init CONNECTION`: creates the system tables SYS_UNK and SYS_LOCK
// with their unique keys (a new SQLite file when CONNECTION is a path that
// does not exist yet). Tables already there are left as they are.
#include <iostream>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/sysrecords/system_tables.hpp"

namespace velmora::tool {

VELMORA_COMMAND("init", "CONNECTION",
                "creates the counter and lock tables SYS_UNK and SYS_LOCK (CONNECTION: a connection string or "
                "an SQLite file path)") {
  if (args.size() != 1) return UsageError("init", "expected CONNECTION");
  const auto connection = OpenConnectionArgument(args[0], true);
  CreateSystemTables(connection);
  std::cout << "SYS_UNK and SYS_LOCK are ready\n";
  return kExitOk;
}

}  // namespace velmora::tool
