#include "parallelprogram/program/cpu_kernel_table.h"

#include "ostra/core/format.h"
#include "ostra/object/class.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

Result<void> CpuKernelTable::Add(const InternedId& kernelId, const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(auto position, _kernels.Insert(kernelId));
  if (!position.isNew) return OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");
  CpuKernel& kernel = *position.value;

  auto fill = [&kernel, &file]() -> Result<void> {
    kernel.file = file;
    kernel.sourceName = file.GetName();
    OSTRA_ASSIGN_OR_RETURN(Id classId, Id::Create(kernel.sourceName.GetView()));
    OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
    OSTRA_ASSIGN_OR_RETURN(ClassRef kernelClass, registry.FindEntryValue(classId));
    return kernel.CreateObject(*kernelClass);
  };
  if (auto filled = fill(); !filled) {
    _kernels.Erase(kernelId);
    return filled;
  }
  kernel.kernelId = kernelId;
  _active = &kernel;
  _activeId = kernelId;
  return OK;
}

Result<void> CpuKernelTable::Copy(const InternedId& sourceId, const InternedId& newId) {
  if (sourceId == newId) return OK;
  const CpuKernel* source = _kernels.Find(sourceId);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source kernel could not be found");
  OSTRA_ASSIGN_OR_RETURN(auto position, _kernels.Insert(newId));
  if (!position.isNew) return OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");
  CpuKernel& copy = *position.value;
  copy.kernelId = source->kernelId;
  copy.file = source->file;
  copy.bufferLinks = source->bufferLinks;
  copy.uniforms = source->uniforms;
  copy.atomicLinks = source->atomicLinks;
  copy.textureLinks = source->textureLinks;
  if (!source->kernel) return OSTRA_ILLEGAL_STATE("The kernel \"@\" has no kernel object to copy.", sourceId);
  return copy.CreateObject(source->kernel->GetClass());
}

Int32 CpuKernelTable::CountPrograms(const String& name) const {
  if (name.IsEmpty()) return 0;
  Int32 count = 0;
  for (const auto& [id, kernel] : _kernels) count += kernel.sourceName == name;
  return count;
}

void CpuKernelTable::SetActive(const InternedId& kernelId) {
  CpuKernel* kernel = kernelId == _activeId ? nullptr : _kernels.Find(kernelId);
  if (!kernel) return;
  _active = kernel;
  _activeId = kernelId;
}

Error ActiveKernel::MakeError() const {
  if (!kernel) return OSTRA_ILLEGAL_STATE("no active kernel set");
  return OSTRA_ILLEGAL_STATE("The kernel \"@\" cannot run because its creation failed.", id);
}

void CpuKernelTable::Reset() {
  _kernels.Reset();
  _active = nullptr;
  _activeId = InternedId();
}

}  // namespace ostra
