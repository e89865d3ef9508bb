#include "ostra/drawport_vulkan/barrier_tracker.h"

#include <algorithm>

namespace ostra::vulkan {
namespace {

constexpr VkPipelineStageFlags kDispatchStages =
    VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | VK_PIPELINE_STAGE_DRAW_INDIRECT_BIT;
constexpr VkAccessFlags kDispatchAccess =
    VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_INDIRECT_COMMAND_READ_BIT;
constexpr VkAccessFlags kDrawWrites =
    VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT | VK_ACCESS_DEPTH_STENCIL_ATTACHMENT_WRITE_BIT;
constexpr VkAccessFlags kTransferAccess = VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT;

Bool Overlap(Int begin1, Int count1, Int begin2, Int count2) {
  return begin1 < begin2 + count2 && begin2 < begin1 + count1;
}

Bool Overlap(const DrawportRegion& a, const DrawportRegion& b) {
  return Overlap(a.origin.x, a.extent.width, b.origin.x, b.extent.width) &&
         Overlap(a.origin.y, a.extent.height, b.origin.y, b.extent.height) &&
         Overlap(a.origin.z, a.extent.depth, b.origin.z, b.extent.depth);
}

}  // namespace

std::optional<Barrier> BarrierTracker::BeforeDispatch() {
  if (!_isAskedFor && !_dispatchesMissTransfers) return std::nullopt;
  Barrier barrier{0, 0, kDispatchStages, kDispatchAccess};
  // One kind for buffers and textures: clients ask for both, one after the other.
  if (_isAskedFor) {
    barrier.from |= VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT;
    barrier.fromAccess |= VK_ACCESS_SHADER_WRITE_BIT;
    _hasUnseenDispatch = false;
  }
  if (_dispatchesMissTransfers) {
    barrier.from |= VK_PIPELINE_STAGE_TRANSFER_BIT | GetDrawStages();
    barrier.fromAccess |= VK_ACCESS_TRANSFER_WRITE_BIT | (_hasDrawn ? kDrawWrites : 0);
    barrier.toAccess |= VK_ACCESS_UNIFORM_READ_BIT;  // of values of recorded work
  }
  _isAskedFor = _dispatchesMissTransfers = false;
  return barrier;
}

std::optional<Barrier> BarrierTracker::BeforeReplay(const ReplayHazards& work) {
  if (work.isSeparatedBefore) SeparateDispatches();
  if (!work.hasTransfers) return BeforeDispatch();
  if (!_hasUnseenDispatch && !_transfersMissDispatches && !_dispatchesMissTransfers) return std::nullopt;
  _hasUnseenDispatch = _isAskedFor = _transfersMissDispatches = _dispatchesMissTransfers = false;
  _accessCount = 0;
  return Barrier{kDispatchStages | GetDrawStages() | VK_PIPELINE_STAGE_TRANSFER_BIT,
                 VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT | (_hasDrawn ? kDrawWrites : 0),
                 kDispatchStages | VK_PIPELINE_STAGE_TRANSFER_BIT,
                 kDispatchAccess | kTransferAccess | VK_ACCESS_UNIFORM_READ_BIT};
}

void BarrierTracker::AddReplay(const ReplayHazards& work) {
  if (work.hasDispatches) AddDispatch();
  if (work.hasTransfers) _transfersMissDispatches = _dispatchesMissTransfers = true;
  if (work.isSeparatedBehind) SeparateDispatches();
}

std::optional<Barrier> BarrierTracker::BeforeTransfer(std::initializer_list<Access> accesses) {
  std::optional<Barrier> barrier;
  if (_transfersMissDispatches) {
    barrier = Barrier{kDispatchStages | GetDrawStages() | VK_PIPELINE_STAGE_TRANSFER_BIT,
                      VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT | (_hasDrawn ? kDrawWrites : 0),
                      VK_PIPELINE_STAGE_TRANSFER_BIT, kTransferAccess};
    _transfersMissDispatches = false;
  } else if (Collides(accesses)) {
    barrier = Barrier{VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT,
                      kTransferAccess};
  }
  if (barrier) _accessCount = 0;
  for (const Access& access : accesses) _accesses[_accessCount++] = access;
  _dispatchesMissTransfers = true;
  return barrier;
}

Barrier BarrierTracker::BeforeLayoutChange(const void* image, const DrawportRegion& region, Bool isWrite) {
  _transfersMissDispatches = true;
  return *BeforeTransfer(image, region, isWrite);
}

Barrier BarrierTracker::BeforeAnything() const {
  return {VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT,
          VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT};
}

Bool BarrierTracker::Collides(std::initializer_list<Access> accesses) const {
  if (_accessCount + static_cast<Int>(accesses.size()) > kAccessCount) return true;
  return std::any_of(accesses.begin(), accesses.end(), [this](const Access& next) {
    return std::any_of(_accesses, _accesses + _accessCount, [&](const Access& earlier) {
      return earlier.resource == next.resource && (earlier.isWrite || next.isWrite) &&
             Overlap(earlier.region, next.region);
    });
  });
}

Barrier BarrierTracker::BeforePass() const {
  return {kDispatchStages | VK_PIPELINE_STAGE_TRANSFER_BIT | VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT,
          VK_ACCESS_TRANSFER_WRITE_BIT | kDrawWrites, VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT,
          VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT};
}

Barrier BarrierTracker::BehindPass() const {
  return {VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT, kDrawWrites, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT,
          VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT};
}

Barrier BarrierTracker::BeforeHost() const {
  return {VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | VK_PIPELINE_STAGE_TRANSFER_BIT | GetDrawStages(),
          VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_HOST_BIT,
          VK_ACCESS_HOST_READ_BIT};
}

}  // namespace ostra::vulkan
