#include "ostra/drawport_vulkan/read_ahead.h"

#include <algorithm>
#include <utility>

#include "ostra/drawport/settings.h"

namespace ostra::vulkan {
namespace {

Bool AreEqual(const DrawportRegion& a, const DrawportRegion& b) {
  return a.origin.x == b.origin.x && a.origin.y == b.origin.y && a.origin.z == b.origin.z &&
         a.extent.width == b.extent.width && a.extent.height == b.extent.height && a.extent.depth == b.extent.depth;
}

}  // namespace

void ReadAhead::Note(DeviceResource& resource, const DrawportRegion& region, StagingMemory& memory,
                     const Moment& moment) {
  _resource = WeakRef<DeviceResource>(&resource);
  _region = region;
  _memory = &memory;
  _moment = moment;
}

StagingMemory* ReadAhead::Take(const DeviceResource& resource, const DrawportRegion& region) {
  if (!_memory || _resource.GetPointer() != &resource || !AreEqual(_region, region)) return nullptr;
  // What was recorded here, submitted anywhere or written by the host since then may have changed the bytes.
  if (!resource.WasLastUsedBy(_moment.stamp) || resource.GetSubmittedValue() != _moment.submittedValue ||
      resource.GetHostWrites() != _moment.hostWrites)
    return nullptr;
  if (_moment.rowAlignment != GetDrawportRowAlignment()) return nullptr;
  _resource = {};
  return std::exchange(_memory, nullptr);
}

void ReadAhead::Drop() {
  if (_memory) _memory->isMapped = false;
  *this = {};
}

DrawportRegion FindNextRegion(const DrawportExtent& whole, const DrawportRegion& region) {
  const auto& [origin, extent] = region;
  const DrawportRegion none = {{}, {0, 0, 0}};
  const Int nextX = origin.x + extent.width, nextY = origin.y + extent.height, nextZ = origin.z + extent.depth;
  // Parts of a row: bytes of a buffer.
  if (whole.height == 1 && whole.depth == 1)
    return nextX < whole.width ? DrawportRegion{{nextX, 0, 0}, {std::min(extent.width, whole.width - nextX), 1, 1}}
                               : none;
  if (extent.width != whole.width) return none;
  if (extent.height != whole.height)
    return nextY < whole.height
               ? DrawportRegion{{0, nextY, origin.z},
                                {whole.width, std::min(extent.height, whole.height - nextY), extent.depth}}
               : none;
  return nextZ < whole.depth
             ? DrawportRegion{{0, 0, nextZ}, {whole.width, whole.height, std::min(extent.depth, whole.depth - nextZ)}}
             : none;
}

}  // namespace ostra::vulkan
