#pragma once
// Runs the `velmora` tool as a separate process and keeps what it wrote on
// stdout and stderr apart, with its exit code.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "support_common/test_env.hpp"

namespace velmora::test {

struct ToolRun {
  int exitCode = -1;
  std::string out;
  std::string err;
};

// Runs the tool with `arguments` (already quoted for the shell).
inline ToolRun RunTool(const std::string& arguments) {
  const auto errFile = TempFile(".err");
  const std::string command =
      std::string("'") + VELMORA_TOOL_PATH + "' " + arguments + " 2>'" + errFile.string() + "'";
  ToolRun run;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot start " << command;
    return run;
  }
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.out.append(buffer, n);
  const int status = pclose(pipe);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.err = FileContents(errFile);
  return run;
}

// Whether a whole line of `text` matches `linePattern`.
inline bool HasLine(const std::string& text, const std::string& linePattern) {
  return std::regex_search(text, std::regex("(^|\n)" + linePattern + "(\n|$)"));
}

}  // namespace velmora::test
