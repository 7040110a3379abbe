// `velmora info CONNECTION [--dbms SQL|JET] [--include A,B] [--exclude C]
// [--json] [--progress]`: every base table of the database with its columns
// and indexes, as aligned text or as one JSON document.
#include <algorithm>
#include <cctype>
#include <iostream>

#include "command.hpp"
#include "database_description.hpp"
#include "info_output.hpp"
#include "system_tables_tool.hpp"

namespace velmora::tool {
namespace {

struct InfoOptions {
  std::string connection;
  DescribeOptions describe;
  bool json = false;
};

std::string UpperCase(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

// Reads the value of the option at args[i] into `value`; returns an error
// message, or "".
std::string OptionValue(const std::vector<std::string>& args, std::size_t& i, std::string& value) {
  if (i + 1 >= args.size()) return "option '" + args[i] + "' needs a value";
  value = args[++i];
  return {};
}

// Reads the arguments; returns an error message, or "".
std::string ParseOptions(const std::vector<std::string>& args, InfoOptions& options) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string problem;
    if (arg == "--dbms") {
      problem = OptionValue(args, i, options.describe.dbms);
      options.describe.dbms = UpperCase(options.describe.dbms);
      if (problem.empty() && options.describe.dbms != "SQL" && options.describe.dbms != "JET") {
        problem = "--dbms must be SQL or JET, got '" + args[i] + "'";
      }
    } else if (arg == "--include") {
      problem = OptionValue(args, i, options.describe.include);
    } else if (arg == "--exclude") {
      problem = OptionValue(args, i, options.describe.exclude);
    } else if (arg == "--json") {
      options.json = true;
    } else if (arg == "--progress") {
      options.describe.progress = true;
    } else if (arg.starts_with("--")) {
      problem = "unknown option '" + arg + "'";
    } else if (options.connection.empty()) {
      options.connection = arg;
    } else {
      problem = "unexpected argument '" + arg + "'";
    }
    if (!problem.empty()) return problem;
  }
  return options.connection.empty() ? "expected CONNECTION" : "";
}

}  // namespace

VELMORA_COMMAND("info", "CONNECTION [--dbms SQL|JET] [--include A,B] [--exclude C] [--json] [--progress]",
                "describes every base table with its columns and indexes, as text or JSON (progress on stderr)") {
  InfoOptions options;
  if (const std::string problem = ParseOptions(args, options); !problem.empty()) return UsageError("info", problem);
  const auto connection = OpenConnectionArgument(options.connection, false);
  const auto tables = DescribeDatabase(connection, options.describe);
  if (options.json) {
    PrintTablesJson(std::cout, tables, options.describe.dbms);
  } else {
    PrintTablesText(std::cout, tables);
  }
  return kExitOk;
}

}  // namespace velmora::tool
