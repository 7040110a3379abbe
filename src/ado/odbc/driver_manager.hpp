#pragma once
// What the ODBC driver manager says of itself.
#include <string>

namespace velmora::ado::odbc {

// The driver manager's version ("03.52.0016.0000"), or "" when it does not tell.
std::string DriverManagerVersion();

}  // namespace velmora::ado::odbc
