// How bytes get to the device and back. Where the host sees a buffer and nothing that was recorded names it, the host
// reads and writes the buffer itself; otherwise bytes go through staging memory, of which several pieces are on their
// way at once.
#include <algorithm>

#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

DrawportRegion MakeRange(Int begin, Int count) { return {{begin, 0, 0}, {count, 1, 1}}; }

}  // namespace

Result<DrawportStagingBuffer*> CommandList::AllocStagingBuffer(Int bytes, DrawportStagingUse use) {
  StagingBuffer* found = nullptr;
  for (StagingBuffer* staging : _stagingBuffers)
    if (staging->state == StagingBuffer::State::Released) found = staging;
  if (!found) {
    Owned<StagingBuffer> staging = MakeOwned<StagingBuffer>();
    if (!staging) return OSTRA_OUT_OF_MEMORY();
    OSTRA_ASSIGN_OR_RETURN(found, _stagingBuffers.Append(std::move(staging)));
  }
  found->state = StagingBuffer::State::Idle;
  found->size = bytes;
  found->use = use;
  return found;
}

Result<StagingMemory*> CommandList::TakeStagingMemory(Int bytes, MemoryUse use) {
  const Int size = StagingPool::GetBlockSize(bytes);
  while (true) {
    const UInt64 completed = GetCompletedSerial();
    if (StagingMemory* const memory = _stagingPool.Take(bytes, use, completed)) return memory;
    if (!_stagingPool.MustWait(size, completed)) break;
    OSTRA_RETURN_IF_ERROR(Submit());
    OSTRA_RETURN_IF_ERROR(WaitForOldest());
  }
  FreeSpareMemory();  // what is there does not fit
  OSTRA_ASSIGN_OR_RETURN(BufferRef buffer, BufferResource::Create(*_device, size, use, false));
  const Int created = buffer->GetSize();
  return _stagingPool.Add(std::move(buffer), created, use);
}

void CommandList::FreeSpareMemory() {
  _readAhead.Drop();
  for (StagingBuffer* staging : _stagingBuffers)
    if (staging->state == StagingBuffer::State::Released) staging->texels = {};
  _stagingPool.FreeSpare(GetCompletedSerial());
}

Bool CommandList::IsIdle(const DeviceResource& resource) {
  RetireReached();
  if (!resource.IsInUse()) return true;
  if (!_device->HasSeveralLists()) return false;
  _device->ReleaseDone();
  return !resource.IsInUse();
}

Result<void> CommandList::WaitFor(const DeviceResource& resource) {
  if (IsIdle(resource)) return OK;
  if (resource.IsPlanned()) OSTRA_RETURN_IF_ERROR(BeginBatch());  // for its setup to go with
  OSTRA_RETURN_IF_ERROR(Submit());
  while (!IsIdle(resource) && _batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  return IsIdle(resource) ? Result<void>(OK) : _device->WaitForSubmitted();
}

Result<void> CommandList::EnsureZeroed(BufferResource& buffer) {
  const Int begin = buffer.GetZeroBegin();
  const Int end = buffer.GetPaddedSize();
  if (begin >= end) return OK;
  const Bool isQuick = buffer.IsHostCached() || end - begin <= kLargeTransfer;
  if (!buffer.GetMapped() || !isQuick || !IsIdle(buffer)) return FillWithZeros(buffer);
  std::fill(buffer.GetMapped() + begin, buffer.GetMapped() + end, Byte(0));
  buffer.SetZeroBegin(end, 0);
  return OK;
}

Result<Byte*> CommandList::MapForWriting(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes) {
  if (buffer.GetMapped() && IsIdle(buffer)) {
    const Int zeroBegin = buffer.GetZeroBegin();
    if (byteOffset > zeroBegin) std::fill(buffer.GetMapped() + zeroBegin, buffer.GetMapped() + byteOffset, Byte(0));
    const Int end = byteOffset + bytes;
    buffer.SetZeroBegin(std::max(zeroBegin, end == buffer.GetSize() ? buffer.GetPaddedSize() : end), 0);
    buffer.NoteHostWrite();
    return buffer.GetMapped() + byteOffset;
  }
  OSTRA_ASSIGN_OR_RETURN(staging.memory, TakeStagingMemory(bytes, MemoryUse::Upload));
  return staging.memory->buffer->GetMapped();
}

Result<Byte*> CommandList::PrivateMapBuffer(DrawportStagingBuffer& stagingBuffer, DrawportMapMode mode,
                                            DrawportDeviceBuffer& deviceBuffer, Int stagingOffset, Int byteOffset,
                                            Int bytes) {
  auto& staging = static_cast<StagingBuffer&>(stagingBuffer);
  auto& buffer = static_cast<BufferResource&>(deviceBuffer);
  OSTRA_RETURN_IF_ERROR(staging.CheckMapping(mode, bytes));
  if (stagingOffset != 0)
    return OSTRA_ILLEGAL_ARGUMENT("A staging buffer is mapped from its beginning, not from byte @.", stagingOffset);
  if (byteOffset < 0 || byteOffset > buffer.GetSize() - bytes)
    return OSTRA_ILLEGAL_ARGUMENT("@ bytes from byte @ on are not inside a device buffer of @ bytes.", bytes,
                                  byteOffset, buffer.GetSize());
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(*_device));
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  staging.memory = nullptr;
  const Bool isRead = mode == DrawportMapMode::Read;
  Result<Byte*> mapped =
      isRead ? MapForReading(staging, buffer, byteOffset, bytes) : MapForWriting(staging, buffer, byteOffset, bytes);
  if (!mapped) {
    if (staging.memory) staging.memory->isMapped = false;
    staging.memory = nullptr;
    return mapped;
  }
  staging.state = StagingBuffer::State::Buffer;
  staging.mode = mode;
  staging.buffer = BufferRef(&buffer);
  staging.byteOffset = byteOffset;
  staging.bytes = bytes;
  return mapped;
}

