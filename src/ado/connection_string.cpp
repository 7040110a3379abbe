#include "ado/connection_string.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <unistd.h>

#include "ado/dialect/dialect.hpp"
#include "ado/error_map.hpp"
#include "com/utf.hpp"
#include "velmora/ado/types.hpp"

namespace velmora::ado::detail {
namespace {

using com::detail::EqualsIgnoringAsciiCase;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

[[noreturn]] void Malformed(const std::string& why, size_t at) {
  RaiseAdo(DB_E_BADINITSTRING, kConnectionSource, why + " at offset " + std::to_string(at));
}

class Parser {
 public:
  explicit Parser(std::string_view text) : s_(text) {}

  std::vector<ConnectionPair> Run() {
    std::vector<ConnectionPair> pairs;
    while (pos_ < s_.size()) {
      SkipBlanks();
      if (pos_ < s_.size() && s_[pos_] == ';') {
        ++pos_;
        continue;
      }
      if (pos_ >= s_.size()) break;
      pairs.push_back(ReadPair());
    }
    return pairs;
  }

 private:
  void SkipBlanks() {
    while (pos_ < s_.size() && IsBlank(s_[pos_])) ++pos_;
  }

  ConnectionPair ReadPair() {
    const size_t start = pos_;
    std::string key;
    // "==" inside a key stands for a literal '='.
    while (pos_ < s_.size()) {
      if (s_[pos_] == '=') {
        if (pos_ + 1 < s_.size() && s_[pos_ + 1] == '=') {
          key.push_back('=');
          pos_ += 2;
          continue;
        }
        break;
      }
      if (s_[pos_] == ';') Malformed("a key without '='", start);
      key.push_back(s_[pos_++]);
    }
    if (pos_ >= s_.size()) Malformed("a key without '='", start);
    ++pos_;  // '='
    const std::string_view trimmedKey = Trim(key);
    if (trimmedKey.empty()) Malformed("an empty key", start);
    return ConnectionPair{std::string(trimmedKey), ReadValue()};
  }

  std::string ReadValue() {
    SkipBlanks();
    if (pos_ < s_.size() && (s_[pos_] == '"' || s_[pos_] == '\'')) return ReadQuoted(s_[pos_], s_[pos_]);
    if (pos_ < s_.size() && s_[pos_] == '{') return ReadQuoted('{', '}');
    const size_t start = pos_;
    while (pos_ < s_.size() && s_[pos_] != ';') ++pos_;
    return std::string(Trim(s_.substr(start, pos_ - start)));
  }

  // A value between `open` and `close`; a doubled `close` stands for itself.
  std::string ReadQuoted(char open, char close) {
    const size_t start = pos_;
    (void)open;
    ++pos_;
    std::string value;
    for (;;) {
      if (pos_ >= s_.size()) Malformed(std::string("an unterminated ") + close + " quote", start);
      const char c = s_[pos_++];
      if (c == close) {
        if (pos_ < s_.size() && s_[pos_] == close) {
          value.push_back(close);
          ++pos_;
          continue;
        }
        break;
      }
      value.push_back(c);
    }
    SkipBlanks();
    if (pos_ < s_.size() && s_[pos_] != ';') Malformed("text after a quoted value", pos_);
    return value;
  }

  std::string_view s_;
  size_t pos_ = 0;
};

bool NeedsBraces(const std::string& v) {
  if (v.empty()) return false;
  // A leading quote would be read back as the start of a quoted value.
  if (IsBlank(v.front()) || IsBlank(v.back()) || v.front() == '\'' || v.front() == '"') return true;
  return v.find_first_of(";{}=") != std::string::npos;
}

OdbcTarget PlainOdbc(std::vector<ConnectionPair> pairs) {
  OdbcTarget target;
  target.engine = dialect::EngineOfDriver(FindValue(pairs, "DRIVER"));
  dialect::ForEngine(target.engine).AddConnectionSettings(pairs);
  target.odbcString = BuildOdbcString(pairs);
  return target;
}

OdbcTarget FromOdbcProvider(const std::vector<ConnectionPair>& outer) {
  std::vector<ConnectionPair> pairs = ParseConnectionString(FindValue(outer, "Extended Properties"));
  for (const auto& p : outer) {
    if (EqualsIgnoringAsciiCase(p.key, "Provider") || EqualsIgnoringAsciiCase(p.key, "Extended Properties") ||
        EqualsIgnoringAsciiCase(p.key, "Persist Security Info")) {
      continue;
    }
    const std::string key = EqualsIgnoringAsciiCase(p.key, "User ID") ? "UID" : EqualsIgnoringAsciiCase(p.key, "Password") ? "PWD" : p.key;
    if (!HasKey(pairs, key)) pairs.push_back({key, p.value});
  }
  return PlainOdbc(std::move(pairs));
}

// Why `file` cannot be opened as a database ("" when it can): the file
// missing, a folder on its path missing, a folder in its place, or no
// permission to read and write it.
std::string DatabaseFileProblem(const std::string& file) {
  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::path path(file);
  if (file.empty()) return "Could not find file ''.";
  const fs::file_status status = fs::status(path, ec);
  if (fs::is_directory(status)) return "'" + file + "' is a folder, not a database file.";
  if (fs::is_regular_file(status)) {
    if (access(file.c_str(), R_OK | W_OK) != 0) return "No permission to read and write '" + file + "'.";
    return {};
  }
  if (status.type() == fs::file_type::not_found) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, ec)) return "The folder of '" + file + "' does not exist.";
    if (access(folder.c_str(), X_OK) != 0) return "No permission to look into the folder of '" + file + "'.";
    return "Could not find file '" + file + "'.";
  }
  if (ec) return "Could not open '" + file + "': " + ec.message() + ".";
  return "'" + file + "' is not a regular file.";
}

