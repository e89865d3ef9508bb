// Where each line of the pieces came from, and where an error is.
#include "tests/shaderparser/parser_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

class TextOriginTest : public ParserTest {
 protected:
  std::string DescribeErrorOf(std::string_view text) const {
    Write("k.krn", text);
    const ParserRef parser = MakeParser(kTargetGlsl);
    const auto result = Init(*parser, "k.krn");
    EXPECT_FALSE(result);
    return result ? "" : ToText(parser->PlaceError(result.GetError()).GetMessage());
  }
};

TEST_F(TextOriginTest, LinesOfTheKernel) {
  const ParserRef parser =
      Parse("\n\nFP_KERNEL(K)\n{\n\na;\nCPU_SCOPE_START\nx;\nCPU_SCOPE_END\nb;\n}\nFP_KERNEL_END\n");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "{\na;\nb;\n}");
  EXPECT_THAT(GetPlaces(*parser, parser->GetKernelCodeOrigins()),
              ElementsAre("k.krn:4", "k.krn:6", "k.krn:10", "k.krn:11"));
}

TEST_F(TextOriginTest, TheClosingBraceOfAMethodKernelHasGone) {
  const ParserRef parser = Parse("OSTRA_METHOD Result<void> Kernel()\n{\na;\nMAKELOCAL(t, 4, f)\n}\n");
  std::vector<std::string> expected = {"k.krn:3"};
  for (int i = 0; i < 6; ++i) expected.push_back("k.krn:4");
  EXPECT_EQ(GetPlaces(*parser, parser->GetKernelCodeOrigins()), expected);
}

TEST_F(TextOriginTest, ALineThatBecomesSeveralIsTheirOrigin) {
  const ParserRef parser = Parse("FP_KERNEL(K)\nMAKELOCAL(t, 4, f)\nb;\nFP_KERNEL_END\n");
  const std::string code = ToText(parser->GetKernelCode());
  const auto places = GetPlaces(*parser, parser->GetKernelCodeOrigins());
  ASSERT_EQ(static_cast<long>(places.size()), std::count(code.begin(), code.end(), '\n') + 1);
  EXPECT_EQ(places.front(), "k.krn:2");
  EXPECT_EQ(places[places.size() - 2], "k.krn:2");
  EXPECT_EQ(places.back(), "k.krn:3");
}

TEST_F(TextOriginTest, LinesOfFileScopeCode) {
  const ParserRef parser = Parse("a;\n\n#define X\nb;\ninline f()\n{\n}\nc;\nFP_KERNEL(K)\n");
  ASSERT_EQ(parser->GetGlobalCodeOrigins().GetCount(), 2);
  EXPECT_THAT(GetPlaces(*parser, parser->GetGlobalCodeOrigins()[0]), ElementsAre("k.krn:1", "k.krn:4"));
  EXPECT_THAT(GetPlaces(*parser, parser->GetGlobalCodeOrigins()[1]), ElementsAre("k.krn:8"));
}

