// AdoMacros forwards ConnectionOptionsGet and ConnectionOptionsSet to the
// flags layer unchanged, errors included.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "velmora/com/error.hpp"
#include "velmora/facade/ado_macros.hpp"
#include "velmora/flags/ado_flags.hpp"

namespace velmora {
namespace {

TEST(MacrosConnectionOptions, SetThenGetThroughTheFacade) {
  std::shared_ptr<AdoFlags> flags;
  Macros().ConnectionOptionsSet(flags, "jet", " user ", "pw", 2, 16);
  ASSERT_TRUE(flags);
  std::string dbms, user, password;
  int32_t prompt = 0, options = 0;
  Macros().ConnectionOptionsGet(flags, dbms, user, password, prompt, options);
  EXPECT_EQ(dbms, "JET");
  EXPECT_EQ(user, "user");
  EXPECT_EQ(password, "pw");
  EXPECT_EQ(prompt, 2);
  EXPECT_EQ(options, 16);
}

TEST(MacrosConnectionOptions, DefaultsWithoutFlagsAndTheUnsupportedDbmsError) {
  std::string dbms, user, password;
  int32_t prompt = 0, options = 0;
  Macros().ConnectionOptionsGet(nullptr, dbms, user, password, prompt, options);
  EXPECT_EQ(dbms, "SQL");
  EXPECT_EQ(prompt, 3);
  EXPECT_EQ(options, -1);

  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty(Macros().ConnectionOption()->AFE_DBMS(), com::Variant("ORACLE"));
  try {
    Macros().ConnectionOptionsGet(flags, dbms, user, password, prompt, options);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Description(), "DBMS non supportato.");
  }
}

}  // namespace
}  // namespace velmora
