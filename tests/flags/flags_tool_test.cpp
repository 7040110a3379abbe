// `velmora flags`: writing flags with inferred or explicit types, and
// printing a section with its types.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "support_common/test_env.hpp"
#include "velmora/flags/ado_flags.hpp"

namespace velmora {
namespace {

struct ToolRun {
  int exitCode;
  std::string output;
};

std::string Quoted(const std::string& argument) {
  std::string quoted = "'";
  for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

ToolRun RunTool(const std::vector<std::string>& args) {
  std::string command = VELMORA_TOOL_PATH;
  command += " flags";
  for (const std::string& arg : args) command += " " + Quoted(arg);
  FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
  std::string output;
  std::array<char, 4096> chunk{};
  for (std::size_t n; (n = std::fread(chunk.data(), 1, chunk.size(), pipe)) > 0;) output.append(chunk.data(), n);
  const int status = ::pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

TEST(FlagsTool, WritesInferredTypesAndPrintsThemBack) {
  const std::string file = test::TempFile(".ini").string();
  const ToolRun write = RunTool({file, "Db", "TIMEOUT=30", "RATIO=0.5", "ON=true", "ZIP=007", "WHEN=2009-12-31 23:05:09",
                                 "NAME=Forlì", "SMALL=0002:~:7"});
  ASSERT_EQ(write.exitCode, 0);
  AdoFlags flags;
  flags.Load(file, "Db");
  EXPECT_EQ(flags.ReadProperty("TIMEOUT", com::Variant()).VarType(), com::vbLong);
  EXPECT_EQ(flags.ReadProperty("RATIO", com::Variant()).VarType(), com::vbDouble);
  EXPECT_EQ(flags.ReadProperty("ON", com::Variant()).VarType(), com::vbBoolean);
  EXPECT_EQ(flags.ReadProperty("ZIP", com::Variant()).Get<std::string>(), "007");
  EXPECT_EQ(flags.ReadProperty("WHEN", com::Variant()).VarType(), com::vbDate);
  EXPECT_EQ(flags.ReadProperty("SMALL", com::Variant()).VarType(), com::vbInteger);

  const ToolRun print = RunTool({file, "db"});
  EXPECT_EQ(print.exitCode, 0);
  EXPECT_EQ(print.output,
            "TIMEOUT\tLong\t30\nRATIO\tDouble\t0.5\nON\tBoolean\tTrue\nZIP\tString\t007\n"
            "WHEN\tDate\t2009-12-31 23:05:09\nNAME\tString\tForlì\nSMALL\tInteger\t7\n");
}

TEST(FlagsTool, ControlCharactersPrintAsEscapes) {
  const std::string file = test::TempFile(".ini").string();
  ASSERT_EQ(RunTool({file, "S", "T=2011:~:61095C"}).exitCode, 0);
  EXPECT_EQ(RunTool({file, "S"}).output, "T\tString\ta\\x09\\\\\n");
}

TEST(FlagsTool, BadUsageAndBadDataHaveTheirExitCodes) {
  const std::string file = test::TempFile(".ini").string();
  EXPECT_EQ(RunTool({file}).exitCode, 2);
  EXPECT_EQ(RunTool({file, "S", "novalue"}).exitCode, 2);
  EXPECT_EQ(RunTool({file, "S", "X=0009:~:1"}).exitCode, 1);
}

}  // namespace
}  // namespace velmora
