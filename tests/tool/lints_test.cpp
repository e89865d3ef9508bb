// What `ostra check` warns of beforehand, one lint after the other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/check/file_check.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// A kernel with a declaration block and a body.
std::string MakeKernel(const std::string& declarations, const std::string& body, const std::string& before = "") {
  return "#define KERNELINPUTS \\\n" + declarations + "\n\n" + before +
         "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n" + body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

// C++ that the language does not have: the lines of a file with it are translated as they stand.
constexpr const char* kOfHost = "inline void OfHost()\n{\n\tauto number = 1;\n}\n";
std::string MakeHostKernel(const std::string& declarations, const std::string& body, const std::string& before = "") {
  return MakeKernel(declarations, body, before) + kOfHost;
}

class LintsTest : public testing::Test {
 protected:
  // The findings in a kernel file without their folder: "k.krn:3: warning: text". Nothing is compiled.
  std::vector<std::string> Check(const std::string& source, const std::string& header = "") {
    if (!header.empty()) _folder.Write("k.h", header);
    const Findings findings = Find(source);
    std::vector<std::string> lines;
    for (const Finding& finding : findings.GetAll()) {
      std::string line = FormatFinding(finding);
      const std::string folder = _folder.GetPath().native() + "/";
      if (line.starts_with(folder)) line.erase(0, folder.size());
      lines.push_back(line);
    }
    return lines;
  }
  Findings Find(const std::string& source) {
    _folder.Write("k.krn", source);
    CheckOptions options;
    options.targets = {kTargetGlsl};
    auto check = PrepareCheck(options, _folder / "k.krn");
    EXPECT_THAT(check, IsOk());
    Findings findings = CollectFindings(*check, options);
    findings.Sort();
    return findings;
  }

  TemporaryFolder _folder;
};

TEST_F(LintsTest, AnOrdinaryKernelGivesNoReasonToWarn) {
  EXPECT_THAT(Check(MakeKernel("(Float32) factor, \\\n(const Block<Vector32>) source, \\\n(Block<Vector32>) target",
                               "\tuint i = InGlobalInvocationID.x;\n\tUNIFORM_BUFFER(target)[i] = "
                               "UNIFORM_BUFFER(source)[i] * UNIFORM(factor) + vec3(1.0, 2.0, 3.0);",
                               "GROUPSIZE(64, 1, 1)\n\ninline Float32 Half(Float32 x)\n{\n\treturn 0.5 * x;\n}\n\n")),
              IsEmpty());
}

// Lints ask the translator what became of a line.
TEST_F(LintsTest, WordsOfDirectivesCountOnlyWhereTheTranslatorKnowsThem) {
  const std::string before =
      "/* the CPU's part lies between\nCPU_SCOPE_START\nand its end */\n"
      "inline Float32 Half(Float32 x)\n{\n\t/* sizes that were tried:\n\tGROUPSIZE(8, 8, 1)\n\tand others */\n"
      "\treturn 0.5 * x;\n}\n";
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) data", "\tUNIFORM_BUFFER(data)[0] = Half(1.0);", before)), IsEmpty());
}

TEST_F(LintsTest, DeclarationsThatTheTranslatorDoesNotSeeAreLostAsAWhole) {
  const std::string kernel =
      "#define KERNELINPUTS \\\n(Float32) a, \\\n(Float32) b\n\nFP_KERNEL(K)\n{\n}\nFP_KERNEL_END\n";
  EXPECT_THAT(Check("GROUPSIZE(8, 8, 1)\n" + kernel),
              Contains("k.krn:2: warning: the declarations from here on make no parameters on the GPU: the translator "
                       "drops this line together with the one before it"));
  EXPECT_THAT(
      Check("inline Float32 F()\n{\n\treturn 1.0;\n" + kernel),
      Contains("k.krn:4: warning: the declarations from here on make no parameters on the GPU: the block before "
               "this line is still open"));
}

TEST_F(LintsTest, BracesInALineThatGoesAsAWholeAreNotCounted) {
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) data",
                               "\tGROUPSHAREDMEM(float, tile, 64)  // one for each {\n"
                               "\tUNIFORM_BUFFER(data)[0] = 1.0;")),
              IsEmpty());
}

TEST_F(LintsTest, AFunctionEndsWhereItDoesOnTheGpu) {
  const std::string late =
      "inline Float32 Late(Matrix32 m, Int32 n)\n{\n\tVector32 p;\n\tif (n > 0) { p = matoff(m);\n\t}\n"
      "\treturn p.x;\n}\n";
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) data", "\tUNIFORM_BUFFER(data)[0] = 1.0;", kOfHost) + late),
              Contains("k.krn:18: warning: code after the last block of the file never reaches the GPU"));
}