OdbcTarget FromFileProvider(const std::vector<ConnectionPair>& outer) {
  const std::string file = FindValue(outer, "Data Source");
  if (const std::string problem = DatabaseFileProblem(file); !problem.empty()) {
    RaiseProvider(nullptr, "Connection.Open failed", {{"HY000", 0, problem}});
  }
  std::vector<ConnectionPair> pairs{{"DRIVER", "SQLite3"}, {"Database", file}};
  if (HasKey(outer, "JournalMode")) pairs.push_back({"JournalMode", FindValue(outer, "JournalMode")});
  return PlainOdbc(std::move(pairs));
}

}  // namespace

std::vector<ConnectionPair> ParseConnectionString(std::string_view text) { return Parser(text).Run(); }

void AddDefault(std::vector<ConnectionPair>& pairs, std::string_view key, std::string_view value) {
  if (!HasKey(pairs, key)) pairs.push_back({std::string(key), std::string(value)});
}

// Sets `key` to `value`, replacing what the caller gave.
void Require(std::vector<ConnectionPair>& pairs, std::string_view key, std::string_view value) {
  std::erase_if(pairs, [key](const ConnectionPair& p) { return EqualsIgnoringAsciiCase(p.key, key); });
  pairs.push_back({std::string(key), std::string(value)});
}


OdbcTarget WithEngineSettings(const OdbcTarget& target, dialect::Engine engine) {
  std::vector<ConnectionPair> pairs = ParseConnectionString(target.odbcString);
  dialect::ForEngine(engine).AddConnectionSettings(pairs);
  return OdbcTarget{BuildOdbcString(pairs), engine};
}

std::string FindValue(const std::vector<ConnectionPair>& pairs, std::string_view key) {
  for (auto it = pairs.rbegin(); it != pairs.rend(); ++it) {
    if (EqualsIgnoringAsciiCase(it->key, key)) return it->value;
  }
  return {};
}

bool HasKey(const std::vector<ConnectionPair>& pairs, std::string_view key) {
  return std::any_of(pairs.begin(), pairs.end(), [&](const ConnectionPair& p) { return EqualsIgnoringAsciiCase(p.key, key); });
}

std::string BuildOdbcString(const std::vector<ConnectionPair>& pairs) {
  std::string out;
  for (const auto& p : pairs) {
    // '=' inside a key is written doubled, as the parser reads it.
    for (char c : p.key) {
      out += c;
      if (c == '=') out += '=';
    }
    out += '=';
    if (NeedsBraces(p.value)) {
      out += '{';
      for (char c : p.value) {
        out += c;
        if (c == '}') out += '}';
      }
      out += '}';
    } else {
      out += p.value;
    }
    out += ';';
  }
  return out;
}


OdbcTarget ResolveConnectionString(std::string_view text) {
  const std::vector<ConnectionPair> pairs = ParseConnectionString(text);
  if (!HasKey(pairs, "Provider")) return PlainOdbc(pairs);
  const std::string provider = FindValue(pairs, "Provider");
  if (EqualsIgnoringAsciiCase(provider, "MSDASQL") || EqualsIgnoringAsciiCase(provider, "MSDASQL.1")) return FromOdbcProvider(pairs);
  if (EqualsIgnoringAsciiCase(provider, "Microsoft.Jet.OLEDB.4.0") || EqualsIgnoringAsciiCase(provider, "Microsoft.ACE.OLEDB.12.0")) {
    return FromFileProvider(pairs);
  }
  RaiseAdo(adErrProviderNotFound, kConnectionSource, "provider '" + provider + "'");
}

}  // namespace velmora::ado::detail
