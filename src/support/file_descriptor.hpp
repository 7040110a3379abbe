#pragma once
// A POSIX file descriptor closed when it goes out of scope.
#include <unistd.h>

namespace velmora::support {

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) noexcept : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const noexcept { return fd_; }
  // Closes now, reporting the error of close() (a write that was lost).
  int close() noexcept {
    const int rc = ::close(fd_);
    fd_ = -1;
    return rc;
  }

 private:
  int fd_;
};

}  // namespace velmora::support
