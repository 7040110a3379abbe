#include "ado/editor.hpp"

#include <algorithm>
#include <cctype>
#include <set>
#include <tuple>

#include "ado/error_map.hpp"
#include "velmora/ado/stream.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/conversions.hpp"
#include "com/utf.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::detail {
namespace {

bool SameName(const std::string& a, const std::string& b) { return com::detail::EqualsIgnoringAsciiCase(a, b); }

bool IsBinaryType(int32_t type) { return type == adBinary || type == adVarBinary || type == adLongVarBinary; }

bool IsTextType(int32_t type) {
  switch (type) {
    case adBSTR:
    case adChar:
    case adWChar:
    case adVarChar:
    case adVarWChar:
    case adLongVarChar:
    case adLongVarWChar:
    case adGUID: return true;
    default: return false;
  }
}

// The variant type a column's values have (0: keep the value's own).
int16_t VarTypeOfColumn(int32_t type) {
  switch (type) {
    case adSmallInt:
    case adTinyInt: return com::vbInteger;
    case adUnsignedTinyInt: return com::vbByte;
    case adInteger:
    case adUnsignedSmallInt: return com::vbLong;
    case adSingle: return com::vbSingle;
    case adDouble: return com::vbDouble;
    case adCurrency: return com::vbCurrency;
    case adDate:
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp: return com::vbDate;
    case adBoolean: return com::vbBoolean;
    case adDecimal:
    case adNumeric:
    case adVarNumeric:
    case adBigInt:
    case adUnsignedInt:
    case adUnsignedBigInt: return com::vbDecimal;
    default: return 0;
  }
}

com::Variant TextOf(const com::Variant& v) {
  if (auto bytes = v.TryGet<com::ByteArray>()) return StringFromUtf16leBytes(*bytes);
  if (v.IsString()) return v;
  return com::CStr(v);
}

com::Variant BytesOf(const com::Variant& v) {
  if (v.TryGet<com::ByteArray>()) return v;
  if (auto s = v.TryGet<std::string>()) return Utf16leBytesFromString(*s);
  com::Raise(com::errTypeMismatch, "Type mismatch: a binary field takes a byte array or a string");
}

}  // namespace

com::Variant CoerceToColumn(const com::Variant& value, const ColumnInfo& column) {
  if (value.IsNull() || value.IsEmpty()) return value;
  if (IsBinaryType(column.type)) return BytesOf(value);
  if (IsTextType(column.type)) return TextOf(value);
  const int16_t vt = VarTypeOfColumn(column.type);
  return vt ? com::ChangeType(value, vt) : value;
}

RecordEditor::RecordEditor(Cursor& cursor, std::shared_ptr<Session> session, std::shared_ptr<TableKeyCache> keys,
                           int32_t lockType, int32_t timeoutSeconds)
    : cursor_(cursor),
      session_(std::move(session)),
      keys_(std::move(keys)),
      lockType_(lockType),
      timeout_(timeoutSeconds),
      columns_(cursor.Columns()) {
  if (InMemory()) return;
  if (lockType_ == adLockReadOnly) {
    readOnlyReason_ = "the recordset was opened read-only (lock type 1)";
  } else {
    ResolveBaseTable();
  }
  for (size_t i = 0; i < columns_.size(); ++i) {
    int32_t& a = columns_[i].attributes;
    a &= ~(adFldUpdatable | adFldUnknownUpdatable);
    if (readOnlyReason_.empty()) a |= adFldUpdatable;
  }
}

RecordEditor::~RecordEditor() { Discard(); }

std::optional<TableRef> RecordEditor::SingleBaseTable(std::string& problem) const {
  std::set<std::tuple<std::string, std::string, std::string>> tables;
  for (const ColumnInfo& c : columns_) {
    if (c.baseTable.empty() || c.baseColumn.empty()) {
      problem = "the statement cannot be updated: column '" + c.name +
                "' is an expression, not a column of a table; the recordset was opened read-only";
      return std::nullopt;
    }
    tables.emplace(c.baseCatalog, c.baseSchema, c.baseTable);
  }
  if (tables.size() != 1) {
    problem = "the statement cannot be updated: it reads more than one table (a join); the recordset was opened "
              "read-only";
    return std::nullopt;
  }
  return TableRef{columns_.front().baseCatalog, columns_.front().baseSchema, columns_.front().baseTable};
}

// Positions of the key's columns in the result; empty when one is missing
// (then rows are found by their values).
std::vector<int> RecordEditor::KeyOrdinals(const TableKey& key) const {
  std::vector<int> ordinals;
  for (const std::string& keyColumn : key.columns) {
    const auto it = std::find_if(columns_.begin(), columns_.end(),
                                 [&](const ColumnInfo& c) { return SameName(c.baseColumn, keyColumn); });
    if (it == columns_.end()) return {};
    ordinals.push_back(static_cast<int>(it - columns_.begin()));
  }
  return ordinals;
}

