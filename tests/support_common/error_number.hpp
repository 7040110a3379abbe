#pragma once
// The number of the com::Error an action raises (0 when it raises none).
#include <functional>

#include "velmora/com/error.hpp"

namespace velmora::test {

inline int32_t ErrorNumber(const std::function<void()>& action) {
  try {
    action();
  } catch (const com::Error& e) {
    return e.Number();
  }
  return 0;
}

}  // namespace velmora::test
