// Sources from systems that end lines otherwise: what the translator makes of them when carriage returns are dropped.
#include "tests/shaderparser/parser_fixture.h"

namespace ostra::test {
namespace {

class LineEndsTest : public ParserTest {
 protected:
  ParserRef ParseLines(std::string_view source, std::string_view header, LineEnds lineEnds) const {
    Write("k.krn", source);
    Write("k.h", header);
    ParserRef parser = MakeParser(kTargetGlsl);
    EXPECT_THAT(parser->Init(MakeUrl("k.krn"), DataDictionary(), EndlessSource::Refuse, lineEnds), IsOk());
    return parser;
  }

  static std::string WithCarriageReturns(std::string_view text) {
    std::string result;
    for (const char c : text) {
      if (c == '\n') result += '\r';
      result += c;
    }
    return result;
  }
};

constexpr std::string_view kSource =
    "GROUPSIZE(8, 8, 1)\n\n#define KERNELINPUTS \\\n(Float32) a, \\\n(Block<Float32>) b\n\n"
    "inline Float32 Half(Float32 x)\n{\n\treturn x * HALF;\n}\n\nFP_KERNEL(K)\n{\n\tCPU_SCOPE_START\n\tcpu;\n"
    "\tCPU_SCOPE_END\n\tgpu;\n}\nFP_KERNEL_END";
constexpr std::string_view kHeader =
    "// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n// INCLUDE_STRUCTS_END\n#define HALF 0.5\n"
    "inline Float32 One()\n{\n\treturn 1.0;\n}";

TEST_F(LineEndsTest, FilesWithCarriageReturnsAreReadAsThoseWithout) {
  Write("b.h", "struct S\n{\n\tFloat32 x;\n};\n");
  const ParserRef plain = ParseLines(kSource, kHeader, LineEnds::LineFeeds);
  Write("b.h", "struct S\r\n{\r\n\tFloat32 x;\r\n};\r\n");
  for (const char* mark : {"", "\xEF\xBB\xBF"}) {
    const ParserRef other = ParseLines(mark + WithCarriageReturns(kSource), mark + WithCarriageReturns(kHeader) + "\r",
                                       LineEnds::LineFeeds);
    EXPECT_EQ(other->GetKernelCode(), plain->GetKernelCode());
    EXPECT_EQ(other->GetWorkGroupSize(), plain->GetWorkGroupSize());
    ASSERT_EQ(other->GetInputEntries().GetCount(), 2);
    EXPECT_EQ(other->GetInputEntries()[1].name, "b");
    ASSERT_EQ(other->GetFunctions().GetCount(), 2);
    for (Int i = 0; i < 2; ++i) {
      EXPECT_EQ(other->GetFunctions()[i].declaration, plain->GetFunctions()[i].declaration);
      EXPECT_EQ(other->GetFunctions()[i].body, plain->GetFunctions()[i].body);
    }
    ASSERT_EQ(other->GetStructs().GetCount(), 1);
    EXPECT_EQ(other->GetDefines()[0], "#define HALF 0.5");
  }
  EXPECT_EQ(plain->GetKernelCode(), "{\ngpu;\n}");
}

TEST_F(LineEndsTest, AWholeHeaderIsTakenWithoutByteOrderMarkAndCarriageReturns) {
  const ParserRef parser = ParseLines(
      "", "\xEF\xBB\xBF#define OSTRA_INCLUDE_AS_FULLTEXT\r\nint a\rb;\r\n\r\r\nint c;\r", LineEnds::LineFeeds);
  ASSERT_EQ(parser->GetGlobalCode().GetCount(), 1);
  EXPECT_EQ(parser->GetGlobalCode()[0], "#define OSTRA_INCLUDE_AS_FULLTEXT\nint a\rb;\n\nint c;");
}

TEST_F(LineEndsTest, CarriageReturnsStayWhenNobodyAsks) {
  Write("b.h", "");
  const ParserRef parser = ParseLines("FP_KERNEL(K)\r\n{\r\n}\r\nFP_KERNEL_END\r\n", "", LineEnds::Keep);
  EXPECT_EQ(parser->GetKernelCode(), "{\r\n}\r");
}

}  // namespace
}  // namespace ostra::test
