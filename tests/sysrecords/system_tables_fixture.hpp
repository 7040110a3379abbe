#pragma once
// Tests of the system records run on both engines, each in a database of its
// own with SYS_UNK and SYS_LOCK created: a fresh SQLite file opened through
// the embedded provider, or a fresh schema of the PostgreSQL test server
// (selected through the driver's connect settings, so that child processes
// given the same connection string see the same tables).
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

#include "support_common/test_engine.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/support/default_connection.hpp"
#include "velmora/support/support_object.hpp"
#include "velmora/support/system_services.hpp"
#include "velmora/sysrecords/system_tables.hpp"

namespace velmora::test {

// Acts as `user` until the object goes away.
class ActAs {
 public:
  explicit ActAs(const std::string& user) { setenv(support::kUserOverrideVariable, user.c_str(), 1); }
  ~ActAs() { unsetenv(support::kUserOverrideVariable); }
  ActAs(const ActAs&) = delete;
  ActAs& operator=(const ActAs&) = delete;
};

class SystemTablesTest : public ::testing::TestWithParam<TestEngine> {
 protected:
  void SetUp() override {
    connectionString = MakeDatabase();
    cn = Connect();
    CreateSystemTables(cn);
  }
  void TearDown() override {
    support::DefaultConnection(nullptr);
    unsetenv(support::kUserOverrideVariable);
    if (!schema.empty()) {
      try {
        auto admin = std::make_shared<ado::Connection>();
        admin->Open(ServerOdbc());
        admin->Execute("DROP SCHEMA " + schema + " CASCADE");
      } catch (const com::Error&) {
        // left for the throw-away cluster
      }
    }
  }

  bool IsPg() const { return IsServer(GetParam()); }
  // The server database of this configuration.
  std::string ServerOdbc() const {
    return GetParam() == TestEngine::PostgreSQLLegacyStrings ? PostgresOdbcLegacyStrings() : PostgresOdbc();
  }

  ado::ConnectionPtr Connect() const {
    auto connection = std::make_shared<ado::Connection>();
    connection->Open(connectionString);
    return connection;
  }

  // A read-only forward cursor on `sql`.
  ado::RecordsetPtr Query(const std::string& sql) const {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant(sql), com::Variant(cn), ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
    return rs;
  }
  // The first column of the first row of `sql` (Empty when there is none).
  com::Variant Scalar(const std::string& sql) const {
    auto rs = Query(sql);
    return rs->IsEOF() ? com::Variant() : rs->Fields()->Item(com::Variant(int32_t{0}))->Value();
  }
  int32_t Count(const std::string& sql) const { return com::CLng(Scalar(sql)); }

  std::string connectionString;
  std::string schema;
  ado::ConnectionPtr cn;

 private:
  std::string MakeDatabase() {
    if (!IsPg()) {
      // The embedded provider opens existing files only.
      const std::string file = TempFile(".db").string();
      std::ofstream(file).flush();
      return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + file + JournalModeSetting(GetParam());
    }
    static int counter = 0;
    schema = "sysrec_" + std::to_string(getpid()) + "_" + std::to_string(++counter);
    auto admin = std::make_shared<ado::Connection>();
    admin->Open(ServerOdbc());
    admin->Execute("CREATE SCHEMA " + schema);
    return ServerOdbc() + ";ConnSettings={SET search_path TO " + schema + "}";
  }
};

}  // namespace velmora::test
