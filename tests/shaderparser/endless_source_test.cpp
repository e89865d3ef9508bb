// Sources that a rule meets again and again.
#include "ostra/core/memory.h"
#include "tests/shaderparser/parser_fixture.h"

namespace ostra::test {
namespace {

class EndlessSourceTest : public ParserTest {
 protected:
  // In a kernel, whose first line is the second of the file.
  void ExpectRefused(std::string_view line, std::string_view keyword, std::string_view reason,
                     const ParseSettings& settings = {}) const {
    ExpectRefusedAt(2, TryTranslateLine(line, settings), keyword, reason);
  }
  void ExpectRefusedAt(int line, const Result<void>& result, std::string_view keyword, std::string_view reason) const {
    std::string message = GetPath("k.krn") + ":" + std::to_string(line) + ": error: the replacement of \"";
    message.append(keyword).append("\" meets this line again and again: ").append(reason);
    EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, message));
  }
  Result<void> TryDeclaration(std::string_view declaration, const ParseSettings& settings = {}) const {
    return TryParse("inline " + std::string(declaration) + "\n{\n}\n", settings);
  }
};

constexpr std::string_view kHoldsItself = "what takes its place holds it again";

TEST_F(EndlessSourceTest, AnAtomicWithoutABlank) {
  for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal}) {
    ExpectRefused("ATOMIC", "ATOMIC", "there is no blank after it", {.target = target});
    ExpectRefused("a b ATOMICuint;", "ATOMIC", "there is no blank after it", {.target = target});
    ExpectRefused("ATOMIC uint ATOMIC", "ATOMIC", "there is no blank after it", {.target = target});
  }
  ExpectRefusedAt(1, TryParse("ATOMIC\n"), "ATOMIC", "there is no blank after it");
}

TEST_F(EndlessSourceTest, ABlockWithoutItsAngle) {
  for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal})
    ExpectRefusedAt(1, TryDeclaration("f(Block<Float32 v)", {.target = target}), "Block<", "there is no > after it");
  // The one in front of it is not after it.
  ExpectRefusedAt(1, TryDeclaration("f(> Block<Float32 v)"), "Block<", "there is no > after it");
}

TEST_F(EndlessSourceTest, ATemplateArgumentThatHoldsItsOwnWord) {
  for (const std::string argument : {"TYPE", "MYTYPE", "TYPES", "aTYPETYPE"}) {
    const ParseSettings settings{.templateArgument = argument};
    ExpectRefused("TYPE x;", "TYPE", kHoldsItself, settings);
    ExpectRefusedAt(2, TryParse("#define KERNELINPUTS \\\n(TYPE) x, \\\n", settings), "TYPE", kHoldsItself);
    ExpectRefusedAt(2, TryParse("#define KERNELINPUTS \\\n(const Block<TYPE>) x, \\\n", settings), "TYPE",
                    kHoldsItself);
    EXPECT_EQ(TranslateLine("int x;", settings), "int x;");
  }
}

TEST_F(EndlessSourceTest, ADefineWhoseValueHoldsItsOwnName) {
  for (const std::string value : {"LIMIT", "(LIMIT+1)", "MYLIMITS"}) {
    Write("k.h", "#define LIMIT " + value + "\n");
    ExpectRefusedAt(1, TryDeclaration("f(int x[LIMIT])"), "LIMIT", kHoldsItself);
    EXPECT_EQ(TranslateDeclaration("f(int x)"), "f(int x)");
    EXPECT_EQ(TranslateLine("LIMIT"), "LIMIT");
  }
  // Only the third word takes the place.
  Write("k.h", "#define LIMIT 8 LIMIT\n");
  EXPECT_EQ(TranslateDeclaration("f(int x[LIMIT])"), "f(int x[8])");
}

TEST_F(EndlessSourceTest, ADefineWithoutAName) {
  Write("k.h", "#define  X Y\n");
  ExpectRefusedAt(1, TryDeclaration("f(int x)"), "", kHoldsItself);
}

TEST_F(EndlessSourceTest, AnEndlessHeaderIsNamedItself) {
  Write("k.h", "\n\ninline f(Block<Float32 v)\n{\n}\n");
  EXPECT_THAT(TryParse(""),
              IsErrorWith(kIllegalArgumentError, GetPath("k.h") +
                                                     ":3: error: the replacement of \"Block<\" meets this line again "
                                                     "and again: there is no > after it"));
}

TEST_F(EndlessSourceTest, NestedMatrixOffsets) {
  ExpectRefused("matoff(matoff(m))", "matoff", kHoldsItself);
  ExpectRefused("x = matoff(f(matoff(m)));", "matoff", kHoldsItself);
  // Two that stand side by side are one walk.
  EXPECT_EQ(TranslateLine("matoff(a) matoff(b)"), "vec3((a(b.v0.w, (a(b.v1.w, (a(b.v2.w)");
}

TEST_F(EndlessSourceTest, ALineThatGrowsAndEndsIsTranslated) {
  // Far to the right the line that takes the place is too short to be met again.
  const std::string line = std::string(60, 'x') + "matoff(matoff(m))";
  EXPECT_EQ(TranslateLine(line), "vec3((matoff(m.v0.w, (matoff(m.v1.w, (matoff(m.v2.w)");
  std::string many, longer;
  for (int i = 0; i < 20000; ++i) {
    many += "TYPE;";
    longer += "a type with a long name;";
  }
  EXPECT_EQ(TranslateLine(many, {.templateArgument = "a type with a long name"}), longer);
}

TEST_F(EndlessSourceTest, ALineThatWouldTakeForHoursIsRefused) {
  std::string blocks = "f(";
  for (int i = 0; i < 150000; ++i) blocks += "Block<";
  EXPECT_THAT(TryDeclaration(blocks + "> x)", {.target = kTargetHlsl}),
              IsErrorWith(kIllegalArgumentError,
                          GetPath("k.krn") + ":1: error: the replacement of \"Block<\" takes too long in this line"));
}

TEST_F(EndlessSourceTest, TheErrorDescribesItselfOnce) {
  Write("k.krn", "FP_KERNEL(K)\nATOMIC\n");
  const ParserRef parser = MakeParser(kTargetGlsl);
  const auto result = Init(*parser, "k.krn");
  ASSERT_FALSE(result);
  EXPECT_EQ(parser->PlaceError(result.GetError()).GetMessage(), result.GetError().GetMessage());
}

// Without being told to refuse them the parser goes on for ever, here until it gets no more memory.
TEST_F(EndlessSourceTest, EndlessSourcesAreTheCallersMatterOtherwise) {
  const ParseSettings settings{.templateArgument = "MYTYPE", .endless = EndlessSource::Repeat};
  Write("k.krn", "FP_KERNEL(K)\nint x;\nFP_KERNEL_END\n");
  const Int before = AllocationFaults::GetCount();
  ParseFile("k.krn", settings);
  const Int needed = AllocationFaults::GetCount() - before;

  Write("k.krn", "FP_KERNEL(K)\nTYPE x;\nFP_KERNEL_END\n");
  const ParserRef parser = MakeParser(kTargetGlsl);
  const DataDictionary options = MakeOptions(settings);
  const Url file = MakeUrl("k.krn");
  // The line has doubled often by then: the allocations of a parse that ends are far behind.
  AllocationFaults::FailNth(needed + 8);
  const auto result = parser->Init(file, options, EndlessSource::Repeat);
  const Bool hasFired = AllocationFaults::HasFired();
  AllocationFaults::Disable();
  EXPECT_TRUE(hasFired);
  EXPECT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
}

}  // namespace
}  // namespace ostra::test
