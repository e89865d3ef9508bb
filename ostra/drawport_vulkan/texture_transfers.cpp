// How texels get to the device and back, always through staging memory.
#include "ostra/drawport_vulkan/transfers.h"
#include "ostra/jobs/parallel_for.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Whether the device cannot copy the rows as the host has them.
Bool NeedsRepacking(const ImageResource& image, Int width) {
  return image.GetFormat().IsWidened() || image.GetPitch(width) % image.GetFormat().hostTexelSize != 0;
}

Int GetDeviceSize(const ImageResource& image, const DrawportExtent& extent) {
  return extent.width * extent.height * extent.depth * image.GetFormat().deviceTexelSize;
}

// Between the rows of the host, a pitch apart, and the packed texels of the device.
void Repack(const ImageResource& image, const DrawportExtent& extent, Byte* hostTexels, Byte* deviceTexels,
            Bool toDevice) {
  const FormatInfo& format = image.GetFormat();
  const Int pitch = image.GetPitch(extent.width);
  const Int deviceRow = extent.width * format.deviceTexelSize;
  ParallelFor::Dynamic(extent.height * extent.depth, [&](Int begin, Int end) {
    for (Int row = begin; row < end; ++row) {
      Byte* host = hostTexels + row * pitch;
      Byte* device = deviceTexels + row * deviceRow;
      if (!format.IsWidened())
        toDevice ? MemCopy(device, host, deviceRow) : MemCopy(host, device, deviceRow);
      else if (toDevice)
        WidenTexels(format, host, device, extent.width);
      else
        NarrowTexels(format, device, host, extent.width);
    }
  });
}

VkBufferImageCopy MakeCopy(const ImageResource& image, const DrawportRegion& region) {
  VkBufferImageCopy copy = image.MakePackedCopy(region);
  const Int width = region.extent.width;
  if (!NeedsRepacking(image, width))
    copy.bufferRowLength = static_cast<UInt32>(image.GetPitch(width) / image.GetFormat().hostTexelSize);
  return copy;
}

}  // namespace

VkBufferImageCopy ImageResource::MakePackedCopy(const DrawportRegion& region) const {
  const auto& [origin, extent] = GetRegionInLayer(region);
  VkBufferImageCopy copy = {};
  copy.imageSubresource = GetLayers(region);
  copy.imageOffset = {static_cast<Int32>(origin.x), static_cast<Int32>(origin.y), static_cast<Int32>(origin.z)};
  copy.imageExtent = {static_cast<UInt32>(extent.width), static_cast<UInt32>(extent.height),
                      static_cast<UInt32>(extent.depth)};
  return copy;
}

Int ImageResource::GetReadSize(const DrawportRegion& region) const {
  if (NeedsRepacking(*this, region.extent.width)) return GetDeviceSize(*this, region.extent);
  return GetPitch(region.extent.width) * region.extent.height * region.extent.depth;
}

void ImageResource::RecordRead(VkCommandBuffer commands, const DrawportRegion& region, VkBuffer target) const {
  const VkBufferImageCopy copy = MakeCopy(*this, region);
  vkCmdCopyImageToBuffer(commands, _image, LayoutTracker::GetTransferLayout(GetHomeLayout(), false), target, 1, &copy);
}

Result<Byte*> Transfers::ReadTexture(StagingBuffer& staging, ImageResource& image, const DrawportRegion& region,
                                     Int hostSize) {
  const Bool isRepacked = NeedsRepacking(image, region.extent.width);
  if (isRepacked) OSTRA_RETURN_IF_ERROR(staging.texels.Resize(hostSize));
  OSTRA_RETURN_IF_ERROR(_recorder.EnsureCleared(image));
  OSTRA_ASSIGN_OR_RETURN(StagingMemory * memory, Read(image, region));
  staging.memory = memory;
  if (!isRepacked) return memory->buffer->GetMapped();
  Repack(image, region.extent, staging.texels.GetFirst(), memory->buffer->GetMapped(), false);
  return staging.texels.GetFirst();
}

Result<Byte*> Transfers::MapTextureForWriting(StagingBuffer& staging, const ImageResource& image,
                                              const DrawportRegion& region, Int hostSize) {
  const Bool isRepacked = NeedsRepacking(image, region.extent.width);
  if (isRepacked) OSTRA_RETURN_IF_ERROR(staging.texels.Resize(hostSize));
  OSTRA_ASSIGN_OR_RETURN(staging.memory, TakeStagingMemory(image.GetReadSize(region), MemoryUse::Upload));
  return isRepacked ? staging.texels.GetFirst() : staging.memory->buffer->GetMapped();
}

Result<Byte*> Transfers::MapTexture(StagingBuffer& staging, DrawportMapMode mode, ImageResource& image,
                                    const DrawportRegion& region, Int hostSize) {
  OSTRA_RETURN_IF_ERROR(staging.CheckMapping(mode, hostSize));
  OSTRA_RETURN_IF_ERROR(CheckUsable(image));
  staging.memory = nullptr;
  Result<Byte*> mapped = mode == DrawportMapMode::Read ? ReadTexture(staging, image, region, hostSize)
                                                       : MapTextureForWriting(staging, image, region, hostSize);
  if (!mapped) {
    if (staging.memory) staging.memory->isMapped = false;
    staging.memory = nullptr;
    return mapped;
  }
  staging.state = StagingBuffer::State::Texture;
  staging.mode = mode;
  staging.image = ImageRef(&image);
  staging.region = region;
  staging.bytes = hostSize;
  return mapped;
}

Result<void> Transfers::CommitTexture(StagingBuffer& staging) {
  ImageResource& image = *staging.image;
  BufferResource& memory = *staging.memory->buffer;
  if (NeedsRepacking(image, staging.region.extent.width))
    Repack(image, staging.region.extent, staging.texels.GetFirst(), memory.GetMapped(), true);
  OSTRA_ASSIGN_OR_RETURN(const Bool isFill, _recorder.PrepareFill(image, staging.region));
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, _recorder.BeginBatch());
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(image));
  OSTRA_RETURN_IF_ERROR(_recorder.Keep(memory));
  _recorder.PrepareTransfer(image, staging.region, true);
  const VkBufferImageCopy copy = MakeCopy(image, staging.region);
  vkCmdCopyBufferToImage(_recorder.GetCommands(), memory.GetHandle(), image.GetHandle(),
                         LayoutTracker::GetTransferLayout(image.GetHomeLayout(), true), 1, &copy);
  if (isFill) _recorder.NoteFill(image, staging.region);
  staging.memory->busyUntil = serial;
  return OK;
}

Result<void> Transfers::UnmapTexture(StagingBuffer& staging) {
  if (staging.state != StagingBuffer::State::Texture)
    return OSTRA_ILLEGAL_STATE("No texture is mapped in this staging buffer.");
  Result<void> result = OK;
  if (staging.mode == DrawportMapMode::WriteDiscard) {
    result = CommitTexture(staging);
    if (result && staging.bytes >= kLargeTransfer) result = _recorder.Submit();
  }
  staging.memory->isMapped = false;
  staging.memory = nullptr;
  staging.image = {};
  staging.state = StagingBuffer::State::Idle;
  return result;
}

}  // namespace ostra::vulkan
