// What the parser notes about the lines that it has read.
#include <random>

#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

const char* GetUseName(LineUse use) {
  static constexpr const char* kNames[] = {"Unread",    "Blank",   "FileScope", "Dropped",  "Directive", "NoiseCall",
                                           "Swallowed", "Start",   "End",       "CpuScope", "Body",      "Shared",
                                           "Value",     "Counter", "Buffer",    "Texture",  "NoParam",   "Include",
                                           "Define",    "Member",  "LeftOut"};
  return kNames[static_cast<std::size_t>(use)];
}

const char* GetBlockName(BlockKind block) {
  static constexpr const char* kNames[] = {"", "Kernel", "Function", "InputStruct", "InputDefine", "Struct"};
  return kNames[static_cast<std::size_t>(block)];
}

// "Body@Kernel", "Value@InputDefine:scale", "Blank".
std::vector<std::string> Describe(const LineNotes& notes) {
  std::vector<std::string> lines;
  for (const LineNote& note : notes) {
    std::string& line = lines.emplace_back(GetUseName(note.use));
    if (note.block != BlockKind::None) line.append("@").append(GetBlockName(note.block));
    if (note.name.IsPopulated()) line.append(":").append(note.name.GetView());
  }
  return lines;
}

class LineNotesTest : public ParserTest {
 protected:
  std::vector<std::string> NotesOf(std::string_view text, const ParseSettings& settings = {}) const {
    return Describe(Parse(text, settings)->GetLineNotes()[0]);
  }
  std::vector<std::string> NotesOf(const ShaderParser& parser, std::string_view file) const {
    for (Int i = 0; i < parser.GetFiles().GetCount(); ++i)
      if (parser.GetFiles()[i] == MakeUrl(file)) return Describe(parser.GetLineNotes()[i]);
    return {"not among the files"};
  }
};

TEST_F(LineNotesTest, BlocksAndWhatStandsOutsideOfThem) {
  EXPECT_THAT(NotesOf("#include \"x.h\"\nGROUPSIZE(8, 8, 1)\nlost\n\nnamespace n\n{\nADDNOISECALL\nconst int a = 1;\n"
                      "inline Float32 F(Float32 x)\n{\n\treturn x;\n}\n}\n"
                      "FP_KERNEL(K)\n{\n\nADDNOISECALL\na;\nGROUPSHAREDMEM(float, tile, 64)\n}\nFP_KERNEL_END\nb;"),
              ElementsAre("Dropped", "Directive", "Swallowed", "Blank", "Dropped", "Swallowed", "NoiseCall",
                          "FileScope", "Start@Function", "Body@Function", "Body@Function", "End@Function", "Dropped",
                          "Start@Kernel", "Body@Kernel", "Blank@Kernel", "NoiseCall@Kernel", "Body@Kernel",
                          "Shared@Kernel:tile", "Body@Kernel", "End@Kernel", "FileScope"));
}

TEST_F(LineNotesTest, AKernelMethodAndItsCpuScope) {
  EXPECT_THAT(
      NotesOf("OSTRA_METHOD Result<void> Kernel()\n{\nCPU_SCOPE_START\n}\n\nCPU_SCOPE_END\nif (a) {\nb;\n}\n}\n"),
      ElementsAre("Start@Kernel", "Swallowed@Kernel", "CpuScope@Kernel", "CpuScope@Kernel", "CpuScope@Kernel",
                  "CpuScope@Kernel", "Body@Kernel", "Body@Kernel", "Body@Kernel", "End@Kernel", "Blank"));
}

TEST_F(LineNotesTest, DeclarationsOfBothForms) {
  EXPECT_THAT(
      NotesOf("#define KERNELINPUTS \\\n(Float32) scale, \\\n(AtomicUInt32*) count, \\\n(Block<TYPE>) data, \\\n"
              "(const TextureSampler_2D_R_F32_POINT) image, \\\n(Odd) nothing, \\\n(out vec4) color, \\\n"
              "(TYPE) typed\n\n",
              {.templateArgument = "Int32"}),
      ElementsAre("Start@InputDefine", "Value@InputDefine:scale", "Counter@InputDefine:count",
                  "Buffer@InputDefine:data", "Texture@InputDefine:image", "NoParam@InputDefine",
                  "Value@InputDefine:color", "Value@InputDefine:typed", "Blank", "Blank"));
  EXPECT_THAT(NotesOf("struct KernelInput\n{\nFloat32 scale;\nconst Block<Vector32> points;\nOdd nothing;\n};\n"),
              ElementsAre("Start@InputStruct", "Swallowed@InputStruct", "Value@InputStruct:scale",
                          "Buffer@InputStruct:points", "NoParam@InputStruct", "End@InputStruct", "Blank"));
}

