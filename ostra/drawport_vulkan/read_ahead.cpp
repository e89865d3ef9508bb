// Reading through staging memory. Buffers are read chunk after chunk: while the host takes the bytes of one, the device
// copies what follows, and hands that out when it is asked for next.
#include <algorithm>

#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Less is copied faster than it is submitted.
constexpr Int kMinReadAhead = Int(1) << 20;

}  // namespace

Result<StagingMemory*> CommandList::SubmitRead(BufferResource& buffer, Int byteOffset, Int bytes) {
  OSTRA_ASSIGN_OR_RETURN(StagingMemory * memory, TakeStagingMemory(bytes, MemoryUse::ReadBack));
  const auto copy = [&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(memory->busyUntil, BeginBatch());
    OSTRA_RETURN_IF_ERROR(Keep(buffer));
    OSTRA_RETURN_IF_ERROR(Keep(*memory->buffer));
    PrepareTransfer(buffer, {{byteOffset, 0, 0}, {bytes, 1, 1}}, false);
    const VkBufferCopy range = {static_cast<VkDeviceSize>(byteOffset), 0, static_cast<VkDeviceSize>(bytes)};
    vkCmdCopyBuffer(_current->commands, buffer.GetHandle(), memory->buffer->GetHandle(), 1, &range);
    return Submit();
  };
  Result<void> copied = copy();
  if (copied) return memory;
  memory->isMapped = false;
  return copied.TakeError();
}

Result<Byte*> CommandList::MapForReading(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes) {
  OSTRA_RETURN_IF_ERROR(EnsureZeroed(buffer));
  if (buffer.GetMapped() && buffer.IsHostCached()) {
    OSTRA_RETURN_IF_ERROR(WaitFor(buffer));
    return buffer.GetMapped() + byteOffset;
  }
  staging.memory = TakeReadAhead(buffer, byteOffset, bytes);
  if (!staging.memory) {
    DropReadAhead();
    OSTRA_ASSIGN_OR_RETURN(staging.memory, SubmitRead(buffer, byteOffset, bytes));
  }
  const UInt64 serial = staging.memory->busyUntil;
  ReadAhead(buffer, byteOffset + bytes, bytes);
  while (_completedSerial < serial && _batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  return staging.memory->buffer->GetMapped();
}

void CommandList::ReadAhead(BufferResource& buffer, Int byteOffset, Int mostBytes) {
  const Int bytes = std::min(mostBytes, buffer.GetSize() - byteOffset);
  if (bytes < kMinReadAhead) return;
  const UInt64 hostWrites = buffer.GetHostWrites();
  // It was not asked for yet: the request that comes meets the error, if it is still there.
  const Result<StagingMemory*> memory = SubmitRead(buffer, byteOffset, bytes);
  if (!memory) return;
  _readAhead = {WeakRef<BufferResource>(&buffer), byteOffset, bytes, *memory, _submittedValue, hostWrites};
}

StagingMemory* CommandList::TakeReadAhead(const BufferResource& buffer, Int byteOffset, Int bytes) {
  const CopiedAhead& ahead = _readAhead;
  if (!ahead.memory || ahead.buffer.GetPointer() != &buffer || ahead.byteOffset != byteOffset || ahead.bytes != bytes)
    return nullptr;
  // Whatever was recorded here, submitted anywhere or written by the host since then may have changed the bytes.
  if (_current || _device->GetSubmittedValue() != ahead.submittedValue || buffer.GetHostWrites() != ahead.hostWrites)
    return nullptr;
  _readAhead.buffer = {};
  return std::exchange(_readAhead.memory, nullptr);
}

void CommandList::DropReadAhead() {
  if (_readAhead.memory) _readAhead.memory->isMapped = false;
  _readAhead = {};
}

}  // namespace ostra::vulkan
