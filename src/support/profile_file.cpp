// INI files on disk: reading, and the locked, atomic read-modify-write.
//
// A writer takes an exclusive flock() on "<file>.lock" (the lock file is
// never removed: removing it would let two writers lock two different
// files), reads the current contents, writes the new contents to a
// temporary file in the same folder, flushes it and renames it over the INI
// file. Readers take no lock: the rename makes every version they can see
// complete. A temporary's name carries its writer's pid, so that the next
// writer can remove what a killed writer left.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "support/file_descriptor.hpp"
#include "support/profile_document.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/file_errors.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {

namespace {

namespace fs = std::filesystem;

// The contents of `path`, or nothing when it does not exist.
std::optional<std::string> ReadIfExists(const fs::path& path) {
  FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    RaiseFileError("read", path, errno);
  }
  std::string contents;
  char chunk[65536];
  for (;;) {
    const ssize_t n = ::read(fd.get(), chunk, sizeof chunk);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError("read", path, errno);
    }
    contents.append(chunk, static_cast<std::size_t>(n));
  }
  return contents;
}

void WriteAll(int fd, std::string_view data, const fs::path& path) {
  while (!data.empty()) {
    const ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      RaiseFileError("write", path, errno);
    }
    data.remove_prefix(static_cast<std::size_t>(n));
  }
}

// The file a write must replace: the target of a symbolic link, so that the
// link itself survives the rename.
fs::path WriteTarget(const std::string& iniFile) {
  fs::path path(iniFile);
  std::error_code ec;
  if (fs::is_symlink(path, ec)) {
    const fs::path resolved = fs::weakly_canonical(path, ec);
    if (!ec) return resolved;
  }
  return path;
}

// Holds an exclusive lock on the lock file beside `path` while alive.
class WriterLock {
 public:
  explicit WriterLock(const fs::path& path) : lockPath_(path.string() + ".lock"), fd_(Open(lockPath_)) {
    while (::flock(fd_.get(), LOCK_EX) != 0) {
      if (errno != EINTR) RaiseFileError("lock", lockPath_, errno);
    }
  }

 private:
  static int Open(const fs::path& lockPath) {
    const int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) RaiseFileError("create the lock file", lockPath, errno);
    return fd;
  }
  fs::path lockPath_;
  FileDescriptor fd_;
};

// A new file beside `path` with a name no other writer uses, created with
// the mode of the file it will replace (or the default mode, less umask).
int CreateTemporary(const fs::path& path, fs::path& temporary) {
  static std::atomic<unsigned> counter{0};
  struct stat info {};
  const mode_t mode = ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0666;
  for (int attempt = 0; attempt < 100; ++attempt) {
    temporary = path;
    temporary += "." + std::to_string(::getpid()) + "." + std::to_string(counter++) + ".tmp";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0) {
      if (info.st_mode != 0) (void)::fchmod(fd, mode);  // umask must not narrow an existing file's mode
      return fd;
    }
    if (errno != EEXIST) RaiseFileError("create a temporary file for", path, errno);
  }
  RaiseFileError("create a temporary file for", path, EEXIST);
}

// The folder a file lies in ("." for a bare name).
fs::path FolderOf(const fs::path& path) { return path.has_parent_path() ? path.parent_path() : fs::path("."); }

// The pid in the name of a temporary of `path` ("<file>.<pid>.<n>.tmp"), or
// 0 when `name` is not one.
pid_t TemporaryWriter(const std::string& name, const std::string& file) {
  const std::string_view suffix = ".tmp";
  if (name.size() <= file.size() + 1 + suffix.size() || name.compare(0, file.size(), file) != 0 ||
      name[file.size()] != '.' || !name.ends_with(suffix))
    return 0;
  const std::string_view middle =
      std::string_view(name).substr(file.size() + 1, name.size() - file.size() - 1 - suffix.size());
  long pid = 0;
  const auto [end, error] = std::from_chars(middle.data(), middle.data() + middle.size(), pid);
  const bool numbered = error == std::errc() && end != middle.data() + middle.size() && *end == '.';
  return numbered && pid > 0 && pid <= std::numeric_limits<pid_t>::max() ? static_cast<pid_t>(pid) : 0;
}