TEST_F(TextOriginTest, FunctionsOfTheFileAndOfItsHeaders) {
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n// INCLUDE_STRUCTS_END\ninline f()\n{\n}\n");
  Write("b.h", "inline g()\n{\n\nx;\n}\n");
  const ParserRef parser = Parse("\ninline h()\n{\n\ny;\n}\ninline i() {}\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 4);
  const ShaderFunctionDefinition* const functions = parser->GetFunctions().GetFirst();
  EXPECT_EQ(GetPlace(*parser, functions[0].declarationOrigin), "b.h:1");
  EXPECT_THAT(GetPlaces(*parser, functions[0].bodyOrigins), ElementsAre("b.h:2", "b.h:4", "b.h:5"));
  EXPECT_EQ(GetPlace(*parser, functions[1].declarationOrigin), "k.h:4");
  EXPECT_EQ(GetPlace(*parser, functions[2].declarationOrigin), "k.krn:2");
  EXPECT_THAT(GetPlaces(*parser, functions[2].bodyOrigins), ElementsAre("k.krn:3", "k.krn:5", "k.krn:6"));
  EXPECT_EQ(GetPlace(*parser, functions[3].declarationOrigin), "k.krn:7");
  EXPECT_TRUE(functions[3].bodyOrigins.IsEmpty());
}

TEST_F(TextOriginTest, DeclarationsOfEveryKind) {
  Write("k.h", "#define A 1\n\nstruct S\n{\n\nFloat32 a;\nMyType b;\nInt32 c;\n};\n#define B 2\n");
  const ParserRef parser = Parse(
      "#define KERNELINPUTS \\\n(Float32) a, \\\n(MyType) b, \\\n(Block<Float32>) c, \\\n"
      "(TextureSampler_2D_R_F32_POINT) t\n\nFP_KERNEL(K)\nGROUPSHAREDMEM(int, c, 4)\nFP_KERNEL_END\n");
  EXPECT_EQ(GetPlace(*parser, parser->GetInputEntries()[0].origin), "k.krn:2");
  EXPECT_EQ(GetPlace(*parser, parser->GetInputEntries()[1].origin), "k.krn:4");
  EXPECT_EQ(GetPlace(*parser, parser->GetTextureEntries()[0].origin), "k.krn:5");
  EXPECT_THAT(GetPlaces(*parser, parser->GetGroupSharedDeclarationOrigins()), ElementsAre("k.krn:8"));
  EXPECT_THAT(GetPlaces(*parser, parser->GetDefineOrigins()), ElementsAre("k.h:1", "k.h:10"));
  const ShaderStructDefinition& found = parser->GetStructs()[0];
  EXPECT_EQ(GetPlace(*parser, found.origin), "k.h:3");
  EXPECT_EQ(GetPlace(*parser, found.members[0].origin), "k.h:6");
  EXPECT_EQ(GetPlace(*parser, found.members[1].origin), "k.h:8");
}

TEST_F(TextOriginTest, WholeHeadersAndPreambles) {
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"PNanoVDB.h\"\n");
  Write("PNanoVDB.h", "#define OSTRA_INCLUDE_AS_FULLTEXT\na\nb");
  const ParserRef parser = Parse("");
  ASSERT_EQ(parser->GetGlobalCodeOrigins().GetCount(), 2);
  EXPECT_THAT(GetPlaces(*parser, parser->GetGlobalCodeOrigins()[0]), ElementsAre("PNanoVDB.h:0", "PNanoVDB.h:0"));
  EXPECT_THAT(GetPlaces(*parser, parser->GetGlobalCodeOrigins()[1]),
              ElementsAre("PNanoVDB.h:1", "PNanoVDB.h:2", "PNanoVDB.h:3"));
}

TEST_F(TextOriginTest, ErrorsNameTheLineThatTheParseHadComeTo) {
  EXPECT_EQ(DescribeErrorOf("\nFP_KERNEL(K)\n\nLOCALDATA(x\n"), GetPath("k.krn") + ":4: error: LOCALDATA missing )");
  EXPECT_EQ(DescribeErrorOf("#define KERNELINPUTS \\\n(Float32)\n"),
            GetPath("k.krn") + ":2: error: struct entry is not conforming to '(type) name' structure");
  Write("k.h", "\ninline f()\n{\n");
  EXPECT_EQ(DescribeErrorOf(""),
            GetPath("k.h") + ":4: error: could not find end of a struct. missing }; as single line");
  Write("k.h", "\xff");
  EXPECT_EQ(DescribeErrorOf(""), GetPath("k.h") + ": error: The text is not UTF-8: byte 0 has the value 255.");
}

TEST_F(TextOriginTest, AFileThatIsNoneHasNoLine) {
  const ParserRef parser = MakeParser(kTargetGlsl);
  const auto result = Init(*parser, "missing.krn");
  ASSERT_FALSE(result);
  EXPECT_EQ(parser->PlaceError(result.GetError()).GetMessage(), result.GetError().GetMessage());
}

}  // namespace
}  // namespace ostra::test
