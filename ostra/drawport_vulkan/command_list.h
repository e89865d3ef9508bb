// CommandList: records batches of work, submits them and moves bytes.
//
// A batch holds what its work names until the device has done it. Batches and the memory of transfers and uniforms go
// round: once a program is warm, recording allocates nothing.
//
// command_list.cpp has batches and dispatches, draw.cpp passes and draws, barriers.cpp the barriers between them,
// transfers.cpp and texture_transfers.cpp the movement of bytes, reads.cpp what is read, setup.cpp the first use of
// resources, work_times.cpp time stamps.
#pragma once

#include <optional>

#include "ostra/core/hash_map.h"
#include "ostra/drawport/command_list.h"
#include "ostra/drawport_vulkan/barrier_tracker.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/device_clock.h"
#include "ostra/drawport_vulkan/image.h"
#include "ostra/drawport_vulkan/pipeline.h"
#include "ostra/drawport_vulkan/read_ahead.h"
#include "ostra/drawport_vulkan/render_target.h"
#include "ostra/drawport_vulkan/staging.h"
#include "ostra/drawport_vulkan/staging_pool.h"
#include "ostra/drawport_vulkan/uniform_ring.h"

namespace ostra::vulkan {

// The descriptor set that is in force at a bind point.
struct BoundSet {
  VkPipelineLayout layout = VK_NULL_HANDLE;
  VkDescriptorSet set = VK_NULL_HANDLE;
  UInt32 uniformOffset = 0;
};

class CommandList final : public DrawportCommandList {
 public:
  explicit CommandList(DeviceRef device) : _device(std::move(device)) {}
  CommandList(const CommandList&) = delete;
  ~CommandList();
  Result<void> Init();

