#pragma once
// Connection: a session with a database engine through the ODBC driver
// manager. Accepts the connection-string forms of docs/data-access.md.
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/ado/errors.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado {

class Recordset;
using RecordsetPtr = std::shared_ptr<Recordset>;

class Connection : public com::Object {
 public:
  Connection();
  ~Connection() override;

  // Opens the connection. Arguments given here replace ConnectionString;
  // UserID and Password, when not empty, are added as UID and PWD.
  void Open(const std::string& connectionString = {}, const std::string& userID = {},
            const std::string& password = {}, int32_t options = adConnectUnspecified);
  void Close();
  int32_t State() const noexcept;

  // The string as it was set (Null before anything was set).
  com::Variant ConnectionString() const;
  void ConnectionString(const std::string& value);

  // Runs a statement. A row-returning statement gives an open, forward-only,
  // read-only Recordset; any other gives a closed one. recordsAffected
  // receives the number of rows changed (-1 when the driver cannot tell).
  RecordsetPtr Execute(const std::string& commandText);
  RecordsetPtr Execute(const std::string& commandText, com::Variant& recordsAffected,
                       int32_t options = adOptionUnspecified);

  // Transactions: BeginTrans returns the nesting level (always 1; nesting is
  // not supported by the engines and raises).
  int32_t BeginTrans();
  void CommitTrans();
  void RollbackTrans();

  // Seconds a statement may run (0 = no limit); default 30.
  int32_t CommandTimeout() const noexcept { return commandTimeout_; }
  void CommandTimeout(int32_t seconds);
  // Seconds to wait for the server at Open; default 15.
  int32_t ConnectionTimeout() const noexcept { return connectionTimeout_; }
  void ConnectionTimeout(int32_t seconds);
  int32_t CursorLocation() const noexcept { return adUseServer; }
  std::string Provider() const;
  std::string Version() const { return "2.7"; }

  ErrorsPtr Errors() const noexcept { return errors_; }

  // A schema rowset (adSchemaTables, adSchemaColumns, adSchemaIndexes,
  // adSchemaPrimaryKeys) as a static, read-only Recordset. Criteria is an
  // array of restriction values by position (Empty = no restriction).
  RecordsetPtr OpenSchema(int32_t schema, const com::Variant& criteria = com::Missing,
                          const com::Variant& schemaID = com::Missing);

  // The name the engine gives itself ("SQLite", "PostgreSQL"); raises
  // when the connection is closed. The library adapts SQL and settings to it.
  std::string DbmsName() const;
  // Whether statements are rewritten from the bracketed, TOP n dialect into
  // the engine's own SQL (default true).
  bool DialectRewriting() const noexcept { return dialectRewriting_; }
  void DialectRewriting(bool on) noexcept { dialectRewriting_ = on; }
  // The statement as it is sent to the engine (rewritten when rewriting is on).
  std::string TranslateSql(const std::string& sql) const;
  // The engine's statement that writes a compacted copy of the database
  // into the file `destination` (absent or empty); "" when the engine has
  // none. Raises when the connection is closed.
  std::string CompactionStatement(const std::string& destination) const;

  // How the library's own objects reach the open session (defined inside
  // the library only).
  class Internal;

 private:
  struct Link;
  std::unique_ptr<Link> Connect(const std::string& connectionString);
  const Link& RequireLink(const char* what) const;
  [[noreturn]] void RaiseClosed(const char* what) const;
  [[noreturn]] void Fail(int32_t number, const std::string& what) const;

  std::unique_ptr<Link> link_;  // null while closed
  ErrorsPtr errors_;
  com::Variant connectionString_ = com::Null;
  int32_t commandTimeout_ = 30;
  int32_t connectionTimeout_ = 15;
  bool dialectRewriting_ = true;
};
using ConnectionPtr = std::shared_ptr<Connection>;

// The version of the ODBC driver manager connections go through
// ("03.52.0016.0000"); "" when it does not tell.
std::string DriverManagerVersion();

}  // namespace velmora::ado
