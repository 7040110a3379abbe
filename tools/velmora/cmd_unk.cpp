// `velmora unk CONNECTION TABLE [N]`: draws N (default 1) numbers from the
// counter of TABLE in SYS_UNK and prints them, one a line.
#include <charconv>
#include <iostream>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::tool {

VELMORA_COMMAND("unk", "CONNECTION TABLE [N]", "draws N (default 1) unique numbers for TABLE from SYS_UNK") {
  if (args.size() < 2 || args.size() > 3) return UsageError("unk", "expected CONNECTION TABLE [N]");
  int count = 1;
  if (args.size() == 3) {
    const std::string& text = args[2];
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count < 1) {
      return UsageError("unk", "N must be a whole number from 1, got '" + text + "'");
    }
  }
  const auto connection = OpenConnectionArgument(args[0], false);
  for (int i = 0; i < count; ++i) std::cout << GetUnk(connection, args[1]) << '\n';
  return kExitOk;
}

}  // namespace velmora::tool
