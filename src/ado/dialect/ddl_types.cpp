#include "ado/dialect/ddl_types.hpp"

#include <algorithm>
#include <cctype>
#include <optional>
#include <vector>

namespace velmora::ado::dialect {
namespace {

constexpr int N = ServerType::kNone;
using R = SizeRule;

// Values of the stock types as the server reports them; legacy codes that
// could not be confirmed are Null.
constexpr ServerType kServerTypes[] = {
    {"image", 34, 34, 16, 0, 0, false, N, N, false, 34, 20, R::Fixed},
    {"text", 35, 35, 16, 0, 0, false, N, N, true, 35, 19, R::Fixed},
    {"uniqueidentifier", 36, 36, 16, 0, 0, false, 16, N, false, N, N, R::Fixed},
    {"date", 40, 40, 3, 10, 0, false, 10, 0, false, N, N, R::Fixed},
    {"time", 41, 41, 5, 16, 7, false, 16, 7, false, N, N, R::FractionalTime},
    {"datetime2", 42, 42, 8, 27, 7, false, 27, 7, false, N, N, R::FractionalTime},
    {"datetimeoffset", 43, 43, 10, 34, 7, false, 34, 7, false, N, N, R::FractionalTime},
    {"tinyint", 48, 48, 1, 3, 0, false, 3, 0, false, 48, 5, R::Fixed},
    {"smallint", 52, 52, 2, 5, 0, false, 5, 0, false, 52, 6, R::Fixed},
    {"int", 56, 56, 4, 10, 0, false, 10, 0, false, 56, 7, R::Fixed},
    {"smalldatetime", 58, 58, 4, 16, 0, false, 16, 0, false, 58, 22, R::Fixed},
    {"real", 59, 59, 4, 24, 0, false, 24, N, false, 59, 23, R::Fixed},
    {"money", 60, 60, 8, 19, 4, false, 19, 4, false, 60, 11, R::Fixed},
    {"datetime", 61, 61, 8, 23, 3, false, 23, 3, false, 61, 12, R::Fixed},
    {"float", 62, 62, 8, 53, 0, false, 53, N, false, 62, 8, R::Fixed},
    {"sql_variant", 98, 98, 8016, 0, 0, false, 0, N, false, N, N, R::Fixed},
    {"ntext", 99, 99, 16, 0, 0, false, N, N, true, N, N, R::Fixed},
    {"bit", 104, 104, 1, 1, 0, false, 1, 0, false, 50, 16, R::Fixed},
    {"decimal", 106, 106, 17, 38, 38, false, 38, 38, false, 55, N, R::Decimal},
    {"numeric", 108, 108, 17, 38, 38, false, 38, 38, false, 63, 10, R::Decimal},
    {"smallmoney", 122, 122, 4, 10, 4, false, 10, 4, false, 122, 21, R::Fixed},
    {"bigint", 127, 127, 8, 19, 0, false, 19, 0, false, N, N, R::Fixed},
    {"hierarchyid", 240, 128, 892, 0, 0, false, 892, N, false, N, N, R::Fixed},
    {"geometry", 240, 129, -1, 0, 0, false, -1, N, false, N, N, R::Fixed},
    {"geography", 240, 130, -1, 0, 0, false, -1, N, false, N, N, R::Fixed},
    {"varbinary", 165, 165, 8000, 0, 0, true, 8000, N, false, 37, 4, R::Bytes},
    {"varchar", 167, 167, 8000, 0, 0, true, 8000, N, true, 39, 2, R::Bytes},
    {"binary", 173, 173, 8000, 0, 0, false, 8000, N, false, 45, 3, R::Bytes},
    {"char", 175, 175, 8000, 0, 0, false, 8000, N, true, 47, 1, R::Bytes},
    {"timestamp", 189, 189, 8, 0, 0, false, 8, N, false, N, 80, R::Fixed},
    {"nvarchar", 231, 231, 8000, 0, 0, true, 4000, N, true, 39, N, R::Wide},
    {"nchar", 239, 239, 8000, 0, 0, false, 4000, N, true, 47, N, R::Wide},
    {"xml", 241, 241, -1, 0, 0, false, -1, N, false, N, N, R::Fixed},
    {"sysname", 231, 256, 256, 0, 0, true, 128, N, true, 39, 18, R::Fixed},
};

// Declared names that are not stock type names, or that the views present
// as another stock type: the engines store Unicode text, and the engines'
// own names.
struct Alias {
  std::string_view declared, presented;
};
constexpr Alias kAliases[] = {
    {"varchar", "nvarchar"},      {"char", "nchar"},          {"text", "ntext"},
    {"character", "nchar"},       {"bpchar", "nchar"},        {"character varying", "nvarchar"},
    {"clob", "ntext"},            {"memo", "ntext"},          {"integer", "int"},
    {"int4", "int"},              {"mediumint", "int"},       {"int2", "smallint"},
    {"int8", "bigint"},           {"boolean", "bit"},         {"bool", "bit"},
    {"double", "float"},          {"double precision", "float"}, {"float8", "float"},
    {"float4", "real"},           {"blob", "image"},          {"bytea", "image"},
    {"currency", "money"},        {"uuid", "uniqueidentifier"}, {"guid", "uniqueidentifier"},
    {"timestamptz", "datetimeoffset"}, {"timetz", "time"},
};

std::string Lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

// A column's declared type in the tokens [first, last].
struct DeclaredType {
  size_t first = 0, last = 0;
  std::string name;               // lower case
  std::vector<std::string> args;  // the numbers between the parentheses
  bool isMax = false;
};

// The type after a column name: one word, then optionally (args).
std::optional<DeclaredType> ReadType(const Edit& e, size_t at, size_t end) {
  if (at >= end || e.Tokens()[at].kind != TokenKind::Word) return std::nullopt;
  DeclaredType type;
  type.first = type.last = at;
  type.name = Lower(e.Tokens()[at].text);
  const size_t open = e.NextSignificant(at + 1);
  if (open >= end || !e.IsPunct(open, "(")) return type;
  std::string sign;
  for (size_t k = open + 1; k < end; ++k) {
    const Token& t = e.Tokens()[k];
    if (e.IsPunct(k, ")")) {
      type.last = k;
      return type;
    }
    if (t.kind == TokenKind::Number) {
      type.args.push_back(sign + std::string(t.text));
      sign.clear();
    } else if (IsKeyword(t, "MAX")) {
      type.isMax = true;
    } else if (e.IsPunct(k, "-")) {
      sign = "-";
    } else if (Significant(t) && !e.IsPunct(k, ",")) {
      return std::nullopt;  // not a plain size list: left as written
    }
  }
  return std::nullopt;
}

int ArgOr(const DeclaredType& t, size_t i, int fallback) {
  if (i >= t.args.size()) return fallback;
  try {
    return std::stoi(t.args[i]);
  } catch (...) {
    return fallback;
  }
}

std::string Sized(const char* name, int n) { return std::string(name) + "(" + std::to_string(n) + ")"; }

// The PostgreSQL type for a server type; nullopt when it is left as written.
std::optional<std::string> PostgresType(const DeclaredType& t) {
  const std::string& n = t.name;
  const int fraction = std::min(ArgOr(t, 0, 7), 6);
  if (n == "nvarchar" || n == "varchar") return t.isMax ? "text" : Sized("varchar", ArgOr(t, 0, 1));
  if (n == "nchar" || n == "char") return Sized("char", ArgOr(t, 0, 1));
  if (n == "ntext" || n == "text") return "text";
  if (n == "sysname") return "varchar(128)";
  if (n == "datetime") return "timestamp(3)";
  if (n == "smalldatetime") return "timestamp(0)";
  if (n == "datetime2") return Sized("timestamp", fraction);
  if (n == "time") return Sized("time", fraction);
  if (n == "datetimeoffset") return Sized("timestamptz", fraction);
  if (n == "bit") return "boolean";
  if (n == "tinyint") return "smallint";
  if (n == "int") return "integer";
  if (n == "float") return ArgOr(t, 0, 53) <= 24 ? "real" : "double precision";
  if (n == "money") return "numeric(19,4)";
  if (n == "smallmoney") return "numeric(10,4)";
  if (n == "decimal" || n == "numeric") {
    return "numeric(" + std::to_string(ArgOr(t, 0, 18)) + "," + std::to_string(ArgOr(t, 1, 0)) + ")";
  }
  if (n == "image" || n == "varbinary" || n == "binary") return "bytea";
  if (n == "uniqueidentifier") return "uuid";
  return std::nullopt;
}

bool IsIntegerType(const std::string& n) {
  return n == "int" || n == "integer" || n == "bigint" || n == "smallint" || n == "tinyint";
}

// The column's name as the engine writes it in a CHECK of its own.
std::string ColumnReference(const Token& name) {
  return name.kind == TokenKind::BracketName ? QuotedFromBracketed(name.text) : std::string(name.text);
}

// IDENTITY [(seed, increment)] within [from, end): its token range and arguments.
struct Identity {
  size_t first = 0, last = 0;
  std::string seed, increment;
};

std::optional<Identity> FindIdentity(const Edit& e, size_t from, size_t end) {
  int depth = 0;
  for (size_t k = from; k < end; ++k) {
    if (e.IsPunct(k, "(")) ++depth;
    else if (e.IsPunct(k, ")")) --depth;
    if (depth != 0 || !e.IsWord(k, "IDENTITY")) continue;
    Identity id{k, k, {}, {}};
    if (auto args = ReadType(e, k, end); args && args->args.size() == 2) {
      id.last = args->last;
      id.seed = args->args[0];
      id.increment = args->args[1];
    }
    return id;
  }
  return std::nullopt;
}

bool HasWordAtTop(const Edit& e, size_t from, size_t end, std::string_view upper) {
  int depth = 0;
  for (size_t k = from; k < end; ++k) {
    if (e.IsPunct(k, "(")) ++depth;
    else if (e.IsPunct(k, ")")) --depth;
    else if (depth == 0 && e.IsWord(k, upper)) return true;
  }
  return false;
}

void ReplaceType(Edit& e, const DeclaredType& t, std::string text) {
  e.Remove(t.first + 1, t.last + 1);
  e.Replace(t.first, std::move(text));
}

void PostgresColumn(Edit& e, const Token& name, const DeclaredType& type, size_t end) {
  if (auto native = PostgresType(type)) {
    if (type.name == "tinyint") {
      const std::string column = ColumnReference(name);
      *native += " CHECK (" + column + " >= 0 AND " + column + " <= 255)";
    }
    ReplaceType(e, type, *native);
  }
  if (auto id = FindIdentity(e, type.last + 1, end)) {
    e.Remove(id->first + 1, id->last + 1);
    std::string generated = "GENERATED BY DEFAULT AS IDENTITY";
    if (!id->seed.empty()) generated += " (START WITH " + id->seed + " INCREMENT BY " + id->increment + ")";
    e.Replace(id->first, generated);
  }
}

// SQLite keeps the declared type, but reads no (max) and numbers only the
// rowid: an integer IDENTITY primary key becomes the rowid's INTEGER.
void SqliteColumn(Edit& e, const DeclaredType& type, size_t end) {
  const auto id = FindIdentity(e, type.last + 1, end);
  if (id && IsIntegerType(type.name) && HasWordAtTop(e, type.last + 1, end, "PRIMARY")) {
    const bool blankBefore = e.Tokens()[id->first - 1].kind == TokenKind::Space;
    e.Remove(id->first - (blankBefore ? 1 : 0), id->last + 1);
    ReplaceType(e, type, "INTEGER");
    return;
  }
  if (type.isMax) ReplaceType(e, type, std::string(e.Tokens()[type.first].text) + "(-1)");
}

bool StartsConstraint(const Edit& e, size_t at) {
  for (const char* word : {"CONSTRAINT", "PRIMARY", "UNIQUE", "CHECK", "FOREIGN", "INDEX", "KEY", "EXCLUDE", "LIKE"}) {
    if (e.IsWord(at, word)) return true;
  }
  return false;
}

// One element of a column list, [from, end): a column definition is
// rewritten, a table constraint left alone.
void ColumnDefinition(Edit& e, size_t from, size_t end, Engine engine) {
  size_t name = e.NextSignificant(from);
  if (name >= end || StartsConstraint(e, name)) return;
  if (e.IsWord(name, "COLUMN")) name = e.NextSignificant(name + 1);
  if (name >= end) return;
  const auto type = ReadType(e, e.NextSignificant(name + 1), end);
  if (!type) return;
  if (engine == Engine::PostgreSQL) PostgresColumn(e, e.Tokens()[name], *type, end);
  else SqliteColumn(e, *type, end);
}

// Calls `each` for the elements separated by commas at depth 0 in [from, ...),
// up to the ')' that closes the level, a ';' or the end; returns where it stopped.
template <typename Each>
size_t ForEachElement(const Edit& e, size_t from, Each each) {
  int depth = 0;
  size_t start = from;
  size_t k = from;
  for (; k < e.Size(); ++k) {
    if (e.IsPunct(k, "(")) {
      ++depth;
    } else if (e.IsPunct(k, ")")) {
      if (depth == 0) break;
      --depth;
    } else if (depth == 0 && e.IsPunct(k, ";")) {
      break;
    } else if (depth == 0 && e.IsPunct(k, ",")) {
      each(start, k);
      start = k + 1;
    }
  }
  each(start, k);
  return k;
}

void CreateTable(Edit& e, size_t create, Engine engine) {
  size_t k = e.NextSignificant(create + 1);
  while (e.IsWord(k, "TEMP") || e.IsWord(k, "TEMPORARY") || e.IsWord(k, "GLOBAL") || e.IsWord(k, "LOCAL") ||
         e.IsWord(k, "UNLOGGED")) {
    k = e.NextSignificant(k + 1);
  }
  if (!e.IsWord(k, "TABLE")) return;
  for (; k < e.Size() && !e.IsPunct(k, "("); ++k) {
    if (e.IsWord(k, "AS") || e.IsPunct(k, ";")) return;
  }
  if (k >= e.Size()) return;
  ForEachElement(e, k + 1, [&](size_t from, size_t end) { ColumnDefinition(e, from, end, engine); });
}

void AlterTableAdd(Edit& e, size_t alter, Engine engine) {
  size_t k = e.NextSignificant(alter + 1);
  if (!e.IsWord(k, "TABLE")) return;
  for (; k < e.Size() && !e.IsWord(k, "ADD"); ++k) {
    if (e.IsPunct(k, ";") || e.IsPunct(k, "(")) return;
  }
  if (k >= e.Size()) return;
  bool first = true;
  ForEachElement(e, k + 1, [&](size_t from, size_t end) {
    size_t start = e.NextSignificant(from);
    if (e.IsWord(start, "ADD")) start = e.NextSignificant(start + 1);
    else if (!first && engine == Engine::PostgreSQL && start < end) e.InsertBefore(start, "ADD ");
    first = false;
    ColumnDefinition(e, start, end, engine);
  });
}

}  // namespace

std::span<const ServerType> ServerTypes() { return kServerTypes; }

std::string_view PresentedTypeName(std::string_view lowerName) {
  for (const Alias& a : kAliases) {
    if (a.declared == lowerName) return a.presented;
  }
  for (const ServerType& t : kServerTypes) {
    if (t.name == lowerName) return t.name;
  }
  return {};
}

void RewriteColumnTypes(Edit& edit, Engine engine) {
  for (size_t i = 0; i < edit.Size(); ++i) {
    if (edit.IsWord(i, "CREATE")) CreateTable(edit, i, engine);
    else if (edit.IsWord(i, "ALTER")) AlterTableAdd(edit, i, engine);
  }
}

std::string QuotedFromBracketed(std::string_view bracketed) {
  std::string_view inner = bracketed.substr(bracketed.empty() ? 0 : 1);
  if (!inner.empty() && inner.back() == ']') inner.remove_suffix(1);
  std::string quoted = "\"";
  for (size_t k = 0; k < inner.size(); ++k) {
    if (inner[k] == ']' && k + 1 < inner.size() && inner[k + 1] == ']') ++k;
    if (inner[k] == '"') quoted += '"';
    quoted += inner[k];
  }
  return quoted + "\"";
}

}  // namespace velmora::ado::dialect
