// What several lists may know is made ready at once, in a batch of its own, and not with the batch that is recorded.
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<VkCommandBuffer> CommandList::BeginAhead() {
  const VkDevice device = _device->GetHandle();
  if (_aheadValue != 0) OSTRA_RETURN_IF_ERROR(_device->Wait(_aheadValue));
  _aheadValue = 0;
  _aheadKept.Clear();
  OSTRA_RETURN_IF_ERROR(_aheadKept.Reserve(1));
  if (!_aheadPool) {
    VkCommandPoolCreateInfo pool = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    pool.flags = VK_COMMAND_POOL_CREATE_TRANSIENT_BIT;
    pool.queueFamilyIndex = _device->GetQueueFamily();
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateCommandPool(device, &pool, nullptr, &_aheadPool)));
  }
  if (!_aheadCommands) {
    VkCommandBufferAllocateInfo commands = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    commands.commandPool = _aheadPool;
    commands.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
    commands.commandBufferCount = 1;
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkAllocateCommandBuffers(device, &commands, &_aheadCommands)));
  }
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkResetCommandPool(device, _aheadPool, 0)));
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkBeginCommandBuffer(_aheadCommands, &info)));
  return _aheadCommands;
}

Result<void> CommandList::SubmitAhead(DeviceResource& resource) {
  // Everything that is submitted later waits for it.
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  vkCmdPipelineBarrier(_aheadCommands, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 1,
                       &barrier, 0, nullptr, 0, nullptr);
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEndCommandBuffer(_aheadCommands)));
  OSTRA_ASSIGN_OR_RETURN(_aheadValue, _device->Submit(_aheadCommands));
  OSTRA_RETURN_IF_ERROR(_aheadKept.Append(DeviceResourceRef(&resource)));  // there is room
  return OK;
}

}  // namespace ostra::vulkan
