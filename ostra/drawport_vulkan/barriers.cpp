// What must wait for what on the device. Dispatches see each other's writes only after AddMemoryBarrier; everything
// that has to do with transfers waits by itself, and no more than it has to.
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

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

void CommandList::RecordBarrier(VkPipelineStageFlags from, VkAccessFlags fromAccess, VkPipelineStageFlags to,
                                VkAccessFlags toAccess) {
  SuspendPass();
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = fromAccess;
  barrier.dstAccessMask = toAccess;
  vkCmdPipelineBarrier(_current->commands, from, to, 0, 1, &barrier, 0, nullptr, 0, nullptr);
}

Result<void> CommandList::AddMemoryBarrier(DrawportBarrierBits bits) {
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  if (!HasAnyBit(bits, DrawportBarrierBits::StorageBuffer | DrawportBarrierBits::Texture)) return OK;
  SuspendPass();                       // beginning again shows all that draws have written
  if (!_hasUnseenDispatch) return OK;  // nothing was written since the last one
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  // One kind for buffers and textures: clients ask for both, one after the other, and the second then costs nothing.
  RecordBarrier(VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, VK_ACCESS_SHADER_WRITE_BIT, kDispatchStages, kDispatchAccess);
  _hasUnseenDispatch = false;
  return OK;
}

void CommandList::PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite) {
  SuspendPass();
  if (_transfersMissDispatches) {
    RecordBarrier(kDispatchStages | GetDrawStages() | VK_PIPELINE_STAGE_TRANSFER_BIT,
                  VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT | (_hasDrawn ? kDrawWrites : 0),
                  VK_PIPELINE_STAGE_TRANSFER_BIT, kTransferAccess);
    _transfersMissDispatches = false;
    _touchCount = 0;
  }
  Bool collides = _touchCount == kTouchCount;
  for (Int i = 0; i < _touchCount && !collides; ++i) {
    const Touch& touch = _touches[i];
    collides = touch.resource == &resource && (touch.isWrite || isWrite) && Overlap(touch.region, region);
  }
  if (collides) {
    RecordBarrier(VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT,
                  kTransferAccess);
    _touchCount = 0;
  }
  _touches[_touchCount++] = {&resource, region, isWrite};
  _dispatchesMissTransfers = true;
}

void CommandList::ShowTransfersToDispatches() {
  if (!_dispatchesMissTransfers) return;
  RecordBarrier(VK_PIPELINE_STAGE_TRANSFER_BIT | GetDrawStages(),
                VK_ACCESS_TRANSFER_WRITE_BIT | (_hasDrawn ? kDrawWrites : 0), kDispatchStages, kDispatchAccess);
  _dispatchesMissTransfers = false;
}

void CommandList::ShowWorkToPass() {
  // One barrier a pass: what was written before it may be vertices, uniforms, textures or targets in it.
  RecordBarrier(kDispatchStages | VK_PIPELINE_STAGE_TRANSFER_BIT | VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT,
                VK_ACCESS_TRANSFER_WRITE_BIT | kDrawWrites, VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT,
                VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT);
}

void CommandList::ShowWritesToHost() {
  RecordBarrier(VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | VK_PIPELINE_STAGE_TRANSFER_BIT | GetDrawStages(),
                VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_HOST_BIT,
                VK_ACCESS_HOST_READ_BIT);
}

}  // namespace ostra::vulkan
