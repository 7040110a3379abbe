#pragma once
// Reading SQLite results row by row instead of whole.
//
// The SQLite driver holds the whole result of a statement in its own memory
// unless its step mode (StepAPI) is on. In step mode it still holds the
// result whole when the statement is not a plain query, when a transaction
// of the connection is open (manual commit), when the cursor is not
// forward-only, or when another statement of the connection is being
// stepped: only one result per connection streams. Such a stream sees the
// connection's own later writes, and a transaction started under it ends it
// early without an error, so the one result that streams (the holder of the
// connection's StreamSlot) reads its remaining rows before either happens.
#include <string_view>

namespace velmora::ado::odbc {

class StreamedRows {
 public:
  // Reads every remaining row into memory and closes the driver's cursor.
  virtual void Settle() = 0;

 protected:
  ~StreamedRows() = default;
};

class StreamSlot {
 public:
  // Takes the slot for `rows`; false when another result holds it or a
  // transaction is open (the driver then holds the result whole).
  bool Claim(StreamedRows* rows) noexcept;
  void Release(const StreamedRows* rows) noexcept;
  // Makes the holder, if any, read the rest of its rows.
  void Settle();
  // While a transaction is open nothing streams; opening one settles.
  void Block(bool blocked);

 private:
  StreamedRows* holder_ = nullptr;
  bool blocked_ = false;
};

// True when the driver's out-connection-string has step mode on (the driver
// reads a boolean option as true when it starts with 1-9, y or t).
bool StepModeOn(std::string_view outConnectionString);

// True for a single statement that only reads: it starts with SELECT, VALUES
// or WITH and has no RETURNING clause. Anything else may write.
bool IsPlainQuery(std::string_view sql);

}  // namespace velmora::ado::odbc
