// Uniform values of types that only the front end of the language knows on GPUs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

class RunUniformsTest : public testing::TestWithParam<std::string> {
 protected:
  ToolResult Run(const std::vector<std::string>& settings) {
    std::vector<std::string> arguments = {"run",       GetTestKernel("extended/net.example.uniforms.krn"),
                                          "--backend", GetParam(),
                                          "--in",      "target=zeros:3",
                                          "--out",     "target=" + _folder / "target.csv",
                                          "--size",    "3"};
    for (const std::string& setting : settings) arguments.insert(arguments.end(), {"--set", setting});
    return RunTool(arguments);
  }

  TemporaryFolder _folder;
};

TEST_P(RunUniformsTest, AreReadAsGiven) {
  for (const std::string sign : {"0", "1"}) {
    const ToolResult result =
        Run({"count=3", "a=1,-2", "b=9,10,20", "c=0,0,100,200", "d=1,2", "e=2,9,3", "f=1,9,9,2", "pair=0,7",
             "triple=1,0,0", "flags=1,-2,0,1", "isNegative=" + sign, "part=0.5", "parts=0,4,0,3"});
    if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
      GTEST_SKIP() << "There is no GPU device on this machine.";
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    // 111 * 1000 + 218, 2 * 10000000 + 12 * 100000, 5, and 7 + 20 + 100 millions.
    const std::string odd = sign == "1" ? "-148311223" : "148311223";
    EXPECT_EQ(_folder.Read("target.csv"), "148311223\n" + odd + "\n148311223\n");
  }
}

TEST_P(RunUniformsTest, NeedAllTheirComponents) {
  const ToolResult result = Run({"count=3", "a=1,2,3"});
  if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  EXPECT_NE(result.exitStatus, 0);
  EXPECT_NE(result.errors.find("\"1,2,3\" has 3 numbers"), std::string::npos) << result.errors;
}

INSTANTIATE_TEST_SUITE_P(Backends, RunUniformsTest, testing::Values("cpu", "gpu"),
                         [](const auto& parameter) { return parameter.param; });

TEST(CheckUniformsTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("extended/net.example.uniforms.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors << result.output;
}

}  // namespace
}  // namespace ostra
