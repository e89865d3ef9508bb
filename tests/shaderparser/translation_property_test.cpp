// Random sources through the parser and through the plain translator: the pieces are the same.
#include <random>

#include "tests/shaderparser/parser_fixture.h"
#include "tests/shaderparser/reference_translator.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

const Id kTargets[] = {kTargetHlsl, kTargetGlsl, kTargetMetal};

class TranslationPropertyTest : public ParserTest, public testing::WithParamInterface<UInt32> {
 protected:
  template <std::size_t COUNT>
  std::string Pick(const char* const (&pieces)[COUNT]) {
    return pieces[_random() % COUNT];
  }

  // A line of keywords, whole or cut, and what stands around them.
  std::string MakeLine() {
    static const char* const kPieces[] = {"TYPE",
                                          "CPU_CONSTREF(",
                                          "CPU_PASS_BUFFER(",
                                          "GetAtomicCounter",
                                          "Sqrt",
                                          "sqmat",
                                          "MAKELOCAL(a, b, c)",
                                          "ONLY_USE_FIRST_MSAA_SAMPLE",
                                          " GetFramebufferTexel(a, b)",
                                          " GetFramebufferTexel(a, b, InSampleID)",
                                          "LOCALDATA(a, b, c)",
                                          "ATOMIC ",
                                          "ATOMIC uint",
                                          "GROUPSHAREDMEM(a, b, c)",
                                          "matoff(m)",
                                          "matoff",
                                          "INOUT",
                                          "Block<",
                                          "const Block<int>",
                                          "Block<const int>",
                                          "LOCALDATA(",
                                          "MAKELOCAL",
                                          ")",
                                          ")",
                                          "(",
                                          " ",
                                          " ",
                                          ", ",
                                          ">",
                                          "{",
                                          "}",
                                          "x",
                                          "y;",
                                          "\t",
                                          "Get",
                                          "AtomicCounter",
                                          "Sq",
                                          "rt",
                                          "const "};
    std::string line;
    for (std::size_t i = _random() % 9; i > 0; --i) line += Pick(kPieces);
    if (_random() % 10 == 0 && !line.empty()) line.erase(_random() % line.size(), 1);
    return line;
  }

  std::string MakeSource() {
    static const char* const kStarts[] = {"FP_KERNEL(K)",
                                          "OSTRA_PARALLEL_KERNEL(K)",
                                          "FP_KERNEL_END",
                                          "OSTRA_PARALLEL_KERNEL_END",
                                          "OSTRA_METHOD Result<void> Kernel()",
                                          "{",
                                          "}",
                                          "}",
                                          "GROUPSIZE(1, 2, 3)",
                                          "GROUPSIZE(x, 2, 3)",
                                          "CPU_GRANULARITY(8)",
                                          "namespace n",
                                          "CPU_SCOPE_START",
                                          "CPU_SCOPE_END",
                                          "ADDNOISECALL",
                                          "# x",
                                          "",
                                          "\r",
                                          " "};
    std::string text;
    for (std::size_t i = _random() % 25; i > 0; --i) {
      const std::size_t kind = _random() % 8;
      text += kind == 0 ? "inline " + MakeLine() : kind < 4 ? Pick(kStarts) : MakeLine();
      text += '\n';
    }
    return text;
  }

  std::mt19937 _random{GetParam()};
};

std::vector<std::pair<std::string, std::string>> GetFunctions(const ShaderParser& parser) {
  std::vector<std::pair<std::string, std::string>> functions;
  for (const ShaderFunctionDefinition& function : parser.GetFunctions())
    functions.emplace_back(ToText(function.declaration), ToText(function.body));
  return functions;
}

TEST_P(TranslationPropertyTest, ThePiecesAreThoseOfThePlainTranslation) {
  int good = 0;
  for (int round = 0; round < 250; ++round) {
    const std::string text = MakeSource();
    const Id& target = kTargets[_random() % 3];
    const std::string argument = _random() % 2 ? "Float32" : "";
    const auto multisampling = static_cast<Int32>(_random() % 4) - 1;
    const ReferenceResult expected = TranslatePlainly(text, target.GetView(), argument, multisampling);

    SCOPED_TRACE(testing::Message() << "target " << target.GetView() << ", argument \"" << argument << "\", samples "
                                    << multisampling << "\n"
                                    << text);
    Write("k.krn", text);
    const ParserRef parser = MakeParser(target);
    const auto result = Init(*parser, "k.krn", {.templateArgument = argument, .multisampling = multisampling});
    if (!expected.error.empty()) {
      ASSERT_FALSE(result.IsOk()) << expected.error;
      const std::string message = ToText(result.GetError().GetMessage());
      if (expected.error == "endless")
        ASSERT_THAT(message, testing::HasSubstr("meets this line again and again"));
      else if (expected.error == "second")
        ASSERT_THAT(message, testing::HasSubstr("Second Kernel function"));
      else
        ASSERT_EQ(message, expected.error);
      continue;
    }
    ++good;
    ASSERT_THAT(result, IsOk());
    ASSERT_EQ(ToText(parser->GetKernelCode()), expected.kernel);
    ASSERT_EQ(GetTexts(parser->GetGlobalCode()), expected.globalCode);
    ASSERT_EQ(GetFunctions(*parser), expected.functions);
    ASSERT_EQ(GetTexts(parser->GetGroupSharedDeclarations()), expected.groupShared);
  }
  EXPECT_GT(good, 20);
}

// One line after the other in one kernel each, so that most of them get through all rules.
TEST_P(TranslationPropertyTest, LinesAreThoseOfThePlainTranslation) {
  int good = 0;
  for (int round = 0; round < 500; ++round) {
    const std::string line = MakeLine();
    const std::string text =
        (_random() % 3 == 0 ? "inline " + line + "\n{\n}\n" : "FP_KERNEL(K)\n" + line + "\n") + "FP_KERNEL_END\n";
    const Id& target = kTargets[_random() % 3];
    const ReferenceResult expected = TranslatePlainly(text, target.GetView(), "Vec4<Sqrt>", 4);
    Write("k.krn", text);
    const ParserRef parser = MakeParser(target);
    const auto result = Init(*parser, "k.krn", {.templateArgument = "Vec4<Sqrt>", .multisampling = 4});
    ASSERT_EQ(result.IsOk(), expected.error.empty()) << text << expected.error;
    if (!result) continue;
    ++good;
    ASSERT_EQ(ToText(parser->GetKernelCode()), expected.kernel) << text;
    ASSERT_EQ(GetFunctions(*parser), expected.functions) << text;
  }
  EXPECT_GT(good, 100);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TranslationPropertyTest, testing::Values(1u, 2u, 3u, 4u));

}  // namespace
}  // namespace ostra::test
