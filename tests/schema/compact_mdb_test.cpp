// CompactMdb on SQLite files: the file shrinks and keeps its rows, the
// temporary file is chosen or taken as given, bad files are refused and left
// as they are, a file open elsewhere is refused, and a process killed at any
// step leaves the database under one of the two names.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "support_common/child_process.hpp"
#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/schema/maintenance.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

constexpr int kRows = 3000;
constexpr const char* kSource = "Velmora.modAdoSupport.CompactMdb";

std::string EmbeddedProvider(const std::string& file) { return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file; }

std::shared_ptr<ado::Connection> OpenFile(const std::string& file) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(EmbeddedProvider(file));
  cn->DialectRewriting(false);
  return cn;
}

// A database of kRows rows of 300 characters, with every third row deleted
// so that a third of its pages are free. Returns the row count left.
int64_t MakeDatabaseWithFreePages(const std::string& file) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open("DRIVER=SQLite3;Database=" + file);
  cn->DialectRewriting(false);
  cn->Execute("CREATE TABLE t (id INTEGER PRIMARY KEY, v TEXT NOT NULL)");
  cn->Execute("INSERT INTO t (id, v) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
              std::to_string(kRows) + ") SELECT i, printf('%0300d', i) FROM n");
  cn->Execute("DELETE FROM t WHERE id % 3 = 0");
  cn->Close();
  return kRows - kRows / 3;
}

// "count:sum of ids" of table t, or "" when the file is missing or is not a
// database with that table. An empty file is not opened (it would become one).
std::string Rows(const std::string& file, const std::string& table = "t") {
  std::error_code ec;
  if (!fs::exists(file, ec) || fs::file_size(file, ec) == 0) return "";
  try {
    auto cn = OpenFile(file);
    auto rs = cn->Execute("SELECT count(*) || ':' || total(rowid) FROM " + table);
    const std::string rows = com::CStr(rs->Fields()->Item(int32_t{0})->Value());
    rs->Close();
    cn->Close();
    return rows;
  } catch (const com::Error&) {
    return "";
  }
}

std::string Bytes(const std::string& file) { return FileContents(file); }

ino_t InodeOf(const std::string& file) {
  struct stat info {};
  return ::stat(file.c_str(), &info) == 0 ? info.st_ino : 0;
}

void WriteFile(const std::string& file, const std::string& contents) { std::ofstream(file, std::ios::binary) << contents; }

TEST(CompactMdb, ShrinksTheFileAndKeepsEveryRow) {
  const std::string db = TempFile(".db").string();
  MakeDatabaseWithFreePages(db);
  const std::string before = Rows(db);
  const auto sizeBefore = fs::file_size(db);
  std::string tmpFile;
  EXPECT_FALSE(CompactMdb(db, tmpFile));
  EXPECT_LT(fs::file_size(db), sizeBefore * 3 / 4);
  EXPECT_EQ(Rows(db), before);
  EXPECT_EQ(before.substr(0, 5), std::to_string(kRows - kRows / 3) + ":");
}

TEST(CompactMdb, ChoosesAnMdbFileInTheTemporaryFolderAndRemovesIt) {
  const std::string db = TempFile(".db").string();
  MakeDatabaseWithFreePages(db);
  std::string tmpFile;
  EXPECT_FALSE(CompactMdb(db, tmpFile));
  const fs::path chosen(tmpFile);
  EXPECT_EQ(chosen.parent_path(), fs::path(Support().TempFolder()));
  EXPECT_TRUE(chosen.filename().string().starts_with("MDB")) << tmpFile;
  EXPECT_FALSE(fs::exists(chosen));
}

TEST(CompactMdb, UsesTheCallersTemporaryFileAsItIs) {
  const std::string db = TempFile(".db").string();
  MakeDatabaseWithFreePages(db);
  const std::string before = Rows(db);
  const std::string given = (TempDir() / "my compacted copy").string();
  std::string tmpFile = given;
  EXPECT_FALSE(CompactMdb(db, tmpFile));
  EXPECT_EQ(tmpFile, given);
  EXPECT_FALSE(fs::exists(given));
  EXPECT_EQ(Rows(db), before);
}

TEST(CompactMdb, ACallersTemporaryFileThatHoldsDataIsRefusedAndBothFilesStay) {
  const std::string db = TempFile(".db").string();
  MakeDatabaseWithFreePages(db);
  const std::string original = Bytes(db);
  std::string tmpFile = TempFile(".keep").string();
  WriteFile(tmpFile, "the caller's data");
  const com::Error e = RaisedError([&] { CompactMdb(db, tmpFile); });
  EXPECT_EQ(e.Source(), kSource);
  EXPECT_EQ(Bytes(db), original);
  EXPECT_EQ(Bytes(tmpFile), "the caller's data");
}

TEST(CompactMdb, AMissingFileIsAnErrorAndIsNotCreated) {
  const std::string db = (TempDir() / "missing.db").string();
  const com::Error e = RaisedError([&] { CompactMdb(db); });
  EXPECT_EQ(e.Number(), 53);
  EXPECT_EQ(e.Source(), kSource);
  EXPECT_FALSE(fs::exists(db));
}

TEST(CompactMdb, AFileThatIsNotADatabaseIsRefusedAndLeftAsItIs) {
  for (const std::string& contents : {std::string("just some text, long enough to fill a header"), std::string()}) {
    const std::string file = TempFile(".txt").string();
    WriteFile(file, contents);
    std::string tmpFile;
    const com::Error e = RaisedError([&] { CompactMdb(file, tmpFile); });
    EXPECT_EQ(e.Number(), 321);
    EXPECT_NE(e.Description().find("is not a database file"), std::string::npos) << e.Description();
    EXPECT_EQ(Bytes(file), contents);
    EXPECT_EQ(tmpFile, "");
  }
}

