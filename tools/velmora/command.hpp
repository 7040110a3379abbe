#pragma once
// Sub-commands of the `velmora` tool. Each command lives in its own
// cmd_<name>.cpp and registers itself with VELMORA_COMMAND; main.cpp
// dispatches on the first argument.
//
// Exit codes: 0 success, 1 the operation failed (an error was raised),
// 2 bad usage; a command may define more (documented in its usage text).
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace velmora::tool {

struct Command {
  std::string name;
  std::string usage;    // one line: arguments after the name
  std::string summary;  // one line
  std::function<int(const std::vector<std::string>& args)> run;
};

bool RegisterCommand(Command command);
const std::vector<Command>& Commands();

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Prints a usage error for `command` on stderr and returns kExitUsage.
int UsageError(const std::string& command, const std::string& message);

}  // namespace velmora::tool

#define VELMORA_TOOL_CAT2(a, b) a##b
#define VELMORA_TOOL_CAT(a, b) VELMORA_TOOL_CAT2(a, b)
// VELMORA_COMMAND("name", "ARGS", "summary") { ... return exit code; }
#define VELMORA_COMMAND(name, usage, summary)                                                  \
  static int VELMORA_TOOL_CAT(velmora_cmd_, __LINE__)(const std::vector<std::string>& args);   \
  [[maybe_unused]] static const bool VELMORA_TOOL_CAT(velmora_cmd_reg_, __LINE__) =            \
      ::velmora::tool::RegisterCommand({name, usage, summary, VELMORA_TOOL_CAT(velmora_cmd_, __LINE__)}); \
  static int VELMORA_TOOL_CAT(velmora_cmd_, __LINE__)([[maybe_unused]] const std::vector<std::string>& args)
