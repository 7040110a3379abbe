#pragma once
// Tests run on both engines: an SQLite file opened through the embedded
// provider, and the PostgreSQL test server. Each test works in tables of its
// own, dropped at the end.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <unistd.h>

#include "ado/cursor.hpp"
#include "support_common/test_engine.hpp"
#include "support_common/test_env.hpp"
#include "velmora/ado.hpp"

namespace velmora::test {

// OpenSchema restrictions by position (an Empty item restricts nothing).
inline com::Variant Criteria(std::vector<com::Variant> items) {
  com::VariantArray a;
  a.items = std::move(items);
  return com::Variant(std::move(a));
}

class EngineTest : public ::testing::TestWithParam<TestEngine> {
 protected:
  void SetUp() override {
    cn = std::make_shared<ado::Connection>();
    cn->Open(ConnectionString());
    static int counter = 0;
    suffix = "_" + std::to_string(getpid()) + "_" + std::to_string(++counter);
  }
  void TearDown() override {
    if (cn->State() != ado::adStateOpen) return;
    for (const auto& t : created) {
      try {
        cn->Execute("DROP TABLE " + t);
      } catch (const com::Error&) {
        // already gone
      }
    }
  }

  std::string ConnectionString() {
    if (GetParam() == TestEngine::PostgreSQL) return PostgresOdbc();
    if (GetParam() == TestEngine::PostgreSQLLegacyStrings) return PostgresOdbcLegacyStrings();
    if (sqliteFile.empty()) {
      sqliteFile = TempFile(".db").string();
      std::ofstream(sqliteFile).flush();
    }
    return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + sqliteFile + JournalModeSetting(GetParam());
  }
  bool IsPg() const { return IsServer(GetParam()); }

  // Creates table `base` + a unique suffix with the given column list; returns its name.
  std::string Table(const std::string& base, const std::string& columns) {
    std::string name = base + suffix;
    cn->Execute("CREATE TABLE " + name + " (" + columns + ")");
    created.push_back(name);
    return name;
  }

  ado::RecordsetPtr Open(const std::string& sql, int32_t cursor = ado::adOpenForwardOnly) {
    auto rs = std::make_shared<ado::Recordset>();
    rs->Open(com::Variant(sql), com::Variant(cn), cursor, ado::adLockReadOnly, ado::adCmdText);
    return rs;
  }

  ado::ConnectionPtr cn;
  std::string suffix;
  std::string sqliteFile;
  std::vector<std::string> created;
};

}  // namespace velmora::test
