// Bytes that are no source.
#include <filesystem>
#include <random>

#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

using namespace std::string_literals;

class BadSourceTest : public ParserTest {};

TEST_F(BadSourceTest, AnEmptyFileGivesNothing) {
  for (const std::string text : {"", "\n", "\n\n\n", " \t", "\xEF\xBB\xBF"}) {
    const ParserRef parser = ParseHeader("", {});
    ASSERT_TRUE(parser->GetKernelCode().IsEmpty());
    const ParserRef other = Parse(text);
    EXPECT_TRUE(other->GetGlobalCode().IsEmpty());
    EXPECT_TRUE(other->GetFunctions().IsEmpty());
    EXPECT_TRUE(other->GetInputEntries().IsEmpty());
    EXPECT_EQ(other->GetWorkGroupSize(), Vec3<Int32>(256, 1, 1));
  }
}

TEST_F(BadSourceTest, AByteOrderMarkIsNotPartOfTheFirstLine) {
  EXPECT_EQ(ToText(Parse("\xEF\xBB\xBF"
                         "FP_KERNEL(K)\na;\nFP_KERNEL_END")
                       ->GetKernelCode()),
            "a;");
}

TEST_F(BadSourceTest, ZeroBytesAreCharacters) {
  const ParserRef parser = Parse("FP_KERNEL(K)\na\0Sqrt\0b\n\0\nFP_KERNEL_END\n"s);
  EXPECT_EQ(ToText(parser->GetKernelCode()), "a\0sqrt\0b\n\0"s);
  EXPECT_EQ(TranslateLine("LOCALDATA(\0, \0, \0)"s), "\0[\0]"s);
  Write("k.h", "struct S\0\n{\nFloat32 a\0;\n};\n#include \"\0\"\n// INCLUDE_STRUCTS_BEGIN\n#include \"a\0b\"\n"s);
  EXPECT_EQ(Parse("")->GetStructs().GetCount(), 1);
}

TEST_F(BadSourceTest, InvalidUtf8IsTheHostsError) {
  EXPECT_THAT(TryParse("FP_KERNEL(K)\n\xC3\x28\n"),
              IsErrorWith(kIllegalArgumentError, "The text is not UTF-8: byte 13 has the value 195."));
  EXPECT_EQ(TranslateLine("// \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 Sqrt"),
            "// \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 sqrt");
  EXPECT_THAT(TryParseHeader("// \x80\n"),
              IsErrorWith(kIllegalArgumentError, "The text is not UTF-8: byte 3 has the value 128."));
}

