#pragma once
// The cursor layer under a Recordset: column metadata, row buffers and
// navigation over a source of rows.
//
// A RowSource produces rows in order (an ODBC result, or rows held in
// memory). A Cursor walks them: forward-only cursors keep one block of rows
// and reuse its buffers; scrollable cursors keep every row read so far, so
// that positions and bookmarks stay valid. Each row is a vector of Variants,
// the buffer that editing works on.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/com/variant.hpp"

namespace velmora::ado::detail {

struct ColumnInfo {
  std::string name;
  int32_t type = 0;        // DataTypeEnum
  int32_t attributes = 0;  // FieldAttributeEnum bits
  int32_t definedSize = 0;
  uint8_t precision = 255;
  uint8_t scale = 255;
  // Where the column comes from, when the driver tells (for editing).
  std::string baseCatalog, baseSchema, baseTable, baseColumn;
};

using Row = std::vector<com::Variant>;

class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual const std::vector<ColumnInfo>& Columns() const = 0;
  // Writes up to `count` rows into rows[first...] (the rows exist and are
  // reused); returns how many were written, 0 at the end of the result.
  virtual size_t Fetch(std::vector<Row>& rows, size_t first, size_t count) = 0;
  // Starts again from the first row (re-executes a statement).
  virtual void Restart() = 0;
  // Rows the source prefers to deliver per call.
  virtual size_t PreferredBlock() const { return 256; }
};

// Every remaining row of a source.
std::vector<Row> ReadAll(RowSource& source);

// Rows built by the library itself (schema rowsets, fabricated recordsets).
class MemoryRowSource : public RowSource {
 public:
  MemoryRowSource(std::vector<ColumnInfo> columns, std::vector<Row> rows)
      : columns_(std::move(columns)), rows_(std::move(rows)) {}
  const std::vector<ColumnInfo>& Columns() const override { return columns_; }
  size_t Fetch(std::vector<Row>& rows, size_t first, size_t count) override;
  void Restart() override { next_ = 0; }

 private:
  std::vector<ColumnInfo> columns_;
  std::vector<Row> rows_;
  size_t next_ = 0;
};

class Cursor {
 public:
  Cursor(std::unique_ptr<RowSource> source, bool scrollable);

  const std::vector<ColumnInfo>& Columns() const { return source_->Columns(); }
  bool Scrollable() const noexcept { return scrollable_; }
  bool IsBOF() const noexcept { return state_ == State::BeforeFirst || (state_ == State::AfterLast && empty_); }
  // True right after the current row was erased, until the cursor moves.
  bool OnErasedRow() const noexcept { return state_ == State::Erased; }
  bool IsEOF() const noexcept { return state_ == State::AfterLast; }
  bool HasCurrent() const noexcept { return state_ == State::OnRow; }
  // Absolute 0-based index of the current row (valid when HasCurrent()).
  int64_t Position() const noexcept { return position_; }
  const Row& Current() const { return rows_[static_cast<size_t>(position_ - base_)]; }
  Row& Current() { return rows_[static_cast<size_t>(position_ - base_)]; }

  void MoveFirst();
  void MoveNext();
  void MovePrevious();  // scrollable only
  void MoveLast();
  // Makes row `index` current; false (position unchanged) when there is no such row.
  bool MoveTo(int64_t index);
  // Adds a row after the rows read so far and makes it current.
  void AppendRow(Row row);
  // Removes the current row; no row is current until the cursor moves
  // (MoveNext then goes to the row that followed it).
  void EraseCurrent();
  // Where the cursor stands, to come back after an added row is dropped.
  struct Mark {
    int state;
    int64_t position;
  };
  Mark Where() const noexcept { return {static_cast<int>(state_), position_}; }
  void Return(Mark mark);
  // Every row of the result (reads the rest on a scrollable cursor).
  int64_t CountAll();
  // Rows kept in memory (for tests of the streaming promise).
  size_t RowsHeld() const noexcept { return rows_.size(); }

 private:
  enum class State { BeforeFirst, OnRow, AfterLast, Erased };
  // Reads the next block; false at the end of the result.
  bool FetchMore();
  // True when row `index` is (or could be made) available.
  bool EnsureRow(int64_t index);

  std::unique_ptr<RowSource> source_;
  bool scrollable_;
  std::vector<Row> rows_;
  std::vector<Row> spare_;  // forward-only: the block being read
  int64_t base_ = 0;     // absolute index of rows_[0]
  size_t filled_ = 0;    // rows of rows_ holding data
  bool exhausted_ = false;
  bool empty_ = false;   // the result has no rows at all
  size_t block_ = 256;
  State state_ = State::BeforeFirst;
  int64_t position_ = -1;
};

}  // namespace velmora::ado::detail
