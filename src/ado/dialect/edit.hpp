#pragma once
// A statement's tokens with the edits of the rewriting passes: each token may
// be replaced (or removed) and text may be inserted before it. Passes read
// the original tokens; the result joins the edits.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/dialect/tokenizer.hpp"

namespace velmora::ado::dialect {

inline bool Significant(const Token& t) { return t.kind != TokenKind::Space && t.kind != TokenKind::Comment; }

// The tokens with, for each, the text that replaces it and text inserted before it.
class Edit {
 public:
  explicit Edit(std::vector<Token> tokens) : tokens_(std::move(tokens)), replace_(tokens_.size()), before_(tokens_.size() + 1) {}

  const std::vector<Token>& Tokens() const { return tokens_; }
  size_t Size() const { return tokens_.size(); }
  void Replace(size_t i, std::string text) { replace_[i] = std::move(text); }
  void Remove(size_t from, size_t to) {  // [from, to)
    for (size_t i = from; i < to; ++i) replace_[i] = std::string();
  }
  void InsertBefore(size_t i, const std::string& text) { before_[i] += text; }
  // True when a pass already replaced or removed token i.
  bool IsEdited(size_t i) const { return replace_[i].has_value(); }
  // The index of the previous significant token before i (Size() when none).
  size_t PreviousSignificant(size_t i) const {
    while (i > 0) {
      if (Significant(tokens_[--i])) return i;
    }
    return tokens_.size();
  }
  // The text of the tokens [from, to) as written.
  std::string Text(size_t from, size_t to) const {
    std::string out;
    for (size_t i = from; i < to && i < tokens_.size(); ++i) out += tokens_[i].text;
    return out;
  }
  // The index of the next significant token at or after i (Size() when none).
  size_t NextSignificant(size_t i) const {
    while (i < tokens_.size() && !Significant(tokens_[i])) ++i;
    return i;
  }
  bool IsPunct(size_t i, std::string_view p) const {
    return i < tokens_.size() && tokens_[i].kind == TokenKind::Punct && tokens_[i].text == p;
  }
  bool IsWord(size_t i, std::string_view upper) const { return i < tokens_.size() && IsKeyword(tokens_[i], upper); }

  std::string Result() const {
    std::string out;
    for (size_t i = 0; i < tokens_.size(); ++i) {
      out += before_[i];
      out += replace_[i] ? *replace_[i] : std::string(tokens_[i].text);
    }
    out += before_[tokens_.size()];
    return out;
  }

 private:
  std::vector<Token> tokens_;
  std::vector<std::optional<std::string>> replace_;
  std::vector<std::string> before_;
};

}  // namespace velmora::ado::dialect
