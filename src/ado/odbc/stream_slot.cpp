#include "ado/odbc/stream_slot.hpp"

#include <cstring>

#include "ado/connection_string.hpp"
#include "ado/dialect/tokenizer.hpp"
#include "velmora/com/error.hpp"

namespace velmora::ado::odbc {

bool StreamSlot::Claim(StreamedRows* rows) noexcept {
  if (holder_ != nullptr || blocked_) return false;
  holder_ = rows;
  return true;
}

void StreamSlot::Release(const StreamedRows* rows) noexcept {
  if (holder_ == rows) holder_ = nullptr;
}

void StreamSlot::Settle() {
  // The holder releases the slot while it settles.
  if (holder_ != nullptr) holder_->Settle();
}

void StreamSlot::Block(bool blocked) {
  if (blocked) Settle();
  blocked_ = blocked;
}

bool StepModeOn(std::string_view outConnectionString) {
  std::string value;
  try {
    value = detail::FindValue(detail::ParseConnectionString(outConnectionString), "StepAPI");
  } catch (const com::Error&) {
    return false;  // not a string we can read: assume the driver's default (off)
  }
  return !value.empty() && std::strchr("123456789yYtT", value.front()) != nullptr;
}

bool IsPlainQuery(std::string_view sql) {
  using dialect::TokenKind;
  bool started = false;
  bool ended = false;  // after a ';'
  for (const dialect::Token& t : dialect::Tokenize(sql)) {
    if (t.kind == TokenKind::Space || t.kind == TokenKind::Comment) continue;
    if (ended) return false;  // a second statement
    if (!started) {
      if (!dialect::IsKeyword(t, "SELECT") && !dialect::IsKeyword(t, "VALUES") &&
          !dialect::IsKeyword(t, "WITH")) {
        return false;
      }
      started = true;
    } else if (dialect::IsKeyword(t, "RETURNING")) {
      return false;
    } else if (t.kind == TokenKind::Punct && t.text == ";") {
      ended = true;
    }
  }
  return started;
}

}  // namespace velmora::ado::odbc
