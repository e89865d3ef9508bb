// Definitions of inline functions as each language writes them.
#include "parallelprogram/shaderparser/function_definition.h"

#include <string>
#include <utility>
#include <vector>

#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

const InternedId kHlsl = "HLSL"_iid, kGlsl = "GLSL"_iid, kGlsles = "GLSLES"_iid, kMetal = "METAL"_iid;
const InternedId kWordLanguages[] = {kHlsl, kGlsl, kGlsles};

std::string Build(InternedId language, std::string_view declaration, std::string_view body) {
  const auto text = CString::Create(declaration);
  const auto function = ParseFunctionDeclaration(*text);
  EXPECT_THAT(function, IsOk()) << declaration;
  if (!function) return "";
  const auto definition = BuildFunctionDefinition(language, *function, body);
  EXPECT_THAT(definition, IsOk());
  return definition ? std::string(definition->GetView()) : "";
}

// The parameter list that is written for one parameter.
std::string BuildParameter(InternedId language, std::string_view parameter) {
  const std::string text = Build(language, "void f(" + std::string(parameter) + ")", "");
  EXPECT_EQ(text.substr(0, 7), "void f(");
  const std::size_t end = text.rfind(")\n\n");
  return end == std::string::npos ? text : text.substr(7, end - 7);
}

TEST(FunctionDefinitionTest, HeadAndBodyStandOnLinesOfTheirOwn) {
  for (const InternedId language : {kHlsl, kGlsl, kGlsles, kMetal}) {
    EXPECT_EQ(Build(language, "float Sum(float v[], int n)", "{\nreturn v[n];\n}"),
              "float Sum(float v[], int n)\n{\nreturn v[n];\n}\n");
    EXPECT_EQ(Build(language, "void Touch()", "{\n}"), "void Touch()\n{\n}\n");
  }
}

TEST(FunctionDefinitionTest, PlaceholdersInTheBodyStay) {
  EXPECT_EQ(Build(kGlsl, "void f(int a)", "{ @ @@ }"), "void f(int a)\n{ @ @@ }\n");
}

TEST(FunctionDefinitionTest, ParametersArePartedByACommaAndABlank) {
  EXPECT_EQ(Build(kHlsl, "int f(int a,inout int b,out int c[2])", "B"), "int f(int a, inout int b, out int c[2])\nB\n");
  EXPECT_EQ(Build(kMetal, "int f(int a,inout int b,out int c[2])", "B"),
            "int f(int a, thread int& b, thread int c[2])\nB\n");
}

TEST(FunctionDefinitionTest, OutputsAreWordsInHlslAndGlsl) {
  for (const InternedId language : kWordLanguages) {
    EXPECT_EQ(BuildParameter(language, "inout float x"), "inout float x");
    EXPECT_EQ(BuildParameter(language, "out Vector32 v"), "out Vector32 v");
    EXPECT_EQ(BuildParameter(language, "in float x"), "float x");
    EXPECT_EQ(BuildParameter(language, "inout float x[]"), "inout float x[]");
    EXPECT_EQ(BuildParameter(language, "out float x[7]"), "out float x[7]");
  }
}

TEST(FunctionDefinitionTest, TheAddressSpaceMeansNothingInHlslAndGlsl) {
  for (const InternedId language : kWordLanguages) {
    EXPECT_EQ(BuildParameter(language, "__CONSTANT float x"), "float x");
    EXPECT_EQ(BuildParameter(language, "__CONSTANT inout float x"), "inout float x");
    EXPECT_EQ(BuildParameter(language, "__CONSTANT out float x"), "out float x");
    EXPECT_EQ(BuildParameter(language, "__CONSTANT float x[3]"), "float x[3]");
  }
}

TEST(FunctionDefinitionTest, OutputsAreReferencesInMetal) {
  EXPECT_EQ(BuildParameter(kMetal, "inout float name"), "thread float& name");
  EXPECT_EQ(BuildParameter(kMetal, "out Vector32 v"), "thread Vector32& v");
  EXPECT_EQ(BuildParameter(kMetal, "__THREAD inout float x"), "thread float& x");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT inout float x"), "constant float& x");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT out float x"), "constant float& x");
}

