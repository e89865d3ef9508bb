#include <algorithm>
#include <utility>

#include "ostra/drawport_vulkan/barrier_tracker.h"

namespace ostra::vulkan {

VkImageLayout LayoutTracker::GetTransferLayout(VkImageLayout home, Bool isWrite) {
  if (home == VK_IMAGE_LAYOUT_GENERAL) return home;
  return isWrite ? VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL : VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL;
}

std::optional<LayoutTracker::Change> LayoutTracker::BeforeTransfer(const void* image, VkImageLayout home,
                                                                   Bool isWrite) {
  const VkImageLayout layout = GetTransferLayout(home, isWrite);
  if (layout == home) return std::nullopt;
  Away* const known = std::find_if(_away, _away + _count, [image](const Away& away) { return away.image == image; });
  if (known == _away + _count) {
    _away[_count++] = {image, home, layout};
    return Change{image, home, layout};
  }
  if (known->layout == layout) return std::nullopt;
  return Change{image, std::exchange(known->layout, layout), layout};
}

LayoutTracker::Changes LayoutTracker::TakeHome() {
  Changes changes;
  for (Int i = 0; i < _count; ++i) changes.items[changes.count++] = {_away[i].image, _away[i].layout, _away[i].home};
  _count = 0;
  return changes;
}

}  // namespace ostra::vulkan
