// The front step against whole sources that it must make. With OSTRA_UPDATE_GOLDEN set in the environment the
// sources are written instead; look at what changed before committing it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/kernelfront/plain_kernel.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

std::filesystem::path GetGoldenPath(const std::string& name) {
  return std::filesystem::path(OSTRA_GOLDEN_FOLDER) / name;
}

std::string ReadGolden(const std::string& name) {
  std::ifstream file(GetGoldenPath(name), std::ios::binary);
  EXPECT_TRUE(file) << name;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string Generate(const KernelSourceOptions& options, const std::string& text) {
  auto source = GenerateKernelSource(options, text);
  EXPECT_THAT(source, IsOk());
  return source ? std::string(source->GetView()) : std::string();
}

void ExpectGolden(const std::string& source, const std::string& name) {
  if (std::getenv("OSTRA_UPDATE_GOLDEN")) {
    std::ofstream(GetGoldenPath(name), std::ios::binary) << source;
    GTEST_SKIP() << "wrote " << name;
  }
  EXPECT_EQ(source, ReadGolden(name));
}

TEST(FrontStepTest, DefineFormBecomesAClassWithItsHeaderPutIn) {
  KernelSourceOptions options{.fileName = "define.krn", .classId = "net.example.define.krn"};
  options.readHeader = [](const std::string& name, const std::string& file) -> std::optional<KernelHeader> {
    if (file != "define.krn" || name != "define.h") return std::nullopt;
    return KernelHeader{"folder/define.h", "#pragma once\ninline float Half(float x) { return x * 0.5; }\n"};
  };
  ExpectGolden(Generate(options, ReadGolden("define.krn")), "define.cpp");
}

TEST(FrontStepTest, StructFormBecomesAModuleAndFunctionsComeBeforeTheKernel) {
  const KernelSourceOptions options{
      .fileName = "struct.krn", .classId = "net.example.struct.krn", .templateArgument = "Vector32", .isModule = true};
  ExpectGolden(Generate(options, ReadGolden("struct.krn")), "struct.cpp");
}

class FrontStepTextTest : public testing::Test {
 protected:
  static std::string Make(const std::string& text, const KernelSourceOptions& options = {}) {
    return Generate(options, text);
  }
  // A kernel after the text.
  static std::string WithKernel(std::string text) { return text.append(kKernel); }
  static constexpr const char* kKernel = "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
};

TEST_F(FrontStepTextTest, EveryLineKeepsItsNumber) {
  const std::string text =
      WithKernel("// one\n\n#define KERNELINPUTS \\\n(Float32) a\n\nGROUPSIZE(1, 2, 3)\n\n").append("// last\n");
  const std::string source = Make(text, {.fileName = "lines.krn"});
  const std::string mark = "#line 1 \"lines.krn\"\n";
  ASSERT_NE(source.find(mark), std::string::npos);
  const std::string rest = source.substr(source.find(mark) + mark.size());
  auto lineOf = [](const std::string& where, const std::string& what) {
    return std::count(where.begin(), where.begin() + static_cast<std::ptrdiff_t>(where.find(what)), '\n');
  };
  EXPECT_EQ(lineOf(rest, "OSTRA_KERNEL_CLASS"), lineOf(text, "OSTRA_PARALLEL_KERNEL"));
  EXPECT_EQ(lineOf(rest, "// last"), lineOf(text, "// last"));
  EXPECT_EQ(lineOf(rest, "ostraParameter_a"), lineOf(text, "(Float32)"));
}

TEST_F(FrontStepTextTest, FileNamesAreQuotedForTheCompiler) {
  EXPECT_NE(Make(kKernel, {.fileName = "a \"b\"\\c\nd.krn"}).find("#line 1 \"a \\\"b\\\"\\\\c\\012d.krn\"\n"),
            std::string::npos);
}

TEST_F(FrontStepTextTest, FloatingLiteralsAreFloat32ExceptWithSuffixOrInHexadecimal) {
  const std::string source =
      Make(WithKernel("float values[] = {1.0, .5, 2., 3e4, 5e-6f, 7, 0x1E, 1.0f, 0x1.8p3, \"1.0\"[0], v1.0};\n"));
  EXPECT_NE(source.find("{1.0f, .5f, 2.f, 3e4f, 5e-6f, 7, 0x1E, 1.0f, 0x1.8p3, \"1.0\"[0], v1.0f}"), std::string::npos)
      << source;
}

TEST_F(FrontStepTextTest, QualifiersOfParametersBecomeReferencesAndOtherWordsStay) {
  const std::string source = Make(WithKernel(
      "inline void F(inout Vec3<UInt32> a, in Float32 b, out Float32 c[4], INOUT T d)\n{\n\tG(out, inout);\n}\n"));
  EXPECT_NE(source.find("void F( Vec3<UInt32> & a,  Float32 b,  Float32 (&c)[4],  T & d)"), std::string::npos)
      << source;
  EXPECT_NE(source.find("G(out, inout);"), std::string::npos);
}

TEST_F(FrontStepTextTest, WithoutDirectivesAndParametersNothingIsPutIn) {
  const std::string source = Make(kKernel);
  EXPECT_EQ(source.find("GROUPSIZE"), std::string::npos);
  EXPECT_NE(source.find("struct OstraKernelParameters { template"), std::string::npos);
  EXPECT_EQ(source.find("OSTRA_KERNEL_ENTRY"), std::string::npos);
}

TEST_F(FrontStepTextTest, HeadersThatIncludeEachOtherArePutInOnce) {
  KernelSourceOptions options;
  options.readHeader = [](const std::string& name, const std::string&) -> std::optional<KernelHeader> {
    return KernelHeader{name, name == "a.h" ? "#include \"b.h\"\nint a;\n" : "#include \"a.h\"\nint b;\n"};
  };
  const std::string source = Make(WithKernel("#include \"a.h\"\n"), options);
  EXPECT_EQ(source.find("int a;"), source.rfind("int a;"));
  EXPECT_LT(source.find("int b;"), source.find("int a;"));
}

TEST_F(FrontStepTextTest, WhateverTheLinesEndWithTheKernelIsFound) {
  std::string text;
  for (const char c : WithKernel("#define KERNELINPUTS \\\n(Float32) a, \\\n(Block<Float32>) b\n\n")) {
    if (c == '\n') text += '\r';
    text += c;
  }
  const std::string source = Make(text);
  EXPECT_NE(source.find("ParameterMember<Block<Float32>>::Type ostraParameter_b{};"), std::string::npos) << source;
}

// The text of a kernel with this body.
std::string MakeBody(const std::string& body) {
  return "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n" + body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

TEST_F(FrontStepTextTest, GuardsAtTheBeginningOfABodyBoundItsLoops) {
  const struct {
    std::string body, guard, bound;
  } cases[] = {
      {"uint i = LinearInvocation();\nif (i < UNIFORM(n))\n{\n\tF(i);\n}", "if ((OSTRA_IS_INSIDE || i < UNIFORM(n)))",
       "n"},
      {"uint x = InGlobalInvocationID.x;\nuint y = InGlobalInvocationID.y;\nif (x >= UNIFORM(w) || y >= UNIFORM(h)) "
       "return;\nF(x);",
       "if ((!OSTRA_IS_INSIDE && x >= UNIFORM(w)) || y >= UNIFORM(h))", "w"},
      {"uint y = InGlobalInvocationID.y;\nuint x = InGlobalInvocationID.x;\nif (x < UNIFORM(w) && y < 4u) { F(x); }",
       "if ((OSTRA_IS_INSIDE || x < UNIFORM(w)) && y < 4u)", "w"},
      {"uint x = InGlobalInvocationID.x;\nif (x >= UNIFORM(w))\n{\n\treturn;\n}\nF(x);",
       "if ((!OSTRA_IS_INSIDE && x >= UNIFORM(w)))", "w"},
  };
  for (const auto& example : cases) {
    const std::string source = Make(MakeBody(example.body));
    EXPECT_NE(source.find(example.guard), std::string::npos) << source;
    EXPECT_NE(source.find("OSTRA_KERNEL_BOUND(" + example.bound + ") };"), std::string::npos) << source;
  }
}

TEST_F(FrontStepTextTest, WhatMightNotBeAGuardBoundsNothing) {
  const std::string linear = "uint i = LinearInvocation();\n", x = "uint x = InGlobalInvocationID.x;\n";
  const std::string bodies[] = {
      linear + "if (i < UNIFORM(n))\n{\n\tF(i);\n}\nG(i);",                    // something comes after it
      linear + "if (i < UNIFORM(n))\n{\n\tF(i);\n}\nelse\n{\n\tG(i);\n}",      // there is another case
      linear + "if (i < UNIFORM(n)) F(i);",                                    // no block
      linear + "if (i < UNIFORM(n) || i == 9u)\n{\n\tF(i);\n}",                // more than the invocations below n
      linear + "if (i >= UNIFORM(n) && i > 9u) return;\nF(i);",                // fewer than the invocations from n on
      linear + "if (i < UNIFORM(n) + 1u)\n{\n\tF(i);\n}",                      // another bound
      linear + "if (i < UNIFORM_BUFFER(n)[0])\n{\n\tF(i);\n}",                 // nothing that is known before
      linear + "i = i + 1u;\nif (i < UNIFORM(n))\n{\n\tF(i);\n}",              // another index
      linear + "MOVE(i);\nif (i < UNIFORM(n))\n{\n\tF(i);\n}",                 // perhaps another index
      linear + "if (i >= UNIFORM(n)) { F(i); return; }\nG(i);",                // those beyond do something
      x + "uint i = LinearInvocation();\nif (x < UNIFORM(n))\n{\n\tF(i);\n}",  // not the index that is counted
      "uint y = InGlobalInvocationID.y;\nif (y < UNIFORM(n))\n{\n\tF(y);\n}",  // neither
      "float i = LinearInvocation();\nif (i < UNIFORM(n))\n{\n\tF(i);\n}",     // compares rounded numbers
      "if (InGlobalInvocationID.x < 4u)\n{\n\tF(1u);\n}",
      ""};
  for (const std::string& body : bodies) {
    const std::string source = Make(MakeBody(body));
    EXPECT_EQ(source.find("OSTRA_KERNEL_BOUND"), std::string::npos) << source;
    EXPECT_EQ(source.find("OSTRA_IS_INSIDE"), std::string::npos) << source;
  }
}

TEST(FrontStepTest, NoisesAreCountedByTheNumbersOfTheirCalls) {
  const auto count = [](const std::string& body, const std::string& before = "") {
    return CountKernelNoises({}, before +
                                     "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tADDNOISECALL\n\tvec3 p = vec3(1.0, "
                                     "2.0, 3.0);\n" +
                                     body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  };
  EXPECT_EQ(*count("float a = RenderNoise(0, p, 0.5) + RenderNoise(3, p, 0.5); // RenderNoise(7, p, 0.5)"), 4);
  EXPECT_EQ(*count("float a = NOISE(5, p, 0.5);", "#define NOISE RenderNoise\n"), 6);
  EXPECT_EQ(*count(""), 0);
  EXPECT_EQ(*count("float a = RenderNoise(1 + 1, p, 0.5);"), std::nullopt);
  EXPECT_EQ(*count("CPU_SCOPE_START\nauto a = RenderNoise(2, p, 0.5);\nCPU_SCOPE_END"), std::nullopt);
  EXPECT_THAT(count("float a = RenderNois(0, p, 0.5);"), IsErrorOfKind(kIllegalArgumentError));
}

TEST(KernelReadingTest, GivesWhatTheFunctionsGiveAndAsksForEachHeaderOnce) {
  const std::string kernel =
      "#include \"more.h\"\n\n#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<Float32>) values\n\n"
      "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < UNIFORM(count))\n"
      "\t\tUNIFORM_BUFFER(values)[i] = Half(vec2(1.0, 2.0).yx.x);\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  int count = 0;
  KernelSourceOptions options{.fileName = "k.krn", .classId = "k.krn"};
  options.readHeader = [&count](const std::string& name, const std::string&) -> std::optional<KernelHeader> {
    ++count;
    return KernelHeader{name, "float Half(float x)\n{\n\treturn x * 0.5;\n}\n"};
  };
  const auto source = GenerateKernelSource(options, kernel);
  const auto lanes = ExplainKernelLanes(options, kernel);
  const auto plain = MakePlainKernel(options, kernel);
  ASSERT_THAT(source, IsOk());
  ASSERT_THAT(plain, IsOk());
  ASSERT_TRUE(*plain);
  count = 0;
  const auto reading = KernelReading::Create(options, kernel);
  ASSERT_THAT(reading, IsOk());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(*reading->GenerateSource(), *source);
    EXPECT_EQ(*reading->ExplainLanes(), *lanes);
    EXPECT_EQ((*reading->MakePlainKernel())->text, (*plain)->text);
    EXPECT_EQ(*reading->CountNoises(), 0);
    EXPECT_THAT(reading->FindMistakes(), IsOk());
  }
  EXPECT_EQ(count, 1);
}

TEST(PlainKernelTest, ARemainderThatMayBeNegativeIsWrittenAnewInAPlainKernel) {
  const auto make = [](std::string_view operand) {
    const std::string text =
        "#define KERNELINPUTS \\\n(Block<Int32>) values\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n"
        "\tuint i = LinearInvocation();\n\tUNIFORM_BUFFER(values)[i] = " +
        std::string(operand) + " % 3;\n}\nOSTRA_PARALLEL_KERNEL_END\n";
    return MakePlainKernel({.fileName = "k.krn", .classId = "k.krn"}, text);
  };
  const auto open = make("UNIFORM_BUFFER(values)[i]"), certain = make("int(InLocalInvocationID.x)");
  ASSERT_THAT(open, IsOk());
  ASSERT_TRUE(*open);
  EXPECT_NE((*open)->text.find("= ostra_remainder_int(UNIFORM_BUFFER(values)[i], 3);"), std::string::npos);
  ASSERT_THAT(certain, IsOk());
  EXPECT_FALSE(*certain);
}

TEST_F(FrontStepTextTest, TablesNameTheirClassesInOrder) {
  auto table = GenerateKernelTable("my_app", {"net.example.b.krn", "net.example.a-1.krn"});
  ASSERT_THAT(table, IsOk());
  const std::string_view text = *table;
  EXPECT_LT(text.find("{\"net.example.b.krn\", &Create_net_example_b_krn}"),
            text.find("{\"net.example.a-1.krn\", &Create_net_example_a_x45_1_krn}"));
  EXPECT_NE(text.find("ostra::KernelTable GetKernels_my_app()"), std::string::npos);
  EXPECT_THAT(GenerateKernelTable("my app", {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(GenerateKernelTableHeader("1st"),
              IsErrorWith(kIllegalArgumentError, "The name \"1st\" of a kernel table is no C++ identifier."));
}

TEST_F(FrontStepTextTest, LargeTextsHaveNoWideFormAndTheirExplanationSaysSo) {
  const auto withFunctions = [](int count) {
    std::string text =
        "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<Float32>) values\n\n"
        "GROUPSIZE(256, 1, 1)\n\n";
    for (int i = 0; i < count; ++i)
      text += "float Part" + std::to_string(i) + "(float value)\n{\n\treturn sqrt(value) * 0.5;\n}\n";
    return text +
           "\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < "
           "UNIFORM(count))\n\t{\n"
           "\t\tUNIFORM_BUFFER(values)[i] = Part0(UNIFORM_BUFFER(values)[i]);\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  };
  constexpr const char* kLanes = "OSTRA_KERNEL_HAS_LANES";
  EXPECT_NE(Make(withFunctions(1)).find(kLanes), std::string::npos);
  const std::string large = withFunctions(6000);
  EXPECT_EQ(Make(large).find(kLanes), std::string::npos);
  const auto explained = ExplainKernelLanes({.fileName = "large.krn"}, large);
  ASSERT_THAT(explained, IsOk());
  EXPECT_NE(explained->GetView().find("no wide form because of a text of more than 256 KiB"), std::string_view::npos);
}

}  // namespace
}  // namespace ostra::test
