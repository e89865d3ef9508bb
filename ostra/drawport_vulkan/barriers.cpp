// The barriers that the tracker asks for, recorded.
#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {

void Recorder::RecordBarrier(const std::optional<Barrier>& pending) {
  if (!pending) return;
  _listener.SuspendPass();
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = pending->fromAccess;
  barrier.dstAccessMask = pending->toAccess;
  vkCmdPipelineBarrier(_current->commands, pending->from, pending->to, 0, 1, &barrier, 0, nullptr, 0, nullptr);
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
