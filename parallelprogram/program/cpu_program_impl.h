// ParallelProgramCPUImpl: state and helpers. Its methods are grouped by file: kernels and links, buffers, resources
// (counters, uniforms, hand-over to the kernel), noises, textures, dispatch,
// recordings.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/data_dictionary.h"
#include "ostra/core/intrusive_list.h"
#include "ostra/core/owned.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/program/dispatch_stop_interface.h"
#include "parallelprogram/program/dispatch_times_interface.h"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_range_interface.h"
#include "parallelprogram/program/kernel_report.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/parameter_checks.h"
#include "parallelprogram/program/recorded_dispatches_interface.h"
#include "parallelprogram/program/recorded_resources.h"
#include "parallelprogram/program/unknown_names.h"
#include "parallelprogram/textures/texture_factory.h"

namespace ostra {

// The slot of a buffer's array. Tables and links hold its address, so a buffer that is resized stays linked.
using BufferSlot = Array<Generic>;

class ParallelProgramCPUImpl final
    : public Component<ParallelProgramCPUImpl, ParallelProgramInterface, DispatchTimesInterface, DispatchStopInterface,
                       KernelReportInterface, RecordedDispatchesInterface> {
 public:
  static constexpr const char* kComponentName = "ParallelProgramCPUImpl";

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
  void RequestStop() override;
  void ForgetStop() override;
  Result<void> SetReportOptions(const KernelReportOptions& options) override;
  Result<void> SetPrintRoom(Int bytes) override;
  void SetStepLimit(UInt32 steps) override { _prints.SetStepLimit(steps); }
  void SetTrace(const KernelTrace& trace) override { _prints.SetTrace(trace); }
  Result<KernelPrints> TakePrints() override;
  Result<void> BeginRecording() override;
  Result<UInt64> EndRecording() override;
  Result<void> SetRecordedUniform(UInt64 number, const InternedId& kernelId, const InternedId& attr,
                                  ForwardingDataPtr&& data) override;
  Result<void> Replay(UInt64 number, Int times) override;
  Result<void> ReleaseRecording(UInt64 number) override;

 private:
  struct BufferNode : ListNode<BufferNode> {
    BufferSlot slot;
  };
  struct CounterNode : ListNode<CounterNode> {
    AtomicUInt32 counter;
  };

  // A parameter that the kernel object holds an address for: of a buffer, a texture or a counter.
  struct HandedOver {
    InternedId name;
    const void* resource = nullptr;  // the buffer's slot, the sampler or the counter
    friend bool operator==(const HandedOver&, const HandedOver&) = default;
  };

  // What an invocation takes, in ticks of ostra/jobs/ticks.h.
  struct InvocationCost {
    Float64 ticks = 0;  // 0: unknown
    Bool isOld = true;  // not measured since the last update
  };

  struct KernelEntry {
    InternedId kernelId;  // of a copy: the ID of its source
    Url file;
    String sourceName;  // empty for a copy, which GetProgramCount does not count
    DataDictionary bufferLinks;
    DataDictionary uniforms;
    DataDictionary atomicLinks;
    DataDictionary textureLinks;
    KernelRef kernel;                                    // null in a copy whose creation failed
    KernelRangeInterface* range = nullptr;               // the kernel's range interface, when it has one
    KernelGroupInterface* groups = nullptr;              // when its invocations exchange values
    KernelDeclarationInterface* declarations = nullptr;  // the same for its declarations
    const KernelDeclaration* unset = nullptr;            // what the kernel needs and does not have
    std::optional<KernelReportTable> reports;            // of a kernel that reports something
    BaseArray<UInt32> reportWords;                       // that it writes
    UnknownNames unknownNames;
    InvocationCost cost;
    BaseArray<Block<Generic>> bufferBlocks;
    BaseArray<HandedOver> handedOver;
    BaseArray<HandedOver> handedOverBefore;  // while an update runs: what the kernel held until then
    BaseArray<RenderNoiseRef> noises;        // its place stays, because kernels keep the block
    Block<RenderNoiseRef> noiseBlock;

    // None for a kernel that does not say what it declares.
    const BaseArray<KernelDeclaration>& GetDeclarations() const {
      static const BaseArray<KernelDeclaration> none;
      return declarations ? declarations->GetDeclarations() : none;
    }
  };

  // A recording makes its calls with kernel objects of its own: those of the program keep what they were given.
  struct RecordedKernel {
    InternedId id;
    KernelEntry entry;
  };
  struct RecordedStep {
    enum class Kind { Update, Dispatch, DispatchIndirect, SetCounter } kind = Kind::Update;
    Int kernel = 0;  // index
    // Of an update: links and values as they were.
    DataDictionary bufferLinks, uniforms, atomicLinks, textureLinks;
    Vec3<UInt32> invocations;
    InternedId buffer;  // with counts of work groups
    UInt32 offset = 0;
    AtomicUInt32* counter = nullptr;
    UInt32 value = 0;
  };
  struct Recording {
    explicit Recording(UInt64 ownNumber) : number(ownNumber) {}
    UInt64 number;
    BaseArray<Owned<RecordedKernel>> kernels;
    BaseArray<RecordedStep> steps;
    RecordedResources resources;

    // The index of a kernel; the count of kernels when there is none.
    Int FindKernel(const InternedId& id) const {
      Int index = 0;
      while (index < kernels.GetCount() && kernels[index]->id != id) ++index;
      return index;
    }
  };

  // The active kernel. Error: illegal state "no active kernel set".
  Result<KernelEntry&> GetActiveKernel() const;
  // The same, with a kernel object that can run.
  Result<KernelEntry&> GetRunnableKernel() const;
  // Creates the kernel object of `entry` from its class and prepares it.
  static Result<void> CreateKernelObject(KernelEntry& entry, const Class& kernelClass);

  // The buffer under a name of a table; null when there is none, or a place without an array is linked there.
  static BufferSlot* FindBuffer(const DataDictionary& table, const InternedId& attr);
  // Makes `array` the program's buffer `attr`.
  Result<void> AddBuffer(const InternedId& attr, Array<Generic> array);

  Result<void> HandOverUniforms(KernelEntry& entry);
  Result<void> HandOverBuffers(KernelEntry& entry);
  // Error: illegal argument when a texture is not of the kind that the kernel declares.
  Result<void> HandOverTextures(KernelEntry& entry);
  Result<void> HandOverCounters(KernelEntry& entry);
  Result<void> HandOverNoises(KernelEntry& entry);
  Result<void> HandOverAll(KernelEntry& entry);
  // The checks of the active kernel's parameters: none for a kernel without declarations.
  ParameterChecks GetChecks(const KernelEntry& entry) const;
  // Null, and a diagnostic, for a name that the active kernel does not declare.
  const KernelDeclaration* FindDeclaration(KernelEntry& entry, const InternedId& name) const;
  static const KernelDeclaration* FindUnset(const KernelEntry& entry);
  // Error: illegal state when the active kernel needs a parameter that is not set.
  Result<void> CheckIsSet(const KernelEntry& entry) const;
  // Sets a parameter to `data`, the address of `resource` or of a block of its elements, and notes that it does.
  static Result<void> HandOver(KernelEntry& entry, const InternedId& name, const void* data, const void* resource);
  // Clears a parameter: a pointer becomes null, a block empty, as in a kernel that was never given anything.
  static void TakeBack(KernelEntry& entry, const InternedId& name);
  // Clears every parameter, of all kernels, that holds `resource`.
  void TakeBackEverywhere(const void* resource);
  // Hands a buffer over again that has moved, to every kernel that holds it.
  void HandOverResized(const BufferSlot& slot);

  // Hands everything over to the active kernel.
  Result<void> UpdateActiveKernel();
  Result<void> RunDispatch(UInt32 countX, UInt32 countY, UInt32 countZ);
  Result<void> RunIndirect(const InternedId& buffer, UInt32 offset);
  Result<void> RunUnreported(UInt32 countX, UInt32 countY, UInt32 countZ);
  // Error: illegal state when a stop was requested.
  Result<void> CheckStop() const;
  // The same, for a kernel that reports something. Errors also: that of what it reports.
  Result<void> RunReported(KernelEntry& entry, const Vec3<UInt32>& invocations);
  Result<void> MeasureDispatch(UInt32 countX, UInt32 countY, UInt32 countZ);
  Result<void> DispatchKernelSimple(UInt32 count);
  Result<void> DispatchKernelComplex(UInt32 countX, UInt32 countY, UInt32 countZ);

  // Recordings. Record... append a step to the open one; errors: those that the call itself would have had before it
  // ran.
  Result<Recording&> FindRecording(UInt64 number);
  // Error: illegal state while dispatches are recorded.
  Result<void> CheckNotRecording() const;
  Result<void> RecordUpdate();
  Result<void> RecordDispatch(const Vec3<UInt32>& invocations);
  Result<void> RecordIndirect(const InternedId& buffer, UInt32 offset);
  // The active kernel in the open recording, after an update. Error: illegal state when it was not updated yet.
  Result<Int> FindRecordedKernel() const;
  Result<void> RunStep(Recording& recording, RecordedStep& step);

  // Storage outlives names: links keep working when a resource is replaced by name.
  IntrusiveList<BufferNode> _bufferStorage;    // freed by Reset
  IntrusiveList<CounterNode> _counterStorage;  // freed with the program
  IntrusiveList<SamplerNode> _samplerStorage;  // freed by Reset; a single one by DeleteTexture, with its links
  DataDictionary _buffers;                     // name -> BufferSlot*
  DataDictionary _counters;                    // name -> AtomicUInt32*
  DataDictionary _textures;                    // name -> TextureSamplerDataHelper*
  InternedId _activeKernelId;
  Atomic<Byte> _stop;  // ends the running dispatch: bits of cpu_program_dispatch.cpp
  Bool _isMeasured = false;
  BaseArray<DispatchTime> _dispatchTimes;
  KernelPrintList _prints;
  InternedId _noiseDataName;
  BaseArray<InternedId> _noiseModeNames;
  BaseArray<InternedId> _noiseSeedNames;
  KernelEntry* _activeKernel = nullptr;
  std::optional<Recording> _openRecording;  // that has begun
  BaseArray<Recording> _recordings;
  UInt64 _lastRecording = 0;
  HashMap<InternedId, KernelEntry> _kernels;
};

}  // namespace ostra
