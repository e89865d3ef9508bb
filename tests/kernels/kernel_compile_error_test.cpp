// What must not compile as a kernel, and what is said: for the author, the message is the interface. Most mistakes are
// told by the front end of the language; the others by the compiler that built this test.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernelfront/kernel_source.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

struct Mistake {
  const char* name;
  const char* body;
  const char* message;  // part of what is said; empty: the body compiles
  int line;             // of the body, which that message is about; 0: of a header of ours
};

const Mistake kMistakes[] = {
    {"NoMistake", "\tUNIFORM_BUFFER(target)[0] = UNIFORM(factor) * UNIFORM_BUFFER(source)[0];\n", "", 0},
    {"BareNameOfAParameter", "\n\tUNIFORM_BUFFER(target)[0] = factor;\n",
     "the parameter \"factor\" is reached with UNIFORM(factor)", 2},
    {"BareNameOfABuffer", "\ttarget[0] = 1.0;\n", "the parameter \"target\" is reached with UNIFORM_BUFFER(target)", 1},
    {"WritingAConstBuffer", "\tUNIFORM_BUFFER(source)[0] = 1.0;\n", "the buffer \"source\" is declared const", 1},
    {"WritingAParameter", "\tUNIFORM(factor) = 1.0;\n", "UNIFORM(factor) cannot be changed in a kernel", 1},
    {"OperatorOfMatrixAndVector", "\n\n\tvec3 v = UNIFORM(place) * vec3(1.0, 2.0, 3.0);\n",
     "there is no \"*\" for mat4 and vec3", 3},
    {"GroupMemoryThatIsWritten", "\tGROUPSHAREDMEM(Float32, tile, 64)\n\ttile[0u] = 1.0;\n", "", 0},
    {"GroupMemoryBesideCpp", "\tGROUPSHAREDMEM(Float32, tile, 64)\n\tauto k = 0u;\n\ttile[k] = 1.0;\n",
     "invocations of a group cannot exchange", 0},
    {"DoublesAndTheirFunctions", "\tFloat64 d = 2.0;\n\tfloat r = sqrt(d) + max(d, 1) + mix(1.0, 2, d);\n", "", 0},
    {"AWordWithoutAFormOfDoubles", "\tFloat64 d = 2.0;\n\tuint bits = floatBitsToUint(d);\n", "floatBitsToUint", 2},
    {"ATexelAtNumbers", "\tfloat t = FetchTexture(image, int2(1, 2));\n", "", 0},
    {"ATexelBetweenNumbers", "\tfloat t = FetchTexture(image, vec2(1.7, 2.9));\n",
     "FetchTexture takes the numbers of a texel: int, int2 or int3", 0},
    {"ATexelAtNumbersWithoutSign", "\tfloat t = FetchTextureLayer(image, uint2(1u, 2u), 0u);\n",
     "FetchTexture takes the numbers of a texel: int, int2 or int3", 0},
    {"ASampleAtDoubles", "\tfloat t = SampleTexture(smooth, Vec2<Float64>(0.5, 0.5));\n",
     "SampleTexture takes coordinates of 32 bits", 0},
    {"WholeNumbersOfTextures", "\tint t = FetchTexture(labels, 1) + FetchTexture(signs, 1);\n", "", 0},
    {"ValueOfKernelsThatCannotFail", "\tKERNEL_RETURN;\n", "return-statement with a value", 1},
};

std::string MakeTested(const std::string& body) {
  return std::string(
             "#define KERNELINPUTS \\\n(Float32) factor, \\\n(SquareMatrix4d32) place, \\\n"
             "(const TextureSampler_2D_R_F32_POINT) image, \\\n"
             "(const TextureSampler_2D_R_F32_LINEAR) smooth, \\\n"
             "(const TextureSampler_1D_R_U16_POINT) labels, \\\n"
             "(const TextureSampler_1D_R_S32_POINT) signs, \\\n"
             "(const Block<Float32>) source, \\\n(Block<Float32>) target\n\n"
             "OSTRA_PARALLEL_KERNEL(Tested, KERNELINPUTS)\n{\n")
      .append(body)
      .append("}\nOSTRA_PARALLEL_KERNEL_END\n");
}

