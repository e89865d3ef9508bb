#include "ostra/drawport_vulkan/recorder.h"

#include <algorithm>

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<void> Recorder::Init() {
  OSTRA_ASSIGN_OR_RETURN(_number, _device->AddList(*this));
  for (Batch& batch : _batches) OSTRA_RETURN_IF_ERROR(InitBatch(batch));
  OSTRA_ASSIGN_OR_RETURN(
      _uniforms, BufferResource::Create(*_device, static_cast<Int>(_uniformRing.GetSize()), MemoryUse::Upload, false));
  return OK;
}

Result<void> Recorder::InitBatch(Batch& batch) {
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
  return OK;
}

void Recorder::Close() {
  if (_current) Abandon(*_current);
  for (const Batch& batch : _batches)
    if (batch.isInFlight && !_device->Wait(batch.timelineValue)) _device->WaitUntilIdle();
  _device->RemoveList(_number);  // from here on no other thread looks into the batches
}

Recorder::~Recorder() {
  for (Batch& batch : _batches) {
    ReleaseKept(batch);
    if (batch.pool && !_device->IsHung()) vkDestroyCommandPool(_device->GetHandle(), batch.pool, nullptr);
  }
}

void Recorder::ReleaseKept(Batch& batch) {
  for (const DeviceResourceRef& resource : batch.kept) resource->EndUse();
  batch.kept.Clear();
}

void Recorder::ReleaseDone(UInt64 reached) {
  const std::scoped_lock lock(_keptMutex);
  for (Batch& batch : _batches)
    if (batch.isInFlight && batch.timelineValue <= reached) ReleaseKept(batch);
}

void Recorder::Retire(Batch& batch) {
  _listener.NoteDoneBatch(&batch - _batches);
  {
    const std::scoped_lock lock(_keptMutex);
    ReleaseKept(batch);
    batch.isInFlight = false;
  }
  _completedSerial = batch.serial;
  _uniformRing.Release(batch.uniformEnd);
  _oldest = (_oldest + 1) % kBatchCount;
}

void Recorder::RetireReached() {
  if (!_batches[_oldest].isInFlight) return;
  const UInt64 reached = _device->GetReachedValue();
  while (_batches[_oldest].isInFlight && _batches[_oldest].timelineValue <= reached) Retire(_batches[_oldest]);
}

Result<void> Recorder::WaitForOldest() {
  Batch& batch = _batches[_oldest];
  if (!batch.isInFlight) return OK;
  OSTRA_RETURN_IF_ERROR(_device->Wait(batch.timelineValue));
  Retire(batch);
  return OK;
}

UInt64 Recorder::GetCompletedSerial() {
  RetireReached();
  // A batch that was given up is over as well.
  if (!_current && !_batches[_oldest].isInFlight) _completedSerial = _serial;
  return _completedSerial;
}

void Recorder::Abandon(Batch& batch) {
  for (const DeviceResourceRef& resource : batch.kept)
    resource->ForgetBatch(DeviceResource::MakeStamp(_number, batch.serial));
  ReleaseKept(batch);
  _listener.NoteDroppedBatch(&batch - _batches, batch.serial);
  _uniformRing.Rewind(batch.uniformEnd);  // where the batch began
  _current = nullptr;
  _barriers.Forget();
  _layouts.Forget();
}

Result<UInt64> Recorder::BeginBatch() {
  if (_device->IsLost()) return _device->MakeLostError(__LINE__);
  if (_current) return _current->serial;
  RetireReached();
  if (_device->IsLost()) return _device->MakeLostError(__LINE__);  // noticed just now
  Batch& batch = _batches[_next];
  if (batch.isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkResetCommandPool(_device->GetHandle(), batch.pool, 0)));
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkBeginCommandBuffer(batch.commands, &info)));
  batch.serial = ++_serial;
  batch.uniformEnd = _uniformRing.GetHead();
  _listener.NoteNewBatch();
  _current = &batch;
  return batch.serial;
}

Result<void> Recorder::Keep(DeviceResource& resource) {
  const UInt64 stamp = DeviceResource::MakeStamp(_number, _current->serial);
  if (resource.WasLastUsedBy(stamp)) return OK;
  OSTRA_RETURN_IF_ERROR(_current->kept.Append(DeviceResourceRef(&resource)));
  resource.BeginUse(stamp);
  return OK;
}

Result<void> Recorder::Submit() {
  if (!_current) return OK;
  _listener.SuspendPass();
  Batch& batch = *_current;
  RecordEndOfBatch();
  Result<void> ended = OSTRA_VULKAN(vkEndCommandBuffer(batch.commands));
  Result<UInt64> value = ended ? SubmitBehindSetup(batch) : Result<UInt64>(ended.TakeError());
  if (!value) {
    Abandon(batch);
    _device->TellLoss();
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

Result<void> Recorder::Execute(Bool wait) {
  OSTRA_RETURN_IF_ERROR(Submit());
  if (!wait || _device->IsLost()) RetireReached();
  if (_device->IsLost()) return _device->MakeLostError(__LINE__);
  if (!wait) return OK;
  while (_batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  return OK;
}

Result<Recorder::UniformSlice> Recorder::AllocateUniforms(Int bytes) {
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

Result<void> Recorder::WaitForBatch(UInt64 serial) {
  if (_current && _current->serial <= serial) OSTRA_RETURN_IF_ERROR(Submit());
  while (_completedSerial < serial && _batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  return _device->IsLost() ? _device->MakeLostError(__LINE__) : Result<void>(OK);
}

Bool Recorder::IsIdle(const DeviceResource& resource) {
  RetireReached();
  if (!resource.IsInUse()) return true;
  if (!_device->HasSeveralLists()) return false;
  _device->ReleaseDone();
  return !resource.IsInUse();
}

Result<void> Recorder::WaitFor(const DeviceResource& resource) {
  if (!IsIdle(resource)) {
    if (resource.IsPlanned()) OSTRA_RETURN_IF_ERROR(BeginBatch());  // for its setup to go with
    OSTRA_RETURN_IF_ERROR(Submit());
    while (!IsIdle(resource) && _batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
    if (!IsIdle(resource)) OSTRA_RETURN_IF_ERROR(_device->WaitForSubmitted());
  }
  // Everything counts as done on a lost device.
  return _device->IsLost() ? _device->MakeLostError(__LINE__) : Result<void>(OK);
}

}  // namespace ostra::vulkan
