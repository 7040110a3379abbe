#include "ado/dialect/rewriter.hpp"

#include "ado/dialect/catalogue_views.hpp"
#include "ado/dialect/ddl_types.hpp"
#include "ado/dialect/edit.hpp"

namespace velmora::ado::dialect {
namespace {

// [name] -> "name" (PostgreSQL folds unquoted names, so brackets become quotes).
void BracketsToQuotes(Edit& e) {
  for (size_t i = 0; i < e.Size(); ++i) {
    if (e.Tokens()[i].kind == TokenKind::BracketName && !e.IsEdited(i)) e.Replace(i, QuotedFromBracketed(e.Tokens()[i].text));
  }
}

// Where the LIMIT of a SELECT starting at `from` goes: before the ')' that
// closes its level, a ';', a FOR UPDATE/SHARE clause of its level, or the end.
size_t LimitPosition(const Edit& e, size_t from) {
  int depth = 0;
  for (size_t i = from; i < e.Size(); ++i) {
    if (e.IsPunct(i, "(")) ++depth;
    else if (e.IsPunct(i, ")")) {
      if (depth == 0) return i;
      --depth;
    } else if (depth == 0 && (e.IsPunct(i, ";") ||
                              (e.IsWord(i, "FOR") && (e.IsWord(e.NextSignificant(i + 1), "UPDATE") ||
                                                      e.IsWord(e.NextSignificant(i + 1), "SHARE"))))) {
      return i;
    }
  }
  return e.Size();
}

// SELECT [DISTINCT|ALL] TOP n ... -> SELECT [DISTINCT|ALL] ... LIMIT n
void TopToLimit(Edit& e) {
  for (size_t i = 0; i < e.Size(); ++i) {
    if (!e.IsWord(i, "SELECT")) continue;
    size_t top = e.NextSignificant(i + 1);
    if (e.IsWord(top, "DISTINCT") || e.IsWord(top, "ALL")) top = e.NextSignificant(top + 1);
    if (!e.IsWord(top, "TOP")) continue;
    size_t count = e.NextSignificant(top + 1);
    size_t end = count + 1;
    std::string limit;
    if (count < e.Size() && e.Tokens()[count].kind == TokenKind::Number) {
      limit = std::string(e.Tokens()[count].text);
    } else if (e.IsPunct(count, "(")) {
      const size_t inner = e.NextSignificant(count + 1);
      const size_t close = e.NextSignificant(inner + 1);
      if (inner >= e.Size() || e.Tokens()[inner].kind != TokenKind::Number || !e.IsPunct(close, ")")) continue;
      limit = std::string(e.Tokens()[inner].text);
      end = close + 1;
    } else {
      continue;
    }
    if (e.IsWord(e.NextSignificant(end), "PERCENT")) continue;  // no engine equivalent: left as written
    // Drop "TOP n" and the blank after it.
    const size_t next = e.NextSignificant(end);
    e.Remove(top, next);
    const size_t at = LimitPosition(e, next);
    size_t before = at;
    while (before > next && !Significant(e.Tokens()[before - 1])) --before;
    e.InsertBefore(before, " LIMIT " + limit);
  }
}

// CONVERT(DATETIME, 'text'[, style]) -> the engine's timestamp literal.
void ConvertDatetime(Edit& e, Engine engine) {
  for (size_t i = 0; i < e.Size(); ++i) {
    if (!e.IsWord(i, "CONVERT")) continue;
    const size_t open = e.NextSignificant(i + 1);
    const size_t type = e.NextSignificant(open + 1);
    const size_t comma = e.NextSignificant(type + 1);
    const size_t literal = e.NextSignificant(comma + 1);
    if (!e.IsPunct(open, "(") || !e.IsWord(type, "DATETIME") || !e.IsPunct(comma, ",") || literal >= e.Size() ||
        e.Tokens()[literal].kind != TokenKind::String) {
      continue;
    }
    size_t close = e.NextSignificant(literal + 1);
    if (e.IsPunct(close, ",")) {
      const size_t style = e.NextSignificant(close + 1);
      if (style >= e.Size() || e.Tokens()[style].kind != TokenKind::Number) continue;
      close = e.NextSignificant(style + 1);
    }
    if (!e.IsPunct(close, ")")) continue;
    const std::string text(e.Tokens()[literal].text);
    e.Remove(i, close + 1);
    e.Replace(i, engine == Engine::PostgreSQL ? "TIMESTAMP " + text : text);
  }
}

}  // namespace

std::string Rewrite(std::string_view sql, Engine engine) {
  if (engine == Engine::Other) return std::string(sql);
  Edit edit(Tokenize(sql));
  ConvertDatetime(edit, engine);
  TopToLimit(edit);
  RewriteColumnTypes(edit, engine);
  ReplaceCatalogueViews(edit, engine);
  if (engine == Engine::PostgreSQL) BracketsToQuotes(edit);
  return edit.Result();
}

}  // namespace velmora::ado::dialect
