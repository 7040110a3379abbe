#pragma once
// Test helper: the com::Error that a piece of code raises.
#include <gtest/gtest.h>

#include <functional>

#include "velmora/com/error.hpp"

namespace velmora::test {

// The com::Error that `body` raises; fails the current test when it raises
// nothing or an exception of another type.
inline com::Error RaisedError(const std::function<void()>& body) {
  try {
    body();
  } catch (const com::Error& e) {
    return e;
  } catch (...) {
    ADD_FAILURE() << "raised something other than com::Error";
    return com::Error(-1, "other exception");
  }
  ADD_FAILURE() << "nothing was raised";
  return com::Error(-1, "nothing raised");
}

}  // namespace velmora::test
