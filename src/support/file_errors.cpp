// Runtime errors for failed file operations, from errno.
#include "velmora/support/file_errors.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "velmora/com/error.hpp"

namespace velmora::support {

namespace {

namespace fs = std::filesystem;

// The folder `path` lies in ("." for a bare name).
fs::path FolderOf(const std::string& path) {
  const fs::path parent = fs::path(path).parent_path();
  return parent.empty() ? fs::path(".") : parent;
}

bool FolderExists(const fs::path& folder) {
  std::error_code ec;
  return fs::is_directory(folder, ec);
}

const char* RuntimeText(int32_t number) {
  switch (number) {
    case errFileNotFound: return "File not found";
    case errPermissionDenied: return "Permission denied";
    case errPathNotFound: return "Path not found";
    default: return "Path/File access error";
  }
}

std::string Cause(const std::string& path, int error) {
  if (error == EISDIR) return "it is a folder";
  const fs::path folder = FolderOf(path);
  if ((error == ENOENT || error == ENOTDIR) && !FolderExists(folder)) {
    std::error_code ec;
    if (fs::exists(folder, ec)) return "'" + folder.string() + "' is not a folder";
    return "the folder '" + folder.string() + "' does not exist";
  }
  return std::strerror(error);
}

}  // namespace

int32_t FileErrorNumber(const std::string& path, int error) {
  switch (error) {
    case ENOENT: return FolderExists(FolderOf(path)) ? errFileNotFound : errPathNotFound;
    case ENOTDIR: return errPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS: return errPermissionDenied;
    default: return errPathFileAccess;
  }
}

void RaiseFileError(const std::string& action, const std::string& path, int error) {
  const int32_t number = FileErrorNumber(path, error);
  com::Raise(number, std::string(RuntimeText(number)) + ": cannot " + action + " '" + path + "': " + Cause(path, error));
}

}  // namespace velmora::support
