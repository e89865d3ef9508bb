// What the units of the module register, one function per unit that has something.
#pragma once

#include "ostra/object/module_descriptor.h"

namespace ostra {

Result<void> EnterGeneralShaderLoader(ModuleDescriptor& module);
void LeaveGeneralShaderLoader(ModuleDescriptor& module);

Result<void> EnterShaderDataEntries(ModuleDescriptor& module);

Result<void> EnterKernelBase(ModuleDescriptor& module);
Result<void> EnterKernelTextures(ModuleDescriptor& module);
Result<void> EnterCpuProgram(ModuleDescriptor& module);

Result<void> EnterGpuProgram(ModuleDescriptor& module);
void LeaveGpuProgram(ModuleDescriptor& module);

Result<void> EnterTextureStructures(ModuleDescriptor& module);
Result<void> EnterKernelClassRegistry(ModuleDescriptor& module);
Result<void> EnterModuleFrame(ModuleDescriptor& module);

}  // namespace ostra
