#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace ostra {

namespace {

struct UniformType {
  const DataType& (*getType)();
  DrawportShaderValueType type;
};

// In the order in which they are tried.
constexpr UniformType kUniformTypes[] = {
    {&GetDataType<Float32>, DrawportShaderValueType::Float},
    {&GetDataType<HalfFloat>, DrawportShaderValueType::Float},
    {&GetDataType<Vec2<Float32>>, DrawportShaderValueType::Float2},
    {&GetDataType<Vec3<Float32>>, DrawportShaderValueType::Float3},
    {&GetDataType<Vec4<Float32>>, DrawportShaderValueType::Float4},
    {&GetDataType<Vec4<HalfFloat>>, DrawportShaderValueType::Float4},
    {&GetDataType<SquareMatrix4d32>, DrawportShaderValueType::Matrix4},
    {&GetDataType<AffineMatrix32>, DrawportShaderValueType::Matrix4},
    {&GetDataType<SquareMatrix32>, DrawportShaderValueType::Matrix3},
    {&GetDataType<UInt32>, DrawportShaderValueType::UInt},
    {&GetDataType<Int32>, DrawportShaderValueType::Int},
    {&GetDataType<Vec4<UInt32>>, DrawportShaderValueType::UInt4},
    {&GetDataType<Vec4<Int32>>, DrawportShaderValueType::Int4},
    {&GetDataType<GradientRenderData>, DrawportShaderValueType::Gradient},
};

}  // namespace

ShaderValueForm GetShaderValueForm(DataType type) {
  using Kind = ShaderValueForm::Kind;
  if (type == GetDataType<AtomicUInt32>()) return {Kind::Counter, DrawportShaderValueType::AtomicUInt};
  for (const UniformType& known : kUniformTypes)
    if (known.getType() == type) return {Kind::Uniform, known.type};
  return {Kind::ValueBuffer, DrawportShaderValueType::Float};
}

}  // namespace ostra
