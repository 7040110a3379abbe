// The `velmora` command-line tool: dispatches on its first argument to the
// commands registered with VELMORA_COMMAND.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "command.hpp"
#include "velmora/com/error.hpp"
#include "velmora/version.hpp"

namespace velmora::tool {
namespace {

// Kept sorted by name, so that --help lists commands in a stable order.
std::vector<Command>& Registry() {
  static std::vector<Command> commands;
  return commands;
}

const Command* FindCommand(const std::string& name) {
  const auto& commands = Commands();
  const auto found = std::ranges::find(commands, name, &Command::name);
  return found == commands.end() ? nullptr : &*found;
}

void PrintHelp(std::ostream& out) {
  out << "usage: velmora <command> [arguments]\n"
         "       velmora <command> --help\n"
         "       velmora --help | --version\n\n"
         "commands:\n";
  for (const auto& command : Commands()) {
    out << "  " << command.name << (command.usage.empty() ? "" : " ") << command.usage << "\n"
        << "      " << command.summary << "\n";
  }
  out << "\nexit codes: 0 success, 1 the operation failed, 2 bad usage\n";
}

void PrintCommandHelp(const Command& command) {
  std::cout << "usage: velmora " << command.name << (command.usage.empty() ? "" : " ") << command.usage << "\n"
            << command.summary << "\n";
}

int RunCommand(const Command& command, const std::vector<std::string>& args) {
  try {
    return command.run(args);
  } catch (const com::Error& e) {
    std::cerr << "velmora " << command.name << ": error " << e.Number();
    if (!e.Source().empty()) std::cerr << " (" << e.Source() << ")";
    std::cerr << ": " << e.what() << "\n";
  } catch (const std::exception& e) {
    std::cerr << "velmora " << command.name << ": " << e.what() << "\n";
  }
  return kExitFailed;
}

}  // namespace

bool RegisterCommand(Command command) {
  auto& commands = Registry();
  const auto place = std::ranges::lower_bound(commands, command.name, {}, &Command::name);
  if (place != commands.end() && place->name == command.name) {
    // Two commands with one name is a build mistake; say so at once.
    std::cerr << "velmora: command '" << command.name << "' is registered twice\n";
    std::abort();
  }
  commands.insert(place, std::move(command));
  return true;
}

const std::vector<Command>& Commands() { return Registry(); }

int UsageError(const std::string& command, const std::string& message) {
  std::cerr << "velmora " << command << ": " << message << "\n";
  if (const Command* found = FindCommand(command)) {
    std::cerr << "usage: velmora " << found->name << (found->usage.empty() ? "" : " ") << found->usage << "\n";
  }
  return kExitUsage;
}

int Main(const std::vector<std::string>& argv) {
  if (argv.empty()) {
    PrintHelp(std::cerr);
    return kExitUsage;
  }
  const std::string& first = argv.front();
  if (first == "--help" || first == "-h" || first == "help") {
    PrintHelp(std::cout);
    return kExitOk;
  }
  if (first == "--version") {
    std::cout << "velmora " << VELMORA_VERSION_STRING << "\n";
    return kExitOk;
  }
  const Command* command = FindCommand(first);
  if (command == nullptr) {
    std::cerr << "velmora: unknown command '" << first << "' (see velmora --help)\n";
    return kExitUsage;
  }
  const std::vector<std::string> args(argv.begin() + 1, argv.end());
  if (args.size() == 1 && (args.front() == "--help" || args.front() == "-h")) {
    PrintCommandHelp(*command);
    return kExitOk;
  }
  return RunCommand(*command, args);
}

}  // namespace velmora::tool

int main(int argc, char** argv) { return velmora::tool::Main(std::vector<std::string>(argv + 1, argv + argc)); }