TEST_F(LintsTest, AVectorOfOneNumberIsFoundWhateverMakesTheNumber) {
  const std::string declarations =
      "(Float32) factor, \\\n(const Block<Vector4d32>) source, \\\n(Block<Float32>) target";
  const std::string before = "inline Float32 Curve(Float32 x)\n{\n\treturn x * x;\n}\n\n";
  for (const char* number :
       {"f", "f * 2.0", "Curve(f)", "sqrt(f)", "max(f, 0.5)", "dot(v, v)", "UNIFORM(factor) + f",
        "UNIFORM_BUFFER(target)[0]", "UNIFORM_BUFFER(source)[i].x", "float(i)", "(v.x + v.y) / 2.0", "v.x * 0.5"}) {
    const auto found =
        Check(MakeHostKernel(declarations,
                             "\tuint i = 0u;\n\tfloat f = 1.0;\n\tvec3 v = vec3(1.0, 2.0, 3.0);\n\tvec3 w = vec3(" +
                                 std::string(number) + ");",
                             before));
    EXPECT_THAT(found, ElementsAre(testing::HasSubstr("give vec3 all its components instead of"))) << number;
  }
  for (const char* vector : {"v", "v * f", "sqrt(v)", "UNIFORM_BUFFER(source)[i]", "normalize(v)", "mix(v, v, f)"}) {
    const auto found = Check(
        MakeHostKernel(declarations,
                       "\tuint i = 0u;\n\tfloat f = 1.0;\n\tvec4 v = UNIFORM_BUFFER(source)[i];\n\tvec4 w = vec4(" +
                           std::string(vector) + ");",
                       before));
    EXPECT_THAT(found, IsEmpty()) << vector;
  }
}

TEST_F(LintsTest, AProductWithAMatrixOfAStructIsFound) {
  const std::string header = "#pragma once\nstruct Body\n{\n\tSquareMatrix4d32 turn;\n\tVector4d32 place;\n};\n";
  const auto check = [&](const std::string& product) {
    return Check(
        "#include \"k.h\"\n" +
            MakeHostKernel("(const Block<Body>) bodies, \\\n(Block<Vector4d32>) target",
                           "\tvec4 v = UNIFORM_BUFFER(target)[0];\n\tBody b = UNIFORM_BUFFER(bodies)[0];\n\tvec4 w = " +
                               product + ";"),
        header);
  };
  const auto isFound = testing::Contains(testing::HasSubstr("languages disagree about \"*\" with the matrix \"turn\""));
  EXPECT_THAT(check("UNIFORM_BUFFER(bodies)[0].turn * v"), isFound);
  EXPECT_THAT(check("v * UNIFORM_BUFFER(bodies)[1 + 2].turn"), isFound);
  EXPECT_THAT(check("b.turn * v"), isFound);
  EXPECT_THAT(check("mul(b.turn, v * 2.0)"), testing::Not(isFound));
}

TEST_F(LintsTest, OnlyTheWordItselfBeginsTheParameters) {
  EXPECT_THAT(Check("#define KERNELINPUTS_COUNT 3\nconst int kOffset = 3;\n\n" +
                    MakeKernel("(Float32) factor", "\tfloat x = UNIFORM(factor);")),
              IsEmpty());
}

TEST_F(LintsTest, FindingsThatOthersLookForAreKnownByTheirKind) {
  const Findings lost = Find(MakeKernel("(Quaternion) factor, \\\n(Block<Vector32>) target", "\tuint i = 0u;"));
  ASSERT_EQ(lost.GetAll().size(), 1u);
  EXPECT_EQ(lost.GetAll()[0].kind, FindingKind::LostDeclaration);
  EXPECT_EQ(lost.GetAll()[0].name, "factor");
  const Findings brace = Find(MakeKernel("(Float32) factor", "\t// {\n\tuint i = 0u; // }"));
  ASSERT_EQ(brace.GetAll().size(), 2u);
  for (const Finding& finding : brace.GetAll()) EXPECT_EQ(finding.kind, FindingKind::Other);
}

TEST_F(LintsTest, ADeclarationThatMakesNoParameterIsFound) {
  EXPECT_THAT(
      Check(MakeKernel("(const Float32) factor, \\\n(MyType) thing, \\\n(IGNORE_VARIABLE_GPU Float64) precise, \\\n"
                       "(Float32) used",
                       "\tfloat x = UNIFORM(used);")),
      ElementsAre(
          "k.krn:2: warning: the declaration of \"factor\" makes no parameter on the GPU: only buffers and "
          "textures can be const",
          "k.krn:3: warning: the declaration of \"thing\" makes no parameter on the GPU: the type \"MyType\" is "
          "not known"));
}

TEST_F(LintsTest, ShiftsThatMayGoBeyondTheLastBitAreFound) {
  const auto check = [&](const std::string& code) {
    return Check(MakeKernel("(UInt32) count, \\\n(Int32) offset", "\tuint x = UNIFORM(count);\n" + code));
  };
  EXPECT_THAT(
      check("\tx = x << 40;"),
      ElementsAre("k.krn:8: error: a shift by 40 has no defined result: numbers have 32 bits, and the amount must "
                  "be below"));
  EXPECT_THAT(check("\tx >>= 32u;"), ElementsAre(HasSubstr("error: a shift by 32 has no defined result")));
  EXPECT_THAT(check("\tx = 1u << (16 * 2);"), ElementsAre(HasSubstr("a shift by 32")));
  EXPECT_THAT(check("\tx = (x << UNIFORM(count)) + 1u;"),
              ElementsAre("k.krn:8: warning: the amount \"UNIFORM(count)\" of this shift may be 32 or more, and "
                          "processors and GPUs disagree about the result: limit it, as in (n & 31u)"));
  EXPECT_THAT(check("\tx = (x << 5u) | (x >> (32u - UNIFORM(count)));"),
              ElementsAre(HasSubstr("the amount \"(32u - UNIFORM(count))\" of this shift may be 32 or more")));
}

