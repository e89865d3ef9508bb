// Numbers of resources and the layout of the uniform buffer, which backends rely on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string GetText(ShaderRecords& records) { return std::string(Assemble(records).text.GetView()); }

TEST(ShaderBindingsTest, BuffersAndCountersComeFirstThenTexturesThenGradients) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  AddValue(records, "count", DrawportShaderValueType::UInt);
  AddBuffer(records, "a", "float");
  AddCounter(records, "hits");
  AddBuffer(records, "b", "float");
  AssignBindings(records);
  EXPECT_EQ(records.uniformBinding, 0);
  EXPECT_EQ(records.parameters[0].binding, -1);
  EXPECT_EQ(records.parameters[1].binding, 1);
  EXPECT_EQ(records.parameters[2].binding, 2);
  EXPECT_EQ(records.parameters[3].binding, 3);
  EXPECT_EQ(records.textures[0].binding, 4);
  EXPECT_EQ(records.gradientBinding, 5);
}

TEST(ShaderBindingsTest, NumbersThatAreGivenStayAndAreNotGivenTwice) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddBuffer(records, "a", "float");
  AddBuffer(records, "b", "float");
  AddBuffer(records, "c", "float");
  records.parameters[1].binding = 1;
  records.gradientBinding = 3;
  AssignBindings(records);
  EXPECT_EQ(records.parameters[0].binding, 2);
  EXPECT_EQ(records.parameters[1].binding, 1);
  EXPECT_EQ(records.parameters[2].binding, 4);
  AssignBindings(records);
  EXPECT_EQ(records.parameters[2].binding, 4);
}

TEST(ShaderBindingsTest, LocationsAreCountedByKind) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  records.stage = DrawportStage::Vertex;
  for (const ShaderParameterKind kind : {ShaderParameterKind::Attribute, ShaderParameterKind::Varying,
                                         ShaderParameterKind::Attribute, ShaderParameterKind::Varying}) {
    ShaderParameter parameter;
    parameter.kind = kind;
    parameter.name = "x"_s;
    AddParameter(records, std::move(parameter));
  }
  AssignBindings(records);
  EXPECT_EQ(records.parameters[0].binding, 0);
  EXPECT_EQ(records.parameters[1].binding, 0);
  EXPECT_EQ(records.parameters[2].binding, 1);
  EXPECT_EQ(records.parameters[3].binding, 1);
}

TEST(ShaderBindingsTest, ACounterMayComeAsAValueOfItsType) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "uint old = 0u;\nAtomicAdd((hits), 1u, old);");
    AddValue(records, "hits", DrawportShaderValueType::AtomicUInt);
    EXPECT_EQ(Compile(records), "") << language->GetView();
    EXPECT_EQ(records.parameters[0].binding, 1);
    EXPECT_TRUE(Assemble(records).uniforms.IsEmpty());
  }
}

TEST(UniformLayoutTest, EveryValueHasThePlaceThatAllLanguagesAgreeOn) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddValue(records, "a", DrawportShaderValueType::Float);
  AddValue(records, "b", DrawportShaderValueType::Float2);
  AddValue(records, "c", DrawportShaderValueType::UInt);
  AddValue(records, "d", DrawportShaderValueType::Float3);
  AddValue(records, "e", DrawportShaderValueType::Int);
  AddValue(records, "f", DrawportShaderValueType::Matrix3);
  AddValue(records, "g", DrawportShaderValueType::Float4);
  AddValue(records, "h", DrawportShaderValueType::Matrix4);
  AddValue(records, "i", DrawportShaderValueType::Gradient);
  const AssembledShader shader = Assemble(records);
  const Int offsets[] = {0, 8, 16, 32, 48, 64, 112, 128, 192};
  ASSERT_EQ(shader.uniforms.GetCount(), 9);
  for (Int i = 0; i < 9; ++i) EXPECT_EQ(shader.uniforms[i].offset, offsets[i]) << i;
  EXPECT_EQ(shader.uniformByteCount, 208);
}

