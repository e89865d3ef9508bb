// GpuKernelTable: the kernels of a GPU program by ID, and which of them is active.
#pragma once

#include "ostra/core/synchronized_hash_map.h"
#include "parallelprogram/gpu/gpu_kernel.h"

namespace ostra {

// The driving thread changes it; Find may be called by compile jobs meanwhile.
class GpuKernelTable {
 public:
  // Adds a kernel, makes it the active one and calls `begin`. Errors: illegal argument "Kernel id is already used";
  // those of `begin`; out of memory. The table and the active kernel are then as before.
  template <class Begin>
  Result<void> Add(const GpuKernelRef& kernel, Begin&& begin);

  // Error: illegal state "kernel not found".
  Result<GpuKernelRef> Find(const InternedId& kernelId) const;
  // Null when there is none.
  GpuKernelRef FindOrNull(const InternedId& kernelId) const;
  // Kernels of files of this name; 0 for no name.
  Int32 CountPrograms(const String& fileName) const;
  // References to all kernels, for loops that must not hold the table's lock. Error: out of memory.
  Result<BaseArray<GpuKernelRef>> GetAll() const { return _kernels.GetValues(); }

  // Calls `visit(kernel)` for all kernels, with the table locked.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    _kernels.ForEach([&](const InternedId&, const GpuKernelRef& kernel) { visit(*kernel); });
  }

  // Nothing changes for an ID that no kernel has.
  void SetActive(const InternedId& kernelId);
  const InternedId& GetActiveId() const { return _activeId; }
  const GpuKernelRef& FindActive() const { return _active; }  // null: none is active
  // With what its compile job has found. Errors: illegal state "no active kernel set"; out of memory.
  Result<GpuKernel&> GetActive() const;
  // The same, ready to run. Errors also: illegal state while it is compiled, or when that has failed.
  Result<GpuKernel&> GetRunnable() const;

  void Reset();

 private:
  Result<void> Insert(const GpuKernelRef& kernel);

  SynchronizedHashMap<InternedId, GpuKernelRef> _kernels;
  InternedId _activeId;
  GpuKernelRef _active;
};

template <class Begin>
Result<void> GpuKernelTable::Add(const GpuKernelRef& kernel, Begin&& begin) {
  OSTRA_RETURN_IF_ERROR(Insert(kernel));
  GpuKernelRef previous = std::exchange(_active, kernel);
  InternedId previousId = std::exchange(_activeId, kernel->id);
  Result<void> begun = begin();
  if (!begun) {
    _kernels.Erase(kernel->id);
    _active = std::move(previous);
    _activeId = std::move(previousId);
  }
  return begun;
}

}  // namespace ostra
