#include "ostra/drawport_vulkan/recorded_work.h"

#include <algorithm>

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kFirstChunk = Int{64} << 10;  // bytes; later chunks double
constexpr Int kMaxChunk = Int{4} << 20;
constexpr Int kCopyPiece = Int{256} << 10;  // of the ring of uniforms
constexpr Int kFirstPool = 8;               // descriptor sets

}  // namespace

Result<RecordedWorkRef> RecordedWork::Create(Device& device, UInt64 number) {
  if (device.IsLost()) return device.MakeLostError(__LINE__);
  RecordedWork* work = NewObj<RecordedWork>(DeviceRef(&device), number);
  if (!work) return OSTRA_OUT_OF_MEMORY();
  RecordedWorkRef held = RecordedWorkRef::Adopt(work);
  OSTRA_RETURN_IF_ERROR(work->Init());
  return held;
}

Result<void> RecordedWork::Init() {
  VkCommandPoolCreateInfo pool = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
  pool.queueFamilyIndex = GetDevice().GetQueueFamily();
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateCommandPool(GetDevice().GetHandle(), &pool, nullptr, &_pool)));
  VkCommandBufferAllocateInfo commands = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
  commands.commandPool = _pool;
  commands.level = VK_COMMAND_BUFFER_LEVEL_SECONDARY;
  commands.commandBufferCount = 1;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkAllocateCommandBuffers(GetDevice().GetHandle(), &commands, &_commands)));
  const VkCommandBufferInheritanceInfo inheritance = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_INHERITANCE_INFO};
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_SIMULTANEOUS_USE_BIT;  // replays need not wait for each other
  info.pInheritanceInfo = &inheritance;
  return OSTRA_VULKAN(vkBeginCommandBuffer(_commands, &info));
}

RecordedWork::~RecordedWork() {
  if (_pool && !GetDevice().IsHung()) vkDestroyCommandPool(GetDevice().GetHandle(), _pool, nullptr);
}

void RecordedWork::RecordBarrier(const std::optional<Barrier>& pending) {
  if (pending) vulkan::RecordBarrier(_commands, *pending);
}

void RecordedWork::SeparateDispatches() {
  _hazards.isSeparatedBefore = _hazards.isSeparatedBefore || _hazards.IsEmpty();
  _hazards.isSeparatedBehind = _hazards.hasDispatches;
  _barriers.SeparateDispatches();
}

void RecordedWork::AddDispatch() {
  _barriers.AddDispatch();
  _hazards.hasDispatches = true;
  _hazards.isSeparatedBehind = false;
}

void RecordedWork::AddTransfer() { _hazards.hasTransfers = true; }

Result<void> RecordedWork::Hold(DeviceResource& object) {
  OSTRA_ASSIGN_OR_RETURN(const auto entry, _known.Insert(&object));
  if (!entry.isNew) return OK;
  auto held = _held.Append(DeviceResourceRef(&object));
  if (held) return OK;
  _known.Erase(&object);
  return held.TakeError();
}

Result<void> RecordedWork::HoldBuffer(BufferResource& buffer) {
  if (_known.Contains(&buffer)) return OK;
  OSTRA_RETURN_IF_ERROR(_buffers.Reserve(_buffers.GetCount() + 1));
  OSTRA_RETURN_IF_ERROR(Hold(buffer));
  static_cast<void>(_buffers.Append(BufferRef(&buffer)));  // there is room
  return OK;
}

Result<void> RecordedWork::HoldImage(ImageResource& image) {
  if (_known.Contains(&image)) return OK;
  OSTRA_RETURN_IF_ERROR(_images.Reserve(_images.GetCount() + 1));
  OSTRA_RETURN_IF_ERROR(Hold(image));
  static_cast<void>(_images.Append(ImageRef(&image)));  // there is room
  return OK;
}

void RecordedWork::Chunk::MarkDirty(Int begin, Int end) {
  const Bool isClean = dirtyBegin >= dirtyEnd;
  dirtyBegin = isClean ? begin : std::min(dirtyBegin, begin);
  dirtyEnd = isClean ? end : std::max(dirtyEnd, end);
}

