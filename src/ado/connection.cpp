#include "velmora/ado/connection.hpp"

#include "ado/connection_internal.hpp"
#include "ado/connection_string.hpp"
#include "ado/dialect/dialect.hpp"
#include "ado/dialect/statements.hpp"
#include "ado/odbc/driver_manager.hpp"
#include "ado/error_map.hpp"
#include "ado/read_start.hpp"
#include "ado/recordset_internal.hpp"
#include "ado/schema_rowsets.hpp"
#include "velmora/ado/recordset.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado {

Connection::Connection() : errors_(std::make_shared<ado::Errors>()) {}
Connection::~Connection() = default;

namespace {

// `e` as a record of the Errors collection.
void Record(ado::Errors& errors, const com::Error& e) {
  errors.Append(std::make_shared<ado::Error>(e.Number(), e.Description(), e.Source(), "", 0));
}

// Keeps the diagnostics of the session's last provider error as the
// connection's Errors: one Error per record the driver reported.
class ErrorsFiller : public detail::DiagnosticsListener {
 public:
  explicit ErrorsFiller(ErrorsPtr errors) : errors_(std::move(errors)) {}
  void Failed(const std::vector<detail::ProviderDiag>& diags, const com::Error& raised) override {
    errors_->Clear();
    for (const auto& d : diags) {
      errors_->Append(std::make_shared<ado::Error>(detail::NumberForDiag(d), d.message, detail::kProviderSource,
                                                   d.sqlState, d.nativeError));
    }
    if (diags.empty()) Record(*errors_, raised);
  }

 private:
  ErrorsPtr errors_;
};

}  // namespace

// The library's own errors replace what Errors held, as provider errors do:
// the collection always describes the last failure.
void Connection::Fail(int32_t number, const std::string& what) const {
  const com::Error e = detail::AdoError(number, detail::kConnectionSource, what);
  errors_->Clear();
  Record(*errors_, e);
  throw e;
}

void Connection::RaiseClosed(const char* what) const {
  Fail(adErrObjectClosed, std::string(what) + " on a closed connection");
}

int32_t Connection::State() const noexcept { return link_ ? adStateOpen : adStateClosed; }

com::Variant Connection::ConnectionString() const { return connectionString_; }

void Connection::ConnectionString(const std::string& value) {
  if (link_) Fail(adErrObjectOpen, "ConnectionString");
  connectionString_ = value;
}

std::string Connection::Provider() const {
  if (const auto* s = connectionString_.TryGet<std::string>()) {
    try {
      const auto pairs = detail::ParseConnectionString(*s);
      if (detail::HasKey(pairs, "Provider")) return detail::FindValue(pairs, "Provider");
    } catch (const com::Error&) {
      // A malformed string has no provider to report.
    }
  }
  return "MSDASQL";
}

std::unique_ptr<Connection::Link> Connection::Connect(const std::string& connectionString) {
  try {
    const detail::OdbcTarget target = detail::ResolveConnectionString(connectionString);
    const auto listener = std::make_shared<ErrorsFiller>(errors_);
    auto link = std::make_unique<Link>();
    link->session = detail::Session::Connect(target, connectionTimeout_, listener);
    const dialect::Engine engine = link->session->Dialect().Kind();
    if (engine == target.engine) return link;
    // A data source's engine is known only now: connect again with the
    // settings the library relies on for it.
    link->session.reset();
    link->session = detail::Session::Connect(detail::WithEngineSettings(target, engine), connectionTimeout_, listener);
    return link;
  } catch (const com::Error& e) {
    // Errors found before the driver was reached still go into Errors.
    if (errors_->Count() == 0) Record(*errors_, e);
    throw;
  }
}

void Connection::Open(const std::string& connectionString, const std::string& userID, const std::string& password,
                      int32_t options) {
  (void)options;
  if (link_) Fail(adErrObjectOpen, "Connection.Open");
  if (!connectionString.empty()) connectionString_ = connectionString;
  std::string text = connectionString_.IsString() ? connectionString_.Get<std::string>() : std::string();
  // Values in braces where they need them, so that ';' or '}' stay inside.
  if (!userID.empty()) text += ";" + detail::BuildOdbcString({{"UID", userID}});
  if (!password.empty()) text += ";" + detail::BuildOdbcString({{"PWD", password}});
  errors_->Clear();
  link_ = Connect(text);
}

