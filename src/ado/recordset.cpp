#include "velmora/ado/recordset.hpp"

#include <cmath>

#include "ado/cursor.hpp"
#include "ado/dialect/dialect.hpp"
#include "ado/dialect/tokenizer.hpp"
#include "ado/editor.hpp"
#include "ado/error_map.hpp"
#include "ado/odbc/session.hpp"
#include "ado/read_start.hpp"
#include "com/utf.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado {
namespace {

std::string FoldAscii(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

// A 0-based index from a numeric Variant, or -1.
int64_t IndexOf(const com::Variant& v) {
  if (auto p = v.TryGet<int32_t>()) return *p;
  if (auto p = v.TryGet<int16_t>()) return *p;
  if (auto p = v.TryGet<uint8_t>()) return *p;
  if (auto p = v.TryGet<double>()) return std::isfinite(*p) ? static_cast<int64_t>(std::floor(*p)) : -1;
  if (auto p = v.TryGet<float>()) return std::isfinite(*p) ? static_cast<int64_t>(std::floor(*p)) : -1;
  return -1;
}

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

// ---- Field -------------------------------------------------------------------

Field::Field(const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t ordinal)
    : cursor_(cursor), editor_(editor), ordinal_(ordinal) {}

Field::Field(const detail::ColumnInfo& definition)
    : definition_(std::make_unique<detail::ColumnInfo>(definition)) {}

Field::~Field() = default;

void Field::Attach(const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t ordinal) noexcept {
  cursor_ = cursor;
  editor_ = editor;
  ordinal_ = ordinal;
}

void Field::Detach() noexcept {
  cursor_ = nullptr;
  editor_ = nullptr;
  definition_.reset();
}

const detail::Cursor& Field::Bound() const {
  if (!cursor_) detail::RaiseAdo(adErrObjectNotSet, detail::kFieldSource, "the recordset was closed");
  return *cursor_;
}

detail::RecordEditor& Field::Editor() const {
  if (!editor_) detail::RaiseAdo(adErrObjectNotSet, detail::kFieldSource, "the recordset is not open");
  return *editor_;
}

const detail::ColumnInfo& Field::Info() const {
  if (editor_) return editor_->Columns()[static_cast<size_t>(ordinal_)];
  if (definition_) return *definition_;
  return Bound().Columns()[static_cast<size_t>(ordinal_)];
}

void Field::Value(const com::Variant& value) { Editor().SetValue(ordinal_, value); }
com::Variant Field::OriginalValue() const { return Editor().OriginalValue(ordinal_); }
void Field::AppendChunk(const com::Variant& data) { Editor().AppendChunk(ordinal_, data); }

void Field::Precision(uint8_t value) {
  if (!definition_ || cursor_) detail::RaiseAdo(adErrIllegalOperation, detail::kFieldSource, "Precision");
  definition_->precision = value;
}

void Field::NumericScale(uint8_t value) {
  if (!definition_ || cursor_) detail::RaiseAdo(adErrIllegalOperation, detail::kFieldSource, "NumericScale");
  definition_->scale = value;
}

std::string Field::Name() const { return Info().name; }
int32_t Field::Type() const { return Info().type; }
int32_t Field::Attributes() const {
  if (editor_) return editor_->Attributes(ordinal_);
  return Info().attributes;
}
int32_t Field::DefinedSize() const { return Info().definedSize; }
uint8_t Field::Precision() const { return Info().precision; }
uint8_t Field::NumericScale() const { return Info().scale; }

const com::Variant& Field::ValueRef() const {
  const detail::Cursor& c = Bound();
  if (!c.HasCurrent()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kFieldSource, "reading " + Name());
  return c.Current()[static_cast<size_t>(ordinal_)];
}

com::Variant Field::Value() const { return ValueRef(); }

int32_t Field::ActualSize() const {
  const com::Variant& v = ValueRef();
  if (v.IsNull()) return 0;
  if (auto s = v.TryGet<std::string>()) return static_cast<int32_t>(s->size());
  if (auto b = v.TryGet<com::ByteArray>()) return static_cast<int32_t>(b->size());
  return DefinedSize();
}

com::Variant Field::GetChunk(int32_t length) {
  if (!(Attributes() & adFldLong)) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kFieldSource, "GetChunk on a field that is not long");
  }
  if (length < 0) detail::RaiseAdo(adErrInvalidArgument, detail::kFieldSource, "GetChunk length");
  const com::Variant& v = ValueRef();
  if (Bound().Position() != chunkRow_) {
    chunkRow_ = Bound().Position();
    chunkOffset_ = 0;
  }
  if (v.IsNull()) return com::Null;
  if (auto b = v.TryGet<com::ByteArray>()) {
    if (chunkOffset_ >= b->size()) return com::Null;
    const size_t n = std::min(b->size() - chunkOffset_, static_cast<size_t>(length));
    com::ByteArray part(b->begin() + static_cast<std::ptrdiff_t>(chunkOffset_),
                        b->begin() + static_cast<std::ptrdiff_t>(chunkOffset_ + n));
    chunkOffset_ += n;
    return part;
  }
  const std::string& s = v.Get<std::string>();
  if (chunkOffset_ >= s.size()) return com::Null;
  // Text chunks count characters: advance over whole UTF-8 sequences.
  const size_t end = com::detail::OffsetAfterChars(s, chunkOffset_, length);
  std::string part = s.substr(chunkOffset_, end - chunkOffset_);
  chunkOffset_ = end;
  return part;
}

