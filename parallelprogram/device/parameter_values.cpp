// How values of clients reach the parameters of a program.
#include <bit>

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/device/parameter_binding.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

std::string_view GetWideType(const Data& value) {
  if (value.GetIf<Int64>()) return "Int64";
  if (value.GetIf<UInt64>()) return "UInt64";
  return value.GetIf<Float64>() ? "Float64" : "";
}

Error MakeTypeError(const InternedId& name, const Data& value) {
  return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" cannot be given a value of type \"@\".", name, value.GetType());
}

}  // namespace

std::string_view FindWideType(Block<const DrawportParameter> parameters, const InternedId& name) {
  for (Int i = 0; i < parameters.GetCount(); ++i)
    if (parameters[i].kind == DrawportParameterKind::Uniform && parameters[i].name == name)
      return parameters[i].layout.typeName.GetView();
  return {};
}

Result<void> SetParameterValue(const ParameterTarget& target, DrawportParameterHandle handle, const InternedId& name,
                               const Data& data, std::string_view wideType) {
  if (GetWideType(data) != wideType) return MakeTypeError(name, data);
  DrawportProgramFactory& factory = target.factory;
  DrawportParameterValueSet& values = target.values;
  if (const auto* value = data.GetIf<Float32>()) return factory.SetParameterFloat(values, handle, *value);
  if (const auto* value = data.GetIf<HalfFloat>()) return factory.SetParameterFloat(values, handle, Float32(*value));
  if (const auto* value = data.GetIf<Vec2<Float32>>()) return factory.SetParameterFloat2(values, handle, *value);
  if (const auto* value = data.GetIf<Vec3<Float32>>()) return factory.SetParameterVector(values, handle, *value);
  if (const auto* value = data.GetIf<Vec4<Float32>>()) return factory.SetParameterVector(values, handle, *value);
  if (const auto* value = data.GetIf<Vec2<HalfFloat>>())
    return factory.SetParameterFloat2(values, handle, Vector2d32(Float32(value->x), Float32(value->y)));
  if (const auto* value = data.GetIf<Vec3<HalfFloat>>())
    return factory.SetParameterVector(values, handle,
                                      Vector32(Float32(value->x), Float32(value->y), Float32(value->z)));
  if (const auto* value = data.GetIf<Vec4<HalfFloat>>())
    return factory.SetParameterVector(
        values, handle, Vector4d32(Float32(value->x), Float32(value->y), Float32(value->z), Float32(value->w)));
  if (const auto* value = data.GetIf<UInt32>()) return factory.SetParameterUInt(values, handle, *value);
  if (const auto* value = data.GetIf<Int32>()) return factory.SetParameterInt(values, handle, *value);
  if (const auto* value = data.GetIf<Int8>()) return factory.SetParameterInt(values, handle, *value);
  if (const auto* value = data.GetIf<UInt8>()) return factory.SetParameterInt(values, handle, *value);
  if (const auto* value = data.GetIf<Int16>()) return factory.SetParameterInt(values, handle, *value);
  if (const auto* value = data.GetIf<UInt16>()) return factory.SetParameterInt(values, handle, *value);
  if (const auto* value = data.GetIf<Bool>()) return factory.SetParameterUInt(values, handle, *value ? 1 : 0);
  if (const auto* value = data.GetIf<Int64>())
    return factory.SetParameterUInt2(values, handle, std::bit_cast<Vec2<UInt32>>(*value));
  if (const auto* value = data.GetIf<UInt64>())
    return factory.SetParameterUInt2(values, handle, std::bit_cast<Vec2<UInt32>>(*value));
  if (const auto* value = data.GetIf<Float64>())
    return factory.SetParameterUInt2(values, handle, std::bit_cast<Vec2<UInt32>>(*value));
  if (const auto* value = data.GetIf<Vec2<UInt32>>()) return factory.SetParameterUInt2(values, handle, *value);
  if (const auto* value = data.GetIf<Vec3<UInt32>>()) return factory.SetParameterUInt3(values, handle, *value);
  if (const auto* value = data.GetIf<Vec4<UInt32>>()) return factory.SetParameterUInt4(values, handle, *value);
  if (const auto* value = data.GetIf<Vec2<Int32>>()) return factory.SetParameterInt2(values, handle, *value);
  if (const auto* value = data.GetIf<Vec3<Int32>>()) return factory.SetParameterInt3(values, handle, *value);
  if (const auto* value = data.GetIf<Vec4<Int32>>()) return factory.SetParameterInt4(values, handle, *value);
  if (const auto* value = data.GetIf<SquareMatrix32>()) return factory.SetParameterMatrix(values, handle, *value);
  if (const auto* value = data.GetIf<SquareMatrix4d32>()) return factory.SetParameterMatrix(values, handle, *value);
  if (const auto* value = data.GetIf<AffineMatrix32>()) return factory.SetParameterMatrix(values, handle, *value);
  if (data.GetIf<GradientRenderData>()) return OK;
  return MakeTypeError(name, data);
}

}  // namespace ostra
