#include "ostra/drawport_vulkan/program_factory.h"

#include <algorithm>
#include <span>

#include "ostra/drawport/gradient_segments.h"
#include "ostra/drawport_vulkan/context.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Columns of matrices begin every four floats.
template <class Matrix, int COLUMNS>
void PackColumns(const Vector32 (&columns)[COLUMNS], Matrix& packed) {
  for (int i = 0; i < COLUMNS; ++i) {
    packed[4 * i] = columns[i].x;
    packed[4 * i + 1] = columns[i].y;
    packed[4 * i + 2] = columns[i].z;
    packed[4 * i + 3] = 0;
  }
}

// Signed and unsigned integers have the same bytes.
DrawportShaderValueType WithoutSign(DrawportShaderValueType type) {
  const auto code = static_cast<Int32>(type);
  constexpr Int32 kDistance =
      static_cast<Int32>(DrawportShaderValueType::UInt) - static_cast<Int32>(DrawportShaderValueType::Int);
  const Bool isSigned = code >= static_cast<Int32>(DrawportShaderValueType::Int) &&
                        code <= static_cast<Int32>(DrawportShaderValueType::Int4);
  return isSigned ? static_cast<DrawportShaderValueType>(code + kDistance) : type;
}

Bool HasIntegers(PixelFormatRef format) {
  return format->valueClass != PixelValueClass::FloatingPoint && format->bitsPerChannel == 32;
}

}  // namespace

DrawportParameterHandle ProgramFactory::GetParameterHandle(InternedId name) const {
  for (Int i = 0; i < _places.GetCount(); ++i)
    if (_places[i].parameter.name == name) return {static_cast<Int32>(i)};
  return {};
}

DrawportParameterHandle ProgramFactory::GetBufferParameterHandle(InternedId name) const {
  const DrawportParameterHandle handle = GetParameterHandle(name);
  if (!handle || _places[handle.index].parameter.kind != DrawportParameterKind::Buffer) return {};
  return handle;
}

DrawportParameterHandle ProgramFactory::GetImageParameterHandle(InternedId name) const {
  const DrawportParameterHandle handle = GetParameterHandle(name);
  if (!handle || _places[handle.index].parameter.kind != DrawportParameterKind::Image) return {};
  return handle;
}

DrawportParameterHandle ProgramFactory::GetStageParameterHandle(DrawportStage stage, InternedId name) const {
  for (Int i = 0; i < _places.GetCount(); ++i)
    if (_places[i].parameter.stage == stage && _places[i].parameter.name == name) return {static_cast<Int32>(i)};
  return {};
}

Result<DrawportParameterValueSet*> ProgramFactory::GetParameterValueSet(DrawportContextInterface& context, UInt64 owner,
                                                                        UInt64 programHash) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindContext(context));
  const UInt32 list = found->GetCommands().GetRecorder().GetNumber();
  const std::scoped_lock lock(_valueSetMutex);
  for (ValueSet* set : _valueSets)
    if (set->IsOf(list, owner, programHash)) return set;
  DropValueSets();
  Owned<ValueSet> made = MakeOwned<ValueSet>(*this, list, owner, programHash);
  if (!made) return OSTRA_OUT_OF_MEMORY();
  OSTRA_RETURN_IF_ERROR(made->Init());
  OSTRA_ASSIGN_OR_RETURN(ValueSet * added, _valueSets.Append(std::move(made)));
  return added;
}

void ProgramFactory::ReleaseParameterValueSet(DrawportParameterValueSet& values) {
  const std::scoped_lock lock(_valueSetMutex);
  for (Int i = 0; i < _valueSets.GetCount(); ++i) {
    if (_valueSets[i] != &values) continue;
    _valueSets.Remove(i);  // what was recorded keeps the descriptors and its part of the ring
    return;
  }
}

void ProgramFactory::DropValueSets() {
  for (Int i = _valueSets.GetCount() - 1; i >= 0; --i)
    if (!GetDevice().HasList(_valueSets[i]->GetList())) _valueSets.Remove(i);
}

