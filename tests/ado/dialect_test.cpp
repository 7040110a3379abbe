#include <gtest/gtest.h>

#include "ado/connection_string.hpp"
#include "ado/dialect/rewriter.hpp"
#include "ado/dialect/statements.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/error.hpp"

namespace velmora::test {
namespace {

using ado::dialect::Engine;
using ado::dialect::Rewrite;

TEST(Dialect, BracketsBecomeQuotesOnPostgresOnly) {
  EXPECT_EQ(Rewrite("SELECT [a b], [x]]y] FROM [T]", Engine::PostgreSQL), "SELECT \"a b\", \"x]y\" FROM \"T\"");
  EXPECT_EQ(Rewrite("SELECT [a] FROM [T]", Engine::SQLite), "SELECT [a] FROM [T]");
}

TEST(Statements, OneStatementEndsAtItsSemicolon) {
  using ado::dialect::OneStatementLength;
  EXPECT_EQ(OneStatementLength("SELECT 1"), 8u);
  EXPECT_EQ(OneStatementLength("SELECT 1;"), 8u);
  EXPECT_EQ(OneStatementLength("SELECT 1 ; ;  -- done; really\n/* ; */ "), 8u);
  EXPECT_EQ(OneStatementLength("SELECT 1 /* c */ "), 8u);
  EXPECT_EQ(OneStatementLength("SELECT ';', \"a;b\", [c;d] -- ;x\nFROM t"), 37u);
  EXPECT_EQ(OneStatementLength(""), 0u);
  EXPECT_EQ(OneStatementLength("SELECT 1; SELECT 2"), std::nullopt);
  EXPECT_EQ(OneStatementLength("SELECT 1;DROP TABLE t;"), std::nullopt);
  EXPECT_EQ(OneStatementLength("BEGIN; DROP TABLE t"), std::nullopt);
  EXPECT_EQ(OneStatementLength("SELECT CASE WHEN 1 THEN 2 END; DROP TABLE t"), std::nullopt);
  EXPECT_EQ(OneStatementLength("SELECT $x$;$x$, E'\\';' "), 22u);  // E'\';' is one literal
  EXPECT_EQ(OneStatementLength("SELECT E'\\\\'; DROP TABLE t"), std::nullopt);  // E'\\' ends at its quote
}

TEST(Statements, ARoutineBodyBelongsToItsStatement) {
  using ado::dialect::OneStatementLength;
  const std::string trigger =
      "CREATE TEMP TRIGGER tr AFTER INSERT ON t BEGIN UPDATE u SET n = CASE WHEN 1 THEN 2 END; "
      "DELETE FROM v; END";
  EXPECT_EQ(OneStatementLength(trigger), trigger.size());
  EXPECT_EQ(OneStatementLength(trigger + ";"), trigger.size());
  EXPECT_EQ(OneStatementLength(trigger + "; DROP TABLE t"), std::nullopt);
  const std::string function = "CREATE OR REPLACE FUNCTION f() RETURNS int LANGUAGE sql BEGIN ATOMIC SELECT 1; END";
  EXPECT_EQ(OneStatementLength(function), function.size());
}

TEST(Dialect, TopBecomesLimitAtTheEndOfItsLevel) {
  EXPECT_EQ(Rewrite("SELECT TOP 1 a FROM t ORDER BY a DESC", Engine::SQLite), "SELECT a FROM t ORDER BY a DESC LIMIT 1");
  EXPECT_EQ(Rewrite("SELECT DISTINCT TOP (5) a FROM t;", Engine::PostgreSQL), "SELECT DISTINCT a FROM t LIMIT 5;");
  EXPECT_EQ(Rewrite("SELECT x FROM (SELECT TOP 2 a FROM t) s", Engine::SQLite), "SELECT x FROM (SELECT a FROM t LIMIT 2) s");
  EXPECT_EQ(Rewrite("SELECT TOP 1 * FROM t WHERE k = 1 FOR UPDATE NOWAIT", Engine::PostgreSQL),
            "SELECT * FROM t WHERE k = 1 LIMIT 1 FOR UPDATE NOWAIT");
  EXPECT_EQ(Rewrite("SELECT TOP 10 PERCENT a FROM t", Engine::SQLite), "SELECT TOP 10 PERCENT a FROM t");
}

TEST(Dialect, ConvertDatetimeBecomesTheEngineLiteral) {
  const std::string sql = "WHERE d = CONVERT(DATETIME, '2009-12-31 23:05:09', 102)";
  EXPECT_EQ(Rewrite(sql, Engine::PostgreSQL), "WHERE d = TIMESTAMP '2009-12-31 23:05:09'");
  EXPECT_EQ(Rewrite(sql, Engine::SQLite), "WHERE d = '2009-12-31 23:05:09'");
  EXPECT_EQ(Rewrite("CONVERT(INT, '1')", Engine::PostgreSQL), "CONVERT(INT, '1')");
}

TEST(Dialect, LiteralsCommentsAndSubscriptsAreLeftAlone) {
  const std::string sql =
      "SELECT arr[1], ARRAY[1,2], 'SELECT TOP 1 [x]', E'it\\'s [y]', $$[z]$$ -- TOP 3 [c]\n/* [d] */ FROM t";
  EXPECT_EQ(Rewrite(sql, Engine::PostgreSQL), sql);
  EXPECT_EQ(Rewrite("SELECT [a] FROM [t] WHERE n = 'O''Brien [x]'", Engine::PostgreSQL),
            "SELECT \"a\" FROM \"t\" WHERE n = 'O''Brien [x]'");
  EXPECT_EQ(Rewrite("SELECT 'unterminated [x", Engine::PostgreSQL), "SELECT 'unterminated [x");
}

TEST(Dialect, OtherEnginesGetTheTextUnchanged) {
  EXPECT_EQ(Rewrite("SELECT TOP 1 [a] FROM [t]", Engine::Other), "SELECT TOP 1 [a] FROM [t]");
}

using namespace ado::detail;

TEST(ConnectionStrings, QuotesBracesAndDoubledQuotes) {
  const auto pairs = ParseConnectionString(
      " Provider = MSDASQL.1 ; Extended Properties=\"DRIVER={A;B};x=\"\"q\"\"\";Pwd='it''s';Key==Eq=v;;");
  ASSERT_EQ(pairs.size(), 4u);
  EXPECT_EQ(pairs[0].key, "Provider");
  EXPECT_EQ(pairs[0].value, "MSDASQL.1");
  EXPECT_EQ(pairs[1].value, "DRIVER={A;B};x=\"q\"");
  EXPECT_EQ(pairs[2].value, "it's");
  EXPECT_EQ(pairs[3].key, "Key=Eq");
  EXPECT_EQ(FindValue(pairs, "extended properties"), pairs[1].value);
  const auto inner = ParseConnectionString(pairs[1].value);
  EXPECT_EQ(inner[0].value, "A;B");
  EXPECT_EQ(ParseConnectionString("DRIVER={a}}b}")[0].value, "a}b");
  EXPECT_EQ(BuildOdbcString({{"DRIVER", "A;B"}, {"X", "1"}}), "DRIVER={A;B};X=1;");
}

TEST(ConnectionStrings, AKeyWithEqualsSignsRebuildsToTheSamePairs) {
  const auto pairs = ParseConnectionString("\x0e==\x0e=");
  ASSERT_EQ(pairs.size(), 1u);
  EXPECT_EQ(pairs[0].key, "\x0e=\x0e");
  const auto again = ParseConnectionString(BuildOdbcString(pairs));
  ASSERT_EQ(again.size(), 1u);
  EXPECT_EQ(again[0].key, pairs[0].key);
  EXPECT_EQ(again[0].value, "");
}

TEST(ConnectionStrings, AValueStartingWithAQuoteRebuildsInBraces) {
  const auto pairs = ParseConnectionString("k='''''';j=\"\"\"x\"");
  ASSERT_EQ(pairs.size(), 2u);
  EXPECT_EQ(pairs[0].value, "''");
  EXPECT_EQ(pairs[1].value, "\"x");
  const auto again = ParseConnectionString(BuildOdbcString(pairs));
  ASSERT_EQ(again.size(), 2u);
  EXPECT_EQ(again[0].value, pairs[0].value);
  EXPECT_EQ(again[1].value, pairs[1].value);
}

TEST(ConnectionStrings, MalformedTextRaisesTheInitialisationError) {
  for (const char* bad : {"novalue", "=x", "a='unterminated", "a={open", "a=\"q\"tail"}) {
    try {
      ParseConnectionString(bad);
      FAIL() << bad;
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), ado::DB_E_BADINITSTRING) << bad;
    }
  }
}

