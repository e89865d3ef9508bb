#include "ostra/drawport_vulkan/image.h"

#include "ostra/drawport/settings.h"
#include "ostra/drawport_vulkan/buffer.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

VkImageType GetImageType(DrawportTextureType type) {
  if (type == DrawportTextureType::Texture1D) return VK_IMAGE_TYPE_1D;
  return type == DrawportTextureType::Texture2D ? VK_IMAGE_TYPE_2D : VK_IMAGE_TYPE_3D;
}

VkImageViewType GetViewType(DrawportTextureType type, Bool isLayered) {
  if (type == DrawportTextureType::Texture1D) return isLayered ? VK_IMAGE_VIEW_TYPE_1D_ARRAY : VK_IMAGE_VIEW_TYPE_1D;
  if (type == DrawportTextureType::Texture2D) return isLayered ? VK_IMAGE_VIEW_TYPE_2D_ARRAY : VK_IMAGE_VIEW_TYPE_2D;
  return VK_IMAGE_VIEW_TYPE_3D;
}

// The address mode of one axis: both bits of the key, moved down.
VkSamplerAddressMode GetAddressMode(UInt32 bits) {
  if (bits == 0) return VK_SAMPLER_ADDRESS_MODE_REPEAT;
  return bits == 3 ? VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_BORDER : VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
}

}  // namespace

Result<ImageRef> ImageResource::Create(Device& device, const DrawportTextureDescription& description,
                                       MemorySpill spill) {
  if (!description.format) return OSTRA_ILLEGAL_ARGUMENT("A texture needs a pixel format.");
  if (description.depthFormat != DrawportDepthFormat::None || description.sampleCount != 1)
    return OSTRA_ILLEGAL_ARGUMENT("Only render targets have depths or several samples.");
  ImageResource* image = NewObj<ImageResource>(DeviceRef(&device), description, false);
  if (!image) return OSTRA_OUT_OF_MEMORY();
  ImageRef held = ImageRef::Adopt(image);
  OSTRA_RETURN_IF_ERROR(image->Check());
  OSTRA_RETURN_IF_ERROR(image->Init(spill));
  return held;
}

Result<ImageRef> ImageResource::CreateTarget(Device& device, const DrawportTextureDescription& description,
                                             MemorySpill spill) {
  ImageResource* image = NewObj<ImageResource>(DeviceRef(&device), description, true);
  if (!image) return OSTRA_OUT_OF_MEMORY();
  ImageRef held = ImageRef::Adopt(image);
  OSTRA_RETURN_IF_ERROR(image->CheckTarget());
  OSTRA_RETURN_IF_ERROR(image->Init(spill));
  return held;
}

void ImageResource::Free() {
  const VkDevice device = GetDevice().GetHandle();
  if (GetDevice().IsHung()) return;
  if (_view) vkDestroyImageView(device, _view, nullptr);
  if (_layeredView) vkDestroyImageView(device, _layeredView, nullptr);
  if (_image) vkDestroyImage(device, _image, nullptr);
  GetDevice().GetMemory().Free(_piece);
}

Result<void> ImageResource::Check() const {
  const auto& [width, height, depth] = _description.extent;
  const DrawportTextureType type = _description.type;
  const VkPhysicalDeviceLimits& limits = GetDevice().GetLimits();
  const Bool is1D = type == DrawportTextureType::Texture1D;
  const Bool is2D = type == DrawportTextureType::Texture2D;
  const Int limit = is1D ? limits.maxImageDimension1D : is2D ? limits.maxImageDimension2D : limits.maxImageDimension3D;
  const Int layerLimit = limits.maxImageArrayLayers;
  const Int heightLimit = is1D ? layerLimit : limit;
  const Int depthLimit = is1D ? 1 : is2D ? layerLimit : limit;
  if (width < 1 || height < 1 || depth < 1 || width > limit || height > heightLimit || depth > depthLimit)
    return OSTRA_ILLEGAL_ARGUMENT(
        "A texture of @ x @ x @ texels is not possible; the GPU device has at most @ x @ x @.", width, height, depth,
        limit, heightLimit, depthLimit);
  const DrawportPixelFormatAccess access = GetFormatAccess(GetDevice().GetPhysicalDevice(), _description.format);
  const auto needed =
      _description.isImage ? DrawportPixelFormatAccess::ShaderReadWrite : DrawportPixelFormatAccess::Sampled;
  if (!HasAccess(access, needed))
    return OSTRA_ILLEGAL_ARGUMENT("The GPU device cannot @ textures of the pixel format @.",
                                  _description.isImage ? "read and write" : "sample", _description.format->id);
  return OK;
}

