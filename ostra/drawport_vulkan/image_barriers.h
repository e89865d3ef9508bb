// ImageBarriers: changes of layouts that go with one call of vkCmdPipelineBarrier.
#pragma once

#include <volk.h>

#include "ostra/core/types.h"

namespace ostra::vulkan {

struct ImageBarriers {
  // What a batch has in layouts for transfers, and all attachments of a pass.
  static constexpr UInt32 kCapacity = 48;

  Bool IsFull() const { return count == kCapacity; }
  // Accesses are set by SetAccesses.
  void Add(VkImage image, VkImageAspectFlags aspect, VkImageLayout from, VkImageLayout to) {
    VkImageMemoryBarrier& item = items[count++];
    item = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
    item.oldLayout = from;
    item.newLayout = to;
    item.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    item.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    item.image = image;
    item.subresourceRange = {aspect, 0, 1, 0, VK_REMAINING_ARRAY_LAYERS};
  }
  void SetAccesses(VkAccessFlags from, VkAccessFlags to) {
    for (UInt32 i = 0; i < count; ++i) {
      items[i].srcAccessMask = from;
      items[i].dstAccessMask = to;
    }
  }

  VkImageMemoryBarrier items[kCapacity];
  UInt32 count = 0;
};

}  // namespace ostra::vulkan
