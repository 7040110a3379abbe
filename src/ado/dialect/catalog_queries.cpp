#include "ado/dialect/catalog_queries.hpp"

namespace velmora::ado::dialect {

CatalogQuery SqliteIndexColumns(const std::string& table) {
  // A primary key refuses null keys when it is the rowid, when the table has
  // no rowid (the key then stores the row), or when all its columns are NOT
  // NULL; otherwise the engine lets a null key in.
  static const std::string kHasRowid =
      "EXISTS (SELECT 1 FROM pragma_index_xinfo(il.name) r WHERE r.cid = -1)";
  static const std::string kNullableKeyColumn =
      "EXISTS (SELECT 1 FROM pragma_index_xinfo(il.name) k JOIN pragma_table_info(?) c ON c.name = k.name "
      "WHERE k.key = 1 AND c.\"notnull\" = 0)";
  static const std::string sql =
      "SELECT '', '', ?, il.name, il.origin = 'pk', il.\"unique\", il.origin = 'pk' AND NOT " + kHasRowid +
      ", CASE WHEN il.origin = 'pk' AND NOT (" + kHasRowid + " AND " + kNullableKeyColumn +
      ") THEN 1 ELSE 0 END, x.seqno + 1, x.name, x.\"desc\" "
      "FROM pragma_index_list(?) il JOIN pragma_index_xinfo(il.name) x ON x.key = 1 "
      "UNION ALL "
      "SELECT '', '', ?, '" + std::string(kSqliteRowidKeyIndexName) + "', 1, 1, 1, 1, 1, c.name, 0 "
      "FROM pragma_table_info(?) c WHERE c.pk = 1 AND upper(c.type) = 'INTEGER' "
      "AND NOT EXISTS (SELECT 1 FROM pragma_index_list(?) WHERE origin = 'pk') "
      "AND (SELECT count(*) FROM pragma_table_info(?) WHERE pk > 0) = 1 "
      "ORDER BY 6 DESC, 4, 9";
  return {sql, std::vector<std::string>(7, table)};
}

CatalogQuery PostgresIndexColumns(const std::string& schema, const std::string& table) {
  static const std::string sql =
      "SELECT pg_catalog.current_database(), n.nspname, t.relname, ic.relname, i.indisprimary::int, "
      "i.indisunique::int, i.indisclustered::int, CASE WHEN i.indisprimary THEN 1 ELSE 0 END, k.n + 1, "
      "COALESCE(a.attname::text, pg_catalog.pg_get_indexdef(i.indexrelid, k.n + 1, true)), "
      "(i.indoption[k.n] & 1)::int "
      "FROM pg_catalog.pg_index i "
      "JOIN pg_catalog.pg_class ic ON ic.oid = i.indexrelid "
      "JOIN pg_catalog.pg_class t ON t.oid = i.indrelid "
      "JOIN pg_catalog.pg_namespace n ON n.oid = t.relnamespace "
      "CROSS JOIN LATERAL pg_catalog.generate_series(0, i.indnkeyatts - 1) AS k(n) "
      "LEFT JOIN pg_catalog.pg_attribute a ON a.attrelid = t.oid AND a.attnum = i.indkey[k.n] "
      "WHERE t.relname = ? AND (n.nspname = ? OR (? = '' AND pg_catalog.pg_table_is_visible(t.oid))) "
      "ORDER BY 6 DESC, 4, 9";
  return {sql, {table, schema, schema}};
}

}  // namespace velmora::ado::dialect
