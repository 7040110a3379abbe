#include "velmora/ado/catalog.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>

#include "ado/connection_internal.hpp"
#include "ado/connection_string.hpp"
#include "ado/dialect/dialect.hpp"
#include "ado/error_map.hpp"
#include "ado/variant_index.hpp"
#include "com/utf.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::ado {
namespace {

constexpr const char* kCatalogSource = "Velmora.ado.Catalog";

com::Variant Restrictions(std::vector<com::Variant> items) {
  com::VariantArray a;
  a.items = std::move(items);
  return com::Variant(std::move(a));
}

com::Variant Value(const RecordsetPtr& rs, const char* name) { return rs->Fields()->Item(com::Variant(name))->Value(); }

std::string Text(const RecordsetPtr& rs, const char* name) {
  const com::Variant v = Value(rs, name);
  return v.IsNull() ? std::string() : com::CStr(v);
}

com::Variant SchemaRestriction(const std::string& schema) {
  return schema.empty() ? com::Variant() : com::Variant(schema);
}

// Precision and scale where they apply; the Field's 255 ("not applicable") is 0.
int32_t Applicable(int32_t value) { return value == 255 ? 0 : value; }

Column::Definition DefinitionOf(const Field& f) {
  Column::Definition d;
  d.name = f.Name();
  d.type = f.Type();
  d.definedSize = f.DefinedSize();
  d.precision = Applicable(f.Precision());
  d.numericScale = Applicable(f.NumericScale());
  d.attributes = ((f.Attributes() & adFldFixed) ? adColFixed : 0) | ((f.Attributes() & adFldIsNullable) ? adColNullable : 0);
  return d;
}

// A copy of the table's column of that name (only the name for an
// expression in an index key).
Column::Definition CopyOf(const Columns& tableColumns, const std::string& name) {
  for (const ColumnPtr& c : tableColumns) {
    if (c->Name() == name) {
      return {c->Name(), c->Type(), c->DefinedSize(), c->Precision(), c->NumericScale(), c->Attributes()};
    }
  }
  Column::Definition d;
  d.name = name;
  return d;
}

// The columns as a query of the table describes them: the same types and
// sizes as any Recordset on it reports, in one round trip and no rows.
// The table is named with its schema when it has one (a table outside the
// search path of a server engine).
ColumnsPtr ReadColumns(const ConnectionPtr& cn, const std::string& schema, const std::string& table) {
  auto session = Connection::Internal::SessionOf(*cn, "Table.Columns");
  const dialect::Dialect& dialect = session->Dialect();
  const std::string quoted = (schema.empty() ? std::string() : dialect.QuoteName(schema) + ".") + dialect.QuoteName(table);
  auto rs = std::make_shared<Recordset>();
  rs->Open(com::Variant("SELECT * FROM " + quoted + " WHERE 1 = 0"), com::Variant(cn),
           adOpenForwardOnly, adLockReadOnly, adCmdText);
  std::vector<ColumnPtr> columns;
  for (const auto& f : *rs->Fields()) columns.push_back(std::make_shared<Column>(DefinitionOf(*f)));
  rs->Close();
  return std::make_shared<Columns>(std::move(columns), "Columns");
}

// The indexes from the index rowset (one row per key column, an index's
// rows together), each column a copy of the table's with its sort order.
IndexesPtr ReadIndexes(const ConnectionPtr& cn, const std::string& schema, const std::string& table,
                       const Columns& tableColumns) {
  if (cn->State() != adStateOpen) detail::RaiseAdo(adErrObjectClosed, kCatalogSource, "Table.Indexes");
  auto rs = cn->OpenSchema(adSchemaIndexes,
                           Restrictions({com::Variant(), SchemaRestriction(schema), com::Variant(), com::Variant(),
                                         com::Variant(table)}));
  std::vector<std::string> order;
  std::map<std::string, std::pair<Index::Definition, std::vector<ColumnPtr>>> found;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    const std::string name = Text(rs, "INDEX_NAME");
    auto [entry, added] = found.try_emplace(name);
    if (added) {
      order.push_back(name);
      const com::Variant nulls = Value(rs, "NULLS");
      entry->second.first = {name, com::CBool(Value(rs, "CLUSTERED")), nulls.IsNull() ? 0 : com::CLng(nulls),
                             com::CBool(Value(rs, "PRIMARY_KEY")), com::CBool(Value(rs, "UNIQUE"))};
    }
    const std::string columnName = Text(rs, "COLUMN_NAME");
    Column::Definition d = CopyOf(tableColumns, columnName);
    const com::Variant collation = Value(rs, "COLLATION");
    d.sortOrder = !collation.IsNull() && com::CLng(collation) == 2 ? adSortDescending : adSortAscending;
    entry->second.second.push_back(std::make_shared<Column>(std::move(d)));
  }
  std::vector<IndexPtr> indexes;
  for (const std::string& name : order) {
    auto& [definition, columns] = found[name];
    indexes.push_back(std::make_shared<Index>(definition, std::make_shared<Columns>(std::move(columns), "Columns")));
  }
  return std::make_shared<Indexes>(std::move(indexes), "Indexes");
}

