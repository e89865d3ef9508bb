// ostra check: messages on the lines of kernel files and headers, its switches and its exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "apps/ostra/check/metal_compiler.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int kFailed = 1, kBadUsage = 2;

class CheckTest : public testing::Test {
 protected:
  static std::string MakeKernel(const std::string& body, const std::string& before = "") {
    return before +
           "#define KERNELINPUTS \\\n(Float32) factor, \\\n(Block<Float32>) values\n\nGROUPSIZE(64, 1, 1)\n\n" +
           "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n" + body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  }
  ToolResult Check(const std::string& source, std::vector<std::string> options = {}) {
    _folder.Write("k.krn", source);
    options.insert(options.begin(), {"check", _folder / "k.krn"});
    return RunTool(options);
  }
  // The place of a line of the kernel file or header, as messages begin.
  std::string At(const char* file, int line) const { return (_folder / file) + ":" + std::to_string(line); }

  TemporaryFolder _folder;
};

TEST_F(CheckTest, AKernelThatWorksEverywhereIsDone) {
  const ToolResult result = Check(MakeKernel("\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = UNIFORM(factor);"));
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.output, "1 file, 4 targets: 0 errors, 0 warnings\n");
}

TEST_F(CheckTest, TypesInCommentsAreNotUsed) {
  const ToolResult result =
      Check(MakeKernel("\tfloat a = 1.0; /* Int64 would be\n\ttoo wide, UInt64, too */\n"
                       "\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = a; // Int64\n\tint Int64_a = 1;"));
  EXPECT_EQ(result.output, "1 file, 4 targets: 0 errors, 0 warnings\n") << result.errors;
}

