// Reading through staging memory, with what follows copied meanwhile.
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<StagingMemory*> CommandList::SubmitRead(DeviceResource& resource, const DrawportRegion& region, Int bytes) {
  OSTRA_ASSIGN_OR_RETURN(StagingMemory * memory, TakeStagingMemory(bytes, MemoryUse::ReadBack));
  const auto copy = [&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(memory->busyUntil, BeginBatch());
    OSTRA_RETURN_IF_ERROR(Keep(resource));
    OSTRA_RETURN_IF_ERROR(Keep(*memory->buffer));
    PrepareTransfer(resource, region, false);
    resource.RecordRead(_current->commands, region, memory->buffer->GetHandle());
    return Submit();
  };
  Result<void> copied = copy();
  if (copied) return memory;
  memory->isMapped = false;
  return copied.TakeError();
}

Result<StagingMemory*> CommandList::Read(DeviceResource& resource, const DrawportRegion& region) {
  StagingMemory* memory = _readAhead.Take(resource, region);
  if (!memory) {
    _readAhead.Drop();
    OSTRA_ASSIGN_OR_RETURN(memory, SubmitRead(resource, region, resource.GetReadSize(region)));
  }
  const UInt64 serial = memory->busyUntil;
  ReadFollowing(resource, FindNextRegion(resource.GetExtent(), region));
  const auto wait = [&]() -> Result<void> {
    while (_completedSerial < serial && _batches[_oldest].isInFlight) OSTRA_RETURN_IF_ERROR(WaitForOldest());
    return _device->IsLost() ? MakeDeviceLostError(kOstraUnit, __LINE__) : Result<void>(OK);
  };
  Result<void> waited = wait();
  if (waited) return memory;
  memory->isMapped = false;
  return waited.TakeError();
}

void CommandList::ReadFollowing(DeviceResource& resource, const DrawportRegion& region) {
  if (region.extent.width < 1) return;
  const Int bytes = resource.GetReadSize(region);
  if (bytes < ReadAhead::kMinBytes) return;
  const UInt64 hostWrites = resource.GetHostWrites();
  // It was not asked for yet: the request that comes meets the error, if it is still there.
  const Result<StagingMemory*> memory = SubmitRead(resource, region, bytes);
  if (!memory) return;
  const UInt64 stamp = DeviceResource::MakeStamp(_number, (*memory)->busyUntil);
  _readAhead.Note(resource, region, **memory, {stamp, _submittedValue, hostWrites});
}

Result<Byte*> CommandList::MapForReading(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes) {
  OSTRA_RETURN_IF_ERROR(EnsureZeroed(buffer));
  if (buffer.GetMapped() && buffer.IsHostCached()) {
    OSTRA_RETURN_IF_ERROR(WaitFor(buffer));
    return buffer.GetMapped() + byteOffset;
  }
  OSTRA_ASSIGN_OR_RETURN(staging.memory, Read(buffer, {{byteOffset, 0, 0}, {bytes, 1, 1}}));
  return staging.memory->buffer->GetMapped();
}

}  // namespace ostra::vulkan
