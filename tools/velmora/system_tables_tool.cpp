#include "system_tables_tool.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "velmora/support/file_errors.hpp"

namespace velmora::tool {

namespace {

// The embedded provider opens existing files only: a missing file is
// created empty first. (Without blocking: a FIFO is an error, not a wait.)
void CreateIfMissing(const std::string& path) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC, 0666);
  if (fd < 0) support::RaiseFileError("create", path, errno);
  ::close(fd);
}

// The provider reports every file it cannot open as one it cannot find; a
// missing folder, a folder in the file's place or a refused permission is
// reported as what it is instead. A missing file is left to the provider.
void CheckOpenable(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd >= 0) {
    ::close(fd);
    return;
  }
  if (support::FileErrorNumber(path, errno) != support::errFileNotFound) support::RaiseFileError("open", path, errno);
}

}  // namespace

std::shared_ptr<ado::Connection> OpenConnectionArgument(const std::string& argument, bool createFile) {
  std::string connectionString = argument;
  if (argument.find('=') == std::string::npos) {
    if (createFile) {
      CreateIfMissing(argument);
    } else {
      CheckOpenable(argument);
    }
    connectionString = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + argument;
  }
  auto connection = std::make_shared<ado::Connection>();
  connection->Open(connectionString);
  return connection;
}

}  // namespace velmora::tool
