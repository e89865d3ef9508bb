// What the units of the module register, one function per unit that has something.
#pragma once

#include "ostra/object/module_descriptor.h"

namespace ostra {

Result<void> RegisterGeneralShaderLoader(ModuleDescriptor& module);
void UnregisterGeneralShaderLoader(ModuleDescriptor& module);

Result<void> RegisterShaderDataEntries(ModuleDescriptor& module);

Result<void> RegisterKernelBase(ModuleDescriptor& module);
Result<void> RegisterKernelTextures(ModuleDescriptor& module);
Result<void> RegisterCpuProgram(ModuleDescriptor& module);

Result<void> RegisterGpuProgram(ModuleDescriptor& module);
void UnregisterGpuProgram(ModuleDescriptor& module);

Result<void> RegisterTextureStructures(ModuleDescriptor& module);
Result<void> RegisterKernelClassRegistry(ModuleDescriptor& module);
Result<void> RegisterModuleFrame(ModuleDescriptor& module);

}  // namespace ostra
