// First uses of images: their layout, and zeros where nothing is filled.
#include <algorithm>

#include "ostra/drawport_vulkan/image_barriers.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/staging.h"
#include "ostra/drawport_vulkan/texture_rows.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

void ImageResource::SetDefinedRows(Int rows, UInt64 stamp) {
  if (_definedBy != stamp) _definedBefore = GetDefinedRows();
  _definedBy = stamp;
  _definedRows.store(rows, std::memory_order_release);
}

void ImageResource::ForgetBatch(UInt64 stamp) {
  if (_definedBy == stamp) _definedRows.store(_definedBefore, std::memory_order_release);
}

void ImageResource::SetZeroedBySetup(Int begin, BufferRef zeros) {
  _zeroBegin = begin;
  if (zeros) _zeros = std::move(zeros);
  SetAllDefined(0);
}

Int ImageResource::GetZerosSize() const {
  const Int row = _description.extent.width * _format.deviceTexelSize;
  return row * std::clamp<Int>(kLargeTransfer / row, 1, CountRows(_description.extent));
}

void ImageResource::AddSetupLayout(Bool isBehind, ImageBarriers& barriers) const {
  const VkImageLayout home = GetHomeLayout();
  const VkImageLayout working = IsZeroedBySetup() ? LayoutTracker::GetTransferLayout(home, true) : home;
  if (isBehind) {
    if (working != home) barriers.Add(_image, GetAspect(), working, home);
    return;
  }
  const VkImageLayout before = _isInLayout ? home : VK_IMAGE_LAYOUT_UNDEFINED;
  if (before != working) barriers.Add(_image, GetAspect(), before, working);
}

void ImageResource::RecordSetup(VkCommandBuffer commands) {
  if (!IsZeroedBySetup()) return;
  if (_zeroBegin > 0 && _zeros) return RecordZeros(commands);
  const VkImageLayout layout = LayoutTracker::GetTransferLayout(GetHomeLayout(), true);
  const VkImageSubresourceRange all = {GetAspect(), 0, 1, 0, VK_REMAINING_ARRAY_LAYERS};
  const VkClearColorValue zero = {};
  const VkClearDepthStencilValue near = {};
  if (IsDepth())
    vkCmdClearDepthStencilImage(commands, _image, layout, &near, 1, &all);
  else
    vkCmdClearColorImage(commands, _image, layout, &zero, 1, &all);
}

void ImageResource::RecordZeros(VkCommandBuffer commands) const {
  const DrawportExtent& extent = _description.extent;
  const Int rowsAtOnce = _zeros->GetSize() / (extent.width * _format.deviceTexelSize);
  for (Int row = _zeroBegin; row < CountRows(extent);) {
    const DrawportRegion rows = GetRows(extent, row, rowsAtOnce);
    const VkBufferImageCopy copy = MakePackedCopy(rows);
    vkCmdCopyBufferToImage(commands, _zeros->GetHandle(), _image,
                           LayoutTracker::GetTransferLayout(GetHomeLayout(), true), 1, &copy);
    row += CountRows(rows.extent);
  }
}

void ImageResource::NoteSetup() {
  _isInLayout = true;
  _zeroBegin = INT64_MAX;
}

Result<void> Recorder::EnsureCleared(ImageResource& image) {
  if (image.IsDefined()) return OK;
  OSTRA_ASSIGN_OR_RETURN(const UInt64 serial, BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(image));
  BufferRef zeros;
  if (image.GetDefinedRows() > 0) {
    OSTRA_ASSIGN_OR_RETURN(zeros, BufferResource::Create(*_device, image.GetZerosSize(), MemoryUse::Upload, false));
    std::fill(zeros->GetMapped(), zeros->GetMapped() + zeros->GetSize(), Byte(0));
  }
  Setup& setup = _device->GetSetup();
  const std::scoped_lock lock(setup.GetMutex());
  if (image.IsDefined()) return OK;
  OSTRA_RETURN_IF_ERROR(setup.Plan(image));
  image.SetHasLayout();
  image.SetZeroedBySetup(image.GetUndefinedBegin(DeviceResource::MakeStamp(_number, serial)), std::move(zeros));
  return OK;
}

Result<Bool> Recorder::PrepareFill(ImageResource& image, const DrawportRegion& region) {
  if (image.IsDefined()) return false;
  if (FindFillEnd(image.GetExtent(), region, image.GetDefinedRows()) < 0) {
    OSTRA_RETURN_IF_ERROR(EnsureCleared(image));
    return false;
  }
  OSTRA_RETURN_IF_ERROR(EnsureLayout(image));
  return true;
}

void Recorder::NoteFill(ImageResource& image, const DrawportRegion& region) {
  const Int end = FindFillEnd(image.GetExtent(), region, image.GetDefinedRows());
  if (end >= 0) image.SetDefinedRows(end, DeviceResource::MakeStamp(_number, GetSerial()));
}

Result<void> Recorder::EnsureLayout(ImageResource& image) {
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  OSTRA_RETURN_IF_ERROR(Keep(image));
  Setup& setup = _device->GetSetup();
  const std::scoped_lock lock(setup.GetMutex());
  if (image.HasLayout()) return OK;
  OSTRA_RETURN_IF_ERROR(setup.Plan(image));
  image.SetHasLayout();
  return OK;
}

}  // namespace ostra::vulkan
