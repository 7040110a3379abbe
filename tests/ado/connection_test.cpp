#include <gtest/gtest.h>

#include <filesystem>

#include "ado/engine_fixture.hpp"
#include "velmora/com/conversions.hpp"
#include "support_common/raised_error.hpp"

namespace velmora::test {
namespace {

class ConnectionTest : public EngineTest {};

TEST_P(ConnectionTest, OpenCloseStateAndEngine) {
  EXPECT_EQ(cn->State(), ado::adStateOpen);
  EXPECT_EQ(cn->DbmsName(), IsPg() ? "PostgreSQL" : "SQLite");
  EXPECT_EQ(cn->ConnectionString().Get<std::string>(), ConnectionString());
  EXPECT_EQ(cn->Version(), "2.7");
  EXPECT_EQ(ErrorNumber([&] { cn->Open(ConnectionString()); }), ado::adErrObjectOpen);
  cn->Close();
  EXPECT_EQ(cn->State(), ado::adStateClosed);
  EXPECT_EQ(ErrorNumber([&] { cn->Close(); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { cn->Execute("SELECT 1"); }), ado::adErrObjectClosed);
  EXPECT_EQ(ErrorNumber([&] { cn->BeginTrans(); }), ado::adErrObjectClosed);
  cn->Open();  // reopens with the stored string
  EXPECT_EQ(cn->State(), ado::adStateOpen);
}

TEST_P(ConnectionTest, ExecuteReportsRecordsAffectedAndReturnsRows) {
  const std::string t = Table("ex", "id INTEGER, name VARCHAR(10)");
  com::Variant affected;
  auto none = cn->Execute("INSERT INTO " + t + " VALUES (1, 'a')", affected);
  EXPECT_EQ(none->State(), ado::adStateClosed);
  EXPECT_EQ(affected.Get<int32_t>(), 1);
  cn->Execute("INSERT INTO " + t + " VALUES (2, 'b')");
  cn->Execute("UPDATE " + t + " SET name = 'z'", affected);
  EXPECT_EQ(affected.Get<int32_t>(), 2);
  cn->Execute("DELETE FROM " + t + " WHERE id = 99", affected);
  EXPECT_EQ(affected.Get<int32_t>(), 0);
  auto rs = cn->Execute("SELECT COUNT(*) AS n FROM " + t);
  EXPECT_EQ(rs->State(), ado::adStateOpen);
  EXPECT_EQ(rs->CursorType(), ado::adOpenForwardOnly);
  EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant("N"))->Value()), 2);
}

TEST_P(ConnectionTest, TransactionsCommitAndRollBack) {
  const std::string t = Table("tx", "id INTEGER");
  EXPECT_EQ(cn->BeginTrans(), 1);
  EXPECT_EQ(ErrorNumber([&] { cn->BeginTrans(); }), ado::adErrFeatureNotAvailable);
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  cn->RollbackTrans();
  cn->BeginTrans();
  cn->Execute("INSERT INTO " + t + " VALUES (2)");
  cn->CommitTrans();
  EXPECT_EQ(ErrorNumber([&] { cn->CommitTrans(); }), ado::adErrIllegalOperation);
  auto other = std::make_shared<ado::Connection>();
  other->Open(ConnectionString());
  auto rs = other->Execute("SELECT id FROM " + t);
  EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), 2);
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
}

TEST_P(ConnectionTest, SqlErrorsRaiseAndFillErrors) {
  try {
    cn->Execute("SELECT * FROM no_such_table" + suffix);
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_NE(e.Description().find("Connection.Execute failed"), std::string::npos) << e.Description();
    ASSERT_GE(cn->Errors()->Count(), 1);
    auto first = cn->Errors()->Item(com::Variant(int32_t{0}));
    EXPECT_EQ(first->Number(), e.Number());
    EXPECT_FALSE(first->SQLState().empty());
    EXPECT_FALSE(first->Description().empty());
    EXPECT_EQ(first->Source(), "Velmora.ado.odbc");
    EXPECT_EQ(first->HelpContext(), 0);
    EXPECT_TRUE(first->HelpFile().empty());
    if (IsPg()) {
      EXPECT_EQ(first->SQLState(), "42P01");
      EXPECT_EQ(e.Number(), ado::DB_E_NOTABLE);
    } else {
      EXPECT_EQ(e.Number(), ado::E_FAIL_);  // the SQLite driver reports HY000
    }
  }
  EXPECT_EQ(ErrorNumber([&] { cn->Errors()->Item(com::Variant(int32_t{99})); }), ado::adErrItemNotFound);
  cn->Errors()->Clear();
  EXPECT_EQ(cn->Errors()->Count(), 0);
  EXPECT_NE(ErrorNumber([&] { cn->Execute("SELEC nothing"); }), 0);
  EXPECT_GE(cn->Errors()->Count(), 1);
}

