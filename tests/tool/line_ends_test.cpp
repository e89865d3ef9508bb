// Kernel files with CRLF, with a byte order mark and without a last line end work everywhere.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/process/command.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;

constexpr std::string_view kKernel =
    "#include \"k.h\"\n\nGROUPSIZE(64, 1, 1)\n\n#define KERNELINPUTS \\\n(Float32) factor, \\\n(Block<Float32>) "
    "target\n\n"
    "inline Float32 Half(Float32 x)\n{\n\treturn x * HALF;\n}\n\nOSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n"
    "\tCPU_SCOPE_START\n\t// nothing\n\tCPU_SCOPE_END\n"
    "\tUNIFORM_BUFFER(target)[InGlobalInvocationID.x] = Half(UNIFORM(factor)) + Inner(1.0);\n}\n"
    "OSTRA_PARALLEL_KERNEL_END";
constexpr std::string_view kHeader =
    "#ifndef K_H__\n#define K_H__\n// INCLUDE_STRUCTS_BEGIN\n#include \"inner.h\"\n// INCLUDE_STRUCTS_END\n"
    "#define HALF 0.5\n#endif";
constexpr std::string_view kInner =
    "#ifndef INNER_H__\n#define INNER_H__\ninline Float32 Inner(Float32 x)\n{\n\treturn x + 1.0;\n}\n#endif";

struct Form {
  const char* name;
  std::string_view begin, lineEnd, end;
};
constexpr Form kForms[] = {{"Plain", "", "\n", ""},
                           {"Crlf", "", "\r\n", "\r\n"},
                           {"CrlfWithoutLastLineEnd", "", "\r\n", ""},
                           {"ByteOrderMark", "\xEF\xBB\xBF", "\n", "\n"},
                           {"ByteOrderMarkAndCrlf", "\xEF\xBB\xBF", "\r\n", "\r\n"}};

class FileFormTest : public testing::TestWithParam<Form> {
 protected:
  void SetUp() override {
    Write("k.krn", kKernel);
    Write("k.h", kHeader);
    Write("inner.h", kInner);
  }
  void Write(const char* name, std::string_view text) const {
    std::string converted(GetParam().begin);
    for (const char c : text) converted += c == '\n' ? GetParam().lineEnd : std::string_view(&c, 1);
    _folder.Write(name, converted + std::string(GetParam().end));
  }
  ToolResult Run(const char* backend) const {
    return RunTool({"run", _folder / "k.krn", "--set", "factor=4", "--in", "target=zeros:3", "--out",
                    "target=" + _folder / "out.csv", "--backend", backend});
  }

  const TemporaryFolder _folder;
};

TEST_P(FileFormTest, RunsOnTheCpu) {
  const ToolResult result = Run("cpu");
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(_folder.Read("out.csv"), "4\n4\n4\n");
}

TEST_P(FileFormTest, RunsOnTheGpu) {
  const ToolResult result = Run("gpu");
  if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(_folder.Read("out.csv"), "4\n4\n4\n");
}

TEST_P(FileFormTest, PassesTheCheckWithoutAWord) {
  const ToolResult result = RunTool({"check", _folder / "k.krn"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
}

TEST_P(FileFormTest, IsTranslatedWithoutCarriageReturns) {
  const ToolResult result = RunTool({"translate", _folder / "k.krn", "--target", "GLSL"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.output.find('\r'), std::string::npos);
  EXPECT_THAT(result.output, HasSubstr("Inner"));
}

TEST_P(FileFormTest, BecomesCppWithoutCarriageReturnsAndMarks) {
  const auto made = RunCommand({OSTRA_TEST_KERNELC, "--id", "k.krn", _folder / "k.krn", _folder / "k.cpp"});
  ASSERT_TRUE(made);
  ASSERT_EQ(made->exitStatus, 0) << made->output;
  const std::string source = _folder.Read("k.cpp");
  EXPECT_THAT(source, HasSubstr("#define HALF 0.5"));
  EXPECT_EQ(source.find('\r'), std::string::npos);
  EXPECT_EQ(source.find("\xEF\xBB\xBF"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Forms, FileFormTest, testing::ValuesIn(kForms),
                         [](const auto& form) { return form.param.name; });

}  // namespace
}  // namespace ostra
