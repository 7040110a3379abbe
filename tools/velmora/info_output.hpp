#pragma once
// The two shapes of `velmora info`'s output: aligned text for a person and
// one JSON document for scripts (docs/tool.md describes both).
#include <iosfwd>
#include <string>

#include "velmora/com/collection.hpp"

namespace velmora::tool {

// `tables` holds AdoTable objects (as DatabaseInfo returns them).
void PrintTablesText(std::ostream& out, const com::CollectionPtr& tables);
void PrintTablesJson(std::ostream& out, const com::CollectionPtr& tables, const std::string& dbms);

}  // namespace velmora::tool
