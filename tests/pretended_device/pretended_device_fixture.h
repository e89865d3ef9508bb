// For tests of the layer: an instance on which it answers as a device, and what it says of calls, with plain Vulkan.
#pragma once

#include <gmock/gmock.h>
#include <volk.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace ostra::pretended {

using Strings = std::vector<std::string>;

inline VKAPI_ATTR VkBool32 VKAPI_CALL Remember(VkDebugUtilsMessageSeverityFlagBitsEXT, VkDebugUtilsMessageTypeFlagsEXT,
                                               const VkDebugUtilsMessengerCallbackDataEXT* data, void* user) {
  static_cast<Strings*>(user)->push_back(data->pMessage);
  return VK_FALSE;
}

class PretendedDeviceTest : public testing::Test {
 protected:
  void TearDown() override {
    for (const char* variable : {"OSTRA_PRETENDED_LOSS", "OSTRA_PRETENDED_HANG", "OSTRA_PRETENDED_BUDGET"})
      unsetenv(variable);
    if (_device) vkDestroyDevice(std::exchange(_device, VK_NULL_HANDLE), nullptr);
    if (_messenger) vkDestroyDebugUtilsMessengerEXT(_instance, std::exchange(_messenger, VK_NULL_HANDLE), nullptr);
    if (_instance) vkDestroyInstance(std::exchange(_instance, VK_NULL_HANDLE), nullptr);
  }

