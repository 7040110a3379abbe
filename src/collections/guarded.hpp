#pragma once
// Runs the body of a library procedure under the error convention: any
// error escaping it is raised again with the procedure's full name as
// Source ("Velmora.<module>.<procedure>").
#include <string_view>

#include "velmora/support/reraise.hpp"

namespace velmora::collections {

template <class Body>
decltype(auto) Guarded(std::string_view module, std::string_view procedure, Body&& body) {
  try {
    return body();
  } catch (...) {
    Reraise(ErrorSource(module, procedure));
  }
}

}  // namespace velmora::collections