TEST_F(LintsTest, ShiftsThatAreKnownToStayWithinTheNumberAreNotFound) {
  const std::string declaration = "(UInt32) count, \\\n(Block<UInt32>) bits";
  for (const char* code :
       {"\tx = x << 31u;", "\tx = x << (UNIFORM(count) & 31u);", "\tx <<= UNIFORM(count) & 0x1Fu;",
        "\tx = x >> (31u & UNIFORM(count)) | 1u;", "\tx = 1u << UNIFORM_BUFFER(bits)[x >> 5u] % 32u;",
        "\tx = x << min(UNIFORM(count), 31u);", "\tx = x << clamp(UNIFORM(count), 0u, 31u);",
        "\tconst uint kBits = 7u;\n\tx = x << kBits;", "\tfor (uint i = 0u; i < 32u; i++)\n\t{\n\t\tx ^= 1u << i;\n\t}",
        "\tx = x << uint(int(x) & 7);", "\tx = uint(x < 3u) + uint(x > 40u);", "\tuint64_t y = 1;\n\ty = y << 40;"}) {
    const auto findings = Check(MakeKernel(declaration, std::string("\tuint x = UNIFORM(count);\n") + code));
    for (const std::string& finding : findings) EXPECT_THAT(finding, Not(HasSubstr("shift"))) << code;
  }
}

TEST_F(LintsTest, AtomicVariablesOfMetalAreAdvisedAgainst) {
  EXPECT_THAT(
      Check(MakeKernel("(UInt32) count", "\tATOMIC uint old = 0u;")),
      ElementsAre("k.krn:6: warning: ATOMIC makes an atomic_uint of the variable in Metal, which can neither be "
                  "given a value in its declaration nor be assigned: declare a uint"));
  EXPECT_THAT(Check(MakeKernel("(UInt32) count", "\tuint old = 0u;")), IsEmpty());
}

TEST_F(LintsTest, FunctionsOfDoublesAreComputedWithFloatsInHlsl) {
  EXPECT_THAT(Check(MakeKernel("(Block<Float64>) data",
                               "\tFloat64 x = UNIFORM_BUFFER(data)[0] * 2.0;\n"
                               "\tUNIFORM_BUFFER(data)[1] = sqrt(x + 1.0);")),
              ElementsAre("k.krn:7: warning: \"sqrt\" of 64-bit floats is computed with 32 bits in HLSL"));
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) data", "\tUNIFORM_BUFFER(data)[1] = sqrt(2.0);")), IsEmpty());
}

TEST_F(LintsTest, TypesThatNoGpuHasAreExplained) {
  EXPECT_THAT(
      Check(MakeKernel("(Block<UInt64>) a, \\\n(const Block<UInt16>) b, \\\n(Block<Bool>) c, \\\n"
                       "(Block<Vec4<HalfFloat>>) d, \\\n(Block<Float64>) e, \\\n(Float64) f",
                       "")),
      ElementsAre("k.krn:4: error: the elements of \"c\" are bool: a bool has 1 byte on the CPU and 4 on a GPU: use "
                  "uint",
                  "k.krn:5: error: the elements of \"d\" are Vec4: of a type in angle brackets only the first word "
                  "is translated: write uint3, int4, half2 and the like"));
}

TEST_F(LintsTest, TextureTypesOfTheCpuAloneAreExplained) {
  EXPECT_THAT(
      Check(MakeKernel("(const TextureSampler_2D_R_I32_POINT) labels", "")),
      Contains("k.krn:2: error: \"TextureSampler_2D_R_I32_POINT\" is known on the CPU alone: write S32, which both "
               "sides know"));
  EXPECT_THAT(Check(MakeKernel("(const TextureSampler_2D_R_S32_POINT) labels", "")), IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(const TextureSampler_2D_R_U16_POINT) labels", "")), IsEmpty());
}

TEST_F(LintsTest, LettersOfAQualifierInsideATypeAreFound) {
  EXPECT_THAT(
      Check(MakeKernel("(Block<Router>) routes", "")),
      ElementsAre(
          "k.krn:2:8: error: the elements of this buffer are \"Router\", which is neither a type of kernels nor a "
          "struct of the kernel's headers [CPU]\n(Block<Router>) routes\n       ^",
          "k.krn:2: warning: the letters \"out\" in \"(Block<Router>)\" make \"routes\" an output on the "
          "GPU: rename the type"));
  EXPECT_THAT(Check(MakeKernel("(Block<varyings>) y", "")), Contains(HasSubstr("make \"y\" a varying on the GPU")));
}

TEST_F(LintsTest, ElementTypesInAngleBracketsAreFound) {
  EXPECT_THAT(Check(MakeKernel("(Block<Vec3<UInt32>>) ids", "")),
              Contains(StartsWith("k.krn:2: error: the elements of \"ids\"")));
}

TEST_F(LintsTest, RuleWordsInsideLongerNamesAreFound) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tuint MY_ATOMIC_ADD = 1u;\n\tfloat InverseSqrt = 2.0;")),
              ElementsAre("k.krn:6: warning: the translator replaces \"ATOMIC\" inside the name \"MY_ATOMIC_ADD\"",
                          "k.krn:7: warning: the translator replaces \"Sqrt\" inside the name \"InverseSqrt\""));
}

TEST_F(LintsTest, TypeInsideLongerNamesIsFoundWhereTheWordIsUsed) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tfloat MYTYPE = 2.0;")), IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tTYPE x;\n\tfloat MYTYPE = 2.0;")),
              Contains("k.krn:7: warning: the translator replaces \"TYPE\" inside the name \"MYTYPE\""));
}

