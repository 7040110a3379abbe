// Several processes writing different entries of one INI file lose none of
// them, and a reader never sees a half-written file.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace velmora::support
