// Programs of a recording GPU layer, and what is drawn with them.
#pragma once

#include "ostra/drawport/program_factory.h"
#include "ostra/render/gradient.h"
#include "tests/gpu/recording_device.h"

namespace ostra::test {

struct RecordingValues final : DrawportParameterValueSet {};

// Finds parameters in the description and writes down what they are set to.
class RecordingProgram final : public DrawportProgramFactory {
 public:
  RecordingProgram(RecordingDevice& device, const DrawportProgramDescription& description)
      : _device(device), _description(description) {}
  DrawportParameterHandle GetParameterHandle(InternedId name) const override {
    const auto& parameters = _description.GetParameters();
    for (Int i = 0; i < parameters.GetCount(); ++i)
      if (parameters[i].name == name) return {static_cast<Int32>(i)};
    return {};
  }
  DrawportParameterHandle GetBufferParameterHandle(InternedId name) const override { return GetParameterHandle(name); }
  DrawportParameterHandle GetImageParameterHandle(InternedId name) const override { return GetParameterHandle(name); }
  DrawportParameterHandle GetStageParameterHandle(DrawportStage stage, InternedId name) const override {
    const auto& parameters = _description.GetParameters();
    for (Int i = 0; i < parameters.GetCount(); ++i)
      if (parameters[i].stage == stage && parameters[i].name == name) return {static_cast<Int32>(i)};
    return {};
  }
  Result<DrawportParameterValueSet*> GetParameterValueSet(DrawportContextInterface&, UInt64 owner,
                                                          UInt64 hash) override {
    OSTRA_RETURN_IF_ERROR(CallGraphics("value set"));
    _device.valueSets.emplace_back(owner, hash);
    return &_values[{owner, hash}];
  }
  void ReleaseParameterValueSet(DrawportParameterValueSet& values) override {
    std::erase_if(_values, [&](const auto& known) { return &known.second == &values; });
  }
  Int GetValueSetCount() const { return static_cast<Int>(_values.size()); }
  Result<void> StartSetParameters(DrawportContextInterface&, DrawportParameterValueSet&) override {
    return CallGraphics("start");
  }
  Result<void> EndSetParameters(DrawportContextInterface&, DrawportParameterValueSet&) override {
    return CallGraphics("end");
  }
  using Values = DrawportParameterValueSet;
  using Handle = DrawportParameterHandle;
  Result<void> SetParameterFloat(Values&, Handle handle, Float32 value) override {
    return Set("float", handle, static_cast<Float64>(value));
  }
  Result<void> SetParameterFloat2(Values&, Handle handle, const Vector2d32& v) override {
    return Set("float2", handle, v.x);
  }
  Result<void> SetParameterVector(Values&, Handle handle, const Vector32& v) override {
    return Set("float3", handle, v.x);
  }
  Result<void> SetParameterVector(Values&, Handle handle, const Vector4d32& v) override {
    return Set("float4", handle, v.x);
  }
  Result<void> SetParameterUInt(Values&, Handle handle, UInt32 value) override { return Set("uint", handle, value); }
  Result<void> SetParameterUInt2(Values&, Handle handle, const Vec2<UInt32>& v) override {
    return Set("uint2", handle, v.x);
  }
  Result<void> SetParameterUInt3(Values&, Handle handle, const Vec3<UInt32>& v) override {
    return Set("uint3", handle, v.x);
  }
  Result<void> SetParameterUInt4(Values&, Handle handle, const Vec4<UInt32>& v) override {
    return Set("uint4", handle, v.x);
  }
  Result<void> SetParameterInt(Values&, Handle handle, Int32 value) override { return Set("int", handle, value); }
  Result<void> SetParameterInt2(Values&, Handle handle, const Vec2<Int32>& v) override {
    return Set("int2", handle, v.x);
  }
  Result<void> SetParameterInt3(Values&, Handle handle, const Vec3<Int32>& v) override {
    return Set("int3", handle, v.x);
  }
  Result<void> SetParameterInt4(Values&, Handle handle, const Vec4<Int32>& v) override {
    return Set("int4", handle, v.x);
  }
  Result<void> SetParameterMatrix(Values&, Handle handle, const SquareMatrix32& m) override {
    return Set("mat3", handle, m.v0.x);
  }
  Result<void> SetParameterMatrix(Values&, Handle handle, const SquareMatrix4d32& m) override {
    return Set("mat4", handle, m.v0.x);
  }
  Result<void> SetParameterBuffer(Values&, Handle handle, DrawportDeviceBuffer* buffer) override {
    return Set("buffer", handle, buffer ? buffer->GetSize() : -1);
  }
  Result<void> SetParameterTexture(Values&, Handle handle, DrawportTexture* texture, DrawportTextureSampler*) override {
    return Set("texture", handle, texture ? texture->GetDescription().extent.width : -1);
  }
  Result<void> SetParameterImage(Values&, Handle handle, DrawportTexture* texture) override {
    return Set("image", handle, texture ? texture->GetDescription().extent.width : -1);
  }
  Result<void> SetParameterAtomicCounter(Values&, Handle handle, DrawportAtomicCounter*) override {
    return Set("counter", handle, 0);
  }
  Result<void> SetParameterNoise(Values&, Handle handle, Int32 seed, Int32 depth) override {
    OSTRA_RETURN_IF_ERROR(Set("noise", handle, seed));
    return depth == 10 ? Result<void>(OK) : Result<void>(Error::MakeOutOfMemory("recording", 2));
  }
  // Written down is the red of the middle.
  Result<void> SetParameterGradient(Values&, Handle handle, const GradientRenderData& gradient) override {
    return Set("gradient", handle, gradient.Sample(0.5f).x);
  }

