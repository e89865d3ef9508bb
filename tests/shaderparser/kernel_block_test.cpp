// How a kernel file is cut into blocks: kernels, functions, file-scope code, directives.
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KernelBlockTest : public ParserTest {
 protected:
  std::string KernelOf(std::string_view text, const ParseSettings& settings = {}) const {
    return ToText(Parse(text, settings)->GetKernelCode());
  }
  std::vector<std::string> GlobalCodeOf(std::string_view text) const { return GetTexts(Parse(text)->GetGlobalCode()); }
};

constexpr std::string_view kSmallKernel =
    "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\nbody\n}\nOSTRA_PARALLEL_KERNEL_END\n";

TEST_F(KernelBlockTest, AMacroKernelKeepsItsBraces) {
  EXPECT_EQ(KernelOf(kSmallKernel), "{\nbody\n}");
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\n{\n\tint a;\n\n\t  int b;\n}\nFP_KERNEL_END\n"), "{\nint a;\nint b;\n}");
}

TEST_F(KernelBlockTest, AMethodKernelHasNoBraces) {
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void> Kernel(const Vec3<Int32>& id)\n{\na;\nif (b)\n{\nc;\n}\n}\nlost\n"),
            "a;\nif (b)\n{\nc;\n}");
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void> KernelOfAnyName()\n{\na;\n}\n"), "a;");
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void> Other()\n{\na;\n}\n"), "");
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void>  Kernel()\n{\na;\n}\n"), "");
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<Int> Kernel()\n{\na;\n}\n"), "");
}

TEST_F(KernelBlockTest, TheLineAfterAMethodKernelIsSkippedWhateverItHolds) {
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void> Kernel()\nnot a brace\na;\n}\n"), "a;");
}

TEST_F(KernelBlockTest, AKernelMayAlsoEndAtOneBraceTooMany) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\n{\na;\n}\n}\nlost\n"), "{\na;\n}");
}

TEST_F(KernelBlockTest, ABraceOnTheKernelLineCounts) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K) {\na;\n}\nb;\n}\nlost;\n"), "a;\n}\nb;");
  // The rest of a line on which a block ends is not looked at.
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\na;\n}{{{\ninline f()\n{\n}\n"), "a;");
}

TEST_F(KernelBlockTest, AKernelMethodThatEndsOnItsOwnLineIsEmpty) {
  const ParserRef parser = Parse("OSTRA_METHOD Result<void> Kernel() }\n{\ninline f()\n{\n}\n");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "");
  EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
}

TEST_F(KernelBlockTest, BracesAreCountedInTheTranslatedLine) {
  // The whole line with its brace is replaced, so the block ends at the brace that would have closed it.
  const ParserRef parser = Parse("inline f()\n{\nif (x) { v = matoff(m);\n}\ng;\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nvec3((m.v0.w, (m.v1.w, (m.v2.w)\n}");
}

TEST_F(KernelBlockTest, ASecondKernelIsAnError) {
  const std::string text = std::string(kSmallKernel) + "a\n" + std::string(kSmallKernel);
  EXPECT_THAT(TryParse(text),
              IsErrorWith(kIllegalStateError,
                          "Illegal state: Parser Error: Second Kernel function at line 6 in " + GetPath("k.krn")));
  EXPECT_THAT(TryParse("FP_KERNEL(K)\n}\nOSTRA_METHOD Result<void> Kernel()\n"),
              IsErrorWith(kIllegalStateError,
                          "Illegal state: Parser Error: Second Kernel function at line 2 in " + GetPath("k.krn")));
}

TEST_F(KernelBlockTest, AnEndMacroOutsideAKernelBeginsOne) {
  EXPECT_EQ(KernelOf("FP_KERNEL_END\na;\nFP_KERNEL_END\n"), "a;");
  EXPECT_EQ(KernelOf("OSTRA_PARALLEL_KERNEL_END\na;\nOSTRA_PARALLEL_KERNEL_END\n"), "a;");
  EXPECT_THAT(TryParse(std::string(kSmallKernel) + "FP_KERNEL_END\n"), IsErrorOfKind(kIllegalStateError));
}

TEST_F(KernelBlockTest, AnEndMacroEndsAnyBlockAndMakesItAKernel) {
  const ParserRef fromFunction = Parse("inline f()\n{\na;\nFP_KERNEL_END\nb;\n");
  EXPECT_EQ(ToText(fromFunction->GetKernelCode()), "{\na;");
  EXPECT_TRUE(fromFunction->GetFunctions().IsEmpty());
  EXPECT_THAT(TryParse("inline f()\n{\na;\nFP_KERNEL_END\nFP_KERNEL(K)\n"), IsErrorOfKind(kIllegalStateError));

  const ParserRef fromInputs = Parse("#define KERNELINPUTS \\\n(Float32) a, \\\nFP_KERNEL_END\n");
  EXPECT_TRUE(fromInputs->GetInputEntries().IsEmpty());
  EXPECT_THAT(TryParse("struct KernelInput\n{\nFloat32 a;\nFP_KERNEL_END\nFP_KERNEL(K)\n"),
              IsErrorOfKind(kIllegalStateError));
}

TEST_F(KernelBlockTest, WordsOfKernelsInsideBlocksAreOrdinaryLines) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\nFP_KERNEL(L)\nOSTRA_PARALLEL_KERNEL(M)\nFP_KERNEL_END\n"),
            "FP_KERNEL(L)\nOSTRA_PARALLEL_KERNEL(M)");
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\nGROUPSIZE(1, 2, 3)\nnamespace n\n#define X\n{}\nFP_KERNEL_END\n"),
            "GROUPSIZE(1, 2, 3)\nnamespace n\n#define X\n{}");
}

