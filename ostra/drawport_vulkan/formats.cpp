#include "ostra/drawport_vulkan/formats.h"

#include <iterator>

namespace ostra::vulkan {
namespace {

// In the order of GetPixelFormats.
constexpr VkFormat kFormats[] = {
    VK_FORMAT_R8_UNORM,
    VK_FORMAT_R8_SNORM,
    VK_FORMAT_R16_UNORM,
    VK_FORMAT_R32_UINT,
    VK_FORMAT_R32_SINT,
    VK_FORMAT_R16_SFLOAT,
    VK_FORMAT_R32_SFLOAT,
    VK_FORMAT_R8G8_UNORM,
    VK_FORMAT_R8G8_SNORM,
    VK_FORMAT_R16G16_UNORM,
    VK_FORMAT_R32G32_UINT,
    VK_FORMAT_R32G32_SINT,
    VK_FORMAT_R16G16_SFLOAT,
    VK_FORMAT_R32G32_SFLOAT,
    VK_FORMAT_R8G8B8A8_UNORM,
    VK_FORMAT_R16G16B16A16_UNORM,
    VK_FORMAT_R32G32B32A32_UINT,
    VK_FORMAT_R32G32B32A32_SINT,
    VK_FORMAT_R16G16B16A16_SFLOAT,
    VK_FORMAT_R32G32B32A32_SFLOAT,
    VK_FORMAT_R8G8B8A8_UNORM,
    VK_FORMAT_R16G16B16A16_UNORM,
    VK_FORMAT_R32G32B32A32_UINT,
    VK_FORMAT_R32G32B32A32_SINT,
    VK_FORMAT_R16G16B16A16_SFLOAT,
    VK_FORMAT_R32G32B32A32_SFLOAT,
};
static_assert(std::size(kFormats) == kPixelFormatCount);

UInt32 GetOne(const PixelFormat& format) {
  if (format.valueClass == PixelValueClass::FloatingPoint) return format.bitsPerChannel == 16 ? 0x3C00 : 0x3F800000;
  // Small integers stand for 0 to 1, large ones for themselves.
  return format.bitsPerChannel == 8 ? 0xFF : format.bitsPerChannel == 16 ? 0xFFFF : 1;
}

template <class Channel>
void Widen(const Byte* source, Byte* target, Int count, UInt32 one) {
  const Channel fourth = static_cast<Channel>(one);
  for (Int i = 0; i < count; ++i) {
    std::memcpy(target, source, 3 * sizeof(Channel));
    std::memcpy(target + 3 * sizeof(Channel), &fourth, sizeof(Channel));
    source += 3 * sizeof(Channel);
    target += 4 * sizeof(Channel);
  }
}

template <class Channel>
void Narrow(const Byte* source, Byte* target, Int count) {
  for (Int i = 0; i < count; ++i) {
    std::memcpy(target, source, 3 * sizeof(Channel));
    source += 4 * sizeof(Channel);
    target += 3 * sizeof(Channel);
  }
}

}  // namespace

FormatInfo GetFormatInfo(PixelFormatRef format, DrawportDepthFormat depth) {
  const Int index = format - GetPixelFormats().GetFirst();
  const Int channelSize = format->bitsPerChannel / 8;
  const VkFormat deviceFormat = depth == DrawportDepthFormat::None      ? kFormats[index]
                                : depth == DrawportDepthFormat::Float32 ? VK_FORMAT_D32_SFLOAT
                                                                        : VK_FORMAT_D16_UNORM;
  return FormatInfo{.format = deviceFormat,
                    .hostTexelSize = format->GetBytesPerPixel(),
                    .deviceTexelSize = (format->channels == 3 ? 4 : format->channels) * channelSize,
                    .channelSize = channelSize,
                    .one = GetOne(*format)};
}

DrawportPixelFormatAccess GetFormatAccess(VkPhysicalDevice physicalDevice, PixelFormatRef format) {
  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(physicalDevice, GetFormatInfo(format).format, &properties);
  const VkFormatFeatureFlags features = properties.optimalTilingFeatures;
  // Without transfers nothing gets into a texture.
  constexpr VkFormatFeatureFlags kTransfers = VK_FORMAT_FEATURE_TRANSFER_SRC_BIT | VK_FORMAT_FEATURE_TRANSFER_DST_BIT;
  auto access = DrawportPixelFormatAccess::None;
  if ((features & kTransfers) != kTransfers) return access;
  if (features & VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT) access = access | DrawportPixelFormatAccess::Sampled;
  if (features & VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT)
    access = access | DrawportPixelFormatAccess::Filtered;
  if (features & VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT) access = access | DrawportPixelFormatAccess::ShaderReadWrite;
  if (features & VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT) access = access | DrawportPixelFormatAccess::RenderTarget;
  return access;
}

void WidenTexels(const FormatInfo& info, const Byte* source, Byte* target, Int count) {
  if (info.channelSize == 1)
    Widen<UInt8>(source, target, count, info.one);
  else if (info.channelSize == 2)
    Widen<UInt16>(source, target, count, info.one);
  else
    Widen<UInt32>(source, target, count, info.one);
}

void NarrowTexels(const FormatInfo& info, const Byte* source, Byte* target, Int count) {
  if (info.channelSize == 1)
    Narrow<UInt8>(source, target, count);
  else if (info.channelSize == 2)
    Narrow<UInt16>(source, target, count);
  else
    Narrow<UInt32>(source, target, count);
}

}  // namespace ostra::vulkan