TEST(ConnectionStrings, EngineSettingsAreAddedUnlessGiven) {
  const auto pg = ResolveConnectionString("DRIVER={PostgreSQL Unicode};SERVER=h;Fetch=10");
  EXPECT_EQ(pg.engine, Engine::PostgreSQL);
  const auto pairs = ParseConnectionString(pg.odbcString);
  EXPECT_EQ(FindValue(pairs, "Fetch"), "10");
  EXPECT_EQ(FindValue(pairs, "UseDeclareFetch"), "1");
  EXPECT_EQ(FindValue(pairs, "Protocol"), "7.4-2");
  // The statement-level rollback the library relies on replaces any other.
  const auto given = ResolveConnectionString("DRIVER={PostgreSQL Unicode};SERVER=h;Protocol=7.4-0");
  EXPECT_EQ(FindValue(ParseConnectionString(given.odbcString), "Protocol"), "7.4-2");
  EXPECT_EQ(FindValue(pairs, "CommLog"), "0");
  const auto lite = ResolveConnectionString("Provider=MSDASQL;Extended Properties='DRIVER=SQLite3;Database=f'");
  EXPECT_EQ(lite.engine, Engine::SQLite);
  EXPECT_EQ(FindValue(ParseConnectionString(lite.odbcString), "SyncPragma"), "FULL");
  EXPECT_EQ(ResolveConnectionString("DSN=whatever").engine, Engine::Other);
  // A DSN's engine is known once connected: its settings are added then.
  const auto dsn = WithEngineSettings(ResolveConnectionString("DSN=whatever"), Engine::PostgreSQL);
  EXPECT_EQ(dsn.engine, Engine::PostgreSQL);
  EXPECT_EQ(FindValue(ParseConnectionString(dsn.odbcString), "Protocol"), "7.4-2");
  EXPECT_EQ(FindValue(ParseConnectionString(dsn.odbcString), "DSN"), "whatever");
}

}  // namespace
}  // namespace velmora::test
