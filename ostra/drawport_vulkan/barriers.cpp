// The barriers that the tracker asks for, recorded.
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

void CommandList::RecordBarrier(const std::optional<Barrier>& owed) {
  if (!owed) return;
  SuspendPass();
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = owed->fromAccess;
  barrier.dstAccessMask = owed->toAccess;
  vkCmdPipelineBarrier(_current->commands, owed->from, owed->to, 0, 1, &barrier, 0, nullptr, 0, nullptr);
}

Result<void> CommandList::AddMemoryBarrier(DrawportBarrierBits bits) {
  if (_device->IsLost()) return MakeDeviceLostError(kOstraUnit, __LINE__);
  if (!HasAnyBit(bits, DrawportBarrierBits::StorageBuffer | DrawportBarrierBits::Texture)) return OK;
  SuspendPass();  // beginning again shows all that draws have written
  _barriers.SeparateDispatches();
  return OK;
}

void CommandList::PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite) {
  SuspendPass();
  RecordBarrier(_barriers.BeforeTransfer(&resource, region, isWrite));
}

}  // namespace ostra::vulkan