Result<void> CommandList::CommitBuffer(StagingBuffer& staging) {
  BufferResource& buffer = *staging.buffer;
  const Int end = staging.byteOffset + staging.bytes;
  const Int zeroBegin = buffer.GetZeroBegin();
  const Bool isLast = end == buffer.GetSize();
  // Zeros are filled in words: before bytes that leave a gap, or that end inside a word.
  if (staging.byteOffset > zeroBegin || (end > zeroBegin && end % 4 != 0 && !isLast))
    OSTRA_RETURN_IF_ERROR(FillWithZeros(buffer));
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(buffer));
  OSTRA_RETURN_IF_ERROR(Keep(*staging.memory->buffer));
  PrepareTransfer(buffer, MakeRange(staging.byteOffset, staging.bytes), true);
  VkBufferCopy copy = {0, static_cast<VkDeviceSize>(staging.byteOffset), static_cast<VkDeviceSize>(staging.bytes)};
  vkCmdCopyBuffer(_current->commands, staging.memory->buffer->GetHandle(), buffer.GetHandle(), 1, &copy);
  staging.memory->busyUntil = serial;
  if (end > buffer.GetZeroBegin())
    buffer.SetZeroBegin(isLast ? buffer.GetPaddedSize() : end, DeviceResource::MakeStamp(_number, serial));
  return OK;
}

Result<void> CommandList::UnmapBuffer(DrawportStagingBuffer& stagingBuffer, DrawportUnmapMode) {
  auto& staging = static_cast<StagingBuffer&>(stagingBuffer);
  if (staging.state != StagingBuffer::State::Buffer)
    return OSTRA_ILLEGAL_STATE("No buffer is mapped in this staging buffer.");
  Result<void> result = OK;
  // What the host has written itself goes with the device as well.
  if (staging.mode == DrawportMapMode::WriteDiscard && _device->IsLost())
    result = MakeDeviceLostError(kOstraUnit, __LINE__);
  if (staging.memory) {
    if (result && staging.mode == DrawportMapMode::WriteDiscard) result = CommitBuffer(staging);
    staging.memory->isMapped = false;
    // On its way at once, so that the device copies while the host fills the next piece.
    if (result && staging.mode == DrawportMapMode::WriteDiscard && staging.bytes >= kLargeTransfer) result = Submit();
  } else if (staging.mode == DrawportMapMode::WriteDiscard)
    staging.buffer->NoteHostWrite();
  staging.memory = nullptr;
  staging.buffer = {};
  staging.state = StagingBuffer::State::Idle;
  return result;
}

void CommandList::ReleaseStagingBuffer(DrawportStagingBuffer* stagingBuffer) {
  auto* staging = static_cast<StagingBuffer*>(stagingBuffer);
  if (!staging) return;
  // Mapped still: there may be bytes.
  if (staging->buffer && staging->mode == DrawportMapMode::WriteDiscard) staging->buffer->NoteHostWrite();
  if (staging->memory) staging->memory->isMapped = false;
  staging->memory = nullptr;
  staging->buffer = {};
  staging->image = {};
  staging->state = StagingBuffer::State::Released;
}

Result<void> CommandList::SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) {
  BufferResource& buffer = static_cast<CounterResource&>(counter).GetBuffer();
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(*_device));
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  OSTRA_RETURN_IF_ERROR(EnsureZeroed(buffer));
  if (buffer.GetMapped() && IsIdle(buffer)) {
    MemCopy(buffer.GetMapped(), &value, sizeof(value));
    return OK;
  }
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(buffer));
  PrepareTransfer(buffer, MakeRange(0, sizeof(value)), true);
  vkCmdUpdateBuffer(_current->commands, buffer.GetHandle(), 0, sizeof(value), &value);
  return OK;
}

Result<UInt32> CommandList::GetAtomicCounterValue(DrawportAtomicCounter& counter) {
  BufferResource& buffer = static_cast<CounterResource&>(counter).GetBuffer();
  OSTRA_RETURN_IF_ERROR(buffer.CheckIsOn(*_device));
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  StagingBuffer staging;
  auto mapped = MapForReading(staging, buffer, 0, sizeof(UInt32));
  if (staging.memory) staging.memory->isMapped = false;
  if (!mapped) return mapped.TakeError();
  UInt32 value = 0;
  MemCopy(&value, *mapped, sizeof(value));
  return value;
}

}  // namespace ostra::vulkan
