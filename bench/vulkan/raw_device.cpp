#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "bench/vulkan/raw_vulkan.h"

namespace bench {

void CheckVulkan(VkResult result, const char* call) {
  if (result != VK_SUCCESS)
    throw std::runtime_error(std::string(call) + " of the reference failed with " + std::to_string(result) + ".");
}

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

void BeginCommands(VkCommandBuffer commands) {
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
  BENCH_VULKAN(vkBeginCommandBuffer(commands, &info));
}

namespace {

bool HasExtension(VkPhysicalDevice device, const char* name) {
  std::uint32_t count = 0;
  BENCH_VULKAN(vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr));
  std::vector<VkExtensionProperties> extensions(count);
  BENCH_VULKAN(vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.data()));
  return std::ranges::any_of(extensions, [name](const VkExtensionProperties& extension) {
    return std::strcmp(extension.extensionName, name) == 0;
  });
}

}  // namespace

RawDevice::RawDevice(const std::string& name) {
  BENCH_VULKAN(volkInitialize());
  VkApplicationInfo application = {VK_STRUCTURE_TYPE_APPLICATION_INFO};
  application.apiVersion = VK_API_VERSION_1_2;
  VkInstanceCreateInfo instanceInfo = {VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
  instanceInfo.pApplicationInfo = &application;
  BENCH_VULKAN(vkCreateInstance(&instanceInfo, nullptr, &_instance));
  volkLoadInstance(_instance);

  std::uint32_t count = 0;
  BENCH_VULKAN(vkEnumeratePhysicalDevices(_instance, &count, nullptr));
  std::vector<VkPhysicalDevice> devices(count);
  BENCH_VULKAN(vkEnumeratePhysicalDevices(_instance, &count, devices.data()));
  for (const VkPhysicalDevice device : devices) {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(device, &properties);
    if (_physicalDevice || name != properties.deviceName) continue;
    _physicalDevice = device;
    _limits = properties.limits;
  }
  if (!_physicalDevice) throw std::runtime_error("The reference does not find the device \"" + name + "\".");
  vkGetPhysicalDeviceMemoryProperties(_physicalDevice, &_memory);

  // A queue that computes, best one that also draws: as the GPU program has it.
  std::uint32_t familyCount = 0;
  vkGetPhysicalDeviceQueueFamilyProperties(_physicalDevice, &familyCount, nullptr);
  std::vector<VkQueueFamilyProperties> families(familyCount);
  vkGetPhysicalDeviceQueueFamilyProperties(_physicalDevice, &familyCount, families.data());
  VkDeviceQueueCreateInfo queue = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
  bool isFound = false;
  for (const VkQueueFlags wanted : {VK_QUEUE_COMPUTE_BIT | VK_QUEUE_GRAPHICS_BIT, VK_QUEUE_COMPUTE_BIT + 0}) {
    for (std::uint32_t i = 0; i < familyCount && !isFound; ++i) {
      if ((families[i].queueFlags & wanted) != wanted) continue;
      queue.queueFamilyIndex = i;
      isFound = true;
    }
  }
  const float priority = 1;
  queue.queueCount = 1;
  queue.pQueuePriorities = &priority;
  VkPhysicalDeviceVulkan12Features features12 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
  features12.scalarBlockLayout = VK_TRUE;
  features12.timelineSemaphore = VK_TRUE;
  VkDeviceCreateInfo info = {VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
  info.pNext = &features12;
  info.queueCreateInfoCount = 1;
  info.pQueueCreateInfos = &queue;
  // For drawing; what does not draw does without.
  VkPhysicalDeviceDynamicRenderingFeaturesKHR rendering = {
      VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES_KHR};
  rendering.dynamicRendering = VK_TRUE;
  const char* const extension = VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME;
  if (HasExtension(_physicalDevice, extension)) {
    features12.pNext = &rendering;
    info.enabledExtensionCount = 1;
    info.ppEnabledExtensionNames = &extension;
  }
  BENCH_VULKAN(vkCreateDevice(_physicalDevice, &info, nullptr, &_device));
  vkGetDeviceQueue(_device, queue.queueFamilyIndex, 0, &_queue);

  VkCommandPoolCreateInfo pool = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
  pool.flags = VK_COMMAND_POOL_CREATE_RESET_COMMAND_BUFFER_BIT;
  pool.queueFamilyIndex = queue.queueFamilyIndex;
  BENCH_VULKAN(vkCreateCommandPool(_device, &pool, nullptr, &_pool));
  VkSemaphoreTypeCreateInfo type = {VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO};
  type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
  VkSemaphoreCreateInfo semaphore = {VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
  semaphore.pNext = &type;
  BENCH_VULKAN(vkCreateSemaphore(_device, &semaphore, nullptr, &_timeline));
}

RawDevice::~RawDevice() {
  if (_device) {
    vkDeviceWaitIdle(_device);
    for (const VkFence fence : _fences) vkDestroyFence(_device, fence, nullptr);
    if (_timeline) vkDestroySemaphore(_device, _timeline, nullptr);
    if (_pool) vkDestroyCommandPool(_device, _pool, nullptr);
    vkDestroyDevice(_device, nullptr);
  }
  if (_instance) vkDestroyInstance(_instance, nullptr);
}

int RawDevice::FindMemoryType(std::uint32_t allowed, VkMemoryPropertyFlags needed, VkMemoryPropertyFlags wished) const {
  for (const VkMemoryPropertyFlags wanted : {needed | wished, needed}) {
    for (std::uint32_t i = 0; i < _memory.memoryTypeCount; ++i) {
      if ((allowed >> i & 1) && (_memory.memoryTypes[i].propertyFlags & wanted) == wanted) return static_cast<int>(i);
    }
  }
  return -1;
}

VkCommandBuffer RawDevice::MakeCommandBuffer(VkCommandBufferLevel level) {
  VkCommandBufferAllocateInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
  info.commandPool = _pool;
  info.level = level;
  info.commandBufferCount = 1;
  VkCommandBuffer commands = VK_NULL_HANDLE;
  BENCH_VULKAN(vkAllocateCommandBuffers(_device, &info, &commands));
  return commands;
}

VkFence RawDevice::MakeFence() {
  VkFenceCreateInfo info = {VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
  VkFence fence = VK_NULL_HANDLE;
  BENCH_VULKAN(vkCreateFence(_device, &info, nullptr, &fence));
  _fences.push_back(fence);
  return fence;
}

void RawDevice::Submit(VkCommandBuffer commands, VkFence fence) {
  VkSubmitInfo info = {VK_STRUCTURE_TYPE_SUBMIT_INFO};
  info.commandBufferCount = 1;
  info.pCommandBuffers = &commands;
  BENCH_VULKAN(vkQueueSubmit(_queue, 1, &info, fence));
}

void RawDevice::Wait(VkFence fence) {
  BENCH_VULKAN(vkWaitForFences(_device, 1, &fence, VK_TRUE, UINT64_MAX));
  BENCH_VULKAN(vkResetFences(_device, 1, &fence));
}

void RawDevice::SubmitAndWaitOnTimeline(VkCommandBuffer commands) {
  ++_timelineValue;
  VkTimelineSemaphoreSubmitInfo timeline = {VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO};
  timeline.signalSemaphoreValueCount = 1;
  timeline.pSignalSemaphoreValues = &_timelineValue;
  VkSubmitInfo info = {VK_STRUCTURE_TYPE_SUBMIT_INFO};
  info.pNext = &timeline;
  info.commandBufferCount = 1;
  info.pCommandBuffers = &commands;
  info.signalSemaphoreCount = 1;
  info.pSignalSemaphores = &_timeline;
  BENCH_VULKAN(vkQueueSubmit(_queue, 1, &info, VK_NULL_HANDLE));
  VkSemaphoreWaitInfo wait = {VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO};
  wait.semaphoreCount = 1;
  wait.pSemaphores = &_timeline;
  wait.pValues = &_timelineValue;
  BENCH_VULKAN(vkWaitSemaphores(_device, &wait, UINT64_MAX));
}

RawBuffer::RawBuffer(RawDeviceRef device, VkDeviceSize bytes, RawMemory kind)
    : _device(std::move(device)), _bytes(bytes) {
  VkBufferCreateInfo info = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  info.size = bytes;
  info.usage = VK_BUFFER_USAGE_STORAGE_BUFFER_BIT | VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT |
               VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
  BENCH_VULKAN(vkCreateBuffer(_device->GetHandle(), &info, nullptr, &_buffer));
  VkMemoryRequirements requirements;
  vkGetBufferMemoryRequirements(_device->GetHandle(), _buffer, &requirements);
  constexpr VkMemoryPropertyFlags kHost = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
  VkMemoryPropertyFlags needed = kind == RawMemory::Device ? 0 : kHost;
  if (kind == RawMemory::Device || kind == RawMemory::Mapped) needed |= VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
  VkMemoryPropertyFlags wished = needed;
  if (kind == RawMemory::ReadBack) wished |= VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
  const int type = _device->FindMemoryType(requirements.memoryTypeBits, needed, wished);
  if (type < 0) throw std::runtime_error("The device has no memory of this kind.");
  VkMemoryAllocateInfo allocation = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
  allocation.allocationSize = requirements.size;
  allocation.memoryTypeIndex = static_cast<std::uint32_t>(type);
  BENCH_VULKAN(vkAllocateMemory(_device->GetHandle(), &allocation, nullptr, &_memory));
  BENCH_VULKAN(vkBindBufferMemory(_device->GetHandle(), _buffer, _memory, 0));
  if (kind != RawMemory::Device)
    BENCH_VULKAN(vkMapMemory(_device->GetHandle(), _memory, 0, VK_WHOLE_SIZE, 0, &_mapped));
}

RawBuffer::~RawBuffer() {
  if (_buffer) vkDestroyBuffer(_device->GetHandle(), _buffer, nullptr);
  if (_memory) vkFreeMemory(_device->GetHandle(), _memory, nullptr);
}

namespace {

void Copy(RawDevice& device, VkBuffer source, VkBuffer target, VkDeviceSize bytes) {
  const VkCommandBuffer commands = device.MakeCommandBuffer();
  const VkFence fence = device.MakeFence();
  BeginCommands(commands);
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_SHADER_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_TRANSFER_READ_BIT | VK_ACCESS_TRANSFER_WRITE_BIT;
  vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, VK_PIPELINE_STAGE_TRANSFER_BIT, 0, 1, &barrier,
                       0, nullptr, 0, nullptr);
  const VkBufferCopy region = {0, 0, bytes};
  vkCmdCopyBuffer(commands, source, target, 1, &region);
  barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT | VK_ACCESS_HOST_READ_BIT;
  vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_TRANSFER_BIT,
                       VK_PIPELINE_STAGE_ALL_COMMANDS_BIT | VK_PIPELINE_STAGE_HOST_BIT, 0, 1, &barrier, 0, nullptr, 0,
                       nullptr);
  BENCH_VULKAN(vkEndCommandBuffer(commands));
  device.Submit(commands, fence);
  device.Wait(fence);
}

}  // namespace

void RawBuffer::Write(const void* source) {
  RawBuffer staging(_device, _bytes, RawMemory::Upload);
  std::memcpy(staging._mapped, source, _bytes);
  Copy(*_device, staging._buffer, _buffer, _bytes);
}

void RawBuffer::Read(void* target) {
  RawBuffer staging(_device, _bytes, RawMemory::ReadBack);
  Copy(*_device, _buffer, staging._buffer, _bytes);
  std::memcpy(target, staging._mapped, _bytes);
}

}  // namespace bench