// Every type after every other one: explicit offsets in GLSL and HLSL are checked by the compiler.
TEST(UniformLayoutTest, EveryPairOfTypesIsAcceptedByEveryLanguage) {
  const DrawportShaderValueType types[] = {
      DrawportShaderValueType::Float,     DrawportShaderValueType::Float2,  DrawportShaderValueType::Float3,
      DrawportShaderValueType::Float4,    DrawportShaderValueType::Matrix3, DrawportShaderValueType::Matrix4,
      DrawportShaderValueType::Int,       DrawportShaderValueType::Int2,    DrawportShaderValueType::Int3,
      DrawportShaderValueType::Int4,      DrawportShaderValueType::UInt,    DrawportShaderValueType::UInt2,
      DrawportShaderValueType::UInt3,     DrawportShaderValueType::UInt4,   DrawportShaderValueType::Gradient,
      DrawportShaderValueType::NoiseTable};
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "");
    Int number = 0;
    for (const DrawportShaderValueType first : types) {
      for (const DrawportShaderValueType second : types) {
        AddValue(records, (std::string("v").append(std::to_string(number++))).c_str(), first);
        AddValue(records, (std::string("v").append(std::to_string(number++))).c_str(), second);
      }
    }
    EXPECT_EQ(Compile(records), "") << language->GetView();
    const AssembledShader shader = Assemble(records);
    Int end = 0;
    for (const ShaderUniform& uniform : shader.uniforms) {
      EXPECT_GE(uniform.offset, end) << uniform.name.GetView();
      end = uniform.offset + GetUniformSize(uniform.type);
    }
    EXPECT_GE(shader.uniformByteCount, end);
    EXPECT_EQ(shader.uniformByteCount % 16, 0);
  }
}

TEST(UniformLayoutTest, TypesThatNoUniformHasAreOfSizeZero) {
  EXPECT_EQ(GetUniformSize(DrawportShaderValueType::Matrix2), 0);
  EXPECT_EQ(GetUniformSize(DrawportShaderValueType::AtomicUInt), 0);
  EXPECT_EQ(GetUniformSize(DrawportShaderValueType::Float3), 12);
}

TEST(UniformLayoutTest, ATextureWithASamplerBringsItsWrapModes) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  AddTexture(records, "target", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id, true);
  const AssembledShader shader = Assemble(records);
  ASSERT_EQ(shader.uniforms.GetCount(), 1);
  EXPECT_EQ(shader.uniforms[0].name, MakeWrapUniformName("image").GetValue());
  EXPECT_EQ(shader.uniforms[0].type, DrawportShaderValueType::UInt);
}

TEST(UniformLayoutTest, AProgramWithoutValuesHasNoUniformBuffer) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "");
    const AssembledShader shader = Assemble(records);
    EXPECT_THAT(std::string(shader.text.GetView()), Not(HasSubstr("OstraUniforms")));
    EXPECT_EQ(shader.uniformByteCount, 0);
    EXPECT_EQ(Compile(records), "");
  }
}

TEST(ShaderParameterTest, BuffersThatAreOnlyReadCannotBeWritten) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "UNIFORM_BUFFER(a)[0] = UNIFORM_BUFFER(b)[0];");
    AddBuffer(records, "a", "vec3");
    AddBuffer(records, "b", "vec3", DrawportBufferAccess::ReadOnly);
    EXPECT_EQ(Compile(records), "") << language->GetView();
    records.parameters[0].access = DrawportBufferAccess::ReadOnly;
    if (FindMissingCompiler(*language).empty()) {
      EXPECT_NE(Compile(records), "") << language->GetView();
    }
  }
}

TEST(ShaderParameterTest, ValuesInABufferOfOneElementAreReadAsUniforms) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "UNIFORM_BUFFER(out_)[0] = UNIFORM(pair).x;");
    AddBuffer(records, "out_", "half");
    AddBuffer(records, "pair", "half2");
    records.parameters[1].isValue = true;
    EXPECT_EQ(Compile(records), "") << language->GetView();
  }
}

TEST(ShaderParameterTest, AGroupSharedArrayMayHaveTheNameOfABuffer) {
  for (const Id* language : kLanguages) {
    ShaderRecords records =
        MakeRecords(*language, "points[InLocalInvocationID.x] = UNIFORM_BUFFER(points)[0];\ngroupSharedBarrier;");
    AddBuffer(records, "points", "float");
    ASSERT_THAT(records.groupShared.Append(ShaderCode{"groupSharedMemory Float32 points[64]; \n"_s, {}}), IsOk());
    EXPECT_EQ(Compile(records), "") << language->GetView();
  }
}

TEST(ShaderParameterTest, ElementsOfBuffersLieAsOnTheCpu) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddBuffer(records, "a", "vec3");
  EXPECT_THAT(GetText(records), HasSubstr("scalar)"));
  records = MakeRecords(kShadingLanguageMetal, "UNIFORM_BUFFER(a)[0] = UNIFORM_BUFFER(b)[0];\n");
  AddBuffer(records, "a", "packed_float3");
  AddBuffer(records, "b", "Vector32");
  EXPECT_THAT(GetText(records), HasSubstr("ostraStored<Vector32>::Type*"));
}

}  // namespace
}  // namespace ostra::test
