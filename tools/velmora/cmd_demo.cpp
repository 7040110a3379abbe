// `velmora demo`: the tool's main job on the embedded default engine. It
// shows what the library does, one section per subject.
#include <iostream>
#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/system_records.hpp"
#include "velmora/sysrecords/system_tables.hpp"

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

const char* LockResultName(TableLockReturn result) {
  switch (result) {
    case TLR_OK: return "TLR_OK";
    case TLR_LOCKEDBYANOTHERUSER: return "TLR_LOCKEDBYANOTHERUSER";
    case TLR_LOCKEDBYSAMEUSER: return "TLR_LOCKEDBYSAMEUSER";
    case TLR_FORCED: return "TLR_FORCED";
    default: return "TLR_ERROR";
  }
}

// A new database on the embedded default, its system tables, a few numbers
// drawn and a table lock taken and released.
void ShowSystemRecords(const std::filesystem::path& file) {
  const auto connection = OpenConnectionArgument(file.string(), true);
  CreateSystemTables(connection);
  std::cout << "database " << file.string() << ": SYS_UNK and SYS_LOCK created\n";
  std::cout << "numbers for ORDERS:";
  for (int i = 0; i < 3; ++i) std::cout << ' ' << GetUnk(connection, "ORDERS");
  std::cout << "; for ITEMS: " << GetUnk(connection, "ITEMS") << "\n";
  const std::string user = Support().UserName();
  std::cout << "lock ORDERS as " << user << ": " << LockResultName(TableLock(connection, "ORDERS", true)) << "\n";
  std::cout << "lock ORDERS again: " << LockResultName(TableLock(connection, "ORDERS", true)) << "\n";
  std::cout << "release ORDERS: " << LockResultName(TableLock(connection, "ORDERS", false)) << "\n";
}

int SystemRecordsSection() {
  std::cout << "== System records ==\n";
  const auto file = std::filesystem::temp_directory_path() / ("velmora-demo-" + std::to_string(getpid()) + ".db");
  int rc = kExitOk;
  try {
    ShowSystemRecords(file);
  } catch (const std::exception& e) {
    std::cerr << "velmora demo: " << e.what() << "\n";
    rc = kExitFailed;
  }
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  std::cout << "\n";
  return rc;
}

}  // namespace

VELMORA_COMMAND("demo", "", "the main job on the embedded default: shows what the library does") {
  if (!args.empty()) return UsageError("demo", "takes no arguments");
  std::cout << "Velmora demo\n\n";
  const int types = RunSection("Type tables", "types");
  const int records = SystemRecordsSection();
  return types != kExitOk ? types : records;
}

}  // namespace velmora::tool
