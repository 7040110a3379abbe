// The INI engine: reading sections and writing entries as the classic
// profile-file functions do, plus atomic replacement.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/profile_document.hpp"
#include "support_common/child_process.hpp"
#include "support_common/raised_error.hpp"
#include "support_common/test_env.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {
namespace {

using namespace std::string_literals;

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::string IniPath() { return test::TempFile(".ini").string(); }

void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadText(const std::string& path) { return test::FileContents(path); }

const ProfileServices kProfile;

// The classic fixture: CRLF lines, a quoted value, a line without "=".
constexpr const char* kFixture = "[section1]\r\nname1=val1\r\nname2=\"val2\"\r\nname3\r\nname4=a\r\n[section2]\r\n";

TEST(ProfileRead, SectionEntriesInFileOrder) {
  const auto path = IniPath();
  WriteText(path, kFixture);
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "section1"), (Lines{"name1=val1", "name2=val2", "name3", "name4=a"}));
}

TEST(ProfileRead, SectionNamesIgnoreCase) {
  const auto path = IniPath();
  WriteText(path, kFixture);
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "SECTION1").size(), 4u);
}

TEST(ProfileRead, CrOnlyAndLfFilesReadAlike) {
  const auto cr = IniPath(), lf = IniPath();
  std::string text = kFixture;
  std::string crText, lfText;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\r\n") == 0) {
      crText += '\r';
      lfText += '\n';
      ++i;
    } else {
      crText += text[i];
      lfText += text[i];
    }
  }
  WriteText(cr, crText);
  WriteText(lf, lfText);
  EXPECT_EQ(kProfile.ProfileSectionRead(cr, "section1"), kProfile.ProfileSectionRead(lf, "section1"));
  EXPECT_EQ(kProfile.ProfileSectionRead(lf, "section1").size(), 4u);
}

TEST(ProfileRead, BlanksTrimmedAroundNamesValuesAndSectionNames) {
  const auto path = IniPath();
  WriteText(path, "[  spaced  ]\n  key  =  some value \t\n");
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "spaced"), (Lines{"key=some value"}));
}

TEST(ProfileRead, ByteOrderMarkIgnored) {
  const auto path = IniPath();
  WriteText(path, "\xEF\xBB\xBF[s]\nk=v\n");
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"k=v"}));
}

TEST(ProfileRead, CommentsAndBlankLinesLeftOut) {
  const auto path = IniPath();
  WriteText(path, "[s]\n; a comment\n\nk=v\n  ;indented comment\n#not=a comment\n");
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"k=v", "#not=a comment"}));
}

TEST(ProfileRead, MissingFileOrSectionReadsNothing) {
  const auto path = IniPath();
  EXPECT_TRUE(kProfile.ProfileSectionRead(path, "s").empty());
  WriteText(path, kFixture);
  EXPECT_TRUE(kProfile.ProfileSectionRead(path, "section3").empty());
  EXPECT_TRUE(kProfile.ProfileSectionRead(path, "section2").empty());
}

TEST(ProfileRead, FirstOfTwoSameNamedSectionsIsRead) {
  const auto path = IniPath();
  WriteText(path, "[s]\na=1\n[S]\nb=2\n");
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"a=1"}));
}

TEST(ProfileRead, HeaderWithoutClosingBracketIsAnOrdinaryLine) {
  const auto path = IniPath();
  WriteText(path, "[s]\n[broken=1\n");
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"[broken=1"}));
}

// The text of a line ends at a NUL byte, as a C string would; the rest of the
// line stays in the file.
TEST(ProfileRead, ANulByteEndsTheLinesText) {
  const auto path = IniPath();
  const std::string text = "[s]\nx\0=v\nk=1\0junk\n\0=w\n"s;
  WriteText(path, text);
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"x", "k=1"}));
  kProfile.ProfileEntriesWrite(path, "s", {{"x", "2"}});
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "s"), (Lines{"x", "k=1", "x=2"}));
  EXPECT_EQ(ProfileDocument::Parse(text).Text(), text);
}

TEST(ProfileRead, UnreadableFileRaises) {
  const auto path = IniPath();
  fs::create_directory(path);  // a folder cannot be read as a file
  try {
    kProfile.ProfileSectionRead(path, "s");
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 75);
  }
}

