#include <cmath>

#include "ado/connection_internal.hpp"
#include "ado/dialect/dialect.hpp"
#include "ado/dialect/tokenizer.hpp"
#include "ado/error_map.hpp"
#include "ado/read_start.hpp"
#include "ado/recordset_internal.hpp"
#include "ado/variant_index.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado {
namespace {

// True when the source is one (possibly dotted) name: then adCmdUnknown treats it as a table.
bool IsLoneName(const std::string& source) {
  bool expectName = true;
  for (const auto& t : dialect::Tokenize(source)) {
    using K = dialect::TokenKind;
    if (t.kind == K::Space && !expectName) return false;
    if (t.kind == K::Space) continue;
    if (expectName && (t.kind == K::Word || t.kind == K::BracketName || t.kind == K::QuotedName)) {
      expectName = false;
    } else if (!expectName && t.kind == K::Punct && t.text == ".") {
      expectName = true;
    } else {
      return false;
    }
  }
  return !expectName;
}

// SELECT * FROM the table, each part of a dotted name quoted for the engine.
std::string TableQuery(const std::string& name, const dialect::Dialect& engine) {
  std::string sql = "SELECT * FROM ";
  for (const auto& t : dialect::Tokenize(name)) {
    if (t.kind == dialect::TokenKind::Word) sql += engine.QuoteName(t.text);
    else if (t.kind != dialect::TokenKind::Space) sql += t.text;
  }
  return sql;
}

}  // namespace

Recordset::Recordset() : fields_(std::make_shared<ado::Fields>()) {}

Recordset::~Recordset() {
  Fields::Internal::Unbind(*fields_);
  if (open_) open_->editor.reset();  // before the cursor it edits
}

int32_t Recordset::State() const noexcept { return open_ ? adStateOpen : adStateClosed; }

Recordset::Opened& Recordset::RequireOpen(const char* what) const {
  if (!open_) detail::RaiseAdo(adErrObjectClosed, detail::kRecordsetSource, what);
  return *open_;
}

Recordset::Opened& Recordset::RequireCurrent(const char* what) const {
  Opened& o = RequireOpen(what);
  if (!o.cursor->HasCurrent()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, what);
  return o;
}

Recordset::Opened& Recordset::RequireScrollable(const char* what) const {
  Opened& o = RequireOpen(what);
  if (!o.cursor->Scrollable()) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource,
                     std::string(what) + " needs a scrollable cursor");
  }
  return o;
}

detail::Cursor& Recordset::Internal::CursorOf(const Recordset& recordset) {
  return *recordset.RequireOpen("Cursor").cursor;
}

const std::vector<detail::RowImage>& Recordset::Internal::PendingChanges(const Recordset& recordset) {
  return recordset.RequireOpen("PendingChanges").editor->PendingChanges();
}

void Recordset::Internal::RestorePendingChanges(Recordset& recordset, std::vector<detail::RowImage> changes) {
  recordset.RequireOpen("RestorePendingChanges").editor->RestorePendingChanges(std::move(changes));
}

void Recordset::Internal::OpenOn(Recordset& rs, std::unique_ptr<detail::Cursor> cursor, ConnectionPtr connection,
                                 std::string source, int32_t cursorType, int32_t lockType) {
  auto opened = std::make_unique<Opened>();
  opened->cursor = std::move(cursor);
  std::shared_ptr<detail::Session> session;
  std::shared_ptr<detail::TableKeyCache> keys;
  if (connection) {
    session = Connection::Internal::SessionOf(*connection, "Recordset.Open");
    keys = Connection::Internal::KeysOf(*connection, "Recordset.Open");
  }
  const int32_t timeout = connection ? connection->CommandTimeout() : 0;
  opened->editor = std::make_unique<detail::RecordEditor>(*opened->cursor, std::move(session), std::move(keys),
                                                          lockType, timeout);
  rs.connection_ = std::move(connection);
  rs.source_ = std::move(source);
  rs.cursorType_ = cursorType;
  rs.lockType_ = lockType;
  rs.open_ = std::move(opened);
  Fields::Internal::Bind(*rs.fields_, rs.open_->cursor.get(), rs.open_->editor.get(),
                         static_cast<int32_t>(rs.open_->cursor->Columns().size()), !rs.connection_);
}

void Recordset::OpenFabricated(int32_t lockType) {
  auto columns = Fields::Internal::Definitions(*fields_);
  auto source = std::make_unique<detail::MemoryRowSource>(std::move(columns), std::vector<detail::Row>());
  connection_.reset();
  Internal::OpenOn(*this, std::make_unique<detail::Cursor>(std::move(source), true), nullptr, "", adOpenStatic,
                   lockType == adLockUnspecified || lockType == adLockReadOnly ? adLockBatchOptimistic : lockType);
}

