// How classes made from kernel files are handed on: a function per kernel, and tables of them.
//
//   OSTRA_KERNEL_ENTRY(net_example_scale_krn, Scale, "net.example.scale.krn")     // after the kernel, at global scope
//
// Nothing registers itself: who links kernels enters their table (kernel_registration.h).
#pragma once

#include "ostra/object/registration.h"

namespace ostra::kernelclasses {

// The ID of a kernel class is the kernel file's whole name.
using Entry = ClassEntry;

}  // namespace ostra::kernelclasses

// Defines ostra::kernelclasses::Create_<identifier>() for the class ostra::kernel::<name>.
#define OSTRA_KERNEL_ENTRY(identifier, name, classId)                                          \
  namespace ostra::kernelclasses {                                                             \
  Result<ClassRef> Create_##identifier();                                                      \
  Result<ClassRef> Create_##identifier() { return Class::Create<kernel::name>(classId##_id); } \
  }
