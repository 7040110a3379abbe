#pragma once
// A tokenizer for the SQL the library writes: it knows string literals
// ('...', E'...', $tag$...$tag$), quoted names ("...", [...]), comments and
// array subscripts, so that rewriting never touches their insides.
#include <string>
#include <string_view>
#include <vector>

namespace velmora::ado::dialect {

enum class TokenKind { Space, Comment, String, QuotedName, BracketName, Word, Number, Punct };

struct Token {
  TokenKind kind;
  std::string_view text;
};

// Splits `sql` into tokens whose texts, joined, give `sql` back exactly.
// Unterminated literals and comments run to the end of the text.
std::vector<Token> Tokenize(std::string_view sql);

// Case-insensitive comparison of a word with an upper-case keyword.
bool IsKeyword(const Token& t, std::string_view upper);

}  // namespace velmora::ado::dialect