void Recordset::Open(const com::Variant& source, const com::Variant& activeConnection, int32_t cursorType,
                     int32_t lockType, int32_t options) {
  if (open_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "Recordset.Open");
  const bool noSource = source.IsMissing() || source.IsEmpty() || (source.IsString() && source.Get<std::string>().empty());
  const bool noConnection = (activeConnection.IsMissing() || activeConnection.IsEmpty()) && !connection_;
  if (noSource && noConnection && fields_->Count() > 0) {
    OpenFabricated(lockType == adLockUnspecified ? lockType_ : lockType);
    return;
  }
  ConnectionPtr cn = connection_;
  if (activeConnection.IsString()) {
    cn = std::make_shared<Connection>();
    cn->Open(activeConnection.Get<std::string>());
  } else if (activeConnection.IsObject()) {
    cn = activeConnection.ObjectAs<Connection>();
  }
  if (!cn || cn->State() != adStateOpen) {
    detail::RaiseAdo(adErrInvalidConnection, detail::kRecordsetSource, "Recordset.Open has no open connection");
  }
  const std::string* text = source.TryGet<std::string>();
  if (!text || text->empty()) detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "Recordset.Open Source");
  const int32_t cursorKind = cursorType == adOpenUnspecified ? cursorType_ : cursorType;
  const int32_t lockKind = lockType == adLockUnspecified ? lockType_ : lockType;
  if (cursorKind < adOpenForwardOnly || cursorKind > adOpenStatic || lockKind < adLockReadOnly ||
      lockKind > adLockBatchOptimistic) {
    detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "cursor or lock type");
  }
  const int32_t command = options == adCmdUnspecified ? adCmdUnknown : (options & (adCmdText | adCmdTable |
                                                                                  adCmdStoredProc | adCmdUnknown |
                                                                                  adCmdTableDirect));
  const bool table = (command & (adCmdTable | adCmdTableDirect)) ||
                     ((command & adCmdUnknown) && IsLoneName(*text));
  if (command & adCmdStoredProc) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource, "stored procedures");
  }
  auto session = Connection::Internal::SessionOf(*cn, "Recordset.Open");
  const std::string sql = table ? TableQuery(*text, session->Dialect()) : cn->TranslateSql(*text);
  auto read = detail::StartRead(*session, sql, cn->CommandTimeout(), cursorKind != adOpenForwardOnly,
                                "Recordset.Open failed", cn->Errors().get());
  if (!read.cursor) {
    connection_ = cn;
    return;  // a statement without rows leaves the recordset closed
  }
  Internal::OpenOn(*this, std::move(read.cursor), cn, *text, cursorKind, lockKind);
}

void Recordset::Close() {
  Opened& o = RequireOpen("Recordset.Close");
  Fields::Internal::Unbind(*fields_);
  o.editor.reset();  // an edit in progress is dropped and its lock released
  open_.reset();
}

void Recordset::LeaveRow() {
  if (open_ && open_->editor) open_->editor->BeforeMove();
}

bool Recordset::IsEOF() const {
  Opened& o = RequireOpen("EOF");
  return o.cursor->IsEOF();
}

bool Recordset::IsBOF() const {
  Opened& o = RequireOpen("BOF");
  return o.cursor->IsBOF();
}

void Recordset::MoveFirst() {
  Opened& o = RequireOpen("MoveFirst");
  LeaveRow();
  o.cursor->MoveFirst();
}

void Recordset::MoveNext() {
  Opened& o = RequireOpen("MoveNext");
  if (o.cursor->IsEOF()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "MoveNext at EOF");
  LeaveRow();
  o.cursor->MoveNext();
}

void Recordset::MovePrevious() {
  Opened& o = RequireOpen("MovePrevious");
  if (!o.cursor->Scrollable()) detail::RaiseAdo(DB_E_CANTFETCHBACKWARDS, detail::kRecordsetSource, "MovePrevious");
  if (o.cursor->IsBOF() && !o.cursor->IsEOF()) {
    detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "MovePrevious at BOF");
  }
  LeaveRow();
  o.cursor->MovePrevious();
}

void Recordset::MoveLast() {
  Opened& o = RequireOpen("MoveLast");
  LeaveRow();
  o.cursor->MoveLast();
}

