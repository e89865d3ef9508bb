// Structs and inline functions of headers.
#include "parallelprogram/shaderparser/header_declarations.h"

#include "ostra/math/data_types.h"
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const char* const kEndError = "could not find end of a struct. missing }; as single line";

class HeaderDeclarationsTest : public ParserTest {
 protected:
  // The one function of a header.
  std::pair<std::string, std::string> FunctionOf(std::string_view header, const ParseSettings& settings = {}) const {
    const ParserRef parser = ParseHeader(header, settings);
    EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
    if (parser->GetFunctions().IsEmpty()) return {};
    return {ToText(parser->GetFunctions()[0].declaration), ToText(parser->GetFunctions()[0].body)};
  }
};

TEST_F(HeaderDeclarationsTest, AStructHasMembersLinesAndASize) {
  const ParserRef parser = ParseHeader("  struct Particle\n{\n\tVector32 position;\n  Float32 mass; // kg\n\n};\n");
  ASSERT_EQ(parser->GetStructs().GetCount(), 1);
  const ShaderStructDefinition& particle = parser->GetStructs()[0];
  EXPECT_EQ(ToText(particle.name), "Particle");
  ASSERT_EQ(particle.members.GetCount(), 2);
  EXPECT_EQ(particle.members[0].dataType, GetDataType<Vector32>());
  EXPECT_EQ(ToText(particle.members[0].name), "position");
  EXPECT_EQ(particle.members[0].kind, 0);
  EXPECT_TRUE(particle.members[0].typeName.IsEmpty());
  EXPECT_EQ(ToText(particle.members[1].name), "mass");
  EXPECT_THAT(GetTexts(particle.memberLines), ElementsAre("Vector32 position;", "Float32 mass; // kg"));
  EXPECT_EQ(particle.byteSize, 16);
}

TEST_F(HeaderDeclarationsTest, MembersOfUnknownTypesAreLeftOut) {
  const ParserRef parser = ParseHeader(
      "struct S\n{\nMyType a;\nHalfFloat b;\nVec4<HalfFloat> c;\nint\n// Float32 d;\nFloat32 e[3];\nconst Float32 "
      "f;\n};\n");
  const ShaderStructDefinition& found = parser->GetStructs()[0];
  EXPECT_THAT(GetTexts(found.memberLines), ElementsAre("HalfFloat b;", "Vec4<HalfFloat> c;", "Float32 e[3];"));
  EXPECT_EQ(found.members.GetCount(), 3);
  EXPECT_EQ(ToText(found.members[2].name), "e[3]");
  EXPECT_EQ(found.byteSize, 2 + 8 + 4);
}

TEST_F(HeaderDeclarationsTest, TheLineAfterTheStructLineIsTakenForTheBrace) {
  const ParserRef parser = ParseHeader("struct S {\nFloat32 lost;\nFloat32 kept;\n{\n};\nstruct T : x\n};\n};\n");
  ASSERT_EQ(parser->GetStructs().GetCount(), 2);
  EXPECT_THAT(GetTexts(parser->GetStructs()[0].memberLines), ElementsAre("Float32 kept;"));
  EXPECT_EQ(ToText(parser->GetStructs()[1].name), "T");
  EXPECT_THAT(GetTexts(parser->GetStructs()[1].memberLines), IsEmpty());
}

TEST_F(HeaderDeclarationsTest, AfterAStructTheHeaderGoesOn) {
  const ParserRef parser = ParseHeader("struct S\n{\n}; x\n#define A 1\nstruct\ninline\n");
  EXPECT_EQ(parser->GetStructs().GetCount(), 1);
  EXPECT_EQ(parser->GetDefines().GetCount(), 1);
}

TEST_F(HeaderDeclarationsTest, AStructWithoutItsEndIsAnError) {
  for (const char* header :
       {"struct S\n{\nFloat32 a;\n", "struct S\n{\nFloat32 a;\n}\n;\n", "struct S\n{\n};x\n", "struct S",
        "struct S\n{\nstruct T\n{\n};\n};\n", "struct S\n{\nstruct\n};\n", "struct S\r\n{\r\n};\r\n"})
    EXPECT_THAT(TryParseHeader(header), IsErrorWith(kIllegalArgumentError, kEndError)) << header;
}