Result<void> ImageResource::CheckTarget() const {
  const VkPhysicalDevice device = GetDevice().GetPhysicalDevice();
  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(device, _format.format, &properties);
  const VkFormatFeatureFlags needed =
      VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT | VK_FORMAT_FEATURE_TRANSFER_SRC_BIT | VK_FORMAT_FEATURE_TRANSFER_DST_BIT |
      (IsDepth() ? VK_FORMAT_FEATURE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT);
  VkImageFormatProperties limits = {};
  const Bool isPossible =
      (properties.optimalTilingFeatures & needed) == needed &&
      vkGetPhysicalDeviceImageFormatProperties(device, _format.format, VK_IMAGE_TYPE_2D, VK_IMAGE_TILING_OPTIMAL,
                                               GetUsage(), 0, &limits) == VK_SUCCESS;
  if (!isPossible)
    return OSTRA_ILLEGAL_ARGUMENT("The GPU device cannot draw into the pixel format @.", _description.format->id);
  if (!(limits.sampleCounts & static_cast<UInt32>(_description.sampleCount)))
    return OSTRA_ILLEGAL_ARGUMENT("The GPU device cannot draw @ samples a pixel into the pixel format @.",
                                  _description.sampleCount, _description.format->id);
  const DrawportExtent& extent = _description.extent;
  if (extent.width > limits.maxExtent.width || extent.height > limits.maxExtent.height)
    return OSTRA_ILLEGAL_ARGUMENT("A render target of @ x @ pixels is not possible; the GPU device has at most @ x @.",
                                  extent.width, extent.height, limits.maxExtent.width, limits.maxExtent.height);
  return OK;
}

VkImageUsageFlags ImageResource::GetUsage() const {
  VkImageUsageFlags usage = VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
  if (_isTarget)
    return usage | VK_IMAGE_USAGE_SAMPLED_BIT |
           (IsDepth() ? VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT);
  const DrawportPixelFormatAccess access = GetFormatAccess(GetDevice().GetPhysicalDevice(), _description.format);
  if (HasAccess(access, DrawportPixelFormatAccess::Sampled)) usage |= VK_IMAGE_USAGE_SAMPLED_BIT;
  if (_description.isImage) usage |= VK_IMAGE_USAGE_STORAGE_BIT;
  return usage;
}

Result<void> ImageResource::CheckSize(const VkImageCreateInfo& info) const {
  VkImageFormatProperties limits = {};
  const VkResult known = vkGetPhysicalDeviceImageFormatProperties(
      GetDevice().GetPhysicalDevice(), info.format, info.imageType, info.tiling, info.usage, info.flags, &limits);
  if (known == VK_ERROR_FORMAT_NOT_SUPPORTED)
    return OSTRA_ILLEGAL_ARGUMENT("The GPU device has no textures of this kind of the pixel format @.",
                                  _description.format->id);
  if (known != VK_SUCCESS) return CheckResult(known, "vkGetPhysicalDeviceImageFormatProperties", kOstraUnit, __LINE__);
  const auto& [width, height, depth] = _description.extent;
  // Formats and uses may have less than what holds for textures in general.
  const VkExtent3D& most = limits.maxExtent;
  if (info.extent.width > most.width || info.extent.height > most.height || info.extent.depth > most.depth ||
      info.arrayLayers > limits.maxArrayLayers)
    return OSTRA_ILLEGAL_ARGUMENT(
        "A texture of @ x @ x @ texels of the pixel format @ is not possible; the GPU device has at most @ x @ x @ and "
        "@ layers.",
        width, height, depth, _description.format->id, most.width, most.height, most.depth, limits.maxArrayLayers);
  const Int texels = width * height * depth * _description.sampleCount;  // no side has more than 2^16
  if (static_cast<UInt64>(texels) <= limits.maxResourceSize / static_cast<UInt64>(_format.deviceTexelSize)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "A texture of @ x @ x @ texels with @ samples is larger than the @ bytes that the GPU "
      "device can give one.",
      width, height, depth, _description.sampleCount, limits.maxResourceSize);
}

