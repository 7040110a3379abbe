// CompactMdb: the engine writes a compacted copy of the database into a
// temporary file, the original is deleted and the copy takes its name.
//
// Deleting a file under an open connection would lose that connection's
// later writes, so the file is refused while any process this user can see
// holds it (or its -wal, -shm or -journal side file) open: checked before the
// compaction and again right before the delete.
#include "velmora/schema/maintenance.hpp"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>

#include "ado/dialect/dialect.hpp"
#include "schema/info_common.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/file_errors.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

namespace fs = std::filesystem;

constexpr int32_t errInvalidFileFormat = 321;
constexpr int32_t errInvalidCall = 5;


// Test-only: the number of the last step to run before the process kills
// itself, so that a test can check what an interrupted compaction leaves.
constexpr const char* kStopAfterStepVariable = "VELMORA_COMPACT_STOP_AFTER_STEP";

enum Step { kTempChosen = 1, kCompacted = 2, kOriginalDeleted = 3, kCopied = 4 };

void StopHereWhenAsked(Step step) {
  const char* stop = std::getenv(kStopAfterStepVariable);
  if (stop != nullptr && std::atoi(stop) == step) std::raise(SIGKILL);
}

// The first bytes of the file: enough for every header looked at here.
std::string HeaderOf(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::string header(32, '\0');
  in.read(header.data(), static_cast<std::streamsize>(header.size()));
  header.resize(static_cast<size_t>(in.gcount()));
  return header;
}

bool IsJetFile(const std::string& header) {
  const std::string_view name = std::string_view(header).substr(std::min<size_t>(4, header.size()));
  return name.starts_with("Standard Jet DB") || name.starts_with("Standard ACE DB");
}

// DbName must be an existing database file of the embedded engine; anything
// else is refused before the file is opened, so that it stays as it is.
void CheckDatabaseFile(const std::string& dbName) {
  std::error_code ec;
  const fs::file_status status = fs::status(dbName, ec);
  if (status.type() == fs::file_type::not_found) support::RaiseFileError("compact", dbName, ENOENT);
  if (!fs::is_regular_file(status)) support::RaiseFileError("compact", dbName, EISDIR);
  const std::string header = HeaderOf(dbName);
  if (IsJetFile(header)) {
    com::Raise(errInvalidFileFormat,
               "'" + dbName + "' is a Jet database: compacting it needs the Jet engine, which is not available here");
  }
  if (!ado::dialect::EmbeddedDialect().IsDatabaseFile(header)) {
    com::Raise(errInvalidFileFormat, "'" + dbName + "' is not a database file");
  }
}

// Refuses the file while a process holds it or one of its side files open.
void RefuseWhenOpen(const std::string& dbName) {
  auto check = [&](const std::string& file) {
    const std::vector<int> holders = Support().ProcessesHolding(file);
    if (holders.empty()) return;
    com::Raise(support::errPermissionDenied, "'" + dbName + "' is open in another connection (process " +
                                                 std::to_string(holders.front()) +
                                                 "): close every connection to it before compacting");
  };
  check(dbName);
  for (std::string_view suffix : ado::dialect::EmbeddedDialect().SideFileSuffixes()) check(dbName + std::string(suffix));
}

int64_t FileBytes(const std::string& file) {
  std::error_code ec;
  const auto size = fs::file_size(file, ec);
  return ec ? 0 : static_cast<int64_t>(size);
}

// A temporary file in the system's temporary folder, or in the database's
// own folder when the temporary one has less room than the database takes.
std::string ChooseTempFile(const std::string& dbName) {
  int64_t needed = FileBytes(dbName);
  for (std::string_view suffix : ado::dialect::EmbeddedDialect().SideFileSuffixes()) {
    needed += FileBytes(dbName + std::string(suffix));
  }
  std::string tmpFile = Support().TempFileName(Support().TempFolder(), "MDB");
  std::string folder;
  if (Support().FreeSpace(tmpFile) < needed && Support().FolderOf(dbName, folder)) {
    const std::string unused = tmpFile;
    tmpFile = Support().TempFileName(folder, "MDB");
    schema::IgnoringErrors([&] { Support().FileDelete(unused); });
  }
  return tmpFile;
}

// The embedded provider's connection string for the file, its name quoted
// when it holds a character of the string's own syntax.
std::string ProviderFor(const std::string& dbName) {
  std::string source = dbName;
  const bool needsQuotes = source.find_first_of(";\"'{}") != std::string::npos || source.front() == ' ' ||
                          source.back() == ' ';
  if (needsQuotes) {
    source = "\"";
    for (char c : dbName) source += c == '"' ? std::string("\"\"") : std::string(1, c);
    source += "\"";
  }
  return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + source;
}

// The engine writes the compacted copy; the connection is closed on every
// exit, which also checkpoints a write-ahead log into the original.
void CompactInto(const std::string& dbName, const std::string& tmpFile) {
  auto cnn = std::make_shared<ado::Connection>();
  cnn->Open(ProviderFor(dbName));
  try {
    const std::string statement = cnn->CompactionStatement(tmpFile);
    if (statement.empty()) com::Raise(errInvalidCall, "the engine " + cnn->DbmsName() + " cannot compact a file");
    cnn->DialectRewriting(false);
    cnn->Execute(statement);
  } catch (...) {
    schema::IgnoringErrors([&] { cnn->Close(); });
    throw;
  }
  cnn->Close();
}

// Side files of the original, closed and checkpointed by now, would be
// taken for the new file's own when it is opened.
void DeleteOriginal(const std::string& dbName) {
  for (std::string_view suffix : ado::dialect::EmbeddedDialect().SideFileSuffixes()) {
    const std::string side = dbName + std::string(suffix);
    std::error_code ec;
    if (fs::exists(side, ec)) Support().FileDelete(side);
  }
  Support().FileDelete(dbName);
}

void Compact(const std::string& dbName, std::string& tmpFile) {
  CheckDatabaseFile(dbName);
  const bool chosenHere = tmpFile.empty();
  if (chosenHere) tmpFile = ChooseTempFile(dbName);
  StopHereWhenAsked(kTempChosen);
  try {
    RefuseWhenOpen(dbName);
    CompactInto(dbName, tmpFile);
    StopHereWhenAsked(kCompacted);
    RefuseWhenOpen(dbName);
  } catch (...) {
    // The original is untouched: a temporary file of our own is of no use.
    if (chosenHere) schema::IgnoringErrors([&] { Support().FileDelete(tmpFile); });
    throw;
  }
  const fs::perms permissions = fs::status(dbName).permissions();
  DeleteOriginal(dbName);
  StopHereWhenAsked(kOriginalDeleted);
  Support().FileCopy(tmpFile, dbName);
  // The new file is the owner's with the original's permissions, not the
  // temporary file's private ones.
  std::error_code ignored;
  fs::permissions(dbName, permissions, ignored);
  StopHereWhenAsked(kCopied);
  schema::IgnoringErrors([&] { Support().FileDelete(tmpFile); });
}

}  // namespace

bool CompactMdb(const std::string& DbName, std::string& TmpFile) {
  std::shared_ptr<ado::Recordset> none;
  return schema::RunRoutine("CompactMdb", none, [&] { Compact(DbName, TmpFile); });
}

bool CompactMdb(const std::string& DbName) {
  std::string tmpFile;
  return CompactMdb(DbName, tmpFile);
}

}  // namespace velmora
