#pragma once
// Recordset, Fields and Field: reading the rows of a statement, a table or a
// schema rowset through a cursor.
//
// A forward-only cursor streams the result in blocks and never holds more
// than one block; the scrollable cursors (keyset, dynamic, static) keep the
// rows visited so far, so that they can move back and take bookmarks.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/ado/connection.hpp"
#include "velmora/ado/types.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado {

// AffectEnum.
inline constexpr int32_t adAffectCurrent = 1;
inline constexpr int32_t adAffectGroup = 2;
inline constexpr int32_t adAffectAll = 3;

// A column of a recordset. Field objects come from Fields: the columns of
// an open recordset, or fields appended to the Fields of a closed one.
class Field : public com::Object {
 public:
  ~Field() override;

  std::string Name() const;
  // The value of the current row; raises adErrNoCurrentRecord at BOF/EOF.
  com::Variant Value() const;
  // Sets the value of the current row (converted to the field's type); the
  // first change begins the edit (and, with pessimistic locking, locks the
  // row). Raises 3251 on a read-only recordset, saying why it is read-only.
  void Value(const com::Variant& value);
  // The value read from the database (before the edit in progress).
  com::Variant OriginalValue() const;
  // Long fields: the first call of an edit replaces the value, the next ones
  // add to it. A string goes to a binary field as its UTF-16LE bytes and
  // bytes to a text field two a character; Empty adds nothing; Null stores Null.
  void AppendChunk(const com::Variant& data);
  // The value by reference, valid until the cursor moves.
  const com::Variant& ValueRef() const;
  int32_t Type() const;
  int32_t Attributes() const;
  int32_t DefinedSize() const;
  // Length of the current value: bytes of text (UTF-8) or binary, the fixed
  // size for other types, -1 (adUnknown) for Null... as documented.
  int32_t ActualSize() const;
  uint8_t Precision() const;
  uint8_t NumericScale() const;
  // Writable for appended fields before the recordset opens.
  void Precision(uint8_t value);
  void NumericScale(uint8_t value);
  // The next `length` bytes (binary) or characters (text) of a long value,
  // continuing where the previous call on the same row stopped; Null at the end.
  com::Variant GetChunk(int32_t length);

  // How the library binds fields to columns (defined inside the library only).
  class Internal;

 private:
  Field();
  // The column the field reads and the edit it writes to.
  struct Binding;
  std::unique_ptr<Binding> binding_;
  int64_t chunkRow_ = -1;
  size_t chunkOffset_ = 0;
};
using FieldPtr = std::shared_ptr<Field>;

class Fields : public com::Object {
 public:
  int32_t Count() const noexcept { return static_cast<int32_t>(items_.size()); }
  // By name (without regard to case) or by 0-based position; raises
  // adErrItemNotFound (3265) when there is no such field.
  FieldPtr Item(const com::Variant& index) const;
  FieldPtr operator[](int32_t index) const { return Item(com::Variant(index)); }
  FieldPtr operator[](const std::string& name) const { return Item(com::Variant(name)); }
  // The 0-based position of a field, or -1.
  int32_t IndexOf(const std::string& name) const;

  std::vector<FieldPtr>::const_iterator begin() const { return items_.begin(); }
  std::vector<FieldPtr>::const_iterator end() const { return items_.end(); }

  // Adds a field definition for a fabricated recordset (only while the
  // recordset is closed). DefinedSize 0 takes the type's own size; long
  // types get adFldLong. A name already present raises 3367.
  void Append(const std::string& name, int32_t type, int32_t definedSize = 0,
              int32_t attrib = adFldUnspecified, const com::Variant& fieldValue = com::Missing);
  // How a recordset binds its fields when it opens and closes (defined
  // inside the library only).
  class Internal;

 private:
  std::vector<FieldPtr> items_;
  std::vector<std::string> foldedNames_;
  bool open_ = false;
};
using FieldsPtr = std::shared_ptr<Fields>;