TEST(CompactMdb, AJetFileNeedsTheJetEngineAndIsLeftAsItIs) {
  const std::string file = TempFile(".mdb").string();
  fs::copy_file(Fixtures() / "testV1997.mdb", file);
  const std::string original = Bytes(file);
  const com::Error e = RaisedError([&] { CompactMdb(file); });
  EXPECT_EQ(e.Number(), 321);
  EXPECT_NE(e.Description().find("needs the Jet engine"), std::string::npos) << e.Description();
  EXPECT_EQ(Bytes(file), original);
}

TEST(CompactMdb, AFileThisProcessHoldsOpenIsRefusedAndTheTemporaryFileRemoved) {
  const std::string db = TempFile(".db").string();
  MakeDatabaseWithFreePages(db);
  auto cn = OpenFile(db);
  cn->Execute("INSERT INTO t (id, v) VALUES (-1, 'written while open')");
  const ino_t inode = InodeOf(db);
  std::string tmpFile;
  const com::Error e = RaisedError([&] { CompactMdb(db, tmpFile); });
  EXPECT_EQ(e.Number(), 70);
  EXPECT_NE(e.Description().find("is open in another connection"), std::string::npos) << e.Description();
  EXPECT_EQ(InodeOf(db), inode);
  EXPECT_FALSE(fs::exists(tmpFile));
  cn->Execute("INSERT INTO t (id, v) VALUES (-2, 'written after the refusal')");
  cn->Close();
  EXPECT_EQ(Rows(db).substr(0, 5), std::to_string(kRows - kRows / 3 + 2) + ":");
}

TEST(CompactMdb, LeavesNoWriteAheadLogBesideTheNewFile) {
  const std::string db = TempFile(".db").string();  // the library creates files in WAL mode
  MakeDatabaseWithFreePages(db);
  const std::string before = Rows(db);
  EXPECT_FALSE(CompactMdb(db));
  EXPECT_FALSE(fs::exists(db + "-wal"));
  EXPECT_FALSE(fs::exists(db + "-shm"));
  EXPECT_EQ(Rows(db), before);
}

// args: database, ready file, stop file, result file, "read" or "write",
// index. Keeps a connection open, reading or inserting rows into table w,
// until the stop file exists; a writer reports how many rows it inserted.
VELMORA_TEST_CHILD(compact_keep_open) {
  auto cn = OpenFile(args.at(0));
  const bool writes = args.at(4) == "write";
  int inserted = 0;
  for (bool ready = false; !fs::exists(args.at(2)); ready = true) {
    if (writes) {
      cn->Execute("INSERT INTO w (n) VALUES (" + std::to_string(++inserted) + ")");
    } else {
      cn->Execute("SELECT count(*) FROM t")->Close();
    }
    if (!ready) WriteFile(args.at(1), "ready");
  }
  cn->Close();
  WriteFile(args.at(3), std::to_string(inserted));
  return 0;
}

bool WaitForFile(const std::string& file) {
  for (int i = 0; i < 60000 && !fs::exists(file); ++i) ::usleep(1000);
  return fs::exists(file);
}

TEST(CompactMdb, ADatabaseAnotherProcessHoldsOpenIsRefusedAndTheOtherLosesNothing) {
  for (const std::string mode : {"read", "write"}) {
    const std::string db = TempFile(".db").string();
    MakeDatabaseWithFreePages(db);
    OpenFile(db)->Execute("CREATE TABLE w (n INTEGER NOT NULL)");
    const std::string ready = TempFile(".ready").string(), stop = TempFile(".stop").string();
    const std::string result = TempFile(".result").string();
    const auto pids = SpawnChildren("compact_keep_open", {db, ready, stop, result, mode}, 1);
    ASSERT_TRUE(WaitForFile(ready)) << mode;
    const ino_t inode = InodeOf(db);
    const com::Error e = RaisedError([&] { CompactMdb(db); });
    EXPECT_EQ(e.Number(), 70) << mode << ": " << e.Description();
    EXPECT_EQ(InodeOf(db), inode);
    WriteFile(stop, "stop");
    EXPECT_EQ(WaitAll(pids), std::vector<int>{0});
    const std::string inserted = Bytes(result);
    EXPECT_EQ(Rows(db, "w").substr(0, inserted.size() + 1), inserted + ":") << mode;
  }
}

// args: database, temporary file, step, index. Compacts and is killed after
// the given step.
VELMORA_TEST_CHILD(compact_killed_after_step) {
  ::setenv("VELMORA_COMPACT_STOP_AFTER_STEP", args.at(2).c_str(), 1);
  std::string tmpFile = args.at(1);
  CompactMdb(args.at(0), tmpFile);
  return 0;
}

TEST(CompactMdb, AProcessKilledAtAnyStepLeavesTheDatabaseUnderOneOfTheTwoNames) {
  constexpr int kSigKill = 9;
  for (int step = 1; step <= 4; ++step) {
    const std::string db = TempFile(".db").string();
    const std::string tmpFile = TempFile(".tmp").string();
    MakeDatabaseWithFreePages(db);
    const std::string before = Rows(db);
    const auto pids = SpawnChildren("compact_killed_after_step", {db, tmpFile, std::to_string(step)}, 1);
    EXPECT_EQ(WaitAll(pids), std::vector<int>{128 + kSigKill}) << step;
    const bool underDbName = Rows(db) == before;
    const bool underTmpFile = Rows(tmpFile) == before;
    EXPECT_TRUE(underDbName || underTmpFile) << "step " << step;
    EXPECT_EQ(underDbName, step != 3) << "step " << step;
    EXPECT_EQ(underTmpFile, step >= 2) << "step " << step;
  }
}

}  // namespace
}  // namespace velmora::test