void Connection::Close() {
  if (!link_) RaiseClosed("Close");
  link_.reset();
}

const Connection::Link& Connection::RequireLink(const char* what) const {
  if (!link_) RaiseClosed(what);
  return *link_;
}

std::string Connection::DbmsName() const { return RequireLink("DbmsName").session->DbmsName(); }

std::string Connection::TranslateSql(const std::string& sql) const {
  const std::optional<size_t> length = dialect::OneStatementLength(sql);
  if (!length) {
    Fail(adErrInvalidArgument, "the text holds more than one statement; run them one at a time");
  }
  // What follows the statement's closing ';' is blanks and comments only.
  const std::string_view statement = std::string_view(sql).substr(0, *length);
  if (!dialectRewriting_) return std::string(statement);
  return RequireLink("TranslateSql").session->Dialect().Rewrite(statement);
}

std::string Connection::CompactionStatement(const std::string& destination) const {
  return RequireLink("CompactionStatement").session->Dialect().CompactionStatement(destination);
}

RecordsetPtr Connection::Execute(const std::string& commandText) {
  com::Variant ignored;
  return Execute(commandText, ignored);
}

RecordsetPtr Connection::Execute(const std::string& commandText, com::Variant& recordsAffected, int32_t options) {
  auto session = RequireLink("Execute").session;
  (void)options;
  auto read = detail::StartRead(*session, TranslateSql(commandText), commandTimeout_, false,
                                "Connection.Execute failed", errors_.get());
  auto rs = std::make_shared<Recordset>();
  if (read.cursor) {
    recordsAffected = int32_t{-1};
    auto self = std::static_pointer_cast<Connection>(shared_from_this());
    Recordset::Internal::OpenOn(*rs, std::move(read.cursor), self, commandText, adOpenForwardOnly, adLockReadOnly);
  } else {
    recordsAffected = static_cast<int32_t>(read.rowsAffected);
  }
  return rs;
}

int32_t Connection::BeginTrans() {
  auto session = RequireLink("BeginTrans").session;
  if (session->InTransaction()) {
    Fail(adErrFeatureNotAvailable, "nested transactions");
  }
  session->BeginTransaction();
  return 1;
}

void Connection::CommitTrans() {
  auto session = RequireLink("CommitTrans").session;
  if (!session->InCallerTransaction()) Fail(adErrIllegalOperation, "no transaction");
  session->EndTransaction(true, commandTimeout_);
}

void Connection::RollbackTrans() {
  auto session = RequireLink("RollbackTrans").session;
  if (!session->InCallerTransaction()) Fail(adErrIllegalOperation, "no transaction");
  session->EndTransaction(false, commandTimeout_);
}

void Connection::CommandTimeout(int32_t seconds) {
  if (seconds < 0) Fail(adErrInvalidArgument, "CommandTimeout");
  commandTimeout_ = seconds;
}

void Connection::ConnectionTimeout(int32_t seconds) {
  if (seconds < 0) Fail(adErrInvalidArgument, "ConnectionTimeout");
  connectionTimeout_ = seconds;
}

RecordsetPtr Connection::OpenSchema(int32_t schema, const com::Variant& criteria, const com::Variant& schemaID) {
  (void)schemaID;
  auto session = RequireLink("OpenSchema").session;
  errors_->Clear();
  auto rs = std::make_shared<Recordset>();
  auto self = std::static_pointer_cast<Connection>(shared_from_this());
  Recordset::Internal::OpenOn(*rs, std::make_unique<detail::Cursor>(detail::BuildSchemaRowset(*session, schema, criteria), true),
                              self, "", adOpenStatic, adLockReadOnly);
  return rs;
}

std::string DriverManagerVersion() { return odbc::DriverManagerVersion(); }

}  // namespace velmora::ado