Result<RecordedWork::Chunk*> RecordedWork::FindChunk(Int bytes) {
  const Int count = _chunks.GetCount();
  if (count > 0 && _chunks[count - 1].used + bytes <= _chunks[count - 1].bytes.GetCount()) return &_chunks[count - 1];
  const Int size =
      std::max(bytes, count == 0 ? kFirstChunk : std::min(2 * _chunks[count - 1].bytes.GetCount(), kMaxChunk));
  Chunk chunk;
  OSTRA_RETURN_IF_ERROR(chunk.bytes.Resize(size));
  OSTRA_ASSIGN_OR_RETURN(chunk.buffer, BufferResource::Create(GetDevice(), size, MemoryUse::Upload, false));
  OSTRA_RETURN_IF_ERROR(_chunks.Reserve(count + 1));
  OSTRA_RETURN_IF_ERROR(HoldBuffer(*chunk.buffer));
  OSTRA_RETURN_IF_ERROR(_chunks.Append(std::move(chunk)));
  return &_chunks[count];
}

Result<RecordedWork::Slice> RecordedWork::AddSlice(const SliceOwner& owner, Int bytes) {
  const VkPhysicalDeviceLimits& limits = GetDevice().GetLimits();
  const Int alignment =
      static_cast<Int>(std::max(limits.minUniformBufferOffsetAlignment, limits.minStorageBufferOffsetAlignment));
  OSTRA_ASSIGN_OR_RETURN(Chunk* const chunk, FindChunk((bytes + alignment - 1) / alignment * alignment));
  OSTRA_RETURN_IF_ERROR(_slices.Append(OwnedSlice{owner, chunk - _chunks.GetFirst(), chunk->used, bytes}));
  const Slice slice{&*chunk->buffer, static_cast<UInt32>(chunk->used), chunk->bytes.GetFirst() + chunk->used};
  chunk->used += (bytes + alignment - 1) / alignment * alignment;
  return slice;
}

void RecordedWork::UpdateSlices(const SliceOwner& owner, Int offset, const Byte* value, Int bytes) {
  for (const OwnedSlice& slice : _slices) {
    if (!(slice.owner == owner) || offset + bytes > slice.bytes) continue;
    Chunk& chunk = _chunks[slice.chunk];
    MemCopy(chunk.bytes.GetFirst() + slice.offset + offset, value, bytes);
    chunk.MarkDirty(slice.offset + offset, slice.offset + offset + bytes);
  }
}

UInt64 RecordedWork::SetKey::GetHash() const {
  UInt64 hash = CombineHash(reinterpret_cast<UInt64>(pipeline), reinterpret_cast<UInt64>(uniforms));
  hash = CombineHash(hash, static_cast<UInt64>(gradientRoom));
  return CombineHash(hash, HashObjects(*objects));
}

Bool RecordedWork::Set::Is(const SetKey& key) const {
  return pipeline == key.pipeline && uniforms == key.uniforms && gradientRoom == key.gradientRoom &&
         std::equal(objects.begin(), objects.end(), key.objects->begin());
}

VkDescriptorSet RecordedWork::FindSet(const SetKey& key) const {
  const Int* const first = _setsByHash.Find(key.GetHash());
  for (Int i = first ? *first : -1; i >= 0; i = _sets[i].next)
    if (_sets[i].Is(key)) return _sets[i].set;
  return VK_NULL_HANDLE;
}

Result<RecordedWork::SetPool*> RecordedWork::FindPool(Pipeline& pipeline) {
  Int count = kFirstPool;
  for (SetPool& known : _pools) {
    if (known.pipeline != &pipeline) continue;
    if (known.left > 0) return &known;
    count = std::max(count, 2 * known.count);
  }
  const BaseArray<PipelineBinding>& bindings = pipeline.GetBindings();
  SetPool pool{&pipeline, {}, count, count};
  OSTRA_ASSIGN_OR_RETURN(
      pool.pool, DescriptorPool::Create(GetDevice(),
                                        Block<const PipelineBinding>(bindings.GetFirst(), bindings.GetCount()), count));
  OSTRA_RETURN_IF_ERROR(_pools.Append(std::move(pool)));
  return &_pools[_pools.GetCount() - 1];
}

