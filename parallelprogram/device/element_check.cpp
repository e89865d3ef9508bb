#include "parallelprogram/device/element_check.h"

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/program/same_bits.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// The type that a word of a shading language means; no type for words that are none of ours. Whether an integer has a
// sign does not matter here.
DataType FindType(std::string_view word) {
  struct Word {
    std::string_view glsl, other;  // HLSL and Metal share theirs
    const DataType& (*getType)();
  };
  static constexpr Word kWords[] = {
      {"float", "float", &GetDataType<Float32>},       {"int", "int", &GetDataType<Int32>},
      {"uint", "uint", &GetDataType<Int32>},           {"vec2", "float2", &GetDataType<Vec2<Float32>>},
      {"vec3", "float3", &GetDataType<Vec3<Float32>>}, {"vec4", "float4", &GetDataType<Vec4<Float32>>},
      {"ivec2", "int2", &GetDataType<Vec2<Int32>>},    {"ivec3", "int3", &GetDataType<Vec3<Int32>>},
      {"ivec4", "int4", &GetDataType<Vec4<Int32>>},    {"uvec2", "uint2", &GetDataType<Vec2<Int32>>},
      {"uvec3", "uint3", &GetDataType<Vec3<Int32>>},   {"uvec4", "uint4", &GetDataType<Vec4<Int32>>}};
  for (const Word& known : kWords)
    if (word == known.glsl || word == known.other) return known.getType();
  return DataType();
}

}  // namespace

Result<void> CheckElements(const DrawportParameter& parameter, DataType given) {
  const DataType wanted = FindType(parameter.layout.typeName.GetView());
  if (!wanted.IsPopulated() || !given.IsPopulated() || HaveSameBits(given, wanted)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "The kernel's buffer \"@\" is declared with elements of type @ and was given a buffer of type @.", parameter.name,
      parameter.layout.typeName, given);
}

}  // namespace ostra
