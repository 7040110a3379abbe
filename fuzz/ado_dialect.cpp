// Fuzzes the SQL tokenizer, the statement splitter and the rewriting for
// both engines: tokens must join back to the input, one statement's length
// lies within the input, and nothing may crash.
#include <cstdint>
#include <stdexcept>
#include <string>

#include "ado/dialect/rewriter.hpp"
#include "ado/dialect/statements.hpp"
#include "ado/dialect/tokenizer.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string sql(reinterpret_cast<const char*>(data), size);
  std::string joined;
  for (const auto& t : velmora::ado::dialect::Tokenize(sql)) joined += t.text;
  if (joined != sql) throw std::logic_error("tokens do not rebuild the input");
  if (const auto length = velmora::ado::dialect::OneStatementLength(sql); length && *length > sql.size()) {
    throw std::logic_error("a statement longer than its text");
  }
  (void)velmora::ado::dialect::Rewrite(sql, velmora::ado::Engine::PostgreSQL);
  (void)velmora::ado::dialect::Rewrite(sql, velmora::ado::Engine::SQLite);
  return 0;
}