TEST_F(LintsTest, WordsInCommentsAreLeftAlone) {
  EXPECT_THAT(
      Check(MakeKernel("(Float32) a", "\t// MYTYPE sqrt vec2(1.0) p.xyz\n\t/* vec3(1.0)\n\t v.xy */ float b = 1.0;")),
      IsEmpty());
}

TEST_F(LintsTest, DirectivesStandAloneAndWithoutSemicolon) {
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "GROUPSIZE(8, 8, 1)\ninline Float32 F()\n{\n\treturn 1.0;\n}\n")),
              Contains("k.krn:5: warning: the translator drops the line after GROUPSIZE: leave it empty"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "GROUPSIZE(8, 8, 1);\n\n")),
              Contains(StartsWith("k.krn:4: error: GROUPSIZE stands without a semicolon")));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "CPU_GRANULARITY(8)\nfloat x;\n")),
              Contains(StartsWith("k.krn:5: warning: the translator drops the line after CPU_GRANULARITY")));
}

TEST_F(LintsTest, CodeAfterTheLastBlockIsFound) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "") + "\nconst float kLost = 1.0;\n"),
              ElementsAre("k.krn:10: warning: code after the last block of the file never reaches the GPU"));
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "", "const float kKept = 1.0;\n")), IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "") + "\n// only a comment\n#define X 1\n"), IsEmpty());
  EXPECT_THAT(Check("#define KERNELINPUTS \\\n(Float32) a\nOSTRA_PARALLEL_KERNEL(Test, "
                    "KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n\ninline float F()\n\n{\n\treturn 1.0;\n}\n"),
              IsEmpty());
}

TEST_F(LintsTest, ATexelWithoutABlankBeforeItIsFound) {
  const auto isFound = Contains(HasSubstr("without a blank before it, GetFramebufferTexel is not translated"));
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tvec4 c = (GetFramebufferTexel(layer, at));")), isFound);
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tvec4 c = GetFramebufferTexel(layer, at);")), Not(isFound));
}

TEST_F(LintsTest, PointTexturesAreNotSampled) {
  const std::string declaration = "(const TextureSampler_2D_R_F32_POINT) image";
  EXPECT_THAT(Check(MakeKernel(declaration, "\tfloat a = SampleTexture(image, vec2(0.5, 0.5));")),
              Contains(StartsWith("k.krn:6: error: \"image\" is a POINT texture")));
  EXPECT_THAT(Check(MakeKernel(declaration, "\tfloat a = SampleTexture(UNIFORM(image), vec2(0.5, 0.5));")),
              Contains(StartsWith("k.krn:6: error: \"image\" is a POINT texture")));
  EXPECT_THAT(Check(MakeKernel(declaration, "\tfloat a = FetchTexture(image, int2(1, 1));")), IsEmpty());
}

TEST_F(LintsTest, TextureTypesThatThereAreNotAreNamed) {
  const auto check = [&](const std::string& type) {
    return Check(MakeKernel("(const " + type + ") image", "\tvec4 a = FetchTexture(image, int2(1, 1));"));
  };
  EXPECT_THAT(check("TextureSampler_2D_RGBA_F32_LINAER"),
              Contains("k.krn:2: error: there is no texture type \"TextureSampler_2D_RGBA_F32_LINAER\"; did you mean "
                       "\"TextureSampler_2D_RGBA_F32_LINEAR\"?"));
  EXPECT_THAT(check("TextureSampler_2D_RBGA_F32_LINEAR"), Contains(HasSubstr("did you mean")));
  EXPECT_THAT(check("TextureSampler_2D_RGBA_F23_LINEAR"), Contains(StartsWith("k.krn:2: error: there is no texture")));
  EXPECT_THAT(check("TextureSampler_Cube_RGBA_F32_LINEAR"),
              Contains(HasSubstr("textures have 1, 2 or 3 dimensions, and there are no cubes")));
  EXPECT_THAT(check("TextureSampler_2D_RGBA_U16_POINT"), Not(Contains(HasSubstr("there is no texture type"))));
}

TEST_F(LintsTest, FunctionsThatTexturesDoNotHaveAreNamed) {
  const auto check = [&](const std::string& expression, const std::string& header = "") {
    return Check(MakeKernel("(const TextureSampler_2D_RGBA_F32_LINEAR) image", "\tvec4 a = " + expression + ";"),
                 header);
  };
  EXPECT_THAT(check("SampleTextureLod(image, vec2(0.5, 0.5), 0.0)"),
              Contains("k.krn:6: error: there is no function \"SampleTextureLod\" of textures; did you mean "
                       "\"SampleTexture\"?"));
  EXPECT_THAT(check("texture(UNIFORM(image), vec2(0.5, 0.5))"),
              Contains(StartsWith("k.krn:6: error: there is no function")));
  EXPECT_THAT(check("SampleTexture(UNIFORM(image), vec2(0.5, 0.5))"), IsEmpty());
  EXPECT_THAT(check("Twice(image)", "#define Twice(t) SampleTexture(t, vec2(0.5, 0.5))\n"),
              Not(Contains(HasSubstr("there is no function"))));
}

