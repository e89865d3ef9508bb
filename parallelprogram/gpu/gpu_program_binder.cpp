// The binder of the GPU program's kernels: what becomes of links and uniform values each time the GPU layer asks for
// the parameters of a program.
#include "ostra/core/format.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/element_check.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int32 kDefaultNoiseSeed = 42;

// The kernel's own noiseSeed_N has the same bits.
Int32 GetSeed(const Data& value) {
  if (const auto* bits = value.GetIf<UInt32>()) return static_cast<Int32>(*bits);
  const auto seed = value.ConvertTo<Int32>();
  return seed ? *seed : kDefaultNoiseSeed;
}

Result<void> BindUniforms(const GpuKernel& kernel, const ParameterTarget& target,
                          Block<const DrawportParameter> parameters) {
  for (const auto& [name, value] : kernel.uniforms) {
    const DrawportParameterHandle handle = target.factory.GetParameterHandle(name);
    if (handle) OSTRA_RETURN_IF_ERROR(SetParameterValue(target, handle, name, value, FindWideType(parameters, name)));
  }
  return OK;
}

// Names that the program does not declare. The binder passes over them.
void ReportUnknownNames(GpuKernel& kernel, Block<const DrawportParameter> parameters) {
  const auto report = [&](const InternedId& name) {
    for (Int i = 0; i < parameters.GetCount(); ++i)
      if (parameters[i].name == name) return;
    kernel.unknownNames.Report(kernel.id, name, parameters.GetCount(),
                               [&](Int i) { return parameters[i].name.GetView(); });
  };
  for (const auto& [name, value] : kernel.uniforms) report(name);
  for (const auto& [name, value] : kernel.buffers) report(name);
  for (const auto& [name, value] : kernel.textures) report(name);
  for (const auto& [name, link] : kernel.counters) report(name);
}

Result<void> BindCounters(const GpuKernel& kernel, const ParameterTarget& target) {
  for (const auto& [name, link] : kernel.counters) {
    const DrawportParameterHandle handle = target.factory.GetParameterHandle(name);
    if (handle) OSTRA_RETURN_IF_ERROR(target.factory.SetParameterAtomicCounter(target.values, handle, link.counter));
  }
  return OK;
}

}  // namespace

Result<void> BindNoiseTable(const ParameterTarget& target, DrawportParameterHandle handle, const Data* seed) {
  if (!handle) return OK;
  return target.factory.SetParameterNoise(target.values, handle, seed ? GetSeed(*seed) : kDefaultNoiseSeed,
                                          kNoiseDepth);
}

Result<void> ParallelProgramGPUImpl::BindParameters(const InternedId& kernelId, DrawportProgramFactory& factory,
                                                    DrawportParameterValueSet& values,
                                                    Block<const DrawportParameter> parameters) {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef kernel, FindKernel(kernelId));
  const ParameterTarget target{factory, values};
  ReportUnknownNames(*kernel, parameters);
  OSTRA_RETURN_IF_ERROR(BindUniforms(*kernel, target, parameters));
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    if (parameter.kind != DrawportParameterKind::Buffer || parameter.isValue) continue;
    const DrawportParameterHandle handle = factory.GetBufferParameterHandle(parameter.name);
    OSTRA_RETURN_IF_ERROR(BindBuffer(target, handle, parameter, *kernel, _buffers.GetNames()));
    const DataBufferEntry* linked = FindBufferEntry(kernel->buffers, parameter.name);
    if (linked && linked->_deviceBuffer)
      OSTRA_RETURN_IF_ERROR(CheckElements(parameter, _buffers.GetStoredType(*linked)));
  }
  if (g_outOfCoreParallelProgram) OSTRA_RETURN_IF_ERROR(RestoreTextures(*kernel));
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    const Bool isImage = parameter.kind == DrawportParameterKind::Image;
    if (!isImage && parameter.kind != DrawportParameterKind::Texture) continue;
    const DrawportParameterHandle handle =
        isImage ? factory.GetImageParameterHandle(parameter.name) : factory.GetParameterHandle(parameter.name);
    OSTRA_RETURN_IF_ERROR(BindTexture(target, handle, parameter, *kernel, _textures, "kernel"));
  }
  OSTRA_RETURN_IF_ERROR(BindCounters(*kernel, target));
  return kernel->usesNoise ? BindNoises(*kernel, target) : Result<void>(OK);
}

Result<void> ParallelProgramGPUImpl::BindNoises(const GpuKernel& kernel, const ParameterTarget& target) const {
  for (Int i = 0; i < _noiseDataNames.GetCount(); ++i)
    OSTRA_RETURN_IF_ERROR(BindNoiseTable(target, target.factory.GetParameterHandle(_noiseDataNames[i]),
                                         kernel.uniforms.FindData(_noiseSeedNames[i])));
  return BindNoiseTable(target, target.factory.GetParameterHandle("noiseData"_iid), nullptr);
}

}  // namespace ostra
