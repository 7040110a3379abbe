#include "ado/schema_rowsets.hpp"

#include <optional>
#include <string>

#include "ado/dialect/dialect.hpp"
#include "ado/error_map.hpp"
#include "ado/odbc/session.hpp"
#include "ado/values.hpp"
#include "velmora/ado/types.hpp"

namespace velmora::ado::detail {
namespace {

using Restriction = std::optional<std::string>;

// OLE DB column types of the rowsets and how they appear as Fields.
enum class OleType { WStr, Guid, Bool, I2, UI2, I4, UI4, UI8, Date };

ColumnInfo SchemaColumn(const char* name, OleType type) {
  ColumnInfo c;
  c.name = name;
  c.attributes = adFldIsNullable | adFldMayBeNull;
  switch (type) {
    case OleType::WStr: c.type = adVarWChar; c.definedSize = 128; break;
    case OleType::Guid: c.type = adGUID; c.definedSize = 16; break;
    case OleType::Bool: c.type = adBoolean; c.definedSize = 2; break;
    case OleType::I2: c.type = adSmallInt; c.definedSize = 2; c.precision = 5; break;
    case OleType::UI2: c.type = adUnsignedSmallInt; c.definedSize = 2; c.precision = 5; break;
    case OleType::I4: c.type = adInteger; c.definedSize = 4; c.precision = 10; break;
    case OleType::UI4: c.type = adUnsignedInt; c.definedSize = 4; c.precision = 10; break;
    case OleType::UI8: c.type = adUnsignedBigInt; c.definedSize = 8; c.precision = 20; break;
    case OleType::Date: c.type = adDate; c.definedSize = 8; break;
  }
  if (type != OleType::WStr) c.attributes |= adFldFixed;
  return c;
}

struct RowsetColumn {
  const char* name;
  OleType type;
};

template <size_t N>
std::vector<ColumnInfo> Columns(const RowsetColumn (&columns)[N]) {
  std::vector<ColumnInfo> out;
  for (const auto& s : columns) out.push_back(SchemaColumn(s.name, s.type));
  return out;
}

std::vector<Restriction> Restrictions(const com::Variant& criteria, size_t count) {
  std::vector<Restriction> out(count);
  const auto* array = criteria.TryGet<com::VariantArray>();
  if (!array) {
    if (!criteria.IsMissing() && !criteria.IsEmpty()) {
      RaiseAdo(adErrInvalidArgument, kConnectionSource, "OpenSchema restrictions must be an array");
    }
    return out;
  }
  for (size_t i = 0; i < count && i < array->items.size(); ++i) {
    if (const auto* s = array->items[i].TryGet<std::string>()) out[i] = *s;
    else if (const auto* n = array->items[i].TryGet<int32_t>()) out[i] = std::to_string(*n);
    else if (const auto* h = array->items[i].TryGet<int16_t>()) out[i] = std::to_string(*h);
  }
  return out;
}

// Pattern arguments: restrictions are exact, so '%', '_' and the escape are escaped.
Restriction Pattern(const Restriction& r, const std::string& escape) {
  if (!r || escape.empty()) return r;
  std::string out;
  for (char c : *r) {
    if (c == '%' || c == '_' || escape.find(c) != std::string::npos) out += escape;
    out += c;
  }
  return out;
}

const com::Variant& At(const Row& row, size_t position) {
  static const com::Variant null = com::Null;
  return position - 1 < row.size() ? row[position - 1] : null;
}

std::optional<int64_t> IntAt(const Row& row, size_t position) {
  const com::Variant& v = At(row, position);
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  if (auto p = v.TryGet<double>()) return static_cast<int64_t>(*p);
  if (auto p = v.TryGet<com::Decimal>()) return p->negative ? -static_cast<int64_t>(p->lo64) : static_cast<int64_t>(p->lo64);
  if (auto p = v.TryGet<std::string>()) {
    try {
      return std::stoll(*p);
    } catch (...) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::string TextAt(const Row& row, size_t position) {
  const auto* s = At(row, position).TryGet<std::string>();
  return s ? *s : std::string();
}

com::Variant OrNull(std::optional<int64_t> v) {
  return v ? com::Variant(static_cast<int32_t>(*v)) : com::Variant(com::Null);
}

bool Matches(const Restriction& r, const com::Variant& value) {
  if (!r) return true;
  const auto* s = value.TryGet<std::string>();
  return s && *s == *r;
}

// ---- TABLES ------------------------------------------------------------------

constexpr RowsetColumn kTables[] = {{"TABLE_CATALOG", OleType::WStr}, {"TABLE_SCHEMA", OleType::WStr},
                                  {"TABLE_NAME", OleType::WStr},    {"TABLE_TYPE", OleType::WStr},
                                  {"TABLE_GUID", OleType::Guid},    {"DESCRIPTION", OleType::WStr},
                                  {"TABLE_PROPID", OleType::UI4},   {"DATE_CREATED", OleType::Date},
                                  {"DATE_MODIFIED", OleType::Date}};

std::vector<Row> CatalogTables(Session& s, const std::vector<Restriction>& r) {
  const std::string esc = s.SearchPatternEscape();
  // No schema restriction means every schema, also when a name is given.
  Restriction schema = Pattern(r[1], esc);
  if (!schema && r[2]) schema = s.Dialect().EverySchemaPattern();
  auto source = s.Catalog(CatalogCall::Tables, {Pattern(r[0], esc), schema, Pattern(r[2], esc), r[3]});
  std::vector<Row> rows;
  for (Row& t : ReadAll(*source)) {
    // Drivers may treat the pattern loosely: keep exact matches only.
    if (!Matches(r[2], At(t, 3)) || !Matches(r[3], At(t, 4))) continue;
    rows.push_back(std::move(t));
  }
  return rows;
}

std::unique_ptr<RowSource> TablesRowset(Session& s, const com::Variant& criteria) {
  std::vector<Row> rows;
  for (const Row& t : CatalogTables(s, Restrictions(criteria, 4))) {
    rows.push_back({At(t, 1), At(t, 2), At(t, 3), At(t, 4), com::Null, At(t, 5), com::Null, com::Null, com::Null});
  }
  return std::make_unique<MemoryRowSource>(Columns(kTables), std::move(rows));
}

// ---- COLUMNS -----------------------------------------------------------------

constexpr RowsetColumn kColumns[] = {
    {"TABLE_CATALOG", OleType::WStr},          {"TABLE_SCHEMA", OleType::WStr},
    {"TABLE_NAME", OleType::WStr},             {"COLUMN_NAME", OleType::WStr},
    {"COLUMN_GUID", OleType::Guid},            {"COLUMN_PROPID", OleType::UI4},
    {"ORDINAL_POSITION", OleType::UI4},        {"COLUMN_HASDEFAULT", OleType::Bool},
    {"COLUMN_DEFAULT", OleType::WStr},         {"COLUMN_FLAGS", OleType::UI4},
    {"IS_NULLABLE", OleType::Bool},            {"DATA_TYPE", OleType::UI2},
    {"TYPE_GUID", OleType::Guid},              {"CHARACTER_MAXIMUM_LENGTH", OleType::UI4},
    {"CHARACTER_OCTET_LENGTH", OleType::UI4},  {"NUMERIC_PRECISION", OleType::UI2},
    {"NUMERIC_SCALE", OleType::I2},            {"DATETIME_PRECISION", OleType::UI4},
    {"CHARACTER_SET_CATALOG", OleType::WStr},  {"CHARACTER_SET_SCHEMA", OleType::WStr},
    {"CHARACTER_SET_NAME", OleType::WStr},     {"COLLATION_CATALOG", OleType::WStr},
    {"COLLATION_SCHEMA", OleType::WStr},       {"COLLATION_NAME", OleType::WStr},
    {"DOMAIN_CATALOG", OleType::WStr},         {"DOMAIN_SCHEMA", OleType::WStr},
    {"DOMAIN_NAME", OleType::WStr},            {"DESCRIPTION", OleType::WStr}};

// The OLE DB type indicator of an ADO field type (the variable/long flags dropped).
int32_t OleDbType(int32_t adoType) {
  switch (adoType) {
    case adVarChar:
    case adLongVarChar: return adChar;
    case adVarWChar:
    case adLongVarWChar: return adWChar;
    case adVarBinary:
    case adLongVarBinary: return adBinary;
    default: return adoType;
  }
}

bool IsCharacterType(int32_t oleType) { return oleType == adChar || oleType == adWChar || oleType == adBinary; }
bool IsNumericType(int32_t t) {
  return t == adTinyInt || t == adSmallInt || t == adInteger || t == adBigInt || t == adUnsignedTinyInt ||
         t == adUnsignedSmallInt || t == adUnsignedInt || t == adUnsignedBigInt || t == adSingle || t == adDouble ||
         t == adCurrency || t == adNumeric || t == adDecimal;
}
bool IsDateType(int32_t t) { return t == adDBDate || t == adDBTime || t == adDBTimeStamp || t == adDate; }

Row ColumnRow(const Row& c, const dialect::Dialect& engine) {
  const auto sqlType = static_cast<int16_t>(IntAt(c, 5).value_or(0));
  const int64_t size = IntAt(c, 7).value_or(0);
  const auto digits = IntAt(c, 9);
  const auto nullable = static_cast<int16_t>(IntAt(c, 11).value_or(2));
  const ColumnInfo info =
      DescribeCatalogColumn(sqlType, size, static_cast<int16_t>(digits.value_or(0)), nullable, TextAt(c, 6), engine);
  const int32_t ole = OleDbType(info.type);
  const bool character = IsCharacterType(ole);
  const int32_t flags = adFldUnknownUpdatable | (info.attributes & (adFldFixed | adFldLong | adFldIsNullable |
                                                                     adFldMayBeNull));
  Row row(28, com::Null);
  row[0] = At(c, 1);
  row[1] = At(c, 2);
  row[2] = At(c, 3);
  row[3] = At(c, 4);
  row[6] = OrNull(IntAt(c, 17));
  row[7] = !At(c, 13).IsNull();
  row[8] = At(c, 13);
  row[9] = flags;
  row[10] = nullable != 0;
  row[11] = static_cast<int32_t>(ole);
  if (character) {
    row[13] = info.definedSize;
    row[14] = OrNull(IntAt(c, 16));
  }
  if (IsNumericType(info.type)) row[15] = static_cast<int32_t>(info.precision);
  if (info.type == adNumeric || info.type == adDecimal) row[16] = static_cast<int16_t>(digits.value_or(0));
  if (IsDateType(info.type)) row[17] = OrNull(digits);
  row[27] = At(c, 12);
  return row;
}

std::unique_ptr<RowSource> ColumnsRowset(Session& s, const com::Variant& criteria) {
  const auto r = Restrictions(criteria, 4);
  const std::string esc = s.SearchPatternEscape();
  auto source = s.Catalog(CatalogCall::Columns, {r[0], Pattern(r[1], esc), Pattern(r[2], esc), Pattern(r[3], esc)});
  std::vector<Row> rows;
  for (const Row& c : ReadAll(*source)) {
    if (!Matches(r[2], At(c, 3)) || !Matches(r[3], At(c, 4))) continue;
    rows.push_back(ColumnRow(c, s.Dialect()));
  }
  return std::make_unique<MemoryRowSource>(Columns(kColumns), std::move(rows));
}

// ---- INDEXES and PRIMARY_KEYS ------------------------------------------------

constexpr RowsetColumn kIndexes[] = {
    {"TABLE_CATALOG", OleType::WStr}, {"TABLE_SCHEMA", OleType::WStr},   {"TABLE_NAME", OleType::WStr},
    {"INDEX_CATALOG", OleType::WStr}, {"INDEX_SCHEMA", OleType::WStr},   {"INDEX_NAME", OleType::WStr},
    {"PRIMARY_KEY", OleType::Bool},   {"UNIQUE", OleType::Bool},         {"CLUSTERED", OleType::Bool},
    {"TYPE", OleType::UI2},           {"FILL_FACTOR", OleType::I4},      {"INITIAL_SIZE", OleType::I4},
    {"NULLS", OleType::I4},           {"SORT_BOOKMARKS", OleType::Bool}, {"AUTO_UPDATE", OleType::Bool},
    {"NULL_COLLATION", OleType::I4},  {"ORDINAL_POSITION", OleType::UI4}, {"COLUMN_NAME", OleType::WStr},
    {"COLUMN_GUID", OleType::Guid},   {"COLUMN_PROPID", OleType::UI4},   {"COLLATION", OleType::I2},
    {"CARDINALITY", OleType::UI8},    {"PAGES", OleType::I4},            {"FILTER_CONDITION", OleType::WStr}};

constexpr RowsetColumn kPrimaryKeys[] = {{"TABLE_CATALOG", OleType::WStr}, {"TABLE_SCHEMA", OleType::WStr},
                                       {"TABLE_NAME", OleType::WStr},    {"COLUMN_NAME", OleType::WStr},
                                       {"COLUMN_GUID", OleType::Guid},   {"COLUMN_PROPID", OleType::UI4},
                                       {"ORDINAL", OleType::UI4},        {"PK_NAME", OleType::WStr}};

struct TableId {
  Restriction catalog, schema;
  std::string name;
};

// The tables a per-table catalog function must be called for.
std::vector<TableId> TablesFor(Session& s, const Restriction& catalog, const Restriction& schema,
                               const Restriction& table) {
  std::vector<TableId> out;
  if (table) return {TableId{catalog, schema, *table}};
  for (const Row& t : CatalogTables(s, {catalog, schema, std::nullopt, std::string("TABLE")})) {
    auto text = [&](size_t i) -> Restriction {
      const auto* v = At(t, i).TryGet<std::string>();
      return v ? Restriction(*v) : std::nullopt;
    };
    out.push_back(TableId{text(1), text(2), TextAt(t, 3)});
  }
  return out;
}

std::vector<Row> PrimaryKeyRows(Session& s, const TableId& t) {
  return ReadAll(*s.Catalog(CatalogCall::PrimaryKeys, {t.catalog, t.schema, t.name}));
}

Row IndexRow(const Row& x, const std::string& pkName, int32_t nullCollation) {
  Row row(24, com::Null);
  row[0] = At(x, 1);
  row[1] = At(x, 2);
  row[2] = At(x, 3);
  row[3] = At(x, 1);
  row[4] = At(x, 2);
  row[5] = At(x, 6);
  const std::string name = TextAt(x, 6);
  row[6] = !pkName.empty() && name == pkName;
  row[7] = IntAt(x, 4).value_or(1) == 0;
  const int64_t type = IntAt(x, 7).value_or(3);
  row[8] = type == 1;
  row[9] = static_cast<int32_t>(type == 2 ? 2 : (type == 1 ? 1 : 4));
  row[14] = true;
  if (nullCollation) row[15] = nullCollation;
  row[16] = OrNull(IntAt(x, 8));
  row[17] = At(x, 9);
  const std::string order = TextAt(x, 10);
  if (order == "A") row[20] = int16_t{1};
  else if (order == "D") row[20] = int16_t{2};
  if (auto card = IntAt(x, 11)) row[21] = DecimalFromInt64(*card);
  row[22] = OrNull(IntAt(x, 12));
  row[23] = At(x, 13);
  return row;
}

// The engine's own rows for a table's index key columns (nullopt when its
// dialect has no such query).
std::optional<std::vector<Row>> EngineIndexRows(Session& s, const TableId& t) {
  const dialect::CatalogQuery q = s.Dialect().IndexColumnsQuery(t.schema.value_or(""), t.name);
  if (q.Empty()) return std::nullopt;
  std::vector<Session::Param> params;
  for (const std::string& p : q.params) params.push_back({com::Variant(p), adVarWChar});
  auto outcome = s.Execute(q.sql, params, 0, "OpenSchema");
  return outcome.rows ? ReadAll(*outcome.rows) : std::vector<Row>{};
}

Row EngineIndexRow(const Row& x, int32_t nullCollation) {
  using namespace dialect;
  Row row(24, com::Null);
  row[0] = At(x, kIndexTableCatalog);
  row[1] = At(x, kIndexTableSchema);
  row[2] = At(x, kIndexTableName);
  row[3] = At(x, kIndexTableCatalog);
  row[4] = At(x, kIndexTableSchema);
  row[5] = At(x, kIndexName);
  row[6] = IntAt(x, kIndexPrimary).value_or(0) != 0;
  row[7] = IntAt(x, kIndexUnique).value_or(0) != 0;
  row[8] = IntAt(x, kIndexClustered).value_or(0) != 0;
  row[9] = int32_t{1};  // both engines' indexes are B-trees
  row[12] = static_cast<int32_t>(IntAt(x, kIndexNulls).value_or(0));
  row[14] = true;
  if (nullCollation) row[15] = nullCollation;
  row[16] = OrNull(IntAt(x, kIndexOrdinal));
  row[17] = At(x, kIndexColumnName);
  row[20] = static_cast<int16_t>(IntAt(x, kIndexDescending).value_or(0) != 0 ? 2 : 1);
  return row;
}

// The index rows of one table: the engine's own when its dialect has a
// query, else from SQLStatistics and SQLPrimaryKeys.
std::vector<Row> TableIndexRows(Session& s, const TableId& t, int32_t nullCollation) {
  std::vector<Row> rows;
  if (const auto engineRows = EngineIndexRows(s, t)) {
    for (const Row& x : *engineRows) rows.push_back(EngineIndexRow(x, nullCollation));
    return rows;
  }
  std::string pkName;
  for (const Row& pk : PrimaryKeyRows(s, t)) pkName = TextAt(pk, 6);
  for (const Row& x : ReadAll(*s.Catalog(CatalogCall::Statistics, {t.catalog, t.schema, t.name}))) {
    if (IntAt(x, 7).value_or(0) == 0) continue;  // the table-statistics row
    rows.push_back(IndexRow(x, pkName, nullCollation));
  }
  return rows;
}

std::unique_ptr<RowSource> IndexesRowset(Session& s, const com::Variant& criteria) {
  const auto r = Restrictions(criteria, 5);
  const int32_t nullCollation = s.NullCollation();
  std::vector<Row> rows;
  for (const TableId& t : TablesFor(s, r[0], r[1], r[4])) {
    for (Row& x : TableIndexRows(s, t, nullCollation)) {
      if (!Matches(r[2], x[5])) continue;
      if (r[3] && std::to_string(IntAt(x, 10).value_or(0)) != *r[3]) continue;
      rows.push_back(std::move(x));
    }
  }
  return std::make_unique<MemoryRowSource>(Columns(kIndexes), std::move(rows));
}

// The name of the index that enforces a table's primary key, as the engine
// names it (empty when unknown).
std::string PrimaryIndexName(Session& s, const TableId& t) {
  for (const Row& x : EngineIndexRows(s, t).value_or(std::vector<Row>{})) {
    if (IntAt(x, dialect::kIndexPrimary).value_or(0) != 0) return TextAt(x, dialect::kIndexName);
  }
  return {};
}

std::unique_ptr<RowSource> PrimaryKeysRowset(Session& s, const com::Variant& criteria) {
  const auto r = Restrictions(criteria, 3);
  std::vector<Row> rows;
  for (const TableId& t : TablesFor(s, r[0], r[1], r[2])) {
    const std::vector<Row> keys = PrimaryKeyRows(s, t);
    if (keys.empty()) continue;
    const std::string indexName = PrimaryIndexName(s, t);
    for (const Row& pk : keys) {
      const com::Variant name = indexName.empty() ? At(pk, 6) : com::Variant(indexName);
      rows.push_back({At(pk, 1), At(pk, 2), At(pk, 3), At(pk, 4), com::Null, com::Null, OrNull(IntAt(pk, 5)), name});
    }
  }
  return std::make_unique<MemoryRowSource>(Columns(kPrimaryKeys), std::move(rows));
}

}  // namespace

std::unique_ptr<RowSource> BuildSchemaRowset(Session& session, int32_t schema, const com::Variant& criteria) {
  switch (schema) {
    case adSchemaTables: return TablesRowset(session, criteria);
    case adSchemaColumns: return ColumnsRowset(session, criteria);
    case adSchemaIndexes: return IndexesRowset(session, criteria);
    case adSchemaPrimaryKeys: return PrimaryKeysRowset(session, criteria);
    default:
      RaiseAdo(adErrFeatureNotAvailable, kConnectionSource, "schema rowset " + std::to_string(schema));
  }
}

}  // namespace velmora::ado::detail
