#include "ostra/drawport_vulkan/command_list.h"

#include "ostra/drawport_vulkan/program_factory.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Room for the uniforms of several thousand dispatches that the device has not done yet.

}  // namespace

Result<void> CommandList::Init() {
  OSTRA_ASSIGN_OR_RETURN(_number, _device->AddList(*this));
  for (Batch& batch : _batches) {
    VkCommandPoolCreateInfo pool = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    pool.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    pool.queueFamilyIndex = _device->GetQueueFamily();
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateCommandPool(_device->GetHandle(), &pool, nullptr, &batch.pool)));
    VkCommandBufferAllocateInfo commands = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    commands.commandPool = batch.pool;
    commands.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    VkCommandBuffer allocated[2] = {};
    commands.commandBufferCount = 2;
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkAllocateCommandBuffers(_device->GetHandle(), &commands, allocated)));
    batch.commands = allocated[0];
    batch.setup = allocated[1];
  }
  OSTRA_ASSIGN_OR_RETURN(
      _uniforms, BufferResource::Create(*_device, static_cast<Int>(_uniformRing.GetSize()), MemoryUse::Upload, false));
  return OK;
}

CommandList::~CommandList() {
  // Work that was recorded but never submitted is dropped; what was submitted is awaited.
  if (_current) Abandon(*_current);
  for (const Batch& batch : _batches)
    if (batch.isInFlight && !_device->Wait(batch.timelineValue)) _device->WaitUntilIdle();
  _device->RemoveList(_number);  // from here on no other thread looks into the batches
  for (Batch& batch : _batches) {
    ReleaseKept(batch);
    DestroyStamps(batch);
    if (batch.pool && !_device->IsHung()) vkDestroyCommandPool(_device->GetHandle(), batch.pool, nullptr);
  }
}

void CommandList::ReleaseKept(Batch& batch) {
  for (const DeviceResourceRef& resource : batch.kept) resource->EndUse();
  batch.kept.Clear();
}

void CommandList::ReleaseDone(UInt64 reached) {
  const std::scoped_lock lock(_keptMutex);
  for (Batch& batch : _batches)
    if (batch.isInFlight && batch.timelineValue <= reached) ReleaseKept(batch);
}

void CommandList::Retire(Batch& batch) {
  ReadStamps(batch);
  {
    const std::scoped_lock lock(_keptMutex);
    ReleaseKept(batch);
    batch.isInFlight = false;
  }
  _completedSerial = batch.serial;
  _uniformRing.Release(batch.uniformEnd);
  _oldest = (_oldest + 1) % kBatchCount;
}

void CommandList::RetireReached() {
  if (!_batches[_oldest].isInFlight) return;
  const UInt64 reached = _device->GetReachedValue();
  while (_batches[_oldest].isInFlight && _batches[_oldest].timelineValue <= reached) Retire(_batches[_oldest]);
}

Result<void> CommandList::WaitForOldest() {
  Batch& batch = _batches[_oldest];
  if (!batch.isInFlight) return OK;
  OSTRA_RETURN_IF_ERROR(_device->Wait(batch.timelineValue));
  Retire(batch);
  return OK;
}

UInt64 CommandList::GetCompletedSerial() {
  RetireReached();
  // A batch that was given up is over as well.
  if (!_current && !_batches[_oldest].isInFlight) _completedSerial = _serial;
  return _completedSerial;
}

void CommandList::Abandon(Batch& batch) {
  for (const DeviceResourceRef& resource : batch.kept)
    resource->ForgetBatch(DeviceResource::MakeStamp(_number, batch.serial));
  ReleaseKept(batch);
  if (batch.stamps) batch.stamps->count = 0;
  _isRendering = false;
  if (_clearedBy == batch.serial) _isCleared = false;  // the pass clears once more
  _uniformRing.Rewind(batch.uniformEnd);               // where the batch began
  _current = nullptr;
  _barriers.Forget();
}

Result<UInt64> CommandList::BeginBatch() {
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  if (_current) return _current->serial;
  RetireReached();
  Batch& batch = _batches[_next];
  if (batch.isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkResetCommandPool(_device->GetHandle(), batch.pool, 0)));
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkBeginCommandBuffer(batch.commands, &info)));
  batch.serial = ++_serial;
  batch.uniformEnd = _uniformRing.GetHead();
  _boundPipeline = VK_NULL_HANDLE;
  _boundSet = {};
  _boundDrawSet = {};
  _current = &batch;
  return batch.serial;
}

Result<void> CommandList::Keep(DeviceResource& resource) {
  const UInt64 stamp = DeviceResource::MakeStamp(_number, _current->serial);
  if (resource.WasLastUsedBy(stamp)) return OK;
  OSTRA_RETURN_IF_ERROR(_current->kept.Append(DeviceResourceRef(&resource)));
  resource.BeginUse(stamp);
  return OK;
}

