#include "ado/dialect/catalogue_views.hpp"

#include <algorithm>
#include <cctype>
#include <span>

#include "ado/dialect/ddl_types.hpp"

namespace velmora::ado::dialect {
namespace {

// The server types of the views' columns and how each engine presents them.
enum class ColumnType { Sysname, TinyInt, SmallInt, Int, Bit, Char2, Varchar255, DateTime, VarBinary };

struct ViewColumn {
  const char* name;
  ColumnType type;
  const char* expression;  // "$COLLATION" stands for the database's collation
};

// PostgreSQL: the nearest native type (tinyint has none: smallint).
const char* PostgresCast(ColumnType type) {
  switch (type) {
    case ColumnType::Sysname: return "varchar(128)";
    case ColumnType::TinyInt:
    case ColumnType::SmallInt: return "smallint";
    case ColumnType::Int: return "integer";
    case ColumnType::Bit: return "boolean";
    case ColumnType::Char2: return "char(2)";
    case ColumnType::Varchar255: return "varchar(255)";
    case ColumnType::DateTime: return "timestamp(3)";
    case ColumnType::VarBinary: return "bytea";
  }
  return "text";
}

std::string DatabaseCollation(Engine engine) {
  return engine == Engine::PostgreSQL
             ? "(SELECT datcollate FROM pg_catalog.pg_database WHERE datname = current_database())"
             : "'BINARY'";
}

std::string Expand(std::string_view expression, Engine engine) {
  std::string out(expression);
  const std::string marker = "$COLLATION";
  if (const size_t at = out.find(marker); at != std::string::npos) out.replace(at, marker.size(), DatabaseCollation(engine));
  return out;
}

// SQLite has no column types for expressions; names compare as the server
// compares them (without regard to case), and char(2) codes are padded and
// compare without their trailing blank.
std::string SqliteColumn(const ViewColumn& c, const std::string& expression) {
  switch (c.type) {
    case ColumnType::Sysname: return expression + " COLLATE NOCASE";
    case ColumnType::Char2: return "substr(" + expression + " || '  ', 1, 2) COLLATE RTRIM";
    default: return expression;
  }
}

std::string Projection(std::span<const ViewColumn> columns, Engine engine) {
  std::string out;
  for (const ViewColumn& c : columns) {
    if (!out.empty()) out += ", ";
    const std::string expression = Expand(c.expression, engine);
    out += engine == Engine::PostgreSQL ? "CAST(" + expression + " AS " + PostgresCast(c.type) + ")"
                                        : SqliteColumn(c, expression);
    out += " AS \"" + std::string(c.name) + "\"";
  }
  return out;
}

std::string Number(int value) { return value == ServerType::kNone ? "NULL" : std::to_string(value); }

std::string Text(std::string_view text) { return "'" + std::string(text) + "'"; }

// The stock types as a VALUES list: column1 name, 2 xtype, 3 xusertype,
// 4 length, 5 xprec, 6 xscale, 7 variable, 8 prec, 9 scale, 10 collated,
// 11 legacy type, 12 legacy usertype, 13 size rule.
std::string TypesValues() {
  std::string out = "(VALUES ";
  bool first = true;
  for (const ServerType& t : ServerTypes()) {
    if (!first) out += ", ";
    first = false;
    out += "(" + Text(t.name) + ", " + Number(t.xtype) + ", " + Number(t.xusertype) + ", " + Number(t.length) + ", " +
           Number(t.xprec) + ", " + Number(t.xscale) + ", " + Number(t.variable ? 1 : 0) + ", " + Number(t.prec) +
           ", " + Number(t.scale) + ", " + Number(t.collated ? 1 : 0) + ", " + Number(t.legacyType) + ", " +
           Number(t.legacyUserType) + ", " + Text(std::string(1, static_cast<char>(t.rule))) + ")";
  }
  return out + ")";
}

// The server type a declared name is presented as. A declared TIMESTAMP is
// a date and time to the engines (PostgreSQL's columns are sorted out by
// their typmod before this list is read), not the server's row version of
// that name.
std::string_view ViewTypeName(std::string_view declared) {
  return declared == "timestamp" ? "datetime" : PresentedTypeName(declared);
}

// Declared (engine) type names with the server type the views present:
// column1 declared, column2 presented.
std::string AliasValues() {
  static constexpr std::string_view kDeclared[] = {
      "varchar", "char", "text", "character", "bpchar", "character varying", "clob", "memo", "integer", "int4",
      "mediumint", "int2", "int8", "boolean", "bool", "double", "double precision", "float8", "float4", "blob",
      "bytea", "currency", "uuid", "guid", "timestamptz", "timetz", "timestamp"};
  std::string out = "(VALUES ";
  bool first = true;
  auto add = [&](std::string_view declared) {
    if (!first) out += ", ";
    first = false;
    out += "(" + Text(declared) + ", " + Text(ViewTypeName(declared)) + ")";
  };
  for (std::string_view d : kDeclared) add(d);
  for (const ServerType& t : ServerTypes()) {
    if (std::find(std::begin(kDeclared), std::end(kDeclared), t.name) == std::end(kDeclared)) add(t.name);
  }
  return out + ")";
}

// ---- systypes ------------------------------------------------------------------

constexpr ViewColumn kSystypes[] = {
    {"name", ColumnType::Sysname, "t.column1"},
    {"xtype", ColumnType::TinyInt, "t.column2"},
    {"status", ColumnType::TinyInt, "0"},
    {"xusertype", ColumnType::SmallInt, "t.column3"},
    {"length", ColumnType::SmallInt, "t.column4"},
    {"xprec", ColumnType::TinyInt, "t.column5"},
    {"xscale", ColumnType::TinyInt, "t.column6"},
    {"tdefault", ColumnType::Int, "0"},
    {"domain", ColumnType::Int, "0"},
    {"uid", ColumnType::SmallInt, "4"},
    {"reserved", ColumnType::SmallInt, "0"},
    {"collationid", ColumnType::Int, "CASE WHEN t.column10 = 1 THEN 0 END"},
    {"usertype", ColumnType::SmallInt, "t.column12"},
    {"variable", ColumnType::Bit, "t.column7"},
    {"allownulls", ColumnType::Bit, "CASE WHEN t.column1 = 'sysname' THEN 0 ELSE 1 END"},
    {"type", ColumnType::TinyInt, "t.column11"},
    {"printfmt", ColumnType::Varchar255, "NULL"},
    {"prec", ColumnType::SmallInt, "t.column8"},
    {"scale", ColumnType::TinyInt, "t.column9"},
    {"collation", ColumnType::Sysname, "CASE WHEN t.column10 = 1 THEN $COLLATION END"},
};

std::string SystypesQuery(Engine engine) {
  return "(SELECT " + Projection(kSystypes, engine) + " FROM " + TypesValues() + " AS t)";
}

// ---- object ids on SQLite ----------------------------------------------------------

// A CTE pair giving each key of `keys` (a query of one column k) a positive
// 31-bit id: a hash of the name, so that it stays while the object exists
// (rowids of the schema table change when the file is compacted).
std::string SqliteIds(const std::string& keys) {
  return "catalogue_hash(k, rest, v) AS (SELECT DISTINCT k, k, 0 FROM (" + keys +
         ") UNION ALL SELECT k, substr(rest, 2), (v * 31 + unicode(rest)) % 2147483647 FROM catalogue_hash "
         "WHERE rest <> ''), catalogue_ids(k, id) AS (SELECT k, v + 1 FROM catalogue_hash WHERE rest = '')";
}

// A table of the schema table row `m` whose INTEGER primary key is its rowid.
std::string SqliteRowidKey(const std::string& table) {
  return "(EXISTS (SELECT 1 FROM pragma_table_info(" + table +
         ") AS q WHERE q.pk = 1 AND upper(q.type) = 'INTEGER') AND (SELECT COUNT(*) FROM pragma_table_info(" + table +
         ") AS q WHERE q.pk > 0) = 1)";
}

constexpr const char* kUserObject = "m.name NOT LIKE 'sqlite!_%' ESCAPE '!'";

// ---- sysobjects ------------------------------------------------------------------

constexpr ViewColumn kSysobjects[] = {
    {"name", ColumnType::Sysname, "o.name"},
    {"id", ColumnType::Int, "o.id"},
    {"xtype", ColumnType::Char2, "o.xtype"},
    {"uid", ColumnType::SmallInt, "1"},
    {"info", ColumnType::SmallInt, "0"},
    {"status", ColumnType::Int, "0"},
    {"base_schema_ver", ColumnType::Int, "0"},
    {"replinfo", ColumnType::Int, "0"},
    {"parent_obj", ColumnType::Int, "o.parent"},
    {"crdate", ColumnType::DateTime, "NULL"},
    {"ftcatid", ColumnType::SmallInt, "0"},
    {"schema_ver", ColumnType::Int, "0"},
    {"stats_schema_ver", ColumnType::Int, "0"},
    {"type", ColumnType::Char2, "CASE WHEN o.xtype IN ('PK', 'UQ') THEN 'K' ELSE o.xtype END"},
    {"userstat", ColumnType::SmallInt, "0"},
    {"sysstat", ColumnType::SmallInt, "0"},
    {"indexdel", ColumnType::SmallInt, "0"},
    {"refdate", ColumnType::DateTime, "NULL"},
    {"version", ColumnType::Int, "0"},
    {"deltrig", ColumnType::Int, "0"},
    {"instrig", ColumnType::Int, "0"},
    {"updtrig", ColumnType::Int, "0"},
    {"seltrig", ColumnType::Int, "0"},
    {"category", ColumnType::Int, "0"},
    {"cache", ColumnType::SmallInt, "0"},
};

// Tables and views ('U', 'S' for the engine's own tables, 'V'), triggers,
// and the PRIMARY KEY and UNIQUE constraints under the names of the indexes
// that enforce them (an INTEGER primary key is the rowid: the driver lists
// it as the index sqlite_autoindex_0). CREATE INDEX makes no object.
std::string SqliteObjects() {
  return std::string("WITH RECURSIVE catalogue_objects(name, xtype, parent, k) AS (") +
         "SELECT m.name, CASE WHEN m.type = 'view' THEN 'V' WHEN m.type = 'trigger' THEN 'TR' WHEN " + kUserObject +
         " THEN 'U' ELSE 'S' END, CASE WHEN m.type = 'trigger' THEN m.tbl_name END, m.name FROM sqlite_master AS m "
         "WHERE m.type IN ('table', 'view', 'trigger') "
         "UNION ALL SELECT i.name, CASE WHEN i.origin = 'pk' THEN 'PK' ELSE 'UQ' END, m.name, i.name "
         "FROM sqlite_master AS m JOIN pragma_index_list(m.name) AS i WHERE m.type = 'table' AND i.origin IN ('pk', 'u') "
         "UNION ALL SELECT 'sqlite_autoindex_0', 'PK', m.name, m.name || ' primary key' FROM sqlite_master AS m "
         "WHERE m.type = 'table' AND " + kUserObject + " AND " + SqliteRowidKey("m.name") + "), " +
         SqliteIds("SELECT k FROM catalogue_objects") +
         " SELECT c.name, ids.id, c.xtype, COALESCE(p.id, 0) AS parent FROM catalogue_objects AS c "
         "JOIN catalogue_ids AS ids ON ids.k = c.k LEFT JOIN catalogue_ids AS p ON p.k = c.parent";
}

// Every schema of the database but the system's and temporary ones, as the
// tables schema rowset lists them (the server's views span every owner).
constexpr const char* kPostgresInScope =
    "JOIN pg_catalog.pg_namespace AS ns ON ns.oid = c.relnamespace WHERE ns.nspname NOT IN ('pg_catalog', "
    "'information_schema') AND ns.nspname NOT LIKE 'pg!_toast%' ESCAPE '!' AND ns.nspname NOT LIKE 'pg!_temp!_%' "
    "ESCAPE '!'";

// The CHECK that keeps a tinyint column of constraint `k` on attribute `a`
// within 0..255, as the server prints it back.
constexpr const char* kPostgresTinyintCheck =
    "k.contype = 'c' AND k.conkey = ARRAY[a.attnum] AND pg_catalog.pg_get_constraintdef(k.oid) = "
    "'CHECK (((' || quote_ident(a.attname) || ' >= 0) AND (' || quote_ident(a.attname) || ' <= 255)))'";

// Tables and views, their constraints (the tinyint CHECKs are part of the
// column's type, not objects) and their triggers; ids are the oids.
std::string PostgresObjects() {
  return std::string(
             "SELECT c.relname AS name, CAST(c.oid AS integer) AS id, CASE WHEN c.relkind IN ('v', 'm') THEN 'V' "
             "ELSE 'U' END AS xtype, 0 AS parent FROM pg_catalog.pg_class AS c ") +
         kPostgresInScope +
         " AND c.relkind IN ('r', 'p', 'v', 'm', 'f') "
         "UNION ALL SELECT k.conname, CAST(k.oid AS integer), CASE k.contype WHEN 'p' THEN 'PK' WHEN 'u' THEN 'UQ' "
         "WHEN 'f' THEN 'F' ELSE 'C' END, CAST(k.conrelid AS integer) FROM pg_catalog.pg_constraint AS k "
         "JOIN pg_catalog.pg_class AS c ON c.oid = k.conrelid " +
         kPostgresInScope +
         " AND k.contype IN ('p', 'u', 'f', 'c') AND NOT EXISTS (SELECT 1 FROM pg_catalog.pg_attribute AS a "
         "WHERE a.attrelid = k.conrelid AND " + kPostgresTinyintCheck + ") "
         "UNION ALL SELECT t.tgname, CAST(t.oid AS integer), 'TR', CAST(t.tgrelid AS integer) "
         "FROM pg_catalog.pg_trigger AS t JOIN pg_catalog.pg_class AS c ON c.oid = t.tgrelid " +
         kPostgresInScope + " AND NOT t.tgisinternal";
}

std::string SysobjectsQuery(Engine engine) {
  const std::string objects = engine == Engine::PostgreSQL ? PostgresObjects() : SqliteObjects();
  return "(SELECT " + Projection(kSysobjects, engine) + " FROM (" + objects + ") AS o)";
}

// ---- syscolumns ------------------------------------------------------------------

// Each engine's columns with: name, id, colid, tname (the presented server
// type), n1 and n2 (the declared size arguments), ismax, nullable,
// isidentity, computed.
std::string SqliteColumns() {
  const std::string declared =
      std::string("SELECT p.name AS name, m.name AS tbl, p.cid + 1 AS colid, lower(trim(p.type)) AS decl, "
                  "p.\"notnull\" = 0 AS nullable, p.pk = 1 AND upper(p.type) = 'INTEGER' AND ") +
      SqliteRowidKey("m.name") +
      " AS isidentity, p.hidden IN (2, 3) AS computed FROM sqlite_master AS m JOIN pragma_table_xinfo(m.name) AS p "
      "WHERE m.type IN ('table', 'view') AND " + kUserObject + " AND p.hidden <> 1";
  const std::string split =
      "SELECT d.*, CASE WHEN instr(d.decl, '(') > 0 THEN rtrim(substr(d.decl, 1, instr(d.decl, '(') - 1)) "
      "ELSE d.decl END AS base, CASE WHEN instr(d.decl, '(') > 0 THEN ltrim(substr(d.decl, instr(d.decl, '(') + 1)) "
      "END AS args FROM (" + declared + ") AS d";
  // Names the engine does not know get the type of its affinity rules.
  const std::string affinity =
      "CASE WHEN x.base = '' THEN 'sql_variant' WHEN x.base LIKE '%int%' THEN 'bigint' "
      "WHEN x.base LIKE '%char%' OR x.base LIKE '%clob%' OR x.base LIKE '%text%' THEN 'ntext' "
      "WHEN x.base LIKE '%blob%' THEN 'image' "
      "WHEN x.base LIKE '%real%' OR x.base LIKE '%floa%' OR x.base LIKE '%doub%' THEN 'float' ELSE 'numeric' END";
  return "WITH RECURSIVE " + SqliteIds("SELECT name AS k FROM sqlite_master WHERE type IN ('table', 'view')") +
         " SELECT x.name, ids.id, x.colid, CASE WHEN x.base = 'float' AND CAST(x.args AS INTEGER) BETWEEN 1 AND 24 "
         "THEN 'real' ELSE COALESCE(al.column2, " + affinity + ") END AS tname, "
         "CAST(x.args AS INTEGER) AS n1, CASE WHEN instr(x.args, ',') > 0 "
         "THEN CAST(ltrim(substr(x.args, instr(x.args, ',') + 1)) AS INTEGER) END AS n2, "
         "COALESCE(x.args LIKE 'max%' OR CAST(x.args AS INTEGER) = -1, 0) AS ismax, "
         "x.nullable AND NOT x.isidentity AS nullable, x.isidentity, x.computed FROM (" + split + ") AS x "
         "JOIN catalogue_ids AS ids ON ids.k = x.tbl LEFT JOIN " + AliasValues() + " AS al ON al.column1 = x.base";
}

std::string TypmodOf(int precision, int scale) { return std::to_string(((precision << 16) | scale) + 4); }

std::string PostgresColumns() {
  return std::string(
             "SELECT a.attname AS name, CAST(c.oid AS integer) AS id, a.attnum AS colid, "
             "CASE WHEN ty.typname = 'int2' AND EXISTS (SELECT 1 FROM pg_catalog.pg_constraint AS k "
             "WHERE k.conrelid = a.attrelid AND ") + kPostgresTinyintCheck + ") THEN 'tinyint' "
         "WHEN ty.typname = 'numeric' AND a.atttypmod = " + TypmodOf(19, 4) + " THEN 'money' "
         "WHEN ty.typname = 'numeric' AND a.atttypmod = " + TypmodOf(10, 4) + " THEN 'smallmoney' "
         "WHEN ty.typname = 'timestamp' AND a.atttypmod = 3 THEN 'datetime' "
         "WHEN ty.typname = 'timestamp' AND a.atttypmod = 0 THEN 'smalldatetime' "
         "WHEN ty.typname = 'timestamp' THEN 'datetime2' ELSE COALESCE(al.column2, 'nvarchar') END AS tname, "
         "CASE WHEN ty.typname IN ('varchar', 'bpchar') AND a.atttypmod >= 4 THEN a.atttypmod - 4 "
         "WHEN ty.typname = 'numeric' AND a.atttypmod >= 4 THEN (a.atttypmod - 4) / 65536 "
         "WHEN ty.typname = 'numeric' THEN 38 "
         "WHEN ty.typname IN ('timestamp', 'timestamptz', 'time', 'timetz') THEN "
         "CASE WHEN a.atttypmod >= 0 THEN a.atttypmod ELSE 6 END END AS n1, "
         "CASE WHEN ty.typname = 'numeric' AND a.atttypmod >= 4 THEN (a.atttypmod - 4) % 65536 END AS n2, "
         "(ty.typname IN ('varchar', 'bpchar') AND a.atttypmod < 4) OR al.column2 IS NULL AS ismax, "
         "NOT a.attnotnull AS nullable, a.attidentity <> '' AS isidentity, a.attgenerated <> '' AS computed "
         "FROM pg_catalog.pg_attribute AS a JOIN pg_catalog.pg_class AS c ON c.oid = a.attrelid "
         "JOIN pg_catalog.pg_type AS ty ON ty.oid = a.atttypid LEFT JOIN " + AliasValues() +
         " AS al ON al.column1 = ty.typname " + kPostgresInScope +
         " AND a.attnum > 0 AND NOT a.attisdropped AND c.relkind IN ('r', 'p', 'v', 'm', 'f')";
}

// Length, precision and scale from the size rule of the column's type and
// its declared arguments (arg: n1 or the rule's default).
constexpr const char* kArgument =
    "CASE t.column13 WHEN 'D' THEN COALESCE(c.n1, 18) WHEN 'T' THEN COALESCE(c.n1, 7) ELSE COALESCE(c.n1, 1) END";
constexpr const char* kLength =
    "CASE s.rule WHEN 'W' THEN CASE WHEN s.ismax THEN -1 ELSE 2 * s.arg END "
    "WHEN 'B' THEN CASE WHEN s.ismax THEN -1 ELSE s.arg END "
    "WHEN 'D' THEN CASE WHEN s.arg <= 9 THEN 5 WHEN s.arg <= 19 THEN 9 WHEN s.arg <= 28 THEN 13 ELSE 17 END "
    "WHEN 'T' THEN s.length - 2 + CASE WHEN s.arg <= 2 THEN 0 WHEN s.arg <= 4 THEN 1 ELSE 2 END "
    "ELSE s.length END";
constexpr const char* kPrecision =
    "CASE s.rule WHEN 'W' THEN CASE WHEN s.ismax THEN -1 ELSE s.arg END "
    "WHEN 'B' THEN CASE WHEN s.ismax THEN -1 ELSE s.arg END WHEN 'D' THEN s.arg "
    "WHEN 'T' THEN s.prec - 8 + s.arg + CASE WHEN s.arg > 0 THEN 1 ELSE 0 END ELSE s.prec END";
constexpr const char* kScale = "CASE s.rule WHEN 'D' THEN s.scale2 WHEN 'T' THEN s.arg ELSE s.scale END";

std::string SizedColumns(Engine engine) {
  const std::string columns = engine == Engine::PostgreSQL ? PostgresColumns() : SqliteColumns();
  return std::string("SELECT c.name, c.id, c.colid, c.ismax, c.nullable, c.isidentity, c.computed, ") +
         "t.column2 AS xtype, t.column3 AS xusertype, t.column4 AS length, t.column5 AS xprec, t.column6 AS xscale, "
         "t.column8 AS prec, t.column9 AS scale, t.column10 AS collated, t.column11 AS ltype, "
         "t.column12 AS lusertype, t.column13 AS rule, " + kArgument + " AS arg, COALESCE(c.n2, 0) AS scale2 "
         // CROSS JOIN keeps the columns the outer loop on SQLite, whose
         // planner would otherwise walk the type list first and read every
         // table's columns once per type.
         "FROM (" + columns + ") AS c CROSS JOIN " + TypesValues() + " AS t WHERE t.column1 = c.tname";
}

std::string SyscolumnsQuery(Engine engine) {
  const std::string length = kLength, precision = kPrecision, scale = kScale;
  const std::string xprec = "CASE WHEN s.rule IN ('D', 'T') THEN " + precision + " WHEN s.rule IN ('W', 'B') THEN 0 "
                            "ELSE s.xprec END";
  const std::string xscale = "CASE WHEN s.rule IN ('D', 'T') THEN " + scale + " ELSE s.xscale END";
  const std::string status = "CASE WHEN s.nullable THEN 8 ELSE 0 END + CASE WHEN s.isidentity THEN 128 ELSE 0 END";
  const std::string collationId = "CASE WHEN s.collated = 1 THEN 0 END";
  const ViewColumn columns[] = {
      {"name", ColumnType::Sysname, "s.name"},
      {"id", ColumnType::Int, "s.id"},
      {"xtype", ColumnType::TinyInt, "s.xtype"},
      {"typestat", ColumnType::TinyInt, "0"},
      {"xusertype", ColumnType::SmallInt, "s.xusertype"},
      {"length", ColumnType::SmallInt, length.c_str()},
      {"xprec", ColumnType::TinyInt, xprec.c_str()},
      {"xscale", ColumnType::TinyInt, xscale.c_str()},
      {"colid", ColumnType::SmallInt, "s.colid"},
      {"xoffset", ColumnType::SmallInt, "0"},
      {"bitpos", ColumnType::TinyInt, "0"},
      {"reserved", ColumnType::TinyInt, "0"},
      {"colstat", ColumnType::SmallInt, "0"},
      {"cdefault", ColumnType::Int, "0"},
      {"domain", ColumnType::Int, "0"},
      {"number", ColumnType::SmallInt, "0"},
      {"colorder", ColumnType::SmallInt, "0"},
      {"autoval", ColumnType::VarBinary, "NULL"},
      {"offset", ColumnType::SmallInt, "0"},
      {"collationid", ColumnType::Int, collationId.c_str()},
      {"status", ColumnType::TinyInt, status.c_str()},
      {"type", ColumnType::TinyInt, "s.ltype"},
      {"usertype", ColumnType::SmallInt, "s.lusertype"},
      {"printfmt", ColumnType::Varchar255, "NULL"},
      {"prec", ColumnType::SmallInt, precision.c_str()},
      {"scale", ColumnType::Int, scale.c_str()},
      {"iscomputed", ColumnType::Int, "CASE WHEN s.computed THEN 1 ELSE 0 END"},
      {"isoutparam", ColumnType::Int, "0"},
      {"isnullable", ColumnType::Int, "CASE WHEN s.nullable THEN 1 ELSE 0 END"},
      {"collation", ColumnType::Sysname, "CASE WHEN s.collated = 1 THEN $COLLATION END"},
  };
  return "(SELECT " + Projection(columns, engine) + " FROM (" + SizedColumns(engine) + ") AS s)";
}

// ---- the rewriting pass ------------------------------------------------------------

std::string Lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// A name token as a lower-case name: a word or a [bracketed] name (a
// "quoted" name is the engine's own and stays as written).
std::string NameOf(const Token& t) {
  if (t.kind == TokenKind::Word) return Lower(t.text);
  if (t.kind != TokenKind::BracketName || t.text.size() < 2 || t.text.back() != ']') return {};
  return Lower(t.text.substr(1, t.text.size() - 2));
}

bool IsView(const std::string& name) { return name == "systypes" || name == "sysobjects" || name == "syscolumns"; }

// Words that end a table reference: what follows is not its alias.
bool EndsTableReference(const Edit& e, size_t i) {
  static constexpr std::string_view kWords[] = {
      "WHERE", "JOIN", "INNER", "LEFT", "RIGHT", "FULL", "CROSS", "OUTER", "ON", "ORDER", "GROUP", "HAVING",
      "UNION", "EXCEPT", "INTERSECT", "LIMIT", "OFFSET", "FOR", "WITH", "NATURAL", "USING", "WINDOW", "FETCH",
      "RETURNING", "SET", "VALUES"};
  return std::any_of(std::begin(kWords), std::end(kWords), [&](std::string_view w) { return e.IsWord(i, w); });
}

bool HasAlias(const Edit& e, size_t next) {
  if (next >= e.Size()) return false;
  const Token& t = e.Tokens()[next];
  if (t.kind == TokenKind::BracketName || t.kind == TokenKind::QuotedName) return true;
  return t.kind == TokenKind::Word && !EndsTableReference(e, next);
}

// True when the table reference starting at `i` is in a FROM list: after
// FROM or JOIN, or after a comma whose clause at the same level is FROM.
bool InFromList(const Edit& e, size_t i) {
  size_t k = e.PreviousSignificant(i);
  if (e.IsWord(k, "FROM") || e.IsWord(k, "JOIN")) return true;
  if (!e.IsPunct(k, ",")) return false;
  int depth = 0;
  for (; k < e.Size(); k = e.PreviousSignificant(k)) {
    if (e.IsPunct(k, ")")) ++depth;
    else if (e.IsPunct(k, "(") && depth-- == 0) return false;
    else if (depth > 0) continue;
    else if (e.IsWord(k, "FROM")) return true;
    else if (e.IsWord(k, "SELECT") || e.IsWord(k, "WHERE") || e.IsWord(k, "BY") || e.IsWord(k, "HAVING") ||
             e.IsWord(k, "SET") || e.IsWord(k, "VALUES") || e.IsWord(k, "INTO")) {
      return false;
    }
  }
  return false;
}

// dbo.view, sys.view, [dbo].[view]: the index of the qualifier, else `name`.
size_t QualifierStart(const Edit& e, size_t name) {
  const size_t dot = e.PreviousSignificant(name);
  if (!e.IsPunct(dot, ".")) return name;
  const size_t owner = e.PreviousSignificant(dot);
  if (owner >= e.Size()) return name;
  const std::string qualifier = NameOf(e.Tokens()[owner]);
  return qualifier == "dbo" || qualifier == "sys" ? owner : e.Size();
}

void ReplaceView(Edit& e, size_t i, Engine engine) {
  const std::string name = NameOf(e.Tokens()[i]);
  if (!IsView(name) || e.IsEdited(i)) return;
  const size_t next = e.NextSignificant(i + 1);
  if (e.IsPunct(next, ".") || e.IsPunct(next, "(")) return;
  const size_t start = QualifierStart(e, i);
  if (start >= e.Size() || !InFromList(e, start)) return;
  e.Remove(start, i);
  e.Replace(i, CatalogueViewQuery(name, engine) + (HasAlias(e, next) ? "" : " AS " + name));
}

// The arguments of the call whose '(' is at `open`, split at its top-level
// commas, and the index of its ')'; nullopt when the text ends first.
struct CallArguments {
  std::vector<std::pair<size_t, size_t>> ranges;
  size_t close;
};

std::optional<CallArguments> ReadArguments(const Edit& e, size_t open) {
  CallArguments call{{}, 0};
  int depth = 0;
  size_t start = open + 1;
  for (size_t k = open + 1; k < e.Size(); ++k) {
    if (e.IsPunct(k, "(")) {
      ++depth;
    } else if (e.IsPunct(k, ")")) {
      if (depth-- > 0) continue;
      call.ranges.emplace_back(start, k);
      call.close = k;
      return call;
    } else if (depth == 0 && e.IsPunct(k, ",")) {
      call.ranges.emplace_back(start, k);
      start = k + 1;
    }
  }
  return std::nullopt;
}

// OBJECT_ID('name'[, 'type']): the id of the object of that name (also
// written dbo.name) in sysobjects, Null when there is none.
void ReplaceObjectId(Edit& e, size_t i, Engine engine) {
  const size_t open = e.NextSignificant(i + 1);
  if (!e.IsPunct(open, "(") || e.IsEdited(i)) return;
  const auto call = ReadArguments(e, open);
  if (!call || call->ranges.empty() || call->ranges.size() > 2) return;
  const std::string name = "(" + e.Text(call->ranges[0].first, call->ranges[0].second) + ")";
  std::string lookup = "(SELECT MIN(object_ids.id) FROM " + CatalogueViewQuery("sysobjects", engine) +
                       " AS object_ids WHERE (object_ids.name = " + name + " OR 'dbo.' || object_ids.name = " + name + ")";
  if (call->ranges.size() == 2) {
    lookup += " AND object_ids.xtype = (" + e.Text(call->ranges[1].first, call->ranges[1].second) + ")";
  }
  e.Remove(i + 1, call->close + 1);
  e.Replace(i, lookup + ")");
}

}  // namespace

std::string CatalogueViewQuery(std::string_view lowerName, Engine engine) {
  if (lowerName == "systypes") return SystypesQuery(engine);
  if (lowerName == "sysobjects") return SysobjectsQuery(engine);
  if (lowerName == "syscolumns") return SyscolumnsQuery(engine);
  return {};
}

void ReplaceCatalogueViews(Edit& edit, Engine engine) {
  if (engine != Engine::SQLite && engine != Engine::PostgreSQL) return;
  for (size_t i = 0; i < edit.Size(); ++i) {
    if (edit.IsWord(i, "OBJECT_ID")) ReplaceObjectId(edit, i, engine);
    else ReplaceView(edit, i, engine);
  }
}

}  // namespace velmora::ado::dialect
