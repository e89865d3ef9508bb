// Transfers: bytes and texels of a list on their way to the device and back. Where the host sees a buffer and nothing
// that was recorded names it, the host reads and writes the buffer itself; otherwise bytes go through staging memory,
// of which several pieces are on their way at once.
//
// transfers.cpp has buffers and counters, texture_transfers.cpp textures, reads.cpp what is read through staging
// memory.
#pragma once

#include "ostra/core/owned.h"
#include "ostra/drawport_vulkan/read_ahead.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/staging_pool.h"

namespace ostra::vulkan {

class Transfers {
 public:
  explicit Transfers(Recorder& recorder) : _recorder(recorder) {}
  Transfers(const Transfers&) = delete;

  // A staging buffer of at least `bytes`. Error: out of memory.
  Result<DrawportStagingBuffer*> AllocStagingBuffer(Int bytes, DrawportStagingUse use);
  void ReleaseStagingBuffer(StagingBuffer* staging);

  // See DrawportCommandList.
  Result<Byte*> MapBuffer(StagingBuffer& staging, DrawportMapMode mode, BufferResource& buffer, Int byteOffset,
                          Int bytes);
  Result<void> UnmapBuffer(StagingBuffer& staging);
  Result<Byte*> MapTexture(StagingBuffer& staging, DrawportMapMode mode, ImageResource& image,
                           const DrawportRegion& region, Int hostSize);
  Result<void> UnmapTexture(StagingBuffer& staging);
  Result<void> SetCounter(CounterResource& counter, UInt32 value);
  Result<UInt32> GetCounter(CounterResource& counter);

  // Frees memory that is only kept to be used again.
  void FreeSpareMemory();

 private:
  Result<StagingMemory*> TakeStagingMemory(Int bytes, MemoryUse use);
  Result<Byte*> MapForWriting(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes);
  Result<void> CommitBuffer(StagingBuffer& staging);

  Result<Byte*> ReadTexture(StagingBuffer& staging, ImageResource& image, const DrawportRegion& region, Int hostSize);
  Result<Byte*> MapTextureForWriting(StagingBuffer& staging, const ImageResource& image, const DrawportRegion& region,
                                     Int hostSize);
  Result<void> CommitTexture(StagingBuffer& staging);

  Result<Byte*> MapForReading(StagingBuffer& staging, BufferResource& buffer, Int byteOffset, Int bytes);
  // The bytes or texels of a region, copied to staging memory that counts as mapped; what follows is on its way.
  Result<StagingMemory*> Read(DeviceResource& resource, const DrawportRegion& region);
  Result<StagingMemory*> SubmitRead(DeviceResource& resource, const DrawportRegion& region, Int bytes);
  // Copies a region that is not asked for yet. Errors: those of the work that was recorded before.
  Result<void> ReadFollowing(DeviceResource& resource, const DrawportRegion& region);

  // Errors: illegal state if the resource belongs to another device or the device is lost.
  Result<void> CheckUsable(const DeviceResource& resource) const;

  Recorder& _recorder;
  OwnedArray<StagingBuffer> _stagingBuffers;
  StagingPool _stagingPool;
  ReadAhead _readAhead;
};

}  // namespace ostra::vulkan
