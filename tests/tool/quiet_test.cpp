// Commands with --quiet: results are written, and nothing is said.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;

TEST(QuietTest, ARunWritesItsResultAndSaysNothing) {
  const TemporaryFolder folder;
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--quiet", "--in",
                                     "image=ones:4x4", "--out", "result=" + (folder / "result.npy")});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(std::filesystem::exists(folder / "result.npy"));
}

TEST(QuietTest, ErrorsAreSaid) {
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.invert.krn"), "--quiet", "--in", "image=none.npy"});
  EXPECT_NE(result.exitStatus, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, HasSubstr("none.npy"));
}

TEST(QuietTest, ACheckWithoutFindingsSaysNothing) {
  const ToolResult result = RunTool({"check", "--quiet", "--target", "GLSL", GetTestKernel("net.example.invert.krn")});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output + result.errors, "");
}

TEST(QuietTest, AQuietReportIsNoReport) {
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--quiet", "--json"});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_THAT(result.errors, HasSubstr("--quiet"));
}

}  // namespace
}  // namespace ostra
