#include "parallelprogram/module/startup.h"

#include <array>

#include "ostra/object/machine_info.h"
#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_interface_reflection.h"
#include "parallelprogram/program/parallel_program_reflection.h"
#include "parallelprogram/shaderloader/general_shader_loader_reflection.h"

OSTRA_UNIT("register");

namespace ostra {
namespace {

constinit HostMethod<Result<Bool>(const Id&)> GetFlag("GetFlag");
constinit std::array<HostMethodBase*, 1> g_machineInfoMethods = {&GetFlag};
constinit InterfaceReference g_machineInfo{kMachineInfoInterface, g_machineInfoMethods};

constinit ProcessorFlags g_processorFlags{};

}  // namespace

constinit std::array<InterfaceReference*, 2> g_hostReferences = {&g_configurationReference, &g_machineInfo};

Result<void> ReadProcessorFlags(ModuleDescriptor&) {
  ProcessorFlags& flags = g_processorFlags;
  const std::array<Bool*, std::size(MachineInfo::kFlags)> targets = {
      &flags.sse2, &flags.sse3, &flags.ssse3, &flags.sse41,     &flags.sse42,
      &flags.avx,  &flags.fma,  &flags.aes,   &flags.pclmulqdq, &flags.avx2};
  for (std::size_t i = 0; i < targets.size(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(*targets[i], GetFlag(MachineInfo::kFlags[i]));
  }
  return OK;
}

const ProcessorFlags& GetProcessorFlags() { return g_processorFlags; }

Result<void> RegisterReflections(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterReflection(module, ParallelProgramInterface::kInterfaceId, "ParallelProgramInterface",
                                           GetParallelProgramMethods()));
  OSTRA_RETURN_IF_ERROR(
      RegisterReflection(module, KernelInterface::kInterfaceId, "KernelInterface", GetKernelInterfaceMethods()));
  return RegisterReflection(module, GeneralShaderLoaderInterface::kInterfaceId, "GeneralShaderLoaderInterface",
                            GetGeneralShaderLoaderMethods());
}

}  // namespace ostra
