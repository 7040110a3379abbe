#pragma once
// The default connection: one per thread, shared by every AdoMacros on that
// thread, initially empty. When it is set, the unique-key counter and the
// table locks work on it instead of the connection they are given.
#include <memory>

namespace velmora::ado {
class Connection;
}

namespace velmora::support {

// This thread's default connection (empty when never set or set to Nothing).
std::shared_ptr<ado::Connection> DefaultConnection();
// Replaces this thread's default connection; an empty pointer clears it.
void DefaultConnection(std::shared_ptr<ado::Connection> connection);

// The connection an operation works on: the default connection when one is
// set, otherwise `given`.
std::shared_ptr<ado::Connection> EffectiveConnection(const std::shared_ptr<ado::Connection>& given);

}  // namespace velmora::support
