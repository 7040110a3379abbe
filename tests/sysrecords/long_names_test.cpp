// Names longer than any fixed column size: stored whole, so two names that
// share a long beginning keep counters and locks of their own.
#include <gtest/gtest.h>

#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

// Two 200-character names that differ only after their first 128.
const std::string kFirst = std::string(128, 'N') + std::string(72, 'a');
const std::string kSecond = std::string(128, 'N') + std::string(72, 'b');

class LongNamesTest : public SystemTablesTest {};

TEST_P(LongNamesTest, EachNameHasItsOwnCounter) {
  EXPECT_EQ(GetUnk(cn, kFirst, 5), 1);
  EXPECT_EQ(GetUnk(cn, kSecond, 5), 1);
  EXPECT_EQ(GetUnk(cn, kFirst, 5), 2);
  EXPECT_EQ(GetUnk(cn, kSecond, 5), 2);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM [SYS_UNK] WHERE [SU_TABLE] = '" + kFirst + "'"), 1);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM [SYS_UNK] WHERE [SU_TABLE] = '" + kSecond + "'"), 1);
}

TEST_P(LongNamesTest, EachNameHasItsOwnLock) {
  ActAs user("anna");
  EXPECT_EQ(TableLock(cn, kFirst, true, 2), TLR_OK);
  EXPECT_EQ(TableLock(cn, kSecond, true, 2), TLR_OK);
  EXPECT_EQ(TableLock(cn, kFirst, false, 2), TLR_OK);
  EXPECT_EQ(com::CStr(Scalar("SELECT [LK_LOCKED] FROM [SYS_LOCK] WHERE [LK_NAME] = '" + kFirst + "'")), "N");
  EXPECT_EQ(com::CStr(Scalar("SELECT [LK_LOCKED] FROM [SYS_LOCK] WHERE [LK_NAME] = '" + kSecond + "'")), "S");
  ActAs other("bruno");
  EXPECT_EQ(TableLock(cn, kFirst, true, 2), TLR_OK);
}

TEST_P(LongNamesTest, LongUserNamesAreStoredWhole) {
  const std::string user(300, 'u');
  ActAs as(user);
  EXPECT_EQ(TableLock(cn, kFirst, true, 2), TLR_OK);
  EXPECT_EQ(com::CStr(Scalar("SELECT [LK_RCUSER] FROM [SYS_LOCK]")), user);
  EXPECT_EQ(TableLock(cn, kFirst, true, 2), TLR_LOCKEDBYSAMEUSER);
}

INSTANTIATE_TEST_SUITE_P(Engines, LongNamesTest, EnginesAndLegacyStrings(),
                         EngineName);

}  // namespace
}  // namespace velmora::test