Result<void> ImageResource::Init(MemorySpill spill) {
  const VkDevice device = GetDevice().GetHandle();
  VkImageCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
  info.imageType = GetImageType(_description.type);
  info.format = _format.format;
  const Int layerCount = GetLayerCount();
  const auto& [origin, extent] = GetRegionInLayer({{}, _description.extent});
  info.extent = {static_cast<UInt32>(extent.width), static_cast<UInt32>(extent.height),
                 static_cast<UInt32>(extent.depth)};
  info.mipLevels = 1;
  info.arrayLayers = static_cast<UInt32>(layerCount);
  info.samples = static_cast<VkSampleCountFlagBits>(_description.sampleCount);  // the bits are the counts
  info.usage = GetUsage();
  OSTRA_RETURN_IF_ERROR(CheckSize(info));
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateImage(device, &info, nullptr, &_image)));

  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(GetDevice().GetPhysicalDevice(), _format.format, &properties);
  _isFilterable = (properties.optimalTilingFeatures & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT) != 0;

  DedicatedObject dedicated;
  const VkMemoryRequirements requirements = QueryRequirements(device, _image, dedicated);
  OSTRA_ASSIGN_OR_RETURN(_piece, GetDevice().GetMemory().Allocate(requirements, MemoryUse::Device, MemoryContent::Image,
                                                                  spill, dedicated));
  OSTRA_RETURN_IF_ERROR(
      OSTRA_VULKAN(vkBindImageMemory(device, _image, _piece.memory, static_cast<VkDeviceSize>(_piece.offset))));

  OSTRA_ASSIGN_OR_RETURN(_view, CreateView(false));
  if (_description.type == DrawportTextureType::Texture3D) return OK;
  OSTRA_ASSIGN_OR_RETURN(_layeredView, CreateView(true));
  return OK;
}

Result<VkImageView> ImageResource::CreateView(Bool isLayered) const {
  VkImageViewCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
  info.image = _image;
  info.viewType = GetViewType(_description.type, isLayered);
  info.format = _format.format;
  info.subresourceRange = {GetAspect(), 0, 1, 0, isLayered ? static_cast<UInt32>(GetLayerCount()) : 1};
  VkImageView view = VK_NULL_HANDLE;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateImageView(GetDevice().GetHandle(), &info, nullptr, &view)));
  return view;
}

Int ImageResource::GetLayerCount() const {
  if (_description.type == DrawportTextureType::Texture1D) return _description.extent.height;
  return _description.type == DrawportTextureType::Texture2D ? _description.extent.depth : 1;
}

VkImageSubresourceLayers ImageResource::GetLayers(const DrawportRegion& region) const {
  const Bool is1D = _description.type == DrawportTextureType::Texture1D;
  if (_description.type == DrawportTextureType::Texture3D) return {GetAspect(), 0, 0, 1};
  return {GetAspect(), 0, static_cast<UInt32>(is1D ? region.origin.y : region.origin.z),
          static_cast<UInt32>(is1D ? region.extent.height : region.extent.depth)};
}

