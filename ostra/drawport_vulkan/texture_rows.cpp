#include "ostra/drawport_vulkan/texture_rows.h"

#include <algorithm>

namespace ostra::vulkan {

Int FindFillEnd(const DrawportExtent& whole, const DrawportRegion& region, Int filled) {
  const auto& [origin, extent] = region;
  const Bool areWholeSlices = origin.y == 0 && extent.height == whole.height;
  if (origin.x != 0 || extent.width != whole.width || (extent.depth > 1 && !areWholeSlices)) return -1;
  if (origin.z * whole.height + origin.y != filled) return -1;
  return filled + CountRows(extent);
}

DrawportRegion GetRows(const DrawportExtent& whole, Int begin, Int maxRows) {
  const Int y = begin % whole.height;
  const Int z = begin / whole.height;
  const Int slices = std::min(whole.depth - z, maxRows / whole.height);
  if (y == 0 && slices > 0) return {{0, 0, z}, {whole.width, whole.height, slices}};
  return {{0, y, z}, {whole.width, std::min(whole.height - y, maxRows), 1}};
}

}  // namespace ostra::vulkan
