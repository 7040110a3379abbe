#pragma once
// The error an action raises, for tests that check numbers, texts and sources.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

#include "velmora/com/error.hpp"

namespace velmora::test {

// The com::Error that `action` raises. Raising nothing, or an exception of
// another type, fails the current test; the result then has number 0 and an
// empty description, so the test's own checks on it fail too.
inline com::Error RaisedError(const std::function<void()>& action) {
  try {
    action();
  } catch (const com::Error& e) {
    return e;
  } catch (const std::exception& e) {
    ADD_FAILURE() << "raised something other than com::Error: " << e.what();
    return com::Error(0, "");
  } catch (...) {
    ADD_FAILURE() << "raised something other than com::Error";
    return com::Error(0, "");
  }
  ADD_FAILURE() << "nothing was raised";
  return com::Error(0, "");
}

// The number of the com::Error that `action` raises (see RaisedError).
inline int32_t ErrorNumber(const std::function<void()>& action) {
  return RaisedError(action).Number();
}

}  // namespace velmora::test
