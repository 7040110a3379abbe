#pragma once
// The key by which editing addresses a row of a base table: the primary key,
// else the first unique index; none when the table has neither (then a row is
// found by all its original values).
#include <string>
#include <unordered_map>
#include <vector>

#include "ado/odbc/session.hpp"

namespace velmora::ado::detail {

struct TableRef {
  std::string catalog, schema, name;
  std::string Id() const { return catalog + '\x1f' + schema + '\x1f' + name; }
};

struct TableKey {
  std::vector<std::string> columns;  // base column names; empty: no key
  // Columns declared NOT NULL, where the driver's result description does
  // not tell (SQLite); empty elsewhere.
  std::vector<std::string> notNull;
};

struct Session::TableKeyCache {
  std::unordered_map<std::string, TableKey> byTable;
};

// The key of `table`, looked up in the engine's catalogue once per session.
// Statements that change definitions (CREATE, ALTER, DROP) empty the cache.
const TableKey& FindTableKey(Session& session, const TableRef& table);

}  // namespace velmora::ado::detail
