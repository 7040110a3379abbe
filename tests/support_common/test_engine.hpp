#pragma once
// The engines that engine-dependent tests are parameterised over.
#include <gtest/gtest.h>

#include <string>

namespace velmora::test {

// SQLiteDelete: an SQLite file in the rollback-journal mode DELETE, where a
// writer's commit keeps readers out (WAL, the default for new files, does not).
// PostgreSQLLegacyStrings: the test server's database whose sessions start
// with standard_conforming_strings off (backslashes escape in literals).
enum class TestEngine { SQLite, SQLiteDelete, PostgreSQL, PostgreSQLLegacyStrings };

inline bool IsServer(TestEngine engine) {
  return engine == TestEngine::PostgreSQL || engine == TestEngine::PostgreSQLLegacyStrings;
}

inline std::string EngineName(const ::testing::TestParamInfo<TestEngine>& info) {
  switch (info.param) {
    case TestEngine::SQLite: return "SQLite";
    case TestEngine::SQLiteDelete: return "SQLiteDelete";
    case TestEngine::PostgreSQL: return "PostgreSQL";
    case TestEngine::PostgreSQLLegacyStrings: return "PostgreSQLLegacyStrings";
  }
  return "";
}

// The configurations of the data layer's own rules: SQLite, and PostgreSQL
// with literals read both ways.
inline auto EnginesAndLegacyStrings() {
  return ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL, TestEngine::PostgreSQLLegacyStrings);
}
// The server configurations (what only a server can do: stall, for one).
inline auto ServerEngines() {
  return ::testing::Values(TestEngine::PostgreSQL, TestEngine::PostgreSQLLegacyStrings);
}

// What the embedded provider's connection string adds for the engine.
inline std::string JournalModeSetting(TestEngine engine) {
  return engine == TestEngine::SQLiteDelete ? ";JournalMode=DELETE" : "";
}

}  // namespace velmora::test