TEST(ProfileWrite, CreatesFileAndSectionsWithCrlfLines) {
  const auto path = IniPath();
  kProfile.ProfileEntriesWrite(path, "App1", {{"key1", "string1"}, {"key2", "string2"}});
  kProfile.ProfileEntriesWrite(path, "App2", {{"key4", "string4"}});
  kProfile.ProfileEntriesWrite(path, "App1", {{"key3", "string3"}});
  EXPECT_EQ(ReadText(path), "[App1]\r\nkey1=string1\r\nkey2=string2\r\nkey3=string3\r\n[App2]\r\nkey4=string4\r\n");
}

TEST(ProfileWrite, EmptyValueWritesKeyAndEquals) {
  const auto path = IniPath();
  kProfile.ProfileEntriesWrite(path, "App", {{"key", ""}});
  EXPECT_EQ(ReadText(path), "[App]\r\nkey=\r\n");
}

TEST(ProfileWrite, ReplacesSameNamedEntryInPlaceKeepingEverythingElse) {
  const auto path = IniPath();
  const std::string before = "; header comment\n[other]\nx=1\n[s]\n; note\nKey = old\nunknown line\ny=2\n\n[last]\nz=3\n";
  WriteText(path, before);
  kProfile.ProfileEntriesWrite(path, "S", {{"KEY", "new"}});
  EXPECT_EQ(ReadText(path),
            "; header comment\n[other]\nx=1\n[s]\n; note\nKey=new\nunknown line\ny=2\n\n[last]\nz=3\n");
}

TEST(ProfileWrite, NewEntryGoesAfterTheLastLineOfItsSection) {
  const auto path = IniPath();
  WriteText(path, "[s]\na=1\n\n[t]\nb=2\n");
  kProfile.ProfileEntriesWrite(path, "s", {{"c", "3"}});
  EXPECT_EQ(ReadText(path), "[s]\na=1\nc=3\n\n[t]\nb=2\n");
}

TEST(ProfileWrite, LaterDuplicatesOfAReplacedEntryAreRemoved) {
  const auto path = IniPath();
  WriteText(path, "[s]\na=1\nb=2\nA=3\n");
  kProfile.ProfileEntriesWrite(path, "s", {{"a", "9"}});
  EXPECT_EQ(ReadText(path), "[s]\na=9\nb=2\n");
}

TEST(ProfileWrite, FileWithoutFinalLineEndGetsOneBeforeNewLines) {
  const auto path = IniPath();
  WriteText(path, "[s]\na=1");
  kProfile.ProfileEntriesWrite(path, "s", {{"b", "2"}});
  kProfile.ProfileEntriesWrite(path, "t", {{"c", "3"}});
  EXPECT_EQ(ReadText(path), "[s]\na=1\nb=2\n[t]\nc=3\n");
}

TEST(ProfileWrite, ByteOrderMarkAndBytesBeforeFirstSectionKept) {
  const auto path = IniPath();
  WriteText(path, "\xEF\xBB\xBFpreamble\0line\r\n[s]\r\na=1\r\n"s);
  kProfile.ProfileEntriesWrite(path, "s", {{"a", "2"}});
  EXPECT_EQ(ReadText(path), "\xEF\xBB\xBFpreamble\0line\r\n[s]\r\na=2\r\n"s);
}

TEST(ProfileWrite, ValuesWithEdgeBlanksOrQuotesReadBackUnchanged) {
  const auto path = IniPath();
  const Lines values{" lead", "trail ", "\"quoted\"", "\"", "in side", "\t"};
  std::vector<ProfileEntry> entries;
  for (std::size_t i = 0; i < values.size(); ++i) entries.push_back({"k" + std::to_string(i), values[i]});
  kProfile.ProfileEntriesWrite(path, "s", entries);
  const Lines read = kProfile.ProfileSectionRead(path, "s");
  ASSERT_EQ(read.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(read[i], "k" + std::to_string(i) + "=" + values[i]);
}

TEST(ProfileWrite, NonAsciiNamesAndValuesCompareWithoutCase) {
  const auto path = IniPath();
  kProfile.ProfileEntriesWrite(path, "Sezione", {{"Città", "Forlì"}});
  kProfile.ProfileEntriesWrite(path, "SEZIONE", {{"CITTÀ", "Cesena"}});
  EXPECT_EQ(kProfile.ProfileSectionRead(path, "sezione"), (Lines{"Città=Cesena"}));
}

TEST(ProfileWrite, NamesAndValuesThatCannotBeStoredAreRefused) {
  const auto path = IniPath();
  const std::vector<ProfileEntry> bad{{"a=b", "v"}, {"line\nbreak", "v"}, {" lead", "v"}, {"[x", "v"},
                                      {";x", "v"},  {"k", "two\nlines"}, {"k", "nul\0"s}};
  for (const ProfileEntry& entry : bad) {
    try {
      kProfile.ProfileEntriesWrite(path, "s", {entry});
      ADD_FAILURE() << "accepted " << entry.name;
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), 5);
    }
  }
  EXPECT_FALSE(fs::exists(path));
}

