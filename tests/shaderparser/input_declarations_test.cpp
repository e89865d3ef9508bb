// Kernel inputs in both forms, textures, and the limits of Metal kernels.
#include <sstream>

#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An entry in one line: "Float32 scale", "[Vector32] points const".
std::string Describe(const ShaderInputEntry& entry) {
  const bool isValue = entry.dataType.IsPopulated();
  EXPECT_TRUE(!isValue || entry.typeName.IsEmpty());
  std::ostringstream text;
  text << (isValue ? "" : "[") << (isValue ? entry.dataType.GetName().GetView() : entry.typeName.GetView())
       << (isValue ? " " : "] ") << entry.name.GetView();
  if (entry.kind != 0) text << ' ' << entry.kind;
  return text.str();
}

std::string Describe(const ShaderTextureEntry& entry) {
  std::ostringstream text;
  text << entry.textureType << ' ' << entry.format->id.GetView() << ' ' << entry.name.GetView()
       << (entry.linear ? " linear" : " point") << (entry.readOnly ? " const" : "");
  return text.str();
}

template <class Entry>
std::vector<std::string> Describe(const BaseArray<Entry>& entries) {
  std::vector<std::string> texts;
  for (const Entry& entry : entries) texts.push_back(Describe(entry));
  return texts;
}

class InputDeclarationsTest : public ParserTest {
 protected:
  static std::string MakeDefine(std::string_view lines) {
    return "#define KERNELINPUTS \\\n" + std::string(lines) + "\n\n";
  }
  static std::string MakeStruct(std::string_view lines) {
    return "struct KernelInput\n{\n" + std::string(lines) + "\n};\n";
  }
  static std::string Declare(std::string_view type) { return std::string("(").append(type).append(") t, \\"); }
  std::vector<std::string> InputsOf(std::string_view lines, const ParseSettings& settings = {}) const {
    return Describe(Parse(MakeDefine(lines), settings)->GetInputEntries());
  }
  std::vector<std::string> TexturesOf(std::string_view lines) const {
    return Describe(Parse(MakeDefine(lines))->GetTextureEntries());
  }
  std::vector<std::string> MembersOf(std::string_view lines) const {
    return Describe(Parse(MakeStruct(lines))->GetInputEntries());
  }
};

const char* const kFormError = "struct entry is not conforming to '(type) name' structure";

TEST_F(InputDeclarationsTest, ValuesAndBuffersOfTheDefineForm) {
  const ParserRef parser =
      Parse(MakeDefine("(Float32) scale, \\\n(const Block<Vector32>) points, \\\n"
                       "(BaseArray<UInt32>) counts, \\\n(Block<Float32>) target"));
  EXPECT_THAT(Describe(parser->GetInputEntries()),
              ElementsAre("float32 scale", "[Vector32] points 1", "[UInt32] counts", "[Float32] target"));
  EXPECT_EQ(parser->GetInputEntries()[0].dataType, GetDataType<Float32>());
  EXPECT_EQ(parser->GetMetalBufferCount(), 3);
}

TEST_F(InputDeclarationsTest, NamesLoseCommasAndBackslashes) {
  for (const std::string end : {"", ",", ",\\", ", \\", " , \\", " anything else"})
    EXPECT_THAT(InputsOf("(Int32) n" + end),
                ElementsAre(Describe(Parse(MakeDefine("(Int32) n"))->GetInputEntries()[0])))
        << end;
  EXPECT_THAT(InputsOf("(Int32) n,,"), ElementsAre("int32 n,"));
  EXPECT_THAT(InputsOf("(Int32) n\\"), ElementsAre("int32 "));
  EXPECT_THAT(InputsOf("(Int32) n;"), ElementsAre("int32 n;"));
  EXPECT_THAT(InputsOf("(Int32) n\r\n(Int32) m, \\\r"), ElementsAre("int32 n\r", "int32 m"));
  EXPECT_THAT(InputsOf("(Int32)  n"), ElementsAre("int32 "));
}

TEST_F(InputDeclarationsTest, OnlyBuffersAndTexturesCanBeConstant) {
  EXPECT_THAT(InputsOf("(const Float32) x, \\"), IsEmpty());
  EXPECT_THAT(InputsOf("(const BaseArray<Float32>) x, \\"), ElementsAre("[Float32] x 1"));
}

