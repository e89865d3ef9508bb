// What the front step refuses, and how it says so.
#include <gtest/gtest.h>

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "tests/support/excerpt.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

struct Refusal {
  const char* name;
  const char* text;
  int line, column;
  const char* message;
  // Of a rule about lines: where and why the file is not understood, so that the rule holds.
  int noteLine = 0, noteColumn = 0;
  const char* reason = nullptr;
};

std::string MakeNote(const std::string& place, const char* reason) {
  return "\n" + place + ": note: the rules for lines hold because this is not understood: " + reason;
}

constexpr const char* kNoKernel =
    "the file has no kernel: write OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS), its body in braces on the lines below, "
    "and OSTRA_PARALLEL_KERNEL_END";

const Refusal kRefusals[] = {
    {"EmptyFile", "", 1, 1, kNoKernel},
    {"NoKernel", "// one\nint a;\n", 2, 6, kNoKernel},
    {"KernelOfC", "// one\nvoid main()\n{\n}\n", 2, 6, kNoKernel},
    {"KernelOfAnotherLanguage", "int a;\n__kernel void Scale(__global float* x)\n{\n}\n", 2, 1, kNoKernel},
    {"MisspeltKernel", "OSTRA_PARALEL_KERNEL(A, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n", 1, 1,
     "unknown word \"OSTRA_PARALEL_KERNEL\"; did you mean \"OSTRA_PARALLEL_KERNEL\"?"},
    {"SecondKernel",
     "OSTRA_PARALLEL_KERNEL(A, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\nFP_KERNEL(B, K)\n{\n}\nFP_KERNEL_END\n", 5, 1,
     "a second kernel: the first one is in line 1"},
    {"KernelWithoutEnd", "OSTRA_PARALLEL_KERNEL(A, K)\n{\n}\n", 1, 1,
     "the kernel has no end: OSTRA_PARALLEL_KERNEL_END is missing"},
    {"KernelWithoutStart", "OSTRA_PARALLEL_KERNEL_END\n", 1, 1,
     "the kernel that ends here has no start: write OSTRA_PARALLEL_KERNEL(Name, KERNELINPUTS), its body in braces on "
     "the lines below, and OSTRA_PARALLEL_KERNEL_END"},
    {"KernelWithoutName", "\nFP_KERNEL(, K)\n{\n}\nFP_KERNEL_END\n", 2, 1,
     "FP_KERNEL is not used in the form FP_KERNEL(Name, KERNELINPUTS)"},
    {"BracesOfTheKernel", "FP_KERNEL(A, K)\n{\n\tif (a) {\n}\nFP_KERNEL_END\n", 2, 1,
     "this brace is not closed before FP_KERNEL_END"},
    {"BracesOfTheMethod", "OSTRA_METHOD Result<void> Kernel()\n{\n\tif (a) {\n}\n", 1, 1,
     "the kernel's braces do not match"},
    {"BraceBeforeTheKernel", "struct A {\nOSTRA_PARALLEL_KERNEL(A, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n", 2, 1,
     "a brace before the kernel is not closed"},
    {"BraceTooMuch", "}\n", 1, 1, "a brace is closed that is not open"},
    {"BraceLeftOpen", "FP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\ninline int F()\n{\n", 6, 1,
     "a brace that is opened outside of the kernel is not closed"},
    {"DeclarationWithoutType", "#define KERNELINPUTS \\\nFloat32 a\n\n", 2, 1,
     "this line of KERNELINPUTS is not conforming to '(type) name'"},
    {"DeclarationWithoutName", "#define KERNELINPUTS \\\n(Float32), \\\n(Float32) b\n\n", 2, 1,
     "this line of KERNELINPUTS is not conforming to '(type) name'"},
    {"DeclarationWithoutComma", "#define KERNELINPUTS \\\n(Float32) a \\\n(Float32) b\n\n", 3, 1,
     "a comma is missing after the parameter \"a\""},
    {"DeclarationsOnOneLine", "#define KERNELINPUTS \\\n(Float32) a, (Float32) b\n\n", 2, 14,
     "each parameter of KERNELINPUTS needs a line of its own"},
    {"NoLineAfterDeclarations", "#define KERNELINPUTS \\\n(Float32) a\nint b;\n", 3, 1,
     "an empty line must follow KERNELINPUTS: the translation for the GPU reads on until there is one", 3, 1,
     "a variable outside of functions"},
    {"ParameterTwice", "#define KERNELINPUTS \\\n(Float32) a, \\\n(Int32) a\n\n", 3, 9,
     "there is a parameter \"a\" already"},
    {"MemberTwice", "struct KernelInput\n{\n\tFloat32 a;\n\tFloat32 a;\n};\n", 4, 10,
     "there is a parameter \"a\" already"},
    {"MisspeltType", "#define KERNELINPUTS \\\n(Flot32) gain\n\n", 2, 2,
     "unknown type \"Flot32\"; did you mean \"Float32\"?"},
    {"ExchangedLettersOfAType", "#define KERNELINPUTS \\\n(Flaot32) gain\n\n", 2, 2,
     "unknown type \"Flaot32\"; did you mean \"Float32\"?"},
    {"MisspeltElementType", "#define KERNELINPUTS \\\n(UInt32) a, \\\n(const Block<Vector4d3>) b\n\n", 3, 14,
     "unknown type \"Vector4d3\"; did you mean \"Vector4d32\"?"},
    {"MisspeltBlock", "#define KERNELINPUTS \\\n(Blok<Float32>) b\n\n", 2, 2,
     "unknown type \"Blok\"; did you mean \"Block\"?"},
    {"MisspeltTypeOfAMember", "struct KernelInput\n{\n\tuint32 a;\n};\n", 3, 2,
     "unknown type \"uint32\"; did you mean \"UInt32\"?"},
    {"DeclarationsTwice", "#define KERNELINPUTS \\\n(Float32) a\n\nstruct KernelInput\n{\n};\n", 4, 1,
     "the parameters were declared before, in line 1"},
    {"GraphicsParameter", "#define KERNELINPUTS \\\n(attribute Vector32) a\n\n", 2, 2,
     "\"attribute\" parameters belong to graphics shaders"},
    {"TextureWithoutSampler", "#define KERNELINPUTS \\\n(const TextureSampler_2D_RG_F32_POINT) a\n\n", 2, 8,
     "kernels on the CPU have no texture type \"TextureSampler_2D_RG_F32_POINT\"; there are "
     "TextureSampler_<d>D_<kind> with 1, 2 or 3 for <d> and R_U8_POINT, R_F32_POINT, R_F32_LINEAR, RG_F32_LINEAR, "
     "RGB_F32_LINEAR or RGBA_F32_LINEAR for <kind>"},
    {"MisspeltValue",
     "#define KERNELINPUTS \\\n(Float32) radius\n\nFP_KERNEL(A, K)\n{\n\tfloat r = "
     "UNIFORM(radios);\n}\nFP_KERNEL_END\n",
     6, 20, "there is no parameter \"radios\"; did you mean \"radius\"?"},
    {"MisspeltBuffer",
     "#define KERNELINPUTS \\\n(Block<Float32>) v\n\nFP_KERNEL(A, K)\n{\n\tUNIFORM_BUFFER(values)[0] = "
     "1.0;\n}\nFP_KERNEL_END\n",
     6, 17, "there is no parameter \"values\""},
    {"MemberWithoutName", "struct KernelInput\n{\n\tFloat32;\n};\n", 3, 2,
     "this member of KernelInput is not conforming to 'type name;'"},
    {"StructWithoutEnd", "struct KernelInput\n{\n\tFloat32 a;\n", 1, 1, "struct KernelInput has no end \"};\""},
    {"BraceOnTheLineOfTheStruct", "struct KernelInput {\n\tFloat32 a;\n};\n", 1, 20,
     "the brace belongs on a line of its own: the translator takes the next line for it, and counts "
     "this "
     "one in addition",
     4, 1, "a file without a kernel"},
    {"GroupSizeWithoutBlanks", "GROUPSIZE(8,8,1)\n", 1, 1,
     "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only"},
    {"GroupSizeOfZero", "GROUPSIZE(8, 0, 1)\n", 1, 1, "every component of GROUPSIZE must be at least 1"},
    {"GroupSizeTooLarge", "GROUPSIZE(8, 5000000000, 1)\n", 1, 1,
     "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only"},
    {"GroupSizeWithSemicolon", "GROUPSIZE(8, 8, 1);\n", 1, 1,
     "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only"},
    {"CodeAfterADirective", "GROUPSIZE(8, 8, 1)\nint a;\n", 2, 1,
     "the line after GROUPSIZE must be empty: the translation for the GPU drops it", 2, 1,
     "a variable outside of functions"},
    {"KernelAfterADroppedLine", "GROUPSIZE(8, 8, 1)\nOSTRA_PARALLEL_KERNEL(A, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n", 2,
     1, "the line after GROUPSIZE must be empty: the translation for the GPU drops it", 2, 26, "this use of \"K\""},
    {"GranularityWithoutNumber", "CPU_GRANULARITY(many)\n", 1, 1,
     "CPU_GRANULARITY is not used in the form CPU_GRANULARITY(count)"},
    {"ThresholdWithoutParentheses", "CPU_SINGLETHREADEDTHRESHOLD 5\n", 1, 1,
     "CPU_SINGLETHREADEDTHRESHOLD is not used in the form CPU_SINGLETHREADEDTHRESHOLD(count)"},
    {"ScopeWithoutEnd", "FP_KERNEL(A, K)\n{\n\tCPU_SCOPE_START\n}\nFP_KERNEL_END\n", 3, 2,
     "CPU_SCOPE_START has no CPU_SCOPE_END"},
    {"BraceOnTheKernelsLine", "FP_KERNEL(A, K) {\n}\nFP_KERNEL_END\n", 1, 17,
     "the brace of the kernel belongs on a line of its own: the translation for the GPU drops the "
     "whole "
     "line of FP_KERNEL",
     1, 14, "this use of \"K\""},
    {"KernelOnTwoLines", "FP_KERNEL(A,\n K)\n{\n}\nFP_KERNEL_END\n", 1, 1,
     "FP_KERNEL(Name, KERNELINPUTS) belongs on one line: the translation for the GPU drops only its "
     "first "
     "line",
     2, 2, "this use of \"K\""},
    {"EndBehindTheBrace", "FP_KERNEL(A, K)\n{\n} FP_KERNEL_END\n", 3, 3,
     "FP_KERNEL_END must begin its line: the translation for the GPU does not find it here", 1, 14,
     "this use of \"K\""},
    {"BraceTooMuchInTheKernel", "FP_KERNEL(A, K)\n{\n\ta;\n}\n}\nFP_KERNEL_END\n", 4, 1,
     "this brace closes the kernel, which ends in line 6: is it one too many, or is an opening brace "
     "missing before it?"},
    {"CopyOnTheLineOfABrace", "FP_KERNEL(A, K)\n{\n\t{ MAKELOCAL(a, 64, F)\n\t}\n}\nFP_KERNEL_END\n", 3, 4,
     "MAKELOCAL belongs on a line of its own: the translation for the GPU replaces the whole line", 1, 14,
     "this use of \"K\""},
    {"BraceBehindACopy", "FP_KERNEL(A, K)\n{\n\t{\n\tMAKELOCAL(a, 64, F); }\n}\nFP_KERNEL_END\n", 4, 2,
     "MAKELOCAL belongs on a line of its own: the translation for the GPU replaces the whole line", 1, 14,
     "this use of \"K\""},
    {"BraceInABlockComment", "FP_KERNEL(A, K)\n{\n/* a\n} b */\n}\nFP_KERNEL_END\n", 4, 1,
     "the brace in this comment ends the block on the GPU: the translation counts braces in comments", 1, 14,
     "this use of \"K\""},
    {"OpenBraceInACommentOfAFunction", "inline int F()\n{\n// {\n}\nFP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n", 3, 4,
     "the brace in this comment keeps the block open on the GPU: the translation counts braces in "
     "comments",
     5, 14, "this use of \"K\""},
    {"FunctionOnOneLine", "inline int F() { return 1; }\nFP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n", 1, 16,
     "a function on one line has no body on the GPU: write its braces on lines of their own", 2, 14,
     "this use of \"K\""},
    {"BraceOnTheFunctionsLine", "inline int F() {\n return 1;\n}\nFP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n", 1, 16,
     "the brace of a function belongs on a line of its own: here it is left out on the GPU", 4, 14,
     "this use of \"K\""},
    {"FunctionHeadOnTwoLines", "inline int F(int a,\n int b)\n{\n}\nFP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n", 1, 1,
     "the declaration of a function belongs on one line: the translation for the GPU takes the first "
     "one",
     5, 14, "this use of \"K\""},
    {"NamespaceBeforeCode", "namespace a {\nint b;\n}\n", 2, 1,
     "the line after a namespace must be its opening brace or empty: the translation for the GPU drops "
     "it",
     2, 1, "a variable outside of functions"},
};

