// CpuHandOver: gives a kernel object what its kernel is linked to. What the object holds the address of is noted, so
// that it can be taken back: after an update no kernel holds anything that it is not linked to.
#pragma once

#include "parallelprogram/program/cpu_buffer_elements.h"
#include "parallelprogram/program/cpu_noises.h"
#include "parallelprogram/program/parameter_checks.h"

namespace ostra {

class CpuHandOver {
 public:
  // Messages call the kernel `kernelId`. Update needs one with an object.
  CpuHandOver(CpuKernel& kernel, const InternedId& kernelId)
      : _kernel(kernel), _kernelId(kernelId), _checks(kernel.GetDeclarations(), kernelId) {}

  // Hands over uniforms, buffers, textures, counters and noises. An update that fails takes back what it has not handed
  // over again: addresses from the update before may be old. Errors: illegal argument for what the kernel declares
  // otherwise; illegal state "stored data block has size 0"; those of CpuNoises; out of memory.
  Result<void> Update(const CpuNoises& noises);
  // Clears every parameter that holds `resource`.
  void TakeBack(const void* resource);
  // Hands a buffer over again that has moved, if the kernel holds it.
  void UpdateMoved(const BufferSlot& slot);
  // Error: illegal state when the kernel needs a parameter that is not set.
  Result<void> CheckIsSet() const;

 private:
  Result<void> GiveAll(const CpuNoises& noises);
  Result<void> GiveUniforms();
  Result<void> GiveBuffers();
  // Error: illegal argument when a texture is not of the kind that the kernel declares.
  Result<void> GiveTextures();
  Result<void> GiveCounters();
  // Sets a parameter to `data`, the address of `resource` or of a block of its elements, and notes that it does.
  Result<void> Give(const InternedId& name, const void* data, const void* resource);
  // Clears a parameter: a pointer becomes null, a block empty, as in a kernel that was never given anything.
  void Clear(const InternedId& name);
  void Clear(HandedOver& given);
  // Null, and a diagnostic, for a name that the kernel does not declare.
  const KernelDeclaration* FindDeclaration(const InternedId& name);

  CpuKernel& _kernel;
  const InternedId& _kernelId;
  const ParameterChecks _checks;
};

}  // namespace ostra
