#include "system_tables_tool.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "velmora/ado/catalog.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/support/file_errors.hpp"

namespace velmora::tool {

namespace {

// The provider reports every file it cannot open as one it cannot find; a
// missing folder, a folder in the file's place or a refused permission is
// reported as what it is instead. Returns false when only the file itself is
// missing. (Without blocking: a FIFO is an error, not a wait.)
bool CheckOpenable(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd >= 0) {
    ::close(fd);
    return true;
  }
  if (support::FileErrorNumber(path, errno) != support::errFileNotFound) support::RaiseFileError("open", path, errno);
  return false;
}

}  // namespace

std::string ConnectionStringArgument(const std::string& argument) {
  return argument.find('=') != std::string::npos ? argument : Macros().JETPROVIDER(argument);
}

std::shared_ptr<ado::Connection> OpenConnectionArgument(const std::string& argument, bool createFile) {
  auto connection = std::make_shared<ado::Connection>();
  const std::string connectionString = ConnectionStringArgument(argument);
  if (connectionString == argument) {
    connection->Open(argument);
    return connection;
  }
  // A missing file is left to the provider, which names it, unless asked to
  // make a new database there.
  if (!CheckOpenable(argument) && createFile) return std::make_shared<ado::Catalog>()->Create(connectionString);
  connection->Open(connectionString);
  return connection;
}

}  // namespace velmora::tool
