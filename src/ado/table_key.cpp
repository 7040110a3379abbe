#include "ado/table_key.hpp"

#include <map>
#include <optional>

#include "ado/dialect/dialect.hpp"

namespace velmora::ado::detail {
namespace {

std::string TextAt(const Row& row, size_t position) {
  if (position - 1 >= row.size()) return {};
  const auto* s = row[position - 1].TryGet<std::string>();
  return s ? *s : std::string();
}

int64_t IntAt(const Row& row, size_t position) {
  if (position - 1 >= row.size()) return 0;
  const com::Variant& v = row[position - 1];
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  if (auto p = v.TryGet<std::string>()) return std::atoll(p->c_str());
  return 0;
}

std::optional<std::string> Given(const std::string& s) {
  return s.empty() ? std::nullopt : std::optional<std::string>(s);
}

// Columns in key order (KEY_SEQ / ORDINAL_POSITION) of rows grouped by name.
std::vector<std::string> Ordered(const std::map<int64_t, std::string>& columns) {
  std::vector<std::string> out;
  for (const auto& [position, name] : columns) out.push_back(name);
  return out;
}

// SQLColumns: COLUMN_NAME (4), NULLABLE (11) is SQL_NO_NULLS (0) for NOT NULL.
std::vector<std::string> NotNullColumns(Session& s, const std::vector<std::optional<std::string>>& where) {
  std::vector<std::optional<std::string>> columnsOf = where;
  columnsOf.emplace_back(std::nullopt);
  std::vector<std::string> out;
  for (const Row& r : ReadAll(*s.Catalog(CatalogCall::Columns, columnsOf))) {
    if (r.size() >= 11 && !r[10].IsNull() && IntAt(r, 11) == 0) out.push_back(TextAt(r, 4));
  }
  return out;
}

TableKey DiscoverKey(Session& s, const std::vector<std::optional<std::string>>& where) {
  std::map<int64_t, std::string> primary;
  for (const Row& r : ReadAll(*s.Catalog(CatalogCall::PrimaryKeys, where))) primary[IntAt(r, 5)] = TextAt(r, 4);
  if (!primary.empty()) return TableKey{Ordered(primary), {}};
  // SQLStatistics: NON_UNIQUE (4) is 0 for unique indexes; INDEX_NAME (6),
  // ORDINAL_POSITION (8), COLUMN_NAME (9); TYPE (7) 0 is the statistics row.
  std::map<std::string, std::map<int64_t, std::string>> unique;
  for (const Row& r : ReadAll(*s.Catalog(CatalogCall::Statistics, where))) {
    if (IntAt(r, 7) == 0 || IntAt(r, 4) != 0) continue;
    unique[TextAt(r, 6)][IntAt(r, 8)] = TextAt(r, 9);
  }
  if (unique.empty()) return TableKey{};
  return TableKey{Ordered(unique.begin()->second), {}};
}

TableKey Discover(Session& s, const TableRef& t) {
  const std::vector<std::optional<std::string>> where{Given(t.catalog), Given(t.schema), t.name};
  TableKey found = DiscoverKey(s, where);
  if (s.Dialect().NotNullFromCatalogue()) found.notNull = NotNullColumns(s, where);
  return found;
}

}  // namespace

const TableKey& TableKeyCache::Find(Session& session, const TableRef& table) {
  if (session.DefinitionsVersion() != definitionsVersion_) {
    byTable_.clear();
    definitionsVersion_ = session.DefinitionsVersion();
  }
  const std::string id = table.Id();
  auto it = byTable_.find(id);
  if (it == byTable_.end()) it = byTable_.emplace(id, Discover(session, table)).first;
  return it->second;
}

}  // namespace velmora::ado::detail