// Key columns carry adFldKeyColumn; columns the table declares NOT NULL lose
// the nullable bits (the SQLite driver reports every column nullable).
void RecordEditor::MarkFromCatalogue(const TableKey& key) {
  for (int k : KeyOrdinals(key)) columns_[static_cast<size_t>(k)].attributes |= adFldKeyColumn;
  for (ColumnInfo& c : columns_) {
    const bool notNull = std::any_of(key.notNull.begin(), key.notNull.end(),
                                     [&](const std::string& n) { return SameName(n, c.baseColumn); });
    if (notNull) c.attributes &= ~(adFldIsNullable | adFldMayBeNull);
  }
  catalogued_ = true;
}

void RecordEditor::ResolveBaseTable() {
  const std::optional<TableRef> ref = SingleBaseTable(readOnlyReason_);
  if (!ref) return;
  BaseTable t;
  t.ref = *ref;
  for (size_t i = 0; i < columns_.size(); ++i) {
    t.ordinals.push_back(static_cast<int>(i));
    t.names.push_back(columns_[i].baseColumn);
  }
  const TableKey& key = keys_->Find(*session_, t.ref);
  t.keyOrdinals = KeyOrdinals(key);
  MarkFromCatalogue(key);
  table_ = std::move(t);
}

// A read-only result consults the catalogue only when its attributes are
// first read, so that opening it costs no catalogue queries. One attempt
// per result: attributes are read once per value by the field routines, so
// a result without a single base table, or whose catalogue cannot be read
// now (the connection's transaction failed, say), keeps the driver's
// description instead of asking again.
void RecordEditor::ApplyCatalogue() {
  catalogued_ = true;
  if (InMemory()) return;
  std::string problem;
  try {
    if (const std::optional<TableRef> ref = SingleBaseTable(problem)) MarkFromCatalogue(keys_->Find(*session_, *ref));
  } catch (const com::Error&) {
  }
}

int32_t RecordEditor::EditMode() const noexcept {
  switch (mode_) {
    case Mode::Edit: return adEditInProgress;
    case Mode::Add: return adEditAdd;
    default: return adEditNone;
  }
}

void RecordEditor::RequireWritable() const {
  if (!readOnlyReason_.empty()) RaiseAdo(adErrFeatureNotAvailable, kRecordsetSource, readOnlyReason_);
}

RowWriter RecordEditor::Writer() { return RowWriter(session_, *table_, columns_, timeout_); }

void RecordEditor::ClearEditState() {
  mode_ = Mode::None;
  addSaved_ = false;
  lockTx_.reset();
  locked_.reset();
}

void RecordEditor::BeginEdit() {
  if (!cursor_.HasCurrent()) RaiseAdo(adErrNoCurrentRecord, kRecordsetSource, "editing");
  original_ = cursor_.Current();
  changed_.assign(columns_.size(), false);
  chunked_.assign(columns_.size(), false);
  if (!InMemory() && lockType_ == adLockPessimistic) {
    // The row is locked now, and must still hold the values read.
    auto tx = std::make_unique<EditTransaction>(*session_);
    locked_ = Writer().Locate(original_, *tx);
    lockTx_ = std::move(tx);
  }
  mode_ = Mode::Edit;
}

void RecordEditor::SetValue(int ordinal, const com::Variant& value) {
  RequireWritable();
  const ColumnInfo& column = columns_[static_cast<size_t>(ordinal)];
  com::Variant stored = CoerceToColumn(value, column);
  if (mode_ == Mode::None) BeginEdit();
  cursor_.Current()[static_cast<size_t>(ordinal)] = std::move(stored);
  changed_[static_cast<size_t>(ordinal)] = true;
}

void RecordEditor::AppendChunk(int ordinal, const com::Variant& chunk) {
  const ColumnInfo& column = columns_[static_cast<size_t>(ordinal)];
  if (!(column.attributes & adFldLong)) {
    RaiseAdo(adErrFeatureNotAvailable, kFieldSource, "AppendChunk needs a long field ('" + column.name + "')");
  }
  RequireWritable();
  if (mode_ == Mode::None) BeginEdit();
  const auto i = static_cast<size_t>(ordinal);
  com::Variant& slot = cursor_.Current()[i];
  // The first chunk of an edit replaces the value; the next ones add to it.
  const bool first = !chunked_[i];
  chunked_[i] = true;
  changed_[i] = true;
  if (chunk.IsNull()) {
    slot = com::Null;
    return;
  }
  if (IsBinaryType(column.type)) {
    com::ByteArray piece = chunk.IsEmpty() ? com::ByteArray() : BytesOf(chunk).Get<com::ByteArray>();
    auto* held = slot.TryGet<com::ByteArray>();
    if (first || !held) slot = std::move(piece);
    else held->insert(held->end(), piece.begin(), piece.end());
    return;
  }
  std::string piece = chunk.IsEmpty() ? std::string() : TextOf(chunk).Get<std::string>();
  auto* held = slot.TryGet<std::string>();
  if (first || !held) slot = std::move(piece);
  else *held += piece;
}

