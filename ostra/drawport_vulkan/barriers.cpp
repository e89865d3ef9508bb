#include "ostra/drawport_vulkan/image_barriers.h"
#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {
namespace {

void AddChange(const LayoutTracker::Change& change, ImageBarriers& images) {
  const auto& image = *static_cast<const ImageResource*>(change.image);
  images.Add(image.GetHandle(), image.GetAspect(), change.from, change.to);
}

}  // namespace

void RecordBarrier(VkCommandBuffer commands, const Barrier& barrier, ImageBarriers* images) {
  VkMemoryBarrier memory = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  memory.srcAccessMask = barrier.fromAccess;
  memory.dstAccessMask = barrier.toAccess;
  if (images) images->SetAccesses(barrier.fromAccess, barrier.toAccess);
  vkCmdPipelineBarrier(commands, barrier.from, barrier.to, 0, 1, &memory, 0, nullptr, images ? images->count : 0,
                       images ? images->items : nullptr);
}

void Recorder::RecordBarrier(const std::optional<Barrier>& pending) {
  if (!pending && _layouts.IsEmpty()) return;
  ImageBarriers none;
  RecordBarrier(pending.value_or(_barriers.BeforeAnything()), none);
}

void Recorder::RecordBarrier(const Barrier& barrier, ImageBarriers& images) {
  _listener.SuspendPass();
  for (const LayoutTracker::Change& change : _layouts.TakeHome()) AddChange(change, images);
  vulkan::RecordBarrier(_current->commands, barrier, &images);
}

void Recorder::RecordEndOfBatch() {
  Barrier barrier = _barriers.BeforeHost();
  // Later batches, of other lists too, find images at home.
  if (!_layouts.IsEmpty()) barrier = barrier | _barriers.BeforeAnything();
  RecordBarrier(barrier);
}

void Recorder::PrepareTransfer(const DeviceResource& resource, const DrawportRegion& region, Bool isWrite) {
  _listener.SuspendPass();
  const ImageResource* const image = resource.GetImage();
  if (!image) {
    if (const auto barrier = _barriers.BeforeTransfer(&resource, region, isWrite))
      vulkan::RecordBarrier(_current->commands, *barrier);
    return;
  }
  if (_layouts.IsFull()) RecordBarrier(_barriers.BeforeAnything());
  ImageBarriers images;
  if (const auto change = _layouts.BeforeTransfer(image, image->GetHomeLayout(), isWrite)) {
    AddChange(*change, images);
    vulkan::RecordBarrier(_current->commands, _barriers.BeforeLayoutChange(image, region, isWrite), &images);
  } else if (const auto barrier = _barriers.BeforeTransfer(image, region, isWrite)) {
    vulkan::RecordBarrier(_current->commands, *barrier);
  }
}

void Recorder::PrepareCopy(const BufferResource& source, const DrawportRegion& sourceRegion,
                           const BufferResource& target, const DrawportRegion& targetRegion) {
  _listener.SuspendPass();
  const auto barrier = _barriers.BeforeTransfer({{&source, sourceRegion, false}, {&target, targetRegion, true}});
  if (barrier) vulkan::RecordBarrier(_current->commands, *barrier);
}

}  // namespace ostra::vulkan