TEST_F(InputDeclarationsTest, UnknownTypesDeclareNothing) {
  EXPECT_THAT(InputsOf("(MyType) x, \\\n(float32) y, \\\n(Vector<Float32>) z, \\\n() e, \\\n( e, \\\n(Block) b"),
              IsEmpty());
  EXPECT_THAT(InputsOf("MyType x, \\\n Float32 y"), IsEmpty());
  // Neither do they need a name.
  EXPECT_THAT(InputsOf("(const x"), IsEmpty());
}

TEST_F(InputDeclarationsTest, TheFirstAndLastCharactersOfTheTypeWordGoUnseen) {
  EXPECT_THAT(InputsOf("[Float32] x"), ElementsAre("float32 x"));
  EXPECT_THAT(InputsOf("((Float32)) x"), IsEmpty());
}

TEST_F(InputDeclarationsTest, TheElementTypeStandsBetweenTheFirstTwoAngles) {
  EXPECT_THAT(InputsOf("(Block<Vec4<UInt32>>) x"), ElementsAre("[Vec4] x"));
  EXPECT_THAT(InputsOf("(const Block<Vec4<UInt32>>) x"), ElementsAre("[Vec4] x 1"));
  EXPECT_THAT(InputsOf("(Block<>) x"), ElementsAre("[] x"));
  EXPECT_THAT(InputsOf("(Block<Float32) x"), ElementsAre("[Float32] x"));
  EXPECT_THAT(InputsOf("(Block>Float32<) x"), ElementsAre("[Float32] x"));
  EXPECT_THAT(InputsOf("(MyBlock<Float32>) x"), IsEmpty());
}

TEST_F(InputDeclarationsTest, QualifiersOfStages) {
  const ParserRef parser = Parse(MakeDefine(
      "(attribute Vector32) position, \\\n(varying vec2) uv, \\\n(out Vector4d32) color, \\\n(attribute MyType) x"));
  ASSERT_EQ(parser->GetInputEntries().GetCount(), 3);
  const ShaderInputEntry* const entries = parser->GetInputEntries().GetFirst();
  EXPECT_EQ(entries[0].dataType, GetDataType<Vector32>());
  EXPECT_EQ(entries[1].dataType, GetDataType<Vector2d32>());
  EXPECT_EQ(entries[2].dataType, GetDataType<Vector4d32>());
  EXPECT_EQ(entries[0].kind, kShaderInputAttribute);
  EXPECT_EQ(entries[1].kind, kShaderInputVarying);
  EXPECT_EQ(entries[2].kind, kShaderInputOut);
  EXPECT_EQ(ToText(entries[0].name), "position");
  EXPECT_EQ(ToText(entries[2].name), "color");
}

TEST_F(InputDeclarationsTest, QualifiersAreLookedForAnywhereInTheFirstWord) {
  // "Router" has an "out" in it: the name is taken for the type, and is none.
  EXPECT_THAT(InputsOf("(Block<Router>) x, \\"), IsEmpty());
  EXPECT_THAT(InputsOf("(outvarying Float32) a, \\\n(varyingattribute Float32) b"),
              ElementsAre("float32 a 2", "float32 b 8"));
  EXPECT_THAT(InputsOf("(out Block<Float32>) b, \\"), ElementsAre("[Float32] b 4"));
}

TEST_F(InputDeclarationsTest, VariablesOfTheCpuAreIgnored) {
  EXPECT_THAT(InputsOf("(IGNORE_VARIABLE_GPU Float32) cpuOnly, \\"), IsEmpty());
  EXPECT_THAT(InputsOf("(IGNORE_VARIABLE_GPUFloat32) cpuOnly, \\"), IsEmpty());
}

TEST_F(InputDeclarationsTest, LinesOfOneWordAreErrors) {
  EXPECT_THAT(TryParse(MakeDefine("\\")), IsErrorWith(kIllegalArgumentError, kFormError));
  EXPECT_THAT(TryParse(MakeDefine("(Float32)")), IsErrorWith(kIllegalArgumentError, kFormError));
  EXPECT_THAT(TryParse(MakeDefine("ADDNOISECALL")), IsErrorWith(kIllegalArgumentError, kFormError));
}

