// Programs of a few lines, for tests.
//
//   ProgramBuilder program(*this);
//   program.Uniform(DrawportShaderValueType::Float, "factor").Writes("target", "float", 4);
//   program.Run("UNIFORM_BUFFER(target)[0] = UNIFORM(factor);\n", 1, [&](ProgramValues& values) {
//     values.Set("factor", 2.0f);
//     values.SetBuffer("target", buffer);
//   });
#pragma once

#include <functional>

#include "tests/drawport_vulkan/gpu_test.h"

namespace ostra {

// Sets parameters by name.
class ProgramValues {
 public:
  ProgramValues(DrawportProgramFactory& factory, DrawportParameterValueSet& values)
      : _factory(factory), _values(values) {}

  template <class T>
  void Set(std::string_view name, const T& value) {
    Take(TrySet(name, value));
  }
  template <class T>
  Result<void> TrySet(std::string_view name, const T& value) {
    const DrawportParameterHandle handle = _factory.GetParameterHandle(Take(InternedId::Create(name)));
    if constexpr (std::is_same_v<T, Float32>)
      return _factory.SetParameterFloat(_values, handle, value);
    else if constexpr (std::is_same_v<T, UInt32>)
      return _factory.SetParameterUInt(_values, handle, value);
    else if constexpr (std::is_same_v<T, Int32>)
      return _factory.SetParameterInt(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vector2d32>)
      return _factory.SetParameterFloat2(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vector32> || std::is_same_v<T, Vector4d32>)
      return _factory.SetParameterVector(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vec3<UInt32>>)
      return _factory.SetParameterUInt3(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vec4<UInt32>>)
      return _factory.SetParameterUInt4(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vec3<Int32>>)
      return _factory.SetParameterInt3(_values, handle, value);
    else if constexpr (std::is_same_v<T, Vec4<Int32>>)
      return _factory.SetParameterInt4(_values, handle, value);
    else
      return _factory.SetParameterMatrix(_values, handle, value);
  }
  void SetBuffer(std::string_view name, DrawportDeviceBuffer* buffer) { Take(TrySetBuffer(name, buffer)); }
  Result<void> TrySetBuffer(std::string_view name, DrawportDeviceBuffer* buffer) {
    return _factory.SetParameterBuffer(_values, _factory.GetBufferParameterHandle(Take(InternedId::Create(name))),
                                       buffer);
  }
  void SetTexture(std::string_view name, DrawportTexture* texture, DrawportTextureSampler* sampler) {
    Take(TrySetTexture(name, texture, sampler));
  }
  Result<void> TrySetTexture(std::string_view name, DrawportTexture* texture, DrawportTextureSampler* sampler) {
    return _factory.SetParameterTexture(_values, _factory.GetParameterHandle(Take(InternedId::Create(name))), texture,
                                        sampler);
  }
  Result<void> TrySetImage(std::string_view name, DrawportTexture* texture) {
    return _factory.SetParameterImage(_values, _factory.GetImageParameterHandle(Take(InternedId::Create(name))),
                                      texture);
  }
  void SetImage(std::string_view name, DrawportTexture* texture) { Take(TrySetImage(name, texture)); }
  void SetCounter(std::string_view name, DrawportAtomicCounter* counter) {
    Take(_factory.SetParameterAtomicCounter(_values, _factory.GetParameterHandle(Take(InternedId::Create(name))),
                                            counter));
  }
  void SetNoise(std::string_view name, Int32 seed, Int32 depth) {
    Take(_factory.SetParameterNoise(_values, _factory.GetParameterHandle(Take(InternedId::Create(name))), seed, depth));
  }

 private:
  DrawportProgramFactory& _factory;
  DrawportParameterValueSet& _values;
};

class ProgramBuilder {
 public:
  explicit ProgramBuilder(GpuTest& test) : _test(test) {}

