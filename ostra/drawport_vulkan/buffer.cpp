#include "ostra/drawport_vulkan/buffer.h"

#include "ostra/drawport/settings.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kPadding = 16;  // fills and copies count in words

}  // namespace

Result<BufferRef> BufferResource::Create(Device& device, Int bytes, MemoryUse use, Bool isZero, MemorySpill spill) {
  if (bytes < 1) return OSTRA_ILLEGAL_ARGUMENT("A device buffer cannot have @ bytes.", bytes);
  BufferResource* buffer = NewObj<BufferResource>(DeviceRef(&device));
  if (!buffer) return OSTRA_OUT_OF_MEMORY();
  BufferRef held = BufferRef::Adopt(buffer);
  OSTRA_RETURN_IF_ERROR(buffer->Init(bytes, use, spill));
  buffer->_zeroBegin = isZero ? 0 : buffer->_paddedSize;
  return held;
}

void BufferResource::Free() {
  if (GetDevice().IsHung()) return;
  if (_buffer) vkDestroyBuffer(GetDevice().GetHandle(), _buffer, nullptr);
  GetDevice().GetMemory().Free(_piece);
}

Result<void> BufferResource::Init(Int bytes, MemoryUse use, MemorySpill spill) {
  if (bytes > INT64_MAX - kPadding) return OSTRA_OUT_OF_MEMORY();
  _size = bytes;
  _paddedSize = (bytes + kPadding - 1) / kPadding * kPadding;
  if (static_cast<UInt64>(_paddedSize) > GetDevice().GetMaxBufferSize())
    return OSTRA_ILLEGAL_ARGUMENT(
        "A device buffer of @ bytes is larger than the @ bytes that the GPU device can give one.", bytes,
        GetDevice().GetMaxBufferSize());
  const VkDevice device = GetDevice().GetHandle();
  VkBufferCreateInfo info = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  info.size = static_cast<VkDeviceSize>(_paddedSize);
  info.usage = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
  if (use == MemoryUse::Device)
    info.usage |=
        VK_BUFFER_USAGE_STORAGE_BUFFER_BIT | VK_BUFFER_USAGE_INDIRECT_BUFFER_BIT | VK_BUFFER_USAGE_VERTEX_BUFFER_BIT;
  else
    info.usage |= VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateBuffer(device, &info, nullptr, &_buffer)));
  DedicatedObject dedicated;
  const VkMemoryRequirements requirements = QueryRequirements(device, _buffer, dedicated);
  OSTRA_ASSIGN_OR_RETURN(_piece,
                         GetDevice().GetMemory().Allocate(requirements, use, MemoryContent::Linear, spill, dedicated));
  if (use == MemoryUse::Device && !GetDrawportDirectMapping()) _piece.mapped = nullptr;
  if (use == MemoryUse::Device && !GetDrawportDirectReading()) _piece.isHostCached = false;
  return OSTRA_VULKAN(vkBindBufferMemory(device, _buffer, _piece.memory, static_cast<VkDeviceSize>(_piece.offset)));
}

void BufferResource::RecordRead(VkCommandBuffer commands, const DrawportRegion& region, VkBuffer target) const {
  const VkBufferCopy range = {static_cast<VkDeviceSize>(region.origin.x), 0,
                              static_cast<VkDeviceSize>(region.extent.width)};
  vkCmdCopyBuffer(commands, _buffer, target, 1, &range);
}

void BufferResource::SetName(const CString& name) const {
  GetDevice().SetName(VK_OBJECT_TYPE_BUFFER, reinterpret_cast<UInt64>(_buffer), name);
}

}  // namespace ostra::vulkan