bool IsTableOrView(const std::string& type) { return type == "TABLE" || type == "VIEW"; }

// Creates the file, failing when something is already there (the check and
// the creation are one step, so two callers cannot both create it).
void CreateNewFile(const std::string& file) {
  if (file.empty()) detail::RaiseAdo(adErrInvalidArgument, kCatalogSource, "Create: the string names no Data Source");
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
  if (fd < 0) {
    const std::string why = errno == EEXIST ? "already exists" : "cannot be created: " + std::string(strerror(errno));
    throw com::Error(E_FAIL_, "Database '" + file + "' " + why + ".", kCatalogSource);
  }
  ::close(fd);
}

}  // namespace

Table::Table(ConnectionPtr connection, std::string schema, std::string name, std::string type)
    : connection_(std::move(connection)), schema_(std::move(schema)), name_(std::move(name)), type_(std::move(type)) {}

ColumnsPtr Table::Columns() const {
  if (!columns_) columns_ = ReadColumns(connection_, schema_, name_);
  return columns_;
}

IndexesPtr Table::Indexes() const {
  if (!indexes_) indexes_ = ReadIndexes(connection_, schema_, name_, *Columns());
  return indexes_;
}

com::Variant Catalog::ActiveConnection() const {
  if (!connection_) return com::Variant(nullptr);
  return com::Variant(connection_);
}

void Catalog::ActiveConnection(const com::Variant& connection) {
  ConnectionPtr next;
  if (connection.IsString()) {
    next = std::make_shared<Connection>();
    next->Open(connection.Get<std::string>());
  } else if (connection.IsObject()) {
    next = connection.ObjectAs<Connection>();
    if (!next && connection.Object()) detail::RaiseAdo(adErrInvalidArgument, kCatalogSource, "ActiveConnection takes a Connection");
  }
  connection_ = std::move(next);
  tables_.reset();
}

TablesPtr Catalog::Tables() const {
  if (tables_) return tables_;
  if (!connection_) detail::RaiseAdo(adErrObjectClosed, kCatalogSource, "Tables: no ActiveConnection");
  const auto& dialect = Connection::Internal::SessionOf(*connection_, "Catalog.Tables")->Dialect();
  auto rs = connection_->OpenSchema(adSchemaTables);
  std::vector<TablePtr> tables;
  for (; !rs->IsEOF(); rs->MoveNext()) {
    const std::string type = Text(rs, "TABLE_TYPE");
    if (!IsTableOrView(type) || dialect.IsEngineTable(Text(rs, "TABLE_NAME"))) continue;
    tables.push_back(std::make_shared<Table>(connection_, Text(rs, "TABLE_SCHEMA"), Text(rs, "TABLE_NAME"), type));
  }
  tables_ = std::make_shared<ado::Tables>(std::move(tables), "Tables");
  return tables_;
}

ConnectionPtr Catalog::Create(const std::string& connectionString) {
  const auto pairs = detail::ParseConnectionString(connectionString);
  const std::string provider = detail::FindValue(pairs, "Provider");
  if (!com::detail::EqualsIgnoringAsciiCase(provider, "Microsoft.Jet.OLEDB.4.0") &&
      !com::detail::EqualsIgnoringAsciiCase(provider, "Microsoft.ACE.OLEDB.12.0")) {
    detail::RaiseAdo(adErrFeatureNotAvailable, kCatalogSource,
                     "Create makes only embedded database files (Provider=Microsoft.Jet.OLEDB.4.0;Data Source=<path>); "
                     "a server's database is made on the server");
  }
  const std::string file = detail::FindValue(pairs, "Data Source");
  CreateNewFile(file);
  auto cn = std::make_shared<Connection>();
  try {
    cn->Open(connectionString);
  } catch (...) {
    std::error_code ec;
    std::filesystem::remove(file, ec);
    throw;
  }
  ActiveConnection(com::Variant(cn));
  return cn;
}

size_t CatalogItemPosition(const com::Variant& index, const std::vector<std::string>& names, const char* collection) {
  const std::string source = std::string("Velmora.ado.") + collection;
  if (const auto* name = index.TryGet<std::string>()) {
    for (size_t i = 0; i < names.size(); ++i) {
      if (com::detail::EqualsIgnoringAsciiCase(names[i], *name)) return i;
    }
    detail::RaiseAdo(adErrItemNotFound, source, "item '" + *name + "'");
  }
  const int64_t i = detail::PositionOf(index);
  if (i < 0 || i >= static_cast<int64_t>(names.size())) detail::RaiseAdo(adErrItemNotFound, source, "item position");
  return static_cast<size_t>(i);
}

}  // namespace velmora::ado
