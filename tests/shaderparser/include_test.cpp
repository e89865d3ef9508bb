// Which headers belong to a file, how they include each other, and what is taken from them.
#include "ostra/io/file.h"
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class IncludeTest : public ParserTest {
 protected:
  std::vector<std::string> DefinesOf(const ParserRef& parser) const { return GetTexts(parser->GetDefines()); }
  std::vector<std::string> FilesOf(const ParserRef& parser) const {
    std::vector<std::string> names;
    for (const Url& file : parser->GetFiles()) names.push_back(ToText(file.GetName()));
    return names;
  }
  // A header with a guard that includes others and defines `name`.
  static std::string MakeHeader(const std::string& name, const std::vector<std::string>& includes) {
    std::string text = "#ifndef " + name + "_H__\n#define " + name + "_H__\n// INCLUDE_STRUCTS_BEGIN\n";
    for (const std::string& include : includes) text += "#include \"" + include + "\"\n";
    return text + "// INCLUDE_STRUCTS_END\n#define " + name + " 1\n#endif\n";
  }
};

TEST_F(IncludeTest, AFileThatIsNoneIsAnError) {
  const char* const message = "Illegal argument: Condition file.IoDetect() == IODETECT::FILE not fulfilled.";
  EXPECT_THAT(Init(*MakeParser(kTargetGlsl), "missing.krn"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(Init(*MakeParser(kTargetGlsl), "."), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(MakeParser(kTargetGlsl)->Init(Url(), DataDictionary()), IsErrorWith(kIllegalArgumentError, message));
}

TEST_F(IncludeTest, AFileThatCannotBeReadIsTheHostsError) {
  // It can be opened by everyone, and nothing lies at its start.
  const Url file("/proc/self/mem"_s);
  const auto expected = ReadFileToMemory(file);
  ASSERT_THAT(expected, IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(MakeParser(kTargetGlsl)->Init(file, DataDictionary()),
              IsErrorWith(kIllegalStateError, ToText(expected.GetError().GetMessage())));
}

TEST_F(IncludeTest, AKernelFileHasAHeader) {
  Write("blur.krn", "");
  EXPECT_THAT(DefinesOf(ParseFile("blur.krn")), IsEmpty());
  Write("blur_header", "#define FROM header\n");
  EXPECT_THAT(DefinesOf(ParseFile("blur.krn")), ElementsAre("#define FROM header"));
  Write("blur.h", "#define FROM h\n");
  EXPECT_THAT(DefinesOf(ParseFile("blur.krn")), ElementsAre("#define FROM h"));
}

TEST_F(IncludeTest, FilesKeepTheStampsThatTheyHadWhenTheyWereRead) {
  Write("k.h", "#define FROM header\n");
  Write("k.krn", "");
  const auto header = GetModificationStamp(MakeUrl("k.h")), file = GetModificationStamp(MakeUrl("k.krn"));
  ASSERT_THAT(header, IsOk());
  const ParserRef parser = ParseFile("k.krn");
  std::filesystem::last_write_time(ToText(MakeUrl("k.h").GetText()),
                                   std::filesystem::file_time_type(std::chrono::seconds(7)));
  EXPECT_NE(*GetModificationStamp(MakeUrl("k.h")), *header);
  EXPECT_THAT(Init(*parser, "k.krn"), IsOk());  // read already
  EXPECT_THAT(FilesOf(parser), ElementsAre("k.krn", "k.h"));
  EXPECT_EQ(parser->GetFileStamps()[0], *file);
  EXPECT_EQ(parser->GetFileStamps()[1], *header);
}

TEST_F(IncludeTest, OnlyTheLastSuffixIsReplaced) {
  Write("net.example.blur.krn", "");
  Write("net.example.h", "#define WRONG 1\n");
  Write("net.h", "#define WRONG 2\n");
  EXPECT_THAT(DefinesOf(ParseFile("net.example.blur.krn")), IsEmpty());
  Write("net.example.blur.h", "#define RIGHT 1\n");
  EXPECT_THAT(DefinesOf(ParseFile("net.example.blur.krn")), ElementsAre("#define RIGHT 1"));
}

TEST_F(IncludeTest, AFileWithoutASuffixHasAHeaderToo) {
  Write("blur", "");
  Write("blur.h", "#define FROM h\n");
  EXPECT_THAT(DefinesOf(ParseFile("blur")), ElementsAre("#define FROM h"));
}

TEST_F(IncludeTest, GraphicsShadersHaveHeadersOfTheirOwn) {
  Write("light.h", "#define FROM h\n");
  Write("light_header", "#define FROM header\n");
  for (const char* name : {"light.frag", "light.vert", "light.myfragment"}) {
    Write(name, "");
    EXPECT_THAT(DefinesOf(ParseFile(name)), IsEmpty()) << name;
  }
  Write("light_inc", "#define FROM _inc\n");
  EXPECT_THAT(DefinesOf(ParseFile("light.frag")), ElementsAre("#define FROM _inc"));
  Write("light.inc", "#define FROM inc\n");
  EXPECT_THAT(DefinesOf(ParseFile("light.frag")), ElementsAre("#define FROM inc"));
  EXPECT_THAT(DefinesOf(ParseFile("light.vert")), ElementsAre("#define FROM inc"));
}

TEST_F(IncludeTest, TessellationShadersHaveTheHeadersOfKernels) {
  Write("light.inc", "#define FROM inc\n");
  Write("light_header", "#define FROM header\n");
  for (const char* name : {"light.tsc", "light.tse"}) {
    Write(name, "");
    EXPECT_THAT(DefinesOf(ParseFile(name)), ElementsAre("#define FROM header"));
  }
  Write("light.h", "#define FROM h\n");
  EXPECT_THAT(DefinesOf(ParseFile("light.tse")), ElementsAre("#define FROM h"));
}

TEST_F(IncludeTest, ADirectoryIsNoHeader) {
  Write("k.h/x", "");
  Write("k_header", "#define FROM header\n");
  EXPECT_THAT(DefinesOf(Parse("")), ElementsAre("#define FROM header"));
}

TEST_F(IncludeTest, IncludedHeadersComeFirst) {
  Write("k.h", MakeHeader("A", {"b.h", "c.h"}));
  Write("b.h", MakeHeader("B", {"d.h"}));
  Write("c.h", MakeHeader("C", {}));
  Write("d.h", MakeHeader("D", {}));
  EXPECT_THAT(DefinesOf(Parse("")), ElementsAre("#define D 1", "#define B 1", "#define C 1", "#define A 1"));
}

TEST_F(IncludeTest, AnIncludedFileIsSoughtBesideItsHeaderAndReadThroughItsOwnHeader) {
  Write("k.h", MakeHeader("A", {"sub/b.h"}));
  Write("sub/b.h", MakeHeader("B", {"c.h", "../d.h", "e.krn"}));
  Write("sub/c.h", MakeHeader("SUBC", {}));
  Write("c.h", MakeHeader("C", {}));
  Write("d.h", MakeHeader("D", {}));
  Write("sub/e.krn", "#define NOTREAD 1\n");
  Write("sub/e.h", MakeHeader("E", {}));
  EXPECT_THAT(DefinesOf(Parse("")),
              ElementsAre("#define SUBC 1", "#define D 1", "#define E 1", "#define B 1", "#define A 1"));
}

TEST_F(IncludeTest, IncludesOutsideOfTheSectionAreNotFollowed) {
  Write("b.h", "#define B 1\n");
  Write("c.h", "#define C 1\n");
  const ParserRef parser = ParseHeader(
      "#include \"b.h\"\n// INCLUDE_FUNCTIONS_BEGIN\n#include \"b.h\"\n//INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n"
      "\t// INCLUDE_STRUCTS_BEGIN of all\n  #include \"c.h\" // why\n// INCLUDE_STRUCTS_END\n#include \"b.h\"\n");
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define C 1"));
}

TEST_F(IncludeTest, AnIncludeSectionMayStayOpenAndHoldOtherLines) {
  Write("b.h", "#define B 1\n");
  const ParserRef parser = ParseHeader(
      "// INCLUDE_STRUCTS_BEGIN\n\n#include\nxx\n#include missing\n#include x\n#include \"\"\n#include <b.h>\n#define "
      "A 1\n");
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define B 1", "#define A 1"));
}

TEST_F(IncludeTest, ASectionMayOpenAgain) {
  Write("b.h", "#define B 1\n");
  Write("c.h", "#define C 1\n");
  const std::string begin = "// INCLUDE_STRUCTS_BEGIN\n", end = "// INCLUDE_STRUCTS_END\n";
  const ParserRef parser = ParseHeader(begin + "#include \"b.h\"\n" + end + begin + "#include \"c.h\"\n" + end);
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define B 1", "#define C 1"));
}

TEST_F(IncludeTest, AGuardInsideOfTheSectionIsNone) {
  Write("b.h", "#ifndef G\n#define G\n#define B 1\n#endif\n");
  EXPECT_THAT(DefinesOf(ParseHeader("// INCLUDE_STRUCTS_BEGIN\n#ifndef G\n#define G\n#include \"b.h\"\n")),
              ElementsAre("#define B 1"));
  EXPECT_THAT(DefinesOf(ParseHeader("#ifndef G\n#define G\n// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n")), IsEmpty());
}

TEST_F(IncludeTest, CarriageReturnsHideIncludes) {
  Write("b.h", "#define B 1\r\n");
  // The section itself is not seen: the marker word has a carriage return.
  EXPECT_THAT(DefinesOf(ParseHeader("// INCLUDE_STRUCTS_BEGIN\r\n#include \"b.h\"\r\n// INCLUDE_STRUCTS_END\r\n")),
              IsEmpty());
  // The name keeps its closing quote: there is no such file.
  EXPECT_THAT(DefinesOf(ParseHeader("// INCLUDE_STRUCTS_BEGIN x\r\n#include \"b.h\"\r\n")), IsEmpty());
  EXPECT_THAT(DefinesOf(ParseHeader("// INCLUDE_STRUCTS_BEGIN x\r\n#include \"b.h\" x\r\n")),
              ElementsAre("#define B 1\r"));
}

TEST_F(IncludeTest, DistinctHeadersBeyondTheLimitAreNotBlamedOnGuards) {
  std::string list = "// INCLUDE_STRUCTS_BEGIN\n";
  for (int i = 0; i < 1100; ++i) {
    const std::string name = "h" + std::to_string(i) + ".h";
    Write(name, "");
    list += "#include \"" + name + "\"\n";
  }
  EXPECT_THAT(TryParseHeader(list),
              IsErrorWith(kIllegalArgumentError, GetPath("k.h") + ":1001: error: more than 1000 headers are included"));
}

TEST_F(IncludeTest, HeadersThatAreNotFoundAreListed) {
  Write("b.h", "");
  const ParserRef parser =
      ParseHeader("// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n#include \"c.h\"\n#include \"PNanoVDB.h\"\n");
  const auto& missing = parser->GetPieces().missingHeaders;
  ASSERT_EQ(missing.GetCount(), 1);
  EXPECT_EQ(missing[0].name, "c.h");
  EXPECT_EQ(GetPlace(*parser, missing[0].origin), "k.h:3");
}

TEST_F(IncludeTest, AGuardedHeaderIsTakenOnce) {
  Write("k.h", MakeHeader("A", {"b.h", "c.h"}));
  Write("b.h", MakeHeader("B", {"d.h"}));
  Write("c.h", MakeHeader("C", {"d.h"}));
  Write("d.h", MakeHeader("D", {}) + "struct S\n{\nFloat32 a;\n};\ninline float F()\n{\n}\n");
  const ParserRef parser = Parse("");
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define D 1", "#define B 1", "#define C 1", "#define A 1"));
  EXPECT_EQ(parser->GetStructs().GetCount(), 1);
  EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
}

TEST_F(IncludeTest, AHeaderWithoutAGuardIsTakenAsOftenAsItIsIncluded) {
  Write("k.h", MakeHeader("A", {"b.h", "b.h"}));
  Write("b.h", "#define B 1\n");
  EXPECT_THAT(DefinesOf(Parse("")), ElementsAre("#define B 1", "#define B 1", "#define A 1"));
}

TEST_F(IncludeTest, TheSameGuardInAnotherHeaderHidesThatHeader) {
  Write("k.h", MakeHeader("A", {"b.h", "c.h"}));
  Write("b.h", MakeHeader("SAME", {}));
  // What it has included before its guard goes, too.
  Write("c.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"d.h\"\n// INCLUDE_STRUCTS_END\n" + MakeHeader("SAME", {}));
  Write("d.h", "#define D 1\n");
  EXPECT_THAT(DefinesOf(Parse("")), ElementsAre("#define SAME 1", "#define A 1"));
}

TEST_F(IncludeTest, AGuardIsTwoLinesWithTheSameWord) {
  const std::string both = "// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n#include \"b.h\"\n// INCLUDE_STRUCTS_END\n";
  const auto countOf = [&](const std::string& guard) {
    Write("b.h", guard + "#define B 1\n");
    return DefinesOf(ParseHeader(both)).size();
  };
  EXPECT_EQ(countOf("#ifndef G\n#define G\n"), 1u);
  EXPECT_EQ(countOf("  #ifndef G x\n\t#define G y\n"), 2u) << "both with their defines, of which G is one";
  EXPECT_EQ(countOf("#ifndef G\n#define H\n"), 2u);
  EXPECT_EQ(countOf("#ifndef G\n\n#define G\n"), 2u);
  EXPECT_EQ(countOf("#ifndef\n#define\n"), 2u);
  EXPECT_EQ(countOf("#ifdef G\n#define G\n"), 2u);
  // Anywhere in the file.
  EXPECT_EQ(countOf("#define C 1\n#ifndef G\n#define G\n"), 2u);
  Write("b.h", "#define B 1\n#ifndef G");
  EXPECT_EQ(DefinesOf(ParseHeader(both)).size(), 2u);
}

TEST_F(IncludeTest, GuardedHeadersMayIncludeEachOther) {
  Write("k.h", MakeHeader("A", {"b.h"}));
  Write("b.h", MakeHeader("B", {"k.h"}));
  EXPECT_THAT(DefinesOf(Parse("")), ElementsAre("#define B 1", "#define A 1"));
}

TEST_F(IncludeTest, AGuardAnywhereInTheCircleEndsIt) {
  const std::string include = "// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n// INCLUDE_STRUCTS_END\n#define A 1\n";
  Write("k.h", include);
  Write("b.h", MakeHeader("B", {"k.h"}));
  for (const EndlessSource endless : {EndlessSource::Repeat, EndlessSource::Refuse})
    EXPECT_THAT(DefinesOf(Parse("", {.endless = endless})), ElementsAre("#define A 1", "#define B 1", "#define A 1"));
}

TEST_F(IncludeTest, ACircleWithoutGuardsIsAnError) {
  const std::string back = "// INCLUDE_STRUCTS_BEGIN\n#include \"k.h\"\n";
  for (const EndlessSource endless : {EndlessSource::Repeat, EndlessSource::Refuse}) {
    Write("b.h", back);
    EXPECT_THAT(TryParseHeader("// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n", {.endless = endless}),
                IsErrorWith(kIllegalArgumentError,
                            GetPath("b.h") + ":2: error: \"" + GetPath("k.h") + "\" includes itself and has no guard"));
    EXPECT_THAT(TryParseHeader("\n" + back, {.endless = endless}),
                IsErrorWith(kIllegalArgumentError,
                            GetPath("k.h") + ":3: error: \"" + GetPath("k.h") + "\" includes itself and has no guard"));
  }
}

TEST_F(IncludeTest, HeadersThatMultiplyAreRefused) {
  for (int i = 0; i < 20; ++i) {
    const std::string next = "#include \"" + std::to_string(i + 1) + ".h\"\n";
    Write(i == 0 ? "k.h" : std::to_string(i) + ".h", "// INCLUDE_STRUCTS_BEGIN\n" + next + next);
  }
  Write("20.h", "");
  EXPECT_THAT(TryParse(""),
              IsErrorContaining(kIllegalArgumentError,
                                "more than 1000 headers are included again and again; guards are missing"));
}

TEST_F(IncludeTest, HeadersThatIncludeEachOtherTooDeeplyAreRefused) {
  Write("sub/x", "");
  // The name grows with every step, so no header is met twice.
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"sub/../k.h\"\n");
  EXPECT_THAT(TryParse(""),
              IsErrorContaining(kIllegalArgumentError, ":2: error: headers include each other too deeply"));
}

TEST_F(IncludeTest, PNanoVdbFilesHaveAPreamble) {
  const std::pair<Id, std::string> preambles[] = {{kTargetHlsl, "#define PNANOVDB_HLSL\n\n"},
                                                  {kTargetGlsl, "#define PNANOVDB_GLSL\n\n"},
                                                  {kTargetMetal, "#define PNANOVDB_METAL\n\n"}};
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"MyPNanoVDB.h\"\n");
  Write("MyPNanoVDB.h", "#define OSTRA_INCLUDE_AS_FULLTEXT\ntext\n");
  for (const auto& [target, preamble] : preambles) {
    EXPECT_THAT(GetTexts(Parse("", {.target = target})->GetGlobalCode()),
                ElementsAre(preamble, "#define OSTRA_INCLUDE_AS_FULLTEXT\ntext\n"));
  }
  EXPECT_THAT(GetTexts(Parse("", {.target = "OTHER"_id})->GetGlobalCode()),
              ElementsAre("#define OSTRA_INCLUDE_AS_FULLTEXT\ntext\n"));
  // The name counts, not whether the file is there, and each time that it is included.
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"PNanoVDB.x\"\n#include \"PNanoVDB.y\"\n");
  EXPECT_THAT(GetTexts(Parse("")->GetGlobalCode()),
              ElementsAre("#define PNANOVDB_GLSL\n\n", "#define PNANOVDB_GLSL\n\n"));
  Write("PNanoVDB.krn", "");
  EXPECT_THAT(GetTexts(ParseFile("PNanoVDB.krn")->GetGlobalCode()), ElementsAre("#define PNANOVDB_GLSL\n\n"));
}

TEST_F(IncludeTest, AHeaderGivesItsDefines) {
  const ParserRef parser = ParseHeader(
      "#define FOO_H__ 1\n  #define LIMIT 8\n#define LONG 1 2 3 // four\n#define NOVALUE\n#define\n# define X 1\n"
      "#undef X Y\n#define AFUNCTION(x) x\n");
  EXPECT_THAT(DefinesOf(parser),
              ElementsAre("#define LIMIT 8", "#define LONG 1 2 3 // four", "#define AFUNCTION(x) x"));
}

TEST_F(IncludeTest, AHeaderMayBeTakenAsItIs) {
  const std::string rest = "\tfloat f()\n{\r\n}\n\ninline float G()\n{\n}\n#define LATER 1\n";
  const std::string text = "#define EARLY 1\n#define OSTRA_INCLUDE_AS_FULLTEXT\n" + rest;
  const ParserRef parser = ParseHeader(text);
  EXPECT_THAT(GetTexts(parser->GetGlobalCode()), ElementsAre(text));
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define EARLY 1"));
  EXPECT_TRUE(parser->GetFunctions().IsEmpty());
}

TEST_F(IncludeTest, FullTextWithAValueIsAnOrdinaryDefine) {
  const ParserRef parser = ParseHeader("#define OSTRA_INCLUDE_AS_FULLTEXT 1\n#define LATER 1\n");
  EXPECT_THAT(DefinesOf(parser), ElementsAre("#define OSTRA_INCLUDE_AS_FULLTEXT 1", "#define LATER 1"));
  EXPECT_TRUE(parser->GetGlobalCode().IsEmpty());
  // With a carriage return it is another word.
  EXPECT_TRUE(ParseHeader("#define OSTRA_INCLUDE_AS_FULLTEXT\r\nx\r\n")->GetGlobalCode().IsEmpty());
}

TEST_F(IncludeTest, FullTextKeepsEveryByte) {
  const std::string text = "\xEF\xBB\xBF#define OSTRA_INCLUDE_AS_FULLTEXT\nx";
  EXPECT_THAT(GetTexts(ParseHeader(text)->GetGlobalCode()), ElementsAre(text));
}

TEST_F(IncludeTest, HeadersComeBeforeTheFile) {
  Write("k.h", "inline float F()\n{\n}\n#define OSTRA_INCLUDE_AS_FULLTEXT\n");
  const ParserRef parser = Parse("a;\ninline float G()\n{\n}\n");
  ASSERT_EQ(parser->GetFunctions().GetCount(), 2);
  EXPECT_EQ(ToText(parser->GetFunctions()[0].declaration), "float F()");
  EXPECT_EQ(ToText(parser->GetFunctions()[1].declaration), "float G()");
  ASSERT_EQ(parser->GetGlobalCode().GetCount(), 2);
  EXPECT_EQ(ToText(parser->GetGlobalCode()[1]), "a;\n");
}

TEST_F(IncludeTest, ErrorsInHeadersAreAlsoDiagnostics) {
  DiagnosticRecorder diagnostics;
  const char* const message = "could not find end of a struct. missing }; as single line";
  EXPECT_THAT(TryParseHeader("struct S\n{\n"), IsErrorWith(kIllegalArgumentError, message));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("Error parsing shader " + GetPath("k.h") + ": " + message));
  // Those of the file itself are not.
  Write("k.h", "");
  EXPECT_FALSE(TryParse("GROUPSIZE\n"));
  EXPECT_EQ(diagnostics.GetLines().size(), 1u);
}

TEST_F(IncludeTest, AContainerThatIsNoneIsRefused) {
  EXPECT_THAT(TryParse("encoded by nobody"), IsErrorContaining(kIllegalArgumentError, "hmac different"));
  EXPECT_THAT(TryParseHeader("encoded by nobody"), IsErrorContaining(kIllegalArgumentError, "hmac different"));
}

}  // namespace
}  // namespace ostra::test