// A recordset's failing write reports through its connection as a
// statement does: the driver's records fill the connection's Errors.
TEST_P(ConnectionTest, ARecordsetsProviderErrorFillsItsConnectionsErrors) {
  const std::string t = Table("dup", "id INTEGER PRIMARY KEY, v INTEGER");
  cn->Execute("INSERT INTO " + t + " VALUES (1, 1)");
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant("SELECT id, v FROM " + t), com::Variant(cn), ado::adOpenKeyset, ado::adLockOptimistic,
           ado::adCmdText);
  cn->Errors()->Clear();
  rs->AddNew();
  rs->Fields()->Item(com::Variant("id"))->Value(com::Variant(int32_t{1}));
  const int32_t number = ErrorNumber([&] { rs->Update(); });
  EXPECT_NE(number, 0);
  if (IsPg()) {
    EXPECT_EQ(number, ado::DB_E_INTEGRITYVIOLATION);
  }
  ASSERT_GE(cn->Errors()->Count(), 1);
  const auto first = cn->Errors()->Item(com::Variant(int32_t{0}));
  EXPECT_EQ(first->Number(), number);
  EXPECT_EQ(first->Source(), "Velmora.ado.odbc");
  // The SQLite driver reports a general SQLSTATE with the engine's
  // constraint result code (19).
  if (IsPg()) {
    EXPECT_EQ(first->SQLState().substr(0, 2), "23");
  } else {
    EXPECT_EQ(first->NativeError() & 0xff, 19);
  }
}

TEST_P(ConnectionTest, ErrorsDescribeTheLastFailureOnly) {
  EXPECT_NE(ErrorNumber([&] { cn->Execute("SELECT * FROM no_such_table" + suffix); }), 0);
  ASSERT_GE(cn->Errors()->Count(), 1);
  EXPECT_EQ(ErrorNumber([&] { cn->CommitTrans(); }), ado::adErrIllegalOperation);
  ASSERT_EQ(cn->Errors()->Count(), 1);
  EXPECT_EQ(cn->Errors()->Item(com::Variant(int32_t{0}))->Number(), ado::adErrIllegalOperation);
  EXPECT_EQ(cn->Errors()->Item(com::Variant(int32_t{0}))->Source(), "Velmora.ado.Connection");
  cn->Execute("SELECT 1");
  EXPECT_EQ(cn->Errors()->Count(), 0);
}

TEST_P(ConnectionTest, APasswordArgumentMayHoldSeparatorsAndBraces) {
  // Unquoted, the password would end early and name another user.
  std::string withoutUser = ConnectionString();
  if (IsPg()) withoutUser.erase(withoutUser.find("UID=velmora;"), std::string("UID=velmora;").size());
  auto other = std::make_shared<ado::Connection>();
  other->Open(withoutUser, IsPg() ? "velmora" : "", "p}w;UID=nobody");
  EXPECT_EQ(other->State(), ado::adStateOpen);
  if (IsPg()) {
    auto rs = other->Execute("SELECT current_user");
    EXPECT_EQ(com::CStr(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), "velmora");
  }
}

TEST_P(ConnectionTest, IntegrityViolationHasItsNumber) {
  const std::string t = Table("uq", "id INTEGER PRIMARY KEY");
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  const int32_t n = ErrorNumber([&] { cn->Execute("INSERT INTO " + t + " VALUES (1)"); });
  if (IsPg()) {
    EXPECT_EQ(n, ado::DB_E_INTEGRITYVIOLATION);
  } else {
    EXPECT_NE(n, 0);
  }
}

TEST_P(ConnectionTest, CommandTimeoutAndDialectProperties) {
  EXPECT_EQ(cn->CommandTimeout(), 30);
  cn->CommandTimeout(300);
  EXPECT_EQ(cn->CommandTimeout(), 300);
  EXPECT_EQ(ErrorNumber([&] { cn->CommandTimeout(-1); }), ado::adErrInvalidArgument);
  const std::string t = Table("dl", "id INTEGER, stamp TIMESTAMP");
  cn->Execute("INSERT INTO [" + t + "] ([id], [stamp]) VALUES (1, CONVERT(DATETIME, '2009-12-31 23:05:09', 102))");
  auto rs = cn->Execute("SELECT TOP 1 [stamp] FROM [" + t + "] WHERE [stamp] = CONVERT(DATETIME, '2009-12-31 23:05:09', 102)");
  ASSERT_FALSE(rs->IsEOF());
  const com::Date d = rs->Fields()->Item(com::Variant("stamp"))->Value().Get<com::Date>();
  EXPECT_EQ(com::Year(d), 2009);
  EXPECT_EQ(com::Second(d), 9);
  EXPECT_TRUE(cn->DialectRewriting());
  cn->DialectRewriting(false);
  EXPECT_EQ(cn->TranslateSql("SELECT TOP 1 [a] FROM [b]"), "SELECT TOP 1 [a] FROM [b]");
  if (IsPg()) {
    EXPECT_THROW(cn->Execute("SELECT TOP 1 [id] FROM [" + t + "]"), com::Error);
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, ConnectionTest, ::testing::Values(TestEngine::SQLite, TestEngine::PostgreSQL),
                         EngineName);

TEST(ConnectionFailures, UnknownProviderRaisesAndFillsErrors) {
  auto cn = std::make_shared<ado::Connection>();
  EXPECT_EQ(ErrorNumber([&] { cn->Open("Provider=NoSuch.Provider.1;Data Source=x"); }), ado::adErrProviderNotFound);
  EXPECT_EQ(cn->Errors()->Count(), 1);
  EXPECT_EQ(cn->State(), ado::adStateClosed);
}

TEST(ConnectionFailures, MalformedStringRaises) {
  auto cn = std::make_shared<ado::Connection>();
  EXPECT_EQ(ErrorNumber([&] { cn->Open("DRIVER={SQLite3;Database=x"); }), ado::DB_E_BADINITSTRING);
  EXPECT_EQ(ErrorNumber([&] { cn->Open("Provider='MSDASQL.1;x=y"); }), ado::DB_E_BADINITSTRING);
}

TEST(ConnectionFailures, UnknownDriverGivesTheDriverManagerDiagnostic) {
  auto cn = std::make_shared<ado::Connection>();
  try {
    cn->Open("DRIVER={No Such Driver};Database=x");
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::E_FAIL_);
    EXPECT_NE(e.Description().find("Connection.Open failed"), std::string::npos);
  }
  ASSERT_GE(cn->Errors()->Count(), 1);
  EXPECT_EQ(cn->Errors()->Item(com::Variant(int32_t{0}))->SQLState(), "01000");
}

