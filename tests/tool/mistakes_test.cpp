// One mistake, one text: what `ostra run` says on the CPU and on the GPU, and what `ostra check` says for all targets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/kernel_mistakes.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class MistakesTest : public testing::Test {
 protected:
  ToolResult Run(const std::string& backend) {
    return RunTool({"run", GetFile(), "--in", "target=zeros:4", "--set", "factor=1", "--backend", backend});
  }
  std::string GetFile() const { return _folder / "k.krn"; }

  TemporaryFolder _folder;
};

class MistakeTest : public MistakesTest, public testing::WithParamInterface<KernelMistake> {};

TEST_P(MistakeTest, IsToldInTheSameWordsEverywhere) {
  _folder.Write("k.krn", MakeMistakenKernel(GetParam()));
  const std::string end = "ostra: the kernel does not compile\n";
  std::string message = Run("cpu").errors;
  ASSERT_THAT(message, StartsWith(MakeMistakeMessage(GetParam(), GetFile()) + "\n"));
  ASSERT_THAT(message, EndsWith(end));
  EXPECT_EQ(Run("gpu").errors, message);
  message.resize(message.size() - end.size());
  const std::string checked = message + "ostra: the check found 1 error\n";
  EXPECT_EQ(RunTool({"check", GetFile()}).errors, checked);
  EXPECT_EQ(RunTool({"check", GetFile(), "--target", "GLSL"}).errors, checked);
}

TEST_F(MistakesTest, LinesOfEncodedKernelsAreNotShown) {
  const KernelMistake& mistake = kKernelMistakes[0];
  _folder.Write("plain.krn", MakeMistakenKernel(mistake));
  ASSERT_EQ(RunTool({"encode", _folder / "plain.krn", "-o", GetFile()}).exitStatus, 0);
  std::string message = MakeMistakeMessage(mistake, GetFile());
  message.resize(message.find('\n') + 1);
  EXPECT_EQ(Run("cpu").errors, "ostra: " + message);
  EXPECT_EQ(Run("gpu").errors, "ostra: " + message);
  EXPECT_EQ(RunTool({"check", GetFile()}).errors, message + "ostra: the check found 1 error\n");
}

TEST_F(MistakesTest, WhatTheCpuAloneRefusesIsMarked) {
  const KernelMistake mistake = {"", "\tCPU_SCOPE_START\n\tint a = missing;\n\tCPU_SCOPE_END\n", 11, 10, "?"};
  _folder.Write("k.krn", MakeMistakenKernel(mistake));
  const ToolResult both = RunTool({"check", GetFile(), "--target", "GLSL", "--target", "CPU"});
  EXPECT_THAT(both.errors, HasSubstr(" [CPU]\n")) << both.errors;
  EXPECT_EQ(RunTool({"check", GetFile(), "--target", "GLSL"}).exitStatus, 0);
}

INSTANTIATE_TEST_SUITE_P(Kernels, MistakeTest, testing::ValuesIn(kKernelMistakes),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace ostra::test