Result<VkDescriptorSet> RecordedWork::AddSet(const SetKey& key, Pipeline& pipeline) {
  OSTRA_RETURN_IF_ERROR(_sets.Reserve(_sets.GetCount() + 1));
  Set added;
  added.pipeline = key.pipeline;
  added.uniforms = key.uniforms;
  added.gradientRoom = key.gradientRoom;
  OSTRA_RETURN_IF_ERROR(added.objects.Resize(key.objects->GetCount()));
  std::copy(key.objects->begin(), key.objects->end(), added.objects.begin());
  OSTRA_ASSIGN_OR_RETURN(SetPool* const pool, FindPool(pipeline));
  OSTRA_ASSIGN_OR_RETURN(const auto entry, _setsByHash.Insert(key.GetHash()));
  auto allocated = pool->pool->Allocate(pipeline.GetSetLayout());
  if (!allocated) {
    if (entry.isNew) _setsByHash.Erase(key.GetHash());
    return allocated.TakeError();
  }
  --pool->left;
  added.set = *allocated;
  added.next = entry.isNew ? -1 : *entry.value;
  *entry.value = _sets.GetCount();
  OSTRA_RETURN_IF_ERROR(_sets.Append(std::move(added)));  // there is room
  return *allocated;
}

void RecordedWork::BindPipeline(Pipeline& pipeline) {
  if (_boundPipeline == pipeline.GetHandle()) return;
  vkCmdBindPipeline(_commands, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline.GetHandle());
  _boundPipeline = pipeline.GetHandle();
}

Result<void> RecordedWork::End() {
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEndCommandBuffer(_commands)));
  for (Chunk& chunk : _chunks) chunk.MarkDirty(0, chunk.used);
  return OK;
}

Result<void> RecordedWork::Update(Recorder& recorder) {
  for (Chunk& chunk : _chunks) {
    if (chunk.dirtyBegin >= chunk.dirtyEnd) continue;
    if (recorder.IsIdle(*chunk.buffer)) {
      MemCopy(chunk.buffer->GetMapped() + chunk.dirtyBegin, chunk.bytes.GetFirst() + chunk.dirtyBegin,
              chunk.dirtyEnd - chunk.dirtyBegin);
      chunk.dirtyBegin = chunk.dirtyEnd = 0;
    } else {
      OSTRA_RETURN_IF_ERROR(CopyDirty(recorder, chunk));
    }
  }
  return OK;
}

Result<void> RecordedWork::CopyDirty(Recorder& recorder, Chunk& chunk) {
  chunk.dirtyBegin = chunk.dirtyBegin / 4 * 4;  // values are words
  while (chunk.dirtyBegin < chunk.dirtyEnd) {
    const Int bytes = std::min(chunk.dirtyEnd - chunk.dirtyBegin, kCopyPiece);
    OSTRA_ASSIGN_OR_RETURN(const Recorder::UniformSlice slice, recorder.AllocateUniforms(bytes));
    MemCopy(slice.memory, chunk.bytes.GetFirst() + chunk.dirtyBegin, bytes);
    OSTRA_RETURN_IF_ERROR(recorder.Keep(*chunk.buffer));
    recorder.PrepareTransfer(*chunk.buffer, {{chunk.dirtyBegin, 0, 0}, {bytes, 1, 1}}, true);
    const VkBufferCopy copy = {slice.offset, static_cast<VkDeviceSize>(chunk.dirtyBegin),
                               static_cast<VkDeviceSize>(bytes)};
    vkCmdCopyBuffer(recorder.GetCommands(), recorder.GetUniformBuffer().GetHandle(), chunk.buffer->GetHandle(), 1,
                    &copy);
    chunk.copiedBy = recorder.GetSerial();
    chunk.dirtyBegin += bytes;
  }
  chunk.dirtyBegin = chunk.dirtyEnd = 0;
  return OK;
}

Result<void> RecordedWork::Keep(Recorder& recorder) {
  for (const BufferRef& buffer : _buffers) {
    OSTRA_RETURN_IF_ERROR(recorder.EnsureZeroed(*buffer));
    OSTRA_RETURN_IF_ERROR(recorder.Keep(*buffer));
  }
  for (const ImageRef& image : _images) {
    OSTRA_RETURN_IF_ERROR(recorder.EnsureCleared(*image));
    OSTRA_RETURN_IF_ERROR(recorder.Keep(*image));
  }
  return recorder.Keep(*this);
}

void RecordedWork::NoteDroppedBatch(UInt64 serial) {
  for (Chunk& chunk : _chunks)
    if (chunk.copiedBy == serial) chunk.MarkDirty(0, chunk.used);
}

}  // namespace ostra::vulkan
