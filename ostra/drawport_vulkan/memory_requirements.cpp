// What memory buffers and images need.
#include "ostra/drawport_vulkan/memory.h"

namespace ostra::vulkan {
namespace {

// `query` asks for the requirements of `object`, a buffer or image.
template <class Query>
VkMemoryRequirements QueryRequirementsOf(DedicatedObject object, DedicatedObject& dedicated, Query&& query) {
  VkMemoryDedicatedRequirements wanted = {VK_STRUCTURE_TYPE_MEMORY_DEDICATED_REQUIREMENTS};
  VkMemoryRequirements2 requirements = {VK_STRUCTURE_TYPE_MEMORY_REQUIREMENTS_2, &wanted, {}};
  query(requirements);
  dedicated = {};
  if (wanted.requiresDedicatedAllocation || wanted.prefersDedicatedAllocation) dedicated = object;
  dedicated.isRequired = wanted.requiresDedicatedAllocation;
  return requirements.memoryRequirements;
}

}  // namespace

VkMemoryRequirements QueryRequirements(VkDevice device, VkBuffer buffer, DedicatedObject& dedicated) {
  const VkBufferMemoryRequirementsInfo2 info = {VK_STRUCTURE_TYPE_BUFFER_MEMORY_REQUIREMENTS_INFO_2, nullptr, buffer};
  return QueryRequirementsOf({.buffer = buffer}, dedicated,
                             [&](auto& found) { vkGetBufferMemoryRequirements2(device, &info, &found); });
}

VkMemoryRequirements QueryRequirements(VkDevice device, VkImage image, DedicatedObject& dedicated) {
  const VkImageMemoryRequirementsInfo2 info = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_REQUIREMENTS_INFO_2, nullptr, image};
  return QueryRequirementsOf({.image = image}, dedicated,
                             [&](auto& found) { vkGetImageMemoryRequirements2(device, &info, &found); });
}

}  // namespace ostra::vulkan
