#include "parallelprogram/module/units.h"

#include "ostra/object/registration.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/gpu/parser_cache.h"
#include "parallelprogram/module/configuration_variables.h"
#include "parallelprogram/module/kernel_base_class.h"
#include "parallelprogram/program/cpu_program.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "parallelprogram/textures/texture_types.h"

namespace ostra {

Result<void> EnterGeneralShaderLoader(ModuleDescriptor&) {
  g_checkActiveProgramForUpdatedShaders =
      RegisterConfiguration("g_checkActiveProgramForUpdatedShaders", g_checkActiveProgramForUpdatedShaders, false,
                            ConfigKind::Bool, "enables reloading of shader files from hd"_s);
  return OK;
}

void LeaveGeneralShaderLoader(ModuleDescriptor&) { g_configurationTable.RemoveLast(); }

Result<void> EnterShaderDataEntries(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterDataType(module, DataTypeOf<DataBufferEntry>::Make()));
  return RegisterDataType(module, DataTypeOf<TextureSamplerEntry>::Make());
}

Result<void> EnterKernelBase(ModuleDescriptor& module) {
  // The unit of the registry comes later and declares it again: a registry may be declared by everyone who needs it.
  OSTRA_RETURN_IF_ERROR(RegisterRegistry(module, kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(ClassRef base, CreateKernelBaseClass());
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, base));
  return RegisterClass(module, kKernelClassRegistry, base);
}

Result<void> EnterKernelTextures(ModuleDescriptor& module) {
  return ForEachSamplerType([&](DataType type) { return RegisterDataType(module, type); });
}

Result<void> EnterCpuProgram(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef program, CreateCpuProgramClass());
  return RegisterClass(module, program);
}

Result<void> EnterGpuProgram(ModuleDescriptor& module) {
  // First what can fail: nothing takes the variables back from a unit that was not entered.
  OSTRA_ASSIGN_OR_RETURN(ClassRef program, CreateGpuProgramClass());
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, program));
  g_reloadKernelsParallelProgram =
      RegisterConfiguration("g_reloadKernelsParallelProgram", g_reloadKernelsParallelProgram, false, ConfigKind::Bool,
                            "enables reloading of kernel files from hd"_s);
  g_32bitOnlyParallelProgram = RegisterConfiguration("g_32bitOnlyParallelProgram", g_32bitOnlyParallelProgram, false,
                                                     ConfigKind::Bool, "sets all textures to 32-bit"_s);
  g_outOfCoreParallelProgram = RegisterConfiguration("g_outOfCoreParallelProgram", g_outOfCoreParallelProgram, false,
                                                     ConfigKind::Bool, "enables out of core simulation"_s);
  return OK;
}

void LeaveGpuProgram(ModuleDescriptor&) {
  ResetParserCache();
  for (int i = 0; i < 3; ++i) g_configurationTable.RemoveLast();
}

Result<void> EnterTextureStructures(ModuleDescriptor& module) {
  return ForEachTextureType([&](DataType type) { return RegisterDataType(module, type); });
}

Result<void> EnterKernelClassRegistry(ModuleDescriptor& module) {
  return RegisterRegistry(module, kKernelClassRegistry);
}

Result<void> EnterModuleFrame(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterInterface(module, ParallelProgramInterface::kInterfaceId, "ParallelProgramInterface"));
  OSTRA_RETURN_IF_ERROR(RegisterInterface(module, KernelInterface::kInterfaceId, "KernelInterface"));
  return RegisterInterface(module, GeneralShaderLoaderInterface::kInterfaceId, "GeneralShaderLoaderInterface");
}

}  // namespace ostra
