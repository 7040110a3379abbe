#include "ado/odbc/stream_slot.hpp"

#include <vector>

namespace velmora::ado::odbc {

bool StreamSlot::Claim(StreamedRows* rows) {
  const bool allowed = policy_ == Policy::OneOutsideTransactions ? !inTransaction_ && holders_.empty()
                                                                  : inTransaction_;
  if (allowed) holders_.push_back(rows);
  return allowed;
}

void StreamSlot::Release(const StreamedRows* rows) noexcept {
  std::erase(holders_, rows);
}

void StreamSlot::Settle() {
  // Each holder releases its place while it settles.
  while (!holders_.empty()) holders_.back()->Settle();
}

void StreamSlot::TransactionBegins() {
  if (policy_ == Policy::OneOutsideTransactions) Settle();
  inTransaction_ = true;
}

void StreamSlot::TransactionEnds() {
  if (policy_ == Policy::AllInsideTransactions) Settle();
  inTransaction_ = false;
}

}  // namespace velmora::ado::odbc
