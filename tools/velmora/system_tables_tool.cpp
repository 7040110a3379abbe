#include "system_tables_tool.hpp"

#include <fstream>

namespace velmora::tool {

std::shared_ptr<ado::Connection> OpenConnectionArgument(const std::string& argument, bool createFile) {
  std::string connectionString = argument;
  if (argument.find('=') == std::string::npos) {
    // The embedded provider opens existing files only.
    if (createFile) std::ofstream(argument, std::ios::app).flush();
    connectionString = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + argument;
  }
  auto connection = std::make_shared<ado::Connection>();
  connection->Open(connectionString);
  return connection;
}

}  // namespace velmora::tool
