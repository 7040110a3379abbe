#pragma once
// The library's side of Field, Fields and Recordset: how fields are bound
// to the columns of a cursor, and how a recordset is opened on a cursor the
// library built.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/cursor.hpp"
#include "ado/editor.hpp"
#include "velmora/ado/recordset.hpp"

namespace velmora::ado {

struct Field::Binding {
  const detail::Cursor* cursor = nullptr;
  detail::RecordEditor* editor = nullptr;
  std::optional<detail::ColumnInfo> definition;  // an appended field
  int32_t ordinal = 0;

  // The column's definition: the editor's (which knows the table's
  // catalogue), the appended one, or the cursor's.
  const detail::ColumnInfo& Info() const;
  // Raise adErrObjectNotSet when the field is not bound to an open recordset.
  const detail::Cursor& Cursor() const;
  detail::RecordEditor& Editor() const;
};

class Field::Internal {
 public:
  static FieldPtr Bound(const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t ordinal);
  static FieldPtr Appended(const detail::ColumnInfo& definition);
  // Binds the field to an open recordset's column, or detaches it (later
  // access raises).
  static void Attach(Field& field, const detail::Cursor* cursor, detail::RecordEditor* editor,
                     int32_t ordinal) noexcept;
  static void Detach(Field& field) noexcept;
};

class Fields::Internal {
 public:
  // The fields become the columns of an open recordset. keepAppended: the
  // columns are the appended fields (a fabricated recordset), whose objects
  // stay.
  static void Bind(Fields& fields, const detail::Cursor* cursor, detail::RecordEditor* editor, int32_t count,
                   bool keepAppended);
  static void Unbind(Fields& fields) noexcept;
  // The definitions appended so far.
  static std::vector<detail::ColumnInfo> Definitions(const Fields& fields);
};

struct Recordset::Opened {
  std::unique_ptr<detail::Cursor> cursor;
  std::unique_ptr<detail::RecordEditor> editor;
};

class Recordset::Internal {
 public:
  static void OpenOn(Recordset& recordset, std::unique_ptr<detail::Cursor> cursor, ConnectionPtr connection,
                     std::string source, int32_t cursorType, int32_t lockType);
  // The cursor under the recordset (raises adErrObjectClosed when closed).
  static detail::Cursor& CursorOf(const Recordset& recordset);
  // The changes a batch recordset keeps for UpdateBatch, and their
  // replacement (a recordset rebuilt from a file).
  static const std::vector<detail::RowImage>& PendingChanges(const Recordset& recordset);
  static void RestorePendingChanges(Recordset& recordset, std::vector<detail::RowImage> changes);
};

}  // namespace velmora::ado
