#include "ado/cursor.hpp"

#include <algorithm>

namespace velmora::ado::detail {

size_t MemoryRowSource::Fetch(std::vector<Row>& rows, size_t first, size_t count) {
  const size_t n = std::min(count, rows_.size() - next_);
  for (size_t i = 0; i < n; ++i) rows[first + i] = rows_[next_ + i];
  next_ += n;
  return n;
}

std::vector<Row> ReadAll(RowSource& source) {
  std::vector<Row> rows;
  for (;;) {
    const size_t first = rows.size();
    rows.resize(first + 64);
    const size_t n = source.Fetch(rows, first, 64);
    rows.resize(first + n);
    if (n == 0) return rows;
  }
}

Cursor::Cursor(std::unique_ptr<RowSource> source, bool scrollable)
    : source_(std::move(source)), scrollable_(scrollable), block_(source_->PreferredBlock()) {
  MoveFirst();
  empty_ = state_ == State::AfterLast;
}

bool Cursor::FetchMore() {
  if (exhausted_) return false;
  if (scrollable_) {
    rows_.resize(filled_ + block_);
    const size_t n = source_->Fetch(rows_, filled_, block_);
    filled_ += n;
    rows_.resize(filled_);
    exhausted_ = n == 0;
    return n > 0;
  }
  // Forward-only: the next block replaces the current one, which is kept
  // when the result has ended (so that the last row stays readable).
  spare_.resize(block_);
  const size_t n = source_->Fetch(spare_, 0, block_);
  if (n == 0) {
    exhausted_ = true;
    return false;
  }
  std::swap(rows_, spare_);
  base_ += static_cast<int64_t>(filled_);
  filled_ = n;
  return true;
}

bool Cursor::EnsureRow(int64_t index) {
  if (index < base_) return false;
  while (index >= base_ + static_cast<int64_t>(filled_)) {
    if (!FetchMore()) return false;
  }
  return true;
}

void Cursor::MoveFirst() {
  if (base_ != 0) {
    source_->Restart();
    rows_.clear();
    base_ = 0;
    filled_ = 0;
    exhausted_ = false;
  }
  if (EnsureRow(0)) {
    state_ = State::OnRow;
    position_ = 0;
  } else {
    state_ = State::AfterLast;
    position_ = 0;
  }
}

void Cursor::MoveNext() {
  int64_t next = state_ == State::BeforeFirst ? 0 : position_ + 1;
  if (state_ == State::Erased) next = position_;
  if (EnsureRow(next)) {
    state_ = State::OnRow;
    position_ = next;
  } else {
    state_ = State::AfterLast;
    position_ = base_ + static_cast<int64_t>(filled_);
  }
}

void Cursor::MovePrevious() {
  if (state_ == State::AfterLast) {
    while (FetchMore()) {
    }
    position_ = base_ + static_cast<int64_t>(filled_);
  }
  if (state_ == State::Erased) state_ = State::OnRow;  // the row before the erased one
  if (state_ == State::BeforeFirst || position_ <= 0) {
    state_ = State::BeforeFirst;
    position_ = -1;
    return;
  }
  state_ = State::OnRow;
  --position_;
}

void Cursor::MoveLast() {
  while (FetchMore()) {
  }
  if (filled_ == 0) {
    state_ = State::AfterLast;
    position_ = base_;
    return;
  }
  state_ = State::OnRow;
  position_ = base_ + static_cast<int64_t>(filled_) - 1;
}

bool Cursor::MoveTo(int64_t index) {
  if (index < 0 || !EnsureRow(index)) return false;
  state_ = State::OnRow;
  position_ = index;
  return true;
}

void Cursor::AppendRow(Row row) {
  const size_t at = filled_;
  if (rows_.size() > at) rows_[at] = std::move(row);
  else rows_.push_back(std::move(row));
  ++filled_;
  empty_ = false;
  state_ = State::OnRow;
  position_ = base_ + static_cast<int64_t>(at);
}

void Cursor::EraseCurrent() {
  rows_.erase(rows_.begin() + (position_ - base_));
  --filled_;
  state_ = State::Erased;
  if (filled_ == 0 && base_ == 0 && exhausted_) empty_ = true;
}

void Cursor::Return(Mark mark) {
  state_ = static_cast<State>(mark.state);
  position_ = mark.position;
  if (state_ == State::AfterLast) position_ = base_ + static_cast<int64_t>(filled_);
  if (state_ == State::OnRow && position_ >= base_ + static_cast<int64_t>(filled_)) {
    state_ = State::AfterLast;
    position_ = base_ + static_cast<int64_t>(filled_);
  }
}

int64_t Cursor::CountAll() {
  while (FetchMore()) {
  }
  return base_ + static_cast<int64_t>(filled_);
}

}  // namespace velmora::ado::detail