TEST(FunctionDefinitionTest, ArraysAreNoReferencesInMetal) {
  EXPECT_EQ(BuildParameter(kMetal, "inout float x[4]"), "thread float x[4]");
  EXPECT_EQ(BuildParameter(kMetal, "out float x[]"), "thread float x[]");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT inout float x[]"), "constant float x[]");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT out float x[9]"), "constant float x[9]");
}

TEST(FunctionDefinitionTest, ConstantInputsAreReferencesInMetal) {
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT float x"), "constant float& x");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT float x[]"), "constant float x[]");
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT float x[3]"), "constant float x[3]");
  EXPECT_EQ(BuildParameter(kMetal, "float x"), "float x");
  EXPECT_EQ(BuildParameter(kMetal, "__THREAD float x[]"), "float x[]");
}

TEST(FunctionDefinitionTest, PointersAndBuffersAreWrittenAsTheirTypes) {
  EXPECT_EQ(BuildParameter(kMetal, "const float* w"), "const device float* w");
  EXPECT_EQ(BuildParameter(kMetal, "inout float* w"), "thread device float*& w");
  EXPECT_EQ(BuildParameter(kHlsl, "RWStructuredBuffer<float> b"), "RWStructuredBuffer<float> b");
}

TEST(FunctionDefinitionTest, ANumberOf0InBracketsIsNoArray) {
  EXPECT_EQ(BuildParameter(kGlsl, "float x[0]"), "float x");
  EXPECT_EQ(BuildParameter(kMetal, "inout float x[0]"), "thread float& x");
}

const std::vector<std::pair<std::string, std::string>> kTypedefs = {
    {"FramebufferLayerTypedef", "FRAMEBUFFER_LAYER_TYPEDEF"},
    {"FramebufferLayerDepthTypedef", "FRAMEBUFFER_LAYER_DEPTH_TYPEDEF"},
    {"FramebufferLayerIntTypedef", "FRAMEBUFFER_LAYER_INT_TYPEDEF"},
    {"FramebufferLayerUintTypedef", "FRAMEBUFFER_LAYER_UINT_TYPEDEF"},
    {"FramebufferLayerCubeTypedef", "FRAMEBUFFER_LAYER_CUBE_TYPEDEF"},
    {"FramebufferLayerCubeIntTypedef", "FRAMEBUFFER_LAYER_CUBE_INT_TYPEDEF"},
    {"FramebufferLayerCubeUintTypedef", "FRAMEBUFFER_LAYER_CUBE_UINT_TYPEDEF"},
    {"FramebufferLayerMultisampleTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_TYPEDEF"},
    {"FramebufferLayerMultisampleDepthTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_DEPTH_TYPEDEF"},
    {"FramebufferLayerMultisampleIntTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_INT_TYPEDEF"},
    {"FramebufferLayerMultisampleUintTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_UINT_TYPEDEF"},
    {"FramebufferLayerMultisampleCubeTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_TYPEDEF"},
    {"FramebufferLayerMultisampleCubeIntTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_INT_TYPEDEF"},
    {"FramebufferLayerMultisampleCubeUintTypedef", "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_UINT_TYPEDEF"},
    {"sampler1dTypedef", "SAMPLER1D_TYPEDEF"},
    {"sampler2dTypedef", "SAMPLER2D_TYPEDEF"},
    {"sampler3dTypedef", "SAMPLER3D_TYPEDEF"},
    {"sampler1dArrayTypedef", "SAMPLER1D_ARRAY_TYPEDEF"},
    {"sampler2dArrayTypedef", "SAMPLER2D_ARRAY_TYPEDEF"},
    {"sampler2dDepthArrayTypedef", "SAMPLER2D_DEPTH_ARRAY_TYPEDEF"},
    {"isampler1dTypedef", "ISAMPLER1D_TYPEDEF"},
    {"isampler2dTypedef", "ISAMPLER2D_TYPEDEF"},
    {"isampler3dTypedef", "ISAMPLER3D_TYPEDEF"},
    {"isampler1dArrayTypedef", "ISAMPLER1D_ARRAY_TYPEDEF"},
    {"isampler2dArrayTypedef", "ISAMPLER2D_ARRAY_TYPEDEF"},
    {"usampler1dTypedef", "USAMPLER1D_TYPEDEF"},
    {"usampler2dTypedef", "USAMPLER2D_TYPEDEF"},
    {"usampler3dTypedef", "USAMPLER3D_TYPEDEF"},
    {"usampler1dArrayTypedef", "USAMPLER1D_ARRAY_TYPEDEF"},
    {"usampler2dArrayTypedef", "USAMPLER2D_ARRAY_TYPEDEF"},
};

