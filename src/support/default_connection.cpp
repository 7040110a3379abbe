#include "velmora/support/default_connection.hpp"

namespace velmora::support {
namespace {

std::shared_ptr<ado::Connection>& ThreadDefaultConnection() {
  thread_local std::shared_ptr<ado::Connection> connection;
  return connection;
}

}  // namespace

std::shared_ptr<ado::Connection> DefaultConnection() { return ThreadDefaultConnection(); }

void DefaultConnection(std::shared_ptr<ado::Connection> connection) {
  ThreadDefaultConnection() = std::move(connection);
}

std::shared_ptr<ado::Connection> EffectiveConnection(const std::shared_ptr<ado::Connection>& given) {
  const auto& fallback = ThreadDefaultConnection();
  return fallback ? fallback : given;
}

}  // namespace velmora::support