TEST_F(BadSourceTest, LinesOfMegabytesAreTranslated) {
  const auto repeat = [](std::string_view part, std::size_t size) {
    std::string text;
    while (text.size() < size) text += part;
    return text;
  };
  constexpr std::size_t kSize = 1 << 20;
  EXPECT_EQ(TranslateLine(repeat("x", kSize)), repeat("x", kSize));
  EXPECT_EQ(TranslateLine(repeat("Sqrt", kSize)), repeat("sqrt", kSize));
  const std::string shrunk = TranslateLine(repeat("sqmat", kSize));
  EXPECT_EQ(shrunk, repeat("mat3", shrunk.size()));
  EXPECT_EQ(shrunk.size(), repeat("sqmat", kSize).size() / 5 * 4);
  EXPECT_EQ(TranslateLine(repeat("GetAtomicCounter", kSize)), "");
  EXPECT_EQ(TranslateLine(repeat("ATOMIC ", kSize)), "");
  EXPECT_EQ(TranslateLine(repeat("ATOMIC ", 1000), {.target = kTargetMetal}), repeat("atomic_", 1000));
  EXPECT_EQ(TranslateLine(repeat("LOCALDATA(a, b, c)", kSize)).substr(0, 12), "a[b]a[b]a[b]");
  EXPECT_THAT(TryTranslateLine(repeat("MAKELOCAL(", kSize)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(TryTranslateLine(repeat("ATOMIC", kSize)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(TryTranslateLine(repeat("matoff(", 1000)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(TranslateLine(repeat("TYPE", kSize), {.templateArgument = "a"}), std::string(kSize / 4, 'a'));
  EXPECT_EQ(ToText(Parse("inline " + repeat("f(", kSize) + "\n{\n}\n")->GetFunctions()[0].declaration),
            repeat("f(", kSize));
}

TEST_F(BadSourceTest, FilesOfOneKindOfByteAreRead) {
  for (int byte = 0; byte < 128; ++byte) {
    const std::string text(3000, static_cast<char>(byte));
    EXPECT_THAT(TryParse(text), IsOk()) << byte;
    EXPECT_THAT(TryParseHeader(text), IsOk()) << byte;
    std::filesystem::remove(GetPath("k.h"));
  }
}

// Pieces that mean something, in any order.
std::string MakeText(std::mt19937& random, int pieces) {
  static const char* const kPieces[] = {"\n",
                                        "\n",
                                        "\n",
                                        "\n",
                                        " ",
                                        " ",
                                        "(",
                                        ")",
                                        "{\n",
                                        "}\n",
                                        "};\n",
                                        "<",
                                        ">",
                                        ", ",
                                        "\\\n",
                                        "\r\n",
                                        "\t",
                                        "x",
                                        "const ",
                                        "#define ",
                                        "#define KERNELINPUTS \\\n",
                                        "struct ",
                                        "struct KernelInput\n",
                                        "inline ",
                                        "OSTRA_PARALLEL_KERNEL(K)\n",
                                        "OSTRA_PARALLEL_KERNEL_END\n",
                                        "FP_KERNEL(K)\n",
                                        "FP_KERNEL_END\n",
                                        "OSTRA_METHOD Result<void> Kernel()\n",
                                        "GROUPSIZE(8, 8, 1)\n",
                                        "CPU_GRANULARITY(8)\n",
                                        "namespace n\n",
                                        "ADDNOISECALL\n",
                                        "CPU_SCOPE_START\n",
                                        "CPU_SCOPE_END\n",
                                        "TYPE",
                                        "CPU_CONSTREF(",
                                        "CPU_PASS_BUFFER(",
                                        "INOUT ",
                                        "Block<",
                                        "GetAtomicCounter",
                                        "Sqrt",
                                        "sqmat",
                                        "MAKELOCAL(a, b, c)",
                                        "LOCALDATA(a, b, c)",
                                        "GROUPSHAREDMEM(a, b, c)",
                                        "ATOMIC ",
                                        "ATOMIC",
                                        "matoff(",
                                        "ONLY_USE_FIRST_MSAA_SAMPLE",
                                        " GetFramebufferTexel(a, b)",
                                        "(Float32) x, \\\n",
                                        "(Block<Float32>) y, \\\n",
                                        "(const TextureSampler_2D_RGBA_F32_LINEAR) t\n",
                                        "Float32 a;\n",
                                        "#ifndef G_H__\n#define G_H__\n",
                                        "// INCLUDE_STRUCTS_BEGIN\n",
                                        "// INCLUDE_STRUCTS_END\n",
                                        "#include \"k.h\"\n",
                                        "#include \"b.h\"\n",
                                        "#define OSTRA_INCLUDE_AS_FULLTEXT\n",
                                        "#define A B\n",
                                        "encoded",
                                        "\xC3\xA4",
                                        "matoff",
                                        "attribute",
                                        "TextureSampler_"};
  std::string text;
  for (int i = 0; i < pieces; ++i) text += kPieces[random() % std::size(kPieces)];
  return text;
}

TEST_F(BadSourceTest, RandomSourcesEndWithPiecesOrAMessage) {
  const DiagnosticRecorder diagnostics;
  std::mt19937 random(17);
  int good = 0, bad = 0;
  for (int round = 0; round < 400; ++round) {
    Write("k.h", MakeText(random, static_cast<int>(random() % 60)));
    Write("b.h", MakeText(random, static_cast<int>(random() % 60)));
    Write("k.krn", MakeText(random, static_cast<int>(random() % 120)));
    const Id targets[] = {kTargetHlsl, kTargetGlsl, kTargetMetal};
    const ParserRef parser = MakeParser(targets[random() % 3]);
    const auto result = Init(
        *parser, "k.krn",
        {.templateArgument = random() % 2 ? "Float32" : "", .multisampling = static_cast<Int32>(random() % 6) - 1});
    ++(result.IsOk() ? good : bad);
    if (result.IsOk()) {
      const std::string code = ToText(parser->GetKernelCode());
      ASSERT_GE(parser->GetKernelCodeOrigins().GetCount(), std::count(code.begin(), code.end(), '\n'));
      ASSERT_EQ(parser->GetGlobalCode().GetCount(), parser->GetGlobalCodeOrigins().GetCount());
      ASSERT_EQ(parser->GetDefines().GetCount(), parser->GetDefineOrigins().GetCount());
    } else {
      ASSERT_FALSE(result.GetError().GetMessage().IsEmpty());
      EXPECT_TRUE(parser->PlaceError(result.GetError()).GetMessage().Contains(": error: "));
    }
  }
  EXPECT_GT(good, 100);
  EXPECT_GT(bad, 100);
}

}  // namespace
}  // namespace ostra::test
