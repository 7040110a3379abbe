#pragma once
// Test helper: checks that a getter gives one object per thread.
#include <gtest/gtest.h>

#include <thread>

namespace velmora::test {

// `get()` returns the same object on every call in one thread, and another
// object in another thread.
template <class T>
void ExpectOnePerThread(T& (*get)()) {
  T* mine = &get();
  EXPECT_EQ(&get(), mine);
  T* other = nullptr;
  std::thread([&] { other = &get(); }).join();
  EXPECT_NE(other, nullptr);
  EXPECT_NE(other, mine);
}

}  // namespace velmora::test
