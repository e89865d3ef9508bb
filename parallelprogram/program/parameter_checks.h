// Holds what the parameters of a kernel are given against what the kernel declares. The checks are for kernels that say
// what they declare (kernel_declaration_interface.h); a name that such a kernel does not have passes all of them.
#pragma once

#include "parallelprogram/program/kernel_declaration_interface.h"

namespace ostra {

class ParameterChecks {
 public:
  ParameterChecks(const BaseArray<KernelDeclaration>& declarations, const InternedId& kernelId)
      : _declarations(declarations), _kernelId(kernelId) {}

  // Null when the kernel has no such parameter.
  const KernelDeclaration* Find(const InternedId& name) const;

  // Errors: illegal argument when the parameter is of another kind or type.
  Result<void> CheckValue(const InternedId& name, DataType type) const;
  Result<void> CheckBuffer(const InternedId& name, DataType elementType, Int stride) const;
  Result<void> CheckTexture(const InternedId& name) const;
  Result<void> CheckCounter(const InternedId& name) const;

  // The error of a dispatch without a parameter that the kernel needs: illegal state.
  Result<void> MakeUnsetError(const KernelDeclaration& declaration) const;

 private:
  Result<void> MakeKindError(const KernelDeclaration& declaration, std::string_view given) const;
  const BaseArray<KernelDeclaration>& _declarations;
  InternedId _kernelId;
};

}  // namespace ostra
