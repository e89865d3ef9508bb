// RecordedWork: dispatches that are recorded once and executed many times. A secondary command buffer with all that it
// needs: descriptor sets, memory for values, barriers between its dispatches, and a hold on every object that it names.
//
//   recording: ValueSet::Record, vkCmdDispatch(work.GetCommands(), ...)       work.End()
//   a replay:  work.Update(recorder), work.Keep(recorder), vkCmdExecuteCommands
//
// One thread at a time; the last reference may go on any.
#pragma once

#include "ostra/core/hash_map.h"
#include "ostra/drawport_vulkan/program_factory.h"
#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {

class RecordedWork final : public DeviceResource {
 public:
  // Begins the recording. `number` tells it from all others of the process. Errors: out of memory; illegal state when
  // the device is lost.
  static Result<StrongRef<RecordedWork>> Create(Device& device, UInt64 number);
  RecordedWork(DeviceRef device, UInt64 number) : DeviceResource(std::move(device)), _number(number) {}
  ~RecordedWork() override;

  UInt64 GetNumber() const { return _number; }
  VkCommandBuffer GetCommands() const { return _commands; }
  // Between the recorded dispatches. GetHazards has what they are to the work before a replay.
  BarrierTracker& GetBarriers() { return _barriers; }
  void RecordBarrier(const std::optional<Barrier>& pending);
  // The client asks for a barrier here.
  void SeparateDispatches();
  void AddDispatch();
  void AddTransfer();
  // What the replay is to the work before it and behind it.
  const ReplayHazards& GetHazards() const { return _hazards; }

  // Holds an object as long as the work. Replays make buffers and images ready and keep them.
  Result<void> Hold(DeviceResource& object);
  Result<void> HoldBuffer(BufferResource& buffer);
  Result<void> HoldImage(ImageResource& image);

  // Whose values a slice has: the program's owner, and the pipeline that knows their places.
  struct SliceOwner {
    UInt64 owner = 0;
    const Pipeline* pipeline = nullptr;
    friend Bool operator==(const SliceOwner&, const SliceOwner&) = default;
  };
  // The place of the values of dispatches.
  struct Slice {
    BufferResource* buffer = nullptr;
    UInt32 offset = 0;
    Byte* memory = nullptr;  // to be written while the work is recorded
  };
  Result<Slice> AddSlice(const SliceOwner& owner, Int bytes);
  // Writes `bytes` bytes at `offset` of every slice of `owner`, for later replays.
  void UpdateSlices(const SliceOwner& owner, Int offset, const Byte* value, Int bytes);

  // The set that was written with these objects and the values' buffer; null when there is none yet.
  struct SetKey {
    const Pipeline* pipeline = nullptr;
    const BufferResource* uniforms = nullptr;  // null: no values
    Int gradientRoom = 0;
    const BaseArray<BoundObject>* objects = nullptr;
    UInt64 GetHash() const;
  };
  VkDescriptorSet FindSet(const SetKey& key) const;
  // A new one, to be written.
  Result<VkDescriptorSet> AddSet(const SetKey& key, Pipeline& pipeline);

  // Binds what the dispatches use.
  void BindPipeline(Pipeline& pipeline);
  BoundSet& GetBoundSet() { return _boundSet; }

  // Ends the recording. Errors: out of memory; illegal state when the device is lost.
  Result<void> End();

  // For a replay, in this order. Brings values that were updated to the device: the host writes them where no work
  // reads them, otherwise copies are recorded, for which batches may be submitted.
  Result<void> Update(Recorder& recorder);
  // Lets the current batch hold the work, and readies what it names.
  Result<void> Keep(Recorder& recorder);
  // The batch was not submitted: what it would have copied is to be copied again.
  void NoteDroppedBatch(UInt64 serial);

 private:
  // Values of many dispatches. The host's copy is what updates write to.
  struct Chunk {
    BufferRef buffer;
    BaseArray<Byte> bytes;
    Int used = 0;
    Int dirtyBegin = 0, dirtyEnd = 0;  // what the device does not have yet
    UInt64 copiedBy = 0;               // serial of the last batch that copies
    void MarkDirty(Int begin, Int end);
  };
  struct OwnedSlice {
    SliceOwner owner;
    Int chunk = 0;
    Int offset = 0;
    Int bytes = 0;
  };
  struct Set {
    VkDescriptorSet set = VK_NULL_HANDLE;
    const Pipeline* pipeline = nullptr;
    const BufferResource* uniforms = nullptr;
    Int gradientRoom = 0;
    BaseArray<BoundObject> objects;
    Int next = -1;  // with the same hash
    Bool Is(const SetKey& key) const;
  };
  struct SetPool {
    const Pipeline* pipeline = nullptr;
    DescriptorPoolRef pool;
    Int count = 0, left = 0;
  };

  Result<void> Init();
  Result<Chunk*> FindChunk(Int bytes);
  Result<SetPool*> FindPool(Pipeline& pipeline);
  Result<void> CopyDirty(Recorder& recorder, Chunk& chunk);

  const UInt64 _number;
  VkCommandPool _pool = VK_NULL_HANDLE;
  VkCommandBuffer _commands = VK_NULL_HANDLE;
  BarrierTracker _barriers;
  ReplayHazards _hazards;
  VkPipeline _boundPipeline = VK_NULL_HANDLE;
  BoundSet _boundSet;
  HashMap<const DeviceResource*, Bool> _known;  // what is held
  BaseArray<DeviceResourceRef> _held;
  BaseArray<BufferRef> _buffers;
  BaseArray<ImageRef> _images;
  BaseArray<Chunk> _chunks;
  BaseArray<OwnedSlice> _slices;
  BaseArray<SetPool> _pools;
  BaseArray<Set> _sets;
  HashMap<UInt64, Int> _setsByHash;
};
using RecordedWorkRef = StrongRef<RecordedWork>;

}  // namespace ostra::vulkan
