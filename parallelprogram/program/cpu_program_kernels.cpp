// Kernels of the CPU program: the table, the active kernel, and what the CPU has nothing to do for.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/noise_modes.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

constexpr Int64 kAssumedMemory = Int64{1} << 40;  // bytes; the CPU program has no budget of its own

// Adds the names of a pattern for all noises. On error the array is as before.
Result<void> AppendNumberedNames(BaseArray<InternedId>& names, std::string_view pattern) {
  OSTRA_RETURN_IF_ERROR(names.Reserve(names.GetCount() + kMaxNoises));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<InternedId> added, MakeNoiseNames(pattern));
  for (const InternedId& name : added) OSTRA_RETURN_IF_ERROR(names.Append(name));
  return OK;
}

}  // namespace

Result<ClassRef> CreateCpuProgramClass() { return Class::Create<ParallelProgramCPUImpl>(kCpuProgramClass); }

// Calling Init again appends the names again; only the first 128 are ever read.
Result<void> ParallelProgramCPUImpl::Init(const Url&, const DrawportContextRef*, Int32, Bool) {
  OSTRA_ASSIGN_OR_RETURN(_noiseDataName, InternedId::Create("noiseData"));
  OSTRA_RETURN_IF_ERROR(AppendNumberedNames(_noiseModeNames, kNoiseModePattern));
  return AppendNumberedNames(_noiseSeedNames, kNoiseSeedPattern);
}

Result<void> ParallelProgramCPUImpl::CreateKernelObject(KernelEntry& entry, const Class& kernelClass) {
  OSTRA_ASSIGN_OR_RETURN(KernelRef kernel, kernelClass.CreateObject<KernelInterface>());
  OSTRA_RETURN_IF_ERROR(kernel->Init());
  entry.range = ostra::FindInterface<KernelRangeInterface>(*kernel);
  entry.groups = ostra::FindInterface<KernelGroupInterface>(*kernel);
  entry.declarations = ostra::FindInterface<KernelDeclarationInterface>(*kernel);
  entry.kernel = std::move(kernel);
  entry.unset = FindUnset(entry);
  if (const char* const table = entry.declarations ? entry.declarations->GetReportTable() : nullptr) {
    OSTRA_ASSIGN_OR_RETURN(entry.reports, KernelReportTable::Parse(table));
  }
  return OK;
}

Result<void> ParallelProgramCPUImpl::AddKernel(const InternedId& kernelId, const Url& file, Bool) {
  OSTRA_ASSIGN_OR_RETURN(auto position, _kernels.Insert(kernelId));
  if (!position.isNew) return OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");
  KernelEntry& entry = *position.value;

  auto fill = [&entry, &file]() -> Result<void> {
    entry.file = file;
    entry.sourceName = file.GetName();
    OSTRA_ASSIGN_OR_RETURN(Id classId, Id::Create(entry.sourceName.GetView()));
    OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
    OSTRA_ASSIGN_OR_RETURN(ClassRef kernelClass, registry.FindEntryValue(classId));
    return CreateKernelObject(entry, *kernelClass);
  };
  if (auto filled = fill(); !filled) {
    _kernels.Erase(kernelId);
    return filled;
  }
  entry.kernelId = kernelId;
  _activeKernel = &entry;
  _activeKernelId = kernelId;
  return OK;
}

// A copy whose kernel object cannot be made stays in the table, without one.
Result<void> ParallelProgramCPUImpl::CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId, Bool) {
  if (sourceKernelId == newKernelId) return OK;
  const KernelEntry* source = _kernels.Find(sourceKernelId);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source kernel could not be found");
  OSTRA_ASSIGN_OR_RETURN(auto position, _kernels.Insert(newKernelId));
  if (!position.isNew) return OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");
  KernelEntry& copy = *position.value;
  copy.kernelId = source->kernelId;
  copy.file = source->file;
  copy.bufferLinks = source->bufferLinks;
  copy.uniforms = source->uniforms;
  copy.atomicLinks = source->atomicLinks;
  copy.textureLinks = source->textureLinks;
  if (!source->kernel) return OSTRA_ILLEGAL_STATE("The kernel \"@\" has no kernel object to copy.", sourceKernelId);
  return CreateKernelObject(copy, source->kernel->GetClass());
}

Bool ParallelProgramCPUImpl::HasKernel(const InternedId& kernelId) { return _kernels.Contains(kernelId); }

Int32 ParallelProgramCPUImpl::GetProgramCount(const String& programName) {
  if (programName.IsEmpty()) return 0;
  Int32 count = 0;
  for (const auto& [id, entry] : _kernels) count += entry.sourceName == programName;
  return count;
}

void ParallelProgramCPUImpl::SetActiveKernel(const InternedId& kernelId) {
  KernelEntry* entry = kernelId == _activeKernelId ? nullptr : _kernels.Find(kernelId);
  if (!entry) return;
  _activeKernel = entry;
  _activeKernelId = kernelId;
}

InternedId ParallelProgramCPUImpl::GetActiveKernelId() const { return _activeKernelId; }

Result<ParallelProgramCPUImpl::KernelEntry&> ParallelProgramCPUImpl::GetActiveKernel() const {
  if (!_activeKernel) return OSTRA_ILLEGAL_STATE("no active kernel set");
  return *_activeKernel;
}

Result<ParallelProgramCPUImpl::KernelEntry&> ParallelProgramCPUImpl::GetRunnableKernel() const {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  if (!entry.kernel)
    return OSTRA_ILLEGAL_STATE("The kernel \"@\" cannot run because its creation failed.", _activeKernelId);
  return entry;
}

// What is kept: the noise names, so that the program needs no other Init, and the storage of the counters, whose
// addresses are good as long as the program. The counters' names are forgotten.
Result<void> ParallelProgramCPUImpl::Reset() {
  _openRecording.reset();
  _recordings.Clear();
  _kernels.Reset();
  _activeKernel = nullptr;
  _activeKernelId = InternedId();
  _bufferStorage.FreeAll();
  _buffers.Reset();
  _samplerStorage.FreeAll();
  _textures.Reset();
  _counters.Reset();
  return OK;
}

Result<void> ParallelProgramCPUImpl::Execute(Bool) { return OK; }
void ParallelProgramCPUImpl::WaitForKernelCompile() {}
Result<void> ParallelProgramCPUImpl::CheckActiveKernelForUpdatedShaders() { return OK; }
Result<void> ParallelProgramCPUImpl::UpdateDrawportContext(const DrawportContextRef&) { return OK; }
void ParallelProgramCPUImpl::ReloadKernels() {}

Bool ParallelProgramCPUImpl::GetMemoryInformation(Int64& freeMemory, Int64& totalMemory) const {
  freeMemory = -1;
  totalMemory = -1;
  return true;
}

void ParallelProgramCPUImpl::GetSupportReadWritePixelFormats(Bool& readWrite16bit, Bool& readWrite8bit) const {
  readWrite16bit = false;
  readWrite8bit = true;
}

std::pair<Int64, Int64> ParallelProgramCPUImpl::GetAvailableAndTotalVRAMBudget() const {
  return {kAssumedMemory, kAssumedMemory};
}

}  // namespace ostra
