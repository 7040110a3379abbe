// Shared main() of every test executable. A test executable can also be
// started as a child process by a multi-process test: the child's work is
// selected with --velmora-child=<name> and registered through
// velmora::test::RegisterChild (see child_process.hpp).
#include <gtest/gtest.h>

#include "support_common/child_process.hpp"

int main(int argc, char** argv) {
  if (auto rc = velmora::test::RunChildIfRequested(argc, argv)) return *rc;
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