// ---- Fields ------------------------------------------------------------------

FieldPtr Fields::Item(const com::Variant& index) const {
  if (auto name = index.TryGet<std::string>()) {
    const int32_t i = IndexOf(*name);
    if (i < 0) detail::RaiseAdo(adErrItemNotFound, "Velmora.ado.Fields", "field '" + *name + "'");
    return items_[static_cast<size_t>(i)];
  }
  const int64_t i = ado::IndexOf(index);
  if (i < 0 || i >= Count()) detail::RaiseAdo(adErrItemNotFound, "Velmora.ado.Fields", "field position");
  return items_[static_cast<size_t>(i)];
}

int32_t Fields::IndexOf(const std::string& name) const {
  const std::string folded = FoldAscii(name);
  for (size_t i = 0; i < foldedNames_.size(); ++i) {
    if (foldedNames_[i] == folded) return static_cast<int32_t>(i);
  }
  return -1;
}

void Fields::Append(const std::string& name, int32_t type, int32_t definedSize, int32_t attrib,
                    const com::Variant& fieldValue) {
  (void)fieldValue;
  if (open_) detail::RaiseAdo(adErrIllegalOperation, "Velmora.ado.Fields", "Append on an open recordset");
  if (name.empty()) detail::RaiseAdo(adErrInvalidArgument, "Velmora.ado.Fields", "Append without a name");
  if (IndexOf(name) >= 0) detail::RaiseAdo(adErrObjectInCollection, "Velmora.ado.Fields", "field '" + name + "'");
  detail::ColumnInfo c;
  c.name = name;
  c.type = type;
  c.definedSize = definedSize;
  c.attributes = attrib == adFldUnspecified ? 0 : attrib;
  if (type == adLongVarBinary || type == adLongVarWChar || type == adLongVarChar) c.attributes |= adFldLong;
  c.precision = 0;
  c.scale = 0;
  items_.push_back(std::make_shared<Field>(c));
  foldedNames_.push_back(FoldAscii(name));
}

std::vector<detail::ColumnInfo> Fields::Definitions() const {
  std::vector<detail::ColumnInfo> out;
  for (const auto& f : items_) {
    detail::ColumnInfo c;
    c.name = f->Name();
    c.type = f->Type();
    c.definedSize = f->DefinedSize();
    c.attributes = f->Attributes();
    c.precision = f->Precision();
    c.scale = f->NumericScale();
    out.push_back(std::move(c));
  }
  return out;
}

void Fields::Bind(const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t count, bool keepAppended) {
  if (keepAppended) {
    // Appended fields become the open recordset's columns, keeping their objects.
    for (size_t i = 0; i < items_.size(); ++i) items_[i]->Attach(cursor, editor, static_cast<int32_t>(i));
  } else {
    Unbind();
    for (int32_t i = 0; i < count; ++i) {
      items_.push_back(std::make_shared<Field>(cursor, editor, i));
      foldedNames_.push_back(FoldAscii(cursor->Columns()[static_cast<size_t>(i)].name));
    }
  }
  open_ = true;
}

