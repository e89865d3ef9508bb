#include "parallelprogram/device/element_check.h"

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/program/same_bits.h"
#include "parallelprogram/shaderparser/type_names.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// Words for elements that values cannot have.
struct ElementWord {
  std::string_view names[2];
  const DataType& (*getType)();
};
constexpr ElementWord kWords[] = {
    {{"Float64", "double"}, &GetDataType<Float64>},   {{"sqmat", "sqmat"}, &GetDataType<SquareMatrix32>},
    {{"int2", "ivec2"}, &GetDataType<Vec2<Int32>>},   {{"int3", "ivec3"}, &GetDataType<Vec3<Int32>>},
    {{"uint2", "uvec2"}, &GetDataType<Vec2<UInt32>>}, {{"uint3", "uvec3"}, &GetDataType<Vec3<UInt32>>},
    {{"ivec4", "ivec4"}, &GetDataType<Vec4<Int32>>},  {{"uvec4", "uvec4"}, &GetDataType<Vec4<UInt32>>},
};

// The type of elements that a kernel file calls `word`; no type for words of the kernel's own.
DataType FindElementType(std::string_view word) {
  for (const ElementWord& known : kWords)
    if (word == known.names[0] || word == known.names[1]) return known.getType();
  return DataTypeFromTypeName(word);
}

}  // namespace

Result<void> CheckElements(const DrawportParameter& parameter, DataType given) {
  const DataType wanted = FindElementType(parameter.layout.typeName.GetView());
  if (!wanted.IsPopulated() || !given.IsPopulated() || HaveSameBits(given, wanted)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "The kernel's buffer \"@\" is declared with elements of type @ and was given a buffer of type @.", parameter.name,
      parameter.layout.typeName, given);
}

}  // namespace ostra
