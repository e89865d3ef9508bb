// The module's start-up entries, and what it calls of the host through references.
#pragma once

#include <array>

#include "ostra/object/module_descriptor.h"

namespace ostra {

// The references of the module's descriptor.
extern std::array<InterfaceReference*, 2> g_hostReferences;

// The one of them that the entry below calls.
extern InterfaceReference g_configurationReference;

// "configuration": hands the module's variables to the host's configuration service, in the order of their
// registration, unless the module does not take part; takes them back and releases their help texts.
Result<void> StartConfiguration(ModuleDescriptor& module);
void StopConfiguration(ModuleDescriptor& module);

// ".cpuidinit": reads what the processor can do.
Result<void> ReadProcessorFlags(ModuleDescriptor& module);

// ".reflection": registers the methods of the module's interfaces.
Result<void> RegisterReflections(ModuleDescriptor& module);

// The processor's features as ReadProcessorFlags found them, in the order of MachineInfo::kFlags.
struct ProcessorFlags {
  Bool sse2, sse3, ssse3, sse41, sse42, avx, fma, aes, pclmulqdq, avx2;
};
const ProcessorFlags& GetProcessorFlags();

}  // namespace ostra