TEST_F(LintsTest, MatoffAndBuffersOfFunctionsAreFound) {
  const std::string offset = "\tvec3 o = matoff(UNIFORM(m));";
  EXPECT_THAT(Check(MakeHostKernel("(Matrix32) m", offset)),
              Contains(StartsWith("k.krn:6: warning: matoff is translated as text")));
  // Written anew, with the name that the translator knows.
  EXPECT_THAT(Check(MakeKernel("(Matrix32) m", offset)), IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "", "inline Float32 F(const Block<Float32> v)\n{\n\treturn v[0];\n}\n")),
              Contains(StartsWith("k.krn:4: warning: functions cannot take buffers on every GPU")));
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", "\tF(CPU_PASS_BUFFER(b));")),
              Contains(StartsWith("k.krn:6: warning: buffers cannot be passed to functions")));
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "", "inline void F(ATOMIC uint c)\n{\n}\n")),
              Contains(StartsWith("k.krn:4: warning: ATOMIC is not translated in declarations")));
}

TEST_F(LintsTest, MacrosCannotHoldParentheses) {
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", "\tfloat x = LOCALDATA(b, F(1), 2);")),
              Contains(StartsWith("k.krn:6: error: the arguments of LOCALDATA end at the first \")\"")));
}

TEST_F(LintsTest, CopiesIntoGroupMemoryAreLookedAt) {
  const std::string copy = "\tMAKELOCAL(b, 64, Index);\n";
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", copy + copy, "GROUPSIZE(64, 1, 1)\n\n")),
              Contains(StartsWith("k.krn:9: error: two MAKELOCAL in one block")));
  EXPECT_THAT(
      Check(MakeKernel("(Block<Float32>) b", "\t{\n" + copy + "\t}\n\t{\n" + copy + "\t}", "GROUPSIZE(64, 1, 1)\n\n")),
      IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", copy, "GROUPSIZE(8, 4, 1)\n\n")),
              Contains(HasSubstr("a group has 32 invocations and each copies one element: 64 are more than that")));
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", "\tif (a) return;\n" + copy, "GROUPSIZE(64, 1, 1)\n\n")),
              Contains(HasSubstr("some invocations may have returned (line 8)")));
}

// The front end writes them in plain lines.
TEST_F(LintsTest, KernelsOfTheLanguageNeedKeepNoRulesOfLinesAndForms) {
  const std::string functions =
      "GROUPSIZE(8,8,1)\ninline float One() { return 1.0; }\nfloat Half(float x) {\n\treturn 0.5 * x;\n}\n"
      "struct Pair { vec2 a, b; };\n";
  const std::string body =
      "\t// }\n\tvec3 v = vec3(One());\n\tv.xz = v.yx;\n\tvec3 w = UNIFORM(m) * v;\n\tPair p = Pair(w.xy, w.yz);\n"
      "\tUNIFORM_BUFFER(b)[0] = Half(p.b.x);";
  EXPECT_THAT(Check(MakeKernel("(SquareMatrix32) m, \\\n(Block<Float32>) b", body, functions)), IsEmpty());
}

TEST_F(LintsTest, VectorsTakeAllTheirComponents) {
  const auto isFound = Contains(HasSubstr("not every language makes a vector of one number"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec3 v = vec3(1.0);")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec3 v = vec3(-1);")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec3 v = vec3(p.x);")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec3 v = vec3(1.0, 2.0, 3.0);")), Not(isFound));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tint3 v = int3(other);")), Not(isFound));
}

TEST_F(LintsTest, VectorsHaveNoSwizzles) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tvec2 v = p.xy;")),
              Contains("k.krn:6: error: \".xy\": vectors have no swizzles on the CPU; name the components"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tfloat v = p.x + q.wide;")), IsEmpty());
}

TEST_F(LintsTest, MatricesAreMultipliedWithMul) {
  const auto isFound = Contains(HasSubstr("languages disagree about \"*\" with the matrix \"m\""));
  EXPECT_THAT(Check(MakeKernel("(SquareMatrix32) m", "\tvec3 v = UNIFORM(m) * p;")), isFound);
  EXPECT_THAT(Check(MakeKernel("(SquareMatrix32) m", "\tvec3 v = p * UNIFORM(m);")), isFound);
  EXPECT_THAT(Check(MakeKernel("(SquareMatrix32) m", "\tvec3 v = mul(UNIFORM(m), p) * 2.0;")), Not(isFound));
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tmat3 m = Make();\n\tvec3 v = m * p;")), isFound);
}

TEST_F(LintsTest, ANumberOfAParameterMakesNoVectorEither) {
  const auto isFound = Contains(HasSubstr("not every language makes a vector of one number"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\thalf3 v = half3(1.0);")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec3 v = vec3(UNIFORM(a));")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Vector32) a", "\tvec3 v = vec3(UNIFORM(a));")), Not(isFound));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tvec2 v = vec2(UNIFORM(a), UNIFORM(a));")), Not(isFound));
}

TEST_F(LintsTest, MatricesInBuffersAreMultipliedWithMul) {
  const auto isFound = Contains(HasSubstr("languages disagree about \"*\" with the matrix \"m\""));
  EXPECT_THAT(Check(MakeKernel("(Block<Matrix32>) m", "\tvec4 v = UNIFORM_BUFFER(m)[i[0]] * p;")), isFound);
  EXPECT_THAT(Check(MakeKernel("(Block<Matrix32>) m", "\tvec4 v = mul(UNIFORM_BUFFER(m)[0], p) * 2.0;")), Not(isFound));
  EXPECT_THAT(Check(MakeKernel("(Block<Vector32>) m", "\tvec3 v = UNIFORM_BUFFER(m)[0] * p;")), Not(isFound));
}