TEST_F(CheckTest, AMistakeIsShownOnItsLineForEveryTarget) {
  const ToolResult result = Check(MakeKernel("\tint a = 1;\n\tUNIFORM_BUFFER(values)[0] = MISSING;"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr(At("k.krn", 10) + ": error: 'MISSING' : undeclared identifier [GLSL]\n"));
  EXPECT_THAT(result.errors, HasSubstr(At("k.krn", 10) + ": error: 'MISSING' : unknown variable [HLSL]\n"));
  if (tool::MetalCompiler::Find()) {
    EXPECT_THAT(result.errors,
                HasSubstr(At("k.krn", 10) + ": error: use of undeclared identifier 'MISSING' [METAL]\n"));
  }
  EXPECT_THAT(result.errors, HasSubstr("ostra: the check found "));
}

TEST_F(CheckTest, AMistakeThatALintAndTheCpuCompilerFindIsToldOnce) {
  const std::string path = _folder.Write("k.krn",
                                         "#define KERNELINPUTS \\\n(Block<Float32>) target\n\n"
                                         "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tuint s = 1u << 40;\n"
                                         "\tUNIFORM_BUFFER(target)[0] = float(s);\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = RunTool({"check", path});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr(path + ":6: error: a shift by 40 has no defined result"));
  EXPECT_THAT(result.errors, testing::Not(HasSubstr("[CPU]")));
}

// glslang's HLSL front end would end with the process.
TEST_F(CheckTest, MistakesThatEndACompilerAreTold) {
  const std::string set = "inline void Set(INOUT Float32 x)\n{\n\tx = 1.0;\n}\n\n";
  for (const std::string body :
       {"\tSet(1.0);", "\tint k = 1;\n\tint n = 2;\n\tswitch (k)\n\t{\n\t\tcase n:\n\t\t\tbreak;\n\t}",
        "\tcase 1:\n\treturn;"}) {
    const std::string source = set + MakeKernel(body);
    EXPECT_THAT(Check(source).errors, HasSubstr(": error: ")) << body;
    const ToolResult result = Check(source, {"--target", "HLSL"});
    EXPECT_EQ(result.exitStatus, kFailed) << body;
    EXPECT_THAT(result.errors, HasSubstr("ostra: the check found 1 error")) << body;
  }
}

TEST_F(CheckTest, AnUnknownParameterIsNamedByTheWordsOfTheKernel) {
  const ToolResult result =
      Check(MakeKernel("\tUNIFORM_BUFFER(values)[0] = UNIFORM(gain);"), {"--target", "GLSL", "--target", "CPU"});
  EXPECT_EQ(result.errors,
            At("k.krn", 9) +
                ":38: error: there is no parameter \"gain\"\n\tUNIFORM_BUFFER(values)[0] = UNIFORM(gain);\n"
                "\t                                    ^\nostra: the check found 1 error\n");
}

TEST_F(CheckTest, AMistakeInAHeaderIsShownInTheHeader) {
  _folder.Write("k.h", "#define TWICE(x) (2.0 * (x))\n\ninline Float32 Half(Float32 x)\n{\n\treturn 0.5 * y;\n}\n");
  const ToolResult result = Check(MakeKernel("\tUNIFORM_BUFFER(values)[0] = TWICE(Half(UNIFORM(factor)));"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr(At("k.h", 5) + ": error: 'y' : undeclared identifier [GLSL]\n"));
  EXPECT_THAT(result.errors, HasSubstr(At("k.h", 5) + ": error: 'y' : unknown variable [HLSL]\n"));
}

TEST_F(CheckTest, AMistakeInAMacroOfAHeaderIsShownWhereItIsUsed) {
  _folder.Write("k.h", "#define VALUE_AT(i) UNIFORM_BUFFER(valeus)[i]\n#define UNUSED(x) nonsense(((x)\n");
  const ToolResult result = Check(MakeKernel("\tint a = 1;\n\n\tVALUE_AT(0) = 1.0;"), {"--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, StartsWith(At("k.krn", 11) + ": error: 'UNIFORM_BUFFER(valeus)' : undeclared identifier"));
}

TEST_F(CheckTest, LinesAreRightBehindDroppedAndReplacedOnes) {
  const ToolResult result =
      Check(MakeKernel("\tCPU_SCOPE_START\n\tint b;\n\tCPU_SCOPE_END\n\n\tGROUPSHAREDMEM(float, values, 64)\n"
                       "\tMAKELOCAL(values, 64, Index);\n\tint c = missing;",
                       "inline uint Index(uint3 global, uint local)\n{\n\treturn local;\n}\n\n"),
            {"--target", "GLSL"});
  EXPECT_THAT(result.errors, StartsWith(At("k.krn", 20) + ": error: 'missing'"));
}

TEST_F(CheckTest, AMistakeInADeclarationIsShownThere) {
  const ToolResult result = Check(
      "#define KERNELINPUTS \\\n(Float32) a, \\\n(Block<Unknown>) b\n\nOSTRA_PARALLEL_KERNEL(K, "
      "KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n",
      {"--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, StartsWith(At("k.krn", 3) + ":8: error: the elements of this buffer are \"Unknown\""));
}

TEST_F(CheckTest, AFunctionThatCannotBeDeclaredIsShownOnItsLine) {
  const ToolResult result = Check(MakeKernel("", "inline Float32 Pick(Float32 a Float32 b)\n{\n\treturn a;\n}\n\n"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr(At("k.krn", 1) + ": error: Expected comma, got IDENTIFIER. "));
}

TEST_F(CheckTest, WhatAllTargetsSayIsSaidOnce) {
  const ToolResult result = Check("GROUPSIZE(8,8,1)\n");
  EXPECT_EQ(result.errors, At("k.krn", 1) +
                               ": error: GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only\n"
                               "ostra: the check found 1 error\n");
}

TEST_F(CheckTest, WarningsAloneAreDone) {
  const ToolResult result = Check(MakeKernel("\tCPU_SCOPE_START\n\tCPU_SCOPE_END\n\tvec2 a = vec2(1.0);"));
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.errors,
              StartsWith(At("k.krn", 11) + ": warning: not every language makes a vector of one number"));
  EXPECT_THAT(result.output, HasSubstr("0 errors, 1 warning\n"));
}

TEST_F(CheckTest, EndlessSourcesAreRefusedAtOnce) {
  for (const char* line : {"\tATOMIC", "\tint a; ATOMIC"}) {
    const ToolResult result = Check(MakeKernel(line));
    EXPECT_EQ(result.exitStatus, kFailed);
    EXPECT_THAT(result.errors, StartsWith(At("k.krn", 9) + ": error: "));
  }
  const ToolResult result = Check(MakeKernel("", "inline void F(Block<Float32 v)\n{\n}\n"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr(At("k.krn", 1) + ": error: "));
}

TEST_F(CheckTest, OneSwitchShowsTheTexts) {
  const std::string source = MakeKernel("\tUNIFORM_BUFFER(values)[0] = Sqrt(UNIFORM(factor));");
  EXPECT_THAT(Check(source, {"--show", "original"}).output, HasSubstr(source));
  const std::string translated = Check(source, {"--show", "translated", "--target", "HLSL"}).output;
  EXPECT_THAT(translated, StartsWith("=== " + (_folder / "k.krn") + " (HLSL)\n"));
  EXPECT_THAT(translated, HasSubstr("UNIFORM_BUFFER(values)[0] = sqrt(UNIFORM(factor));"));
  const std::string assembled = Check(source, {"--show", "assembled", "--target", "GLSL"}).output;
  EXPECT_THAT(assembled, HasSubstr("#version 450"));
  EXPECT_THAT(assembled, HasSubstr("layout(local_size_x = 64"));
  EXPECT_EQ(Check(source, {"--show", "nothing"}).exitStatus, kBadUsage);
}

TEST_F(CheckTest, TheSummaryIsNoPartOfTheShownTexts) {
  const std::string source = MakeKernel("");
  const ToolResult result = Check(source, {"--show", "original"});
  EXPECT_EQ(result.output, "=== " + (_folder / "k.krn") + "\n" + source);
  EXPECT_EQ(result.errors, "ostra: 1 file, 4 targets: 0 errors, 0 warnings\n");
}

TEST_F(CheckTest, TooManyBuffersAreReportedOnce) {
  std::string source = "#define KERNELINPUTS \\\n";
  for (int i = 0; i < 32; ++i) source += "(Block<Float32>) b" + std::to_string(i) + (i < 31 ? ", \\\n" : "\n\n");
  const std::string errors =
      Check(source + "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n").errors;
  const std::size_t first = errors.find("Assertion failed");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(errors.find("Assertion failed", first + 1), std::string::npos) << errors;
}

TEST_F(CheckTest, TheTextIsShownEvenWhenItDoesNotCompile) {
  const ToolResult result = Check(MakeKernel("\tint a = missing;"), {"--show", "assembled", "--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.output, HasSubstr("int a = missing;"));
}

TEST_F(CheckTest, SeveralFilesAreCheckedTogether) {
  const std::string good = _folder.Write("a.krn", MakeKernel(""));
  const std::string bad = _folder.Write("b.krn", MakeKernel("\tint a = missing;"));
  const ToolResult result = RunTool({"check", good, bad, _folder / "missing.krn", _folder / "", "--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr(bad + ":9:10: error: unknown name \"missing\"\n"));
  EXPECT_THAT(result.errors, HasSubstr("missing.krn: error: "));
  EXPECT_THAT(result.output, StartsWith("4 files, 1 target: 3 errors"));
}

TEST_F(CheckTest, TemplateArgumentsAreGivenToTheTranslator) {
  const std::string source = MakeKernel("\tTYPE a = TYPE(UNIFORM(factor));\n\tUNIFORM_BUFFER(values)[0] = a;");
  EXPECT_EQ(Check(source, {"--target", "GLSL"}).exitStatus, kFailed);
  EXPECT_EQ(Check(source, {"--target", "GLSL", "--template-argument", "float"}).exitStatus, 0);
}

TEST_F(CheckTest, NamesThatHoldTypeAreFoundWithATemplateArgument) {
  const std::string source = MakeKernel("\tfloat MYTYPE = 1.0;");
  const auto isFound = HasSubstr("the translator replaces \"TYPE\" inside the name \"MYTYPE\"");
  EXPECT_THAT(Check(source, {"--target", "GLSL"}).errors, Not(isFound));
  EXPECT_THAT(Check(source, {"--target", "GLSL", "--template-argument", "float"}).errors, isFound);
}

TEST_F(CheckTest, GraphicsStagesAreChecked) {
  const std::string vertex = _folder.Write(
      "s.vert",
      "#define KERNELINPUTS \\\n(attribute Vector32) position, \\\n(varying Float32) shade, \\\n(Matrix32) view\n\n"
      "OSTRA_PARALLEL_KERNEL(V, KERNELINPUTS)\n{\n\tshade = position.x;\n\tOutPosition = mul(UNIFORM(view), "
      "vec4(position.x, position.y, position.z, 1.0));\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const std::string fragment = _folder.Write(
      "s.frag",
      "#define KERNELINPUTS \\\n(varying Float32) shade, \\\n(out Vector4d32) color\n\nOSTRA_PARALLEL_KERNEL(F, "
      "KERNELINPUTS)\n{\n\tONLY_USE_FIRST_MSAA_SAMPLE\n\tcolor = vec4(shade, shade, shade, "
      "1.0);\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = RunTool({"check", vertex, fragment, "--multisampling", "4"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
}

TEST_F(CheckTest, StagesOfOneNameMustHandOnWhatTheOthersReceive) {
  const auto makeStage = [](const std::string& inputs, const std::string& code) {
    return "#define KERNELINPUTS \\\n" + inputs + "\n\nOSTRA_PARALLEL_KERNEL(S, KERNELINPUTS)\n{\n" + code +
           "\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  };
  const std::string vertex = _folder.Write(
      "m.vert", makeStage("(attribute Vector32) position, \\\n(varying Float32) shade, \\\n(varying Vector32) place",
                          "\tshade = position.x;\n\tplace = position;\n\tOutPosition = vec4(0.0, 0.0, 0.0, 1.0);"));
  const std::string fragment = _folder.Write(
      "m.frag", makeStage("(varying Float32) shad, \\\n(varying Vector4d32) place, \\\n(out Vector4d32) color",
                          "\tcolor = place * shad;"));
  const ToolResult both = RunTool({"check", fragment, vertex, "--target", "GLSL"});
  EXPECT_EQ(both.exitStatus, kFailed);
  EXPECT_THAT(both.errors, HasSubstr("m.frag:2: error: the varying \"shad\" is not handed on by " + vertex +
                                     "; did you mean \"shade\"?"));
  EXPECT_THAT(both.errors,
              HasSubstr("m.frag:3: error: the varying \"place\" is 4 x float32 here, and 3 x float32 in " + vertex));
  // Alone, nothing is known of the other one.
  EXPECT_EQ(RunTool({"check", fragment, "--target", "GLSL"}).exitStatus, 0);

  const std::string control = _folder.Write("m.tsc", makeStage("(varying Float32) shade",
                                                               "\tshade = InPatch(shades, InInvocationID);\n"
                                                               "\tOutPosition = InPatchPosition(InInvocationID);"));
  EXPECT_THAT(RunTool({"check", vertex, control, "--target", "GLSL"}).errors,
              HasSubstr("m.tsc:6: error: the varying \"shades\" is not handed on by " + vertex));
}

TEST_F(CheckTest, ABraceThatStaysOpenIsShownOnItsLine) {
  const ToolResult result = Check(MakeKernel("\tif (UNIFORM(factor) > 1.0) {"));
  EXPECT_EQ(result.exitStatus, kFailed);
  // The brace of the kernel itself is the one that is left.
  EXPECT_EQ(result.errors, At("k.krn", 8) +
                               ":1: error: this brace is not closed before OSTRA_PARALLEL_KERNEL_END\n{\n^\n" +
                               "ostra: the check found 1 error\n");
}

TEST_F(CheckTest, RulesAboutLinesAreSaidOnceAndTheSameOfCpuAndGpu) {
  const std::string source = "inline Float32 One() { return 1.0; }\n\n" + MakeKernel("\tauto one = One();");
  const std::string message =
      At("k.krn", 1) +
      ":22: error: a function on one line has no body on the GPU: write its braces on lines of their own\n"
      "inline Float32 One() { return 1.0; }\n                     ^\n" +
      At("k.krn", 11) +
      ":2: note: the rules for lines hold because this is not understood: \"auto\" is C++ beyond the language of "
      "kernels\n\tauto one = One();\n\t^";
  EXPECT_EQ(Check(source).errors, message + "\nostra: the check found 1 error\n");
  for (const char* backend : {"cpu", "gpu"}) {
    const ToolResult run = RunTool({"run", _folder / "k.krn", "--set", "factor=1", "--in", "values=zeros:3", "--out",
                                    "values=" + _folder / "out.csv", "--backend", backend});
    EXPECT_EQ(run.exitStatus, kFailed);
    EXPECT_THAT(run.errors, HasSubstr(message)) << backend;
  }
}

TEST_F(CheckTest, WhatDoesNotCompileOnTheCpuIsReported) {
  const ToolResult mistake = Check(MakeKernel("\tCPU_SCOPE_START\n\tint a = missing;\n\tCPU_SCOPE_END"));
  EXPECT_EQ(mistake.exitStatus, kFailed);
  EXPECT_THAT(mistake.errors, HasSubstr(At("k.krn", 10) + ": error: "));
  EXPECT_THAT(mistake.errors, HasSubstr("[CPU]\n"));
  const ToolResult header = Check("#include \"missing.h\"\n" + MakeKernel(""), {"--target", "CPU"});
  EXPECT_EQ(header.exitStatus, kFailed);
  EXPECT_THAT(header.errors, StartsWith(At("k.krn", 1) + ": error: "));
  EXPECT_EQ(Check(MakeKernel(""), {"--target", "CPU"}).output, "1 file, 1 target: 0 errors, 0 warnings\n");
}

// Such a kernel need not keep the translator's rules for lines, whichever target is asked for.
TEST_F(CheckTest, AKernelInNormalStyleIsRightForTheCpuAlone) {
  const std::string function = "float Twice(float x) { return x * 2; }\n\nstruct Pair { vec2 a; };\n\n";
  const std::string body =
      "\tPair pair = {vec3(1).zy};\n\tUNIFORM_BUFFER(values)[0] = Twice(pair.a.yx.x) + UNIFORM(factor);";
  for (const char* target : {"CPU", "GLSL"}) {
    const ToolResult result = Check(MakeKernel(body, function), {"--target", target});
    EXPECT_EQ(result.output, "1 file, 1 target: 0 errors, 0 warnings\n") << result.errors;
  }
}

TEST_F(CheckTest, AMissingSemicolonIsShownInTheKernelFileWithoutGeneratedNames) {
  const std::string body = "\tUNIFORM_BUFFER(values)[0] = UNIFORM(factor)\n\tUNIFORM_BUFFER(values)[1] = 1.0;";
  const ToolResult check = Check(MakeKernel(body), {"--target", "CPU"});
  EXPECT_EQ(check.exitStatus, kFailed);
  const ToolResult run = RunTool({"run", _folder / "k.krn", "--set", "factor=1", "--in", "values=zeros:3", "--out",
                                  "values=" + _folder / "out.csv"});
  EXPECT_EQ(run.exitStatus, kFailed);
  for (const std::string& errors : {check.errors, run.errors}) {
    EXPECT_THAT(errors, StartsWith(_folder / "k.krn:"));
    for (const char* name : {"ostraParameter_", "TestBody", "kernel_language.h", "anonymous"})
      EXPECT_THAT(errors, Not(HasSubstr(name)));
  }
}

// The kernel language leaves this one to the C++ compiler, which finds the mistake where a macro begins.
TEST_F(CheckTest, AMistakeInFrontOfAMacroIsShownWhereTheMacroIsUsed) {
  const std::string body =
      "\tstd::array<float, 2> a = {1, 2};\n\tUNIFORM_BUFFER(values)[0] = a[0]\n\tUNIFORM_BUFFER(values)[1] = 1.0;";
  const ToolResult check = Check(MakeKernel(body), {"--target", "CPU"});
  EXPECT_EQ(check.exitStatus, kFailed);
  const ToolResult run = RunTool({"run", _folder / "k.krn", "--set", "factor=1", "--in", "values=zeros:3", "--out",
                                  "values=" + _folder / "out.csv"});
  EXPECT_EQ(run.exitStatus, kFailed);
  for (const std::string& errors : {check.errors, run.errors}) {
    EXPECT_THAT(errors, StartsWith(_folder / "k.krn:1"));
    EXPECT_THAT(errors, HasSubstr("expected"));
    EXPECT_THAT(errors, Not(HasSubstr("kernel_language.h")));
  }
}

TEST_F(CheckTest, ExplainSaysWhetherAKernelHasAWideForm) {
  const ToolResult wide =
      Check(MakeKernel("\tuint i = InGlobalInvocationID.x;\n\tUNIFORM_BUFFER(values)[i] = sqrt(float(i));"),
            {"--target", "CPU", "--explain"});
  EXPECT_EQ(wide.exitStatus, 0);
  EXPECT_EQ(wide.errors, _folder / "k.krn" + ": note: the kernel has a wide form\n");
  const ToolResult scalar = Check(MakeKernel("\tauto half = [](float x) { return x / 2; };\n"
                                             "\tUNIFORM_BUFFER(values)[0] = half(UNIFORM(factor));"),
                                  {"--target", "CPU", "--explain"});
  EXPECT_EQ(scalar.exitStatus, 0) << scalar.errors;
  EXPECT_THAT(scalar.errors, StartsWith(At("k.krn", 9) + ":"));
  EXPECT_THAT(scalar.errors, HasSubstr(": note: no wide form because of "));
  EXPECT_THAT(scalar.errors, HasSubstr("\tauto half = [](float x) { return x / 2; };\n"));
}

TEST_F(CheckTest, ExplainSaysWhichPartsOfAKernelOfGroupsHaveNoWideForm) {
  const auto explain = [this](const std::string& store, const std::string& size) {
    std::string source = MakeKernel(
        "\tGROUPSHAREDMEM(float, row, 64)\n\tuint i = InLocalInvocationID.x;\n"
        "\trow[i] = 1.0;\n\tgroupSharedBarrier;\n\t" +
        store + "\n\tgroupSharedBarrier;\n\tUNIFORM_BUFFER(values)[i] = row[i];");
    source.replace(source.find("64, 1, 1"), 8, size);
    const ToolResult result = Check(source, {"--target", "CPU", "--explain"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return result.errors;
  };
  EXPECT_EQ(explain("float next = row[63u - i];", "64, 1, 1"),
            _folder / "k.krn" + ": note: the kernel has a wide form\n");
  const std::string partly = explain("row[i ^ 1u] = 2.0;", "64, 1, 1");
  EXPECT_THAT(partly, StartsWith(At("k.krn", 13) + ":"));
  EXPECT_THAT(partly,
              HasSubstr(": note: no wide form of this and what lies between the same barriers because of a store "
                        "to group memory at places that differ, "));
  EXPECT_THAT(partly, HasSubstr("whole groups of 64 invocations, cut at the barriers in line 12, 14, of which 1 of 3 "
                                "parts run one invocation after the other\n"));
  const std::string narrow = explain("row[i] = 2.0;", "1, 64, 1");
  EXPECT_THAT(narrow,
              HasSubstr(": note: no wide form because of groups of one invocation along x, the axis of the lanes, "
                        "but whole groups of 64 invocations, one after the other, cut at the barriers in line 12, "
                        "14\n"));
}

TEST_F(CheckTest, TheTemplateArgumentIsForTheCpuAsWell) {
  const std::string source =
      MakeKernel("\tTYPE a = UNIFORM(factor);\n\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = a;");
  const ToolResult result = Check(source, {"--template-argument", "float"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(Check(source, {"--target", "CPU"}).exitStatus, kFailed);
}

TEST_F(CheckTest, AMissingCompilerIsSaid) {
  const std::string source = MakeKernel("");
  setenv("CXX", "/nonexistent", 1);
  const ToolResult all = Check(source);
  const ToolResult cpu = Check(source, {"--target", "CPU"});
  unsetenv("CXX");
  EXPECT_EQ(all.exitStatus, 0);
  EXPECT_THAT(all.errors, HasSubstr("Kernels are not compiled for the CPU: There is no C++ compiler /nonexistent"));
  EXPECT_THAT(all.output, HasSubstr("0 errors, 0 warnings; not compiled: CPU"));
  EXPECT_EQ(cpu.exitStatus, kFailed);
}

TEST_F(CheckTest, SourcesThatAreNestedTooDeeplyAreRefusedForEveryTarget) {
  const auto repeat = [](const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) result += text;
    return result;
  };
  std::string defines = "#define D0 1.0\n";
  for (int i = 0; i < 40; ++i)
    defines += "#define D" + std::to_string(i + 1) + " D" + std::to_string(i) + "+D" + std::to_string(i) + "\n";
  _folder.Write("k.h", defines);
  const std::pair<std::string, std::string> kCases[] = {
      {repeat("(", 5000) + "1.0" + repeat(")", 5000), "brackets are nested more than 256 deep"},
      {repeat("a + ", 50000) + "a", "an expression or a chain of statements has more than 10000 words and operators"},
      {"D40", "more than 10000 words and operators"},
  };
  for (const auto& [value, message] : kCases)
    for (const char* target : {"GLSL", "HLSL", "METAL", "CPU"}) {
      const ToolResult result =
          Check("#include \"k.h\"\n" +
                    MakeKernel("\tfloat a = UNIFORM(factor);\n\tUNIFORM_BUFFER(values)[0] = " + value + ";"),
                {"--target", target});
      EXPECT_EQ(result.exitStatus, kFailed);
      EXPECT_THAT(result.errors, StartsWith(At("k.krn", 11) + ": error: "));
      EXPECT_THAT(result.errors, HasSubstr(message)) << target;
    }
}

TEST_F(CheckTest, StagesThatRenderRefusesAreRefused) {
  const auto write = [this](const char* name, const std::string& input, const std::string& body) {
    return _folder.Write(name, "#define KERNELINPUTS \\\n" + input + "\n\nFP_KERNEL(S, KERNELINPUTS)\n{\n" + body +
                                   "\n}\nFP_KERNEL_END\n");
  };
  const std::string albedo = write("albedo.frag", "(out Vector4d32) albedo", "\talbedo = vec4(1.0, 0.0, 0.0, 1.0);");
  EXPECT_THAT(RunTool({"check", albedo}).errors, StartsWith(albedo + ":2: error: The out variable \"albedo\" is none"));
  const std::string noise = write("noise.frag", "(out Vector4d32) color",
                                  "\tADDNOISECALL\n\tcolor = vec4(RenderNoise(0, 1.0, 0.0), 0.0, 0.0, 1.0);");
  EXPECT_THAT(RunTool({"check", noise}).errors, StartsWith(noise + ": error: graphics programs have no noises"));
  const std::string half = write("half.vert", "(attribute half4) place", "\tOutPosition = vec4(0.0, 0.0, 0.0, 1.0);");
  EXPECT_THAT(RunTool({"check", half}).errors,
              StartsWith(half + ":2: error: The variable \"place\" cannot have the type"));
}

TEST_F(CheckTest, ParametersThatAStageCannotHaveAreShownOnTheirLine) {
  const std::string file = _folder.Write(
      "a.frag",
      "#define KERNELINPUTS \\\n(attribute Vector4d32) tint, \\\n(out Vector4d32) color\n\nOSTRA_PARALLEL_KERNEL(F, "
      "KERNELINPUTS)\n{\n\tcolor = tint;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  EXPECT_THAT(RunTool({"check", file}).errors,
              StartsWith(file + ":2: error: the parameter \"tint\" is an attribute, which only vertex stages have\n"));
}

TEST_F(CheckTest, StagesBetweenWhichAnotherOneLiesAreNotCompared) {
  const auto makeStage = [](const std::string& inputs, const std::string& code) {
    return "#define KERNELINPUTS \\\n" + inputs + "\n\nOSTRA_PARALLEL_KERNEL(S, KERNELINPUTS)\n{\n" + code +
           "\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  };
  const std::string vertex =
      _folder.Write("t.vert", makeStage("(attribute Vector32) position", "\tOutPosition = vec4(0.0, 0.0, 0.0, 1.0);"));
  const std::string fragment = _folder.Write("t.frag", makeStage("(varying Vector32) place, \\\n(out Vector4d32) color",
                                                                 "\tcolor = vec4(place.x, place.y, place.z, 1.0);"));
  EXPECT_EQ(RunTool({"check", vertex, fragment, "--target", "GLSL"}).exitStatus, kFailed);
  _folder.Write("t.tse", "");
  const ToolResult result = RunTool({"check", vertex, fragment, "--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
}

TEST_F(CheckTest, DefinesOfPatchesInAStageFileAreWarnedOf) {
  const std::string file =
      _folder.Write("d.tsc",
                    "#define PATCH_POINTS 4\n\n#define KERNELINPUTS \\\n(Float32) detail\n\n"
                    "OSTRA_PARALLEL_KERNEL(C, KERNELINPUTS)\n{\n"
                    "\tOutPosition = InPatchPosition(InInvocationID);\n\tOutTessLevelInner[0] = UNIFORM(detail);\n}\n"
                    "OSTRA_PARALLEL_KERNEL_END\n");
  const std::string warning = file +
                              ":1: warning: this line does not reach the GPU: \"PATCH_POINTS\" counts only in the "
                              "header, d.h\n";
  EXPECT_THAT(RunTool({"check", file, "--target", "GLSL"}).errors, HasSubstr(warning));
  _folder.Write("d.h", "#define PATCH_POINTS 4\n");
  EXPECT_THAT(RunTool({"check", file, "--target", "GLSL"}).errors, Not(HasSubstr("PATCH_POINTS")));
}

TEST_F(CheckTest, FilesThatAreNeitherKernelNorStageGiveOneLine) {
  const std::string scene = _folder.Write("a.json", "{\n  \"size\": [1, 2],\n  \"passes\": [\n  {\n  }\n  ]\n}\n");
  const std::string header = _folder.Write("a.h", "#define HALF 0.5\n");
  const ToolResult result = RunTool({"check", scene, header});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_EQ(result.errors, scene + ": error: this is neither a kernel file nor a stage file\n" + header +
                               ": error: this is neither a kernel file nor a stage file\n"
                               "ostra: the check found 2 errors\n");
}

TEST_F(CheckTest, AStageWithoutAKernelIsAnError) {
  const std::string file = _folder.Write("empty.vert", "float f = 1.0;\n");
  EXPECT_THAT(RunTool({"check", file, "--target", "GLSL"}).errors, HasSubstr("there is no kernel in this file"));
}

TEST_F(CheckTest, TessellationStagesAreCheckedForAllLanguagesThatHaveThem) {
  const std::string file =
      _folder.Write("p.tsc",
                    "#define KERNELINPUTS \\\n(Float32) detail\n\nOSTRA_PARALLEL_KERNEL(C, KERNELINPUTS)\n{\n"
                    "\tOutPosition = InPatchPosition(InInvocationID);\n\tOutTessLevelInner[0] = UNIFORM(detial);\n}\n"
                    "OSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = RunTool({"check", file});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("p.tsc:7: error: "));
  EXPECT_THAT(result.errors, HasSubstr("[GLSL]"));
  EXPECT_THAT(result.errors, HasSubstr("[HLSL]"));
  EXPECT_THAT(result.errors, HasSubstr("p.tsc: warning: Metal has no stages of this kind"));
}

TEST_F(CheckTest, OddFilesGiveALineAndNoCrash) {
  for (const std::string& source :
       {std::string(), std::string("\0\0\0", 3), std::string("\xFF\xFE"), std::string(1 << 20, 'x'),
        std::string("encoded"), std::string("encoded") + std::string(100, 'a'), std::string(5000, '{'),
        std::string("inline"), std::string("#define KERNELINPUTS")}) {
    const ToolResult result = Check(source);
    EXPECT_EQ(result.exitStatus, kFailed);
    EXPECT_THAT(result.errors, HasSubstr("error: "));
  }
}

TEST_F(CheckTest, WrongUsageIsExitStatus2) {
  EXPECT_EQ(RunTool({"check"}).exitStatus, kBadUsage);
  EXPECT_EQ(Check(MakeKernel(""), {"--target", "WGSL"}).exitStatus, kBadUsage);
  EXPECT_EQ(RunTool({"check", "--help"}).exitStatus, 0);
}

TEST_F(CheckTest, WhatOneLanguageCannotDoIsRefusedOnItsLine) {
  const std::string start = "#define KERNELINPUTS \\\n(Block<half4>) halves, \\\n(Block<Float32>) values\n\n";
  const ToolResult result =
      Check(start +
                "GROUPSIZE(32, 64, 1)\n\n"
                "inline Float32 Sum(const Float32 numbers[4])\n{\n\treturn numbers[0] + numbers[3];\n}\n\n"
                "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(values)[0] = 1.0;\n}\n"
                "OSTRA_PARALLEL_KERNEL_END\n",
            {"--target", "HLSL", "--target", "METAL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors,
              HasSubstr("k.krn: error: a work group of 2048 invocations: at most 1024 are possible [HLSL]\n"));
  EXPECT_THAT(result.errors,
              HasSubstr("k.krn: error: a work group of 2048 invocations: at most 1024 are possible [METAL]\n"));
  EXPECT_THAT(result.errors,
              HasSubstr(At("k.krn", 2) + ": warning: the half floats of \"halves\" need shader model 6.2"));
  EXPECT_THAT(result.errors, HasSubstr(At("k.krn", 7) + ": error: a function cannot take an array"));
}

TEST_F(CheckTest, TooMuchGroupMemoryIsRefused) {
  const auto check = [&](const char* size) {
    return Check(
        "#define KERNELINPUTS \\\n(Block<Float32>) values\n\nGROUPSIZE(64, 1, 1)\n\n"
        "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tGROUPSHAREDMEM(float, values, " +
            std::string(size) + ")\n\tUNIFORM_BUFFER(values)[0] = 1.0;\n}\nOSTRA_PARALLEL_KERNEL_END\n",
        {"--target", "HLSL"});
  };
  EXPECT_THAT(check("8193").errors,
              HasSubstr("error: 32772 bytes of group-shared memory: at most 32768 are possible [HLSL]"));
  EXPECT_THAT(check("8192").errors, Not(HasSubstr("group-shared")));
}

TEST_F(CheckTest, MatricesAndHighSamplersAreRefusedForMetal) {
  TemporaryFolder folder;
  folder.Write(
      "s.vert",
      "#define KERNELINPUTS \\\n(attribute Vector4d32) place, \\\n(attribute SquareMatrix4d32) turn\n\n"
      "OSTRA_PARALLEL_KERNEL(S, KERNELINPUTS)\n{\n\tOutPosition = mul(turn, place);\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult stage = RunTool({"check", folder / "s.vert", "--target", "METAL"});
  EXPECT_THAT(stage.errors, HasSubstr("s.vert:3: error: the matrix \"turn\" cannot be an attribute or a varying"));

  std::string source = "#define KERNELINPUTS \\\n";
  for (int i = 0; i < 15; ++i) source += "(Block<Float32>) b" + std::to_string(i) + ", \\\n";
  source +=
      "(const TextureSampler_2D_RGBA_F32_LINEAR) image\n\nOSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n"
      "\tUNIFORM_BUFFER(b0)[0] = SampleTexture(UNIFORM(image), vec2(0.5, 0.5)).x;\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  const ToolResult samplers = Check(source, {"--target", "METAL"});
  EXPECT_THAT(samplers.errors,
              HasSubstr(At("k.krn", 17) + ": error: the sampler of \"image\" would have the number 16"));
}

}  // namespace
}  // namespace ostra
