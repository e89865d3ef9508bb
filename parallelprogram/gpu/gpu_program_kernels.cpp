// Kernels of the GPU program: the table, the active kernel, and the jobs that compile.
#include "ostra/core/diagnostics.h"
#include "ostra/io/file.h"
#include "ostra/object/class.h"
#include "parallelprogram/device/kernel_location.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> ParallelProgramGPUImpl::AddKernel(const InternedId& kernelId, const Url& file, Bool wait) {
  if (file.IsEmpty()) return OSTRA_ILLEGAL_STATE("shader location needs to be set for initialization of kernel");
  OSTRA_ASSIGN_OR_RETURN(const KernelLocation location, LocateKernel(_resourcePath, file));
  return AddKernelFile(kernelId, location.file, location.templateArgument, wait);
}

Result<void> ParallelProgramGPUImpl::CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId,
                                                Bool wait) {
  if (sourceKernelId == newKernelId) return OK;
  GpuKernelRef source;
  if (!_kernels.Find(sourceKernelId, source)) return OSTRA_ILLEGAL_ARGUMENT("source kernel could not be found");
  return AddKernelFile(newKernelId, source->file, source->templateArgument, wait);
}

// On failure the table and the active kernel are as before.
Result<void> ParallelProgramGPUImpl::AddKernelFile(const InternedId& kernelId, const Url& file,
                                                   const String& templateArgument, Bool wait) {
  GpuKernel* made = NewObj<GpuKernel>();
  if (!made) return OSTRA_OUT_OF_MEMORY();
  const GpuKernelRef kernel = GpuKernelRef::Adopt(made);
  kernel->id = kernelId;
  kernel->file = file;
  kernel->templateArgument = templateArgument;
  kernel->reportOptions = _reports.GetOptions();
  OSTRA_ASSIGN_OR_RETURN(const Bool isNew, _kernels.Insert(kernelId, kernel));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("Kernel id is already used");

  const GpuKernelRef previousKernel = _activeKernel;
  const InternedId previousId = _activeKernelId;
  const auto add = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(PrepareKernel(*kernel));
    _activeKernel = kernel;
    _activeKernelId = kernelId;
    return StartCompileJob(*kernel, wait);
  };
  Result<void> added = add();
  if (!added) {
    _kernels.Erase(kernelId);
    _activeKernel = previousKernel;
    _activeKernelId = previousId;
  }
  return added;
}

Result<void> ParallelProgramGPUImpl::PrepareKernel(GpuKernel& kernel) const {
  kernel.fileName = kernel.file.GetName();
  OSTRA_ASSIGN_OR_RETURN(kernel.sources.stamp, GetModificationStamp(kernel.file));
  OSTRA_ASSIGN_OR_RETURN(kernel.compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
  return OK;
}

// The result of the job stays with the kernel: adding it has succeeded, running it is what fails.
Result<void> ParallelProgramGPUImpl::StartCompileJob(GpuKernel& kernel, Bool wait) {
  auto job = Job::Create([this, id = kernel.id, wait]() -> Result<void> { return CompileKernel(id, wait); });
  if (!job) {
    CriticalOutput("something went wrong. compile job is nullptr. Not enqueuing");
    return OK;
  }
  {
    const std::scoped_lock guard(kernel.lock);
    kernel.state = CompileState::Running;
  }
  if (!wait) {
    OSTRA_ASSIGN_OR_RETURN(const StrongRef<JobGroup> group, GetCompileGroup());
    return group->AddJob(*job);
  }
  OSTRA_RETURN_IF_ERROR(Enqueue(*job));
  return Wait(**job);
}

Result<StrongRef<JobGroup>> ParallelProgramGPUImpl::GetCompileGroup() {
  if (_compileGroup) return _compileGroup;
  OSTRA_ASSIGN_OR_RETURN(StrongRef<JobGroup> group, JobGroup::Create());
  OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
  _compileGroup = std::move(group);
  return _compileGroup;
}

void ParallelProgramGPUImpl::WaitForKernelCompile() {
  if (!_compileGroup) return;
  if (auto waited = _compileGroup->WaitGroup(); !waited) CriticalOutput("@", waited.GetError());
  _compileGroup = nullptr;
}

Bool ParallelProgramGPUImpl::HasKernel(const InternedId& kernelId) {
  GpuKernelRef kernel;
  return _kernels.Find(kernelId, kernel);
}

Int32 ParallelProgramGPUImpl::GetProgramCount(const String& programName) {
  if (programName.IsEmpty()) return 0;
  Int32 count = 0;
  _kernels.ForEach([&](const InternedId&, const GpuKernelRef& kernel) { count += kernel->fileName == programName; });
  return count;
}

void ParallelProgramGPUImpl::SetActiveKernel(const InternedId& kernelId) {
  GpuKernelRef kernel;
  if (kernelId == _activeKernelId || !_kernels.Find(kernelId, kernel)) return;
  _activeKernel = std::move(kernel);
  _activeKernelId = kernelId;
}

InternedId ParallelProgramGPUImpl::GetActiveKernelId() const { return _activeKernelId; }

Result<GpuKernel&> ParallelProgramGPUImpl::GetActiveKernel() const {
  if (!_activeKernel) return OSTRA_ILLEGAL_STATE("no active kernel set");
  OSTRA_RETURN_IF_ERROR(_activeKernel->ApplyCompiled());
  return *_activeKernel;
}

Result<GpuKernel&> ParallelProgramGPUImpl::GetRunnableKernel() const {
  if (!_activeKernel) return OSTRA_ILLEGAL_STATE("no active kernel set");
  OSTRA_RETURN_IF_ERROR(_activeKernel->RequireCompiled());
  return *_activeKernel;
}

Result<GpuKernelRef> ParallelProgramGPUImpl::FindKernel(const InternedId& kernelId) const {
  GpuKernelRef kernel;
  if (!_kernels.Find(kernelId, kernel)) return OSTRA_ILLEGAL_STATE("kernel not found");
  return kernel;
}

Result<BaseArray<GpuKernelRef>> ParallelProgramGPUImpl::GetKernels() const { return _kernels.GetValues(); }

}  // namespace ostra
