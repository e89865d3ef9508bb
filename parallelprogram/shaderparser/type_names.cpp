#include "parallelprogram/shaderparser/type_names.h"

#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {
namespace {

struct NamedType {
  const DataType& (*getType)();
  std::string_view names[3];  // in kernel files; unused ones are empty
  CString shaderName;         // empty when the target language says it
};

constinit const NamedType kTypes[] = {
    {&GetDataType<Float32>, {"Float32", "float"}, "float"},
    {&GetDataType<Vec2<Float32>>, {"Vector2d32", "vec2", "float2"}, "vec2"},
    {&GetDataType<Vec3<Float32>>, {"Vector32", "vec3", "float3"}, "vec3"},
    {&GetDataType<Vec4<Float32>>, {"Vector4d32", "vec4", "float4"}, "vec4"},
    {&GetDataType<SquareMatrix4d32>, {"Matrix32", "mat4", "SquareMatrix4d32"}, "mat4"},
    {&GetDataType<SquareMatrix32>, {"SquareMatrix32", "mat3"}, "mat3"},
    {&GetDataType<UInt32>, {"UInt32", "uint"}, "uint"},
    {&GetDataType<Int32>, {"Int32", "int"}, "int"},
    {&GetDataType<Vec4<UInt32>>, {"Vec4<UInt32>", "uint4"}, "uint4"},
    {&GetDataType<Vec4<Int32>>, {"Vec4<Int32>", "IntVector4d32", "int4"}, "int4"},
    {&GetDataType<AtomicUInt32>, {"AtomicUInt32*", "AtomicUInt32"}, ""},
    {&GetDataType<GradientRenderData>, {"GradientRenderData*", "GradientRenderData"}, "GradientRenderData"},
    {&GetDataType<HalfFloat>, {"HalfFloat", "half"}, "half"},
    {&GetDataType<Vec2<HalfFloat>>, {"Vec2<HalfFloat>", "half2"}, "half2"},
    {&GetDataType<Vec3<HalfFloat>>, {"Vec3<HalfFloat>", "half3"}, "half3"},
    {&GetDataType<Vec4<HalfFloat>>, {"Vec4<HalfFloat>", "half4"}, "half4"},
};

// Those of values in written texts only; declared by their type codes.
constinit const NamedType kWrittenTypes[] = {
    {&GetDataType<Vec2<Int32>>, {"int2"}, ""},   {&GetDataType<Vec3<Int32>>, {"int3"}, ""},
    {&GetDataType<Vec2<UInt32>>, {"uint2"}, ""}, {&GetDataType<Vec3<UInt32>>, {"uint3"}, ""},
    {&GetDataType<Bool>, {"bool"}, ""},          {&GetDataType<Int64>, {"Int64"}, ""},
    {&GetDataType<UInt64>, {"UInt64"}, ""},      {&GetDataType<Float64>, {"double"}, ""},
};

template <std::size_t kCount>
DataType FindType(const NamedType (&types)[kCount], std::string_view name) {
  if (name.empty()) return DataType();
  for (const NamedType& type : types) {
    for (const std::string_view known : type.names)
      if (known == name) return type.getType();
  }
  return DataType();
}

}  // namespace

DataType DataTypeFromTypeName(std::string_view name) { return FindType(kTypes, name); }

DataType DataTypeFromWrittenName(std::string_view name) {
  const DataType type = FindType(kTypes, name);
  return type.IsPopulated() ? type : FindType(kWrittenTypes, name);
}

std::string_view GetTypeName(Int index) {
  for (const NamedType& type : kTypes)
    for (const std::string_view name : type.names)
      if (!name.empty() && index-- == 0) return name;
  return {};
}

CString ShaderTypeName(DataType type, const CString& fallback, const Id& targetLanguage) {
  if (type == GetDataType<AtomicUInt32>()) return FindTargetLanguage(targetLanguage).atomicCounterType;
  for (const NamedType& known : kTypes)
    if (known.getType() == type) return known.shaderName;
  return fallback;
}

}  // namespace ostra