Result<void> ProgramFactory::StartSetParameters(DrawportContextInterface&, DrawportParameterValueSet& values) {
  static_cast<ValueSet&>(values).Clear();
  return OK;
}

Result<void> ProgramFactory::EndSetParameters(DrawportContextInterface&, DrawportParameterValueSet& values) {
  static_cast<ValueSet&>(values).Publish();
  return OK;
}

Result<const ParameterPlace*> ProgramFactory::FindPlace(DrawportParameterHandle handle,
                                                        DrawportParameterKind kind) const {
  if (!handle) return nullptr;
  if (handle.index >= _places.GetCount())
    return OSTRA_ILLEGAL_ARGUMENT("The handle @ is not one of this GPU program.", handle.index);
  const ParameterPlace* place = &_places[handle.index];
  if (place->parameter.kind != kind)
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the GPU program is of another kind.", place->parameter.name);
  return place;
}

Result<void> ProgramFactory::SetValue(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                      DrawportShaderValueType type, const void* value, Int bytes) {
  if (!handle) return OK;
  if (handle.index >= _places.GetCount())
    return OSTRA_ILLEGAL_ARGUMENT("The handle @ is not one of this GPU program.", handle.index);
  const ParameterPlace& place = _places[handle.index];
  const DrawportParameter& parameter = place.parameter;
  Int offset = place.uniformOffset;
  if (parameter.kind == DrawportParameterKind::Buffer && parameter.isValue) {
    offset = place.valueOffset;
    if (parameter.layout.byteSize != 0 && parameter.layout.byteSize != bytes)
      return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the GPU program has @ bytes, not @.", parameter.name,
                                    parameter.layout.byteSize, bytes);
  } else if (parameter.kind != DrawportParameterKind::Uniform ||
             WithoutSign(parameter.valueType) != WithoutSign(type)) {
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the GPU program is of another type.", parameter.name);
  }
  if (offset >= 0) MemCopy(static_cast<ValueSet&>(values).GetBytes() + offset, value, bytes);
  return OK;
}

Result<ProgramFactory::ValueRange> ProgramFactory::FindValue(DrawportParameterHandle handle) const {
  if (handle.index < 0 || handle.index >= _places.GetCount())
    return OSTRA_ILLEGAL_ARGUMENT("The handle @ is not one of this GPU program.", handle.index);
  const ParameterPlace& place = _places[handle.index];
  const DrawportParameter& parameter = place.parameter;
  if (parameter.kind == DrawportParameterKind::Buffer && parameter.isValue)
    return place.valueOffset < 0 ? ValueRange{} : ValueRange{place.valueOffset, place.valueSize};
  if (parameter.kind != DrawportParameterKind::Uniform || parameter.valueType == DrawportShaderValueType::AtomicUInt ||
      parameter.valueType == DrawportShaderValueType::Gradient)
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the GPU program is no value.", parameter.name);
  return place.uniformOffset < 0 ? ValueRange{} : ValueRange{place.uniformOffset, GetUniformSize(parameter.valueType)};
}

