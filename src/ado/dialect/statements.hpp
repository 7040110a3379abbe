#pragma once
// Where one statement ends: a text given to Execute must hold one statement
// only, so that a value or name that ends its quoting early cannot append a
// statement of its own (the server engine would run it; the embedded one
// refuses it).
#include <cstddef>
#include <optional>
#include <string_view>

namespace velmora::ado::dialect {

// The length of the one statement in `sql`, without the ';' that ends it,
// blanks and comments after its last word, and what follows; nullopt when
// a second statement follows. A ';' outside
// literals, quoted names and comments ends the statement, and only blanks,
// comments and more ';' may follow it. The body of a trigger, function or
// procedure (BEGIN ... END) is part of the statement that creates it.
std::optional<size_t> OneStatementLength(std::string_view sql);

// True for a single statement that only reads: it starts with SELECT, VALUES
// or WITH, has no RETURNING clause and no INSERT, UPDATE (other than FOR
// UPDATE), DELETE or MERGE inside a WITH. Anything else may write.
bool IsPlainQuery(std::string_view sql);

// True when the first word of `sql` (after blanks and comments) is `upper`.
bool StartsWithKeyword(std::string_view sql, std::string_view upper);

// True when an SQLite driver's out-connection-string has step mode on (the
// driver reads a boolean option as true when it starts with 1-9, y or t).
bool StepModeOn(std::string_view outConnectionString);

}  // namespace velmora::ado::dialect
