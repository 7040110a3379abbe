// The layers' dependencies point downwards only, checked from the includes
// of every source and public header: a layer may include its own headers
// and those of the layers below it, and only the ODBC layer includes the
// ODBC headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

namespace fs = std::filesystem;

// Lowest first, as the build declares them.
constexpr std::array<std::string_view, 10> kLayers{"com",    "ado",         "support",   "fields",
                                                   "flags",  "sysrecords",  "schema",    "collections",
                                                   "recordset", "facade"};

int RankOf(std::string_view layer) {
  const auto it = std::find(kLayers.begin(), kLayers.end(), layer);
  return it == kLayers.end() ? -1 : static_cast<int>(it - kLayers.begin());
}

struct Include {
  fs::path file;
  int line = 0;
  std::string target;  // as written between the quotes or brackets
};

std::vector<Include> IncludesUnder(const fs::path& folder) {
  static const std::regex kInclude(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
  std::vector<Include> found;
  if (!fs::exists(folder)) return found;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const auto ext = entry.path().extension();
    if (!entry.is_regular_file() || (ext != ".cpp" && ext != ".hpp")) continue;
    std::ifstream in(entry.path());
    std::string text;
    for (int n = 1; std::getline(in, text); ++n) {
      std::smatch m;
      if (std::regex_search(text, m, kInclude)) found.push_back({entry.path(), n, m[1]});
    }
  }
  return found;
}

// The layer an include names: "velmora/<layer>/..." (public) or
// "<layer>/..." (the layer's own sources); "" for anything else.
std::string LayerOf(const std::string& target) {
  std::string rest = target.rfind("velmora/", 0) == 0 ? target.substr(8) : target;
  const size_t slash = rest.find('/');
  if (slash == std::string::npos) return {};
  const std::string first = rest.substr(0, slash);
  return RankOf(first) >= 0 ? first : std::string();
}

TEST(Layering, EveryLayerIncludesOnlyItselfAndTheLayersBelow) {
  const fs::path root = VELMORA_SOURCE_DIR;
  size_t checked = 0;
  for (std::string_view layer : kLayers) {
    for (const fs::path& base : {root / "src" / layer, root / "include" / "velmora" / layer}) {
      for (const Include& inc : IncludesUnder(base)) {
        const std::string target = LayerOf(inc.target);
        if (target.empty()) continue;
        ++checked;
        EXPECT_LE(RankOf(target), RankOf(layer))
            << inc.file.string() << ":" << inc.line << " (" << layer << ") includes " << inc.target
            << " of the layer " << target << " above it";
      }
    }
  }
  EXPECT_GT(checked, 100u);  // the scan saw the tree
}

TEST(Layering, OnlyTheOdbcLayerIncludesOdbcHeaders) {
  const fs::path root = VELMORA_SOURCE_DIR;
  const fs::path odbc = root / "src" / "ado" / "odbc";
  for (const fs::path& base : {root / "src", root / "include", root / "tools"}) {
    for (const Include& inc : IncludesUnder(base)) {
      const bool odbcHeader = inc.target == "sql.h" || inc.target == "sqlext.h" || inc.target == "sqltypes.h" ||
                              inc.target == "sqlucode.h";
      const bool inOdbcLayer = inc.file.string().rfind(odbc.string(), 0) == 0;
      EXPECT_FALSE(odbcHeader && !inOdbcLayer) << inc.file.string() << ":" << inc.line << " includes " << inc.target;
    }
  }
}

}  // namespace
}  // namespace velmora::test