Result<void> ProgramFactory::SetParameterFloat(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               Float32 value) {
  return SetValue(values, handle, DrawportShaderValueType::Float, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterFloat2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                const Vector2d32& value) {
  return SetValue(values, handle, DrawportShaderValueType::Float2, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                const Vector32& value) {
  return SetValue(values, handle, DrawportShaderValueType::Float3, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                const Vector4d32& value) {
  return SetValue(values, handle, DrawportShaderValueType::Float4, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterUInt(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                              UInt32 value) {
  return SetValue(values, handle, DrawportShaderValueType::UInt, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterUInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               const Vec2<UInt32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::UInt2, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterUInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               const Vec3<UInt32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::UInt3, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterUInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               const Vec4<UInt32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::UInt4, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterInt(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                             Int32 value) {
  return SetValue(values, handle, DrawportShaderValueType::Int, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                              const Vec2<Int32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::Int2, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                              const Vec3<Int32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::Int3, &value, sizeof(value));
}
Result<void> ProgramFactory::SetParameterInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                              const Vec4<Int32>& value) {
  return SetValue(values, handle, DrawportShaderValueType::Int4, &value, sizeof(value));
}

Result<void> ProgramFactory::SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                const SquareMatrix32& value) {
  Float32 packed[12];
  PackColumns({value.v0, value.v1, value.v2}, packed);
  return SetValue(values, handle, DrawportShaderValueType::Matrix3, packed, sizeof(packed));
}

Result<void> ProgramFactory::SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                const SquareMatrix4d32& value) {
  return SetValue(values, handle, DrawportShaderValueType::Matrix4, &value, sizeof(value));
}

Result<void> ProgramFactory::SetParameterBuffer(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                DrawportDeviceBuffer* buffer) {
  OSTRA_ASSIGN_OR_RETURN(const ParameterPlace* place, FindPlace(handle, DrawportParameterKind::Buffer));
  if (!place || place->binding < 0) return OK;
  auto* resource = static_cast<BufferResource*>(buffer);
  OSTRA_RETURN_IF_ERROR(CheckDevice(*place, resource));
  const UInt32 limit = GetDevice().GetLimits().maxStorageBufferRange;
  if (resource && resource->GetSize() > static_cast<Int>(limit))
    return OSTRA_ILLEGAL_ARGUMENT("The buffer \"@\" has @ bytes; a kernel sees at most @ on this GPU device.",
                                  place->parameter.name, resource->GetSize(), limit);
  static_cast<ValueSet&>(values).GetObject(place->binding) = {
      .buffer = WeakRef<BufferResource>(resource), .image = {}, .sampler = {}};
  return OK;
}

Result<void> ProgramFactory::CheckDevice(const ParameterPlace& place, const DeviceResource* object) const {
  if (!object || &object->GetDevice() == &GetDevice()) return OK;
  return OSTRA_ILLEGAL_STATE("What is set as parameter \"@\" lies on another GPU device than the program.",
                             place.parameter.name);
}

Result<void> ProgramFactory::CheckTexture(const ParameterPlace& place, const ImageResource& image) const {
  OSTRA_RETURN_IF_ERROR(CheckDevice(place, &image));
  const DrawportTextureDescription& texture = image.GetDescription();
  const DrawportParameter& parameter = place.parameter;
  if (texture.type != parameter.textureType)
    return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" of the GPU program has other dimensions.", parameter.name);
  if (parameter.isMultisampled != (texture.sampleCount > 1))
    return OSTRA_ILLEGAL_ARGUMENT(parameter.isMultisampled
                                      ? "The texture \"@\" of the GPU program has one sample a pixel, not several."
                                      : "The texture \"@\" of the GPU program has several samples a pixel, not one.",
                                  parameter.name);
  if (parameter.kind == DrawportParameterKind::Image) {
    if (!texture.isImage)
      return OSTRA_ILLEGAL_ARGUMENT("The texture that is set as image \"@\" was not made to be written by kernels.",
                                    parameter.name);
    if (parameter.format && image.GetFormat().format != GetFormatInfo(parameter.format).format)
      return OSTRA_ILLEGAL_ARGUMENT("The image \"@\" of the GPU program has the pixel format @, not @.", parameter.name,
                                    parameter.format->id, texture.format->id);
    return OK;
  }
  if (parameter.format && (HasIntegers(parameter.format) != HasIntegers(texture.format)))
    return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" of the GPU program is read as @, but its pixel format is @.",
                                  parameter.name, parameter.format->id, texture.format->id);
  return OK;
}

Result<void> ProgramFactory::SetParameterTexture(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                 DrawportTexture* texture, DrawportTextureSampler* sampler) {
  OSTRA_ASSIGN_OR_RETURN(const ParameterPlace* place, FindPlace(handle, DrawportParameterKind::Texture));
  if (!place) return OK;
  auto& set = static_cast<ValueSet&>(values);
  auto* image = static_cast<ImageResource*>(texture);
  auto* state = static_cast<SamplerResource*>(sampler);
  if (image) OSTRA_RETURN_IF_ERROR(CheckTexture(*place, *image));
  OSTRA_RETURN_IF_ERROR(CheckDevice(*place, state));
  if (place->wrapOffset >= 0) {
    const UInt32 key = state ? state->GetKey() : 0;
    MemCopy(set.GetBytes() + place->wrapOffset, &key, sizeof(key));
  }
  if (place->binding < 0) return OK;
  set.GetObject(place->binding) = {.buffer = {},
                                   .image = WeakRef<ImageResource>(image),
                                   .sampler = WeakRef<SamplerResource>(state),
                                   .isLayered = place->parameter.hasLayers};
  return OK;
}

Result<void> ProgramFactory::SetParameterImage(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               DrawportTexture* texture) {
  OSTRA_ASSIGN_OR_RETURN(const ParameterPlace* place, FindPlace(handle, DrawportParameterKind::Image));
  if (!place) return OK;
  auto* image = static_cast<ImageResource*>(texture);
  if (image) OSTRA_RETURN_IF_ERROR(CheckTexture(*place, *image));
  if (place->binding < 0) return OK;
  static_cast<ValueSet&>(values).GetObject(place->binding) = {
      .buffer = {}, .image = WeakRef<ImageResource>(image), .sampler = {}};
  return OK;
}

Result<void> ProgramFactory::SetParameterAtomicCounter(DrawportParameterValueSet& values,
                                                       DrawportParameterHandle handle, DrawportAtomicCounter* counter) {
  OSTRA_ASSIGN_OR_RETURN(const ParameterPlace* place, FindPlace(handle, DrawportParameterKind::Uniform));
  if (!place) return OK;
  if (place->parameter.valueType != DrawportShaderValueType::AtomicUInt)
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" of the GPU program is of another type.", place->parameter.name);
  if (place->binding < 0) return OK;
  auto* resource = static_cast<CounterResource*>(counter);
  OSTRA_RETURN_IF_ERROR(CheckDevice(*place, resource));
  static_cast<ValueSet&>(values).GetObject(place->binding) = {
      .buffer = WeakRef<BufferResource>(resource ? &resource->GetBuffer() : nullptr), .image = {}, .sampler = {}};
  return OK;
}

Result<void> ProgramFactory::SetParameterNoise(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                               Int32 seed, Int32 depth) {
  const Int32 table[2] = {seed, depth};
  return SetValue(values, handle, DrawportShaderValueType::NoiseTable, table, sizeof(table));
}

Result<void> ProgramFactory::SetParameterGradient(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                  const GradientRenderData& gradient) {
  // Where the compiler has left no reader there is no room for segments either.
  constexpr UInt32 kNone[2] = {0, 0};
  if (!HasGradients()) return SetValue(values, handle, DrawportShaderValueType::Gradient, kNone, sizeof(kNone));
  if (!handle) return OK;
  // Segments of all gradients lie one behind the other; what a program has is where its own begin, and their number.
  BaseArray<ShaderGradientSegment>& segments = static_cast<ValueSet&>(values).GetGradients();
  const Int first = segments.GetCount();
  OSTRA_RETURN_IF_ERROR(AppendGradientSegments(gradient, segments));
  const UInt32 table[2] = {static_cast<UInt32>(first), static_cast<UInt32>(segments.GetCount() - first)};
  return SetValue(values, handle, DrawportShaderValueType::Gradient, table, sizeof(table));
}

Bool ProgramFactory::IsGradientBinding(UInt32 number) const {
  return std::find(_gradientBindings.begin(), _gradientBindings.end(), number) != _gradientBindings.end();
}

}  // namespace ostra::vulkan
