#pragma once
// Results that the connection's transactions could cut short.
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
//
// psqlODBC reads a query through a server cursor. One declared outside a
// transaction outlives commits; one declared inside a transaction ends with
// it (further fetches fail with a function sequence error), so every result
// opened inside a transaction reads its remaining rows before it ends.
#include <string_view>
#include <vector>

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
  enum class Policy {
    OneOutsideTransactions,  // the SQLite driver's step mode
    AllInsideTransactions,   // server cursors declared inside a transaction
  };
  explicit StreamSlot(Policy policy = Policy::OneOutsideTransactions) noexcept : policy_(policy) {}

  // Takes a place for `rows`; false when the policy gives none now (the
  // driver then holds the result whole, or its cursor outlives transactions).
  bool Claim(StreamedRows* rows);
  void Release(const StreamedRows* rows) noexcept;
  // Makes every holder read the rest of its rows.
  void Settle();
  // Called before a transaction begins and before it ends: settles the
  // results the boundary would cut short.
  void TransactionBegins();
  void TransactionEnds();

 private:
  Policy policy_;
  std::vector<StreamedRows*> holders_;
  bool inTransaction_ = false;
};

}  // namespace velmora::ado::odbc
