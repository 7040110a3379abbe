#include "ado/dialect/statements.hpp"

#include <vector>

#include "ado/dialect/tokenizer.hpp"

namespace velmora::ado::dialect {
namespace {

bool IsBlank(const Token& t) { return t.kind == TokenKind::Space || t.kind == TokenKind::Comment; }

// CREATE [OR REPLACE] [TEMP|TEMPORARY] TRIGGER / FUNCTION / PROCEDURE: a
// statement whose body may hold statements of its own.
bool CreatesRoutine(const std::vector<const Token*>& words) {
  if (words.empty() || !IsKeyword(*words[0], "CREATE")) return false;
  for (size_t i = 1; i < words.size() && i < 5; ++i) {
    const Token& w = *words[i];
    if (IsKeyword(w, "TRIGGER") || IsKeyword(w, "FUNCTION") || IsKeyword(w, "PROCEDURE")) return true;
    if (!IsKeyword(w, "OR") && !IsKeyword(w, "REPLACE") && !IsKeyword(w, "TEMP") && !IsKeyword(w, "TEMPORARY")) {
      return false;
    }
  }
  return false;
}

}  // namespace

std::optional<size_t> OneStatementLength(std::string_view sql) {
  const std::vector<Token> tokens = Tokenize(sql);
  std::vector<const Token*> leadingWords;  // the first words, to recognise a routine
  int depth = 0;                           // BEGIN/CASE ... END blocks of a routine's body
  bool ended = false;  // after the ';' that ends the statement
  size_t length = 0;   // up to the end of its last word or sign
  for (const Token& t : tokens) {
    if (IsBlank(t)) continue;
    const bool semicolon = t.kind == TokenKind::Punct && t.text == ";";
    if (ended) {
      if (!semicolon) return std::nullopt;
      continue;
    }
    if (t.kind == TokenKind::Word && leadingWords.size() < 5) leadingWords.push_back(&t);
    if (CreatesRoutine(leadingWords) && t.kind == TokenKind::Word) {
      if (IsKeyword(t, "BEGIN") || IsKeyword(t, "CASE")) ++depth;
      if (IsKeyword(t, "END") && depth > 0) --depth;
    }
    if (semicolon && depth == 0) {
      ended = true;
    } else {
      length = static_cast<size_t>(t.text.data() - sql.data()) + t.text.size();
    }
  }
  return length;
}

}  // namespace velmora::ado::dialect
