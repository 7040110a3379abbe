// The one header a client includes gives the facade, the runtime's main
// types in namespace velmora, and the library's version.
#include <velmora/velmora.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "support_common/raised_error.hpp"

namespace {

TEST(Umbrella, ClientViewWorksThroughOneHeader) {
  using namespace velmora;
  Variant v(std::string("JET"));
  EXPECT_EQ(v.VarType(), 8);
  EXPECT_EQ(Macros().VbTypeToStr(v.VarType()), "String");
  EXPECT_EQ(FlagsEnum().AFE_DBMS_JET(), com::CStr(v));
  const Error e = test::RaisedError([] { Macros().FieldTypeStringToConst("Int"); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Tipo dati sconosciuto.");
  EXPECT_STRNE(VELMORA_VERSION_STRING, "");
}

const std::filesystem::path kIncludeDir = std::filesystem::path(VELMORA_SOURCE_DIR) / "include";

// Every public header in the source tree, as a client spells it
// ("velmora/ado/stream.hpp"), except the umbrella header itself.
std::set<std::string> PublicHeaders() {
  std::set<std::string> headers;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kIncludeDir / "velmora")) {
    if (entry.is_regular_file() && entry.path().extension() == ".hpp") {
      headers.insert(entry.path().lexically_relative(kIncludeDir).generic_string());
    }
  }
  headers.erase("velmora/velmora.hpp");
  return headers;
}

std::set<std::string> UmbrellaIncludes() {
  std::ifstream umbrella(kIncludeDir / "velmora" / "velmora.hpp");
  const std::regex includeLine(R"(^\s*#\s*include\s*[<"]([^">]+)[>"])");
  std::set<std::string> included;
  std::smatch match;
  for (std::string line; std::getline(umbrella, line);) {
    if (std::regex_search(line, match, includeLine)) {
      included.insert(match[1]);
    }
  }
  return included;
}

TEST(Umbrella, IncludesEveryPublicHeader) {
  const std::set<std::string> headers = PublicHeaders();
  ASSERT_FALSE(headers.empty()) << "no headers under " << kIncludeDir;
  const std::set<std::string> included = UmbrellaIncludes();
  for (const std::string& header : headers) {
    EXPECT_TRUE(included.contains(header)) << "velmora/velmora.hpp does not include " << header;
  }
  EXPECT_TRUE(included.contains("velmora/version.hpp"));
}

}  // namespace
