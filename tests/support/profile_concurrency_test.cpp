// Several processes writing different entries of one INI file lose none of
// them, a reader never sees a half-written file, and a writer killed in the
// middle of a save leaves nothing that the next writer does not remove.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support_common/child_process.hpp"
#include "support_common/test_env.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {
namespace {

constexpr int kChildren = 6;
constexpr int kWritesPerChild = 40;

std::string EntryName(const std::string& child, int i) { return "child" + child + "_" + std::to_string(i); }

// args: file, child index. Writes its own entries one by one, into a section
// shared by every child and into a section of its own.
VELMORA_TEST_CHILD(profile_writer) {
  const ProfileServices profile;
  const std::string& file = args.at(0);
  const std::string& child = args.at(1);
  for (int i = 0; i < kWritesPerChild; ++i) {
    profile.ProfileEntriesWrite(file, "shared", {{EntryName(child, i), std::to_string(i)}});
    profile.ProfileEntriesWrite(file, "own" + child, {{"last", std::to_string(i)}});
  }
  return 0;
}

// args: file, child index. Reads while the writers run: every read must see
// a whole file (its last line complete, nothing cut in the middle).
VELMORA_TEST_CHILD(profile_reader) {
  const ProfileServices profile;
  for (int round = 0; round < 200; ++round) {
    for (const std::string& line : profile.ProfileSectionRead(args.at(0), "shared")) {
      const std::size_t equals = line.find('=');
      if (equals == std::string::npos) return 3;
      const std::string name = line.substr(0, equals);
      const std::string value = line.substr(equals + 1);
      if (name.substr(name.find('_') + 1) != value) return 4;  // childN_i=i
    }
  }
  return 0;
}

TEST(ProfileConcurrency, ProcessesWritingDifferentEntriesLoseNone) {
  const std::string file = test::TempFile(".ini").string();
  auto pids = test::SpawnChildren("profile_writer", {file}, kChildren);
  const auto readers = test::SpawnChildren("profile_reader", {file}, 2);
  pids.insert(pids.end(), readers.begin(), readers.end());
  for (const int code : test::WaitAll(pids)) EXPECT_EQ(code, 0);

  const ProfileServices profile;
  const std::vector<std::string> shared = profile.ProfileSectionRead(file, "shared");
  const std::set<std::string> lines(shared.begin(), shared.end());
  EXPECT_EQ(shared.size(), static_cast<std::size_t>(kChildren * kWritesPerChild));
  for (int c = 0; c < kChildren; ++c) {
    const std::string child = std::to_string(c);
    for (int i = 0; i < kWritesPerChild; ++i)
      EXPECT_TRUE(lines.count(EntryName(child, i) + "=" + std::to_string(i))) << EntryName(child, i);
    EXPECT_EQ(profile.ProfileSectionRead(file, "own" + child),
              std::vector<std::string>{"last=" + std::to_string(kWritesPerChild - 1)});
  }
}

constexpr rlim_t kKilledWriterFileLimit = 1024;

// args: file, child index. Saves an entry too large for the file size limit
// set here: the write into the temporary file raises SIGXFSZ, whose handler
// kills the process with SIGKILL in the middle of the save.
VELMORA_TEST_CHILD(profile_killed_writer) {
  const rlimit noCore{0, 0};
  const rlimit small{kKilledWriterFileLimit, kKilledWriterFileLimit};
  ::setrlimit(RLIMIT_CORE, &noCore);
  ::signal(SIGXFSZ, [](int) { ::kill(::getpid(), SIGKILL); });
  ::setrlimit(RLIMIT_FSIZE, &small);
  ProfileServices().ProfileEntriesWrite(args.at(0), "s", {{"big", std::string(4 * kKilledWriterFileLimit, 'x')}});
  return 0;  // not reached
}

std::vector<std::string> FileNames(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(ProfileConcurrency, TheNextWriterRemovesWhatAKilledWriterLeft) {
  const std::filesystem::path folder = test::TempDir() / "killed-writer";
  std::filesystem::create_directory(folder);
  const std::string file = (folder / "f.ini").string();
  const ProfileServices profile;
  profile.ProfileEntriesWrite(file, "s", {{"a", "1"}});
  EXPECT_EQ(test::WaitAll(test::SpawnChildren("profile_killed_writer", {file}, 1)), std::vector<int>{128 + SIGKILL});
  const std::vector<std::string> left = FileNames(folder);
  ASSERT_EQ(left.size(), 3u) << "the killed writer left no temporary file";
  EXPECT_TRUE(left[1].ends_with(".tmp")) << left[1];
  EXPECT_EQ(profile.ProfileSectionRead(file, "s"), std::vector<std::string>{"a=1"});  // the file is whole

  profile.ProfileEntriesWrite(file, "s", {{"b", "2"}});
  EXPECT_EQ(FileNames(folder), (std::vector<std::string>{"f.ini", "f.ini.lock"}));
  EXPECT_EQ(profile.ProfileSectionRead(file, "s"), (std::vector<std::string>{"a=1", "b=2"}));
}

}  // namespace
}  // namespace velmora::support
