#include "parallelprogram/gpu/gpu_kernel_table.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> GpuKernelTable::Insert(const GpuKernelRef& kernel) {
  OSTRA_ASSIGN_OR_RETURN(const Bool isNew, _kernels.Insert(kernel->id, kernel));
  return isNew ? Result<void>(OK) : OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");
}

Result<GpuKernelRef> GpuKernelTable::Find(const InternedId& kernelId) const {
  GpuKernelRef kernel = FindOrNull(kernelId);
  if (!kernel) return OSTRA_ILLEGAL_STATE("kernel not found");
  return kernel;
}

GpuKernelRef GpuKernelTable::FindOrNull(const InternedId& kernelId) const {
  GpuKernelRef kernel;
  _kernels.Find(kernelId, kernel);
  return kernel;
}

Int32 GpuKernelTable::CountPrograms(const String& fileName) const {
  if (fileName.IsEmpty()) return 0;
  Int32 count = 0;
  _kernels.ForEach([&](const InternedId&, const GpuKernelRef& kernel) { count += kernel->fileName == fileName; });
  return count;
}

void GpuKernelTable::SetActive(const InternedId& kernelId) {
  if (kernelId == _activeId) return;
  GpuKernelRef kernel = FindOrNull(kernelId);
  if (!kernel) return;
  _active = std::move(kernel);
  _activeId = kernelId;
}

Result<GpuKernel&> GpuKernelTable::GetActive() const {
  if (!_active) return OSTRA_ILLEGAL_STATE("no active kernel set");
  OSTRA_RETURN_IF_ERROR(_active->ApplyCompiled());
  return *_active;
}

Result<GpuKernel&> GpuKernelTable::GetRunnable() const {
  if (!_active) return OSTRA_ILLEGAL_STATE("no active kernel set");
  OSTRA_RETURN_IF_ERROR(_active->RequireCompiled());
  return *_active;
}

void GpuKernelTable::Reset() {
  _active = nullptr;
  _activeId = InternedId();
  _kernels.Reset();
}

}  // namespace ostra
