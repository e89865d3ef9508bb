// How the host's pixel formats lie on the device.
#pragma once

#include "ostra/drawport/enumerations.h"
#include "ostra/drawport_vulkan/api.h"
#include "ostra/image/pixel_format.h"

namespace ostra::vulkan {

struct FormatInfo {
  VkFormat format = VK_FORMAT_UNDEFINED;
  Int hostTexelSize = 0;    // bytes in staging buffers
  Int deviceTexelSize = 0;  // larger for three channels, which devices keep as four
  Int channelSize = 0;
  // The fourth channel that three are widened with, as bits.
  UInt32 one = 0;
  Bool IsWidened() const { return hostTexelSize != deviceTexelSize; }
};

// `depth`: of depths that are read as `format`.
FormatInfo GetFormatInfo(PixelFormatRef format, DrawportDepthFormat depth = DrawportDepthFormat::None);

// What `physicalDevice` can do with textures of a format in optimal layout.
DrawportPixelFormatAccess GetFormatAccess(VkPhysicalDevice physicalDevice, PixelFormatRef format);

// `count` texels of three channels into four, the fourth being one; and back.
void WidenTexels(const FormatInfo& info, const Byte* source, Byte* target, Int count);
void NarrowTexels(const FormatInfo& info, const Byte* source, Byte* target, Int count);

}  // namespace ostra::vulkan