// The error a write raises: its number, and its description checked to hold `cause`.
int32_t WriteError(const std::string& path, const std::string& cause) {
  const com::Error e = test::RaisedError([&] { kProfile.ProfileEntriesWrite(path, "s", {{"a", "1"}}); });
  EXPECT_NE(e.Description().find(cause), std::string::npos) << e.Description();
  return e.Number();
}

TEST(ProfileWrite, AMissingFolderRaisesPathNotFoundAndCreatesNothing) {
  const fs::path folder = test::TempDir() / "missing-folder";
  EXPECT_EQ(WriteError((folder / "x.ini").string(), "the folder '" + folder.string() + "' does not exist"), 76);
  EXPECT_FALSE(fs::exists(folder));
  const auto file = IniPath();
  WriteText(file, "");
  EXPECT_EQ(WriteError(file + "/x.ini", "'" + file + "' is not a folder"), 76);
}

TEST(ProfileWrite, AFolderAsTheFileRaisesPathFileAccessAndLeavesNoLockFile) {
  const fs::path folder = test::TempDir() / "a-folder.ini";
  fs::create_directory(folder);
  EXPECT_EQ(WriteError(folder.string(), "it is a folder"), 75);
  EXPECT_FALSE(fs::exists(folder.string() + ".lock"));
}

// args: the file to write, the file to read. Run without the rights of root
// (as nobody when started as root); exits with 0 when both raise 70.
VELMORA_TEST_CHILD(profile_without_rights) {
  if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 1;
  const int32_t write = WriteError(args.at(0), "Permission denied");
  int32_t read = 0;
  try {
    kProfile.ProfileSectionRead(args.at(1), "s");
  } catch (const com::Error& e) {
    read = e.Number();
  }
  return write == 70 && read == 70 ? 0 : 2;
}

TEST(ProfileWrite, RefusedPermissionRaisesPermissionDenied) {
  const fs::path folder = test::TempDir() / "read-only";
  fs::create_directory(folder);
  const std::string unreadable = (folder / "secret.ini").string();
  WriteText(unreadable, "[s]\na=1\n");
  fs::permissions(unreadable, fs::perms::none);
  fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                              fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
  const std::vector<int> codes =
      test::WaitAll(test::SpawnChildren("profile_without_rights", {(folder / "x.ini").string(), unreadable}, 1));
  fs::permissions(folder, fs::perms::owner_all);
  EXPECT_EQ(codes, std::vector<int>{0});
}

TEST(ProfileWrite, ReplacementKeepsTheFileMode) {
  const auto path = IniPath();
  WriteText(path, "[s]\na=1\n");
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  kProfile.ProfileEntriesWrite(path, "s", {{"a", "2"}});
  EXPECT_EQ(fs::status(path).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST(ProfileWrite, SymbolicLinkSurvivesAndItsTargetChanges) {
  const auto target = IniPath();
  const auto link = (test::TempDir() / "link.ini").string();
  WriteText(target, "[s]\na=1\n");
  fs::create_symlink(target, link);
  kProfile.ProfileEntriesWrite(link, "s", {{"a", "2"}});
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(ReadText(target), "[s]\na=2\n");
}

TEST(ProfileWrite, NoTemporaryFilesLeftBehind) {
  const fs::path folder = test::TempDir() / "clean";
  fs::create_directory(folder);
  const auto path = (folder / "f.ini").string();
  for (int i = 0; i < 5; ++i) kProfile.ProfileEntriesWrite(path, "s", {{"k" + std::to_string(i), "v"}});
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Lines{"f.ini", "f.ini.lock"}));
}

TEST(ProfileDocumentText, UnchangedDocumentKeepsEveryByte) {
  const std::string text = "junk\r[a]\n k = v \r\n;c\n\n[b]x\nno equals";
  EXPECT_EQ(ProfileDocument::Parse(text).Text(), text);
}

}  // namespace
}  // namespace velmora::support
