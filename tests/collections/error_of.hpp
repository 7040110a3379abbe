#pragma once
#include "velmora/com/error.hpp"

namespace velmora::testing {

// Runs `body` and returns the error it raised (number 0 when none).
template <class Body>
com::Error ErrorOf(Body body) {
  try {
    body();
  } catch (const com::Error& e) {
    return e;
  }
  return com::Error(0, "none");
}

}  // namespace velmora::testing
