// `velmora lock CONNECTION TABLE [--release] [--force] [--timeout S]`: takes
// (or with --release gives back) the application lock of TABLE in SYS_LOCK
// as the current user (VELMORA_USER, else the account), waiting up to S
// seconds (default 30) while another user holds it. With --force a lock
// that stayed unchanged for the whole wait is taken to be left behind and
// forced.
//
// Exit codes: 0 done, 1 failed, 2 bad usage, 3 held by another user,
// 4 already held by this user, 5 done by forcing a lock left behind.
#include <charconv>
#include <iostream>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::tool {
namespace {

constexpr int kExitLockedByAnotherUser = 3;
constexpr int kExitLockedBySameUser = 4;
constexpr int kExitForced = 5;

struct LockOptions {
  bool release = false;
  bool force = false;
  int32_t timeOut = 30;
};

// Reads the options after CONNECTION TABLE; returns an error message, or "".
std::string ParseOptions(const std::vector<std::string>& args, LockOptions& options) {
  for (std::size_t i = 2; i < args.size(); ++i) {
    if (args[i] == "--release") {
      options.release = true;
    } else if (args[i] == "--force") {
      options.force = true;
    } else if (args[i] == "--timeout" && i + 1 < args.size()) {
      const std::string& text = args[++i];
      const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), options.timeOut);
      if (error != std::errc() || end != text.data() + text.size()) return "bad --timeout '" + text + "'";
    } else {
      return "unknown option '" + args[i] + "'";
    }
  }
  return {};
}

int Report(TableLockReturn result, const std::string& table, bool release) {
  switch (result) {
    case TLR_OK: std::cout << table << (release ? " released\n" : " locked\n"); return kExitOk;
    case TLR_FORCED:
      std::cout << table << (release ? " released" : " locked") << " by forcing a lock left behind\n";
      return kExitForced;
    case TLR_LOCKEDBYSAMEUSER: std::cout << table << " is already locked by you\n"; return kExitLockedBySameUser;
    case TLR_LOCKEDBYANOTHERUSER: std::cout << table << " is locked by another user\n"; return kExitLockedByAnotherUser;
    default: return kExitFailed;
  }
}

}  // namespace

VELMORA_COMMAND("lock", "CONNECTION TABLE [--release] [--force] [--timeout S]",
                "takes or releases the lock of TABLE in SYS_LOCK; exit 3 locked by another user, 4 already "
                "yours, 5 forced") {
  if (args.size() < 2) return UsageError("lock", "expected CONNECTION TABLE");
  LockOptions options;
  if (const std::string problem = ParseOptions(args, options); !problem.empty()) return UsageError("lock", problem);
  const auto connection = OpenConnectionArgument(args[0], false);
  const TableLockReturn result = TableLockEx(connection, args[1], !options.release, options.timeOut, options.force);
  return Report(result, args[1], options.release);
}

}  // namespace velmora::tool
