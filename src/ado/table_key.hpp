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

// The keys that editing found on one session. A table's key is looked up in
// the engine's catalogue once; after the session ran a statement that may
// change definitions (CREATE, ALTER, DROP) every key is looked up again.
class TableKeyCache {
 public:
  const TableKey& Find(Session& session, const TableRef& table);

 private:
  std::unordered_map<std::string, TableKey> byTable_;
  uint64_t definitionsVersion_ = 0;
};

}  // namespace velmora::ado::detail
