#include <gmock/gmock.h>

#include "apps/ostra/languageserver/word_page.h"
#include "tests/tool/language_server_fixture.h"

namespace ostra::tool {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string HoverAt(const Marked& place) {
  const auto hover = Describe(MakeDocument(place.text), place.offset);
  return hover ? hover->markdown : "";
}

std::vector<std::string> CompletionsAt(const KernelDocument& document, UInt32 offset) {
  std::vector<std::string> labels;
  for (const Completion& item : Complete(document, offset)) labels.push_back(item.label);
  return labels;
}

std::vector<std::string> CompletionsAt(const Marked& place) {
  return CompletionsAt(MakeDocument(place.text), place.offset);
}

// The document was whole before the lines with the caret were typed.
std::vector<std::string> CompletionsWhileTyping(const Marked& place) {
  KernelDocument document = MakeDocument(kHead + kTail);
  EXPECT_TRUE(document.GetUnderstood());
  EXPECT_TRUE(document.SetText(place.text));
  return CompletionsAt(document, place.offset);
}

TEST(EditorProblemsTest, AMistakeIsAtItsWordWithTheTextOfTheFrontEnd) {
  const Marked place = InKernel("$if (i < cuont) { }");
  const auto problems = MakeDocument(place.text).GetProblems();
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].severity, ProblemSeverity::kError);
  EXPECT_EQ(TextAt(place.text, problems[0].range), "cuont");
  EXPECT_THAT(problems[0].text, HasSubstr("cuont"));
}

TEST(EditorProblemsTest, ASoundKernelHasNone) {
  EXPECT_THAT(MakeDocument(InKernel("sum.x = Twice(UNIFORM(factor)); $").text).GetProblems(), IsEmpty());
}

TEST(EditorProblemsTest, CodeBeyondTheLanguageIsInformation) {
  const auto problems = MakeDocument(InKernel("auto x = 1; $").text).GetProblems();
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].severity, ProblemSeverity::kInformation);
}

TEST(EditorProblemsTest, LinesThatTheTranslationForGpusWouldMistakeAreErrors) {
  // The kernel's first brace has a line of its own.
  const std::string wrong = "KERNELINPUTS) {";
  std::string understood = kHead + kTail, text = kHead + "\tauto x = 1;\n" + kTail;
  for (std::string* changed : {&understood, &text}) changed->replace(changed->find("KERNELINPUTS)\n{"), 15, wrong);
  EXPECT_TRUE(MakeDocument(understood).GetProblems().empty()) << "the translation reads its plain form";
  const auto problems = MakeDocument(text).GetProblems();
  ASSERT_FALSE(problems.empty());
  const std::size_t line = text.find("OSTRA_PARALLEL_KERNEL(Scale");
  EXPECT_GE(problems.back().range.begin, line);
  EXPECT_LE(problems.back().range.end, text.find('\n', line));
}

TEST(EditorProblemsTest, AMistakeInAHeaderIsToldInTheKernelWithItsPlace) {
  const std::string text = "#include \"more.h\"\n\n" + kHead + kTail;
  const KernelDocument document = MakeDocument(text, {{"more.h", "float Half(float x)\n{\n\treturn y;\n}\n"}});
  const auto problems = document.GetProblems();
  ASSERT_FALSE(problems.empty());
  EXPECT_THAT(problems[0].text, HasSubstr("more.h: "));
  ASSERT_FALSE(problems[0].notes.empty());
  EXPECT_EQ(problems[0].notes[0].place.file, "/kernels/more.h");
}

TEST(EditorHoverTest, ANameShowsItsTypeItsRoleAndWhetherItDiffers) {
  EXPECT_THAT(HoverAt(InKernel("target_$;")), IsEmpty());
  EXPECT_THAT(HoverAt(InKernel("sum.x = float(i$);")),
              AllOf(HasSubstr("uint i"), HasSubstr("variable"), HasSubstr("Grows by 1")));
  EXPECT_THAT(HoverAt(InKernel("float f = 1.0; sum.x = $f;")), HasSubstr("The same in all invocations"));
  EXPECT_THAT(HoverAt(InKernel("float f = UNIFORM_BUFFER(source)[i]; sum.x = f$;")),
              AllOf(HasSubstr("Differs between invocations"), HasSubstr("(line ")));
  EXPECT_THAT(HoverAt(InKernel("sum.x = UNIFORM(fac$tor);")),
              AllOf(HasSubstr("(float) factor"), HasSubstr("parameter of the kernel")));
  EXPECT_THAT(HoverAt(InKernel("sum.x = Twi$ce(1.0);")), HasSubstr("float Twice(float value)"));
}

TEST(EditorHoverTest, AWordShowsItsFormsAndItsMeaning) {
  EXPECT_THAT(HoverAt(InKernel("sum.x = sq$rt(2.0);")),
              AllOf(HasSubstr("float sqrt(float)"), HasSubstr("vec3 sqrt(vec3)"), HasSubstr("square root")));
  EXPECT_THAT(HoverAt(InKernel("sum.x = UNI$FORM(factor);")), HasSubstr("value of a parameter"));
}

