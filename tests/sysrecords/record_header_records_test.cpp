// AdoRecordHeader loading from and saving into records, on both engines.
#include <gtest/gtest.h>

#include "sysrecords/attempts.hpp"
#include "sysrecords/system_tables_fixture.hpp"
#include "velmora/com/error.hpp"
#include "velmora/sysrecords/record_header.hpp"
#include "velmora/sysrecords/system_records.hpp"

namespace velmora::test {
namespace {

class HeaderRecordTest : public SystemTablesTest {
 protected:
  void SetUp() override {
    SystemTablesTest::SetUp();
    cn->Execute(IsPg() ? R"(CREATE TABLE "DOCS" ("DC_UNK" INTEGER, "DC_RCDATE" TIMESTAMP, "DC_RCUSER" VARCHAR(40), )"
                         R"("DC_RMDATE" TIMESTAMP, "DC_RMUSER" VARCHAR(40), "TITLE" VARCHAR(40)))"
                       : "CREATE TABLE DOCS (DC_UNK INTEGER, DC_RCDATE TIMESTAMP, DC_RCUSER VARCHAR(40), "
                         "DC_RMDATE TIMESTAMP, DC_RMUSER VARCHAR(40), TITLE VARCHAR(40))");
  }
  AdoRecordHeaderPtr DocsHeader() const {
    auto h = std::make_shared<AdoRecordHeader>();
    h->Prefix("DC");
    h->TableName("DOCS");
    return h;
  }
  // Adds a row to `table` with the header saved into it.
  void Insert(const std::string& table, const AdoRecordHeaderPtr& h) const {
    auto rs = sysrecords::OpenForUpdate(cn, "SELECT * FROM [" + table + "]");
    rs->AddNew();
    h->RecordSave(rs);
    rs->Update();
    rs->Close();
  }
  // The first row of `table` loaded into `h`.
  void Load(const std::string& table, const AdoRecordHeaderPtr& h) const {
    auto rs = sysrecords::OpenForUpdate(cn, "SELECT * FROM [" + table + "]");
    h->RecordLoad(rs);
    rs->Close();
  }
  bool CounterExists(const std::string& table) const {
    return Count("SELECT COUNT(*) FROM [SYS_UNK] WHERE [SU_TABLE] = '" + table + "'") > 0;
  }
};

TEST_P(HeaderRecordTest, SaveFillsEverythingMissingAndLoadReadsItBack) {
  ActAs user("anna");
  auto h = DocsHeader();
  Insert("DOCS", h);
  EXPECT_EQ(h->Unk(), 1);
  EXPECT_GT(h->RcDate().value, 0);
  EXPECT_EQ(h->RcUser(), "anna");
  EXPECT_EQ(h->RmDate(), h->RcDate());
  EXPECT_EQ(h->RmUser(), "anna");
  auto back = DocsHeader();
  Load("DOCS", back);
  EXPECT_EQ(back->Unk(), 1);
  EXPECT_EQ(back->RcDate(), h->RcDate());
  EXPECT_EQ(back->RcUser(), "anna");
  EXPECT_EQ(back->RmDate(), h->RmDate());
  EXPECT_EQ(back->RmUser(), "anna");
  auto second = DocsHeader();
  Insert("DOCS", second);
  EXPECT_EQ(second->Unk(), 2);
}

TEST_P(HeaderRecordTest, ANumberedHeaderNeverAsksForANumber) {
  auto h = DocsHeader();
  h->Unk(42);
  Insert("DOCS", h);
  EXPECT_EQ(h->Unk(), 42);
  EXPECT_FALSE(CounterExists("DOCS"));
  EXPECT_EQ(com::CLng(Scalar("SELECT [DC_UNK] FROM [DOCS]")), 42);
}

TEST_P(HeaderRecordTest, ASmallHeaderNeverAsksForANumber) {
  cn->Execute("CREATE TABLE SMALLDOCS (SD_RMDATE TIMESTAMP, SD_RMUSER VARCHAR(40))");
  auto h = std::make_shared<AdoRecordHeader>();
  h->Prefix("SD");  // field names match without regard to case
  h->TableName("SMALLDOCS");
  h->Small(true);
  Insert(IsPg() ? "smalldocs" : "SMALLDOCS", h);
  EXPECT_EQ(h->Unk(), 0);
  EXPECT_EQ(h->RcUser(), "");
  EXPECT_FALSE(CounterExists("SMALLDOCS"));
  EXPECT_GT(h->RmDate().value, 0);
}

TEST_P(HeaderRecordTest, TheModificationStampIsKeptUntilCleared) {
  auto h = DocsHeader();
  {
    ActAs user("anna");
    Insert("DOCS", h);
  }
  ActAs other("bruno");
  const com::Date first = h->RmDate();
  Insert("DOCS", h);
  EXPECT_EQ(h->RmUser(), "anna");
  EXPECT_EQ(h->RmDate(), first);
  h->RmDate(com::Date());
  h->RmUser("");
  Insert("DOCS", h);
  EXPECT_EQ(h->RmUser(), "bruno");
  EXPECT_EQ(h->RcUser(), "anna");
}

TEST_P(HeaderRecordTest, SmallAndSimpleMoveNoColumnButStillStampInMemory) {
  cn->Execute("CREATE TABLE BARE (TITLE VARCHAR(10))");
  cn->Execute("INSERT INTO BARE (TITLE) VALUES ('x')");
  auto h = std::make_shared<AdoRecordHeader>();
  h->Prefix("NONE");
  h->Small(true);
  h->Simple(true);
  h->Unk(7);
  Load(IsPg() ? "bare" : "BARE", h);  // no column is read, so none is missing
  EXPECT_EQ(h->Unk(), 7);
  ActAs user("anna");
  Insert(IsPg() ? "bare" : "BARE", h);
  EXPECT_EQ(h->RmUser(), "anna");
  EXPECT_GT(h->RmDate().value, 0);
  EXPECT_EQ(h->RcUser(), "");
}

TEST_P(HeaderRecordTest, AnEmptyPrefixUsesColumnsStartingWithAnUnderscore) {
  cn->Execute(IsPg() ? R"(CREATE TABLE "PLAIN" ("_UNK" INTEGER, "_RCDATE" TIMESTAMP, "_RCUSER" VARCHAR(40), )"
                       R"("_RMDATE" TIMESTAMP, "_RMUSER" VARCHAR(40)))"
                     : "CREATE TABLE PLAIN (_UNK INTEGER, _RCDATE TIMESTAMP, _RCUSER VARCHAR(40), "
                       "_RMDATE TIMESTAMP, _RMUSER VARCHAR(40))");
  auto h = std::make_shared<AdoRecordHeader>();
  h->TableName("PLAIN");
  Insert("PLAIN", h);
  auto back = std::make_shared<AdoRecordHeader>();
  Load("PLAIN", back);
  EXPECT_EQ(back->Unk(), 1);
  EXPECT_EQ(back->RcUser(), h->RcUser());
}

TEST_P(HeaderRecordTest, NullsLoadAsZeroAndEmpty) {
  cn->Execute("INSERT INTO [DOCS] ([TITLE]) VALUES ('x')");
  auto h = DocsHeader();
  h->Unk(5);
  h->RcUser("old");
  Load("DOCS", h);
  EXPECT_EQ(h->Unk(), 0);
  EXPECT_EQ(h->RcDate().value, 0);
  EXPECT_EQ(h->RcUser(), "");
  EXPECT_EQ(h->RmUser(), "");
}

TEST_P(HeaderRecordTest, AMissingColumnPassesTheDataAccessErrorUnchanged) {
  auto h = DocsHeader();
  h->Prefix("XX");
  cn->Execute("INSERT INTO [DOCS] ([TITLE]) VALUES ('x')");
  try {
    Load("DOCS", h);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::adErrItemNotFound);
  }
}

// A header column of an application table that holds no number: the
// conversion's error keeps its number and names the field.
TEST_P(HeaderRecordTest, AValueThatIsNoNumberIsATypeMismatchNamingTheField) {
  cn->Execute("CREATE TABLE [NOTES] ([NT_UNK] VARCHAR(10), [NT_RCDATE] TIMESTAMP, [NT_RCUSER] VARCHAR(40), "
              "[NT_RMDATE] TIMESTAMP, [NT_RMUSER] VARCHAR(40))");
  cn->Execute("INSERT INTO [NOTES] ([NT_UNK]) VALUES ('abc')");
  auto h = std::make_shared<AdoRecordHeader>();
  h->Prefix("NT");
  try {
    Load("NOTES", h);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 13);
    EXPECT_NE(e.Description().find("field 'NT_UNK'"), std::string::npos) << e.Description();
  }
}

TEST_P(HeaderRecordTest, ACounterThatGivesNoNumberRaisesTheFailureSignal) {
  GetUnk(cn, "DOCS");
  cn->Execute("UPDATE [SYS_UNK] SET [SU_VALUE] = -1");  // the next number is 0
  auto h = DocsHeader();
  auto rs = sysrecords::OpenForUpdate(cn, "SELECT * FROM [DOCS]");
  rs->AddNew();
  try {
    h->RecordSave(rs);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_EQ(e.Description(), "No unique number was obtained.");
    EXPECT_EQ(e.Source(), "Velmora.AdoRecordHeader.RecordSave");
  }
  rs->CancelUpdate();
  rs->Close();
}

INSTANTIATE_TEST_SUITE_P(Engines, HeaderRecordTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
