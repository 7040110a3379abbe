// File services on POSIX calls, so that every step can be flushed and every
// failure reported with its errno.
#include "velmora/support/file_services.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "support/file_descriptor.hpp"
#include "velmora/support/file_errors.hpp"

namespace velmora::support {

namespace {

namespace fs = std::filesystem;

int OpenOrRaise(const std::string& path, int flags, mode_t mode, const char* action) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
  if (fd < 0) RaiseFileError(action, path, errno);
  return fd;
}

// Writes all of `size` bytes, going on after a short write or a signal.
bool WriteAll(int fd, const char* data, ssize_t size) {
  while (size > 0) {
    const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= written;
  }
  return true;
}

// Copies the rest of `from` into `to`; errno is set when it returns false.
bool CopyContents(int from, int to) {
  char buffer[1 << 16];
  for (;;) {
    const ssize_t got = ::read(from, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    if (!WriteAll(to, buffer, got)) return false;
  }
}

// Flushes the folder's entries, so that a new or removed name survives a
// power failure as the data under it does.
bool SyncFolder(const std::string& folder) {
  FileDescriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd.get() >= 0 && ::fsync(fd.get()) == 0;
}

std::string AbsoluteFolder(const std::string& path) {
  std::error_code ec;
  const fs::path absolute = fs::absolute(path, ec);
  return ec ? std::string() : absolute.parent_path().string();
}

bool IsNumber(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// True when one of the open descriptors listed in `fdFolder` is the file.
bool HoldsFile(const std::string& fdFolder, const struct stat& file) {
  DIR* entries = ::opendir(fdFolder.c_str());
  if (entries == nullptr) return false;  // gone, or another user's process
  bool found = false;
  while (const dirent* entry = ::readdir(entries)) {
    struct stat target {};
    if (!IsNumber(entry->d_name)) continue;
    if (::stat((fdFolder + "/" + entry->d_name).c_str(), &target) != 0) continue;
    if (target.st_dev == file.st_dev && target.st_ino == file.st_ino) {
      found = true;
      break;
    }
  }
  ::closedir(entries);
  return found;
}

}  // namespace

std::string FileServices::TempFolder() const {
  const char* tmpdir = std::getenv("TMPDIR");
  std::error_code ec;
  if (tmpdir != nullptr && *tmpdir != '\0' && fs::is_directory(tmpdir, ec)) return tmpdir;
  return "/tmp";
}

std::string FileServices::TempFileName(const std::string& folder, const std::string& prefix) const {
  std::string name = (fs::path(folder) / (prefix + "XXXXXX.tmp")).string();
  const int fd = ::mkstemps(name.data(), 4);
  if (fd < 0) RaiseFileError("create", name, errno);
  ::close(fd);
  return name;
}

int64_t FileServices::FreeSpace(const std::string& path) const {
  struct statvfs info {};
  if (::statvfs(path.c_str(), &info) != 0) RaiseFileError("read the free space of", path, errno);
  return static_cast<int64_t>(info.f_bavail) * static_cast<int64_t>(info.f_frsize);
}

bool FileServices::FolderOf(const std::string& path, std::string& folder) const {
  if (path.empty()) return false;
  const std::string found = AbsoluteFolder(path);
  if (found.empty()) return false;
  folder = found;
  return true;
}

void FileServices::FileDelete(const std::string& path) const {
  if (::unlink(path.c_str()) != 0) RaiseFileError("delete", path, errno);
}

void FileServices::FileCopy(const std::string& from, const std::string& to) const {
  FileDescriptor source(OpenOrRaise(from, O_RDONLY, 0, "read"));
  struct stat info {};
  if (::fstat(source.get(), &info) != 0) RaiseFileError("read", from, errno);
  FileDescriptor target(OpenOrRaise(to, O_WRONLY | O_CREAT | O_TRUNC, info.st_mode & 0777, "create"));
  if (!CopyContents(source.get(), target.get()) || ::fsync(target.get()) != 0 || target.close() != 0 ||
      !SyncFolder(AbsoluteFolder(to))) {
    const int error = errno;
    ::unlink(to.c_str());
    RaiseFileError("copy to", to, error);
  }
}

std::vector<int> FileServices::ProcessesHolding(const std::string& path) const {
  std::vector<int> holders;
  struct stat file {};
  if (::stat(path.c_str(), &file) != 0) return holders;
  DIR* processes = ::opendir("/proc");
  if (processes == nullptr) RaiseFileError("list the processes in", "/proc", errno);
  while (const dirent* entry = ::readdir(processes)) {
    if (!IsNumber(entry->d_name)) continue;
    if (HoldsFile(std::string("/proc/") + entry->d_name + "/fd", file)) holders.push_back(std::atoi(entry->d_name));
  }
  ::closedir(processes);
  return holders;
}

}  // namespace velmora::support
