// `velmora compare ORIGCONN ORIGTABLE ORIGFIELD REPLICACONN REPLICATABLE
// REPLICAFIELD`: whether the replica table caught up with its origin
// (RecorsetsCompare: the greatest values of the two columns).
#include <iostream>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/facade/ado_macros.hpp"

namespace velmora::tool {
namespace {

// Exit code of a comparison that found the two sides different.
constexpr int kExitDifferent = 3;

}  // namespace

VELMORA_COMMAND("compare", "ORIGCONN ORIGTABLE ORIGFIELD REPLICACONN REPLICATABLE REPLICAFIELD",
                "tells whether a replica table caught up with its origin (exit 0 equal, 3 different)") {
  if (args.size() != 6) {
    return UsageError("compare", "expected ORIGCONN ORIGTABLE ORIGFIELD REPLICACONN REPLICATABLE REPLICAFIELD");
  }
  const int32_t result = Macros().RecorsetsCompare(ConnectionStringArgument(args[0]), args[1], args[2],
                                                   ConnectionStringArgument(args[3]), args[4], args[5]);
  std::cout << (result == 0 ? "equal" : "different") << '\n';
  return result == 0 ? kExitOk : kExitDifferent;
}

}  // namespace velmora::tool
