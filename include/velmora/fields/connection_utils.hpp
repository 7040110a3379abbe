#pragma once
// Connection utilities that never fail: the provider errors of a connection
// gathered into one message, a bookmark test, and closing connections and
// recordsets.
#include <memory>

#include "velmora/com/variant.hpp"

namespace velmora::ado {
class Connection;
class Recordset;
}  // namespace velmora::ado

namespace velmora {

// Gathers every Error of the connection's Errors collection, in order, into
// one message: per error its Description, " (SQL:" + SQLState + ")" when it
// has a SQLState, and " [#" + Number + "(SQL:" + NativeError + ") in " +
// Source + "]", with no separator between errors. The message, under the
// support object's heading line (pairs of line breaks collapsed), becomes the
// description of the thread's error record (SupportObject::SetError); the
// other items are kept. Called in a handler, it sets the pending error: the
// handler's Reraise then raises the composed description. A connection
// without errors changes nothing.
void ErrorSet(const std::shared_ptr<ado::Connection>& cnn) noexcept;

// True when the bookmark can be set on the recordset, which then stands on
// that record (the position is not restored). Clears the thread's error
// record first.
bool IsValidBookmark(const std::shared_ptr<ado::Recordset>& rs, const com::Variant& Bookmark) noexcept;

// Closes the connection, ignoring every error (a closed connection is
// accepted). The reference is kept, for reuse.
void ConnectionClose(const std::shared_ptr<ado::Connection>& cnn) noexcept;

// Closes the recordset, ignoring every error, and empties the reference.
void RecordsetClose(std::shared_ptr<ado::Recordset>& rs) noexcept;

}  // namespace velmora
