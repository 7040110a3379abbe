#pragma once
// The error an action raises, for tests that check numbers, texts and sources.
// An exception of another type is not caught: the test fails with it.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>

#include "velmora/com/error.hpp"

namespace velmora::test {

// The com::Error that `action` raises, or nothing when it raises none.
inline std::optional<com::Error> ErrorRaisedBy(const std::function<void()>& action) {
  try {
    action();
  } catch (const com::Error& e) {
    return e;
  }
  return std::nullopt;
}

// The com::Error that `action` raises. Raising nothing fails the current
// test; the result then has number 0 and an empty description.
inline com::Error RaisedError(const std::function<void()>& action) {
  std::optional<com::Error> raised = ErrorRaisedBy(action);
  if (!raised) {
    ADD_FAILURE() << "nothing was raised";
    return com::Error(0, "");
  }
  return *raised;
}

// The number of the com::Error that `action` raises, 0 when it raises none
// (for tests that compare with a model where success is 0).
inline int32_t ErrorNumber(const std::function<void()>& action) {
  const std::optional<com::Error> raised = ErrorRaisedBy(action);
  return raised ? raised->Number() : 0;
}

}  // namespace velmora::test