// What docs/kernel-words.md has in the columns of both sides.
TEST(EditorHoverTest, AWordShowsWhatThePageSaysOfBothSides) {
  EXPECT_THAT(
      HoverAt(InKernel("sum.x = fm$a(1.0, 2.0, 3.0);")),
      AllOf(HasSubstr("\n\nCPU: rounded once, as the C library's\n\nGPU: the same bits: computed in integers")));
  EXPECT_THAT(
      HoverAt(InKernel("sum.x = UNI$FORM(factor);")),
      AllOf(HasSubstr("CPU: the member of the parameter record"), HasSubstr("GPU: a member of the uniform buffer")));
  EXPECT_THAT(HoverAt(InKernel("uint old;\n\tAtomic$Max(old, 1u, old);")), HasSubstr("CPU: relaxed atomics"));
}

TEST(EditorHoverTest, RowsOfThePageAreFoundByTheirWordsAndHaveNoLinks) {
  constexpr std::string_view kPage =
      "# Page\n\n| word | CPU | GPU |\n| --- | --- | --- |\n| `Add(place, value)`, `Sub` [x] | a [link](b.md#c) | same "
      "|\n"
      "| more of `value`s | one | two [a] (b) |\n\n| word | stage | means |\n| `InPatch(name, i)` | both | a varying "
      "|\n|  |\n|";
  const auto row = FindWordRow(kPage, "Sub");
  ASSERT_TRUE(row);
  EXPECT_EQ(row->cpu, "a link");
  EXPECT_EQ(row->gpu, "same");
  EXPECT_EQ(FindWordRow(kPage, "value")->gpu, "two [a] (b)");
  EXPECT_FALSE(FindWordRow(kPage, "place"));
  EXPECT_FALSE(FindWordRow(kPage, "x"));
  EXPECT_EQ(FindWordRow(kPage, "InPatch")->cpu, "");
  EXPECT_EQ(FindWordRow(kPage, "InPatch")->gpu, "a varying");
}

TEST(EditorHoverTest, CommentsAndNumbersShowNothing) {
  EXPECT_THAT(HoverAt(InKernel("// the sq$rt of all\n\tsum.x = 1.0;")), IsEmpty());
  EXPECT_THAT(HoverAt(InKernel("sum.x = 1$.0;")), IsEmpty());
}

TEST(EditorHoverTest, WordsAreKnownWhileTheTextHasMistakes) {
  EXPECT_THAT(HoverAt(InKernel("sum.x = sq$rt(2.0")), HasSubstr("square root"));
}

TEST(EditorCompletionTest, MembersOfVectorsAndElementsFollowADot) {
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.$")), ElementsAre("x", "y", "z", "w"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("float f = UNIFORM_BUFFER(target)[i + 1u].$")),
              ElementsAre("x", "y", "z", "w"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("uint j = InGlobalInvocationID.$")), ElementsAre("x", "y", "z"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("unknown.$")), IsEmpty());
}

TEST(EditorCompletionTest, MembersOfStructsFollowADot) {
  const std::string structure = "struct Pair\n{\n\tfloat first;\n\tvec3 second;\n};\n\n";
  const auto with = [&](const std::string& line) {
    std::string text = kHead + "\tPair pair;\n\tpair.first = 1.0;\n\t" + line + "\n" + kTail;
    return Marked(text.insert(text.find("float Twice"), structure));
  };
  KernelDocument document = MakeDocument(with("sum.x = pair.first; $").text);
  ASSERT_TRUE(document.GetUnderstood());
  const Marked members = with("pair.$"), components = with("pair.second.$");
  ASSERT_TRUE(document.SetText(members.text));
  EXPECT_THAT(CompletionsAt(document, members.offset), ElementsAre("first", "second"));
  ASSERT_TRUE(document.SetText(components.text));
  EXPECT_THAT(CompletionsAt(document, components.offset), ElementsAre("x", "y", "z"));
}

TEST(EditorCompletionTest, WordsWithParametersOfferThoseThatFit) {
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.x = UNIFORM($")), ElementsAre("count", "factor"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.x = UNIFORM_BUFFER($")), ElementsAre("source", "target"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.x = UNIFORM_BUFFER(s$")), ElementsAre("source"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.x = SampleTexture($")), IsEmpty());
}

TEST(EditorCompletionTest, ElsewhereNamesAndWordsWithTheBeginningAreOffered) {
  EXPECT_THAT(CompletionsAt(InKernel("sum.x = Tw$")), IsEmpty()) << "there was no sound text yet";
  EXPECT_THAT(CompletionsWhileTyping(InKernel("sum.x = Tw$")), ElementsAre("Twice"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("smooth$")), ElementsAre("smoothstep"));
  EXPECT_THAT(CompletionsWhileTyping(InKernel("s$")),
              AllOf(Contains("sum"), Contains("sqrt"), Contains("switch"), Not(Contains("source"))));
}

std::vector<std::string> NamesAt(const Marked& place, const std::vector<FileRange>& ranges) {
  std::vector<std::string> names;
  for (const FileRange& range : ranges) names.push_back(TextAt(place.text, range.range));
  return names;
}

