#include "parallelprogram/gpu/gpu_binder.h"

#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/element_check.h"

namespace ostra {
namespace {

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

Result<DrawportParameterBinder> GpuBinder::Make(const InternedId& kernelId) {
  return DrawportParameterBinder::Create([this, id = kernelId](DrawportProgramFactory& factory,
                                                               DrawportParameterValueSet& values,
                                                               Block<const DrawportParameter> parameters) {
    return Bind(id, {factory, values}, parameters);
  });
}

Result<void> GpuBinder::Bind(const InternedId& kernelId, const ParameterTarget& target,
                             Block<const DrawportParameter> parameters) {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernelRef kernel, _kernels.Find(kernelId));
  ReportUnknownNames(*kernel, parameters);
  OSTRA_RETURN_IF_ERROR(BindUniforms(*kernel, target, parameters));
  OSTRA_RETURN_IF_ERROR(BindBuffers(*kernel, target, parameters));
  if (g_outOfCoreParallelProgram) OSTRA_RETURN_IF_ERROR(_textures.Restore(_contexts, *kernel));
  OSTRA_RETURN_IF_ERROR(MakeTexturesWritable(*kernel, parameters));
  OSTRA_RETURN_IF_ERROR(BindTextures(*kernel, target, parameters));
  OSTRA_RETURN_IF_ERROR(BindCounters(*kernel, target));
  return kernel->usesNoise ? _noises.Bind(*kernel, target) : Result<void>(OK);
}

Result<void> GpuBinder::BindBuffers(GpuKernel& kernel, const ParameterTarget& target,
                                    Block<const DrawportParameter> parameters) const {
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    if (parameter.kind != DrawportParameterKind::Buffer || parameter.isValue) continue;
    const DrawportParameterHandle handle = target.factory.GetBufferParameterHandle(parameter.name);
    OSTRA_RETURN_IF_ERROR(BindBuffer(target, handle, parameter, kernel, _buffers.GetNames()));
    const DataBufferEntry* linked = FindBufferEntry(kernel.buffers, parameter.name);
    if (linked && linked->_deviceBuffer)
      OSTRA_RETURN_IF_ERROR(CheckElements(parameter, _buffers.GetStoredType(*linked)));
  }
  return OK;
}

// Before any texture is bound: one may be linked to several parameters.
Result<void> GpuBinder::MakeTexturesWritable(GpuKernel& kernel, Block<const DrawportParameter> parameters) {
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const Bool isTexture = parameters[i].kind == DrawportParameterKind::Texture;
    if (parameters[i].kind != DrawportParameterKind::Image && !(isTexture && _textures.AreAllWritable())) continue;
    OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry* const linked,
                           FindLinkedTexture(parameters[i], kernel, _textures.GetNames()));
    if (linked && linked->_texture) OSTRA_RETURN_IF_ERROR(_textures.MakeWritable(_contexts, linked->_texture));
  }
  return OK;
}

Result<void> GpuBinder::BindTextures(GpuKernel& kernel, const ParameterTarget& target,
                                     Block<const DrawportParameter> parameters) const {
  for (Int i = 0; i < parameters.GetCount(); ++i) {
    const DrawportParameter& parameter = parameters[i];
    const Bool isImage = parameter.kind == DrawportParameterKind::Image;
    if (!isImage && parameter.kind != DrawportParameterKind::Texture) continue;
    const DrawportParameterHandle handle = isImage ? target.factory.GetImageParameterHandle(parameter.name)
                                                   : target.factory.GetParameterHandle(parameter.name);
    OSTRA_RETURN_IF_ERROR(BindTexture(target, handle, parameter, kernel, _textures.GetNames(), "kernel"));
  }
  return OK;
}

}  // namespace ostra
