// KernelDeclarationInterface: an optional interface of kernel objects that say what they declare.
//
// A program holds what such a kernel is given against its declarations: types must agree, and what a kernel uses must
// be set when it is dispatched. Classes made from kernel files have it by themselves. Hand-written classes that do
// without are given everything as it is.
#pragma once

#include "ostra/object/interface.h"
#include "ostra/object/members.h"

namespace ostra {

// A parameter: a block for a buffer, a pointer for a texture or counter. A buffer, texture or counter that the text of
// the kernel uses is required.
using KernelDeclaration = MemberDeclaration;

class KernelDeclarationInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.kerneldeclarationinterface"_id;

  // All parameters in the order of their declaration; valid as long as the object, once Init has succeeded.
  virtual const BaseArray<KernelDeclaration>& GetDeclarations() const = 0;
  // What the kernel reports (kernel_report.h); null for one that reports nothing. Such a kernel declares the buffer
  // kReportBuffer, which the program gives it.
  virtual const char* GetReportTable() const { return nullptr; }
};

}  // namespace ostra