// What the compiler says about a C++ source.
std::string RunCompiler(std::string_view source) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("tested.cpp", source);
  const std::string command =
      "LC_ALL=C " OSTRA_TEST_COMPILER " -std=c++20 -fsyntax-only -I" OSTRA_TEST_INCLUDES " " + path + " 2>&1";
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  while (pipe && std::fgets(buffer, sizeof(buffer), pipe)) output += buffer;
  const int status = pipe ? pclose(pipe) : -1;
  EXPECT_EQ(status == 0, output.find("error:") == std::string::npos) << output;
  return output;
}

std::string Compile(const std::string& body) {
  const std::string text = MakeTested(body);
  const auto source = GenerateKernelSource({.fileName = "tested.krn", .classId = "tested.krn"}, text);
  if (!source) return std::string(source.GetError().GetMessage().GetView());
  return RunCompiler(source->GetView());
}

class KernelCompileErrorTest : public testing::TestWithParam<Mistake> {};

TEST_P(KernelCompileErrorTest, IsReportedAtItsLine) {
  const Mistake& mistake = GetParam();
  const std::string output = Compile(mistake.body);
  if (!*mistake.message) {
    EXPECT_EQ(output, "");
    return;
  }
  const std::size_t error = output.find("error:");
  ASSERT_NE(error, std::string::npos) << "It compiled.";
  EXPECT_NE(output.find(mistake.message), std::string::npos) << output;
  constexpr int kLinesBefore = 12;
  if (mistake.line != 0) {
    const std::string place = "tested.krn:" + std::to_string(kLinesBefore + mistake.line) + ":";
    EXPECT_NE(output.find(place), std::string::npos) << place << " is not in\n" << output;
  }
}

INSTANTIATE_TEST_SUITE_P(Mistakes, KernelCompileErrorTest, testing::ValuesIn(kMistakes),
                         [](const auto& test) { return std::string(test.param.name); });

// What the front end of the language refuses: GCC must refuse it, too, or a kernel that runs would be stopped.
const char* const kRefusedBodies[] = {
    "\tfloat a = 1.0\n\tfloat b = 2.0;\n",
    "\tfloat a = sqrt((1.0 + 2.0);\n",
    "\tfloat a = sqr(2.0);\n",
    "\tfloatt a = 1.0;\n",
    "\tvec3 a = true;\n",
    "\tvec3 a = vec3(1.0, 2.0);\n",
    "\tvec3 a = vec3(1.0, 2.0, 3.0) * vec2(1.0, 2.0);\n",
    "\tuint a = abs(2u);\n",
    "\tfloat distance = distance(vec2(1.0, 2.0), vec2(1.0, 2.0));\n",
    "\thalf a = vec2(0.5, 1.0);\n",
    "\tfloat a = 3.0 % 2.0;\n",
    "\tint a = 1;\n\tint a = 2;\n",
    "\tconst int a = 1;\n\ta = 2;\n",
    "\tint a[2] = {1, 2, 3};\n",
    "\tuint old;\n\tAtomicAdd(UNIFORM_BUFFER(target)[0], 1u, old);\n",
    "\tswitch (1) { case 1: int a = 1; break; case 2: break; }\n",
    "\tbreak;\n",
    "\tInGlobalInvocationID.x = 3u;\n",
};

class RefusedBodyTest : public testing::TestWithParam<const char*> {};

TEST_P(RefusedBodyTest, IsRefusedByTheCompilerToo) {
  const std::string text = MakeTested(GetParam());
  const auto refused = GenerateKernelSource({.fileName = "tested.krn", .classId = "tested.krn"}, text);
  ASSERT_FALSE(refused.IsOk());
  EXPECT_NE(refused.GetError().GetMessage().GetView().find('^'), std::string_view::npos) << "a line with a caret";
  const KernelSourceOptions options{.fileName = "tested.krn", .classId = "tested.krn"};
  kernelfront::KernelFile file(options, text);
  file.Read();
  EXPECT_NE(RunCompiler(file.Print("")).find("error:"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Bodies, RefusedBodyTest, testing::ValuesIn(kRefusedBodies));

}  // namespace
}  // namespace ostra::test
