// ParallelProgramGPUImpl: the methods of its interfaces above the parts that do the work. They are grouped by file:
// context, kernels, buffers, links, textures, recordings, dispatch.
//
// Everything but compile jobs happens on the thread that drives the program. A compile job writes only the part of its
// kernel that `GpuKernel::lock` guards; the driving thread takes it over with ApplyCompiled.
#pragma once

#include "parallelprogram/gpu/compile_jobs.h"
#include "parallelprogram/gpu/gpu_dispatch_times.h"
#include "parallelprogram/gpu/gpu_kernel_compiler.h"
#include "parallelprogram/gpu/gpu_reports.h"
#include "parallelprogram/program/counter_reads_interface.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/recorded_dispatches_interface.h"

namespace ostra {

class ParallelProgramGPUImpl final
    : public Component<ParallelProgramGPUImpl, ParallelProgramInterface, CounterReadsInterface, DispatchTimesInterface,
                       KernelReportInterface, RecordedDispatchesInterface> {
 public:
  static constexpr const char* kComponentName = "ParallelProgramGPUImpl";

  ~ParallelProgramGPUImpl() override;

  Result<void> Init(const Url& resourcePath, const DrawportContextRef* context, Int32 deviceIndex,
                    Bool createOffscreenContext) override;
  Result<void> Execute(Bool wait) override;
  Result<void> AddKernel(const InternedId& kernelId, const Url& file, Bool wait) override;
  Result<void> CopyKernel(const InternedId& sourceKernelId, const InternedId& newKernelId, Bool wait) override;
  void WaitForKernelCompile() override;
  Bool HasKernel(const InternedId& kernelId) override;
  Int32 GetProgramCount(const String& programName) override;
  void SetActiveKernel(const InternedId& kernelId) override;
  InternedId GetActiveKernelId() const override;

  Result<void> SetBufferToActiveKernelSameId(const InternedId& attr) override;
  Result<void> SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) override;
  Result<void> SetGlobalBufferLink(const InternedId& attr, const Data& data) override;
  Result<Data> GetGlobalBufferLink(const InternedId& attr) const override;
  Result<Data> GetGlobalBufferData(const InternedId& attr) const override;
  Result<Data> GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const override;
  Result<void> SetKernelBufferLink(const InternedId& attr, const Data& data) override;
  Result<Data> GetKernelBufferLink(const InternedId& attr) const override;
  Result<Data> GetKernelBufferData(const InternedId& attr) const override;
  Result<void> CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) override;
  Result<void> ResizeUniformBuffer(const InternedId& attr, Int count, Bool forceResize) override;
  Result<void> StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) override;
  Result<void> StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                      GenericBaseArray&& data) override;
  Result<void> UpdateUniformBufferData(const InternedId& attr, Int offset, ForwardingDataPtr&& data) override;
  Result<void> CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr, Int count, Int sourceOffset,
                              Int targetOffset) override;
  Result<void> CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                   Int sourceBytesOffset, Int targetBytesOffset) override;

  Result<void> SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>& deleteOrder) override;
  Result<void> SetTextureToActiveKernelSameId(const InternedId& attr) override;
  Result<void> SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) override;
  Result<void> StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool outOfCore) override;
  Result<DrawportTextureSampler*> GetTextureSamplerHandle(const InternedId& attr) override;
  Result<DrawportTexture*> GetTextureHandle(const InternedId& attr) override;
  Result<DrawportTextureSamplerItemRef> GetTextureSamplerCacheRef(const InternedId& attr) override;
  Result<DrawportTextureItemRef> GetTextureCacheRef(const InternedId& attr) override;
  Result<void> CreateTexture(const InternedId& attr, TextureBindData& texBindData) override;
  Result<void> UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) override;
  Result<void> SetKernelTextureLink(const InternedId& attr, const Data& data) override;
  Result<Data> GetTextureData(const InternedId& attr, const Vec3<Int32>& regionMin,
                              const Vec3<Int32>& regionMax) const override;
  Result<void> CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                Int sourceBytesOffset, Int targetBytesOffset) override;

  Result<void> AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&& data) override;
  Result<void> SetAtomicCounterToActiveKernel(const InternedId& attr) override;
  Result<void> SetAtomicCounter(const InternedId& attr, UInt32 value) override;
  Result<UInt32> GetAtomicCounter(const InternedId& attr) const override;
  Result<UInt64> RecordCounterRead(const InternedId& attr) override;
  Result<UInt32> TakeCounterRead(UInt64 number) override;

  Result<void> SetUniform(const InternedId& attr, ForwardingDataPtr&& data) override;
  Result<void> SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) override;
  Result<void> SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) override;
  Result<void> DeleteTexture(const InternedId& textureId, Bool softDelete) override;
  Result<void> DeleteUniformBuffer(const InternedId& bufferId) override;

  Result<void> UpdateUniforms() override;
  Result<void> DispatchKernel(UInt32 countX, UInt32 countY, UInt32 countZ, Bool disableBarrier) override;
  Result<void> DispatchIndirectKernel(const InternedId& buffer, UInt32 offset, Bool disableBarrier) override;
  Result<void> AddMemoryBarrier() override;
  Result<void> AddTextureMemoryBarrier() override;
  Result<void> CheckActiveKernelForUpdatedShaders() override;
  Result<void> UpdateDrawportContext(const DrawportContextRef& newDrawportContext) override;
  Result<void> Reset() override;
  void ReloadKernels() override;
  Bool GetMemoryInformation(Int64& freeMemory, Int64& totalMemory) const override;
  void GetSupportReadWritePixelFormats(Bool& readWrite16bit, Bool& readWrite8bit) const override;
  std::pair<Int64, Int64> GetAvailableAndTotalVRAMBudget() const override;

  Result<void> MeasureDispatches(Bool isOn) override;
  Result<BaseArray<DispatchTime>> TakeDispatchTimes() override;
  Result<void> SetReportOptions(const KernelReportOptions& options) override;
  Result<void> SetPrintRoom(Int bytes) override;
  void SetStepLimit(UInt32 steps) override { _reports.GetPrints().SetStepLimit(steps); }
  void SetTrace(const KernelTrace& trace) override { _reports.GetPrints().SetTrace(trace); }
  Result<KernelPrints> TakePrints() override;
  Result<void> BeginRecording() override;
  Result<UInt64> EndRecording() override;
  Result<void> SetRecordedUniform(UInt64 number, const InternedId& kernelId, const InternedId& attr,
                                  ForwardingDataPtr&& data) override;
  Result<void> Replay(UInt64 number, Int times) override;
  Result<void> ReleaseRecording(UInt64 number) override;

 private:
  // Context.

  // A context of the program's own. Errors: those of the cache and the drawport; illegal state for a missing feature.
  Result<void> CreateOwnContext(const DrawportContextRef* context, Int32 deviceIndex, GpuContextData& data,
                                NarrowTexels& narrow) const;
  // Builds the copy kernel in a job and returns the job's error.
  Result<void> BuildCopyKernel(const GpuContextData& data);

  // Kernels.

  // Error: illegal state when the kernel's parameters were set in another context than the current one.
  Result<void> CheckContext(const GpuKernel& kernel) const;
  Result<void> AddKernelFile(const InternedId& kernelId, const Url& file, const String& templateArgument, Bool wait);
  // Runs the compile job, or leaves it to be waited for.
  Result<void> StartCompileJob(GpuKernel& kernel, Bool wait);

  // Dispatch. `record()` records one on the current context; it is timed when dispatches are measured.
  template <class Record>
  Result<void> RecordDispatch(const Vec3<UInt32>& invocations, Record&& record);
  // The same; what the kernel reports is read, which waits for it.
  template <class Record>
  Result<void> RecordReported(const GpuKernel& kernel, const Vec3<UInt32>& invocations, Record&& record);

  GpuContexts _contexts;
  Url _resourcePath;
  GpuCounterTable _counters;
  GpuKernelTable _kernels;
  CompileJobs _compileJobs;
  GpuRecordings _recordings;
  GpuBuffers _buffers{_recordings};
  GpuTextures _textures{_kernels};
  GpuNoises _noises;
  GpuBinder _binder{_contexts, _kernels, _buffers, _textures, _noises};
  GpuKernelCompiler _compiler{_contexts, _kernels, _textures, _noises, _binder};
  GpuReports _reports;
  GpuDispatchTimes _times;
};

}  // namespace ostra
