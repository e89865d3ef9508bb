// The names of types, in kernel files and in generated declarations.
#include "parallelprogram/shaderparser/type_names.h"

#include <gmock/gmock.h>

#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"

namespace ostra::test {
namespace {

struct Row {
  DataType type;
  std::vector<std::string> names;
  std::string shaderName;
};

std::vector<Row> GetRows() {
  return {
      {GetDataType<Float32>(), {"Float32", "float"}, "float"},
      {GetDataType<Vec2<Float32>>(), {"Vector2d32", "vec2", "float2"}, "vec2"},
      {GetDataType<Vec3<Float32>>(), {"Vector32", "vec3", "float3"}, "vec3"},
      {GetDataType<Vec4<Float32>>(), {"Vector4d32", "vec4", "float4"}, "vec4"},
      {GetDataType<SquareMatrix4d32>(), {"Matrix32", "mat4", "SquareMatrix4d32"}, "mat4"},
      {GetDataType<SquareMatrix32>(), {"SquareMatrix32", "mat3"}, "mat3"},
      {GetDataType<UInt32>(), {"UInt32", "uint"}, "uint"},
      {GetDataType<Int32>(), {"Int32", "int"}, "int"},
      {GetDataType<Vec4<UInt32>>(), {"Vec4<UInt32>", "uint4"}, "uint4"},
      {GetDataType<Vec4<Int32>>(), {"Vec4<Int32>", "IntVector4d32", "int4"}, "int4"},
      {GetDataType<AtomicUInt32>(), {"AtomicUInt32*", "AtomicUInt32"}, "uint"},
      {GetDataType<GradientRenderData>(), {"GradientRenderData*", "GradientRenderData"}, "GradientRenderData"},
      {GetDataType<HalfFloat>(), {"HalfFloat", "half"}, "half"},
      {GetDataType<Vec2<HalfFloat>>(), {"Vec2<HalfFloat>", "half2"}, "half2"},
      {GetDataType<Vec3<HalfFloat>>(), {"Vec3<HalfFloat>", "half3"}, "half3"},
      {GetDataType<Vec4<HalfFloat>>(), {"Vec4<HalfFloat>", "half4"}, "half4"},
  };
}

TEST(TypeNamesTest, EveryNameOfARowGivesTheSameType) {
  for (const Row& row : GetRows()) {
    for (const std::string& name : row.names) {
      EXPECT_TRUE(DataTypeFromTypeName(name).IsPopulated()) << name;
      EXPECT_EQ(DataTypeFromTypeName(name), row.type) << name;
    }
  }
}

TEST(TypeNamesTest, AnythingElseGivesNoType) {
  for (const char* name : {"", " ", "float32", "Float", "FLOAT", "Float32 ", " Float32", "vec5", "bool", "Float64",
                           "Block<Float32>", "Vec4<Float32>", "Vec4<UInt32", "AtomicUInt32 *", "half1", "void"})
    EXPECT_FALSE(DataTypeFromTypeName(name).IsPopulated()) << name;
}

TEST(TypeNamesTest, DeclarationsUseTheNamesOfShaders) {
  for (const Row& row : GetRows()) {
    for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal, "GLSLES"_id}) {
      const bool isAtomicOnMetal =
          row.shaderName == "uint" && row.names[0] == "AtomicUInt32*" && target == kTargetMetal;
      EXPECT_EQ(ShaderTypeName(row.type, "none", target).GetView(), isAtomicOnMetal ? "atomic_uint" : row.shaderName);
    }
  }
}

TEST(TypeNamesTest, OtherTypesHaveTheNameOfTheCaller) {
  EXPECT_EQ(ShaderTypeName(GetDataType<Float64>(), "fallback", kTargetHlsl).GetView(), "fallback");
  EXPECT_EQ(ShaderTypeName(GetDataType<Vec3<Int32>>(), "", kTargetMetal).GetView(), "");
  EXPECT_EQ(ShaderTypeName(DataType(), "none", kTargetGlsl).GetView(), "none");
}

TEST(TypeNamesTest, EveryNameOfTheListIsKnown) {
  Int count = 0;
  for (; !GetTypeName(count).empty(); ++count)
    EXPECT_TRUE(DataTypeFromTypeName(GetTypeName(count)).IsPopulated()) << GetTypeName(count);
  EXPECT_EQ(GetTypeName(0), "Float32");
  EXPECT_GT(count, 30);
  EXPECT_EQ(GetTypeName(count + 1), "");
}

}  // namespace
}  // namespace ostra::test