class Recordset : public com::Object {
 public:
  Recordset();
  ~Recordset() override;

  // Opens a cursor on Source: SQL text (adCmdText), a table name (adCmdTable,
  // adCmdTableDirect) or either (adCmdUnknown: a lone name is a table).
  // ActiveConnection is a Connection object or a connection string. With no
  // source and no connection, fields appended to Fields make an empty
  // recordset held in memory (fabricated), editable whatever the lock type.
  void Open(const com::Variant& source = com::Missing, const com::Variant& activeConnection = com::Missing,
            int32_t cursorType = adOpenUnspecified, int32_t lockType = adLockUnspecified,
            int32_t options = adCmdUnspecified);
  void Close();
  int32_t State() const noexcept;

  bool IsEOF() const;
  bool IsBOF() const;
  void MoveFirst();
  void MoveNext();
  void MovePrevious();
  void MoveLast();
  void Move(int32_t numRecords);

  // -1 on a forward-only cursor; a scrollable cursor counts every row (and
  // reads the rest of the result to do so).
  int32_t RecordCount() const;
  // A bookmark of the current row (a Double); putting one makes its row
  // current. An invalid bookmark raises adErrInvalidArgument.
  com::Variant Bookmark() const;
  void Bookmark(const com::Variant& bookmark);
  int32_t AbsolutePosition() const;

  FieldsPtr Fields() const noexcept { return fields_; }
  // The Connection (a Variant holding Nothing when there is none).
  com::Variant ActiveConnection() const;
  void ActiveConnection(const com::Variant& connection);
  int32_t CursorType() const noexcept { return cursorType_; }
  void CursorType(int32_t value);
  int32_t LockType() const noexcept { return lockType_; }
  void LockType(int32_t value);
  // adEditNone, adEditInProgress, adEditAdd.
  int32_t EditMode() const;

  // Editing (docs/data-access.md, "Editing"). FieldList and Values, when
  // given, are a name (or position) and a value, or arrays of both.
  void AddNew(const com::Variant& fieldList = com::Missing, const com::Variant& values = com::Missing);
  void Update(const com::Variant& fields = com::Missing, const com::Variant& values = com::Missing);
  void CancelUpdate();
  void Delete(int32_t affectRecords = adAffectCurrent);
  // Batch optimistic recordsets: writes every change kept by Update, in one
  // transaction (a conflict undoes them all and they stay pending).
  void UpdateBatch(int32_t affectRecords = adAffectAll);
  // Cancels an asynchronous operation: there is none, so it does nothing.
  void Cancel() {}
  int32_t CursorLocation() const noexcept { return adUseServer; }
  std::string Source() const { return source_; }
  // Kept for compatibility: the value is checked (at least 1) and read back,
  // but blocks are sized by the library (256 rows a fetch; psqlODBC reads
  // 2000 rows a round trip), not by it.
  int32_t CacheSize() const noexcept { return cacheSize_; }
  void CacheSize(int32_t rows);

  // How the library opens recordsets on its own cursors (schema rowsets,
  // statements run by Connection.Execute); defined inside the library only.
  class Internal;

 private:
  // The cursor and the editor of an open recordset.
  struct Opened;
  // The open state; raises adErrObjectClosed naming `what` when closed.
  Opened& RequireOpen(const char* what) const;
  Opened& RequireCurrent(const char* what) const;
  Opened& RequireScrollable(const char* what) const;
  void OpenFabricated(int32_t lockType);
  // Saves an edit in progress before the cursor moves.
  void LeaveRow();
  void SetFieldValues(const com::Variant& fields, const com::Variant& values);

  std::unique_ptr<Opened> open_;  // null while closed
  FieldsPtr fields_;
  ConnectionPtr connection_;
  std::string source_;
  int32_t cursorType_ = adOpenForwardOnly;
  int32_t lockType_ = adLockReadOnly;
  int32_t cacheSize_ = 1;
};

}  // namespace velmora::ado
