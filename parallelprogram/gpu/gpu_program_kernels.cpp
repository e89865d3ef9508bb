// Kernels of the GPU program: adding, copying and choosing them, and the jobs that compile.
#include "ostra/core/diagnostics.h"
#include "ostra/io/file.h"
#include "ostra/object/class.h"
#include "parallelprogram/device/kernel_location.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Result<void> PrepareKernel(GpuKernel& kernel) {
  kernel.fileName = kernel.file.GetName();
  OSTRA_ASSIGN_OR_RETURN(kernel.sources.stamp, GetModificationStamp(kernel.file));
  OSTRA_ASSIGN_OR_RETURN(kernel.compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
  return OK;
}

}  // namespace

Result<void> ParallelProgramGPUImpl::AddKernel(const InternedId& kernelId, const Url& file, Bool wait) {
  if (file.IsEmpty()) return OSTRA_ILLEGAL_STATE("shader location needs to be set for initialization of kernel");
  OSTRA_ASSIGN_OR_RETURN(const KernelLocation location, LocateKernel(_resourcePath, file));
  return AddKernelFile(kernelId, location.file, location.templateArgument, wait);
}

Result<void> ParallelProgramGPUImpl::CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId,
                                                Bool wait) {
  if (sourceKernelId == newKernelId) return OK;
  const GpuKernelRef source = _kernels.FindOrNull(sourceKernelId);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source kernel could not be found");
  return AddKernelFile(newKernelId, source->file, source->templateArgument, wait);
}

Result<void> ParallelProgramGPUImpl::AddKernelFile(const InternedId& kernelId, const Url& file,
                                                   const String& templateArgument, Bool wait) {
  GpuKernel* made = NewObj<GpuKernel>();
  if (!made) return OSTRA_OUT_OF_MEMORY();
  const GpuKernelRef kernel = GpuKernelRef::Adopt(made);
  kernel->id = kernelId;
  kernel->file = file;
  kernel->templateArgument = templateArgument;
  kernel->reportOptions = _reports.GetOptions();
  return _kernels.Add(kernel, [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(PrepareKernel(*kernel));
    return StartCompileJob(*kernel, wait);
  });
}

// The result of the job stays with the kernel: adding it has succeeded, running it is what fails.
Result<void> ParallelProgramGPUImpl::StartCompileJob(GpuKernel& kernel, Bool wait) {
  auto job = Job::Create([this, id = kernel.id, wait]() -> Result<void> { return _compiler.Compile(id, wait); });
  if (!job) {
    CriticalOutput("something went wrong. compile job is nullptr. Not enqueuing");
    return OK;
  }
  {
    const std::scoped_lock guard(kernel.lock);
    kernel.state = CompileState::Running;
  }
  if (!wait) return _compileJobs.Add(*job);
  OSTRA_RETURN_IF_ERROR(Enqueue(*job));
  return Wait(**job);
}

void ParallelProgramGPUImpl::WaitForKernelCompile() { _compileJobs.Wait(); }

Bool ParallelProgramGPUImpl::HasKernel(const InternedId& kernelId) { return _kernels.FindOrNull(kernelId) != nullptr; }

Int32 ParallelProgramGPUImpl::GetProgramCount(const String& programName) { return _kernels.CountPrograms(programName); }

void ParallelProgramGPUImpl::SetActiveKernel(const InternedId& kernelId) { _kernels.SetActive(kernelId); }
InternedId ParallelProgramGPUImpl::GetActiveKernelId() const { return _kernels.GetActiveId(); }

Result<void> ParallelProgramGPUImpl::CheckActiveKernelForUpdatedShaders() { return _compiler.ReloadChanged(); }

void ParallelProgramGPUImpl::ReloadKernels() {
  if (auto reloaded = _compiler.ReloadChanged(); !reloaded) CriticalOutput("@", reloaded.GetError());
}

}  // namespace ostra