TEST_F(HeaderDeclarationsTest, AFunctionIsDeclarationAndBody) {
  const auto [declaration, body] =
      FunctionOf("  inline Float32 Blend(INOUT Float32 a)\n\n{\n\n\tif (a)\n\t{\n\t\treturn Sqrt(a);\n\t}\n}\nlost\n");
  EXPECT_EQ(declaration, "Float32 Blend(inout Float32 a)");
  // Bodies of headers get no rules.
  EXPECT_EQ(body, "{\nif (a)\n{\nreturn Sqrt(a);\n}\n}");
}

TEST_F(HeaderDeclarationsTest, BlocksOfDeclarationsAreTranslated) {
  const std::string header = "inline f(const Block<Int32>& v)\n{\n}\n";
  EXPECT_EQ(FunctionOf(header, {.target = kTargetHlsl}).first, "f(StructuredBuffer<Int32>& v)");
  EXPECT_EQ(FunctionOf(header, {.target = kTargetMetal}).first, "f(const Int32*& v)");
  EXPECT_EQ(FunctionOf(header, {.target = kTargetGlsl}).first, "& v)");
}

TEST_F(HeaderDeclarationsTest, OnlyDefinesBeforeAFunctionCount) {
  EXPECT_EQ(FunctionOf("#define A X\ninline A f(B c)\n{\n}\n#define B Y\n").first, "X f(B c)");
}

TEST_F(HeaderDeclarationsTest, BracesStandOnLinesOfTheirOwn) {
  EXPECT_EQ(FunctionOf("inline f()\n{\n} x\n").second, "{\n} x");
  EXPECT_EQ(FunctionOf("inline f()\n{ x\n{ y;\n};\n}\n}\n").second, "{ x\n{ y;\n};\n}\n}");
  // A line that is not "{" ends a function at once.
  EXPECT_EQ(FunctionOf("inline f()\nreturn 1;\n#define A 1\n").second, "return 1;");
  EXPECT_EQ(FunctionOf("inline f() {\nreturn 1;\n}\n").second, "return 1;");
}

TEST_F(HeaderDeclarationsTest, AFunctionWithoutItsEndIsAnError) {
  for (const char* header : {"inline f()", "inline f()\n", "inline f()\n{\nx;\n", "inline f()\n{\nstruct S\n}\n",
                             "inline f()\n{\ninline g()\n}\n", "inline f()\n{\nx;\n};\n", "inline f()\nstruct S\n"})
    EXPECT_THAT(TryParseHeader(header), IsErrorWith(kIllegalArgumentError, kEndError)) << header;
  // With carriage returns the braces are other words, and a function is its first line.
  EXPECT_EQ(FunctionOf("inline f()\r\n{\r\nx;\r\n}\r\n").second, "{\r");
}

TEST_F(HeaderDeclarationsTest, ADefinitionThatDoesNotBeginWithItsWordIsAnError) {
  ShaderPieces pieces;
  ParseState state(FindTargetLanguage(kTargetGlsl), EndlessSource::Refuse, LineEnds::Keep, pieces);
  const SourceLines lines = SplitLines("\n x\nstructs\ninlines").GetValue();
  EXPECT_THAT(ParseStruct(state, lines, 0),
              IsErrorWith(kIllegalStateError, "Illegal state: Condition line.IsPopulated() not fulfilled."));
  EXPECT_THAT(ParseInlineFunction(state, lines, 0),
              IsErrorWith(kIllegalStateError, "Illegal state: Condition line.IsPopulated() not fulfilled."));
  for (const Int line : {1, 2})
    EXPECT_THAT(ParseStruct(state, lines, line),
                IsErrorWith(kIllegalStateError, "Illegal state: Condition words[0] == \"struct\"_s not fulfilled."));
  for (const Int line : {1, 3})
    EXPECT_THAT(ParseInlineFunction(state, lines, line),
                IsErrorWith(kIllegalStateError, "Illegal state: Condition words[0] == \"inline\"_s not fulfilled."));
}

}  // namespace
}  // namespace ostra::test
