#include "support_common/test_env.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <cstdlib>
#include <mutex>
#include <random>
#include <unistd.h>

namespace velmora::test {
namespace {
std::filesystem::path& Root() {
  static std::filesystem::path root;
  return root;
}
void RemoveRoot() {
  std::error_code ec;
  if (!Root().empty()) std::filesystem::remove_all(Root(), ec);
}
std::atomic<int> counter{0};
}  // namespace

std::filesystem::path TempDir() {
  static std::once_flag once;
  std::call_once(once, [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    Root() = pattern;
    std::atexit(RemoveRoot);
  });
  auto dir = Root() / ("t" + std::to_string(counter++));
  std::filesystem::create_directories(dir);
  return dir;
}

std::filesystem::path TempFile(const std::string& extension) {
  return TempDir() / ("file" + extension);
}

std::string PostgresOdbc() {
  const char* conn = std::getenv("VELMORA_PG_ODBC");
  if (!conn || !*conn) {
    ADD_FAILURE() << "VELMORA_PG_ODBC is not set: the PostgreSQL test server was not started "
                     "(run the tests through scripts/test.sh)";
    return {};
  }
  return conn;
}

std::string PostgresOdbcLegacyStrings() {
  std::string conn = PostgresOdbc();
  const std::string database = "DATABASE=velmora_test;";
  const size_t at = conn.find(database);
  if (at == std::string::npos) {
    ADD_FAILURE() << "VELMORA_PG_ODBC names no DATABASE=velmora_test";
    return conn;
  }
  return conn.replace(at, database.size(), "DATABASE=velmora_test_legacy;");
}

std::string FreshSqliteOdbc() {
  return "DRIVER=SQLite3;Database=" + TempFile(".db").string();
}

std::filesystem::path Fixtures() { return VELMORA_FIXTURES_DIR; }

std::filesystem::path TestData() { return VELMORA_TESTDATA_DIR; }

std::string FileContents(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace velmora::test