Result<void> CommandList::Submit() {
  if (!_current) return OK;
  SuspendPass();
  Batch& batch = *_current;
  RecordBarrier(_barriers.BeforeHost());
  Result<void> ended = OSTRA_VULKAN(vkEndCommandBuffer(batch.commands));
  Result<UInt64> value = ended ? SubmitBehindSetup(batch) : Result<UInt64>(ended.TakeError());
  if (!value) {
    Abandon(batch);
    return value.TakeError();
  }
  batch.uniformEnd = _uniformRing.GetHead();
  {
    const std::scoped_lock lock(_keptMutex);
    batch.timelineValue = *value;
    batch.isInFlight = true;
  }
  _next = (_next + 1) % kBatchCount;
  _current = nullptr;
  return OK;
}

Result<void> CommandList::Execute(Bool wait) {
  OSTRA_RETURN_IF_ERROR(Submit());
  if (!wait || _device->IsLost()) RetireReached();
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  if (!wait) return OK;
  while (_batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  return OK;
}

Result<void> CommandList::Finish() { return Execute(true); }

Result<CommandList::UniformSlice> CommandList::AllocateUniforms(Int bytes) {
  const Int alignment = static_cast<Int>(std::max<UInt64>(_device->GetLimits().minUniformBufferOffsetAlignment,
                                                          _device->GetLimits().minStorageBufferOffsetAlignment));
  const UInt64 size = static_cast<UInt64>((bytes + alignment - 1) / alignment * alignment);
  if (size > _uniformRing.GetSize() / 4)
    return OSTRA_ILLEGAL_ARGUMENT("Uniforms of @ bytes are more than a dispatch can have.", bytes);
  while (true) {
    OSTRA_RETURN_IF_ERROR(BeginBatch());
    std::optional<UInt64> offset = _uniformRing.Allocate(size);
    if (!offset) {
      RetireReached();
      offset = _uniformRing.Allocate(size);
    }
    if (offset) return UniformSlice{_uniforms->GetMapped() + *offset, static_cast<UInt32>(*offset)};
    // The ring is full of work that is not done: let the device do it.
    OSTRA_RETURN_IF_ERROR(Submit());
    OSTRA_RETURN_IF_ERROR(WaitForOldest());
  }
}

Result<ProgramFactory*> CommandList::PrepareDispatch(DrawportProgramFactory& program,
                                                     DrawportParameterValueSet& values) {
  auto& factory = static_cast<ProgramFactory&>(program);
  auto& set = static_cast<ValueSet&>(values);
  if (&factory.GetDevice() != _device.GetPointer())
    return OSTRA_ILLEGAL_STATE("The GPU program was built for another device.");
  if (!set.IsOfProgram(factory))
    return OSTRA_ILLEGAL_ARGUMENT("The values of the dispatch are those of another GPU program.");
  if (factory.GetPipeline().IsGraphics())
    return OSTRA_ILLEGAL_ARGUMENT("The GPU program draws; it has no compute stage to dispatch.");
  SuspendPass();
  OSTRA_ASSIGN_OR_RETURN(const ValueSet::Binding binding, set.Prepare(*this));
  OSTRA_RETURN_IF_ERROR(Keep(factory.GetPipeline()));
  RecordBarrier(_barriers.BeforeDispatch());
  const Pipeline& pipeline = factory.GetPipeline();
  if (_boundPipeline != pipeline.GetHandle()) {
    vkCmdBindPipeline(_current->commands, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline.GetHandle());
    _boundPipeline = pipeline.GetHandle();
  }
  binding.Record(_current->commands, VK_PIPELINE_BIND_POINT_COMPUTE, pipeline.GetLayout(), _boundSet);
  return &factory;
}

Result<void> CommandList::Dispatch(DrawportProgramFactory& program, DrawportParameterValueSet& values, UInt32 x,
                                   UInt32 y, UInt32 z) {
  constexpr UInt32 kMaxGroups = 65535;
  if (x < 1 || y < 1 || z < 1 || x > kMaxGroups || y > kMaxGroups || z > kMaxGroups)
    return OSTRA_ILLEGAL_ARGUMENT("@ x @ x @ work groups are not between 1 and @ in each direction.", x, y, z,
                                  kMaxGroups);
  OSTRA_RETURN_IF_ERROR(PrepareDispatch(program, values));
  vkCmdDispatch(_current->commands, x, y, z);
  _barriers.AddDispatch();
  return OK;
}

Result<void> CommandList::DispatchIndirect(DrawportProgramFactory& program, DrawportParameterValueSet& values,
                                           DrawportDeviceBuffer& arguments, Int byteOffset) {
  auto& buffer = static_cast<BufferResource&>(arguments);
  constexpr Int kRecordSize = 4 * sizeof(Int32);
  if (byteOffset < 0 || byteOffset % 4 != 0 || byteOffset > buffer.GetSize() - kRecordSize)
    return OSTRA_ILLEGAL_ARGUMENT("There are no work group counts at byte @ of a buffer of @ bytes.", byteOffset,
                                  buffer.GetSize());
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(*_device));
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  OSTRA_RETURN_IF_ERROR(EnsureZeroed(buffer));
  OSTRA_RETURN_IF_ERROR(PrepareDispatch(program, values));
  OSTRA_RETURN_IF_ERROR(Keep(buffer));
  vkCmdDispatchIndirect(_current->commands, buffer.GetHandle(), static_cast<VkDeviceSize>(byteOffset));
  _barriers.AddDispatch();
  return OK;
}

}  // namespace ostra::vulkan
