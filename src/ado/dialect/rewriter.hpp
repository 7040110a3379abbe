#pragma once
// Rewrites statements written with [bracketed] names, SELECT TOP n,
// CONVERT(DATETIME, '...', 102), the server's column types and its catalogue
// views systypes, sysobjects, syscolumns (and OBJECT_ID) into each engine's
// own SQL. Each rewrite is a pass over the tokens.
#include <string>
#include <string_view>

#include "ado/dialect/engine.hpp"

namespace velmora::ado::dialect {

std::string Rewrite(std::string_view sql, Engine engine);

}  // namespace velmora::ado::dialect
