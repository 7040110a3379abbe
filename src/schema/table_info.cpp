// TableInfo: one table's owner, id, columns and indexes, read through the
// server catalogue views ("SQL") or the schema rowsets and the catalog
// object ("JET"). Each routine has its own handler and Source; the fields
// are always read before the indexes, which hold copies of them.
#include "schema/info_common.hpp"
#include "velmora/ado/catalog.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/fields/connection_utils.hpp"
#include "velmora/schema/schema_info.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {
namespace {

constexpr int32_t kNcharType = 239;
constexpr int32_t kNvarcharType = 231;

using ConnectionPtr = std::shared_ptr<ado::Connection>;

com::Variant Criteria(int position, const std::string& value, int count) {
  com::VariantArray criteria;
  criteria.items.assign(static_cast<size_t>(count), com::Variant());
  criteria.items[static_cast<size_t>(position)] = com::Variant(value);
  return com::Variant(std::move(criteria));
}

// The object of class T held under `key`; an item holding anything else
// raises 13 (type mismatch).
template <class T>
std::shared_ptr<T> Held(const com::CollectionPtr& items, const std::string& key) {
  auto object = items->Item(com::Variant(key)).ObjectAs<T>();
  if (!object) com::Raise(com::errTypeMismatch);
  return object;
}

AdoFieldPtr FieldOfTable(const AdoTable& table, const std::string& name) {
  return Held<AdoField>(table.Fields(), name);
}

// A copy of the table's field for an index, with the column's sort order.
void AddIndexColumn(const AdoTable& table, AdoIndex& index, const std::string& column, int32_t collation) {
  auto copy = std::make_shared<AdoField>();
  FieldOfTable(table, column)->CopyTo(copy);
  copy->Collation(collation);
  index.Fields()->Add(com::Variant(copy), com::Variant(column));
}

// The type names of the catalogue row of the field's native code, when
// there is one.
void LookUpType(AdoField& field, const com::CollectionPtr& types, bool withFixed) {
  const std::string key = DataTypeKey(field.NType());
  if (!types || !types->HasKey(key)) return;
  const auto type = Held<AdoDataType>(types, key);
  field.NTypeName(type->NName());
  field.AType(type->AType());
  field.ATypeName(type->AName());
  if (withFixed) field.Fixed(type->Fixed());
}

// The schema rowset of the table must have a row; its TABLE_SCHEMA is the owner.
void CheckTableSchema(const ConnectionPtr& cnn, AdoTable& table) {
  auto rs = cnn->OpenSchema(ado::adSchemaTables, Criteria(2, table.Name(), 4));
  if (rs->IsEOF()) com::Raise(com::errLibrary, "Nessuno schema per la tabella " + table.Name());
  table.Owner(schema::TextOf(*rs, "TABLE_SCHEMA"));
  RecordsetClose(rs);
}

// ---- SQL: the server catalogue views

bool FieldsInfoSQL(const ConnectionPtr& cnn, const AdoTablePtr& table, const com::CollectionPtr& types) {
  std::shared_ptr<ado::Recordset> rs;
  return schema::RunRoutine("FieldsInfoSQL", rs, [&] {
    table->Fields(std::make_shared<com::Collection>());
    rs = schema::OpenQuery(cnn, "SELECT * FROM syscolumns WHERE id=" + std::to_string(table->Id()) + " order by colid",
                           ado::adLockOptimistic);
    for (; !rs->IsEOF(); rs->MoveNext()) {
      auto field = std::make_shared<AdoField>();
      field->Name(schema::TextOf(*rs, "name"));
      field->NType(schema::NumberOf(*rs, "xtype"));
      field->Size(schema::NumberOf(*rs, "length"));
      field->Precision(schema::NumberOf(*rs, "prec"));
      // nchar and nvarchar sizes in characters, not bytes.
      if (field->NType() == kNcharType || field->NType() == kNvarcharType) field->Size(field->Precision());
      field->NumScale(schema::NumberOf(*rs, "scale"));
      field->IsNullable(schema::FlagOf(*rs, "isnullable"));
      field->Id(schema::NumberOf(*rs, "colid"));
      LookUpType(*field, types, true);
      table->Fields()->Add(com::Variant(field), com::Variant(field->Name()));
    }
  });
}

// Names of the table's objects (its constraints), each between NUL characters.
std::string ObjectList(const ConnectionPtr& cnn, int32_t tableId, std::shared_ptr<ado::Recordset>& rs) {
  rs = schema::OpenQuery(cnn, "SELECT * FROM sysobjects WHERE parent_obj=" + std::to_string(tableId),
                         ado::adLockOptimistic);
  std::string list;
  for (; !rs->IsEOF(); rs->MoveNext()) list += std::string(1, '\0') + schema::TextOf(*rs, "name") + '\0';
  RecordsetClose(rs);
  return list;
}

// Whether the list holds the name, compared without regard to case.
bool ListsObject(const std::string& foldedList, const std::string& name) {
  return foldedList.find(com::FoldKeyCase(std::string(1, '\0') + name + '\0')) != std::string::npos;
}

void IndexesFromRowset(const ConnectionPtr& cnn, AdoTable& table, std::shared_ptr<ado::Recordset>& rs) {
  rs = cnn->OpenSchema(ado::adSchemaIndexes, Criteria(4, table.Name(), 5));
  for (; !rs->IsEOF(); rs->MoveNext()) {
    if (rs->Fields()->Item(com::Variant("INDEX_NAME"))->Value().IsNull()) continue;
    const std::string name = schema::TextOf(*rs, "INDEX_NAME");
    if (!table.Indexes()->HasKey(name)) {
      auto index = std::make_shared<AdoIndex>();
      index->Clustered(schema::FlagOf(*rs, "CLUSTERED"));
      index->HasNulls(schema::NumberOf(*rs, "NULLS"));
      index->Name(name);
      index->Primary(schema::FlagOf(*rs, "PRIMARY_KEY"));
      index->Unique(schema::FlagOf(*rs, "UNIQUE"));
      index->Fields(std::make_shared<com::Collection>());
      table.Indexes()->Add(com::Variant(index), com::Variant(name));
    }
    const auto index = Held<AdoIndex>(table.Indexes(), name);
    AddIndexColumn(table, *index, schema::TextOf(*rs, "COLUMN_NAME"), schema::NumberOf(*rs, "COLLATION"));
  }
  RecordsetClose(rs);
}

void PrimaryKeysFromRowset(const ConnectionPtr& cnn, AdoTable& table, std::shared_ptr<ado::Recordset>& rs) {
  rs = cnn->OpenSchema(ado::adSchemaPrimaryKeys, Criteria(2, table.Name(), 3));
  for (; !rs->IsEOF(); rs->MoveNext()) {
    const std::string name = schema::TextOf(*rs, "PK_NAME");
    if (table.Indexes()->HasKey(name)) Held<AdoIndex>(table.Indexes(), name)->Primary(true);
  }
  RecordsetClose(rs);
}

bool IndexesInfoSQL(const ConnectionPtr& cnn, const AdoTablePtr& table) {
  std::shared_ptr<ado::Recordset> rs;
  return schema::RunRoutine("IndexesInfoSQL", rs, [&] {
    table->Indexes(std::make_shared<com::Collection>());
    const std::string objects = com::FoldKeyCase(ObjectList(cnn, table->Id(), rs));
    IndexesFromRowset(cnn, *table, rs);
    PrimaryKeysFromRowset(cnn, *table, rs);
    for (int32_t i = 1; i <= table->Indexes()->Count(); ++i) {
      const auto index = Held<AdoIndex>(table->Indexes(), table->Indexes()->KeyAt(i));
      if (ListsObject(objects, index->Name())) index->IsObject(true);
    }
  });
}

bool TableInfoSQL(const ConnectionPtr& cnn, const AdoTablePtr& table, const com::CollectionPtr& types) {
  std::shared_ptr<ado::Recordset> rs;
  return schema::RunRoutine("TableInfoSQL", rs, [&] {
    // The name goes into the text as it stands, as the system's other
    // catalogue queries do.
    rs = schema::OpenQuery(cnn, "SELECT id FROM sysobjects WHERE name='" + table->Name() + "'", ado::adLockOptimistic);
    if (rs->IsEOF()) com::Raise(com::errLibrary, "La tabella " + table->Name() + " non è in sysobjects.");
    table->Id(schema::NumberOf(*rs, "id"));
    RecordsetClose(rs);
    CheckTableSchema(cnn, *table);
    if (!FieldsInfoSQL(cnn, table, types)) IndexesInfoSQL(cnn, table);
  });
}

// ---- JET: the schema rowsets and the catalog object

// The catalog's view of the table the schema rowset has just found, made
// directly rather than looked up in a Catalog's table list: that list holds
// every table of the database, and reading it for each table would make
// DatabaseInfo grow with the square of the table count.
ado::TablePtr CatalogTable(const ConnectionPtr& cnn, const AdoTable& table) {
  return std::make_shared<ado::Table>(cnn, table.Owner(), table.Name(), "TABLE");
}

bool FieldsInfoJet(const ado::TablePtr& source, const AdoTablePtr& table, const com::CollectionPtr& types) {
  std::shared_ptr<ado::Recordset> none;
  return schema::RunRoutine("FieldsInfoJet", none, [&] {
    table->Fields(std::make_shared<com::Collection>());
    const ado::ColumnsPtr columns = source->Columns();
    for (const ado::ColumnPtr& column : *columns) {
      auto field = std::make_shared<AdoField>();
      field->Name(column->Name());
      field->NType(column->Type());
      field->Size(column->DefinedSize());
      field->Precision(column->Precision());
      field->NumScale(static_cast<uint8_t>(column->NumericScale()));
      field->IsNullable((column->Attributes() & ado::adColNullable) == ado::adColNullable);
      field->Fixed((column->Attributes() & ado::adColFixed) != 0);
      // The catalogue is keyed by Jet codes and the column reports an ADO
      // type: only the codes both spaces share find a row.
      LookUpType(*field, types, false);
      table->Fields()->Add(com::Variant(field), com::Variant(field->Name()));
    }
  });
}

bool IndexesInfoJet(const ado::TablePtr& catalogTable, const AdoTablePtr& table) {
  std::shared_ptr<ado::Recordset> none;
  return schema::RunRoutine("IndexesInfoJet", none, [&] {
    table->Indexes(std::make_shared<com::Collection>());
    const ado::IndexesPtr indexes = catalogTable->Indexes();
    for (const ado::IndexPtr& source : *indexes) {
      auto index = std::make_shared<AdoIndex>();
      index->Clustered(source->Clustered());
      index->HasNulls(source->IndexNulls());
      index->Name(source->Name());
      index->Primary(source->PrimaryKey());
      index->Unique(source->Unique());
      index->Fields(std::make_shared<com::Collection>());
      const ado::ColumnsPtr keyColumns = source->Columns();
      for (const ado::ColumnPtr& column : *keyColumns) {
        AddIndexColumn(*table, *index, column->Name(), column->SortOrder());
      }
      table->Indexes()->Add(com::Variant(index), com::Variant(index->Name()));
    }
  });
}

bool TableInfoJet(const ConnectionPtr& cnn, const AdoTablePtr& table, const com::CollectionPtr& types) {
  std::shared_ptr<ado::Recordset> none;
  return schema::RunRoutine("TableInfoJet", none, [&] {
    CheckTableSchema(cnn, *table);
    const ado::TablePtr source = CatalogTable(cnn, *table);
    if (!FieldsInfoJet(source, table, types)) IndexesInfoJet(source, table);
  });
}

}  // namespace

bool TableInfo(const ConnectionPtr& cnn, const AdoTablePtr& RetTable, const AdoFlagsPtr& Flags) {
  com::CollectionPtr types;
  return TableInfo(cnn, RetTable, Flags, types);
}

bool TableInfo(const ConnectionPtr& cnn, const AdoTablePtr& RetTable, const AdoFlagsPtr& Flags,
               com::CollectionPtr& DataTypes) {
  std::shared_ptr<ado::Recordset> none;
  return schema::RunRoutine("TableInfo", none, [&] {
    const std::string dbms = schema::DbmsOf(Flags);
    if (!DataTypes) TypesInfo(cnn, DataTypes, Flags);
    if (dbms == "JET") TableInfoJet(cnn, RetTable, DataTypes);
    else if (dbms == "SQL") TableInfoSQL(cnn, RetTable, DataTypes);
  });
}

}  // namespace velmora