TEST_F(LineNotesTest, WhatIsTakenFromHeaders) {
  Write(
      "k.h",
      "#ifndef K_H__\n#define K_H__\n// INCLUDE_STRUCTS_BEGIN\n#include \"b.h\"\n#include \"c.h\"\n#include \"no.h\"\n"
      "// INCLUDE_STRUCTS_END\n#define LIMIT 8\nstruct S\n{\nFloat32 a;\n\nOdd b;\n};\n"
      "inline Float32 F(Float32 x)\n{\n\nreturn x;\n}\n#endif");
  Write("b.h", "#ifndef B_H__\n#define B_H__\n#define A 1\nfull\n\n#define OSTRA_INCLUDE_AS_FULLTEXT\nx\n");
  Write("c.h", "#ifndef B_H__\n#define B_H__\n#define LOST 1\n");
  const ParserRef parser = Parse("");
  EXPECT_THAT(NotesOf(*parser, "k.h"),
              ElementsAre("Dropped", "Dropped", "Dropped", "Include:b.h", "Include:c.h", "Include:no.h", "Dropped",
                          "Define:LIMIT", "Start@Struct:S", "Swallowed@Struct", "Member@Struct:a", "Blank@Struct",
                          "Dropped@Struct", "End@Struct", "Start@Function", "Body@Function", "Blank@Function",
                          "Body@Function", "End@Function", "Dropped"));
  EXPECT_THAT(NotesOf(*parser, "b.h"), ElementsAre("FileScope", "FileScope", "Define:A", "FileScope", "Blank",
                                                   "FileScope", "FileScope", "Blank"));
  EXPECT_THAT(NotesOf(*parser, "c.h"), ElementsAre("LeftOut", "LeftOut", "LeftOut", "LeftOut"));
}

TEST_F(LineNotesTest, LinesBehindTheOneThatEndsAParseAreUnread) {
  Write("k.krn", "a;\nFP_KERNEL(K)\nLOCALDATA(x\nb;\n");
  const ParserRef parser = MakeParser(kTargetGlsl);
  ASSERT_FALSE(Init(*parser, "k.krn"));
  EXPECT_THAT(Describe(parser->GetLineNotes()[0]),
              ElementsAre("FileScope", "Start@Kernel", "Body@Kernel", "Unread", "Unread"));
}

TEST_F(LineNotesTest, NotesWithoutAParseGoOnBehindEveryMistake) {
  const LineNotes notes =
      NoteLines(
          "GROUPSIZE(8)\n\n#define KERNELINPUTS \\\n(Float32)\n(Int32) n\n\ninline int F(Block<)\n{\n"
          "if (a) { LOCALDATA(x\n}\nb;\n}\nFP_KERNEL(K)\nATOMIC\nFP_KERNEL_END\nFP_KERNEL(L)\nc;\nFP_KERNEL_END")
          .GetValue();
  EXPECT_THAT(
      Describe(notes),
      ElementsAre("Directive", "Swallowed", "Start@InputDefine", "NoParam@InputDefine", "Value@InputDefine:n", "Blank",
                  "Start@Function", "Body@Function", "Body@Function", "Body@Function", "Body@Function", "End@Function",
                  "Start@Kernel", "Body@Kernel", "End@Kernel", "Start@Kernel", "Body@Kernel", "End@Kernel"));
}

// Files of all words that begin and end something, in any order.
std::string MakeFile(std::mt19937& random) {
  static const char* const kLines[] = {"FP_KERNEL(K)",
                                       "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)",
                                       "FP_KERNEL_END",
                                       "OSTRA_METHOD Result<void> Kernel()",
                                       "inline int F(int x)",
                                       "inline int F() { return 1; }",
                                       "struct KernelInput",
                                       "struct S",
                                       "#define KERNELINPUTS \\",
                                       "#define N 8",
                                       "#define OSTRA_INCLUDE_AS_FULLTEXT",
                                       "(Float32) a, \\",
                                       "(Block<Int32>) b",
                                       "Float32 c;",
                                       "{",
                                       "}",
                                       "};",
                                       "x = { 1 };",
                                       "GROUPSIZE(1, 2, 3)",
                                       "GROUPSIZE(1)",
                                       "CPU_GRANULARITY(8)",
                                       "namespace n",
                                       "CPU_SCOPE_START",
                                       "CPU_SCOPE_END",
                                       "ADDNOISECALL",
                                       "GROUPSHAREDMEM(a, b, c) {",
                                       "y = matoff(m); {",
                                       "LOCALDATA(",
                                       "",
                                       " \t"};
  std::string text;
  for (std::size_t i = random() % 30; i > 0; --i) text.append(kLines[random() % std::size(kLines)]).append("\n");
  return text;
}