void Fields::Unbind() noexcept {
  for (auto& f : items_) f->Detach();
  items_.clear();
  foldedNames_.clear();
  open_ = false;
}

// ---- Recordset ---------------------------------------------------------------

Recordset::Recordset() : fields_(std::make_shared<ado::Fields>()) {}
Recordset::~Recordset() {
  fields_->Unbind();
  editor_.reset();
}

int32_t Recordset::State() const noexcept { return cursor_ ? adStateOpen : adStateClosed; }

void Recordset::RequireOpen(const char* what) const {
  if (!cursor_) detail::RaiseAdo(adErrObjectClosed, detail::kRecordsetSource, what);
}

void Recordset::RequireCurrent(const char* what) const {
  RequireOpen(what);
  if (!cursor_->HasCurrent()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, what);
}

void Recordset::RequireScrollable(const char* what) const {
  RequireOpen(what);
  if (!cursor_->Scrollable()) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource,
                     std::string(what) + " needs a scrollable cursor");
  }
}

detail::Cursor& Recordset::Cursor() const {
  RequireOpen("Cursor");
  return *cursor_;
}

void Recordset::OpenOn(std::unique_ptr<detail::Cursor> cursor, ConnectionPtr connection, std::string source,
                       int32_t cursorType, int32_t lockType) {
  cursor_ = std::move(cursor);
  connection_ = std::move(connection);
  source_ = std::move(source);
  cursorType_ = cursorType;
  lockType_ = lockType;
  try {
    editor_ = std::make_unique<detail::RecordEditor>(*cursor_, connection_ ? connection_->Session() : nullptr,
                                                     lockType, connection_ ? connection_->CommandTimeout() : 0);
  } catch (...) {
    cursor_.reset();
    throw;
  }
  fields_->Bind(cursor_.get(), editor_.get(), static_cast<int32_t>(cursor_->Columns().size()), !connection_);
}

void Recordset::OpenFabricated(int32_t lockType) {
  auto columns = fields_->Definitions();
  auto source = std::make_unique<detail::MemoryRowSource>(std::move(columns), std::vector<detail::Row>());
  connection_.reset();
  OpenOn(std::make_unique<detail::Cursor>(std::move(source), true), nullptr, "", adOpenStatic,
         lockType == adLockUnspecified || lockType == adLockReadOnly ? adLockBatchOptimistic : lockType);
}

void Recordset::Open(const com::Variant& source, const com::Variant& activeConnection, int32_t cursorType,
                     int32_t lockType, int32_t options) {
  if (cursor_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "Recordset.Open");
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
  auto session = cn->Session();
  const std::string sql = table ? TableQuery(*text, session->Dialect()) : cn->TranslateSql(*text);
  auto read = detail::StartRead(*session, sql, cn->CommandTimeout(), cursorKind != adOpenForwardOnly,
                                "Recordset.Open failed", cn->Errors().get());
  if (!read.cursor) {
    connection_ = cn;
    return;  // a statement without rows leaves the recordset closed
  }
  OpenOn(std::move(read.cursor), cn, *text, cursorKind, lockKind);
}

void Recordset::Close() {
  RequireOpen("Recordset.Close");
  fields_->Unbind();
  editor_.reset();  // an edit in progress is dropped and its lock released
  cursor_.reset();
}

void Recordset::LeaveRow() {
  if (editor_) editor_->BeforeMove();
}

bool Recordset::IsEOF() const {
  RequireOpen("EOF");
  return cursor_->IsEOF();
}

bool Recordset::IsBOF() const {
  RequireOpen("BOF");
  return cursor_->IsBOF();
}

void Recordset::MoveFirst() {
  RequireOpen("MoveFirst");
  LeaveRow();
  cursor_->MoveFirst();
}

void Recordset::MoveNext() {
  RequireOpen("MoveNext");
  if (cursor_->IsEOF()) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "MoveNext at EOF");
  LeaveRow();
  cursor_->MoveNext();
}

void Recordset::MovePrevious() {
  RequireOpen("MovePrevious");
  if (!cursor_->Scrollable()) detail::RaiseAdo(DB_E_CANTFETCHBACKWARDS, detail::kRecordsetSource, "MovePrevious");
  if (cursor_->IsBOF() && !cursor_->IsEOF()) {
    detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "MovePrevious at BOF");
  }
  LeaveRow();
  cursor_->MovePrevious();
}

