// The barriers that the tracker asks for, recorded.
#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {

void RecordBarrier(VkCommandBuffer commands, const Barrier& barrier) {
  VkMemoryBarrier memory = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  memory.srcAccessMask = barrier.fromAccess;
  memory.dstAccessMask = barrier.toAccess;
  vkCmdPipelineBarrier(commands, barrier.from, barrier.to, 0, 1, &memory, 0, nullptr, 0, nullptr);
}

void Recorder::RecordBarrier(const std::optional<Barrier>& pending) {
  if (!pending) return;
  _listener.SuspendPass();
  vulkan::RecordBarrier(_current->commands, *pending);
}

void Recorder::PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite) {
  _listener.SuspendPass();
  RecordBarrier(_barriers.BeforeTransfer(&resource, region, isWrite));
}

void Recorder::PrepareCopy(const DeviceResource& source, const DrawportRegion& sourceRegion,
                           const DeviceResource& target, const DrawportRegion& targetRegion) {
  _listener.SuspendPass();
  RecordBarrier(_barriers.BeforeTransfer({{&source, sourceRegion, false}, {&target, targetRegion, true}}));
}

}  // namespace ostra::vulkan
