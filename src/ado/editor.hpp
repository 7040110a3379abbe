#pragma once
// Editing of a recordset's rows: the edit buffer is the cursor's own row
// (changed in place, with a copy of the values read kept as the original),
// and a RowWriter takes the change to the base table according to the lock
// type:
//  - 1 read-only: every write raises;
//  - 2 pessimistic: the row is locked (and checked unchanged) when the first
//    field is set, and written and committed at Update;
//  - 3 optimistic: the row is locked, checked and written at Update;
//  - 4 batch optimistic: Update keeps the change; UpdateBatch writes them all
//    in one transaction.
// A recordset without a connection (fabricated) keeps its rows in memory.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/cursor.hpp"
#include "ado/row_image.hpp"
#include "ado/row_writer.hpp"

namespace velmora::ado::detail {

class RecordEditor {
 public:
  // `session` and `keys` are null for a fabricated recordset.
  RecordEditor(Cursor& cursor, std::shared_ptr<Session> session, std::shared_ptr<TableKeyCache> keys,
               int32_t lockType, int32_t timeoutSeconds);
  ~RecordEditor();

  const std::vector<ColumnInfo>& Columns() const noexcept { return columns_; }
  int32_t EditMode() const noexcept;
  // The column's attributes, with what the table's catalogue adds (key
  // columns, NOT NULL) when the result reads one table. Read once per value
  // by the field routines: inline once the catalogue was consulted.
  int32_t Attributes(int ordinal) {
    if (!catalogued_) ApplyCatalogue();
    return columns_[static_cast<size_t>(ordinal)].attributes;
  }

  void SetValue(int ordinal, const com::Variant& value);
  void AppendChunk(int ordinal, const com::Variant& chunk);
  com::Variant OriginalValue(int ordinal) const;

  void AddNew();
  void Update();
  void CancelUpdate();
  void Delete();
  void UpdateBatch();
  // Called before the cursor moves: an edit in progress is saved first.
  void BeforeMove();
  // Drops an edit in progress and its transaction (the recordset closes).
  void Discard() noexcept;

  // The changes a batch recordset keeps for UpdateBatch, in the order made.
  const std::vector<RowImage>& PendingChanges() const noexcept { return pending_; }
  // Replaces them (a batch recordset rebuilt from a file): raises
  // adErrIllegalOperation on other lock types and adErrInvalidArgument when
  // an image does not have one value per column.
  void RestorePendingChanges(std::vector<RowImage> changes);

 private:
  enum class Mode { None, Edit, Add };
  std::optional<TableRef> SingleBaseTable(std::string& problem) const;
  std::vector<int> KeyOrdinals(const TableKey& key) const;
  void MarkFromCatalogue(const TableKey& key);
  void ApplyCatalogue();
  void ResolveBaseTable();
  void RequireWritable() const;
  void BeginEdit();
  void ClearEditState();
  void WritePending(const RowImage& change, EditTransaction& tx);
  RowWriter Writer();
  bool InMemory() const noexcept { return !session_; }

  Cursor& cursor_;
  std::shared_ptr<Session> session_;
  std::shared_ptr<TableKeyCache> keys_;
  int32_t lockType_;
  int32_t timeout_;
  std::vector<ColumnInfo> columns_;
  std::optional<BaseTable> table_;
  std::string readOnlyReason_;
  bool catalogued_ = false;  // the catalogue's attributes are applied

  Mode mode_ = Mode::None;
  bool addSaved_ = false;  // a fabricated row added and saved stays in add mode until the cursor moves
  Row original_;
  std::vector<bool> changed_;
  std::vector<bool> chunked_;
  Cursor::Mark beforeAdd_{};
  std::unique_ptr<EditTransaction> lockTx_;  // pessimistic: held from the first change to Update
  std::optional<RowLocator> locked_;
  std::vector<RowImage> pending_;
};

// The value as the column stores it (ADO converts on assignment): numbers
// to the column's type, text to bytes (UTF-16LE) for binary columns and
// back for text columns. Null and Empty stay as they are.
com::Variant CoerceToColumn(const com::Variant& value, const ColumnInfo& column);

}  // namespace velmora::ado::detail
