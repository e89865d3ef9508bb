// Sizes that the limits of the device do not allow. What else there is to say is found by the validation layer, which
// stands above this one and judges by its answers.
#include "tests/pretended_device/intercepted.h"

namespace ostra::pretended {

VkResult CreateBuffer(VkDevice device, const VkBufferCreateInfo* info, const VkAllocationCallbacks* callbacks,
                      VkBuffer* buffer) {
  const DeviceState& state = GetDevice(GetKey(device));
  if (info->size > state.table->maxBufferSize) {
    ReportViolation(state, "vkCreateBuffer makes a buffer of " + std::to_string(info->size) + " bytes");
    return VK_ERROR_OUT_OF_DEVICE_MEMORY;
  }
  return state.CreateBuffer(device, info, callbacks, buffer);
}

VkResult CreateImage(VkDevice device, const VkImageCreateInfo* info, const VkAllocationCallbacks* callbacks,
                     VkImage* image) {
  const DeviceState& state = GetDevice(GetKey(device));
  VkImageFormatProperties most;
  const VkResult supported = GetPhysicalDeviceImageFormatProperties(state.physicalDevice, info->format, info->imageType,
                                                                    info->tiling, info->usage, info->flags, &most);
  const VkExtent3D& extent = info->extent;
  const bool fits = extent.width <= most.maxExtent.width && extent.height <= most.maxExtent.height &&
                    extent.depth <= most.maxExtent.depth && info->arrayLayers <= most.maxArrayLayers;
  if (supported != VK_SUCCESS || !fits) {
    ReportViolation(state, supported != VK_SUCCESS
                               ? "vkCreateImage makes an image of a use that its format does not have"
                               : "vkCreateImage makes an image that is too large");
    return VK_ERROR_OUT_OF_DEVICE_MEMORY;
  }
  return state.CreateImage(device, info, callbacks, image);
}

void CmdDispatch(VkCommandBuffer commands, uint32_t x, uint32_t y, uint32_t z) {
  const DeviceState& state = GetDevice(GetKey(commands));
  const auto& most = state.limits.maxComputeWorkGroupCount;
  if (x > most[0] || y > most[1] || z > most[2])
    ReportViolation(state, "vkCmdDispatch has more work groups than the device takes");
  state.CmdDispatch(commands, x, y, z);
}

}  // namespace ostra::pretended
