#include "ostra/drawport_vulkan/setup.h"

#include <algorithm>

#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/staging.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

void RecordFullBarrier(VkCommandBuffer commands, VkPipelineStageFlags from, VkAccessFlags fromAccess) {
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = fromAccess;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  vkCmdPipelineBarrier(commands, from, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 1, &barrier, 0, nullptr, 0, nullptr);
}

}  // namespace

Result<void> Setup::Plan(DeviceResource& resource) {
  OSTRA_RETURN_IF_ERROR(_planned.Append(&resource));
  resource.SetPlanned(true);
  return OK;
}

void Setup::Clear() {
  for (DeviceResource* resource : _planned) resource->SetPlanned(false);
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

// Gives an image its layout and makes it zero.
void ImageResource::RecordSetup(VkCommandBuffer commands) {
  VkImageMemoryBarrier barrier = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
  barrier.dstAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
  barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;  // for good: one layout serves transfers, sampling and images
  barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.image = _image;
  barrier.subresourceRange = {GetAspect(), 0, 1, 0, VK_REMAINING_ARRAY_LAYERS};
  vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_TOP_OF_PIPE_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 0, nullptr, 0,
                       nullptr, 1, &barrier);
  const VkClearColorValue zero = {};
  const VkClearDepthStencilValue near = {};
  if (IsDepth())
    vkCmdClearDepthStencilImage(commands, _image, VK_IMAGE_LAYOUT_GENERAL, &near, 1, &barrier.subresourceRange);
  else
    vkCmdClearColorImage(commands, _image, VK_IMAGE_LAYOUT_GENERAL, &zero, 1, &barrier.subresourceRange);
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

Result<void> Recorder::EnsureCleared(ImageResource& image) {
  if (image.IsCleared()) return OK;
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(image));
  Setup& setup = _device->GetSetup();
  const std::scoped_lock lock(setup.GetMutex());
  if (image.IsCleared()) return OK;
  OSTRA_RETURN_IF_ERROR(setup.Plan(image));
  image.SetCleared();
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

Result<void> Recorder::RecordSetup(Batch& batch, Bool isAfterOthers) {
  const BaseArray<DeviceResource*>& planned = _device->GetSetup().GetPlanned();
  OSTRA_RETURN_IF_ERROR(batch.kept.Reserve(batch.kept.GetCount() + planned.GetCount()));
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkBeginCommandBuffer(batch.setup, &info)));
  if (isAfterOthers) RecordFullBarrier(batch.setup, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_ACCESS_MEMORY_WRITE_BIT);
  for (DeviceResource* resource : planned) {
    if (!resource->TryAddRef()) continue;                                      // goes, and waits for the mutex
    static_cast<void>(batch.kept.Append(DeviceResourceRef::Adopt(resource)));  // there is room
    resource->BeginUse(DeviceResource::MakeStamp(_number, batch.serial));
    resource->RecordSetup(batch.setup);
  }
  if (planned.IsPopulated())
    RecordFullBarrier(batch.setup, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT);
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
