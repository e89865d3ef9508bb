// ImageResource: a texture with its memory and the view through which programs see it; SamplerResource: a sampler.
#pragma once

#include "ostra/drawport/resources.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/formats.h"

namespace ostra::vulkan {

class ImageResource final : public DeviceResource, public DrawportTexture {
 public:
  // Errors: illegal argument for a description that the device cannot do; out of memory.
  static Result<StrongRef<ImageResource>> Create(Device& device, const DrawportTextureDescription& description,
                                                 MemorySpill spill = MemorySpill::Allowed);
  // One that passes draw into: these also have depths and several samples.
  static Result<StrongRef<ImageResource>> CreateTarget(Device& device, const DrawportTextureDescription& description,
                                                       MemorySpill spill = MemorySpill::Allowed);

  ImageResource(DeviceRef device, const DrawportTextureDescription& description, Bool isTarget)
      : DeviceResource(std::move(device)),
        _description(description),
        _format(GetFormatInfo(description.format, description.depthFormat)),
        _isTarget(isTarget) {}

  const DrawportTextureDescription& GetDescription() const override { return _description; }
  Result<Int> GetStagingBufferSize(const DrawportOrigin& origin, const DrawportExtent& extent, Int level,
                                   Int layer) const override;

  VkImage GetHandle() const { return _image; }
  // The view of one texture, or of the array of its layers.
  VkImageView GetView(Bool isLayered) const { return isLayered ? _layeredView : _view; }
  // Textures of one and two dimensions have layers along the next dimension of their extent.
  Int GetLayerCount() const;
  // A block as layers (first, count) and what is left of it in each.
  VkImageSubresourceLayers GetLayers(const DrawportRegion& region) const;
  DrawportRegion GetRegionInLayer(const DrawportRegion& region) const;
  const FormatInfo& GetFormat() const { return _format; }
  // Whether the device filters it. No device filters integers of 32 bits, most filter all other formats.
  Bool IsFilterable() const { return _isFilterable; }
  Bool IsMeantToBeFiltered() const {
    return _description.format->valueClass == PixelValueClass::FloatingPoint ||
           _description.format->bitsPerChannel < 32;
  }
  Bool IsDepth() const { return _description.depthFormat != DrawportDepthFormat::None; }
  VkImageAspectFlags GetAspect() const { return IsDepth() ? VK_IMAGE_ASPECT_DEPTH_BIT : VK_IMAGE_ASPECT_COLOR_BIT; }
  // Bytes from one row of `width` texels to the next in staging buffers.
  Int GetPitch(Int width) const;

  // The layout between batches and whenever programs read or write it. What kernels write is in the general layout,
  // everything else in that for sampling.
  VkImageLayout GetHomeLayout() const {
    return _description.isImage ? VK_IMAGE_LAYOUT_GENERAL : VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
  }

  // Rows of texels (see texture_rows.h) up to here are zero or filled in whatever is submitted from now on. Kept by the
  // list that fills: `stamp` is that of the batch that does it, so that it can be taken back.
  Bool IsDefined() const { return GetDefinedRows() == GetRowCount(); }
  Int GetDefinedRows() const { return _definedRows.load(std::memory_order_acquire); }
  void SetDefinedRows(Int rows, UInt64 stamp);
  void SetAllDefined(UInt64 stamp) { SetDefinedRows(GetRowCount(), stamp); }
  void ForgetBatch(UInt64 stamp) override;
  // The same without what batch `stamp` writes, which was not submitted yet.
  Int GetUndefinedBegin(UInt64 stamp) const { return _definedBy == stamp ? _definedBefore : GetDefinedRows(); }
  // The following with the setup mutex held. Whether the setup gives it its layout, or has done so.
  Bool HasLayout() const { return _hasLayout; }
  void SetHasLayout() { _hasLayout = true; }
  // The setup zero-fills from row `begin` on, out of `zeros` unless it is all of the texture.
  void SetZeroedBySetup(Int begin, BufferRef zeros);
  // Bytes of the zeros for rows of a texture that was filled in part.
  Int GetZerosSize() const;
  Bool HasContents() const override { return true; }
  DrawportExtent GetExtent() const override { return _description.extent; }
  Int GetReadSize(const DrawportRegion& region) const override;
  // Between a block and packed texels.
  VkBufferImageCopy MakePackedCopy(const DrawportRegion& region) const;
  void RecordRead(VkCommandBuffer commands, const DrawportRegion& region, VkBuffer target) const override;
  const ImageResource* GetImage() const override { return this; }
  void AddSetupLayout(Bool isBehind, ImageBarriers& barriers) const override;
  void RecordSetup(VkCommandBuffer commands) override;
  void NoteSetup() override;

 private:
  Bool IsZeroedBySetup() const { return _zeroBegin < GetRowCount(); }
  Int GetRowCount() const { return _description.extent.height * _description.extent.depth; }
  void RecordZeros(VkCommandBuffer commands) const;
  Result<void> Check() const;
  Result<void> CheckTarget() const;
  Result<void> Init(MemorySpill spill);
  VkImageUsageFlags GetUsage() const;
  Result<void> CheckSize(const VkImageCreateInfo& info) const;
  void Free() override;
  Result<VkImageView> CreateView(Bool isLayered) const;

  DrawportTextureDescription _description;
  FormatInfo _format;
  Bool _isTarget;
  Bool _isFilterable = false;
  VkImage _image = VK_NULL_HANDLE;
  VkImageView _view = VK_NULL_HANDLE;
  VkImageView _layeredView = VK_NULL_HANDLE;  // 1D and 2D only
  MemoryPiece _piece;
  std::atomic<Int> _definedRows{0};  // lists of other threads look at it
  Int _definedBefore = 0;
  UInt64 _definedBy = 0;
  // Guarded by the mutex of the setup.
  Bool _hasLayout = false;
  Bool _isInLayout = false;    // the setup was submitted
  Int _zeroBegin = INT64_MAX;  // row
  BufferRef _zeros;
};
using ImageRef = StrongRef<ImageResource>;

class SamplerResource final : public DeviceResource, public DrawportTextureSampler {
 public:
  // `key`: see DrawportSamplerKey. Error: out of memory.
  static Result<StrongRef<SamplerResource>> Create(Device& device, UInt8 key);

  SamplerResource(DeviceRef device, UInt8 key) : DeviceResource(std::move(device)), _key(key) {}

  // What filters, or its twin that does not, for textures that the device cannot filter.
  VkSampler GetHandle(Bool isFilterable) const { return isFilterable || !_nearest ? _sampler : _nearest; }
  Bool IsLinear() const { return _nearest; }
  UInt8 GetKey() const { return _key; }

 private:
  void Free() override;

  UInt8 _key;
  VkSampler _sampler = VK_NULL_HANDLE;
  VkSampler _nearest = VK_NULL_HANDLE;  // of one that filters
};
using SamplerRef = StrongRef<SamplerResource>;

// A counter is a buffer of one word.
class CounterResource final : public DeviceResource, public DrawportAtomicCounter {
 public:
  // Error: out of memory.
  static Result<StrongRef<CounterResource>> Create(Device& device, MemorySpill spill = MemorySpill::Allowed);
  explicit CounterResource(DeviceRef device) : DeviceResource(std::move(device)) {}
  BufferResource& GetBuffer() const { return *_buffer; }

 private:
  void Free() override { _buffer = {}; }

  BufferRef _buffer;
};
using CounterRef = StrongRef<CounterResource>;

}  // namespace ostra::vulkan
