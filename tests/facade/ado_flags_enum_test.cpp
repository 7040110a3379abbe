#include "velmora/facade/ado_flags_enum.hpp"

#include <gtest/gtest.h>

#include "support/per_thread.hpp"

namespace velmora {
namespace {

TEST(AdoFlagsEnum, IdentifiersAreTheRegisteredOnes) {
  EXPECT_EQ(AdoFlagsEnum::kClassId, "{2A1903EB-8D43-42C5-A3D0-49E69274641A}");
  EXPECT_EQ(AdoFlagsEnum::kInterfaceId, "{C4EE253A-8D72-4811-8C6B-3B67CEDBE13F}");
}

TEST(AdoFlagsEnum, PublishesTheKeyNames) {
  const AdoFlagsEnum& names = FlagsEnum();
  EXPECT_EQ(names.AFE_KEEPFILE(), "KEEPFILE");
  EXPECT_EQ(names.AFE_FLUSHDATA(), "FLUSHDATA");
  EXPECT_EQ(names.AFE_FILENAME(), "FILENAME");
  EXPECT_EQ(names.AFE_INCLTABLES(), "INCLTABLES");
  EXPECT_EQ(names.AFE_EXCLTABLES(), "EXCLTABLES");
  EXPECT_EQ(names.AFE_DBMS_JET(), "JET");
  EXPECT_EQ(names.AFE_RECORDSET(), "RECORDSET");
  EXPECT_EQ(names.AFE_FORMAT(), "FORMAT");
  EXPECT_EQ(names.AFE_DBMS_SQL(), "SQL");
  EXPECT_EQ(names.AFE_DBMS(), "DBMS");
  EXPECT_EQ(names.AFE_OPTIONS(), "OPTIONS");
  EXPECT_EQ(names.AFE_PASSWORD(), "PASSWORD");
  EXPECT_EQ(names.AFE_USERNAME(), "USERNAME");
  EXPECT_EQ(names.AFE_PROMPT(), "PROMPT");
}

TEST(FlagsEnum, OnePerThread) { test::ExpectOnePerThread(FlagsEnum); }

}  // namespace
}  // namespace velmora
