// The support object's file services: temporary names, free space, folders,
// deleting, flushed copies and the processes that hold a file open.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

std::string Read(const std::string& file) { return test::FileContents(file); }

TEST(FileServices, TempFileNameMakesANewPrivateEmptyFileWithThePrefix) {
  const std::string folder = TempDir().string();
  const std::string first = Support().TempFileName(folder, "MDB");
  const std::string second = Support().TempFileName(folder, "MDB");
  EXPECT_NE(first, second);
  EXPECT_EQ(fs::path(first).parent_path(), fs::path(folder));
  EXPECT_TRUE(fs::path(first).filename().string().starts_with("MDB"));
  EXPECT_EQ(fs::path(first).extension(), ".tmp");
  EXPECT_EQ(fs::file_size(first), 0u);
  EXPECT_EQ(fs::status(first).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(RaisedError([&] { Support().TempFileName(folder + "/none", "MDB"); }).Number(), 76);
}

TEST(FileServices, FreeSpaceAndFolders) {
  EXPECT_GT(Support().FreeSpace(Support().TempFolder()), 0);
  EXPECT_EQ(RaisedError([] { Support().FreeSpace((TempDir() / "none" / "x").string()); }).Number(), 76);
  std::string folder;
  EXPECT_TRUE(Support().FolderOf("/a/b/c.db", folder));
  EXPECT_EQ(folder, "/a/b");
  EXPECT_TRUE(Support().FolderOf("c.db", folder));
  EXPECT_EQ(folder, fs::current_path().string());
  EXPECT_FALSE(Support().FolderOf("", folder));
}

TEST(FileServices, DeleteAndCopy) {
  const std::string from = TempFile(".a").string(), to = TempFile(".b").string();
  std::ofstream(from) << "contents";
  std::ofstream(to) << "older and longer contents";
  Support().FileCopy(from, to);
  EXPECT_EQ(Read(to), "contents");
  Support().FileDelete(from);
  EXPECT_FALSE(fs::exists(from));
  EXPECT_EQ(RaisedError([&] { Support().FileDelete(from); }).Number(), 53);
  EXPECT_EQ(RaisedError([&] { Support().FileCopy(from, to); }).Number(), 53);
  EXPECT_EQ(Read(to), "contents");
}

TEST(FileServices, ProcessesHoldingSeesThisProcessWhileTheFileIsOpen) {
  const std::string file = TempFile(".held").string();
  std::ofstream(file) << "x";
  EXPECT_TRUE(Support().ProcessesHolding(file).empty());
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(Support().ProcessesHolding(file), std::vector<int>{::getpid()});
  ::close(fd);
  EXPECT_TRUE(Support().ProcessesHolding(file).empty());
  EXPECT_TRUE(Support().ProcessesHolding(file + ".none").empty());
}

}  // namespace
}  // namespace velmora::test
