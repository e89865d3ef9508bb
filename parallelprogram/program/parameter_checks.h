// Holds what the parameters of a kernel are given against what the kernel declares. The checks are for kernels that say
// what they declare (kernel_declaration_interface.h); null, for a name that the kernel does not have, passes all of
// them.
#pragma once

#include "parallelprogram/program/kernel_declaration_interface.h"

namespace ostra {

class ParameterChecks {
 public:
  ParameterChecks(const BaseArray<KernelDeclaration>& declarations, const InternedId& kernelId)
      : _declarations(declarations), _kernelId(kernelId) {}

  // Null when the kernel has no such parameter.
  const KernelDeclaration* Find(const InternedId& name) const;

  // Whether the parameter can be set to a value of the type.
  static Bool TakesValue(const KernelDeclaration& declaration, DataType type);

  // Errors: illegal argument when the parameter is of another kind or type.
  Result<void> CheckValue(const KernelDeclaration* declaration, DataType type) const;
  Result<void> CheckBuffer(const KernelDeclaration* declaration, DataType elementType, Int stride) const;
  Result<void> CheckTexture(const KernelDeclaration* declaration) const;
  Result<void> CheckCounter(const KernelDeclaration* declaration) const;

  // The error of a dispatch without a parameter that the kernel needs: illegal state.
  Result<void> MakeUnsetError(const KernelDeclaration& declaration) const;

 private:
  Result<void> MakeKindError(const KernelDeclaration& declaration, std::string_view given) const;
  const BaseArray<KernelDeclaration>& _declarations;
  InternedId _kernelId;
};

}  // namespace ostra