  ProgramBuilder& Uniform(DrawportShaderValueType type, std::string_view name) {
    const InternedId id = Take(InternedId::Create(name));
    return Add([=](DrawportProgramDescription& program) { return program.AddUniformParameter(kStage, type, id); });
  }
  ProgramBuilder& Reads(std::string_view name, std::string_view type, Int bytes) {
    return Buffer(name, type, bytes, DrawportBufferAccess::ReadOnly, false);
  }
  ProgramBuilder& Writes(std::string_view name, std::string_view type, Int bytes) {
    return Buffer(name, type, bytes, DrawportBufferAccess::ReadWrite, false);
  }
  ProgramBuilder& Value(std::string_view name, std::string_view type, Int bytes) {
    return Buffer(name, type, bytes, DrawportBufferAccess::ReadOnly, true);
  }
  ProgramBuilder& Texture(std::string_view name, DrawportTextureType type, PixelFormatRef format, Bool isLinear,
                          Bool hasLayers = false) {
    const InternedId id = Take(InternedId::Create(name));
    return Add([=](DrawportProgramDescription& program) {
      return program.AddTextureParameter(kStage, type, format, isLinear, id, hasLayers);
    });
  }
  ProgramBuilder& Image(std::string_view name, DrawportTextureType type, PixelFormatRef format) {
    const InternedId id = Take(InternedId::Create(name));
    return Add(
        [=](DrawportProgramDescription& program) { return program.AddImageParameter(kStage, type, format, id); });
  }
  ProgramBuilder& Shared(std::string_view text) {
    const String code = Take(String::Create(text));
    return Add([=](DrawportProgramDescription& program) {
      return program.AddCode(kStage, kAppendCode, code, DrawportCodeSection::GroupShared);
    });
  }
  // Adds the code of noises; tables are uniforms of their own.
  ProgramBuilder& Noises() {
    return Add([](DrawportProgramDescription& program) -> Result<void> {
      OSTRA_RETURN_IF_ERROR(program.ReinitializeDrawportNoise(0));
      return program.AddNoiseFunction(kStage, "net.ostra.drawport.noise.turbulence4d"_id, 0);
    });
  }
  ProgramBuilder& Requires(DrawportFeature feature) {
    return Add([=](DrawportProgramDescription& program) { return program.AddRequiredFeature(kStage, feature); });
  }
  ProgramBuilder& GroupSize(UInt32 x, UInt32 y, UInt32 z) {
    _groupSize = {x, y, z};
    return *this;
  }

  template <class Bind>
  GpuComputeCallbacks MakeCallbacks(std::string_view body, Bind bind) const {
    return MakeCallbacksWithBinder(body,
                                   [bind](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                          Block<const DrawportParameter>) -> Result<void> {
                                     ProgramValues access(factory, values);
                                     bind(access);
                                     return OK;
                                   });
  }
  template <class Binder>
  GpuComputeCallbacks MakeCallbacksWithBinder(std::string_view body, Binder binder) const {
    GpuComputeCallbacks callbacks;
    callbacks.hash = Take(Delegate<Result<void>(DrawportHashStream&)>::Create([](DrawportHashStream& stream) {
      stream.Write(1);
      return Result<void>(OK);
    }));
    const String text = Take(String::Create(body));
    const auto build = [steps = _steps, text, size = _groupSize](DrawportProgramDescription& program) -> Result<void> {
      for (const auto& step : steps) OSTRA_RETURN_IF_ERROR(step(program));
      OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, text));
      OSTRA_RETURN_IF_ERROR(program.SetComputeShaderProperties(size.x, size.y, size.z));
      return program.SetDebugLabel("test");
    };
    callbacks.build = Take(DrawportProgramBuilder::Create(build));
    callbacks.bind = Take(DrawportParameterBinder::Create(binder));
    return callbacks;
  }

  template <class Bind>
  GpuComputeRef Make(std::string_view body, Bind bind) {
    auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
    Take(compute->Init(_test._context, MakeCallbacks(body, bind), {}));
    return compute;
  }
  template <class Binder>
  GpuComputeRef MakeWithBinder(std::string_view body, Binder binder) {
    auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
    Take(compute->Init(_test._context, MakeCallbacksWithBinder(body, binder), {}));
    return compute;
  }
  // Runs `groups` work groups to the end.
  template <class Bind>
  void Run(std::string_view body, UInt32 groups, Bind bind) {
    const GpuComputeRef compute = Make(body, bind);
    Take(compute->UpdateUniforms(_test._context, true));
    Take(compute->Dispatch(groups, 1, 1));
    Take(_test._context->GetCommandList().Execute(true));
  }

 private:
  static constexpr DrawportStage kStage = DrawportStage::Compute;

  ProgramBuilder& Buffer(std::string_view name, std::string_view type, Int bytes, DrawportBufferAccess access,
                         Bool isValue) {
    const InternedId id = Take(InternedId::Create(name));
    const String typeName = Take(String::Create(type));
    return Add([=](DrawportProgramDescription& program) {
      return program.AddBufferParameter(kStage, {.typeName = typeName, .members = {}, .byteSize = bytes}, id, access,
                                        isValue);
    });
  }
  ProgramBuilder& Add(std::function<Result<void>(DrawportProgramDescription&)> step) {
    _steps.push_back(std::move(step));
    return *this;
  }

  GpuTest& _test;
  std::vector<std::function<Result<void>(DrawportProgramDescription&)>> _steps;
  Vec3<UInt32> _groupSize{64, 1, 1};
};

}  // namespace ostra