  Result<void> AddMemoryBarrier(DrawportBarrierBits bits) override;
  Result<void> Execute(Bool wait) override;
  Result<Byte*> PrivateMapBuffer(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportDeviceBuffer& buffer,
                                 Int stagingOffset, Int byteOffset, Int bytes) override;
  Result<void> UnmapBuffer(DrawportStagingBuffer& staging, DrawportUnmapMode mode) override;
  Result<Byte*> PrivateMapTexture(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportTexture& texture,
                                  const DrawportRegion& region, Int level, Int layer, Int stagingOffset,
                                  Int flags) override;
  Result<void> UnmapTexture(DrawportStagingBuffer& staging) override;
  void ReleaseStagingBuffer(DrawportStagingBuffer* staging) override;
  Result<void> SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) override;
  Result<UInt32> GetAtomicCounterValue(DrawportAtomicCounter& counter) override;
  Result<void> Dispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values, UInt32 x, UInt32 y,
                        UInt32 z) override;
  Result<void> DispatchIndirect(DrawportProgramFactory& program, DrawportParameterValueSet& values,
                                DrawportDeviceBuffer& arguments, Int byteOffset) override;
  Result<void> BeginDrawPass(DrawportRenderTarget& target, const DrawportClearValues& clear) override;
  Result<void> Draw(const DrawportDrawCall& call) override;
  Result<void> EndDrawPass() override;
  Result<UInt64> BeginTimedWork() override;
  Result<void> EndTimedWork(UInt64 number) override;
  Result<DrawportWorkTime> TakeWorkTime(UInt64 number) override;

  Device& GetDevice() const { return *_device; }
  UInt32 GetNumber() const { return _number; }

  // A staging buffer of at least `bytes`. Error: out of memory.
  Result<DrawportStagingBuffer*> AllocStagingBuffer(Int bytes, DrawportStagingUse use);

  // What value sets need. The serial of the batch that is being recorded; begins one if there is none.
  Result<UInt64> BeginBatch();
  UInt64 GetCompletedSerial();
  // Holds a resource until the batch that is being recorded is done.
  Result<void> Keep(DeviceResource& resource);
  // Memory for the uniforms of one dispatch of the current batch. May submit, so it comes before anything is recorded.
  struct UniformSlice {
    Byte* memory;
    UInt32 offset;  // in the buffer of GetUniformBuffer
  };
  Result<UniformSlice> AllocateUniforms(Int bytes);
  BufferResource& GetUniformBuffer() { return *_uniforms; }

  // Makes what was never written read as zero, before the device reads it.
  Result<void> EnsureZeroed(BufferResource& buffer);
  Result<void> EnsureCleared(ImageResource& image);

  // Submits, and waits until the device has done everything of this list; resources that only work held go.
  Result<void> Finish();
  // Frees memory that is only kept to be used again.
  void FreeSpareMemory();
  // Releases what batches hold that are done when the timeline is at `reached`. Any thread.
  void ReleaseDone(UInt64 reached);

 private:
  static constexpr Int kBatchCount = 16;

  // Time stamps of a batch.
  struct Stamps {
    static constexpr UInt32 kMaxCount = 1024;
    struct Work {
      UInt64 number;  // 0: the clock is set
      Bool isEnd;
    };
    VkQueryPool pool = VK_NULL_HANDLE;
    UInt32 count = 0;
    Work work[kMaxCount] = {};
  };

  struct TimedWork {
    DrawportWorkTime time;
    Bool isEnded = false;
  };

  struct Batch {
    VkCommandPool pool = VK_NULL_HANDLE;
    VkCommandBuffer commands = VK_NULL_HANDLE;
    VkCommandBuffer setup = VK_NULL_HANDLE;  // submitted with `commands`, before them
    UInt64 serial = 0;
    UInt64 uniformEnd = 0;
    // Other threads look at these, with _keptMutex held, when the batch is in flight; the list's own changes them so.
    UInt64 timelineValue = 0;
    Bool isInFlight = false;
    BaseArray<DeviceResourceRef> kept;
    Owned<Stamps> stamps;  // made for the first stamp
  };

  // command_list.cpp
  Result<void> Submit();
  void Retire(Batch& batch);
  void RetireReached();
  Result<void> WaitForOldest();
  void Abandon(Batch& batch);
  Result<class ProgramFactory*> PrepareDispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values);

  static void ReleaseKept(Batch& batch);

  // work_times.cpp
  Result<void> StartClock();
  Result<void> WriteStamp(UInt64 number, Bool isEnd);
  Result<Stamps&> GetStamps(Batch& batch);
  void ReadStamps(Batch& batch);
  void DestroyStamps(Batch& batch);

  // setup.cpp
  Result<UInt64> SubmitBehindSetup(Batch& batch);
  Result<void> RecordSetup(Batch& batch, Bool isAfterOthers);
  // Whether other lists have submitted work with what the batch names, and nothing has waited for it yet.
  Bool DependsOnOthers(const Batch& batch) const;

  // draw.cpp
  Result<void> ResumePass();
  // Ends what ResumePass has begun, so that other work can be recorded; the pass goes on.
  void SuspendPass();
  void BeginRendering(RenderTarget& target);
  Result<void> CheckDraw(const DrawportDrawCall& call, class ProgramFactory& factory) const;
  // Vertices of one call of the driver.
  Int GetMostVertices(const DrawportDrawCall& call) const;
  Result<BufferResource*> FindVertices(const DrawportDrawCall& call, const class ProgramFactory& factory) const;

  // barriers.cpp
  // One that is owed, if any.
  void RecordBarrier(const std::optional<Barrier>& owed);
  // Before a transfer that reads or writes `region`.
  void PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite);

  // transfers.cpp
  Result<StagingMemory*> TakeStagingMemory(Int bytes, MemoryUse use);
  Result<Byte*> MapForWriting(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes);
  Result<void> CommitBuffer(StagingBuffer& staging);
  Result<void> FillWithZeros(BufferResource& buffer);
  // Waits until no submitted work names the resource. What other lists have only recorded comes later.
  Result<void> WaitFor(const DeviceResource& resource);
  // Whether no work of any list names the resource.
  Bool IsIdle(const DeviceResource& resource);

  // texture_transfers.cpp
  Result<Byte*> ReadTexture(StagingBuffer& staging, ImageResource& image, const DrawportRegion& region, Int hostSize);
  Result<void> CommitTexture(StagingBuffer& staging);

  // reads.cpp
  Result<Byte*> MapForReading(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes);
  // The bytes or texels of a region, copied to staging memory that counts as mapped; what follows is on its way.
  Result<StagingMemory*> Read(DeviceResource& resource, const DrawportRegion& region);
  Result<StagingMemory*> SubmitRead(DeviceResource& resource, const DrawportRegion& region, Int bytes);
  void ReadFollowing(DeviceResource& resource, const DrawportRegion& region);

  DeviceRef _device;
  UInt32 _number = 0;  // tells lists apart
  Batch _batches[kBatchCount];
  Int _oldest = 0;  // of the batches in flight
  Int _next = 0;    // where the next batch is recorded
  Batch* _current = nullptr;
  std::mutex _keptMutex;
  UInt64 _submittedValue = 0;  // of the device, with the last batch
  UInt64 _serial = 0;
  UInt64 _completedSerial = 0;

  std::optional<DeviceClock> _clock;  // once work was timed
  UInt64 _calibrationStamp = 0;       // the last that was read
  UInt64 _lastTimedWork = 0;
  HashMap<UInt64, TimedWork> _timedWork;  // what was read and not taken yet

  // What the current batch has bound: for compute, and for draws since ResumePass.
  VkPipeline _boundPipeline = VK_NULL_HANDLE;
  BoundSet _boundSet;
  BoundSet _boundDrawSet;
  VkPipeline _boundVariant = VK_NULL_HANDLE;
  BufferResource* _boundVertices = nullptr;

  // The pass. Rendering begins with its first draw, and again after other work.
  RenderTargetRef _target;
  DrawportClearValues _clear;
  Bool _isCleared = false;
  UInt64 _clearedBy = 0;  // batch
  Bool _isRendering = false;
  // The state of the last draw with its pipeline: most draws differ in their values alone.
  GraphicsState _lastState;
  PipelineRef _lastPipeline;
  VkPipeline _lastVariant = VK_NULL_HANDLE;

  BufferRef _uniforms;
  UniformRing _uniformRing{UInt64(4) << 20};

  BarrierTracker _barriers;

  OwnedArray<StagingBuffer> _stagingBuffers;
  StagingPool _stagingPool;
  ReadAhead _readAhead;
};

}  // namespace ostra::vulkan
