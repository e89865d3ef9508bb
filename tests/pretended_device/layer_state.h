// What the layer remembers of instances and devices, and how it tells that a call uses what the device does not have.
// Thread-safe.
#pragma once

#include <vulkan/vk_layer.h>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "tests/pretended_device/pretended_device.h"

namespace ostra::pretended {

// Functions that the layer answers itself; all others go to the driver.
#define OSTRA_INSTANCE_FUNCTIONS(X)          \
  X(DestroyInstance)                         \
  X(CreateDebugUtilsMessengerEXT)            \
  X(DestroyDebugUtilsMessengerEXT)           \
  X(EnumeratePhysicalDevices)                \
  X(EnumerateDeviceExtensionProperties)      \
  X(GetPhysicalDeviceProperties)             \
  X(GetPhysicalDeviceProperties2)            \
  X(GetPhysicalDeviceFeatures)               \
  X(GetPhysicalDeviceFeatures2)              \
  X(GetPhysicalDeviceMemoryProperties)       \
  X(GetPhysicalDeviceMemoryProperties2)      \
  X(GetPhysicalDeviceQueueFamilyProperties)  \
  X(GetPhysicalDeviceQueueFamilyProperties2) \
  X(GetPhysicalDeviceFormatProperties)       \
  X(GetPhysicalDeviceFormatProperties2)      \
  X(GetPhysicalDeviceImageFormatProperties)  \
  X(GetPhysicalDeviceImageFormatProperties2) \
  X(CreateDevice)

#define OSTRA_DEVICE_FUNCTIONS(X) \
  X(DestroyDevice)                \
  X(GetDeviceQueue)               \
  X(QueueSubmit)                  \
  X(WaitSemaphores)               \
  X(GetSemaphoreCounterValue)     \
  X(GetQueryPoolResults)          \
  X(DeviceWaitIdle)               \
  X(GetDeviceFaultInfoEXT)        \
  X(CreateCommandPool)            \
  X(AllocateMemory)               \
  X(FreeMemory)                   \
  X(MapMemory)                    \
  X(BindBufferMemory)             \
  X(BindImageMemory)              \
  X(GetBufferMemoryRequirements)  \
  X(GetBufferMemoryRequirements2) \
  X(GetImageMemoryRequirements)   \
  X(GetImageMemoryRequirements2)  \
  X(CreateBuffer)                 \
  X(CreateImage)                  \
  X(CmdDispatch)

// Who is told of violations: the loader, which knows them as well, must not be asked from inside of its own calls.
struct Receiver {
  PFN_vkDebugUtilsMessengerCallbackEXT callback = nullptr;
  void* user = nullptr;
};

struct InstanceState {
  PFN_vkGetInstanceProcAddr getNext = nullptr;
  std::mutex mutex;  // guards `receivers`
  std::map<VkDebugUtilsMessengerEXT, Receiver> receivers;
  VkInstance handle = VK_NULL_HANDLE;
#define OSTRA_MEMBER(name) PFN_vk##name name = nullptr;
  OSTRA_INSTANCE_FUNCTIONS(OSTRA_MEMBER)
#undef OSTRA_MEMBER
};

struct MemoryState {
  uint32_t type = 0;
  VkDeviceSize size = 0;
  uint64_t owner = 0;  // the buffer or image that it is for alone
};

// What has gone wrong with a device, because the environment asks for it.
struct Faults {
  uint32_t callCount = 0;  // that may lose the device
  uint32_t submitCount = 0;
  bool isLost = false;
  bool isHung = false;
};

struct DeviceState {
  PFN_vkGetDeviceProcAddr getNext = nullptr;
  InstanceState* instance = nullptr;
  VkPhysicalDevice physicalDevice = VK_NULL_HANDLE;
  const PretendedDevice* table = nullptr;
  VkPhysicalDeviceLimits limits = {};
  std::map<uint32_t, uint32_t> queueCounts;  // by the family that was asked for
  std::mutex mutex;                          // guards what follows
  std::map<VkDeviceMemory, MemoryState> memory;
  std::map<uint32_t, VkDeviceSize> used;  // by heap
  Faults faults;
#define OSTRA_MEMBER(name) PFN_vk##name name = nullptr;
  OSTRA_DEVICE_FUNCTIONS(OSTRA_MEMBER)
#undef OSTRA_MEMBER
};

// Of a dispatchable handle: that of the instance or device that it belongs to.
template <class Handle>
void* GetKey(Handle handle) {
  return *reinterpret_cast<void**>(handle);
}

// The states by the key of any handle that belongs to them.
void AddInstance(void* key, std::unique_ptr<InstanceState> state);
InstanceState& GetInstance(void* key);
std::unique_ptr<InstanceState> TakeInstance(void* key);
void AddDevice(void* key, std::unique_ptr<DeviceState> state);
DeviceState& GetDevice(void* key);
std::unique_ptr<DeviceState> TakeDevice(void* key);

// Notes which software device of the driver a handle is, counted from 0.
void NumberPhysicalDevice(VkPhysicalDevice device, std::size_t number);
// The device that the layer answers as in place of `device`.
const PretendedDevice& GetTable(VkPhysicalDevice device);
// The same where no device is known: the first.
const PretendedDevice& GetFirstTable();

// Bytes that work holds of a heap, over all logical devices of the process.
VkDeviceSize CountUsed(VkPhysicalDevice device, uint32_t heap);

// The number in an environment variable, which may change while a program runs; 0 without one.
uint64_t ReadNumber(const char* variable);

// A call uses what the device does not have: an error for the receivers of messages, and a line of standard error that
// begins with "Violation of the pretended device".
void ReportViolation(InstanceState& instance, const PretendedDevice& table, const std::string& text);
void ReportViolation(const DeviceState& device, const std::string& text);

// The structure of a chain that has `type`; null without one.
template <class Structure>
Structure* FindInChain(const void* chain, VkStructureType type) {
  for (auto* entry = static_cast<const VkBaseInStructure*>(chain); entry; entry = entry->pNext)
    if (entry->sType == type) return reinterpret_cast<Structure*>(const_cast<VkBaseInStructure*>(entry));
  return nullptr;
}

// What the loader hands to a layer when an instance or a device is created; null without it.
template <class Link, class Info>
Link* FindLink(const Info& info, VkStructureType type) {
  for (auto* entry = static_cast<const VkBaseInStructure*>(info.pNext); entry; entry = entry->pNext) {
    auto* link = reinterpret_cast<Link*>(const_cast<VkBaseInStructure*>(entry));
    if (entry->sType == type && link->function == VK_LAYER_LINK_INFO) return link;
  }
  return nullptr;
}

}  // namespace ostra::pretended
