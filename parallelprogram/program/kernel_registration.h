// Registers tables of kernel classes. ostra_add_kernels makes such a table for a target:
//
//   #include "myapp_kernels.h"
//   static Result<void> RegisterOwnKernels(ModuleDescriptor& module) {
//     return RegisterKernels(module, GetKernels_myapp());
//   }
//   ... .units = {{"kernels", &RegisterOwnKernels}}
//
// The parallelprogram module must be loaded before: the registry is its.
#pragma once

#include <span>

#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_entry.h"
#include "parallelprogram/program/kernel_interface.h"

namespace ostra {

using KernelTable = std::span<const kernelclasses::Entry>;

// Enters the classes; they are taken back with the module. Errors: illegal state when the parallelprogram module is not
// loaded; those of the registry (illegal argument for an ID that is taken) and out of memory.
inline Result<void> RegisterKernels(ModuleDescriptor& module, KernelTable kernels) {
  return RegisterClasses(module, kKernelClassRegistry, kernels, "kernel", "parallelprogram");
}

}  // namespace ostra

// A plug-in module with one kernel class.
#define OSTRA_KERNEL_MODULE(identifier, classId)                                                               \
  namespace ostra::kernelclasses {                                                                             \
  static constexpr Entry kEntries[] = {{classId, &Create_##identifier}};                                       \
  static constexpr Id kNeeds[] = {"net.ostra.parallelprogram.framework"_id};                                   \
  static constexpr ModuleEntry kUnits[] = {                                                                    \
      {"kernel", [](ModuleDescriptor& module) -> Result<void> { return RegisterKernels(module, kEntries); }}}; \
  }                                                                                                            \
  OSTRA_MODULE_DESCRIPTOR = {.id = classId##_id,                                                               \
                             .version = "1",                                                                   \
                             .requiredFrameworks = ostra::kernelclasses::kNeeds,                               \
                             .units = ostra::kernelclasses::kUnits};
