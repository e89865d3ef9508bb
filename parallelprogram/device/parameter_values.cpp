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

// Sets a parameter of the device: half floats and small integers as 32 bits, numbers of 64 bits as two of 32.
struct ParameterSetter {
  Result<void> Set(Float32 value) const { return factory.SetParameterFloat(values, handle, value); }
  Result<void> Set(HalfFloat value) const { return Set(Float32(value)); }
  Result<void> Set(const Vec2<Float32>& value) const { return factory.SetParameterFloat2(values, handle, value); }
  Result<void> Set(const Vec3<Float32>& value) const { return factory.SetParameterVector(values, handle, value); }
  Result<void> Set(const Vec4<Float32>& value) const { return factory.SetParameterVector(values, handle, value); }
  Result<void> Set(const Vec2<HalfFloat>& value) const { return Set(Vector2d32(Float32(value.x), Float32(value.y))); }
  Result<void> Set(const Vec3<HalfFloat>& value) const {
    return Set(Vector32(Float32(value.x), Float32(value.y), Float32(value.z)));
  }
  Result<void> Set(const Vec4<HalfFloat>& value) const {
    return Set(Vector4d32(Float32(value.x), Float32(value.y), Float32(value.z), Float32(value.w)));
  }
  Result<void> Set(UInt32 value) const { return factory.SetParameterUInt(values, handle, value); }
  Result<void> Set(Bool value) const { return Set(UInt32(value ? 1 : 0)); }
  Result<void> Set(Int32 value) const { return factory.SetParameterInt(values, handle, value); }
  Result<void> Set(Int8 value) const { return Set(Int32(value)); }
  Result<void> Set(UInt8 value) const { return Set(Int32(value)); }
  Result<void> Set(Int16 value) const { return Set(Int32(value)); }
  Result<void> Set(UInt16 value) const { return Set(Int32(value)); }
  Result<void> Set(const Vec2<UInt32>& value) const { return factory.SetParameterUInt2(values, handle, value); }
  Result<void> Set(const Vec3<UInt32>& value) const { return factory.SetParameterUInt3(values, handle, value); }
  Result<void> Set(const Vec4<UInt32>& value) const { return factory.SetParameterUInt4(values, handle, value); }
  Result<void> Set(const Vec2<Int32>& value) const { return factory.SetParameterInt2(values, handle, value); }
  Result<void> Set(const Vec3<Int32>& value) const { return factory.SetParameterInt3(values, handle, value); }
  Result<void> Set(const Vec4<Int32>& value) const { return factory.SetParameterInt4(values, handle, value); }
  Result<void> Set(Int64 value) const { return Set(std::bit_cast<Vec2<UInt32>>(value)); }
  Result<void> Set(UInt64 value) const { return Set(std::bit_cast<Vec2<UInt32>>(value)); }
  Result<void> Set(Float64 value) const { return Set(std::bit_cast<Vec2<UInt32>>(value)); }
  Result<void> Set(const SquareMatrix32& value) const { return factory.SetParameterMatrix(values, handle, value); }
  Result<void> Set(const SquareMatrix4d32& value) const { return factory.SetParameterMatrix(values, handle, value); }
  Result<void> Set(const AffineMatrix32& value) const { return factory.SetParameterMatrix(values, handle, value); }
  // Has parameters of its own.
  Result<void> Set(const GradientRenderData&) const { return OK; }

  // Sets the value if it is of one of the types; false if not.
  template <class... Types>
  Bool SetIfOf(const Data& data, Result<void>& result) const {
    const auto trySet = [&](const auto* value) {
      if (value) result = Set(*value);
      return value != nullptr;
    };
    return (trySet(data.GetIf<Types>()) || ...);
  }

  DrawportProgramFactory& factory;
  DrawportParameterValueSet& values;
  const DrawportParameterHandle handle;
};

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
  const ParameterSetter setter{target.factory, target.values, handle};
  Result<void> result = OK;
  const Bool isSet =
      setter.SetIfOf<Float32, HalfFloat, Vec2<Float32>, Vec3<Float32>, Vec4<Float32>, Vec2<HalfFloat>, Vec3<HalfFloat>,
                     Vec4<HalfFloat>, UInt32, Int32, Int8, UInt8, Int16, UInt16, Bool, Int64, UInt64, Float64,
                     Vec2<UInt32>, Vec3<UInt32>, Vec4<UInt32>, Vec2<Int32>, Vec3<Int32>, Vec4<Int32>, SquareMatrix32,
                     SquareMatrix4d32, AffineMatrix32, GradientRenderData>(data, result);
  return isSet ? result : MakeTypeError(name, data);
}

}  // namespace ostra
