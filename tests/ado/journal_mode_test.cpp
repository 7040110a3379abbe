// The journal mode of SQLite files: a user's file keeps its own unless the
// connection string asks for another; files the library creates start in WAL.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::test {
namespace {

constexpr int kRollbackJournal = 1;  // DELETE, TRUNCATE, PERSIST, MEMORY, OFF
constexpr int kWriteAheadLog = 2;

// The file format versions of the database header (bytes 18 and 19) say
// whether the file is in WAL mode; both are the same number.
int HeaderJournalVersion(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  char header[20] = {};
  in.read(header, sizeof header);
  EXPECT_TRUE(in.good()) << file;
  EXPECT_EQ(header[18], header[19]) << file;
  return header[18];
}

std::string FileProvider(const std::filesystem::path& file, const std::string& extra = "") {
  return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.string() + extra;
}

ado::ConnectionPtr Open(const std::string& connectionString) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(connectionString);
  return cn;
}

// A database file in journal mode DELETE, with a table t, made as a user
// would make one (the library is told which mode to use).
std::filesystem::path DeleteModeFile() {
  const auto file = TempFile(".db");
  std::ofstream(file).flush();
  auto cn = Open(FileProvider(file, ";JournalMode=DELETE"));
  cn->Execute("CREATE TABLE t (n INTEGER)");
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kRollbackJournal);
  return file;
}

// One statement that fails and one that succeeds, as an application would.
void FailThenSucceed(const ado::ConnectionPtr& cn) {
  EXPECT_THROW(cn->Execute("SELECT * FROM no_such_table"), com::Error);
  cn->Execute("INSERT INTO t VALUES (1)");
}

std::string JournalModeOf(const ado::ConnectionPtr& cn) {
  auto rs = cn->Execute("PRAGMA journal_mode");
  return com::CStr(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
}

TEST(SqliteJournalMode, AnExistingFileOpenedThroughTheFileProviderKeepsItsMode) {
  const auto file = DeleteModeFile();
  auto cn = Open(FileProvider(file));
  FailThenSucceed(cn);
  EXPECT_EQ(JournalModeOf(cn), "delete");
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kRollbackJournal);
}

TEST(SqliteJournalMode, AnExistingFileOpenedThroughAPlainOdbcStringKeepsItsMode) {
  const auto file = DeleteModeFile();
  auto cn = Open("DRIVER=SQLite3;Database=" + file.string());
  FailThenSucceed(cn);
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kRollbackJournal);
}

TEST(SqliteJournalMode, ACopyOfChinookKeepsItsMode) {
  const auto copy = TempDir() / "chinook-journal.db";
  std::filesystem::copy_file(TestData() / "databases" / "Chinook_Sqlite.sqlite", copy);
  const int before = HeaderJournalVersion(copy);
  auto cn = Open(FileProvider(copy));
  EXPECT_THROW(cn->Execute("SELECT * FROM no_such_table"), com::Error);
  cn->Execute("SELECT COUNT(*) FROM Artist");
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(copy), before);
}

TEST(SqliteJournalMode, TheModeAskedForIsUsed) {
  const auto file = DeleteModeFile();
  auto cn = Open(FileProvider(file, ";JournalMode=WAL"));
  FailThenSucceed(cn);
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kWriteAheadLog);
}

TEST(SqliteJournalMode, AnEmptyFileStartsInWal) {
  const auto file = TempFile(".db");
  std::ofstream(file).flush();
  auto cn = Open(FileProvider(file));
  cn->Execute("CREATE TABLE t (n INTEGER)");
  EXPECT_EQ(JournalModeOf(cn), "wal");
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kWriteAheadLog);
}

TEST(SqliteJournalMode, AFileTheDriverCreatesStartsInWal) {
  const auto file = TempFile(".db");
  auto cn = Open("DRIVER=SQLite3;Database=" + file.string());
  cn->Execute("CREATE TABLE t (n INTEGER)");
  cn->Close();
  EXPECT_EQ(HeaderJournalVersion(file), kWriteAheadLog);
}

TEST(SqliteJournalMode, AnUnknownModeIsRefused) {
  const auto file = DeleteModeFile();
  auto cn = std::make_shared<ado::Connection>();
  EXPECT_EQ(ErrorNumber([&] { cn->Open(FileProvider(file, ";JournalMode=FAST")); }), ado::DB_E_BADINITSTRING);
  EXPECT_EQ(HeaderJournalVersion(file), kRollbackJournal);
}

}  // namespace
}  // namespace velmora::test