class FrontStepErrorTest : public testing::TestWithParam<Refusal> {};

TEST_P(FrontStepErrorTest, IsRefusedAtItsLine) {
  const Refusal& refusal = GetParam();
  const std::string place = "k.krn:" + std::to_string(refusal.line) + ":" + std::to_string(refusal.column);
  const std::string message = place + ": error: " + refusal.message;
  std::string note, noteExcerpt;
  if (refusal.reason) {
    note = MakeNote("k.krn:" + std::to_string(refusal.noteLine) + ":" + std::to_string(refusal.noteColumn),
                    refusal.reason);
    noteExcerpt = MakeExcerpt(refusal.text, refusal.noteLine, refusal.noteColumn);
  }
  EXPECT_THAT(GenerateKernelSource({.fileName = "k.krn"}, refusal.text),
              IsErrorWith(kIllegalArgumentError,
                          message + MakeExcerpt(refusal.text, refusal.line, refusal.column) + note + noteExcerpt));
  // The line of an encoded file is not shown.
  EXPECT_THAT(GenerateKernelSource({.fileName = "k.krn", .isHidden = true}, refusal.text),
              IsErrorWith(kIllegalArgumentError, message + note));
}

INSTANTIATE_TEST_SUITE_P(Texts, FrontStepErrorTest, testing::ValuesIn(kRefusals),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(FrontStepLimitsTest, HeadersWithoutEndAreRefused) {
  KernelSourceOptions options{.fileName = "k.krn"};
  int count = 0;
  options.readHeader = [&count](const std::string&, const std::string&) -> std::optional<KernelHeader> {
    return KernelHeader{std::string("h").append(std::to_string(count++)), "#include \"next.h\"\n"};
  };
  const auto result =
      GenerateKernelSource(options, "#include \"first.h\"\n" + std::string("FP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n"));
  EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError,
                                  "h999:1:1: error: more than 1000 headers are included\n#include \"next.h\"\n^"));
}