// Which lines the pieces come from.
template <class Use>
void ForEachOrigin(const ShaderParser& parser, Use&& use) {
  for (const ShaderTextOrigin& origin : parser.GetKernelCodeOrigins()) use(origin, "code");
  for (const ShaderTextOrigins& origins : parser.GetGlobalCodeOrigins())
    for (const ShaderTextOrigin& origin : origins) use(origin, "file scope");
  for (const ShaderFunctionDefinition& function : parser.GetFunctions()) {
    use(function.declarationOrigin, "declaration");
    for (const ShaderTextOrigin& origin : function.bodyOrigins) use(origin, "code");
  }
  for (const ShaderInputEntry& input : parser.GetInputEntries()) use(input.origin, "parameter");
  for (const ShaderTextOrigin& origin : parser.GetDefineOrigins()) use(origin, "define");
  for (const ShaderTextOrigin& origin : parser.GetGroupSharedDeclarationOrigins()) use(origin, "shared");
}

Bool Fits(const LineNote& note, std::string_view piece) {
  const Bool isInCode = note.block == BlockKind::Kernel || note.block == BlockKind::Function;
  if (piece == "code") {
    const Bool isCode = note.use == LineUse::Body || note.use == LineUse::NoiseCall || note.use == LineUse::GroupShared;
    return isInCode && (isCode || (note.use == LineUse::BlockEnd && note.block == BlockKind::Function));
  }
  if (piece == "file scope")
    return note.block == BlockKind::None && (note.use == LineUse::FileScope || note.use == LineUse::GroupShared);
  if (piece == "declaration") return note.use == LineUse::BlockStart && note.block == BlockKind::Function;
  if (piece == "parameter") return IsParameter(note.use);
  return note.use == (piece == "define" ? LineUse::Define : LineUse::GroupShared);
}

class LineNotesPropertyTest : public LineNotesTest, public testing::WithParamInterface<UInt32> {};

TEST_P(LineNotesPropertyTest, EveryLineOfEveryFileHasANoteThatFitsThePiecesMadeOfIt) {
  std::mt19937 random(GetParam());
  int parsed = 0;
  for (int round = 0; round < 400; ++round) {
    const std::string files[] = {MakeFile(random), MakeFile(random)};
    // Headers have stricter rules; most files go without one.
    Write("k.h", round % 4 == 0 ? files[1] : "");
    Write("k.krn", files[0]);
    SCOPED_TRACE(files[0] + "--- k.h\n" + files[1]);
    const ParserRef parser = MakeParser(kTargetGlsl);
    const auto result = Init(*parser, "k.krn");
    const LineNotes alone = NoteLines(files[0]).GetValue();
    ASSERT_EQ(alone.GetCount(), std::count(files[0].begin(), files[0].end(), '\n') + 1);
    for (const LineNote& note : alone) ASSERT_NE(note.use, LineUse::Unread);
    if (!result) continue;
    ++parsed;
    ASSERT_EQ(Describe(parser->GetLineNotes()[0]), Describe(alone));
    ASSERT_EQ(parser->GetLineNotes().GetCount(), parser->GetFiles().GetCount());
    for (const LineNotes& notes : parser->GetLineNotes()) {
      ASSERT_GT(notes.GetCount(), 0);
      for (const LineNote& note : notes) ASSERT_NE(note.use, LineUse::Unread);
    }
    ForEachOrigin(*parser, [&](const ShaderTextOrigin& origin, std::string_view piece) {
      const LineNotes& notes = parser->GetLineNotes()[origin.file];
      ASSERT_TRUE(origin.line >= 1 && origin.line <= notes.GetCount());
      const LineNote& note = notes[origin.line - 1];
      const Bool isWholeHeader = piece == "file scope" && origin.file != 0;
      ASSERT_TRUE(isWholeHeader || Fits(note, piece))
          << origin.line << " " << piece << " " << Describe(notes)[static_cast<std::size_t>(origin.line - 1)];
    });
  }
  EXPECT_GT(parsed, 40);
}

INSTANTIATE_TEST_SUITE_P(Seeds, LineNotesPropertyTest, testing::Values(1u, 2u, 3u, 4u));

TEST_F(LineNotesTest, EveryLineOfTheKernelLibraryIsRead) {
  int lines = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(OSTRA_KERNEL_FOLDER)) {
    const std::filesystem::path suffix = entry.path().extension();
    if (suffix != ".krn" && suffix != ".vert" && suffix != ".frag" && suffix != ".tsc" && suffix != ".tse") continue;
    const ParserRef parser = MakeParser(kTargetHlsl);
    const Url file = Url::Create(entry.path().native()).GetValue();
    ASSERT_THAT(parser->Init(file, DataDictionary(), EndlessSource::Refuse), IsOk()) << entry.path();
    for (const LineNotes& notes : parser->GetLineNotes())
      for (const LineNote& note : notes) {
        EXPECT_NE(note.use, LineUse::Unread) << entry.path();
        ++lines;
      }
  }
  EXPECT_GT(lines, 1000);
}

}  // namespace
}  // namespace ostra::test
