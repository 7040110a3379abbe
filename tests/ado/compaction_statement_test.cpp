// The engine's statement for a compacted copy of the database: one on the
// embedded engine, a quoted file name in it; none on the server.
#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"

namespace velmora::test {
namespace {

class CompactionStatementTest : public EngineTest {};

TEST_P(CompactionStatementTest, IsTheEnginesOwnOrEmpty) {
  const std::string statement = cn->CompactionStatement("/tmp/it's here.db");
  if (IsPg()) {
    EXPECT_EQ(statement, "");
  } else {
    EXPECT_EQ(statement, "VACUUM INTO '/tmp/it''s here.db'");
  }
}

TEST(CompactionStatement, NeedsAnOpenConnection) {
  ado::Connection closed;
  EXPECT_THROW(closed.CompactionStatement("x.db"), com::Error);
}

INSTANTIATE_TEST_SUITE_P(Engines, CompactionStatementTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL), EngineName);

}  // namespace
}  // namespace velmora::test
