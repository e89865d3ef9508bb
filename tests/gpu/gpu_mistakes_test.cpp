// What the GPU program says about kernels with mistakes: what the CPU's way says, word for word.

#include "ostra/core/silent_diagnostics.h"
#include "ostra/drawport/settings.h"
#include "parallelprogram/kernelfront/kernel_source.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/support/kernel_mistakes.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

class GpuMistakesTest : public DeviceProgramTest {
 protected:
  // What the program says about a kernel that it does not run.
  std::string GetError(const std::string& path) {
    const SilentDiagnosticStream silence;
    const Result<void> added = program->AddKernel("k"_iid, *Url::Create(path), true);
    EXPECT_THAT(added, IsOk());
    const Result<void> updated = program->UpdateUniforms();
    return updated ? std::string() : std::string(updated.GetError().GetMessage().GetView());
  }
  TemporaryFolder _folder;
};

class GpuMistakeTest : public GpuMistakesTest, public testing::WithParamInterface<KernelMistake> {};

TEST_P(GpuMistakeTest, IsToldInTheWordsOfTheCpu) {
  const std::string kernel = MakeMistakenKernel(GetParam()), path = _folder.Write("k.krn", kernel);
  const auto source = GenerateKernelSource({.fileName = path}, kernel);
  ASSERT_FALSE(source.IsOk());
  const std::string message(source.GetError().GetMessage().GetView());
  EXPECT_THAT(message, testing::StartsWith(MakeMistakeMessage(GetParam(), path)));
  EXPECT_EQ(GetError(path), "The kernel \"k\" cannot run because it could not be compiled: " + message);
}