 private:
  template <class T>
  Result<void> Set(std::string_view kind, Handle handle, T value) {
    std::string name;
    if (handle) {
      const DrawportParameter& parameter = _description.GetParameters()[handle.index];
      if (_device.drawsGraphics) name = std::to_string(static_cast<int>(parameter.stage)) + ".";
      name += parameter.name.GetView();
    }
    if constexpr (std::is_floating_point_v<T>)
      return _device.Call("@ @ = @", kind, name, static_cast<Float64>(value));
    else
      return _device.Call("@ @ = @", kind, name, value);
  }
  Result<void> CallGraphics(std::string_view text) {
    return _device.drawsGraphics ? _device.Call(text) : Result<void>(OK);
  }
  RecordingDevice& _device;
  const DrawportProgramDescription& _description;
  std::map<std::pair<UInt64, UInt64>, RecordingValues> _values;
};

class RecordingProgramItem final : public DrawportCounted<RecordingProgramItem, DrawportProgramFactoryItemInterface> {
 public:
  explicit RecordingProgramItem(RecordingDevice& device) : program(device, description), _device(device) {}
  Result<DrawportProgramFactory*> MakeValid(DrawportContextInterface&, const DrawportVertexAttributeSet* attributes,
                                            const DrawportFramebufferTargetSet* targets) override {
    if (_device.drawsGraphics)
      OSTRA_RETURN_IF_ERROR(
          _device.Call("valid program for@@", attributes ? " attributes" : "", targets ? " targets" : ""));
    return _device.hasFactories ? &program : nullptr;
  }
  const DrawportProgramDescription& GetSpecification() const override { return description; }
  DrawportProgramDescription description;
  RecordingProgram program;

 private:
  RecordingDevice& _device;
};

class RecordingStateItem final : public DrawportCounted<RecordingStateItem, DrawportStateObjectItemInterface>,
                                 public DrawportStateObject {
 public:
  DrawportStateObject& GetStateObject() override { return *this; }
  const DrawportStateDescription& GetDescription() const override { return description; }
  DrawportStateDescription description;
};

// A draw pass of a renderer: only says what it draws into.
class RecordingDrawPass final : public DrawportDrawPass, public DrawportFramebufferTargetSet {
 public:
  const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const override { return this; }
  Int GetColorCount() const override { return static_cast<Int>(formats.size()); }
  PixelFormatRef GetColorFormat(Int index) const override { return formats[static_cast<std::size_t>(index)]; }
  DrawportDepthFormat GetDepthFormat() const override { return depthFormat; }
  Int32 GetSampleCount() const override { return sampleCount; }
  std::vector<PixelFormatRef> formats;
  DrawportDepthFormat depthFormat = DrawportDepthFormat::None;
  Int32 sampleCount = 1;
};

}  // namespace ostra::test
