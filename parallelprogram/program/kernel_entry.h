// How classes made from kernel files are handed on: a function per kernel, and tables of them.
//
//   OSTRA_KERNEL_ENTRY(net_example_scale_krn, Scale, "net.example.scale.krn")     // after the kernel, at global scope
//
// Nothing registers itself: who links kernels enters their table (kernel_registration.h).
#pragma once

#include "ostra/object/class.h"

namespace ostra::kernelclasses {

// A kernel class: its ID, which is the kernel file's whole name, and what makes the Class.
struct Entry {
  const char* id;
  Result<ClassRef> (*create)();
};

}  // namespace ostra::kernelclasses

// Defines ostra::kernelclasses::Create_<identifier>() for the class ostra::kernel::<name>.
#define OSTRA_KERNEL_ENTRY(identifier, name, classId)                                          \
  namespace ostra::kernelclasses {                                                             \
  Result<ClassRef> Create_##identifier();                                                      \
  Result<ClassRef> Create_##identifier() { return Class::Create<kernel::name>(classId##_id); } \
  }