TEST(ConnectionFailures, UnreachableServerFailsWithEveryRecord) {
  auto cn = std::make_shared<ado::Connection>();
  cn->ConnectionTimeout(5);
  // Port 1 on loopback: nothing listens there.
  EXPECT_EQ(ErrorNumber([&] {
              cn->Open("Provider=MSDASQL.1;Extended Properties=\"DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;"
                       "PORT=1;DATABASE=x;UID=x\"");
            }),
            ado::E_FAIL_);
  ASSERT_GE(cn->Errors()->Count(), 1);
  EXPECT_EQ(cn->Errors()->Item(com::Variant(int32_t{0}))->SQLState().substr(0, 2), "08");
}

TEST(ConnectionFailures, FileProviderNeedsAnExistingFile) {
  auto cn = std::make_shared<ado::Connection>();
  const auto path = TempDir() / "missing.db";
  try {
    cn->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path.string());
    FAIL();
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), ado::E_FAIL_);
    EXPECT_NE(e.Description().find("Could not find file"), std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(path));  // never created behind the caller's back
}

TEST(ConnectionFailures, FileProviderNamesWhyAFileCannotBeOpened) {
  auto describe = [](const std::filesystem::path& path) {
    auto cn = std::make_shared<ado::Connection>();
    try {
      cn->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path.string());
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), ado::E_FAIL_);
      return e.Description();
    }
    ADD_FAILURE() << path << " opened";
    return std::string();
  };
  const auto folder = TempDir();
  EXPECT_NE(describe(folder).find("is a folder"), std::string::npos) << describe(folder);
  const auto nowhere = folder / "no" / "such" / "folder" / "x.db";
  EXPECT_NE(describe(nowhere).find("folder of"), std::string::npos) << describe(nowhere);
  EXPECT_FALSE(std::filesystem::exists(folder / "no"));
}

TEST(ConnectionFailures, DefaultsBeforeOpen) {
  auto cn = std::make_shared<ado::Connection>();
  EXPECT_EQ(cn->State(), ado::adStateClosed);
  EXPECT_TRUE(cn->ConnectionString().IsNull());
  EXPECT_EQ(cn->CommandTimeout(), 30);
  EXPECT_EQ(cn->Provider(), "MSDASQL");
  cn->ConnectionString("Provider=MSDASQL.1;Extended Properties=\"DSN=x\"");
  EXPECT_EQ(cn->Provider(), "MSDASQL.1");
  EXPECT_THROW(cn->DbmsName(), com::Error);
}

TEST(ConnectionForms, OdbcProviderAndPlainStringsReachTheSameEngine) {
  const std::string file = (TempDir() / "forms.db").string();
  auto plain = std::make_shared<ado::Connection>();
  plain->Open("DRIVER=SQLite3;Database=" + file);
  plain->Execute("CREATE TABLE t (id INTEGER)");
  plain->Execute("INSERT INTO t VALUES (7)");
  auto wrapped = std::make_shared<ado::Connection>();
  wrapped->Open("Provider=MSDASQL.1;Persist Security Info=False;Extended Properties=\"DRIVER=SQLite3;Database=" +
                file + "\"");
  EXPECT_EQ(wrapped->DbmsName(), "SQLite");
  auto rs = wrapped->Execute("SELECT id FROM t");
  EXPECT_EQ(rs->Fields()->Item(com::Variant("id"))->Value().Get<int32_t>(), 7);
  auto pg = std::make_shared<ado::Connection>();
  pg->Open("Provider=MSDASQL.1;Extended Properties=\"" + PostgresOdbc() + "\"");
  EXPECT_EQ(pg->DbmsName(), "PostgreSQL");
}

}  // namespace
}  // namespace velmora::test