TEST_F(LintsTest, RuleWordsInCommentsAreFound) {
  const std::pair<const char*, const char*> comments[] = {{"MAKELOCAL(b, 64, Index)", "MAKELOCAL"},
                                                          {"GROUPSHAREDMEM(float, b, 64)", "GROUPSHAREDMEM"},
                                                          {"matoff(m)", "matoff"},
                                                          {"LOCALDATA(b, i, j)", "LOCALDATA"},
                                                          {"ATOMIC uint", "ATOMIC"},
                                                          {" GetFramebufferTexel(a, b)", "GetFramebufferTexel"}};
  for (const auto& [comment, name] : comments) {
    const std::string start = "k.krn:6: warning: \"" + std::string(name) + "\" is replaced in comments, too: ";
    EXPECT_THAT(Check(MakeKernel("(Float32) a", "\t// see " + std::string(comment))), ElementsAre(StartsWith(start)));
    EXPECT_THAT(
        Check(MakeKernel("(Float32) a", "\tCPU_SCOPE_START\n\t// see " + std::string(comment) + "\n\tCPU_SCOPE_END")),
        IsEmpty());
  }
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "", "// see matoff(m)\n")),
              Contains(StartsWith("k.krn:4: warning: \"matoff\" is replaced in comments")));
}

TEST_F(LintsTest, BracesInCommentsAreFoundWhereTheyAreCounted) {
  const auto isFound = Contains(
      "k.krn:6: warning: braces in comments are counted like others: this one changes where "
      "the block ends");
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\t// }")),
              ElementsAre(AllOf(StartsWith("k.krn:6:5: error: the brace in this comment ends the block on the GPU: the "
                                           "translation counts braces in comments\n\t// }\n\t   ^\n"),
                                EndsWith("k.krn:11:2: note: the rules for lines hold because this is not understood: "
                                         "\"auto\" is C++ beyond the language of kernels\n\tauto number = 1;\n\t^"))));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tint a; /* { */")), isFound);
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\t// {}")), IsEmpty());
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "\n\n// {\n\n")), IsEmpty());
}

TEST_F(LintsTest, CodeForTheCpuIsNotTakenForCodeForTheGpu) {
  const auto inScope = [](const std::string& line) {
    return MakeKernel("(Matrix32) m", "\tCPU_SCOPE_START\n\t" + line + "\n\tCPU_SCOPE_END");
  };
  EXPECT_THAT(Check(inScope("vec4 v = UNIFORM(m) * vec4(1.0); matoff(m);")), IsEmpty());
  EXPECT_THAT(Check(inScope("vec2 v = p.xy;")), Contains(StartsWith("k.krn:7: error: \".xy\"")));
}

TEST_F(LintsTest, ADirectiveMayBeFollowedByAComment) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "", "GROUPSIZE(8, 8, 1)\n// a comment\n\n")), IsEmpty());
}

TEST_F(LintsTest, BracesOnTheFirstLineOfABlockAreErrors) {
  EXPECT_THAT(Check("struct KernelInput {\nFloat32 a;\n};\n"),
              Contains(StartsWith("k.krn:1:20: error: the brace belongs on a line of its own")));
  EXPECT_THAT(Check("OSTRA_METHOD Result<void> Kernel(int a) {\nint a;\n}\n"),
              Contains(StartsWith("k.krn:1:41: error: the brace belongs on a line of its own")));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "inline float F() {\n\treturn 1.0;\n}\n\n")),
              Contains(StartsWith("k.krn:4:18: error: the brace of a function belongs on a line of its own")));
}

TEST_F(LintsTest, AMethodThatDoesNotBeginItsLineIsAnError) {
  EXPECT_THAT(Check("virtual OSTRA_METHOD Result<void> Kernel(int a)\n{\n}\n"),
              Contains("k.krn:1: error: OSTRA_METHOD must begin its line: this is no kernel on the GPU"));
}

TEST_F(LintsTest, WhatTheTranslatorDropsAtFileScopeIsFound) {
  EXPECT_THAT(
      Check(MakeHostKernel("(Float32) a", "", "struct Pair\n{\nfloat a;\n};\n\n")),
      Contains(StartsWith("k.krn:7: error: the translator drops this line, and the brace of line 5 stays open")));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "float Half(float x)\n{\n\treturn 0.5 * x;\n}\n\n")),
              Contains(StartsWith("k.krn:4: error: \"inline\" is missing in front of the function")));
}

TEST_F(LintsTest, GroupMemoryIsACopyOfABufferOrOfTheGroup) {
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", "\tGROUPSHAREDMEM(float, exchanged, 64)")), IsEmpty());
  EXPECT_THAT(Check(MakeKernel("(Block<Float32>) b", "\tGROUPSHAREDMEM(float, b, 64)")), IsEmpty());
}

TEST_F(LintsTest, EveryTexelOfALineIsLookedAt) {
  const auto isFound = Contains(HasSubstr("without a blank before it, GetFramebufferTexel is not translated"));
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tGetFramebufferTexel(layer, at);")), isFound);
  EXPECT_THAT(Check(MakeKernel("(Float32) a", "\tF( GetFramebufferTexel(l, a),GetFramebufferTexel(l, a));")), isFound);
}

