// What the rules make of the declarations of inline functions, for each target.
#include "tests/shaderparser/parser_fixture.h"

namespace ostra::test {
namespace {

class DeclarationRulesTest : public ParserTest {
 protected:
  std::string For(const Id& target, std::string_view line) const {
    return TranslateDeclaration(line, {.target = target});
  }
};

TEST_F(DeclarationRulesTest, CommonWords) {
  for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal}) {
    EXPECT_EQ(For(target, "void F(CPU_CONSTREF(Foo) a, INOUT Float32 b)"), "void F(Foo a, inout Float32 b)");
    EXPECT_EQ(For(target, "void MYINOUTS(int a)"), "void MYinoutS(int a)");
    EXPECT_EQ(For(target, "void F(ATOMIC uint c, sqmat m, Sqrt s)"), "void F(ATOMIC uint c, sqmat m, Sqrt s)");
  }
}

TEST_F(DeclarationRulesTest, TheTemplateArgumentDoesNotReachDeclarations) {
  const ParserRef parser = Parse("inline TYPE F(TYPE x)\n{\nTYPE y;\n}\n", {.templateArgument = "float"});
  ASSERT_EQ(parser->GetFunctions().GetCount(), 1);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "TYPE F(TYPE x)");
  EXPECT_EQ(ToText(parser->GetFunctions()[0].body), "{\nfloat y;\n}");
}

TEST_F(DeclarationRulesTest, BlocksInHlsl) {
  EXPECT_EQ(For(kTargetHlsl, "Block<Float32> x"), "RWStructuredBuffer<Float32> x");
  EXPECT_EQ(For(kTargetHlsl, "RWBlock<Float32> x"), "RWRWStructuredBuffer<Float32> x");
  EXPECT_EQ(For(kTargetHlsl, "const Block<Int32>& v"), "StructuredBuffer<Int32>& v");
  EXPECT_EQ(For(kTargetHlsl, "float f(const Block<Int32>& v, Block<Float32> w)"),
            "float f(StructuredBuffer<Int32>& v, RWStructuredBuffer<Float32> w)");
  EXPECT_EQ(For(kTargetHlsl, "Block<Block<T>> x"), "RWStructuredBuffer<RWStructuredBuffer<T>> x");
}

TEST_F(DeclarationRulesTest, AConstNearABlockOfHlslCutsSixCharacters) {
  EXPECT_EQ(For(kTargetHlsl, "float f(Block<const Int32> v)"), "flStructuredBuffer<const Int32> v)");
  EXPECT_EQ(For(kTargetHlsl, "const  Block<Int32> v"), "cStructuredBuffer<Int32> v");
  EXPECT_EQ(For(kTargetHlsl, "const   Block<Int32> v"), "const   RWStructuredBuffer<Int32> v");
  EXPECT_EQ(For(kTargetHlsl, "f(Block<const Int32> v)"), "StructuredBuffer<const Int32> v)");
  EXPECT_EQ(For(kTargetHlsl, "Block<const Int32> v"), "StructuredBuffer<const Int32> v");
  // Behind the closing angle it does not count.
  EXPECT_EQ(For(kTargetHlsl, "f(a, Block<Int32> const v)"), "f(a, RWStructuredBuffer<Int32> const v)");
  EXPECT_EQ(For(kTargetHlsl, "f(a, Block<Int32,cons>t v)"), "f(a, RWStructuredBuffer<Int32,cons>t v)");
}

TEST_F(DeclarationRulesTest, BlocksInGlslTakeAllBeforeThem) {
  EXPECT_EQ(For(kTargetGlsl, "const Block<Int32>& v"), "& v");
  EXPECT_EQ(For(kTargetGlsl, "float f(Block<Float32> a, int b)"), " a, int b)");
  // The search goes on at the place in the shorter line, and may miss the next one.
  EXPECT_EQ(For(kTargetGlsl, "float f(Block<Float32> a, Block<Int32> b)"), " a, Block<Int32> b)");
  EXPECT_EQ(For(kTargetGlsl, "Block<Float32> a, Block<Int32> b"), " b");
}

TEST_F(DeclarationRulesTest, BlocksInMetalArePointers) {
  EXPECT_EQ(For(kTargetMetal, "const Block<Float32>& v"), "const Float32*& v");
  EXPECT_EQ(For(kTargetMetal, "f(Block<Float32> v, Block<Int32> w)"), "f(Float32* v, Int32* w)");
  EXPECT_EQ(For(kTargetMetal, "f(Block<> v)"), "f(* v)");
}

TEST_F(DeclarationRulesTest, BlocksInAnUnknownLanguageAreThoseOfGlsl) {
  EXPECT_EQ(For("OTHER"_id, "const Block<Int32>& v"), "& v");
}

TEST_F(DeclarationRulesTest, BlocksInBodiesStay) {
  EXPECT_EQ(TranslateLine("Block<Int32> v = INOUT;", {.target = kTargetHlsl}), "Block<Int32> v = INOUT;");
}

TEST_F(DeclarationRulesTest, DefinesOfHeadersAreReplacedInDeclarations) {
  Write(
      "k.h",
      "#define SCALAR Float32\n#define COUNT 8 // eight\n#define SCALARS Int32\n#define F( G(\n#define LATER SCALAR\n");
  EXPECT_EQ(TranslateDeclaration("SCALAR F(SCALAR x[COUNT], SCALARS y, LATER z)"),
            "Float32 G(Float32 x[8], Float32S y, SCALAR z)");
  EXPECT_EQ(TranslateLine("SCALAR x[COUNT];"), "SCALAR x[COUNT];");
}

TEST_F(DeclarationRulesTest, DefinesFollowTheOtherRules) {
  Write("k.h", "#define Reader Block<Float32>\n#define RWStructuredBuffer Buffer\n");
  EXPECT_EQ(TranslateDeclaration("f(Reader x, Block<Int32> y)", {.target = kTargetHlsl}),
            "f(Block<Float32> x, Buffer<Int32> y)");
}

}  // namespace
}  // namespace ostra::test
