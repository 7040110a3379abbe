#include "velmora/fields/connection_utils.hpp"

#include <string>

#include "velmora/ado/recordset.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

namespace {

void AppendError(std::string& message, const ado::Error& e) {
  message += e.Description();
  if (!e.SQLState().empty()) message += " (SQL:" + e.SQLState() + ")";
  message += " [#" + std::to_string(e.Number()) + "(SQL:" + std::to_string(e.NativeError()) + ") in " +
             e.Source() + "]";
}

// Every "\r\n\r\n" replaced by "\r\n", in one pass from the start.
std::string CollapseDoubledLineBreaks(const std::string& text) {
  static constexpr std::string_view kDoubled = "\r\n\r\n";
  std::string out;
  out.reserve(text.size());
  std::size_t from = 0;
  for (std::size_t at = text.find(kDoubled); at != std::string::npos; at = text.find(kDoubled, from)) {
    out.append(text, from, at - from).append("\r\n");
    from = at + kDoubled.size();
  }
  return out.append(text, from);
}

}  // namespace

void ErrorSet(const std::shared_ptr<ado::Connection>& cnn) noexcept {
  try {
    if (!cnn) return;
    std::string message;
    for (const ado::ErrorPtr& e : *cnn->Errors()) {
      if (e) AppendError(message, *e);
    }
    if (message.empty()) return;
    Support().SetError(com::Missing, com::Missing,
                       CollapseDoubledLineBreaks(Support().ErrorHeading() + "\r\n" + message));
  } catch (...) {
    // Never raises: a failure while gathering leaves the error record as it was.
  }
}

bool IsValidBookmark(const std::shared_ptr<ado::Recordset>& rs, const com::Variant& Bookmark) noexcept {
  Support().ClearErrorRecord();
  if (!rs) return false;
  try {
    rs->Bookmark(Bookmark);
    return true;
  } catch (...) {
    return false;
  }
}

void ConnectionClose(const std::shared_ptr<ado::Connection>& cnn) noexcept {
  if (!cnn) return;
  try {
    cnn->Close();
  } catch (...) {
    // Closing an already closed connection is accepted.
  }
}

void RecordsetClose(std::shared_ptr<ado::Recordset>& rs) noexcept {
  if (!rs) return;
  try {
    rs->Close();
  } catch (...) {
    // Closing an already closed recordset is accepted.
  }
  rs.reset();
}

}  // namespace velmora