TEST(FunctionDefinitionTest, InputsOfTheTypedefNamesAreWrittenAsMacros) {
  ASSERT_EQ(kTypedefs.size(), 30u);
  for (const InternedId language : {kHlsl, kGlsl, kGlsles, kMetal, "OTHER"_iid})
    for (const auto& [type, macro] : kTypedefs) EXPECT_EQ(BuildParameter(language, type + " layer"), macro + "(layer)");
}

TEST(FunctionDefinitionTest, OutputsOfTheTypedefNamesAreNot) {
  for (const auto& [type, macro] : kTypedefs) {
    EXPECT_EQ(BuildParameter(kGlsl, "inout " + type + " layer"), "inout " + type + " layer");
    EXPECT_EQ(BuildParameter(kMetal, "out " + type + " layer"), "thread " + type + "& layer");
  }
}

TEST(FunctionDefinitionTest, TypedefNamesAreComparedExactly) {
  for (const char* type : {"sampler2dTypedefs", "Sampler2dTypedef", "sampler2d", "sampler2DTypedef",
                           "isampler2dDepthArrayTypedef", "usampler2dDepthArrayTypedef"})
    EXPECT_EQ(BuildParameter(kGlsl, std::string(type) + " t"), std::string(type) + " t");
  EXPECT_EQ(BuildParameter(kMetal, "sampler2dTypedef* t"), "device sampler2dTypedef* t");
}

TEST(FunctionDefinitionTest, AMacroLeavesOutTheAddressSpaceAndKeepsTheArray) {
  EXPECT_EQ(BuildParameter(kMetal, "__CONSTANT sampler2dTypedef t"), "SAMPLER2D_TYPEDEF(t)");
  EXPECT_EQ(BuildParameter(kGlsl, "sampler2dTypedef t[3]"), "SAMPLER2D_TYPEDEF(t)[3]");
  EXPECT_EQ(BuildParameter(kGlsl, "sampler2dTypedef t[]"), "SAMPLER2D_TYPEDEF(t)[]");
}

TEST(FunctionDefinitionTest, ALanguageThatIsNotKnownGetsTypesAndNames) {
  for (const InternedId language : {InternedId(), "hlsl"_iid, "GLSLES3"_iid}) {
    EXPECT_EQ(BuildParameter(language, "inout float x"), "float x");
    EXPECT_EQ(BuildParameter(language, "out float x[2]"), "float x[2]");
    EXPECT_EQ(BuildParameter(language, "__CONSTANT float x"), "float x");
  }
}

TEST(FunctionDefinitionTest, EveryAllocationMayFail) {
  const auto function = ParseFunctionDeclaration("float f(inout T a[3], sampler2dTypedef t, __CONSTANT U u)");
  ASSERT_THAT(function, IsOk());
  EXPECT_GE(ExpectEveryAllocationFailureIsReported([&function]() -> Result<void> {
              OSTRA_ASSIGN_OR_RETURN(const String text, BuildFunctionDefinition(kMetal, *function, "{\n}"));
              EXPECT_EQ(text, "float f(thread T a[3], SAMPLER2D_TYPEDEF(t), constant U& u)\n{\n}\n");
              return OK;
            }),
            6);
}

}  // namespace
}  // namespace ostra
