#pragma once
// Where tests find their engines and scratch space.
//
// PostgreSQL: the test script (scripts/test.sh) starts a throw-away server and
// exports VELMORA_PG_ODBC, a plain ODBC connection string for it. A test that
// needs the server calls PostgresOdbc(), which fails the test (never skips)
// when the variable is missing.
#include <filesystem>
#include <string>

namespace velmora::test {

// A fresh, empty folder for one test; removed when the process ends.
std::filesystem::path TempDir();
// A fresh file path inside TempDir() with the given extension (".db").
std::filesystem::path TempFile(const std::string& extension);
// The ODBC connection string of the test PostgreSQL server; fails the
// current test when the server was not started.
std::string PostgresOdbc();
// The same server's database whose sessions start with
// standard_conforming_strings off, as on a server configured that way.
std::string PostgresOdbcLegacyStrings();
// An ODBC connection string for a new SQLite file in TempDir().
std::string FreshSqliteOdbc();
// Folder of the files kept with the tests (tests/fixtures: Chinook).
std::filesystem::path Fixtures();
// Folder of the shared test data (Chinook, Northwind, the recordset corpus).
std::filesystem::path TestData();
// Every byte of a file ("" when it cannot be read).
std::string FileContents(const std::filesystem::path& path);

}  // namespace velmora::test