void Recordset::MoveLast() {
  RequireOpen("MoveLast");
  LeaveRow();
  cursor_->MoveLast();
}

void Recordset::Move(int32_t numRecords) {
  RequireOpen("Move");
  if (numRecords == 0) return;
  LeaveRow();
  if (numRecords < 0 && !cursor_->Scrollable()) {
    detail::RaiseAdo(DB_E_CANTFETCHBACKWARDS, detail::kRecordsetSource, "Move backwards");
  }
  const int64_t from = cursor_->HasCurrent() ? cursor_->Position() : (cursor_->IsEOF() ? -2 : -1);
  if (from == -2) detail::RaiseAdo(adErrNoCurrentRecord, detail::kRecordsetSource, "Move at EOF");
  const int64_t target = from + numRecords;
  if (target < 0) {
    cursor_->MoveFirst();
    cursor_->MovePrevious();
  } else if (!cursor_->MoveTo(target)) {
    cursor_->MoveLast();
    if (cursor_->HasCurrent()) cursor_->MoveNext();
  }
}

int32_t Recordset::RecordCount() const {
  RequireOpen("RecordCount");
  if (!cursor_->Scrollable()) return -1;
  const int64_t n = cursor_->CountAll();
  return n > INT32_MAX ? INT32_MAX : static_cast<int32_t>(n);
}

int32_t Recordset::AbsolutePosition() const {
  RequireOpen("AbsolutePosition");
  if (cursor_->HasCurrent()) return static_cast<int32_t>(cursor_->Position() + 1);
  return cursor_->IsEOF() ? adPosEOF : adPosBOF;
}

com::Variant Recordset::Bookmark() const {
  RequireScrollable("Bookmark");
  RequireCurrent("Bookmark");
  return static_cast<double>(cursor_->Position() + 1);
}

void Recordset::Bookmark(const com::Variant& bookmark) {
  RequireScrollable("Bookmark");
  const int64_t ordinal = ado::IndexOf(bookmark);
  const double* d = bookmark.TryGet<double>();
  const bool whole = !d || std::floor(*d) == *d;
  LeaveRow();
  if (ordinal < 1 || !whole || !cursor_->MoveTo(ordinal - 1)) {
    detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "not a valid bookmark");
  }
}

com::Variant Recordset::ActiveConnection() const {
  if (!connection_) return com::Variant(nullptr);
  return com::Variant(connection_);
}

void Recordset::ActiveConnection(const com::Variant& connection) {
  if (cursor_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "ActiveConnection");
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
  if (cursor_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "CursorType");
  cursorType_ = value;
}

void Recordset::LockType(int32_t value) {
  if (cursor_) detail::RaiseAdo(adErrObjectOpen, detail::kRecordsetSource, "LockType");
  lockType_ = value;
}

int32_t Recordset::EditMode() const {
  RequireOpen("EditMode");
  const int32_t mode = editor_->EditMode();
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
  RequireOpen("AddNew");
  editor_->AddNew();
  if (fieldList.IsMissing()) return;
  SetFieldValues(fieldList, values);
  editor_->Update();
}

void Recordset::Update(const com::Variant& fields, const com::Variant& values) {
  RequireOpen("Update");
  SetFieldValues(fields, values);
  editor_->Update();
}

void Recordset::CancelUpdate() {
  RequireOpen("CancelUpdate");
  editor_->CancelUpdate();
}

void Recordset::Delete(int32_t affectRecords) {
  RequireOpen("Delete");
  if (affectRecords != adAffectCurrent) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource, "Delete affects the current record only");
  }
  editor_->Delete();
}

void Recordset::UpdateBatch(int32_t affectRecords) {
  RequireOpen("UpdateBatch");
  if (affectRecords != adAffectAll) {
    detail::RaiseAdo(adErrFeatureNotAvailable, detail::kRecordsetSource, "UpdateBatch writes all changes");
  }
  editor_->UpdateBatch();
}

void Recordset::CacheSize(int32_t rows) {
  if (rows < 1) detail::RaiseAdo(adErrInvalidArgument, detail::kRecordsetSource, "CacheSize");
  cacheSize_ = rows;
}

}  // namespace velmora::ado
