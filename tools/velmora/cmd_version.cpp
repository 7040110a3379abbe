// `velmora version [--json]`: the version of the data-access layer
// (AdoVersion) and of the ODBC driver manager under it.
#include <iostream>

#include "command.hpp"
#include "json_writer.hpp"
#include "velmora/facade/ado_macros.hpp"

namespace velmora::tool {

VELMORA_COMMAND("version", "[--json]", "prints the version of the data-access layer and of the ODBC driver manager") {
  const bool json = args.size() == 1 && args[0] == "--json";
  if (!args.empty() && !json) return UsageError("version", "expected no argument or --json");
  int32_t major = 0, minor = 0, build = 0, qfe = 0;
  std::string text;
  Macros().AdoVersion(major, minor, build, qfe, text);
  if (!json) {
    std::cout << text << '\n';
    return kExitOk;
  }
  JsonWriter out(std::cout);
  out.BeginObject();
  out.Member("major", major);
  out.Member("minor", minor);
  out.Member("build", build);
  out.Member("qfe", qfe);
  out.Member("text", text);
  out.EndObject();
  std::cout << '\n';
  return kExitOk;
}

}  // namespace velmora::tool