TEST_F(LintsTest, ParametersAreDeclaredOnce) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a, \\\n(Int32) a", "")),
              Contains("k.krn:3: error: the parameter \"a\" is declared twice: before in line 2"));
}

TEST_F(LintsTest, TypesThatAreNotKnownAreNamed) {
  EXPECT_THAT(Check(MakeKernel("(Flot32) a", "")),
              ElementsAre("k.krn:2:2: error: unknown type \"Flot32\"; did you mean \"Float32\"? [CPU]\n(Flot32) a\n ^",
                          "k.krn:2: warning: the declaration of \"a\" makes no parameter on the GPU: the type "
                          "\"Flot32\" is not known; did you mean \"Float32\"?"));
}

TEST_F(LintsTest, TexturesWithoutConstAreNotSampled) {
  EXPECT_THAT(Check(MakeKernel("(TextureSampler_2D_R_F32_LINEAR) image", "\tfloat a = SampleTexture(image, p);")),
              Contains(StartsWith("k.krn:6: error: \"image\" is declared without const")));
}

TEST_F(LintsTest, WhatRunRefusesIsRefused) {
  EXPECT_THAT(Check(MakeKernel("(Float32) a \\\n(Float32) b", "")),
              Contains("k.krn:3:1: error: a comma is missing after the parameter \"a\" [CPU]\n(Float32) b\n^"));
  EXPECT_THAT(Check(MakeKernel("(Float32) a,\n(Float32) b", "")), Contains(HasSubstr(" [CPU]")));
}

TEST_F(LintsTest, FunctionsOnOneLineAndOpenScopesAreErrors) {
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "inline Float32 One() { return 1.0; }\n\n")),
              Contains(StartsWith("k.krn:4:22: error: a function on one line has no body on the GPU")));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "\tCPU_SCOPE_START\n\tint x;")),
              Contains(StartsWith("k.krn:6: error: CPU_SCOPE_START without CPU_SCOPE_END")));
}

TEST_F(LintsTest, StagesMayHaveSwizzles) {
  _folder.Write("k.frag",
                "#define KERNELINPUTS \\\n(out Vector4d32) color\n\nFP_KERNEL(F, KERNELINPUTS)\n{\n"
                "\tvec4 c = vec4(1.0, 0.5, 0.0, 1.0);\n\tcolor = vec4(c.xyz, 1.0);\n}\nFP_KERNEL_END\n");
  CheckOptions options;
  options.targets = {kTargetGlsl};
  const auto check = PrepareCheck(options, _folder / "k.frag");
  ASSERT_THAT(check, IsOk());
  EXPECT_EQ(check->findings.GetAll().size(), 0u);
}

TEST_F(LintsTest, AMissingHeaderBetweenTheMarksIsNamed) {
  _folder.Write("common.h", "#define COMMON 1.0\n");
  EXPECT_THAT(
      Check(MakeKernel("(Float32) a", ""), "// INCLUDE_STRUCTS_BEGIN\n#include \"comon.h\"\n// INCLUDE_STRUCTS_END\n"),
      ElementsAre("k.h:2: warning: the header \"comon.h\" is not found: the GPU goes without it; did you mean \"" +
                  _folder / "common.h" + "\"?"));
}

TEST_F(LintsTest, HeadersThatTheGpuPassesOverAreNamed) {
  _folder.Write("other.h", "#define OTHER 1.0\n");
  _folder.Write("common.h", "#define COMMON 1.0\n");
  const std::string text =
      " is for the CPU alone: the GPU gets the header of the same name as the kernel file, and what that one includes "
      "between INCLUDE_STRUCTS_BEGIN and INCLUDE_STRUCTS_END";
  EXPECT_THAT(
      Check("#include <cmath>\n#include \"other.h\"\n#include \"k.h\"\n#include \"common.h\"\n" +
                MakeKernel("(Float32) a", ""),
            "// INCLUDE_STRUCTS_BEGIN\n#include \"common.h\"\n// INCLUDE_STRUCTS_END\n#include \"other.h\"\n"),
      testing::UnorderedElementsAre("k.krn:2: warning: \"other.h\"" + text, "k.h:4: warning: \"other.h\"" + text));
}

TEST_F(LintsTest, AFileWithoutAKernelIsAnError) {
  const std::string text =
      "k.krn: error: there is no kernel in this file, or it does not end: write OSTRA_PARALLEL_KERNEL(Name, "
      "KERNELINPUTS), its body in braces on the lines below, and OSTRA_PARALLEL_KERNEL_END";
  EXPECT_THAT(Check("int a;\n"), Contains(text));
  EXPECT_THAT(Check(""), Contains(text));
}

TEST_F(LintsTest, HeadersAreLookedAt) {
  const std::string kernel = MakeKernel("(Float32) a", "");
  EXPECT_THAT(Check(kernel, "inline Float32 F(Float32 x)\n{\n\tvec2 v = p.xy;\n\treturn x;\n}\n"),
              Contains("k.h:3: error: \".xy\": vectors have no swizzles on the CPU; name the components"));
}

