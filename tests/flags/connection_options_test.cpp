// Connection settings in a flag collection, with their two sets of defaults.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "velmora/com/error.hpp"
#include "velmora/flags/connection_options.hpp"

namespace velmora {
namespace {

struct Options {
  std::string dbms = "unset", userName = "unset", password = "unset";
  int32_t prompt = 99, dbOptions = 99;
  friend bool operator==(const Options&, const Options&) = default;
};

void PrintTo(const Options& o, std::ostream* out) {
  *out << "{" << o.dbms << ", " << o.userName << ", " << o.password << ", " << o.prompt << ", " << o.dbOptions << "}";
}

Options Get(const AdoFlagsPtr& flags) {
  Options o;
  ConnectionOptionsGet(flags, o.dbms, o.userName, o.password, o.prompt, o.dbOptions);
  return o;
}

TEST(ConnectionOptionsGet, WithoutFlagsGivesTheDefaultsForNoCollection) {
  EXPECT_EQ(Get(nullptr), (Options{"SQL", "", "", 3, -1}));
}

TEST(ConnectionOptionsGet, FlagsWithOnlyABlankPaddedDbmsGiveTheOtherDefaults) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("DBMS", com::Variant(" jet "));
  EXPECT_EQ(Get(flags), (Options{"JET", "", "", 4, 0}));
}

TEST(ConnectionOptionsGet, ReadsAndConvertsEveryKey) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("username", com::Variant("  mario "));
  flags->WriteProperty("Password", com::Variant(" segreta"));
  flags->WriteProperty("PROMPT", com::Variant("1"));
  flags->WriteProperty("OPTIONS", com::Variant(int16_t{16}));
  EXPECT_EQ(Get(flags), (Options{"SQL", "mario", "segreta", 1, 16}));
}

TEST(ConnectionOptionsGet, AnUnknownDbmsRaises) {
  auto flags = std::make_shared<AdoFlags>();
  flags->WriteProperty("DBMS", com::Variant("ORACLE"));
  try {
    Get(flags);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Description(), "DBMS non supportato.");
  }
}

TEST(ConnectionOptionsSet, CreatesTheCollectionAndWritesOnlyNonSkipValues) {
  AdoFlagsPtr flags;
  ConnectionOptionsSet(flags, "JET", "user", "", 4, 0);
  ASSERT_TRUE(flags);
  EXPECT_EQ(flags->Count(), 2);
  EXPECT_EQ(flags->ReadProperty("DBMS", com::Variant()).Get<std::string>(), "JET");
  EXPECT_EQ(flags->ReadProperty("USERNAME", com::Variant()).Get<std::string>(), "user");
  EXPECT_FALSE(flags->ItemExist(com::Variant("PROMPT")));
}

TEST(ConnectionOptionsSet, LowerCaseSqlIsWrittenAndReadsBackAsSql) {
  AdoFlagsPtr flags = std::make_shared<AdoFlags>();
  ConnectionOptionsSet(flags, "sql");
  EXPECT_EQ(flags->ReadProperty("DBMS", com::Variant()).Get<std::string>(), "sql");
  EXPECT_EQ(Get(flags).dbms, "SQL");
}

TEST(ConnectionOptionsSet, SkipValuesLeaveExistingKeysInPlace) {
  AdoFlagsPtr flags = std::make_shared<AdoFlags>();
  ConnectionOptionsSet(flags, "JET", "old user", "pw", 2, 8);
  ConnectionOptionsSet(flags, "SQL", "", "", 4, 0);
  EXPECT_EQ(Get(flags), (Options{"JET", "old user", "pw", 2, 8}));
}

TEST(ConnectionOptionsSet, OmittedArgumentsAreZeroValuesSoDbmsAndPromptAreWritten) {
  AdoFlagsPtr flags = std::make_shared<AdoFlags>();
  ConnectionOptionsSet(flags);
  EXPECT_EQ(flags->ReadProperty("DBMS", com::Variant()).Get<std::string>(), "");
  EXPECT_EQ(flags->ReadProperty("PROMPT", com::Variant()).Get<int32_t>(), 0);
  EXPECT_FALSE(flags->ItemExist(com::Variant("OPTIONS")));
  EXPECT_THROW(Get(flags), com::Error);  // "" is not a supported DBMS
}

}  // namespace
}  // namespace velmora
