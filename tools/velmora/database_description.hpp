#pragma once
// What `velmora info` describes: the base tables of a database through
// DatabaseInfo, optionally in batches so that progress can be reported on
// stderr while a large database is read.
#include <memory>
#include <string>

#include "velmora/ado/connection.hpp"
#include "velmora/com/collection.hpp"

namespace velmora::tool {

struct DescribeOptions {
  std::string dbms = "SQL";  // "SQL" or "JET"
  std::string include;       // comma-separated table names; empty: every table
  std::string exclude;
  bool progress = false;   // report on stderr even when it is not a terminal
};

// The AdoTable objects of the tables to describe, keyed by name, in the
// order the database lists them. Progress lines ("described N/M tables")
// go to stderr at most four times a second: always with options.progress
// (then also a last line), otherwise only while stderr is a terminal and the
// work has lasted longer than a quarter of a second.
com::CollectionPtr DescribeDatabase(const std::shared_ptr<ado::Connection>& connection,
                                    const DescribeOptions& options);

}  // namespace velmora::tool
