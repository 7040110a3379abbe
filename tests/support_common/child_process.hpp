#pragma once
// Multi-process test support: a test re-runs its own executable as children
// (the design of counters and locks is multi-workstation, so concurrency is
// tested across processes, not only threads).
//
//   VELMORA_TEST_CHILD(name) { ... return exit code; }   // in a test file
//   auto pids = velmora::test::SpawnChildren("name", {"arg1", ...}, 8);
//   auto codes = velmora::test::WaitAll(pids);
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmora::test {

using ChildMain = std::function<int(const std::vector<std::string>& args)>;

bool RegisterChild(const std::string& name, ChildMain main);
std::optional<int> RunChildIfRequested(int argc, char** argv);

// Starts `count` children running child `name` with `args`; the child's
// index (0-based) is appended as the last argument.
std::vector<pid_t> SpawnChildren(const std::string& name, const std::vector<std::string>& args, int count);
// Waits for every child; returns their exit codes (128+signal when killed).
std::vector<int> WaitAll(const std::vector<pid_t>& pids);
// Path of the running test executable.
std::string SelfPath();

}  // namespace velmora::test

#define VELMORA_TEST_CHILD_CAT2(a, b) a##b
#define VELMORA_TEST_CHILD_CAT(a, b) VELMORA_TEST_CHILD_CAT2(a, b)
#define VELMORA_TEST_CHILD(name)                                                                       \
  static int VELMORA_TEST_CHILD_CAT(velmora_child_, name)(const std::vector<std::string>& args);      \
  [[maybe_unused]] static const bool VELMORA_TEST_CHILD_CAT(velmora_child_reg_, name) =                \
      ::velmora::test::RegisterChild(#name, VELMORA_TEST_CHILD_CAT(velmora_child_, name));             \
  static int VELMORA_TEST_CHILD_CAT(velmora_child_, name)([[maybe_unused]] const std::vector<std::string>& args)