TEST(EditorNamesTest, DefinitionsAreFoundInTheFileAndInHeaders) {
  const Marked local = InKernel("sum.x = Twi$ce(1.0);");
  const auto place = FindDefinition(MakeDocument(local.text), local.offset);
  ASSERT_TRUE(place);
  EXPECT_EQ(place->range.begin, local.text.find("Twice(float"));

  const std::string header = "float Half(float x)\n{\n\treturn x * 0.5;\n}\n";
  const Marked used("#include \"more.h\"\n\n" + kHead + "\tsum.x = Hal$f(1.0);\n" + kTail);
  const KernelDocument document = MakeDocument(used.text, {{"more.h", header}});
  const auto far = FindDefinition(document, used.offset);
  ASSERT_TRUE(far);
  EXPECT_EQ(far->file, "/kernels/more.h");
  EXPECT_EQ(TextAt(header, far->range), "Half");

  const Marked nothing = InKernel("sum.x = sqr$t(1.0);");
  EXPECT_FALSE(FindDefinition(MakeDocument(nothing.text), nothing.offset));
}

TEST(EditorNamesTest, ReferencesAreThoseOfOneDeclaration) {
  const Marked place = InKernel("float f = 1.0; { float f = 2.0; sum.y = f; } sum.x = $f + f;");
  const KernelDocument document = MakeDocument(place.text);
  EXPECT_THAT(FindReferences(document, place.offset, true), testing::SizeIs(3));
  const auto uses = FindReferences(document, place.offset, false);
  EXPECT_THAT(NamesAt(place, uses), ElementsAre("f", "f"));
  EXPECT_EQ(uses[0].range.begin, place.offset);
}

TEST(EditorNamesTest, AParameterIsRenamedWhereItIsDeclaredAndUsed) {
  const Marked place = InKernel("sum.x = UNIFORM(fact$or) * UNIFORM( factor );");
  const auto places = Rename(MakeDocument(place.text), place.offset, "scale");
  ASSERT_TRUE(places);
  EXPECT_THAT(NamesAt(place, *places), ElementsAre("factor", "factor", "factor"));
}

TEST(EditorNamesTest, RenamingToWhatIsTakenIsRefused) {
  const auto refusal = [](const std::string& lines, const std::string& name) {
    const Marked place = InKernel(lines);
    const auto places = Rename(MakeDocument(place.text), place.offset, name);
    return places ? "" : std::string(places.GetError().GetMessage().GetView());
  };
  EXPECT_THAT(refusal("sum.x = Twi$ce(1.0);", "sqrt"), HasSubstr("a word of the kernel language"));
  EXPECT_THAT(refusal("sum.x = Twi$ce(1.0);", "sum"), HasSubstr("something else"));
  EXPECT_THAT(refusal("sum.x = Twi$ce(1.0);", "2x"), HasSubstr("no name"));
  EXPECT_THAT(refusal("sum.x = sq$rt(1.0);", "root"), HasSubstr("no name here"));
  EXPECT_THAT(refusal("sum.x = Twi$ce(1.0;", "Double"), HasSubstr("mistakes"));
  EXPECT_EQ(refusal("sum.x = Twi$ce(1.0);", "Double"), "");
}

TEST(EditorSymbolsTest, ParametersFunctionsAndTheKernelAreListed) {
  const std::string text = kHead + kTail;
  std::vector<std::string> names;
  for (const Symbol& symbol : ListSymbols(MakeDocument(text))) {
    names.push_back(symbol.name);
    EXPECT_EQ(TextAt(text, symbol.nameRange), symbol.name);
    if (symbol.kind == SymbolKind::kFunction) {
      EXPECT_EQ(TextAt(text, symbol.range), "Twice(float value)\n{\n\treturn value * 2.0;\n}");
    }
  }
  EXPECT_THAT(names, ElementsAre("count", "factor", "source", "target", "Twice", "Scale"));
}

TEST(EditorFormatTest, DeclarationsGetOneBlankBeforeTheirNames) {
  const std::string text =
      "#define KERNELINPUTS \\\n"
      "  ( UInt32 )count ,\\  \n"
      "(Float32) factor, \\\n"
      "(Block<Float32>)   target\n"
      "( not )touched\n";
  const auto edits = FormatDeclarations(text);
  ASSERT_EQ(edits.size(), 2u);
  EXPECT_EQ(TextAt(text, edits[0].range), "  ( UInt32 )count ,\\  ");
  EXPECT_EQ(edits[0].text, "(UInt32) count, \\");
  EXPECT_EQ(edits[1].text, "(Block<Float32>) target");
}

TEST(EditorFormatTest, LinesWithMoreThanADeclarationStay) {
  EXPECT_THAT(FormatDeclarations("#define KERNELINPUTS \\\n(Float32)  a, (Float32)  b\n"), IsEmpty());
  EXPECT_THAT(FormatDeclarations("#define OTHER \\\n(Float32)  a\n"), IsEmpty());
}

}  // namespace
}  // namespace ostra::tool
