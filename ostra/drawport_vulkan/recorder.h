// Recorder: the batches of work of one list. A batch is recorded, submitted, and released when the device has done it;
// until then it holds what its work names. Batches and the memory of uniforms go round: once a program is warm,
// recording allocates nothing.
//
// What records dispatches, draws, transfers and time stamps shares the recorder of its list. recorder.cpp has batches,
// barriers.cpp the barriers between them, setup.cpp and image_setup.cpp the first use of resources.
#pragma once

#include <optional>

#include "ostra/drawport_vulkan/barrier_tracker.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/image.h"
#include "ostra/drawport_vulkan/uniform_ring.h"

namespace ostra::vulkan {

// The descriptor set that is in force at a bind point.
struct BoundSet {
  VkPipelineLayout layout = VK_NULL_HANDLE;
  VkDescriptorSet set = VK_NULL_HANDLE;
  UInt32 uniformOffset = 0;
};

// Notifications to the list of a recorder. A batch is named by its index, 0 to kBatchCount - 1.
class RecorderListener {
 public:
  // Work is recorded that is not allowed in a pass.
  virtual void SuspendPass() = 0;
  // Nothing is bound in a new batch.
  virtual void NoteNewBatch() = 0;
  // The batch was recorded and could not be submitted.
  virtual void NoteDroppedBatch(Int place, UInt64 serial) = 0;
  // The device has done the batch.
  virtual void NoteDoneBatch(Int place) = 0;

 protected:
  ~RecorderListener() = default;
};

// With changes of layouts, if any, whose accesses are those of the barrier.
void RecordBarrier(VkCommandBuffer commands, const Barrier& barrier, ImageBarriers* images = nullptr);

class Recorder {
 public:
  static constexpr Int kBatchCount = 16;

  Recorder(DeviceRef device, RecorderListener& listener) : _device(std::move(device)), _listener(listener) {}
  Recorder(const Recorder&) = delete;
  ~Recorder();
  Result<void> Init();
  // Drops what was recorded but never submitted, and waits for what was submitted. For the end of the list.
  void Close();

  Device& GetDevice() const { return *_device; }
  // Of the list: see Device::AddList.
  UInt32 GetNumber() const { return _number; }
  BarrierTracker& GetBarriers() { return _barriers; }
  // Of the device, with the last batch.
  UInt64 GetSubmittedValue() const { return _submittedValue; }

  // The serial of the batch that is being recorded; begins one if there is none.
  Result<UInt64> BeginBatch();
  // Of the batch that is being recorded.
  VkCommandBuffer GetCommands() const { return _current->commands; }
  UInt64 GetSerial() const { return _current->serial; }
  Int GetPlace() const { return _current - _batches; }
  Bool HasBatch() const { return _current; }
  // Up to this batch the device has done everything.
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

  // Zero-fill a resource before its first use.
  Result<void> EnsureZeroed(BufferResource& buffer);
  Result<void> EnsureCleared(ImageResource& image);
  // Before a transfer that fills `region` of an image, which counts as kept. Rows of a new image that are filled one
  // after the other are not zero-filled before. Returns whether NoteFill has to follow behind the transfer.
  Result<Bool> PrepareFill(ImageResource& image, const DrawportRegion& region);
  void NoteFill(ImageResource& image, const DrawportRegion& region);
  // Gives a new image its layout; for work that writes all of it.
  Result<void> EnsureLayout(ImageResource& image);
  // Records a fill of the whole buffer.
  Result<void> FillWithZeros(BufferResource& buffer);

  // Before work that is not allowed in a pass.
  void EndRendering() { _listener.SuspendPass(); }
  // Before work that is no transfer: records the pending barrier, if any, and brings images home. With further changes
  // of layouts.
  void RecordBarrier(const std::optional<Barrier>& pending);
  void RecordBarrier(const Barrier& barrier, ImageBarriers& images);
  // Before a transfer that reads or writes `region`.
  void PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite);
  // Before a copy between resources that both may be used by other work of the batch.
  void PrepareCopy(const BufferResource& source, const DrawportRegion& sourceRegion, const BufferResource& target,
                   const DrawportRegion& targetRegion);

  Result<void> Submit();
  // Submits; with `wait` waits until the device has done everything of this list.
  Result<void> Execute(Bool wait);
  Result<void> WaitForOldest();
  // Submits the batch where that is still to be done. Error: illegal state when the device is lost.
  Result<void> WaitForBatch(UInt64 serial);
  // Waits until no submitted work names the resource. What other lists have only recorded comes later. Error: illegal
  // state when the device is lost.
  Result<void> WaitFor(const DeviceResource& resource);
  // Whether no work of any list names the resource.
  Bool IsIdle(const DeviceResource& resource);
  // Releases what batches hold that are done when the timeline is at `reached`. Any thread.
  void ReleaseDone(UInt64 reached);

 private:
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
  };

  Result<void> InitBatch(Batch& batch);
  void Retire(Batch& batch);
  void RetireReached();
  void Abandon(Batch& batch);
  static void ReleaseKept(Batch& batch);

  void RecordEndOfBatch();
  Result<UInt64> SubmitBehindSetup(Batch& batch);
  // Lets the batch hold what is planned.
  Result<void> KeepPlanned(Batch& batch);
  Result<void> RecordSetup(Batch& batch, Bool isAfterOthers);
  // Whether other lists have submitted work with what the batch names, and nothing has waited for it yet.
  Bool DependsOnOthers(const Batch& batch) const;

  DeviceRef _device;
  RecorderListener& _listener;
  UInt32 _number = 0;
  Batch _batches[kBatchCount];
  Int _oldest = 0;  // of the batches in flight
  Int _next = 0;    // where the next batch is recorded
  Batch* _current = nullptr;
  std::mutex _keptMutex;
  UInt64 _submittedValue = 0;
  UInt64 _serial = 0;
  UInt64 _completedSerial = 0;
  BufferRef _uniforms;
  UniformRing _uniformRing{UInt64(4) << 20};  // for several thousand dispatches that the device has not done yet
  BarrierTracker _barriers;
  LayoutTracker _layouts;
};

}  // namespace ostra::vulkan
