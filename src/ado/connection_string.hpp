#pragma once
// Connection strings: a parser for "key=value;..." text (values quoted with
// '...' or "..." where a doubled quote stands for itself, or in ODBC braces
// {...} where "}}" stands for "}"), and the translation of the accepted forms
// into the ODBC string handed to the driver manager.
#include <string>
#include <string_view>
#include <vector>

#include "ado/dialect/engine.hpp"

namespace velmora::ado::detail {

struct ConnectionPair {
  std::string key;    // as written, trimmed
  std::string value;  // without its quotes or braces
};

// Raises DB_E_BADINITSTRING (a clear description of where) when malformed.
std::vector<ConnectionPair> ParseConnectionString(std::string_view text);
// The value of `key` (compared without regard to case; the last one wins), or "".
std::string FindValue(const std::vector<ConnectionPair>& pairs, std::string_view key);
bool HasKey(const std::vector<ConnectionPair>& pairs, std::string_view key);
// "key=value;..." with values in braces where ODBC needs them.
std::string BuildOdbcString(const std::vector<ConnectionPair>& pairs);

struct OdbcTarget {
  std::string odbcString;
  dialect::Engine engine = dialect::Engine::Other;  // Other also when only the server can tell (DSN)
};

// The ODBC string for any accepted form: Provider=MSDASQL[.1] with Extended
// Properties, the embedded file provider with Data Source, or a plain ODBC
// string. Engine settings of docs/data-access.md are added unless given.
// Raises adErrProviderNotFound for other providers and E_FAIL when the file
// of the embedded provider does not exist.
OdbcTarget ResolveConnectionString(std::string_view text);

// `target` (whose engine only the server could tell) with the settings of
// `engine` added, for a connection made again once the engine is known.
OdbcTarget WithEngineSettings(const OdbcTarget& target, dialect::Engine engine);

// Adds `key` unless the pairs have it; sets it, replacing what the caller
// gave, when the library cannot work with another value.
void AddDefault(std::vector<ConnectionPair>& pairs, std::string_view key, std::string_view value);
void Require(std::vector<ConnectionPair>& pairs, std::string_view key, std::string_view value);

}  // namespace velmora::ado::detail
