// The binder of the GPU program's kernels: what becomes of links and uniform values each time the GPU layer asks for
// the parameters of a program.
#include "ostra/core/format.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/module/configuration_variables.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int32 kDefaultNoiseSeed = 42;

const char* GetTextureTypeName(DrawportTextureType type) {
  switch (type) {
    case DrawportTextureType::Texture1D:
      return "1D";
    case DrawportTextureType::Texture2D:
      return "2D";
    default:
      return "3D";
  }
}

// Shaders read a texture with the number of dimensions that they declare.
Result<void> CheckTextureType(const DrawportParameter& parameter, const DrawportTexture& texture) {
  const DrawportTextureType given = texture.GetDescription().type;
  if (given == parameter.textureType) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("The kernel's texture \"@\" is a @ texture, but a @ texture is linked to it.",
                                parameter.name, GetTextureTypeName(parameter.textureType), GetTextureTypeName(given));
}

Result<void> BindUniforms(const GpuKernel& kernel, const ParameterTarget& target) {
  for (const auto& [name, value] : kernel.uniforms) {
    const DrawportParameterHandle handle = target.factory.GetParameterHandle(name);
    if (handle) OSTRA_RETURN_IF_ERROR(SetParameterValue(target, handle, name, value));
  }
  return OK;
}

Result<void> BindCounters(const GpuKernel& kernel, const ParameterTarget& target) {
  for (const auto& [name, link] : kernel.counters) {
    const DrawportParameterHandle handle = target.factory.GetParameterHandle(name);
    if (handle) OSTRA_RETURN_IF_ERROR(target.factory.SetParameterAtomicCounter(target.values, handle, link.counter));
  }
  return OK;
}

}  // namespace

Result<void> ParallelProgramGPUImpl::BindParameters(const InternedId& kernelId, DrawportProgramFactory& factory,
                                                    DrawportParameterValueSet& values,
                                                    Block<const DrawportParameter> parameters) {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef kernel, FindKernel(kernelId));
  const ParameterTarget target{factory, values};
  OSTRA_RETURN_IF_ERROR(BindUniforms(*kernel, target));
  for (Int i = 0; i < parameters.GetCount(); ++i)
    if (parameters[i].kind == DrawportParameterKind::Buffer && !parameters[i].isValue)
      OSTRA_RETURN_IF_ERROR(BindBuffer(*kernel, target, parameters[i]));
  if (g_outOfCoreParallelProgram) OSTRA_RETURN_IF_ERROR(RestoreTextures(*kernel));
  for (Int i = 0; i < parameters.GetCount(); ++i)
    if (parameters[i].kind == DrawportParameterKind::Texture || parameters[i].kind == DrawportParameterKind::Image)
      OSTRA_RETURN_IF_ERROR(BindTexture(*kernel, target, parameters[i]));
  OSTRA_RETURN_IF_ERROR(BindCounters(*kernel, target));
  return kernel->usesNoise ? BindNoises(*kernel, target) : Result<void>(OK);
}

// A link to the program's buffer of the same name follows that name, so that the newest one is used; links to other
// buffers and exchanged ones stay.
Result<void> ParallelProgramGPUImpl::BindBuffer(GpuKernel& kernel, const ParameterTarget& target,
                                                const DrawportParameter& parameter) const {
  const DataBufferEntry* linked = FindBufferEntry(kernel.buffers, parameter.name);
  if (!linked || linked->_bufferId == parameter.name) {
    const Data* global = _buffers.FindData(parameter.name);
    const DataBufferEntry* entry = global ? global->GetIf<DataBufferEntry>() : nullptr;
    if (entry && (!linked || !(*linked == *entry))) {
      OSTRA_RETURN_IF_ERROR(kernel.buffers.SetData(parameter.name, *global));
      linked = FindBufferEntry(kernel.buffers, parameter.name);
    }
  }
  const DrawportParameterHandle handle = target.factory.GetBufferParameterHandle(parameter.name);
  return target.factory.SetParameterBuffer(target.values, handle, linked ? linked->_deviceBuffer : nullptr);
}

// A link whose texture was deleted leads to the program's texture of that name, once there is one again; a parameter
// without link to the texture of its own name.
Result<void> ParallelProgramGPUImpl::BindTexture(GpuKernel& kernel, const ParameterTarget& target,
                                                 const DrawportParameter& parameter) const {
  const TextureSamplerEntry* linked = FindTextureEntry(kernel.textures, parameter.name);
  if (!linked || !linked->_texture) {
    const Bool hasName = linked && linked->_textureId.IsPopulated();
    const TextureSamplerEntry* global = FindTextureEntry(_textures, hasName ? linked->_textureId : parameter.name);
    if (global) {
      OSTRA_RETURN_IF_ERROR(LinkTexture(kernel, parameter.name, *global));
      linked = FindTextureEntry(kernel.textures, parameter.name);
    }
  }
  DrawportTexture* texture = linked ? linked->_texture : nullptr;
  if (texture) OSTRA_RETURN_IF_ERROR(CheckTextureType(parameter, *texture));
  DrawportProgramFactory& factory = target.factory;
  if (parameter.kind == DrawportParameterKind::Image)
    return factory.SetParameterImage(target.values, factory.GetImageParameterHandle(parameter.name), texture);
  return factory.SetParameterTexture(target.values, factory.GetParameterHandle(parameter.name), texture,
                                     linked ? linked->_sampler : nullptr);
}

Result<void> ParallelProgramGPUImpl::BindNoises(const GpuKernel& kernel, const ParameterTarget& target) const {
  const auto bind = [&](const InternedId& name, Int32 seed) -> Result<void> {
    const DrawportParameterHandle handle = target.factory.GetParameterHandle(name);
    return handle ? target.factory.SetParameterNoise(target.values, handle, seed, kNoiseDepth) : Result<void>(OK);
  };
  for (Int i = 0; i < _noiseDataNames.GetCount(); ++i) {
    const Data* value = kernel.uniforms.FindData(_noiseSeedNames[i]);
    const auto seed = value ? value->ConvertTo<Int32>() : Result<Int32>(kDefaultNoiseSeed);
    OSTRA_RETURN_IF_ERROR(bind(_noiseDataNames[i], seed ? *seed : kDefaultNoiseSeed));
  }
  return bind("noiseData"_iid, kDefaultNoiseSeed);
}

}  // namespace ostra
