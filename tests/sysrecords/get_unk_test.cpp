// The unique-key counters on both engines.
#include <gtest/gtest.h>

#include "support_common/raised_error.hpp"
#include "sysrecords/attempts.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/com/error.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

class GetUnkTest : public SystemTablesTest {
 protected:
  com::Variant CounterColumn(const std::string& table, const std::string& column) const {
    return Scalar("SELECT [" + column + "] FROM [SYS_UNK] WHERE [SU_TABLE] = '" + table + "'");
  }
  void SetCounter(const std::string& table, const std::string& value) const {
    cn->Execute("UPDATE [SYS_UNK] SET [SU_VALUE] = " + value + " WHERE [SU_TABLE] = '" + table + "'");
  }
};

TEST(CounterStatements, AreTheDocumentedTexts) {
  EXPECT_EQ(sysrecords::CounterQuery("ORDERS"), "SELECT * FROM [SYS_UNK] WHERE [SU_TABLE]='ORDERS'");
  EXPECT_EQ(sysrecords::CounterQuery("O'Brien"), "SELECT * FROM [SYS_UNK] WHERE [SU_TABLE]='O''Brien'");
}

TEST_P(GetUnkTest, FirstCallInsertsTheRowWithOne) {
  ActAs user("anna");
  const double before = com::Now().value;
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 1);
  EXPECT_EQ(Count("SELECT COUNT(*) FROM [SYS_UNK]"), 1);
  EXPECT_EQ(com::CLng(CounterColumn("ORDERS", "SU_VALUE")), 1);
  EXPECT_EQ(com::CStr(CounterColumn("ORDERS", "SU_RMUSER")), "anna");
  const double stamped = com::CDate(CounterColumn("ORDERS", "SU_RMDATE")).value;
  EXPECT_GE(stamped, before);
  EXPECT_LE(stamped, com::Now().value);
}

TEST_P(GetUnkTest, SuccessiveCallsCountUpAndTablesCountApart) {
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 1);
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 2);
  EXPECT_EQ(GetUnk(cn, "ITEMS"), 1);
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 3);
  EXPECT_EQ(GetUnk(cn, "ITEMS"), 2);
  EXPECT_EQ(com::CLng(CounterColumn("ORDERS", "SU_VALUE")), 3);
}

TEST_P(GetUnkTest, TheNameIsStoredAsPassedAndCaseMakesAnotherCounter) {
  // Both engines compare the tables' text columns byte-wise.
  EXPECT_EQ(GetUnk(cn, "Orders"), 1);
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 1);
  EXPECT_EQ(GetUnk(cn, "Orders"), 2);
  EXPECT_EQ(com::CLng(CounterColumn("Orders", "SU_VALUE")), 2);
}

TEST_P(GetUnkTest, AnExistingRowKeepsTheStampOfItsCreation) {
  {
    ActAs creator("anna");
    GetUnk(cn, "ORDERS");
  }
  cn->Execute("UPDATE [SYS_UNK] SET [SU_RMDATE] = '2001-02-03 04:05:06'");
  ActAs other("bruno");
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 2);
  EXPECT_EQ(com::CStr(CounterColumn("ORDERS", "SU_RMUSER")), "anna");
  EXPECT_EQ(com::DateToString(com::CDate(CounterColumn("ORDERS", "SU_RMDATE"))), "2001-02-03 04:05:06");
}

TEST_P(GetUnkTest, AnEmptyStampIsFilledAtTheNextDraw) {
  GetUnk(cn, "ORDERS");
  cn->Execute("UPDATE [SYS_UNK] SET [SU_RMUSER] = NULL, [SU_RMDATE] = NULL");
  ActAs other("bruno");
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 2);
  EXPECT_EQ(com::CStr(CounterColumn("ORDERS", "SU_RMUSER")), "bruno");
  EXPECT_GT(com::CDate(CounterColumn("ORDERS", "SU_RMDATE")).value, 0);
}

TEST_P(GetUnkTest, ZeroTimeOutFailsWithoutQuerying) {
  cn->Execute("DROP TABLE [SYS_UNK]");  // a query would fail differently
  const com::Error e = RaisedError([&] { GetUnk(cn, "ORDERS", 0); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Timeout expired.");
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.GetUnk");
  const com::Error negative = RaisedError([&] { GetUnk(nullptr, "ORDERS", -5); });
  EXPECT_EQ(negative.Description(), "Timeout expired.");
}

TEST_P(GetUnkTest, AnOpenFailureEndsTheCallAtOnce) {
  cn->Execute("DROP TABLE [SYS_UNK]");
  const int32_t started = Support().TickCount();
  const com::Error e = RaisedError([&] { GetUnk(cn, "ORDERS", 600); });
  EXPECT_NE(e.Number(), 20000);
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.GetUnk");
  EXPECT_LT(Support().TickCount() - started, 10000);
}

// A name that is not valid UTF-8 (or holds a NUL) would be altered by the
// engine and share a counter with another name: it is refused, nothing drawn.
TEST_P(GetUnkTest, ANameThatIsNotValidTextRaisesAndDrawsNothing) {
  for (const std::string& name : {std::string("bad\xFF"), std::string("bad\xFE"), std::string("a\0b", 3)}) {
    const com::Error e = RaisedError([&] { GetUnk(cn, name, 5); });
    EXPECT_EQ(e.Number(), com::errInvalidProcedureCall) << e.Description();
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.GetUnk");
  }
  EXPECT_EQ(Count("SELECT COUNT(*) FROM [SYS_UNK]"), 0);
}

TEST_P(GetUnkTest, ADeadlineBeyondThirtyTwoBitsIsAnOverflow) {
  const com::Error e = RaisedError([&] { GetUnk(cn, "ORDERS", INT32_MAX); });
  EXPECT_EQ(e.Number(), 6);
  EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.GetUnk");
}

TEST_P(GetUnkTest, ACounterAtItsMaximumIsRetriedUntilTheTimeOut) {
  GetUnk(cn, "ORDERS");
  SetCounter("ORDERS", "2147483647");
  const com::Error e = RaisedError([&] { GetUnk(cn, "ORDERS", 1); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Timeout expired.");
  EXPECT_EQ(com::CLng(CounterColumn("ORDERS", "SU_VALUE")), 2147483647);
}

TEST_P(GetUnkTest, ARowLockedByAnotherSessionTimesOut) {
  GetUnk(cn, "ORDERS");
  auto other = Connect();
  auto holder = sysrecords::OpenForUpdate(other, sysrecords::CounterQuery("ORDERS"));
  holder->Fields()->Item(com::Variant("SU_VALUE"))->Value(com::Variant(int32_t{50}));  // the edit locks the row
  const int32_t started = Support().TickCount();
  const com::Error e = RaisedError([&] { GetUnk(cn, "ORDERS", 1); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Timeout expired.");
  EXPECT_GE(Support().TickCount() - started, 1000);
  holder->CancelUpdate();
  holder->Close();
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 2);
}

TEST_P(GetUnkTest, TheDefaultConnectionTakesPrecedence) {
  auto b = std::make_shared<ado::Connection>();  // never opened: using it would fail
  support::DefaultConnection(cn);
  EXPECT_EQ(GetUnk(b, "ORDERS"), 1);
  support::DefaultConnection(nullptr);
  EXPECT_THROW(GetUnk(b, "ORDERS"), com::Error);
  EXPECT_EQ(GetUnk(cn, "ORDERS"), 2);
}

INSTANTIATE_TEST_SUITE_P(Engines, GetUnkTest, EnginesAndLegacyStrings(),
                         EngineName);

}  // namespace
}  // namespace velmora::test