TEST_F(KernelBlockTest, WhatIsOpenAtTheEndIsDropped) {
  const ParserRef kernel = Parse("FP_KERNEL(K)\n{\na;\n}\n");
  EXPECT_EQ(ToText(kernel->GetKernelCode()), "");
  EXPECT_TRUE(Parse("inline f()\n{\na;\n")->GetFunctions().IsEmpty());
  EXPECT_TRUE(Parse("struct KernelInput\n{\nFloat32 a;\n")->GetInputEntries().IsEmpty());
  EXPECT_TRUE(Parse("#define KERNELINPUTS \\\n(Float32) a")->GetInputEntries().IsEmpty());
}

TEST_F(KernelBlockTest, AnInlineFunctionIsDeclarationAndBody) {
  const ParserRef parser = Parse("inline Float32 Blend(Float32 a)\n{\n\treturn a;\n}\ninline Int32 Two()\n{\n}\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 2);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "Float32 Blend(Float32 a)");
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nreturn a;\n}");
  EXPECT_EQ(ToText(parser->GetFunctions()[1].declaration), "Int32 Two()");
  EXPECT_EQ(ToText(parser->GetFunctions()[1].body), "{\n}");
}

TEST_F(KernelBlockTest, AOneLineFunctionHasAnEmptyBody) {
  const ParserRef parser = Parse("inline Float32 One() { return 1.0; }\nlost\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "Float32 One() { return 1.0; }");
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "");
}

TEST_F(KernelBlockTest, TheWordInlineAloneBeginsAFunctionWithoutDeclaration) {
  const ParserRef parser = Parse("inline\n{\n}\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "");
  EXPECT_TRUE(Parse("inline\tf()\n{\n}\n")->GetFunctions().IsEmpty());
}

TEST_F(KernelBlockTest, FileScopeCodeIsTakenWhenABlockBegins) {
  EXPECT_THAT(GlobalCodeOf("const float a;\n  const float b;\nFP_KERNEL(K)\nFP_KERNEL_END\n"),
              ElementsAre("const float a;\nconst float b;\n"));
  EXPECT_THAT(GlobalCodeOf("a;\ninline f()\n{\n}\nb;\nc;\nstruct KernelInput\n{\n};\nd;\n#define KERNELINPUTS \\\n"),
              ElementsAre("a;\n", "b;\nc;\n", "d;\n"));
  EXPECT_THAT(GlobalCodeOf("a;\n#define KERNELINPUTS \\\n(Float32) x, \\\nFP_KERNEL(K)\n"), ElementsAre("a;\n"));
}

TEST_F(KernelBlockTest, CodeAfterTheLastBlockIsLost) {
  EXPECT_THAT(GlobalCodeOf(std::string(kSmallKernel) + "const float a;\n"), IsEmpty());
  EXPECT_THAT(GlobalCodeOf("const float a;\n"), IsEmpty());
}

TEST_F(KernelBlockTest, OutsideOfBlocksHashesAndClosingBracesAreDropped) {
  EXPECT_THAT(GlobalCodeOf("#include \"a.h\"\n#define A 1\nstruct S\n{\nint a;\n};\n}\n} x\ninline f()\n{\n}\n"),
              ElementsAre("struct S\n{\nint a;\n"));
}

TEST_F(KernelBlockTest, BracesOutsideOfBlocksDoNotCount) {
  EXPECT_EQ(KernelOf("{{{{\nOSTRA_METHOD Result<void> Kernel()\n{\na;\n}\n"), "a;");
}

TEST_F(KernelBlockTest, EmptyLinesAreNeverCopied) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\n\na;\n \t\n\r\nb;\n\nFP_KERNEL_END\n"), "a;\nb;");
  EXPECT_THAT(GlobalCodeOf("a;\n\n  \nb;\nFP_KERNEL(K)\n"), ElementsAre("a;\nb;\n"));
}