// Removes temporaries left by writers that died before their rename (a
// killed process runs no clean-up). Called under the writer lock, so no live
// writer of this file is between creating and renaming its temporary; only
// temporaries whose writer process is gone are removed all the same.
void RemoveStaleTemporaries(const fs::path& path) {
  const std::string file = path.filename().string();
  std::error_code ec;
  for (fs::directory_iterator it(FolderOf(path), ec), end; !ec && it != end; it.increment(ec)) {
    const pid_t writer = TemporaryWriter(it->path().filename().string(), file);
    if (writer == 0 || writer == ::getpid()) continue;
    if (::kill(writer, 0) != 0 && errno == ESRCH) (void)::unlink(it->path().c_str());
  }
}

void SyncFolder(const fs::path& path) {
  FileDescriptor fd(::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.get() >= 0) (void)::fsync(fd.get());
}

// Replaces the contents of `path` with `contents` in one rename.
void ReplaceAtomically(const fs::path& path, std::string_view contents) {
  fs::path temporary;
  FileDescriptor fd(CreateTemporary(path, temporary));
  try {
    WriteAll(fd.get(), contents, temporary);
    if (::fsync(fd.get()) != 0) RaiseFileError("flush", temporary, errno);
    if (fd.close() != 0) RaiseFileError("write", temporary, errno);
    if (::rename(temporary.c_str(), path.c_str()) != 0) RaiseFileError("replace", path, errno);
  } catch (...) {
    ::unlink(temporary.c_str());
    throw;
  }
  SyncFolder(path);
}

bool HasAnyOf(std::string_view text, std::string_view chars) { return text.find_first_of(chars) != text.npos; }

constexpr std::string_view kLineBreaks{"\r\n\0", 3};

[[noreturn]] void RaiseBadArgument(const std::string& what, std::string_view text) {
  com::Raise(com::errInvalidProcedureCall,
             "Invalid procedure call or argument: " + what + " '" + std::string(text) + "' cannot be stored in an INI file");
}

// Names and values that would not read back as written are refused.
void CheckSectionName(std::string_view section) {
  if (HasAnyOf(section, kLineBreaks) || (!section.empty() && (IsProfileBlank(section.front()) ||
                                                              IsProfileBlank(section.back()))))
    RaiseBadArgument("section name", section);
}

void CheckEntry(const ProfileEntry& entry) {
  const std::string_view name = entry.name;
  const bool blankEnds = !name.empty() && (IsProfileBlank(name.front()) || IsProfileBlank(name.back()));
  const bool startsLikeOtherLine = !name.empty() && (name.front() == '[' || name.front() == ';');
  if (HasAnyOf(name, kLineBreaks) || name.find('=') != name.npos || blankEnds || startsLikeOtherLine)
    RaiseBadArgument("entry name", name);
  if (HasAnyOf(entry.value, kLineBreaks)) RaiseBadArgument("value of entry", name);
}

}  // namespace

std::vector<std::string> ProfileServices::ProfileSectionRead(const std::string& iniFile,
                                                             const std::string& section) const {
  const auto contents = ReadIfExists(iniFile);
  if (!contents) return {};
  return ProfileDocument::Parse(*contents).SectionEntries(section);
}

void ProfileServices::ProfileEntriesWrite(const std::string& iniFile, const std::string& section,
                                          const std::vector<ProfileEntry>& entries) const {
  CheckSectionName(section);
  for (const ProfileEntry& entry : entries) CheckEntry(entry);
  if (entries.empty()) return;
  if (iniFile.empty()) com::Raise(errPathFileAccess, "Path/File access error: cannot write an INI file without a name");
  const fs::path target = WriteTarget(iniFile);
  std::error_code ec;
  if (fs::is_directory(target, ec)) RaiseFileError("write", target, EISDIR);  // before a lock file is left beside it
  WriterLock lock(target);
  RemoveStaleTemporaries(target);
  const auto before = ReadIfExists(target);
  ProfileDocument doc = ProfileDocument::Parse(before.value_or(std::string{}));
  doc.Write(section, entries);
  std::string after = doc.Text();
  if (before && *before == after) return;
  ReplaceAtomically(target, after);
}

}  // namespace velmora::support
