#pragma once
// Rewrites statements written with [bracketed] names, SELECT TOP n and
// CONVERT(DATETIME, '...', 102) into each engine's own SQL. Each rewrite is
// a pass over the tokens; the catalogue views of the server dialect will be
// one more pass here.
#include <string>
#include <string_view>

#include "ado/dialect/engine.hpp"

namespace velmora::ado::dialect {

std::string Rewrite(std::string_view sql, Engine engine);

}  // namespace velmora::ado::dialect
