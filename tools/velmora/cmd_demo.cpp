// `velmora demo`: the tool's main job on the embedded default engine. It
// shows what the library does, one section per subject.
#include <iostream>
#include <algorithm>
#include <filesystem>
#include <system_error>
#include <type_traits>
#include <unistd.h>

#include "command.hpp"
#include "system_tables_tool.hpp"
#include "velmora/ado.hpp"
#include "velmora/collections/key_set.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/fields/sql_text.hpp"
#include "velmora/flags/ado_flags.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/sysrecords/system_records.hpp"
#include "velmora/sysrecords/system_tables.hpp"

namespace velmora::tool {
namespace {

// The exit code of another registered command, run with no arguments.
int RunCommand(std::string_view name) {
  const auto& commands = Commands();
  const auto found = std::ranges::find(commands, name, &Command::name);
  if (found == commands.end()) {
    std::cerr << "velmora demo: command '" << name << "' is missing\n";
    return kExitFailed;
  }
  return found->run({});
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

// A table written and read through the Null-free field routines, with the
// SQL text built by SQLName and QueryArgument.
void ShowFieldAccess(const std::filesystem::path& file) {
  const auto connection = OpenConnectionArgument(file.string(), true);
  connection->Execute("CREATE TABLE [CUSTOMERS] ([ID] INTEGER PRIMARY KEY, [NAME] VARCHAR(10), [SINCE] DATETIME)");
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant("SELECT * FROM " + SQLName("CUSTOMERS")), com::Variant(connection), ado::adOpenKeyset,
           ado::adLockOptimistic, ado::adCmdText);
  auto& macros = Macros();
  rs->AddNew();
  macros.FieldValueSet(rs->Fields()->Item("ID"), com::Variant(1));
  macros.FieldValueSet(rs->Fields()->Item("NAME"), com::Variant("O'Brien & Sons, a long name"));
  macros.FieldValueSet(rs->Fields()->Item("SINCE"), com::Variant("not a date"));
  rs->Update();
  rs->AddNew();
  macros.FieldValueSet(rs->Fields()->Item("ID"), com::Variant(2));
  rs->Update();
  rs->Close();
  const std::string query = "SELECT * FROM " + SQLName("CUSTOMERS") + " WHERE " + SQLName("ID") + " IN (" +
                            QueryArgument(com::Variant(1)) + ", " + QueryArgument(com::Variant(2)) + ")";
  std::cout << "written: NAME cut to its size (10), a SINCE that is not a date stored as date 0\n"
            << "read Null-free: a Null reads as its type's neutral value\n"
            << "query: " << query << "\n";
  rs->Open(com::Variant(query), com::Variant(connection), ado::adOpenForwardOnly, ado::adLockReadOnly,
           ado::adCmdText);
  for (; !rs->IsEOF(); rs->MoveNext()) {
    const auto fields = rs->Fields();
    std::cout << "  ID " << com::CStr(macros.FieldValueGet(fields->Item("ID"))) << ": NAME \""
              << com::CStr(macros.FieldValueGet(fields->Item("NAME"))) << "\", SINCE "
              << com::CStr(macros.FieldValueGet(fields->Item("SINCE"))) << "\n";
  }
  rs->Close();
  const com::Date stamp(com::DateSerial(2009, 12, 31).value + com::TimeSerial(23, 5, 9).value);
  std::cout << "literals: " << QueryArgument(com::Variant("O'Brien")) << ", " << QueryArgument(com::Variant(stamp))
            << "\n";
}

// Settings saved to an INI file and to a string buffer, then read back.
void ShowFlags(const std::filesystem::path& file) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("DBMS", com::Variant("JET"));
  flags->WriteProperty("TIMEOUT", com::Variant(30));
  flags->WriteProperty("STAMP", com::Variant(com::Now()));
  flags->Save(file.string(), "Demo");
  auto loaded = std::make_shared<AdoFlags>();
  loaded->Load(file.string(), "Demo");
  std::cout << "INI " << file.string() << " [Demo]: " << loaded->Count() << " flags read back; TIMEOUT is "
            << com::CStr(loaded->ReadProperty("timeout", com::Variant(0))) << " (type "
            << loaded->ReadProperty("timeout", com::Variant(0)).VarType() << ")\n";
  std::string buffer;
  flags->Serialize(buffer);
  std::cout << "serialized to " << buffer.size() << " characters and back: "
            << (loaded->Deserialize(buffer) ? "ok" : "failed") << "\n";
}

// A sorted key set searched with each method.
void ShowKeySet() {
  auto keys = std::make_shared<AdoKeySet>();
  int32_t id = 0;
  for (const char* key : {"pear", "apple", "fig", "apple", "plum"}) keys->AddNew(key, ++id);
  std::cout << "keys in order:";
  for (keys->MoveFirst(); !keys->IsEOF(); keys->MoveNext()) std::cout << ' ' << keys->Key();
  std::cout << "\nFind \"banana\": GE at " << keys->Find("banana", FIND_GE) << ", LT at "
            << keys->Find("banana", FIND_LT) << ", EQ at " << keys->Find("banana", FIND_EQ) << "\n";
}

// Runs one section; `show` returns an exit code or nothing. An error ends
// that section only, with exit code 1.
template <class Show>
int Section(std::string_view title, Show&& show) {
  std::cout << "== " << title << " ==\n";
  int rc = kExitOk;
  try {
    if constexpr (std::is_same_v<std::invoke_result_t<Show>, int>) {
      rc = show();
    } else {
      show();
    }
  } catch (const std::exception& e) {
    std::cerr << "velmora demo: " << e.what() << "\n";
    rc = kExitFailed;
  }
  std::cout << "\n";
  return rc;
}

// A scratch file of this run, removed (with the engine's side files) at the end.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& extension)
      : path_(std::filesystem::temp_directory_path() /
              ("velmora-demo-" + std::to_string(getpid()) + extension)) {}
  ~ScratchFile() {
    std::error_code ignored;
    for (const char* side : {"", "-wal", "-shm", "-journal", ".lock"}) {
      std::filesystem::remove(path_.string() + side, ignored);
    }
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

VELMORA_COMMAND("demo", "", "the main job on the embedded default: shows what the library does") {
  if (!args.empty()) return UsageError("demo", "takes no arguments");
  std::cout << "Velmora demo\n\n";
  const ScratchFile database(".db");
  const ScratchFile ini(".ini");
  const int results[] = {
      Section("Type tables", [] { return RunCommand("types"); }),
      Section("System records", [&] { ShowSystemRecords(database.path()); }),
      Section("Field access and SQL text", [&] { ShowFieldAccess(database.path()); }),
      Section("Settings flags", [&] { ShowFlags(ini.path()); }),
      Section("Key set", [] { ShowKeySet(); }),
  };
  return *std::ranges::max_element(results);
}

}  // namespace velmora::tool
