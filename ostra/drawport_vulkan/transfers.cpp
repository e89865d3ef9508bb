#include "ostra/drawport_vulkan/transfers.h"

#include <algorithm>

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

DrawportRegion MakeRange(Int begin, Int count) { return {{begin, 0, 0}, {count, 1, 1}}; }

}  // namespace

Result<DrawportStagingBuffer*> Transfers::AllocStagingBuffer(Int bytes, DrawportStagingUse use) {
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

Result<StagingMemory*> Transfers::TakeStagingMemory(Int bytes, MemoryUse use) {
  const Int size = StagingPool::GetBlockSize(bytes);
  while (true) {
    const UInt64 completed = _recorder.GetCompletedSerial();
    if (StagingMemory* const memory = _stagingPool.Take(bytes, use, completed)) return memory;
    if (!_stagingPool.MustWait(size, completed)) break;
    OSTRA_RETURN_IF_ERROR(_recorder.Submit());
    OSTRA_RETURN_IF_ERROR(_recorder.WaitForOldest());
  }
  FreeSpareMemory();  // what is there does not fit
  OSTRA_ASSIGN_OR_RETURN(BufferRef buffer, BufferResource::Create(_recorder.GetDevice(), size, use, false));
  const Int created = buffer->GetSize();
  return _stagingPool.Add(std::move(buffer), created, use);
}

void Transfers::FreeSpareMemory() {
  _readAhead.Drop();
  for (StagingBuffer* staging : _stagingBuffers)
    if (staging->state == StagingBuffer::State::Released) staging->texels = {};
  _stagingPool.FreeSpare(_recorder.GetCompletedSerial());
}

Result<Byte*> Transfers::MapForWriting(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes) {
  if (buffer.GetMapped() && _recorder.IsIdle(buffer)) {
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

Result<void> Transfers::CheckUsable(const DeviceResource& resource) const {
  OSTRA_RETURN_IF_ERROR(resource.CheckIsOn(_recorder.GetDevice()));
  return _recorder.GetDevice().IsLost() ? _recorder.GetDevice().MakeLostError(__LINE__) : Result<void>(OK);
}

Result<Byte*> Transfers::MapBuffer(StagingBuffer& staging, DrawportMapMode mode, BufferResource& buffer, Int byteOffset,
                                   Int bytes) {
  OSTRA_RETURN_IF_ERROR(staging.CheckMapping(mode, bytes));
  if (byteOffset < 0 || byteOffset > buffer.GetSize() - bytes)
    return OSTRA_ILLEGAL_ARGUMENT("@ bytes from byte @ on are not inside a device buffer of @ bytes.", bytes,
                                  byteOffset, buffer.GetSize());
  OSTRA_RETURN_IF_ERROR(CheckUsable(buffer));
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

Result<void> Transfers::CommitBuffer(StagingBuffer& staging) {
  BufferResource& buffer = *staging.buffer;
  const Int end = staging.byteOffset + staging.bytes;
  const Int zeroBegin = buffer.GetZeroBegin();
  const Bool isLast = end == buffer.GetSize();
  // Zeros are filled in words: before bytes that leave a gap, or that end inside a word.
  if (staging.byteOffset > zeroBegin || (end > zeroBegin && end % 4 != 0 && !isLast))
    OSTRA_RETURN_IF_ERROR(_recorder.FillWithZeros(buffer));
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, _recorder.BeginBatch());
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(buffer));
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(*staging.memory->buffer));
  _recorder.PrepareTransfer(buffer, MakeRange(staging.byteOffset, staging.bytes), true);
  VkBufferCopy copy = {0, static_cast<VkDeviceSize>(staging.byteOffset), static_cast<VkDeviceSize>(staging.bytes)};
  vkCmdCopyBuffer(_recorder.GetCommands(), staging.memory->buffer->GetHandle(), buffer.GetHandle(), 1, &copy);
  staging.memory->busyUntil = serial;
  if (end > buffer.GetZeroBegin())
    buffer.SetZeroBegin(isLast ? buffer.GetPaddedSize() : end,
                        DeviceResource::MakeStamp(_recorder.GetNumber(), serial));
  return OK;
}

Result<void> Transfers::UnmapBuffer(StagingBuffer& staging) {
  if (staging.state != StagingBuffer::State::Buffer)
    return OSTRA_ILLEGAL_STATE("No buffer is mapped in this staging buffer.");
  Result<void> result = OK;
  // What the host has written itself goes with the device as well.
  if (staging.mode == DrawportMapMode::WriteDiscard && _recorder.GetDevice().IsLost())
    result = _recorder.GetDevice().MakeLostError(__LINE__);
  if (staging.memory) {
    if (result && staging.mode == DrawportMapMode::WriteDiscard) result = CommitBuffer(staging);
    staging.memory->isMapped = false;
    // On its way at once, so that the device copies while the host fills the next piece.
    if (result && staging.mode == DrawportMapMode::WriteDiscard && staging.bytes >= kLargeTransfer)
      result = _recorder.Submit();
  } else if (staging.mode == DrawportMapMode::WriteDiscard)
    staging.buffer->NoteHostWrite();
  staging.memory = nullptr;
  staging.buffer = {};
  staging.state = StagingBuffer::State::Idle;
  return result;
}

void Transfers::ReleaseStagingBuffer(StagingBuffer* staging) {
  // Mapped still: there may be bytes.
  if (staging->buffer && staging->mode == DrawportMapMode::WriteDiscard) staging->buffer->NoteHostWrite();
  if (staging->memory) staging->memory->isMapped = false;
  staging->memory = nullptr;
  staging->buffer = {};
  staging->image = {};
  staging->state = StagingBuffer::State::Released;
}

Result<void> Transfers::SetCounter(CounterResource& counter, UInt32 value) {
  BufferResource& buffer = counter.GetBuffer();
  OSTRA_RETURN_IF_ERROR(CheckUsable(buffer));
  OSTRA_RETURN_IF_ERROR(_recorder.EnsureZeroed(buffer));
  if (buffer.GetMapped() && _recorder.IsIdle(buffer)) {
    MemCopy(buffer.GetMapped(), &value, sizeof(value));
    return OK;
  }
  OSTRA_RETURN_IF_ERROR(_recorder.BeginBatch());
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(buffer));
  _recorder.PrepareTransfer(buffer, MakeRange(0, sizeof(value)), true);
  vkCmdUpdateBuffer(_recorder.GetCommands(), buffer.GetHandle(), 0, sizeof(value), &value);
  return OK;
}

Result<UInt32> Transfers::GetCounter(CounterResource& counter) {
  BufferResource& buffer = counter.GetBuffer();
  OSTRA_RETURN_IF_ERROR(CheckUsable(buffer));
  StagingBuffer staging;
  auto mapped = MapForReading(staging, buffer, 0, sizeof(UInt32));
  if (staging.memory) staging.memory->isMapped = false;
  if (!mapped) return mapped.TakeError();
  UInt32 value = 0;
  MemCopy(&value, *mapped, sizeof(value));
  return value;
}

}  // namespace ostra::vulkan
