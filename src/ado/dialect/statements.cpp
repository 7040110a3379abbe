#include "ado/dialect/statements.hpp"

#include <cstring>
#include <vector>

#include "ado/connection_string.hpp"
#include "velmora/com/error.hpp"

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

namespace {

// A word that makes a statement write: RETURNING, or INSERT, DELETE, UPDATE
// and MERGE (in a WITH) except the UPDATE of a FOR UPDATE lock clause.
bool WritesAt(const Token& t, const Token* previousWord) {
  if (IsKeyword(t, "RETURNING") || IsKeyword(t, "INSERT") || IsKeyword(t, "DELETE") ||
      IsKeyword(t, "MERGE")) {
    return true;
  }
  return IsKeyword(t, "UPDATE") && (previousWord == nullptr || !IsKeyword(*previousWord, "FOR"));
}

}  // namespace

bool StartsWithKeyword(std::string_view sql, std::string_view upper) {
  for (const Token& t : Tokenize(sql)) {
    if (t.kind == TokenKind::Space || t.kind == TokenKind::Comment) continue;
    return IsKeyword(t, upper);
  }
  return false;
}

bool IsPlainQuery(std::string_view sql) {
  bool started = false;
  bool ended = false;  // after a ';'
  const Token* previousWord = nullptr;
  const std::vector<Token> tokens = Tokenize(sql);
  for (const Token& t : tokens) {
    if (t.kind == TokenKind::Space || t.kind == TokenKind::Comment) continue;
    if (ended) return false;  // a second statement
    if (!started) {
      if (!IsKeyword(t, "SELECT") && !IsKeyword(t, "VALUES") &&
          !IsKeyword(t, "WITH")) {
        return false;
      }
      started = true;
    } else if (WritesAt(t, previousWord)) {
      return false;
    } else if (t.kind == TokenKind::Punct && t.text == ";") {
      ended = true;
    }
    if (t.kind == TokenKind::Word) previousWord = &t;
  }
  return started;
}


bool StepModeOn(std::string_view outConnectionString) {
  std::string value;
  try {
    value = detail::FindValue(detail::ParseConnectionString(outConnectionString), "StepAPI");
  } catch (const com::Error&) {
    return false;  // not a string we can read: assume the driver's default (off)
  }
  return !value.empty() && std::strchr("123456789yYtT", value.front()) != nullptr;
}

}  // namespace velmora::ado::dialect
