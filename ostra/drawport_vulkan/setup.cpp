#include "ostra/drawport_vulkan/setup.h"

#include <algorithm>

#include "ostra/drawport_vulkan/image_barriers.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/staging.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Changes layouts, behind `from` and before all later work.
void RecordLayouts(VkCommandBuffer commands, VkPipelineStageFlags from, VkAccessFlags fromAccess,
                   ImageBarriers& images) {
  const auto hasContents = [](const VkImageMemoryBarrier& image) {
    return image.oldLayout != VK_IMAGE_LAYOUT_UNDEFINED;
  };
  if (std::any_of(images.items, images.items + images.count, hasContents)) {
    from = VK_PIPELINE_STAGE_ALL_COMMANDS_BIT;
    fromAccess = VK_ACCESS_MEMORY_WRITE_BIT;
  }
  constexpr VkAccessFlags kEverything = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  images.SetAccesses(fromAccess, kEverything);
  VkMemoryBarrier memory = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  memory.srcAccessMask = fromAccess;
  memory.dstAccessMask = kEverything;
  const UInt32 memoryCount = fromAccess != 0;
  vkCmdPipelineBarrier(commands, from, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, memoryCount, &memory, 0, nullptr,
                       images.count, images.items);
  images.count = 0;
}

}  // namespace

Result<void> Setup::Plan(DeviceResource& resource) {
  if (resource.IsPlanned()) return OK;
  OSTRA_RETURN_IF_ERROR(_planned.Append(&resource));
  resource.SetPlanned(true);
  return OK;
}

void Setup::Clear() {
  for (DeviceResource* resource : _planned) {
    resource->NoteSetup();
    resource->SetPlanned(false);
  }
  _planned.Clear();
}

void Setup::Remove(const DeviceResource& resource) {
  const std::scoped_lock lock(_mutex);
  DeviceResource** const place = std::find(_planned.begin(), _planned.end(), &resource);
  if (place != _planned.end()) _planned.RemoveUnordered(place - _planned.begin());
}

void BufferResource::RecordSetup(VkCommandBuffer commands) {
  vkCmdFillBuffer(commands, _buffer, static_cast<VkDeviceSize>(_fillBegin),
                  static_cast<VkDeviceSize>(_paddedSize - _fillBegin), 0);
}

Result<void> Recorder::EnsureZeroed(BufferResource& buffer) {
  const Int begin = buffer.GetZeroBegin();
  const Int end = buffer.GetPaddedSize();
  if (begin >= end) return OK;
  const Bool isQuick = buffer.IsHostCached() || end - begin <= kLargeTransfer;
  if (!buffer.GetMapped() || !isQuick || !IsIdle(buffer)) return FillWithZeros(buffer);
  std::fill(buffer.GetMapped() + begin, buffer.GetMapped() + end, Byte(0));
  buffer.SetZeroBegin(end, 0);
  return OK;
}

Result<void> Recorder::FillWithZeros(BufferResource& buffer) {
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(buffer));
  Setup& setup = _device->GetSetup();
  const std::scoped_lock lock(setup.GetMutex());
  const Int begin = buffer.GetUnwrittenBegin(DeviceResource::MakeStamp(_number, serial));
  const Int end = buffer.GetPaddedSize();
  const Int wordBegin = (begin + 3) / 4 * 4;
  // Only the host leaves off between words, so it sees the buffer.
  if (begin < wordBegin) std::fill(buffer.GetMapped() + begin, buffer.GetMapped() + wordBegin, Byte(0));
  if (wordBegin >= end) return OK;
  OSTRA_RETURN_IF_ERROR(setup.Plan(buffer));
  buffer.SetZeroedBySetup(wordBegin);
  return OK;
}

Result<void> Recorder::KeepPlanned(Batch& batch) {
  const BaseArray<DeviceResource*>& planned = _device->GetSetup().GetPlanned();
  OSTRA_RETURN_IF_ERROR(batch.kept.Reserve(batch.kept.GetCount() + planned.GetCount()));
  for (DeviceResource* resource : planned) {
    if (!resource->TryAddRef()) continue;                                      // goes, and waits for the mutex
    static_cast<void>(batch.kept.Append(DeviceResourceRef::Adopt(resource)));  // there is room
    resource->BeginUse(DeviceResource::MakeStamp(_number, batch.serial));
  }
  return OK;
}

Result<void> Recorder::RecordSetup(Batch& batch, Bool isAfterOthers) {
  const Int first = batch.kept.GetCount();
  OSTRA_RETURN_IF_ERROR(KeepPlanned(batch));
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkBeginCommandBuffer(batch.setup, &info)));
  const auto recordLayouts = [&](Bool isBehind, VkPipelineStageFlags from, VkAccessFlags fromAccess) {
    ImageBarriers images;
    for (Int i = first; i < batch.kept.GetCount(); ++i) {
      batch.kept[i]->AddSetupLayout(isBehind, images);
      if (images.IsFull()) RecordLayouts(batch.setup, from, fromAccess, images);
    }
    if (fromAccess != 0 || images.count > 0) RecordLayouts(batch.setup, from, fromAccess, images);
  };
  if (isAfterOthers)
    recordLayouts(false, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_ACCESS_MEMORY_WRITE_BIT);
  else
    recordLayouts(false, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, 0);
  for (Int i = first; i < batch.kept.GetCount(); ++i) batch.kept[i]->RecordSetup(batch.setup);
  if (first < batch.kept.GetCount()) recordLayouts(true, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT);
  return OSTRA_VULKAN(vkEndCommandBuffer(batch.setup));
}

Result<UInt64> Recorder::SubmitBehindSetup(Batch& batch) {
  Setup& setup = _device->GetSetup();
  const std::scoped_lock lock(setup.GetMutex());
  const Bool isAfterOthers = DependsOnOthers(batch);
  const Int ownCount = batch.kept.GetCount();  // what is planned has a barrier of its own
  const Bool hasSetup = isAfterOthers || setup.GetPlanned().IsPopulated();
  if (hasSetup) OSTRA_RETURN_IF_ERROR(RecordSetup(batch, isAfterOthers));
  const VkCommandBuffer commands[] = {batch.setup, batch.commands};
  OSTRA_ASSIGN_OR_RETURN(_submittedValue, _device->Submit(commands + !hasSetup, 1u + hasSetup));
  setup.Clear();
  if (isAfterOthers) setup.SetOrderedValue(_submittedValue - 1);
  for (Int i = 0; i < ownCount; ++i) batch.kept[i]->NoteSubmission(_number, _submittedValue);
  return _submittedValue;
}

Bool Recorder::DependsOnOthers(const Batch& batch) const {
  const UInt64 ordered = _device->GetSetup().GetOrderedValue();
  return std::any_of(batch.kept.begin(), batch.kept.end(), [&](const DeviceResourceRef& resource) {
    return resource->HasContents() && resource->GetSubmittingList() != _number &&
           resource->GetSubmittedValue() > ordered;
  });
}

}  // namespace ostra::vulkan