TEST_F(InputDeclarationsTest, AnEntryWithoutANameIsAnError) {
  EXPECT_THAT(TryParse(MakeDefine("(const Block<Float32>)")), IsErrorWith(kIllegalArgumentError, kFormError));
  EXPECT_THAT(TryParse(MakeDefine("(attribute Float32)")), IsErrorWith(kIllegalArgumentError, kFormError));
  EXPECT_THAT(TryParse(MakeStruct("Float32")), IsErrorWith(kIllegalArgumentError, kFormError));
  EXPECT_THAT(TryParse(MakeStruct("const Block<Float32>")), IsErrorWith(kIllegalArgumentError, kFormError));
}

// The type is read before the name is looked for.
TEST_F(InputDeclarationsTest, ATextureTypeOfAnotherFormNeedsNoName) {
  for (const char* type : {"TextureSampler", "TextureSampler_2D_", "TextureSampler_2D_R_F32_NEAREST)"})
    EXPECT_THAT(TexturesOf(std::string("(const ") + type), IsEmpty()) << type;
  EXPECT_THAT(TryParse(MakeDefine("(const TextureSampler_2D_R_S8_LINEAR)")),
              IsErrorWith(kIllegalArgumentError, "wrong combination of numChannels and format string"));
  EXPECT_THAT(TryParse(MakeDefine("(const TextureSampler_2D_R_F32_LINEAR)")),
              IsErrorWith(kIllegalArgumentError, kFormError));
}

TEST_F(InputDeclarationsTest, TheTemplateArgumentReachesTypes) {
  const ParseSettings settings{.templateArgument = "Float32"};
  EXPECT_THAT(InputsOf("(TYPE) a, \\\n(Block<TYPE>) b, \\\n(const Block<TYPE>) c, \\\n(attribute TYPE) d", settings),
              ElementsAre("float32 a", "[Float32] b", "[Float32] c 1", "float32 d 8"));
  EXPECT_THAT(InputsOf("(Float32) TYPE, \\", settings), ElementsAre("float32 TYPE"));
  // The struct form has no such rule.
  const ParserRef parser = Parse(MakeStruct("TYPE a;\nBlock<TYPE> b;"), settings);
  EXPECT_THAT(Describe(parser->GetInputEntries()), ElementsAre("[TYPE] b"));
}

TEST_F(InputDeclarationsTest, MembersOfTheStructForm) {
  EXPECT_THAT(MembersOf("Float32 scale;\n\tconst Block<Vector32>& points;\nBaseArray<UInt32> counts;\n\nint n;"),
              ElementsAre("float32 scale", "[Vector32] points 1", "[UInt32] counts", "int32 n"));
  EXPECT_THAT(MembersOf("const Float32 a;\nMyType b;\nconst\nb\nTextureSampler_2D_RGBA_F32_LINEAR t;"), IsEmpty());
  EXPECT_THAT(MembersOf("attribute Float32 a;\n(Float32) b;"), IsEmpty());
  EXPECT_THAT(MembersOf("Float32 a"), ElementsAre("float32 "));
}

TEST_F(InputDeclarationsTest, AStructEndsAtItsBrace) {
  const ParserRef parser = Parse("struct KernelInput\n{\nFloat32 a; }\nstruct X\nFP_KERNEL(K)\n");
  EXPECT_THAT(Describe(parser->GetInputEntries()), ElementsAre("float32 a"));
  EXPECT_EQ(parser->GetGlobalCode().GetCount(), 1);
  // What follows the two words does not matter; the next line is the brace.
  EXPECT_THAT(Describe(Parse("struct KernelInput x\nFloat32 lost;\nFloat32 a;\n};\n")->GetInputEntries()),
              ElementsAre("float32 a"));
}

TEST_F(InputDeclarationsTest, ABraceOnTheLineOfTheStructCountsInAddition) {
  const std::string text = "struct KernelInput {\nFloat32 lost;\nFloat32 a;\n};\n";
  EXPECT_THAT(Describe(Parse(text)->GetInputEntries()), IsEmpty());
  EXPECT_THAT(Describe(Parse(text + "}\n")->GetInputEntries()), ElementsAre("float32 a"));
}

TEST_F(InputDeclarationsTest, TheTemplateArgumentReachesTextures) {
  const ParseSettings settings{.templateArgument = "RGBA_F32"};
  const ParserRef parser = Parse(MakeDefine("(TextureSampler_2D_TYPE_LINEAR) t"), settings);
  EXPECT_THAT(Describe(parser->GetTextureEntries()), ElementsAre("6 net.ostra.image.pixelformat.rgba.f32 t linear"));
}

