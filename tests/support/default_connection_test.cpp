#include "velmora/support/default_connection.hpp"

#include <gtest/gtest.h>

#include <thread>

#include "velmora/ado/connection.hpp"

namespace velmora::support {
namespace {

TEST(DefaultConnection, StartsEmptyAndKeepsWhatIsSet) {
  EXPECT_EQ(DefaultConnection(), nullptr);
  auto connection = std::make_shared<ado::Connection>();
  DefaultConnection(connection);
  EXPECT_EQ(DefaultConnection(), connection);
  DefaultConnection(nullptr);
  EXPECT_EQ(DefaultConnection(), nullptr);
}

TEST(DefaultConnection, TakesPrecedenceOverTheGivenConnectionWhenSet) {
  auto a = std::make_shared<ado::Connection>();
  auto b = std::make_shared<ado::Connection>();
  EXPECT_EQ(EffectiveConnection(b), b);
  DefaultConnection(a);
  EXPECT_EQ(EffectiveConnection(b), a);
  EXPECT_EQ(EffectiveConnection(nullptr), a);
  DefaultConnection(nullptr);
  EXPECT_EQ(EffectiveConnection(b), b);
}

TEST(DefaultConnection, IsPerThread) {
  auto connection = std::make_shared<ado::Connection>();
  DefaultConnection(connection);
  std::shared_ptr<ado::Connection> seenByOther = connection;
  std::thread([&] { seenByOther = DefaultConnection(); }).join();
  EXPECT_EQ(seenByOther, nullptr);
  EXPECT_EQ(DefaultConnection(), connection);
  DefaultConnection(nullptr);
}

}  // namespace
}  // namespace velmora::support