TEST(FrontStepHeaderTest, AFunctionOnOneLineInTheHeaderOfTheKernelIsNamedThere) {
  KernelSourceOptions options{.fileName = "a/k.krn"};
  std::string header = "a/k.h";
  options.readHeader = [&header](const std::string&, const std::string&) -> std::optional<KernelHeader> {
    return KernelHeader{header, "\ninline int F() { return 1; }\n"};
  };
  const std::string source = "#include \"k.h\"\nFP_KERNEL(A, K)\n{\n}\nFP_KERNEL_END\n";
  EXPECT_THAT(
      GenerateKernelSource(options, source),
      IsErrorWith(
          kIllegalArgumentError,
          std::string("a/k.h:2:16: error: a function on one line has no body on the GPU: write its braces on lines "
                      "of their own\ninline int F() { return 1; }\n               ^") +
              MakeNote("a/k.krn:2:14", "this use of \"K\"") + MakeExcerpt(source, 2, 14)));
  header = "a/only_for_the_cpu.h";
  EXPECT_THAT(GenerateKernelSource(options, source), IsOk());
}

TEST(FrontStepRulesTest, WhatTheTranslationReadsWellIsNoMistake) {
  for (const char* body :
       {"\t// { }\n", "\t/* {\n\t} */\n", "\tCPU_SCOPE_START\n\t// }\n\t{ MAKELOCAL(a, 64, F) }\n\tCPU_SCOPE_END\n",
        "#ifdef A\n\tif (a) {\n#else\n\tif (b) {\n#endif\n\t}\n", "\tMAKELOCAL(a, 64, F); // copies\n",
        "\tif (a) { b; } else { c; }\n", "\t// {\n"}) {
    const auto mistakes = FindSourceMistakes("inline int F()\n{ return 1; }\n\nFP_KERNEL(A, K)\n{\n" +
                                             std::string(body) + "}\nFP_KERNEL_END\n");
    EXPECT_TRUE(mistakes.empty()) << body << mistakes[0].position << mistakes[0].text;
  }
}

TEST(FrontStepUsesTest, NamesThatSomethingElseMayStandBehindAreLeftToTheCompiler) {
  const std::string head = "#define KERNELINPUTS \\\n(Float32) radius\n\n";
  const std::string kernel = "FP_KERNEL(A, K)\n{\n\tfloat r = UNIFORM(size);\n}\nFP_KERNEL_END\n";
  const KernelSourceOptions options{.fileName = "k.krn"};
  EXPECT_THAT(
      GenerateKernelSource(options, head + kernel),
      IsErrorWith(
          kIllegalArgumentError,
          "k.krn:6:20: error: there is no parameter \"size\"\n\tfloat r = UNIFORM(size);\n\t                  ^"));
  for (const char* line : {"#define size radius\n", "#include \"sizes.h\"\n"})
    EXPECT_THAT(GenerateKernelSource(options, head + line + kernel), IsOk()) << line;
  const std::string joining =
      "#define VALUE(x) UNIFORM(x##us)\nFP_KERNEL(A, K)\n{\n\tfloat r = VALUE(radi);\n}\nFP_KERNEL_END\n";
  EXPECT_THAT(GenerateKernelSource(options, head + joining), IsOk());
}

}  // namespace
}  // namespace ostra::test
