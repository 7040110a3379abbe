#include "velmora/support/support_object.hpp"

namespace velmora {

SupportObject& Support() {
  // One per thread, created on first use and kept for the thread's lifetime.
  thread_local SupportObject support;
  return support;
}

}  // namespace velmora
