#include "support_common/child_process.hpp"

#include <cerrno>
#include <map>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace velmora::test {
namespace {
std::map<std::string, ChildMain>& Registry() {
  static std::map<std::string, ChildMain> registry;
  return registry;
}
constexpr const char* kChildFlag = "--velmora-child=";
}  // namespace

bool RegisterChild(const std::string& name, ChildMain main) {
  Registry()[name] = std::move(main);
  return true;
}

std::string SelfPath() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) throw std::runtime_error("cannot read /proc/self/exe");
  return std::string(buf, static_cast<size_t>(n));
}

std::optional<int> RunChildIfRequested(int argc, char** argv) {
  if (argc < 2) return std::nullopt;
  std::string first = argv[1];
  if (first.rfind(kChildFlag, 0) != 0) return std::nullopt;
  std::string name = first.substr(std::string(kChildFlag).size());
  auto it = Registry().find(name);
  if (it == Registry().end()) return 127;
  std::vector<std::string> args(argv + 2, argv + argc);
  try {
    return it->second(args);
  } catch (const std::exception&) {
    return 126;
  }
}

std::vector<pid_t> SpawnChildren(const std::string& name, const std::vector<std::string>& args, int count) {
  std::string self = SelfPath();
  std::vector<pid_t> pids;
  for (int i = 0; i < count; ++i) {
    std::vector<std::string> all{self, kChildFlag + name};
    all.insert(all.end(), args.begin(), args.end());
    all.push_back(std::to_string(i));
    std::vector<char*> cargs;
    for (auto& a : all) cargs.push_back(a.data());
    cargs.push_back(nullptr);
    pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
      execv(self.c_str(), cargs.data());
      _exit(127);
    }
    pids.push_back(pid);
  }
  return pids;
}

std::vector<int> WaitAll(const std::vector<pid_t>& pids) {
  std::vector<int> codes;
  for (pid_t pid : pids) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) codes.push_back(WEXITSTATUS(status));
    else if (WIFSIGNALED(status)) codes.push_back(128 + WTERMSIG(status));
    else codes.push_back(-1);
  }
  return codes;
}

}  // namespace velmora::test
