#include "ado/dialect/tokenizer.hpp"

#include <cctype>

namespace velmora::ado::dialect {
namespace {

bool IsWordChar(char c) {
  const auto u = static_cast<unsigned char>(c);
  return std::isalnum(u) || c == '_' || c == '$' || c == '#' || c == '@' || u >= 0x80;
}

bool IsSignificant(const Token& t) { return t.kind != TokenKind::Space && t.kind != TokenKind::Comment; }

// Words after which '[' opens a bracketed name even with no blank between.
bool IsClauseKeyword(const Token& t) {
  static constexpr std::string_view kWords[] = {"SELECT", "FROM", "JOIN", "ON", "WHERE", "AND", "OR", "NOT",
                                                "BY", "INTO", "UPDATE", "TABLE", "SET", "AS", "DISTINCT",
                                                "VALUES", "HAVING", "INDEX", "WHEN", "THEN", "ELSE", "IN",
                                                "LIKE", "IS", "TOP", "DELETE", "INSERT", "CASE", "ALL", "UNION"};
  for (auto w : kWords) {
    if (IsKeyword(t, w)) return true;
  }
  return false;
}

class Lexer {
 public:
  explicit Lexer(std::string_view s) : s_(s) {}

  std::vector<Token> Run() {
    while (i_ < s_.size()) Next();
    return std::move(out_);
  }

 private:
  void Emit(TokenKind kind, size_t start) { out_.push_back({kind, s_.substr(start, i_ - start)}); }
  char At(size_t k) const { return k < s_.size() ? s_[k] : '\0'; }

  // Up to and including `close`; a doubled `close` stands for itself.
  void Quoted(char close, bool backslashEscapes) {
    ++i_;
    while (i_ < s_.size()) {
      const char c = s_[i_++];
      if (backslashEscapes && c == '\\') {
        if (i_ < s_.size()) ++i_;
      } else if (c == close) {
        if (At(i_) != close) return;
        ++i_;
      }
    }
  }

  bool PreviousAllowsSubscript() const {
    if (out_.empty()) return false;
    const Token& prev = out_.back();
    if (IsKeyword(prev, "ARRAY")) return true;
    if (!IsSignificant(prev)) {
      // ARRAY [1,2] may have a blank.
      for (auto it = out_.rbegin(); it != out_.rend(); ++it) {
        if (IsSignificant(*it)) return IsKeyword(*it, "ARRAY");
      }
      return false;
    }
    if (prev.kind == TokenKind::Word) return !IsClauseKeyword(prev);
    if (prev.kind == TokenKind::QuotedName || prev.kind == TokenKind::BracketName) return true;
    return prev.kind == TokenKind::Punct && (prev.text == ")" || prev.text == "]");
  }

  bool DollarQuote() {
    size_t k = i_ + 1;
    while (k < s_.size() && (std::isalpha(static_cast<unsigned char>(s_[k])) || s_[k] == '_')) ++k;
    if (At(k) != '$') return false;
    const std::string_view tag = s_.substr(i_, k - i_ + 1);
    const size_t end = s_.find(tag, k + 1);
    i_ = end == std::string_view::npos ? s_.size() : end + tag.size();
    return true;
  }

  void Next() {
    const size_t start = i_;
    const char c = s_[i_];
    if (std::isspace(static_cast<unsigned char>(c))) {
      while (i_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[i_]))) ++i_;
      return Emit(TokenKind::Space, start);
    }
    if (c == '-' && At(i_ + 1) == '-') {
      while (i_ < s_.size() && s_[i_] != '\n') ++i_;
      return Emit(TokenKind::Comment, start);
    }
    if (c == '/' && At(i_ + 1) == '*') {
      const size_t end = s_.find("*/", i_ + 2);
      i_ = end == std::string_view::npos ? s_.size() : end + 2;
      return Emit(TokenKind::Comment, start);
    }
    if (c == '\'') {
      Quoted('\'', false);
      return Emit(TokenKind::String, start);
    }
    if ((c == 'E' || c == 'e') && At(i_ + 1) == '\'' && (out_.empty() || out_.back().kind != TokenKind::Word)) {
      ++i_;
      Quoted('\'', true);
      return Emit(TokenKind::String, start);
    }
    if (c == '"') {
      Quoted('"', false);
      return Emit(TokenKind::QuotedName, start);
    }
    if (c == '[' && !PreviousAllowsSubscript()) {
      Quoted(']', false);
      return Emit(TokenKind::BracketName, start);
    }
    if (c == '$' && DollarQuote()) return Emit(TokenKind::String, start);
    if (std::isdigit(static_cast<unsigned char>(c)) ||
        (c == '.' && std::isdigit(static_cast<unsigned char>(At(i_ + 1))))) {
      while (i_ < s_.size() && (std::isalnum(static_cast<unsigned char>(s_[i_])) || s_[i_] == '.')) ++i_;
      return Emit(TokenKind::Number, start);
    }
    if (IsWordChar(c)) {
      while (i_ < s_.size() && IsWordChar(s_[i_])) ++i_;
      return Emit(TokenKind::Word, start);
    }
    ++i_;
    Emit(TokenKind::Punct, start);
  }

  std::string_view s_;
  size_t i_ = 0;
  std::vector<Token> out_;
};

}  // namespace

bool IsKeyword(const Token& t, std::string_view upper) {
  if (t.kind != TokenKind::Word || t.text.size() != upper.size()) return false;
  for (size_t i = 0; i < upper.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(t.text[i])) != upper[i]) return false;
  }
  return true;
}

std::vector<Token> Tokenize(std::string_view sql) { return Lexer(sql).Run(); }

}  // namespace velmora::ado::dialect