TEST_F(KernelBlockTest, ALineThatARuleEmptiesIsCopied) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\na;\nGROUPSHAREDMEM(float, cache, 256)\nb;\nFP_KERNEL_END\n"), "a;\n\nb;");
}

Vec3<Int32> GroupSizeOf(const ParserRef& parser) { return parser->GetWorkGroupSize(); }

TEST_F(KernelBlockTest, TheWorkGroupSizeIsRead) {
  EXPECT_EQ(GroupSizeOf(Parse("")), Vec3<Int32>(256, 1, 1));
  EXPECT_EQ(GroupSizeOf(Parse("GROUPSIZE(8, 8, 1)\n")), Vec3<Int32>(8, 8, 1));
  EXPECT_EQ(GroupSizeOf(Parse("GROUPSIZE(8, 8, 1)\n\nGROUPSIZE(1, 2, 3)\n")), Vec3<Int32>(1, 2, 3));
  // The minus one in x is what stands for nothing at all.
  EXPECT_EQ(GroupSizeOf(Parse("GROUPSIZE(-1, 8, 4)\n")), Vec3<Int32>(256, 1, 1));
  EXPECT_EQ(GroupSizeOf(Parse("GROUPSIZE(0, -8, 4)\n")), Vec3<Int32>(0, -8, 4));
  // The characters that are taken off are not checked.
  EXPECT_EQ(GroupSizeOf(Parse("GROUPSIZES1; 2; 3;\n")), Vec3<Int32>(1, 2, 3));
}

TEST_F(KernelBlockTest, AWrongWorkGroupSizeIsAnError) {
  const char* const message = "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only";
  EXPECT_THAT(TryParse("GROUPSIZE(8,8,1)\n"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(TryParse("GROUPSIZE(8, 8)\n"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(TryParse("GROUPSIZE(8, 8, 1, 1)\n"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(TryParse("GROUPSIZE(8,  8, 1)\n"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(TryParse("GROUPSIZE\n"), IsErrorWith(kIllegalArgumentError, message));
  const auto notANumber = String("x"_s).ToInt();
  EXPECT_THAT(TryParse("GROUPSIZE(x, 8, 1)\n"),
              IsErrorWith(kIllegalArgumentError, notANumber.GetError().GetMessage().GetView()));
  EXPECT_THAT(TryParse("GROUPSIZE(8, 8, 1);\n"), IsErrorWith(kIllegalArgumentError, "\"1)\" is not an integer."));
  EXPECT_THAT(TryParse("GROUPSIZE(8, 8, 1)\r\n"), IsErrorWith(kIllegalArgumentError, "\"1)\" is not an integer."));
  EXPECT_THAT(TryParse("GROUPSIZE a b\n"), IsErrorWith(kIllegalArgumentError, "\"\" is not an integer."));
  EXPECT_THAT(TryParse("GROUPSIZE(4294967297, 1, 1)\n"),
              IsErrorWith(kIllegalArgumentError, "\"4294967297\" is not a 32-bit integer."));
}

TEST_F(KernelBlockTest, TheLineAfterSomeDirectivesIsSkippedWhateverItHolds) {
  for (const std::string directive : {"GROUPSIZE(8, 8, 1)", "CPU_GRANULARITY(16)", "CPU_SINGLETHREADEDTHRESHOLD(64)",
                                      "CPU_GRANULARITYANDMORE", "namespace n", "namespace"}) {
    EXPECT_THAT(GlobalCodeOf(directive + "\nlost;\nkept;\nFP_KERNEL(K)\n"), ElementsAre("kept;\n")) << directive;
    const ParserRef parser = Parse(directive + "\nFP_KERNEL(K)\n{\na;\n}\nFP_KERNEL_END\nb;\nFP_KERNEL_END\n");
    EXPECT_EQ(ToText(parser->GetKernelCode()), "b;") << directive;
  }
  EXPECT_THAT(GlobalCodeOf("namespaces\na;\nFP_KERNEL(K)\n"), ElementsAre("namespaces\na;\n"));
}

TEST_F(KernelBlockTest, NoiseCallsAreCounted) {
  EXPECT_EQ(Parse("")->GetNoiseCallCount(), 0);
  const ParserRef parser =
      Parse("ADDNOISECALL\nADDNOISECALL(0)\nFP_KERNEL(K)\nADDNOISECALL\n  ADDNOISECALL x\nFP_KERNEL_END\n");
  EXPECT_EQ(parser->GetNoiseCallCount(), 3);
  EXPECT_EQ(ToText(parser->GetKernelCode()), "ADDNOISECALL\nADDNOISECALL x");
  EXPECT_THAT(GetTexts(parser->GetGlobalCode()), ElementsAre("ADDNOISECALL(0)\n"));
}

TEST_F(KernelBlockTest, NoiseCallsOfFunctionsCountToo) {
  const ParserRef parser = Parse("inline void F()\n{\nADDNOISECALL\n}\n");
  EXPECT_EQ(parser->GetNoiseCallCount(), 1);
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nADDNOISECALL\n}");
}

TEST_F(KernelBlockTest, ABraceOnTheLineOfAMethodCountsInAddition) {
  EXPECT_EQ(KernelOf("OSTRA_METHOD Result<void> Kernel() {\nlost;\na;\n}\nb;\n}\nrest;\n"), "a;\n}\nb;");
}

TEST_F(KernelBlockTest, BracesThatAKernelLeavesOpenDoNotMatterAfterwards) {
  const ParserRef parser = Parse("FP_KERNEL(K)\n{\n{\na;\nFP_KERNEL_END\ninline f()\n{\nb;\n}\n");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "{\n{\na;");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nb;\n}");
}

TEST_F(KernelBlockTest, CpuScopesNeverReachTheGpu) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\na;\nCPU_SCOPE_START\n}}}\n\nFP_KERNEL_END\nCPU_SCOPE_END\nb;\nFP_KERNEL_END\n"),
            "a;\nb;");
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\na;\n CPU_SCOPE_START { }}\nx;\n CPU_SCOPE_END y;\nb;\nFP_KERNEL_END\n"), "a;\nb;");
  // The marker is a word of its own.
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\nCPU_SCOPE_START;\nCPU_SCOPE_STARTING\nFP_KERNEL_END\n"),
            "CPU_SCOPE_START;\nCPU_SCOPE_STARTING");
  const ParserRef inputs = Parse("struct KernelInput\n{\nFloat32 a;\nCPU_SCOPE_START\nFloat32 b;\nCPU_SCOPE_END\n};\n");
  EXPECT_EQ(inputs->GetInputEntries().GetCount(), 1);
}

