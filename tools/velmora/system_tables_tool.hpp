#pragma once
// What the system-table commands (init, unk, lock, demo) share: opening the
// CONNECTION argument.
#include <memory>
#include <string>

#include "velmora/ado/connection.hpp"

namespace velmora::tool {

// Opens CONNECTION: a connection string in any form Connection.Open takes
// (it contains '='), or else the path of an SQLite file on the embedded
// default engine; with `createFile` a missing file is made a new database
// (Catalog.Create) first.
std::shared_ptr<ado::Connection> OpenConnectionArgument(const std::string& argument, bool createFile);

// The connection string CONNECTION stands for: itself when it contains '=',
// else the embedded provider's string for that file (JETPROVIDER).
std::string ConnectionStringArgument(const std::string& argument);

}  // namespace velmora::tool
