#include "parallelprogram/module/units.h"

#include "ostra/object/registration.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/module/kernel_base_class.h"
#include "parallelprogram/program/cpu_program.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "parallelprogram/shaderloader/general_shader_loader.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "parallelprogram/textures/texture_types.h"

namespace ostra {

namespace {

// A variable that is false by default. It is taken back with the registrations of its unit.
template <Bool* variable>
Result<void> RegisterVariable(ModuleDescriptor& module, const char* name, const String& help) {
  OSTRA_RETURN_IF_ERROR(RegisterUndo(module, [] { g_configurationTable.Remove(*variable); }));
  *variable = RegisterConfiguration(name, *variable, false, ConfigKind::Bool, help);
  return OK;
}

}  // namespace

Result<void> RegisterGeneralShaderLoader(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef loader, CreateGeneralShaderLoaderClass());
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, loader));
  return RegisterVariable<&g_checkActiveProgramForUpdatedShaders>(module, "g_checkActiveProgramForUpdatedShaders",
                                                                  "enables reloading of shader files from hd"_s);
}

void UnregisterGeneralShaderLoader(ModuleDescriptor&) { ResetStageParserCache(); }

Result<void> RegisterShaderDataEntries(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterDataType(module, DataTypeOf<DataBufferEntry>::Make()));
  return RegisterDataType(module, DataTypeOf<TextureSamplerEntry>::Make());
}

Result<void> RegisterKernelBase(ModuleDescriptor& module) {
  // The unit of the registry comes later and declares it again: a registry may be declared by everyone who needs it.
  OSTRA_RETURN_IF_ERROR(RegisterRegistry(module, kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(ClassRef base, CreateKernelBaseClass());
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, base));
  return RegisterClass(module, kKernelClassRegistry, base);
}

Result<void> RegisterKernelTextures(ModuleDescriptor& module) {
  return ForEachSamplerType([&](DataType type) { return RegisterDataType(module, type); });
}

Result<void> RegisterCpuProgram(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef program, CreateCpuProgramClass());
  return RegisterClass(module, program);
}

Result<void> RegisterGpuProgram(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef program, CreateGpuProgramClass());
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, program));
  OSTRA_RETURN_IF_ERROR(RegisterVariable<&g_reloadKernelsParallelProgram>(
      module, "g_reloadKernelsParallelProgram", "enables reloading of kernel files from hd"_s));
  OSTRA_RETURN_IF_ERROR(RegisterVariable<&g_32bitOnlyParallelProgram>(module, "g_32bitOnlyParallelProgram",
                                                                      "sets all textures to 32-bit"_s));
  return RegisterVariable<&g_outOfCoreParallelProgram>(module, "g_outOfCoreParallelProgram",
                                                       "enables out of core simulation"_s);
}

void UnregisterGpuProgram(ModuleDescriptor&) { ResetParserCache(); }

Result<void> RegisterTextureStructures(ModuleDescriptor& module) {
  return ForEachTextureType([&](DataType type) { return RegisterDataType(module, type); });
}

Result<void> RegisterKernelClassRegistry(ModuleDescriptor& module) {
  return RegisterRegistry(module, kKernelClassRegistry);
}

Result<void> RegisterModuleFrame(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterInterface(module, ParallelProgramInterface::kInterfaceId, "ParallelProgramInterface"));
  OSTRA_RETURN_IF_ERROR(RegisterInterface(module, KernelInterface::kInterfaceId, "KernelInterface"));
  return RegisterInterface(module, GeneralShaderLoaderInterface::kInterfaceId, "GeneralShaderLoaderInterface");
}

}  // namespace ostra
