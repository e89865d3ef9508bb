// CpuKernelTable: the kernels of a CPU program by ID, and which of them is active.
#pragma once

#include "ostra/core/hash_map.h"
#include "parallelprogram/program/cpu_kernel.h"

namespace ostra {

// The kernel that a dispatch runs.
struct ActiveKernel {
  CpuKernel* kernel = nullptr;  // null: none is active
  const InternedId& id;

  // Errors: illegal state "no active kernel set", and for a kernel whose creation failed.
  Result<CpuKernel&> GetRunnable() const {
    if (kernel && kernel->kernel) [[likely]]
      return *kernel;
    return MakeError();
  }
  // Why it cannot run.
  Error MakeError() const;
};

class CpuKernelTable {
 public:
  using Kernels = HashMap<InternedId, CpuKernel>;

  // Adds a kernel of the class that is registered under the file's name, and makes it the active one. Errors: illegal
  // argument "Kernel id is already used"; those of the registry and of CpuKernel::CreateObject, after which nothing was
  // added.
  Result<void> Add(const InternedId& kernelId, const Url& file);
  // Adds a kernel with the links and uniforms of another one. Nothing to do for a kernel's own ID. Errors: illegal
  // argument "source kernel could not be found", "Kernel id is already used"; those of CpuKernel::CreateObject, after
  // which the copy stays, without a kernel object.
  Result<void> Copy(const InternedId& sourceId, const InternedId& newId);
  Bool Has(const InternedId& kernelId) const { return _kernels.Contains(kernelId); }
  // Kernels that were added, not copied, under the name of a file.
  Int32 CountPrograms(const String& name) const;

  // Nothing changes for an ID that no kernel has.
  void SetActive(const InternedId& kernelId);
  const InternedId& GetActiveId() const { return _activeId; }
  ActiveKernel FindActive() const { return {_active, _activeId}; }
  // Error: illegal state "no active kernel set".
  Result<CpuKernel&> GetActive() const {
    if (_active) [[likely]]
      return *_active;
    return FindActive().MakeError();
  }
  // The same, with a kernel object that can run: see ActiveKernel::GetRunnable.
  Result<CpuKernel&> GetRunnable() const { return FindActive().GetRunnable(); }

  Kernels& GetAll() { return _kernels; }
  void Reset();

 private:
  Kernels _kernels;
  InternedId _activeId;
  CpuKernel* _active = nullptr;
};

}  // namespace ostra