DrawportRegion ImageResource::GetRegionInLayer(const DrawportRegion& region) const {
  DrawportRegion inside = region;
  if (_description.type == DrawportTextureType::Texture1D) {
    inside.origin.y = 0;
    inside.extent.height = 1;
  } else if (_description.type == DrawportTextureType::Texture2D) {
    inside.origin.z = 0;
    inside.extent.depth = 1;
  }
  return inside;
}

Int ImageResource::GetPitch(Int width) const {
  const Int alignment = GetDrawportRowAlignment();
  return (width * _format.hostTexelSize + alignment - 1) / alignment * alignment;
}

Result<Int> ImageResource::GetStagingBufferSize(const DrawportOrigin& origin, const DrawportExtent& extent, Int level,
                                                Int layer) const {
  if (_description.sampleCount > 1)
    return OSTRA_ILLEGAL_ARGUMENT("A texture with @ samples a pixel cannot be mapped.", _description.sampleCount);
  if (level != 0 || layer != 0) return OSTRA_ILLEGAL_ARGUMENT("The texture has no level @ and layer @.", level, layer);
  const DrawportExtent& size = _description.extent;
  const auto isInside = [](Int begin, Int count, Int all) { return begin >= 0 && count >= 1 && begin <= all - count; };
  if (!isInside(origin.x, extent.width, size.width) || !isInside(origin.y, extent.height, size.height) ||
      !isInside(origin.z, extent.depth, size.depth))
    return OSTRA_ILLEGAL_ARGUMENT("A block of @ x @ x @ texels at (@, @, @) is not inside a texture of @ x @ x @.",
                                  extent.width, extent.height, extent.depth, origin.x, origin.y, origin.z, size.width,
                                  size.height, size.depth);
  return GetPitch(extent.width) * extent.height * extent.depth;
}

Result<SamplerRef> SamplerResource::Create(Device& device, UInt8 key) {
  SamplerResource* sampler = NewObj<SamplerResource>(DeviceRef(&device), key);
  if (!sampler) return OSTRA_OUT_OF_MEMORY();
  SamplerRef held = SamplerRef::Adopt(sampler);
  const Bool isLinear = (key & DrawportSamplerKey::kLinear) == DrawportSamplerKey::kLinear;
  VkSamplerCreateInfo info = {VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
  info.magFilter = isLinear ? VK_FILTER_LINEAR : VK_FILTER_NEAREST;
  info.minFilter = info.magFilter;
  info.mipmapMode = VK_SAMPLER_MIPMAP_MODE_NEAREST;
  info.addressModeU = GetAddressMode((key >> 2) & 3);
  info.addressModeV = GetAddressMode((key >> 4) & 3);
  info.addressModeW = GetAddressMode((key >> 6) & 3);
  info.borderColor = VK_BORDER_COLOR_FLOAT_TRANSPARENT_BLACK;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateSampler(device.GetHandle(), &info, nullptr, &sampler->_sampler)));
  if (!isLinear) return held;
  info.magFilter = VK_FILTER_NEAREST;
  info.minFilter = VK_FILTER_NEAREST;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateSampler(device.GetHandle(), &info, nullptr, &sampler->_nearest)));
  return held;
}

void SamplerResource::Free() {
  for (const VkSampler sampler : {_sampler, _nearest})
    if (sampler && !GetDevice().IsHung()) vkDestroySampler(GetDevice().GetHandle(), sampler, nullptr);
}

Result<CounterRef> CounterResource::Create(Device& device, MemorySpill spill) {
  CounterResource* counter = NewObj<CounterResource>(DeviceRef(&device));
  if (!counter) return OSTRA_OUT_OF_MEMORY();
  CounterRef held = CounterRef::Adopt(counter);
  OSTRA_ASSIGN_OR_RETURN(counter->_buffer,
                         BufferResource::Create(device, sizeof(UInt32), MemoryUse::Device, true, spill));
  return held;
}

}  // namespace ostra::vulkan
