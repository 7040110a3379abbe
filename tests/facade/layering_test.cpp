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

void AddIncludesOf(const fs::path& file, std::vector<Include>& found) {
  static const std::regex kInclude(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"])");
  std::ifstream in(file);
  std::string text;
  for (int n = 1; std::getline(in, text); ++n) {
    std::smatch m;
    if (std::regex_search(text, m, kInclude)) found.push_back({file, n, m[1]});
  }
}

// The includes of every source and header under `folder` (or of the file itself).
std::vector<Include> IncludesUnder(const fs::path& folder) {
  std::vector<Include> found;
  if (!fs::exists(folder)) return found;
  if (fs::is_regular_file(folder)) {
    AddIncludesOf(folder, found);
    return found;
  }
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const auto ext = entry.path().extension();
    if (entry.is_regular_file() && (ext == ".cpp" || ext == ".hpp")) AddIncludesOf(entry.path(), found);
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

// The ODBC layer and the dialects under it know nothing of the object model
// above them: of the data-access layer they include only each other, the
// types (DataTypeEnum and error numbers), and the plain data they share
// with it (rows and columns, diagnostics, connection strings, value text).
TEST(Layering, TheOdbcLayerDependsOnNothingAboveIt) {
  const fs::path root = VELMORA_SOURCE_DIR;
  const std::vector<std::string> allowed{"ado/odbc/", "ado/dialect/", "ado/cursor.hpp", "ado/error_map.hpp",
                                         "ado/connection_string.hpp", "ado/values.hpp", "velmora/ado/types.hpp"};
  std::vector<fs::path> files;
  for (const auto& folder : {root / "src" / "ado" / "odbc", root / "src" / "ado" / "dialect"}) files.push_back(folder);
  for (const char* shared : {"cursor.hpp", "error_map.hpp", "connection_string.hpp", "values.hpp"}) {
    files.push_back(root / "src" / "ado" / shared);
  }
  size_t checked = 0;
  for (const fs::path& base : files) {
    for (const Include& inc : IncludesUnder(base)) {
      if (LayerOf(inc.target) != "ado") continue;
      ++checked;
      const bool ok = std::any_of(allowed.begin(), allowed.end(),
                                  [&](const std::string& a) { return inc.target.rfind(a, 0) == 0; });
      EXPECT_TRUE(ok) << inc.file.string() << ":" << inc.line << " includes " << inc.target;
    }
  }
  EXPECT_GT(checked, 20u);
}

// Public headers show the objects, not how the library wires them: no
// internal namespace appears in them.
TEST(Layering, PublicHeadersHoldNoInternalPlumbing) {
  const fs::path root = VELMORA_SOURCE_DIR;
  size_t headers = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root / "include" / "velmora")) {
    if (!entry.is_regular_file() || entry.path().extension() != ".hpp") continue;
    ++headers;
    std::ifstream in(entry.path());
    std::string text;
    for (int n = 1; std::getline(in, text); ++n) {
      EXPECT_EQ(text.find("detail"), std::string::npos) << entry.path().string() << ":" << n << ": " << text;
    }
  }
  EXPECT_GT(headers, 20u);
}

}  // namespace
}  // namespace velmora::test
