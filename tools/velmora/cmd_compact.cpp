// `velmora compact FILE`: compacts the database file in place and prints
// its size before and after.
#include <filesystem>
#include <iostream>

#include "command.hpp"
#include "velmora/schema/maintenance.hpp"

namespace velmora::tool {

VELMORA_COMMAND("compact", "FILE", "compacts the database FILE in place and prints its size before and after") {
  if (args.size() != 1) return UsageError("compact", "expected FILE");
  const std::string& file = args[0];
  std::error_code ec;
  const auto before = std::filesystem::file_size(file, ec);
  CompactMdb(file);  // raises on failure: the error line and exit 1 come from main
  std::cout << "before: " << before << " bytes\n";
  std::cout << "after: " << std::filesystem::file_size(file) << " bytes\n";
  return kExitOk;
}

}  // namespace velmora::tool
