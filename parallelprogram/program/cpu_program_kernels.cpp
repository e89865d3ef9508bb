// Kernels of the CPU program, and what the CPU has nothing to do for.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

constexpr Int64 kAssumedMemory = Int64{1} << 40;  // bytes; the CPU program has no budget of its own

}  // namespace

Result<ClassRef> CreateCpuProgramClass() { return Class::Create<ParallelProgramCPUImpl>(kCpuProgramClass); }

Result<void> ParallelProgramCPUImpl::Init(const Url&, const DrawportContextRef*, Int32, Bool) { return _noises.Init(); }

Result<void> ParallelProgramCPUImpl::AddKernel(const InternedId& kernelId, const Url& file, Bool) {
  return _kernels.Add(kernelId, file);
}

Result<void> ParallelProgramCPUImpl::CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId, Bool) {
  return _kernels.Copy(sourceKernelId, newKernelId);
}

Bool ParallelProgramCPUImpl::HasKernel(const InternedId& kernelId) { return _kernels.Has(kernelId); }
Int32 ParallelProgramCPUImpl::GetProgramCount(const String& programName) { return _kernels.CountPrograms(programName); }
void ParallelProgramCPUImpl::SetActiveKernel(const InternedId& kernelId) { _kernels.SetActive(kernelId); }
InternedId ParallelProgramCPUImpl::GetActiveKernelId() const { return _kernels.GetActiveId(); }

Result<void> ParallelProgramCPUImpl::SetUniform(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetActive());
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  return kernel.uniforms.SetValue(attr, std::move(data));
}

// What is kept: the noise names, so that the program needs no other Init, and the storage of the counters, whose
// addresses are good as long as the program. The counters' names are forgotten.
Result<void> ParallelProgramCPUImpl::Reset() {
  _recordings.Reset();
  _kernels.Reset();
  _buffers.Reset();
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
