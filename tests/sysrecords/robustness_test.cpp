// Counters and locks when things go wrong: a database without the system
// tables, names that try to leave their literal, a server that stops
// answering in the middle of a draw.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>

#include "support_common/raised_error.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

class SysRecordsRobustness : public SystemTablesTest {};

TEST_P(SysRecordsRobustness, AMissingCounterTableLeavesTheConnectionUsable) {
  cn->Execute("DROP TABLE [SYS_UNK]");
  cn->Execute("DROP TABLE [SYS_LOCK]");
  EXPECT_NE(ErrorNumber([&] { GetUnk(cn, "ORDERS"); }), 0);
  EXPECT_NE(ErrorNumber([&] { TableLock(cn, "ORDERS", true); }), 0);
  CreateSystemTables(cn);  // on the same connection
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 1);
  EXPECT_EQ(TableLock(cn, "ORDERS", true), TLR_OK);
}

TEST_P(SysRecordsRobustness, ANameThatTriesToLeaveItsLiteralIsJustAName) {
  cn->Execute("CREATE TABLE canary (id INTEGER)");
  const std::string hostile = "a\\'; DROP TABLE canary; --";
  const int32_t counters = Count("SELECT COUNT(*) FROM [SYS_UNK]");
  EXPECT_EQ(GetUnk(cn, hostile), 1);
  EXPECT_EQ(GetUnk(cn, hostile), 2);
  EXPECT_EQ(GetUnk(cn, "a\\"), 1);  // a different counter
  EXPECT_EQ(Count("SELECT COUNT(*) FROM [SYS_UNK]"), counters + 2);
  EXPECT_EQ(TableLock(cn, hostile, true), TLR_OK);
  EXPECT_EQ(TableLock(cn, hostile, false), TLR_OK);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM canary"), 0);  // still there
}

// Only a server can stall; the file engine's waits are its busy time-out.
class SysRecordsStall : public SystemTablesTest {};

TEST_P(SysRecordsStall, ADrawOnAStalledServerEndsWithinItsTimeout) {
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 1);
  const int pid = Count("SELECT pg_backend_pid()");
  ASSERT_EQ(kill(pid, SIGSTOP), 0);
  const auto start = std::chrono::steady_clock::now();
  const int32_t number = ErrorNumber([&] { GetUnk(cn, "ORDERS", 2); });
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  kill(pid, SIGCONT);
  EXPECT_NE(number, 0);
  EXPECT_LT(seconds, 3.0);
  EXPECT_EQ(cn->CommandTimeout(), 30);  // the connection's own, back after the call
}

INSTANTIATE_TEST_SUITE_P(Engines, SysRecordsRobustness,
                         ::testing::Values(TestEngine::SQLite, TestEngine::SQLiteDelete,
                                           TestEngine::PostgreSQL, TestEngine::PostgreSQLLegacyStrings),
                         EngineName);
INSTANTIATE_TEST_SUITE_P(Engines, SysRecordsStall, ServerEngines(), EngineName);

}  // namespace
}  // namespace velmora::test