// The translator's messages name no line: clients compare them. The check asks for the line.
TEST_F(LintsTest, MessagesOfTheTranslatorGetTheirLine) {
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", "", "GROUPSIZE(8,8,1)\n\n")),
              Contains("k.krn:4: error: GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only"));
  EXPECT_THAT(Check(MakeHostKernel("(Block<Float32>) b", "\tMAKELOCAL(b, 64)")),
              Contains("k.krn:6: error: MAKELOCAL macro needs three parameters"));
  EXPECT_THAT(Check(MakeHostKernel("(Block<Float32>) b", "\tint a;\n\tLOCALDATA(b, 1, 2")),
              Contains("k.krn:7: error: LOCALDATA missing )"));
  EXPECT_THAT(Check(MakeHostKernel("(Block<Float32>) b", "\tGROUPSHAREDMEM(float, b)")),
              Contains("k.krn:6: error: GROUPSHAREDMEM macro needs two parameters"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a, \\\n\\", "")),
              Contains("k.krn:3: error: struct entry is not conforming to '(type) name' structure"));
  EXPECT_THAT(Check(MakeHostKernel("(TextureSampler_2D_RGBA_S8_LINEAR) t", "")),
              Contains("k.krn:2: error: wrong combination of numChannels and format string"));
  EXPECT_THAT(
      Check(MakeHostKernel("(Block<Float32>) b", "\tCPU_SCOPE_START\n\tMAKELOCAL(b)\n\tCPU_SCOPE_END\n\tMAKELOCAL(b)")),
      Contains("k.krn:9: error: MAKELOCAL macro needs three parameters"));
  EXPECT_THAT(Check(MakeHostKernel("(Block<Float32>) b", "\tint x = LOCALDATA(b, 1, 2) + LOCALDATA(b, 1);")),
              Contains("k.krn:6: error: LOCALDATA macro needs three parameters"));
  EXPECT_THAT(Check(MakeHostKernel("(Float32)", "")),
              Contains("k.krn:2: error: struct entry is not conforming to '(type) name' structure"));
  EXPECT_THAT(Check("\nGROUPSIZE(x, 8, 1)\n"), Contains(StartsWith("k.krn:2: error: ")));
  const std::string twice =
      MakeKernel("(Float32) a", "") + "OSTRA_PARALLEL_KERNEL(Other, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  EXPECT_THAT(Check(twice),
              Contains(StartsWith("k.krn:9: error: Illegal state: Parser Error: Second Kernel function at line 8")));
  EXPECT_THAT(Check(MakeHostKernel("(Float32) a", ""), "\nstruct A\n{\nstruct B\n"),
              Contains(StartsWith("k.h:4: error: ")));
}

TEST_F(LintsTest, WhateverTheLinesEndWithTheFindingsAreTheSame) {
  std::string source;
  for (const char c : MakeKernel("(Float32) a", "\tvec2 v = p.xy;")) {
    if (c == '\n') source += '\r';
    source += c;
  }
  EXPECT_THAT(Check(source),
              Contains("k.krn:6: error: \".xy\": vectors have no swizzles on the CPU; name the components"));
  EXPECT_THAT(Check(source), Not(Contains(HasSubstr("CRLF"))));
}

TEST_F(LintsTest, TheLastParameterOfALineWithCrIsAParameter) {
  EXPECT_THAT(Check("#define KERNELINPUTS \\\r\n(Float32) a\r\n\r\nOSTRA_PARALLEL_KERNEL(T, KERNELINPUTS)\r\n{\r\n}\r\n"
                    "OSTRA_PARALLEL_KERNEL_END\r\n"),
              Not(Contains(HasSubstr("makes no parameter"))));
}

TEST_F(LintsTest, DefinesOfTheKernelFileThatItUsesAreFound) {
  const std::string kernel =
      MakeKernel("(Float32) a", "\tfloat x = HALF;\n\tCPU_SCOPE_START\n\tx = ONLY_CPU;\n\tCPU_SCOPE_END",
                 "#define HALF 0.5\n#define ONLY_CPU 2.0\n#define HALF_OF_IT 3.0\n\n");
  EXPECT_THAT(Check(kernel), ElementsAre("k.krn:4: warning: this line does not reach the GPU: \"HALF\" counts only in "
                                         "the header, k.h"));
  // Where both define it, both know it.
  EXPECT_THAT(Check(kernel, "#define HALF 0.5\n"), IsEmpty());
}

TEST(FindingsTest, ErrorsAreFindingsOfWhatTheyAreAbout) {
  Findings findings;
  const std::vector<SourceMessage> messages{
      {.file = "a/b.krn", .line = 12, .column = 3, .text = "text: with colons", .excerpt = "  x\n  ^"},
      {.severity = SourceSeverity::kWarning, .file = "a/b.krn", .text = "text"}};
  findings.AddError(MakeSourceError(messages, "lints_test", __LINE__), "x.krn", " [CPU]");
  for (int i = 0; i < 2; ++i)
    findings.AddError(Error::Make(kIllegalStateError, "b.krn:1: error: no place", "lints_test", __LINE__), "x.krn");
  ASSERT_EQ(findings.GetAll().size(), 3u);
  EXPECT_EQ(FormatFinding(findings.GetAll()[0]), "a/b.krn:12:3: error: text: with colons [CPU]\n  x\n  ^");
  EXPECT_EQ(FormatFinding(findings.GetAll()[1]), "a/b.krn: warning: text [CPU]");
  EXPECT_EQ(FormatFinding(findings.GetAll()[2]), "x.krn: error: b.krn:1: error: no place");
  EXPECT_EQ(findings.Count(Severity::Error), 2);
  EXPECT_EQ(findings.Count(Severity::Warning), 1);
}

}  // namespace
}  // namespace ostra::tool
