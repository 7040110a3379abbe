// What the quoting routines' text does on each engine: their rules stay (a
// `]` is not doubled, a number-typed argument is its text), and the layer
// below keeps such text from appending a statement or ending a literal at a
// backslash.
#include <gtest/gtest.h>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/sql_text.hpp"

namespace velmora::test {
namespace {

class SqlTextOnEngines : public EngineTest {
 protected:
  int32_t Count(const std::string& table) {
    auto rs = cn->Execute("SELECT COUNT(*) FROM " + table);
    return com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
};

TEST_P(SqlTextOnEngines, ANameThatEndsItsBracketsCannotAppendAStatement) {
  const std::string canary = Table("canary", "id INTEGER");
  cn->Execute("INSERT INTO " + canary + " VALUES (1)");
  const std::string hostile = canary + "]; DROP TABLE " + canary + "; --";
  EXPECT_EQ(SQLName(hostile), "[" + hostile + "]");  // the routine's rule: nothing escaped
  EXPECT_EQ(ErrorNumber([&] { cn->Execute("SELECT * FROM " + SQLName(hostile)); }),
            ado::adErrInvalidArgument);
  EXPECT_EQ(Count(canary), 1);
}

TEST_P(SqlTextOnEngines, AQuotedArgumentStaysOneLiteralWhateverItsBackslashes) {
  const std::string t = Table("quoted", "name VARCHAR(100)");
  for (const std::string& value :
       {"a\\'; DROP TABLE " + t + "; --", std::string("\\"), std::string("x\\\\'y")}) {
    cn->Execute("INSERT INTO " + t + " VALUES (" + QueryArgument(com::Variant(value)) + ")");
    auto rs =
        cn->Execute("SELECT COUNT(*) FROM " + t + " WHERE name = " + QueryArgument(com::Variant(value)));
    EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), 1) << value;
  }
  EXPECT_EQ(Count(t), 3);
}

TEST_P(SqlTextOnEngines, ANumberTypedArgumentIsItsTextAndStillOneStatement) {
  const std::string t = Table("numbers", "id INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  const std::string hostile = "1; DROP TABLE " + t;
  EXPECT_EQ(QueryArgument(com::Variant(hostile), com::vbLong), hostile);  // the routine's rule
  EXPECT_EQ(
      ErrorNumber([&] {
        cn->Execute("DELETE FROM " + t + " WHERE id = " + QueryArgument(com::Variant(hostile), com::vbLong));
      }),
      ado::adErrInvalidArgument);
  EXPECT_EQ(Count(t), 1);
}

INSTANTIATE_TEST_SUITE_P(Engines, SqlTextOnEngines, EnginesAndLegacyStrings(), EngineName);

}  // namespace
}  // namespace velmora::test