TEST_F(InputDeclarationsTest, ATextureOfAStageMayBeAnOutput) {
  EXPECT_THAT(TexturesOf("(out TextureSampler_2D_RGBA_F32_LINEAR) t"),
              ElementsAre("6 net.ostra.image.pixelformat.rgba.f32 t linear"));
}

TEST_F(InputDeclarationsTest, ADefineEndsAtAnEmptyLineOrTheKernel) {
  const ParserRef parser =
      Parse("#define KERNELINPUTS \\\n(Float32) a, \\\n \t\n(Float32) b;\nFP_KERNEL(K)\nx;\nFP_KERNEL_END\n");
  EXPECT_THAT(Describe(parser->GetInputEntries()), ElementsAre("float32 a"));
  const ParserRef direct =
      Parse("#define KERNELINPUTS \\\n(Float32) a, \\\nOSTRA_PARALLEL_KERNEL(K)\nx;\nFP_KERNEL_END\n");
  EXPECT_THAT(Describe(direct->GetInputEntries()), ElementsAre("float32 a"));
  EXPECT_EQ(ToText(direct->GetKernelCode()), "x;");
}

TEST_F(InputDeclarationsTest, ADefineMayAlsoEndAtABrace) {
  // The depth at which it ends is the one that the block before it left.
  const ParserRef parser = Parse("#define KERNELINPUTS \\\n(Float32) a{}, \\\nx;\nFP_KERNEL(K)\n");
  EXPECT_THAT(Describe(parser->GetInputEntries()), ElementsAre("float32 a{}"));
  EXPECT_EQ(ToText(parser->GetGlobalCode()[0]), "x;\n");
}

TEST_F(InputDeclarationsTest, ALaterBlockTakesThePlaceOfAnEarlierOne) {
  const ParserRef parser =
      Parse(MakeDefine("(Float32) a, \\\n(Block<Float32>) b, \\\n(TextureSampler_2D_RGBA_F32_LINEAR) t") +
            MakeStruct("Int32 c;\nBlock<Int32> d;"));
  EXPECT_THAT(Describe(parser->GetInputEntries()), ElementsAre("int32 c", "[Int32] d"));
  EXPECT_THAT(Describe(parser->GetTextureEntries()), IsEmpty());
  // What was counted stays counted.
  EXPECT_EQ(parser->GetMetalBufferCount(), 2);
  EXPECT_EQ(parser->GetMetalImageCount(), 1);
}

TEST_F(InputDeclarationsTest, TexturesOfEveryDimensionAndFilter) {
  EXPECT_THAT(
      TexturesOf("(TextureSampler_2D_RGBA_F32_LINEAR) image, \\\n(TextureSampler_3D_RGBA_F16_POINT) volume, \\\n"
                 "(const TextureSampler_1D_R_U8_LINEAR) ramp"),
      ElementsAre("6 net.ostra.image.pixelformat.rgba.f32 image linear",
                  "10 net.ostra.image.pixelformat.rgba.f16 volume point",
                  "1 net.ostra.image.pixelformat.dynamic.redu8 ramp linear const"));
}

TEST_F(InputDeclarationsTest, AllPixelFormatsHaveNames) {
  const std::string channels[] = {"R", "RG", "RGB", "RGBA"};
  const std::string prefixes[] = {"dynamic.red", "dynamic.redgreen", "rgb.", "rgba."};
  for (std::size_t count = 0; count < 4; ++count) {
    for (const std::string component : {"F32", "F16", "U8", "U16", "U32", "S32"}) {
      std::string lower = component;
      lower[0] = static_cast<char>(lower[0] - 'A' + 'a');
      EXPECT_THAT(TexturesOf("(const TextureSampler_2D_" + channels[count] + "_" + component + "_POINT) t"),
                  ElementsAre("6 net.ostra.image.pixelformat." + prefixes[count] + lower + " t point const"));
    }
  }
}

