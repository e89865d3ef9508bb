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

// Of values that the front end of the kernel language declares. Shading languages keep no bool in memory.
constexpr UniformType kWrittenTypes[] = {
    {&GetDataType<Bool>, DrawportShaderValueType::UInt},
    {&GetDataType<Vec2<UInt32>>, DrawportShaderValueType::UInt2},
    {&GetDataType<Vec3<UInt32>>, DrawportShaderValueType::UInt3},
    {&GetDataType<Int64>, DrawportShaderValueType::UInt2},
    {&GetDataType<UInt64>, DrawportShaderValueType::UInt2},
    {&GetDataType<Float64>, DrawportShaderValueType::UInt2},
    {&GetDataType<Vec2<Int32>>, DrawportShaderValueType::Int2},
    {&GetDataType<Vec3<Int32>>, DrawportShaderValueType::Int3},
};

}  // namespace

ShaderValueForm GetShaderValueForm(DataType type) {
  using Kind = ShaderValueForm::Kind;
  if (type == GetDataType<AtomicUInt32>()) return {Kind::Counter, DrawportShaderValueType::AtomicUInt};
  for (const UniformType& known : kUniformTypes)
    if (known.getType() == type) return {Kind::Uniform, known.type};
  return {Kind::ValueBuffer, DrawportShaderValueType::Float};
}

ShaderValueForm GetDeclaredValueForm(DataType type) {
  for (const UniformType& known : kWrittenTypes)
    if (known.getType() == type) return {ShaderValueForm::Kind::Uniform, known.type};
  return GetShaderValueForm(type);
}

}  // namespace ostra
