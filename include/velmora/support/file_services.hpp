#pragma once
// File services of the support object: temporary file names, the free space
// of a file system, the folder of a path, deleting and copying files, and
// the processes that hold a file open. Failures raise the runtime's file
// errors (file_errors.hpp): 53 file not found, 76 path not found, 70
// permission denied, 75 other access errors.
#include <cstdint>
#include <string>
#include <vector>

namespace velmora::support {

class FileServices {
 public:
  // The system's folder for temporary files: TMPDIR when it names a folder,
  // else /tmp.
  std::string TempFolder() const;
  // Creates a new, empty file "<folder>/<prefix>XXXXXX.tmp" (the X's chosen
  // so that the name is new, readable and writable by the owner only) and
  // returns its path.
  std::string TempFileName(const std::string& folder, const std::string& prefix) const;
  // Bytes an unprivileged user may still write on the file system holding
  // `path` (a file or a folder that exists).
  int64_t FreeSpace(const std::string& path) const;
  // The absolute folder `path` lies in; false when it has none.
  bool FolderOf(const std::string& path, std::string& folder) const;
  // Deletes the file `path` (a missing file is error 53).
  void FileDelete(const std::string& path) const;
  // Copies the file `from` to `to` (created or replaced) and flushes the
  // copy and its folder to disk before returning. On failure a partial
  // `to` is removed and the error raised.
  void FileCopy(const std::string& from, const std::string& to) const;
  // The ids of the processes, this one included, that hold a descriptor on
  // the file `path` (same device and inode), among the processes whose open
  // files this user may read. Empty when `path` does not exist.
  std::vector<int> ProcessesHolding(const std::string& path) const;
};

}  // namespace velmora::support