com::Variant RecordEditor::OriginalValue(int ordinal) const {
  if (mode_ != Mode::None) return original_[static_cast<size_t>(ordinal)];
  if (!cursor_.HasCurrent()) RaiseAdo(adErrNoCurrentRecord, kFieldSource, "OriginalValue");
  return cursor_.Current()[static_cast<size_t>(ordinal)];
}

void RecordEditor::AddNew() {
  RequireWritable();
  if (mode_ != Mode::None) BeforeMove();
  beforeAdd_ = cursor_.Where();
  cursor_.AppendRow(Row(columns_.size()));
  original_ = Row(columns_.size());
  changed_.assign(columns_.size(), false);
  chunked_.assign(columns_.size(), false);
  mode_ = Mode::Add;
}

void RecordEditor::WritePending(const RowImage& change, EditTransaction& tx) {
  RowWriter writer = Writer();
  if (change.status == RowStatus::Added) {
    writer.Insert(change.values, change.changed, tx);
    return;
  }
  const RowLocator where = writer.Locate(change.original, tx);
  if (change.status == RowStatus::Modified) writer.Update(where, change.values, change.changed);
  else writer.Delete(where);
}

void RecordEditor::Update() {
  if (mode_ == Mode::None) return;
  if (InMemory()) {
    // A fabricated row stays in add mode after Update, until the cursor moves.
    if (mode_ == Mode::Add) addSaved_ = true;
    else ClearEditState();
    return;
  }
  RowImage change{mode_ == Mode::Add ? RowStatus::Added : RowStatus::Modified,
                  mode_ == Mode::Add ? Row() : original_, cursor_.Current(), changed_};
  if (lockType_ == adLockBatchOptimistic) {
    pending_.push_back(std::move(change));
    ClearEditState();
    return;
  }
  try {
    if (lockTx_) {
      Writer().Update(*locked_, change.values, change.changed);
      lockTx_->Commit();
    } else {
      EditTransaction tx(*session_);
      WritePending(change, tx);
      tx.Commit();
    }
  } catch (...) {
    // The lock is given up; the changed values stay for another Update or CancelUpdate.
    lockTx_.reset();
    locked_.reset();
    throw;
  }
  ClearEditState();
}

void RecordEditor::CancelUpdate() {
  if (mode_ == Mode::None) return;
  if (mode_ == Mode::Add && !addSaved_) {
    cursor_.EraseCurrent();
    cursor_.Return(beforeAdd_);
  } else if (mode_ == Mode::Edit) {
    cursor_.Current() = original_;
  }
  ClearEditState();
}

void RecordEditor::Delete() {
  RequireWritable();
  if (mode_ == Mode::Add && !addSaved_) {
    CancelUpdate();
    return;
  }
  CancelUpdate();
  if (!cursor_.HasCurrent()) RaiseAdo(adErrNoCurrentRecord, kRecordsetSource, "Delete");
  if (!InMemory()) {
    RowImage change{RowStatus::Deleted, cursor_.Current(), {}, {}};
    if (lockType_ == adLockBatchOptimistic) {
      pending_.push_back(std::move(change));
    } else {
      EditTransaction tx(*session_);
      WritePending(change, tx);
      tx.Commit();
    }
  }
  cursor_.EraseCurrent();
}

void RecordEditor::UpdateBatch() {
  RequireWritable();
  if (mode_ != Mode::None) Update();
  if (InMemory() || pending_.empty()) return;
  // All or nothing: one conflict undoes the whole batch, which stays pending.
  EditTransaction tx(*session_);
  for (const RowImage& change : pending_) WritePending(change, tx);
  tx.Commit();
  pending_.clear();
}

void RecordEditor::BeforeMove() {
  if (mode_ == Mode::None) return;
  if (InMemory()) {
    ClearEditState();
    return;
  }
  Update();
}

void RecordEditor::RestorePendingChanges(std::vector<RowImage> changes) {
  if (InMemory() || lockType_ != adLockBatchOptimistic) {
    RaiseAdo(adErrIllegalOperation, kRecordsetSource, "pending changes belong to a batch recordset (lock type 4)");
  }
  const size_t width = columns_.size();
  for (const RowImage& c : changes) {
    const bool added = c.status == RowStatus::Added;
    const bool deleted = c.status == RowStatus::Deleted;
    const bool fits = (added ? c.original.empty() : c.original.size() == width) &&
                      (deleted ? c.values.empty() && c.changed.empty()
                               : c.values.size() == width && c.changed.size() == width);
    if (!fits) RaiseAdo(adErrInvalidArgument, kRecordsetSource, "a pending change does not match the columns");
  }
  pending_ = std::move(changes);
}

void RecordEditor::Discard() noexcept {
  if (lockTx_) lockTx_->Rollback();
  lockTx_.reset();
  locked_.reset();
  mode_ = Mode::None;
  pending_.clear();
}

}  // namespace velmora::ado::detail
