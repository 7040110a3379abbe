#pragma once
// What the library's own objects reach through a Connection: its session
// and what is cached for it.
#include <memory>

#include "ado/odbc/session.hpp"
#include "ado/table_key.hpp"
#include "velmora/ado/connection.hpp"

namespace velmora::ado {

struct Connection::Link {
  std::shared_ptr<detail::Session> session;
  std::shared_ptr<detail::TableKeyCache> keys = std::make_shared<detail::TableKeyCache>();
};

class Connection::Internal {
 public:
  // The open session; raises adErrObjectClosed naming `what` when closed.
  static std::shared_ptr<detail::Session> SessionOf(const Connection& connection, const char* what) {
    return connection.RequireLink(what).session;
  }
  static std::shared_ptr<detail::TableKeyCache> KeysOf(const Connection& connection, const char* what) {
    return connection.RequireLink(what).keys;
  }
};

}  // namespace velmora::ado