TEST_F(KernelBlockTest, AnUnterminatedCpuScopeSwallowsTheRest) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\na;\nCPU_SCOPE_START\nb;\nFP_KERNEL_END\n"), "");
}

TEST_F(KernelBlockTest, CpuScopesAreKnownInsideBlocksOnly) {
  EXPECT_THAT(GlobalCodeOf("CPU_SCOPE_START\na;\nCPU_SCOPE_END\nFP_KERNEL(K)\n"),
              ElementsAre("CPU_SCOPE_START\na;\nCPU_SCOPE_END\n"));
}

TEST_F(KernelBlockTest, CarriageReturnsStayInTheWords) {
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\r\n{\r\na;\r\n}\r\nFP_KERNEL_END\r\n"), "{\r\na;\r\n}\r");
  EXPECT_EQ(KernelOf("FP_KERNEL(K)\nCPU_SCOPE_START\r\na;\nFP_KERNEL_END\n"), "CPU_SCOPE_START\r\na;");
  EXPECT_TRUE(Parse("struct KernelInput\r\n{\r\nFloat32 a;\r\n};\r\n")->GetInputEntries().IsEmpty());
}

TEST_F(KernelBlockTest, RulesApplyToFileScopeCodeToo) {
  EXPECT_THAT(GlobalCodeOf("const float a = Sqrt(2.0);\nFP_KERNEL(K)\n"), ElementsAre("const float a = sqrt(2.0);\n"));
}

TEST_F(KernelBlockTest, AFunctionMayFollowTheKernel) {
  const ParserRef parser = Parse(std::string(kSmallKernel) + "a;\ninline f()\n{\n}\n");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "{\nbody\n}");
  EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_THAT(GetTexts(parser->GetGlobalCode()), ElementsAre("a;\n"));
}

TEST_F(KernelBlockTest, AFileWithEveryPartIsTakenApart) {
  const ParserRef parser = Parse(
      "#include \"x.h\"\n"
      "GROUPSIZE(64, 1, 1)\n\n"
      "#define KERNELINPUTS \\\n(Float32) scale, \\\n(Block<Float32>) values\n\n"
      "const int kCount = 4;\n"
      "inline Float32 Blend(INOUT Float32 a)\n{\n\treturn Sqrt(a);\n}\n"
      "OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS)\n{\n\tint i = 0;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  EXPECT_EQ(GroupSizeOf(parser), Vec3<Int32>(64, 1, 1));
  EXPECT_EQ(parser->GetInputEntries().GetCount(), 2);
  EXPECT_THAT(GetTexts(parser->GetGlobalCode()), ElementsAre("const int kCount = 4;\n"));
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "Float32 Blend(inout Float32 a)");
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nreturn sqrt(a);\n}");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "{\nint i = 0;\n}");
}

}  // namespace
}  // namespace ostra::test