TEST_F(InputDeclarationsTest, TexturesOfUnknownFormatsAreErrors) {
  const char* const message = "wrong combination of numChannels and format string";
  for (const char* type :
       {"TextureSampler_2D_RGBA_S8_LINEAR", "TextureSampler_2D_RGBAA_F32_LINEAR", "TextureSampler_2D__F32_LINEAR",
        "TextureSampler_2D_R_f32_LINEAR", "TextureSampler_9D_R_F64_NEAREST"})
    EXPECT_THAT(TryParse(MakeDefine(Declare(type))), IsErrorWith(kIllegalArgumentError, message)) << type;
}

TEST_F(InputDeclarationsTest, TexturesOfAnotherFormDeclareNothing) {
  for (const char* type :
       {"TextureSampler", "TextureSampler_2D_RGBA_F32", "TextureSampler_2D_RGBA_F32_LINEAR_X",
        "TextureSampler_4D_RGBA_F32_LINEAR", "TextureSampler_D_RGBA_F32_LINEAR", "TextureSampler_xD_RGBA_F32_LINEAR",
        "TextureSampler__RGBA_F32_LINEAR", "TextureSampler_12D_RGBA_F32_LINEAR", "TextureSampler_2D_RGBA_F32_NEAREST"})
    EXPECT_THAT(TexturesOf(Declare(type)), IsEmpty()) << type;
}

TEST_F(InputDeclarationsTest, OnlyTheChannelsCountAndTheSecondCharacterOfTheDimensionGoes) {
  EXPECT_THAT(TexturesOf("(XTextureSampler_2x_ABC_F32_MYLINEARS) t"),
              ElementsAre("6 net.ostra.image.pixelformat.rgb.f32 t linear"));
  EXPECT_THAT(TexturesOf("(TextureSampler_3_R_F32_POINTLINEAR) t"),
              ElementsAre("10 net.ostra.image.pixelformat.dynamic.redf32 t point"));
}

TEST_F(InputDeclarationsTest, AThirtyFirstBufferIsADiagnosticForEveryTarget) {
  const char* const message = "Assertion failed: Too many buffers bound to kernel(>30). Metal compile will fail.";
  std::string lines;
  for (int i = 0; i < 30; ++i)
    lines += (i % 2 ? "(Block<Float32>) b" : "(const BaseArray<Int32>) b") + std::to_string(i) + ", \\\n";
  for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal}) {
    DiagnosticRecorder diagnostics;
    EXPECT_EQ(InputsOf(lines, {.target = target}).size(), 30u);
    EXPECT_THAT(diagnostics.GetLines(), IsEmpty());
    const ParserRef parser =
        Parse(MakeDefine(lines + "(Block<Float32>) x, \\\n(Block<Float32>) y"), {.target = target});
    EXPECT_EQ(parser->GetInputEntries().GetCount(), 32);
    EXPECT_EQ(parser->GetMetalBufferCount(), 32);
    EXPECT_THAT(diagnostics.GetLines(), ElementsAre(message, message));
    EXPECT_THAT(diagnostics.GetLevels(), ElementsAre(DiagnosticLevel::Critical, DiagnosticLevel::Critical));
  }
}

TEST_F(InputDeclarationsTest, BuffersOfTheStructFormCountToo) {
  DiagnosticRecorder diagnostics;
  std::string lines;
  for (int i = 0; i < 31; ++i) lines += "Block<Float32> b" + std::to_string(i) + ";\n";
  EXPECT_EQ(MembersOf(lines).size(), 31u);
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("Assertion failed: Too many buffers bound to kernel(>30). Metal compile will fail."));
}

TEST_F(InputDeclarationsTest, ANinthWritableTextureIsADiagnostic) {
  std::string lines;
  for (int i = 0; i < 8; ++i) lines += "(TextureSampler_2D_R_F32_POINT) w" + std::to_string(i) + ", \\\n";
  for (int i = 0; i < 8; ++i) lines += "(const TextureSampler_2D_R_F32_POINT) r" + std::to_string(i) + ", \\\n";
  DiagnosticRecorder diagnostics;
  EXPECT_EQ(TexturesOf(lines).size(), 16u);
  EXPECT_THAT(diagnostics.GetLines(), IsEmpty());
  EXPECT_EQ(TexturesOf(lines + "(TextureSampler_2D_R_F32_POINT) x").size(), 17u);
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("Assertion failed: Too many UAV textures bound to kernel(>8). Metal compile will fail."));
}

}  // namespace
}  // namespace ostra::test