std::string MakeKernel(const std::string& expression) {
  return "#define KERNELINPUTS \\\n(Block<Float32>) y\n\nOSTRA_PARALLEL_KERNEL(K, "
         "KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(y)[0] = " +
         expression + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

TEST_F(GpuMistakesTest, WhatOnlyTheCpuRefusesRuns) {
  // Two kinds of numbers, and words that only the GPU's language has.
  for (const auto& [expression, value] :
       {std::pair("max(1.0, 2)", 2.0f), std::pair("float(findMSB(9u) + bitCount(7u))", 6.0f)}) {
    const std::string path = _folder.Write("k.krn", MakeKernel(expression));
    program = MakeProgram(kGpuProgramClass);
    ASSERT_THAT(program->AddKernel("k"_iid, *Url::Create(path), true), IsOk());
    StoreBuffer<Float32>(*program, "y"_iid, {0});
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    EXPECT_THAT(ReadBuffer<Float32>(*program, "y"_iid), testing::ElementsAre(value)) << expression;
  }
}

// Functions that call the one before them four times: 4^`layers` times the first one.
std::string MakeLayers(int layers) {
  std::string text =
      "#define KERNELINPUTS \\\n(Block<Float32>) y\n\ninline float F0(float x)\n{\n\treturn sin(x);\n}\n\n";
  for (int i = 1; i <= layers; ++i) {
    const std::string call = "F" + std::to_string(i - 1) + "(x)";
    text += "inline float F" + std::to_string(i) + "(float x)\n{\n\treturn " + call + " + " + call + " * " + call +
            " - " + call + ";\n}\n\n";
  }
  return text + "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(y)[0] = F" + std::to_string(layers) +
         "(UNIFORM_BUFFER(y)[0]);\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

struct ProgramLimitGuard {
  explicit ProgramLimitGuard(Int words) { SetDrawportProgramLimit(words); }
  ProgramLimitGuard(const ProgramLimitGuard&) = delete;
  ~ProgramLimitGuard() { SetDrawportProgramLimit(0); }
};

TEST_F(GpuMistakesTest, AKernelThatIsTooLargeIsRefusedWithItsSizeAndTheLimit) {
  const std::string path = _folder.Write("k.krn", MakeKernel("1.0"));
  {
    const ProgramLimitGuard limit(50);
    EXPECT_THAT(GetError(path),
                testing::MatchesRegex("The kernel \"k\" cannot run because it could not be compiled: The GPU program "
                                      "\"k\" has [0-9]+ words of SPIR-V, more than the limit of 50: .* "
                                      "OSTRA_GPU_PROGRAM_LIMIT\\."));
  }
  for (const Int words : {Int{-1}, Int{0}, Int{100000}}) {
    const ProgramLimitGuard limit(words);
    program = MakeProgram(kGpuProgramClass);
    StoreBuffer<Float32>(*program, "y"_iid, {0});
    EXPECT_EQ(GetError(path), "") << words;
  }
}

struct LimitVariable {
  explicit LimitVariable(const char* value) { setenv("OSTRA_GPU_PROGRAM_LIMIT", value, 1); }
  LimitVariable(const LimitVariable&) = delete;
  ~LimitVariable() { unsetenv("OSTRA_GPU_PROGRAM_LIMIT"); }
};

TEST_F(GpuMistakesTest, TheEnvironmentSaysWhichKernelIsTooLarge) {
  const std::string path = _folder.Write("k.krn", MakeKernel("1.0"));
  {
    const LimitVariable limit("50");
    EXPECT_THAT(GetError(path), testing::HasSubstr("more than the limit of 50: "));
  }
  for (const char* wrong : {"many", "", "0", "-1", "12 "}) {
    const LimitVariable limit(wrong);
    program = MakeProgram(kGpuProgramClass);
    StoreBuffer<Float32>(*program, "y"_iid, {0});
    EXPECT_THAT(GetError(path), testing::HasSubstr("OSTRA_GPU_PROGRAM_LIMIT is \"" + std::string(wrong) +
                                                   "\": give a number of words, or off."));
  }
  const ProgramLimitGuard set(50);
  const LimitVariable limit("off");
  program = MakeProgram(kGpuProgramClass);
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  EXPECT_EQ(GetError(path), "");
}

TEST_F(GpuMistakesTest, AKernelWhoseCallsAreTooMuchForADriverIsRefused) {
  const std::string path = _folder.Write("k.krn", MakeLayers(12));
  EXPECT_THAT(GetError(path),
              testing::ContainsRegex("\"k\" has [0-9]+ words of SPIR-V when its calls are replaced .* 3 "
                                     "times the limit of 400000: "));
}

// glslang's HLSL front end would end with the process.
TEST_F(GpuMistakesTest, MistakesThatEndTheCompilerOfHlslAreTold) {
  const Id language = GetDrawportShadingLanguage();
  SetDrawportShadingLanguage(kShadingLanguageHlsl);
  program = MakeProgram(kGpuProgramClass);
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  const std::string path =
      _folder.Write("k.krn", "inline void Set(INOUT float x)\n{\n\tx = 1.0;\n}\n\n" + MakeKernel("1.0;\n\tSet(1.0)"));
  EXPECT_THAT(GetError(path), testing::HasSubstr(": error: "));
  SetDrawportShadingLanguage(language);
}

TEST_F(GpuMistakesTest, WhatTheFrontEndDoesNotFindIsToldByTheCompiler) {
  const std::string path = _folder.Write("k.krn", MakeKernel("NOTHING"));
  EXPECT_THAT(GetError(path), testing::HasSubstr(path + ":6: error: 'NOTHING' : undeclared identifier"));
}

TEST_F(GpuMistakesTest, MistakesInHeadersAreShownThere) {
  _folder.Write("k.h", "inline float Half(float x)\n{\n\treturn 0.5 * sqr(x);\n}\n");
  const std::string path = _folder.Write("k.krn", "#include \"k.h\"\n" + MakeKernel("Half(1.0)"));
  EXPECT_THAT(GetError(path),
              testing::EndsWith(": " + _folder / "k.h" +
                                ":3:15: error: unknown name \"sqr\"; did you mean \"sqrt\"?\n\treturn 0.5 * sqr(x);\n"
                                "\t             ^"));
}

INSTANTIATE_TEST_SUITE_P(Kernels, GpuMistakeTest, testing::ValuesIn(kKernelMistakes),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace ostra::test