void Recordset::Move(int32_t numRecords) {
  Opened& o = RequireOpen("Move");
  if (numRecords == 0) return;
  LeaveRow();
  if (numRecords < 0 && !o.cursor->Scrollable()) {
    detail::RaiseAdo(DB_E_CANTFETCHBACKWARDS, detail::kRecordsetSource, "Move backwards");
  }
  const int64_t from = o.cursor->HasCurrent() ? o.cursor->Position() : (o.cursor->IsEOF() ? -2 : -1);
  if (from == -2) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "Move at EOF");
  const int64_t target = from + numRecords;
  if (target < 0) {
    o.cursor->MoveFirst();
    o.cursor->MovePrevious();
  } else if (!o.cursor->MoveTo(target)) {
    o.cursor->MoveLast();
    if (o.cursor->HasCurrent()) o.cursor->MoveNext();
  }
}

int32_t Recordset::RecordCount() const {
  Opened& o = RequireOpen("RecordCount");
  if (!o.cursor->Scrollable()) return -1;
  const int64_t n = o.cursor->CountAll();
  return n > INT32_MAX ? INT32_MAX : static_cast<int32_t>(n);
}

int32_t Recordset::AbsolutePosition() const {
  Opened& o = RequireOpen("AbsolutePosition");
  if (o.cursor->HasCurrent()) return static_cast<int32_t>(o.cursor->Position() + 1);
  return o.cursor->IsEOF() ? adPosEOF : adPosBOF;
}

com::Variant Recordset::Bookmark() const {
  RequireScrollable("Bookmark");
  const Opened& o = RequireCurrent("Bookmark");
  return static_cast<double>(o.cursor->Position() + 1);
}

void Recordset::Bookmark(const com::Variant& bookmark) {
  Opened& o = RequireScrollable("Bookmark");
  const int64_t ordinal = detail::PositionOf(bookmark);
  const double* d = bookmark.TryGet<double>();
  const bool whole = !d || std::floor(*d) == *d;
  LeaveRow();
  if (ordinal < 1 || !whole || !o.cursor->MoveTo(ordinal - 1)) {
    detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "not a valid bookmark");
  }
}

com::Variant Recordset::ActiveConnection() const {
  if (!connection_) return com::Variant(nullptr);
  return com::Variant(connection_);
}

void Recordset::ActiveConnection(const com::Variant& connection) {
  if (open_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "ActiveConnection");
  if (connection.IsString()) {
    auto cn = std::make_shared<Connection>();
    cn->Open(connection.Get<std::string>());
    connection_ = cn;
  } else if (connection.IsObject()) {
    connection_ = connection.ObjectAs<Connection>();
  } else {
    connection_.reset();
  }
}

void Recordset::CursorType(int32_t value) {
  if (open_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "CursorType");
  cursorType_ = value;
}

void Recordset::LockType(int32_t value) {
  if (open_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "LockType");
  lockType_ = value;
}

int32_t Recordset::EditMode() const {
  Opened& o = RequireOpen("EditMode");
  const int32_t mode = o.editor->EditMode();
  if (mode == adEditNone) RequireCurrent("EditMode");
  return mode;
}

void Recordset::SetFieldValues(const com::Variant& fields, const com::Variant& values) {
  if (fields.IsMissing()) return;
  const auto* names = fields.TryGet<com::VariantArray>();
  const auto* items = values.TryGet<com::VariantArray>();
  if (!names) {
    fields_->Item(fields)->Value(values);
    return;
  }
  if (!items || items->items.size() != names->items.size()) {
    detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "field list and values differ in length");
  }
  for (size_t i = 0; i < names->items.size(); ++i) fields_->Item(names->items[i])->Value(items->items[i]);
}

void Recordset::AddNew(const com::Variant& fieldList, const com::Variant& values) {
  Opened& o = RequireOpen("AddNew");
  o.editor->AddNew();
  if (fieldList.IsMissing()) return;
  SetFieldValues(fieldList, values);
  o.editor->Update();
}

void Recordset::Update(const com::Variant& fields, const com::Variant& values) {
  Opened& o = RequireOpen("Update");
  SetFieldValues(fields, values);
  o.editor->Update();
}

void Recordset::CancelUpdate() {
  Opened& o = RequireOpen("CancelUpdate");
  o.editor->CancelUpdate();
}

void Recordset::Delete(int32_t affectRecords) {
  Opened& o = RequireOpen("Delete");
  if (affectRecords != adAffectCurrent) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource, "Delete affects the current record only");
  }
  o.editor->Delete();
}

void Recordset::UpdateBatch(int32_t affectRecords) {
  Opened& o = RequireOpen("UpdateBatch");
  if (affectRecords != adAffectAll) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource, "UpdateBatch writes all changes");
  }
  o.editor->UpdateBatch();
}

void Recordset::CacheSize(int32_t rows) {
  if (rows < 1) detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "CacheSize");
  cacheSize_ = rows;
}

}  // namespace velmora::ado
