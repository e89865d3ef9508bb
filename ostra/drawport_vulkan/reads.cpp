// Reading through staging memory, with what follows copied meanwhile.
#include "ostra/drawport/settings.h"
#include "ostra/drawport_vulkan/transfers.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<StagingMemory*> Transfers::SubmitRead(DeviceResource& resource, const DrawportRegion& region, Int bytes) {
  OSTRA_ASSIGN_OR_RETURN(StagingMemory * memory, TakeStagingMemory(bytes, MemoryUse::ReadBack));
  const auto copy = [&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(memory->busyUntil, _recorder.BeginBatch());
    OSTRA_RETURN_IF_ERROR(_recorder.Keep(resource));
    OSTRA_RETURN_IF_ERROR(_recorder.Keep(*memory->buffer));
    _recorder.PrepareTransfer(resource, region, false);
    resource.RecordRead(_recorder.GetCommands(), region, memory->buffer->GetHandle());
    return _recorder.Submit();
  };
  Result<void> copied = copy();
  if (copied) return memory;
  memory->isMapped = false;
  return copied.TakeError();
}

Result<StagingMemory*> Transfers::Read(DeviceResource& resource, const DrawportRegion& region) {
  StagingMemory* memory = _readAhead.Take(resource, region);
  if (!memory) {
    _readAhead.Drop();
    OSTRA_ASSIGN_OR_RETURN(memory, SubmitRead(resource, region, resource.GetReadSize(region)));
  }
  const UInt64 serial = memory->busyUntil;
  Result<void> done = ReadFollowing(resource, FindNextRegion(resource.GetExtent(), region));
  if (done) done = _recorder.WaitForBatch(serial);
  if (done) return memory;
  memory->isMapped = false;
  return done.TakeError();
}

Result<void> Transfers::ReadFollowing(DeviceResource& resource, const DrawportRegion& region) {
  if (region.extent.width < 1) return OK;
  const Int bytes = resource.GetReadSize(region);
  if (bytes < ReadAhead::kMinBytes) return OK;
  // Work that the client has recorded is not dropped in silence when the copy fails.
  OSTRA_RETURN_IF_ERROR(_recorder.Submit());
  const UInt64 hostWrites = resource.GetHostWrites();
  // It was not asked for yet: the request that comes meets the error, if it is still there.
  const Result<StagingMemory*> memory = SubmitRead(resource, region, bytes);
  if (!memory) return OK;
  const UInt64 stamp = DeviceResource::MakeStamp(_recorder.GetNumber(), (*memory)->busyUntil);
  _readAhead.Note(resource, region, **memory,
                  {stamp, _recorder.GetSubmittedValue(), hostWrites, GetDrawportRowAlignment()});
  return OK;
}

Result<Byte*> Transfers::MapForReading(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes) {
  OSTRA_RETURN_IF_ERROR(_recorder.EnsureZeroed(buffer));
  if (buffer.GetMapped() && buffer.IsHostCached()) {
    OSTRA_RETURN_IF_ERROR(_recorder.WaitFor(buffer));
    return buffer.GetMapped() + byteOffset;
  }
  OSTRA_ASSIGN_OR_RETURN(staging.memory, Read(buffer, {{byteOffset, 0, 0}, {bytes, 1, 1}}));
  return staging.memory->buffer->GetMapped();
}

}  // namespace ostra::vulkan
