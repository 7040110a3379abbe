#pragma once
// Engine queries for what the ODBC catalog functions do not tell about a
// table's indexes: which one enforces the primary key, descending key
// columns, clustering and how null keys are treated.
#include <string>
#include <vector>

namespace velmora::ado::dialect {

// A query and the text values for its `?` markers, in order.
struct CatalogQuery {
  std::string sql;
  std::vector<std::string> params;
  bool Empty() const noexcept { return sql.empty(); }
};

// The columns every index-columns query returns, one row per key column of
// each index, unique indexes first, then by index name and position.
enum IndexColumn : size_t {
  kIndexTableCatalog = 1,
  kIndexTableSchema,
  kIndexTableName,
  kIndexName,
  kIndexPrimary,     // 1 when the index enforces the primary key
  kIndexUnique,      // 1 for a unique index
  kIndexClustered,   // 1 when the table's rows are stored in the index's order
  kIndexNulls,       // AllowNullsEnum: 1 null keys refused, 0 allowed
  kIndexOrdinal,     // 1-based position of the column in the key
  kIndexColumnName,  // the column (or the expression) of the key
  kIndexDescending,  // 1 for a descending key column
};

// The name under which the engine's driver lists the index of SQLite's
// rowid key (an INTEGER PRIMARY KEY), which the engine itself does not list.
inline constexpr const char* kSqliteRowidKeyIndexName = "sqlite_autoindex_0";

// SQLite: pragma index_list / index_xinfo / table_info, plus a row for the
// rowid key.
CatalogQuery SqliteIndexColumns(const std::string& table);
// PostgreSQL: pg_index with indoption for descending columns. An empty
// schema takes the table that the name resolves to on the search path.
CatalogQuery PostgresIndexColumns(const std::string& schema, const std::string& table);

}  // namespace velmora::ado::dialect
