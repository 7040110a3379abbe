// The counter and lock members of AdoMacros, the registration of the record
// classes, and the tool's init, unk and lock commands, on both engines.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/velmora.hpp"
#include "velmora/sysrecords/ado_sys_lock.hpp"
#include "velmora/sysrecords/ado_unk.hpp"

namespace velmora::test {
namespace {

class MacrosSystemRecordsTest : public SystemTablesTest {
 protected:
  void TearDown() override {
    Macros().DefaultConnection(nullptr);
    SystemTablesTest::TearDown();
  }
  void PutForeignLock() const {
    cn->Execute("INSERT INTO [SYS_LOCK] ([LK_UNK], [LK_NAME], [LK_LOCKED], [LK_RCDATE], [LK_RCUSER]) "
                "VALUES (900, 'ORDERS', 'S', '2001-02-03 04:05:06', 'carla')");
  }
  int32_t CounterValue(const ado::ConnectionPtr& connection) const {
    auto rs = connection->Execute("SELECT [SU_VALUE] FROM [SYS_UNK] WHERE [SU_TABLE] = 'ORDERS'");
    return rs->IsEOF() ? 0 : com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }

  // Runs the tool with `arguments` (quoted for the shell); returns its exit
  // code and leaves its standard output in `out`.
  int Tool(const std::string& arguments, const std::string& user = "anna") {
    const auto outFile = TempFile(".out");
    const std::string command = "VELMORA_USER='" + user + "' '" + VELMORA_TOOL_PATH + "' " + arguments + " >'" +
                                outFile.string() + "' 2>&1";
    const int status = std::system(command.c_str());
    out = FileContents(outFile);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string Quoted() const { return "'" + connectionString + "'"; }

  std::string out;
};

TEST_P(MacrosSystemRecordsTest, GetUnkWorksOnTheDefaultConnectionWhenOneIsSet) {
  auto b = Connect();
  auto aFile = TempFile(".db").string();
  std::ofstream(aFile).flush();
  auto a = std::make_shared<ado::Connection>();
  a->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + aFile);
  CreateSystemTables(a);
  Macros().DefaultConnection(a);
  EXPECT_EQ(Macros().GetUnk(b, "ORDERS"), 1);
  EXPECT_EQ(Macros().GetUnk(b, "ORDERS"), 2);
  EXPECT_EQ(CounterValue(a), 2);
  EXPECT_EQ(CounterValue(b), 0);
  Macros().DefaultConnection(nullptr);
  EXPECT_EQ(Macros().GetUnk(b, "ORDERS"), 1);
  EXPECT_EQ(CounterValue(b), 1);
  EXPECT_EQ(CounterValue(a), 2);
}

TEST_P(MacrosSystemRecordsTest, TableLocksUseTheDefaultConnectionToo) {
  auto never = std::make_shared<ado::Connection>();
  Macros().DefaultConnection(cn);
  ActAs user("anna");
  EXPECT_EQ(Macros().TableLock(never, "ORDERS", true), TLR_OK);
  EXPECT_EQ(Macros().TableLockEx(never, "ORDERS", true), TLR_LOCKEDBYSAMEUSER);
  EXPECT_EQ(Macros().TableLock(never, "ORDERS", false), TLR_OK);
}

TEST_P(MacrosSystemRecordsTest, TableLockIsTableLockExWithoutForce) {
  ActAs user("anna");
  EXPECT_EQ(Macros().TableLock(cn, "ITEMS", true), Macros().TableLockEx(cn, "OTHER", true, 30, false));
  EXPECT_EQ(Macros().TableLock(cn, "ITEMS", true), TLR_LOCKEDBYSAMEUSER);
  PutForeignLock();
  EXPECT_EQ(Macros().TableLock(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(Macros().TableLockEx(cn, "ORDERS", true, 1), TLR_LOCKEDBYANOTHERUSER);
  EXPECT_EQ(Macros().TableLockEx(cn, "ORDERS", true, 1, true), TLR_FORCED);
}

TEST_P(MacrosSystemRecordsTest, ErrorsReachTheCallerWithTheRoutinesSource) {
  try {
    Macros().GetUnk(cn, "ORDERS", 0);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.GetUnk");
    EXPECT_EQ(e.Description(), "Timeout expired.");
  }
  cn->Execute("DROP TABLE [SYS_LOCK]");
  try {
    Macros().TableLockEx(cn, "ORDERS", true, 5, true);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Source(), "Velmora.modAdoSupport.TableLock");
  }
}

TEST_P(MacrosSystemRecordsTest, ToolDrawsNumbersAndTakesLocksWithDocumentedExitCodes) {
  EXPECT_EQ(Tool("init " + Quoted()), 0) << out;  // again: the tables stay
  EXPECT_EQ(Tool("unk " + Quoted() + " ORDERS 3"), 0) << out;
  EXPECT_EQ(out, "1\n2\n3\n");
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS"), 0) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS"), 4) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS --timeout 1", "bruno"), 3) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS --release --timeout 1", "bruno"), 3) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS --force --timeout 1", "bruno"), 5) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS --release", "bruno"), 0) << out;
  EXPECT_EQ(Tool("lock " + Quoted() + " ORDERS --wait"), 2) << out;
  EXPECT_EQ(Tool("unk " + Quoted() + " ORDERS 0"), 2) << out;
  cn->Execute("DROP TABLE [SYS_UNK]");
  EXPECT_EQ(Tool("unk " + Quoted() + " ORDERS"), 1) << out;
}

TEST(MacrosSystemRecords, ToolInitCreatesANewDatabaseFile) {
  const auto file = TempFile(".db");
  const std::string tool = std::string("'") + VELMORA_TOOL_PATH + "' ";
  EXPECT_EQ(std::system((tool + "init '" + file.string() + "' >/dev/null").c_str()), 0);
  auto cn = std::make_shared<ado::Connection>();
  cn->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file.string());
  EXPECT_TRUE(cn->Execute("SELECT * FROM [SYS_LOCK]")->IsEOF());
  EXPECT_EQ(Macros().GetUnk(cn, "ORDERS"), 1);
}

TEST(MacrosSystemRecords, TheRecordClassesAreRegistered) {
  Macros();
  const auto progIds = RegisteredProgIds();
  EXPECT_NE(std::find(progIds.begin(), progIds.end(), "Velmora.AdoUnk"), progIds.end());
  EXPECT_NE(std::find(progIds.begin(), progIds.end(), "Velmora.AdoSysLock"), progIds.end());
  auto lock = std::make_shared<AdoSysLock>();
  lock->LK_NAME("ORDERS");
  com::PropertyBag bag;
  bag.WriteProperty("Lock", com::Variant(lock));
  com::PropertyBag back;
  back.Contents(bag.Contents());
  auto restored = back.ReadProperty("Lock").ObjectAs<AdoSysLock>();
  ASSERT_TRUE(restored);
  EXPECT_EQ(restored->LK_NAME(), "ORDERS");
  EXPECT_EQ(restored->Header()->Prefix(), "LK");
}

INSTANTIATE_TEST_SUITE_P(Engines, MacrosSystemRecordsTest,
                         ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL), EngineName);

}  // namespace
}  // namespace velmora::test