  // An instance on which the layer answers as the device `key`.
  void Start(const char* key, VkInstanceCreateFlags flags = 0) {
    setenv("VK_ADD_LAYER_PATH", OSTRA_LAYER_FOLDER, 1);
    setenv("VK_INSTANCE_LAYERS", "VK_LAYER_OSTRA_pretended_device", 1);
    setenv("OSTRA_PRETENDED_DEVICE", key, 1);
    if (volkInitialize() != VK_SUCCESS) GTEST_SKIP() << "There is no Vulkan loader on this machine.";
    const char* extensions[] = {VK_EXT_DEBUG_UTILS_EXTENSION_NAME, VK_KHR_PORTABILITY_ENUMERATION_EXTENSION_NAME};
    VkApplicationInfo application = {VK_STRUCTURE_TYPE_APPLICATION_INFO};
    application.apiVersion = VK_API_VERSION_1_3;
    VkInstanceCreateInfo info = {VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
    info.flags = flags;
    info.pApplicationInfo = &application;
    info.enabledExtensionCount = 2;
    info.ppEnabledExtensionNames = extensions;
    _started = vkCreateInstance(&info, nullptr, &_instance);
    if (_started != VK_SUCCESS) return;
    volkLoadInstance(_instance);
    Listen();
    FindDevice();
  }

  void Listen() {
    VkDebugUtilsMessengerCreateInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
    info.messageSeverity = VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
    info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT;
    info.pfnUserCallback = &Remember;
    info.pUserData = &_messages;
    ASSERT_EQ(vkCreateDebugUtilsMessengerEXT(_instance, &info, nullptr, &_messenger), VK_SUCCESS);
  }

  void FindDevice() {
    uint32_t count = 1;
    vkEnumeratePhysicalDevices(_instance, &count, &_physicalDevice);
    if (count == 0) _physicalDevice = VK_NULL_HANDLE;
  }

  void StartOrSkip(const char* key) {
    Start(key, VK_INSTANCE_CREATE_ENUMERATE_PORTABILITY_BIT_KHR);
    ASSERT_EQ(_started, VK_SUCCESS);
    if (!_physicalDevice) GTEST_SKIP() << "There is no software driver on this machine.";
  }

  VkResult MakeDevice(const void* chain = nullptr, Strings extensions = {}, uint32_t family = 0) {
    const float priority = 1;
    VkDeviceQueueCreateInfo queue = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queue.queueFamilyIndex = family;
    queue.queueCount = 1;
    queue.pQueuePriorities = &priority;
    std::vector<const char*> names;
    for (const std::string& extension : extensions) names.push_back(extension.c_str());
    VkDeviceCreateInfo info = {VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.pNext = chain;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queue;
    info.enabledExtensionCount = static_cast<uint32_t>(names.size());
    info.ppEnabledExtensionNames = names.data();
    return vkCreateDevice(_physicalDevice, &info, nullptr, &_device);
  }

  VkResult Allocate(uint32_t type, VkDeviceSize size, VkDeviceMemory* memory) {
    VkMemoryAllocateInfo info = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.memoryTypeIndex = type;
    info.allocationSize = size;
    return vkAllocateMemory(_device, &info, nullptr, memory);
  }

  // A command buffer that records, of a pool of its own.
  VkCommandBuffer BeginCommands(VkCommandPool* pool) {
    VkCommandPoolCreateInfo poolInfo = {VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
    EXPECT_EQ(vkCreateCommandPool(_device, &poolInfo, nullptr, pool), VK_SUCCESS);
    VkCommandBufferAllocateInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
    info.commandPool = *pool;
    info.commandBufferCount = 1;
    VkCommandBuffer commands = VK_NULL_HANDLE;
    EXPECT_EQ(vkAllocateCommandBuffers(_device, &info, &commands), VK_SUCCESS);
    VkCommandBufferBeginInfo begin = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    EXPECT_EQ(vkBeginCommandBuffer(commands, &begin), VK_SUCCESS);
    return commands;
  }

  VkSemaphore MakeTimeline() {
    VkSemaphoreTypeCreateInfo type = {VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO};
    type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
    VkSemaphoreCreateInfo info = {VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
    info.pNext = &type;
    VkSemaphore semaphore = VK_NULL_HANDLE;
    EXPECT_EQ(vkCreateSemaphore(_device, &info, nullptr, &semaphore), VK_SUCCESS);
    return semaphore;
  }

  // Submits nothing but the signal of `value`.
  VkResult Signal(VkSemaphore semaphore, uint64_t value) {
    VkTimelineSemaphoreSubmitInfo timeline = {VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO};
    timeline.signalSemaphoreValueCount = 1;
    timeline.pSignalSemaphoreValues = &value;
    VkSubmitInfo info = {VK_STRUCTURE_TYPE_SUBMIT_INFO};
    info.pNext = &timeline;
    info.signalSemaphoreCount = 1;
    info.pSignalSemaphores = &semaphore;
    VkQueue queue;
    vkGetDeviceQueue(_device, 0, 0, &queue);
    return vkQueueSubmit(queue, 1, &info, VK_NULL_HANDLE);
  }
  VkResult WaitFor(VkSemaphore semaphore, uint64_t value, uint64_t timeout) {
    VkSemaphoreWaitInfo info = {VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO};
    info.semaphoreCount = 1;
    info.pSemaphores = &semaphore;
    info.pValues = &value;
    return vkWaitSemaphores(_device, &info, timeout);
  }
  VkResult MakeTimelineDevice(Strings extensions = {}) {
    VkPhysicalDeviceVulkan12Features features = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
    features.timelineSemaphore = VK_TRUE;
    return MakeDevice(&features, std::move(extensions));
  }

  VkPhysicalDeviceProperties GetProperties() const {
    VkPhysicalDeviceProperties properties;
    vkGetPhysicalDeviceProperties(_physicalDevice, &properties);
    return properties;
  }

  Strings TakeMessages() { return std::exchange(_messages, {}); }

  VkResult _started = VK_SUCCESS;
  VkInstance _instance = VK_NULL_HANDLE;
  VkDebugUtilsMessengerEXT _messenger = VK_NULL_HANDLE;
  VkPhysicalDevice _physicalDevice = VK_NULL_HANDLE;
  VkDevice _device = VK_NULL_HANDLE;
  Strings _messages;
};

#define OSTRA_START(key) \
  StartOrSkip(key);      \
  if (IsSkipped() || HasFatalFailure()) return

constexpr VkDeviceSize kMiB = VkDeviceSize{1} << 20;

}  // namespace ostra::pretended
