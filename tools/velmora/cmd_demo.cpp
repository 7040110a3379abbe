// `velmora demo`: the tool's main job on the embedded default engine. It
// shows what the library does, one section per subject.
#include <iostream>
#include <algorithm>

#include "command.hpp"

namespace velmora::tool {
namespace {

// Runs another registered command as one section of the demo.
int RunSection(std::string_view title, std::string_view name) {
  std::cout << "== " << title << " ==\n";
  const auto& commands = Commands();
  const auto found = std::ranges::find(commands, name, &Command::name);
  if (found == commands.end()) {
    std::cerr << "velmora demo: command '" << name << "' is missing\n";
    return kExitFailed;
  }
  const int rc = found->run({});
  std::cout << "\n";
  return rc;
}

}  // namespace

VELMORA_COMMAND("demo", "", "the main job on the embedded default: shows what the library does") {
  if (!args.empty()) return UsageError("demo", "takes no arguments");
  std::cout << "Velmora demo\n\n";
  return RunSection("Type tables", "types");
}

}  // namespace velmora::tool
