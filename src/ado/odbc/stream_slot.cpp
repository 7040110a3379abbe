#include "ado/odbc/stream_slot.hpp"

#include <cstring>
#include <vector>

#include "ado/connection_string.hpp"
#include "ado/dialect/tokenizer.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::odbc {

bool StreamSlot::Claim(StreamedRows* rows) {
  const bool allowed = policy_ == Policy::OneOutsideTransactions ? !inTransaction_ && holders_.empty()
                                                                  : inTransaction_;
  if (allowed) holders_.push_back(rows);
  return allowed;
}

void StreamSlot::Release(const StreamedRows* rows) noexcept {
  std::erase(holders_, rows);
}

void StreamSlot::Settle() {
  // Each holder releases its place while it settles.
  while (!holders_.empty()) holders_.back()->Settle();
}

void StreamSlot::TransactionBegins() {
  if (policy_ == Policy::OneOutsideTransactions) Settle();
  inTransaction_ = true;
}

void StreamSlot::TransactionEnds() {
  if (policy_ == Policy::AllInsideTransactions) Settle();
  inTransaction_ = false;
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

namespace {

// A word that makes a statement write: RETURNING, or INSERT, DELETE, UPDATE
// and MERGE (in a WITH) except the UPDATE of a FOR UPDATE lock clause.
bool WritesAt(const dialect::Token& t, const dialect::Token* previousWord) {
  if (dialect::IsKeyword(t, "RETURNING") || dialect::IsKeyword(t, "INSERT") || dialect::IsKeyword(t, "DELETE") ||
      dialect::IsKeyword(t, "MERGE")) {
    return true;
  }
  return dialect::IsKeyword(t, "UPDATE") && (previousWord == nullptr || !dialect::IsKeyword(*previousWord, "FOR"));
}

}  // namespace

bool StartsWithKeyword(std::string_view sql, std::string_view upper) {
  for (const dialect::Token& t : dialect::Tokenize(sql)) {
    if (t.kind == dialect::TokenKind::Space || t.kind == dialect::TokenKind::Comment) continue;
    return dialect::IsKeyword(t, upper);
  }
  return false;
}

bool IsPlainQuery(std::string_view sql) {
  using dialect::TokenKind;
  bool started = false;
  bool ended = false;  // after a ';'
  const dialect::Token* previousWord = nullptr;
  const std::vector<dialect::Token> tokens = dialect::Tokenize(sql);
  for (const dialect::Token& t : tokens) {
    if (t.kind == TokenKind::Space || t.kind == TokenKind::Comment) continue;
    if (ended) return false;  // a second statement
    if (!started) {
      if (!dialect::IsKeyword(t, "SELECT") && !dialect::IsKeyword(t, "VALUES") &&
          !dialect::IsKeyword(t, "WITH")) {
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

}  // namespace velmora::ado::odbc
