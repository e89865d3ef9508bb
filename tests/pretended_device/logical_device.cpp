// Devices are made with what the pretended one offers, and nothing else.
#include "tests/pretended_device/feature_structures.h"
#include "tests/pretended_device/intercepted.h"

namespace ostra::pretended {
namespace {

// Extensions that the device does not list are refused by the loader.
void CheckSubset(InstanceState& instance, const PretendedDevice& table, const VkDeviceCreateInfo& info) {
  for (uint32_t i = 0; i < info.enabledExtensionCount; ++i)
    if (std::string_view(info.ppEnabledExtensionNames[i]) == VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME) return;
  if (table.isPortability)
    ReportViolation(instance, table, "vkCreateDevice does not ask for " VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME);
}

bool HasWantedFeatures(InstanceState& instance, VkPhysicalDevice device, const VkDeviceCreateInfo& info) {
  const PretendedDevice& table = GetTable(device);
  const auto missing = FindMissingFeatures(info.pNext, info.pEnabledFeatures, GetOfferedFeatures(device), table);
  for (const std::string& feature : missing) ReportViolation(instance, table, "vkCreateDevice asks for " + feature);
  return missing.empty();
}

bool HasWantedQueues(InstanceState& instance, VkPhysicalDevice device, const VkDeviceCreateInfo& info) {
  uint32_t count = 0;
  GetPhysicalDeviceQueueFamilyProperties(device, &count, nullptr);
  std::vector<VkQueueFamilyProperties> families(count);
  GetPhysicalDeviceQueueFamilyProperties(device, &count, families.data());
  bool hasAll = true;
  for (uint32_t i = 0; i < info.queueCreateInfoCount; ++i) {
    const VkDeviceQueueCreateInfo& wanted = info.pQueueCreateInfos[i];
    if (wanted.queueFamilyIndex < count && wanted.queueCount <= families[wanted.queueFamilyIndex].queueCount) continue;
    hasAll = false;
    ReportViolation(instance, GetTable(device),
                    "vkCreateDevice asks for " + std::to_string(wanted.queueCount) + " queues of the family " +
                        std::to_string(wanted.queueFamilyIndex));
  }
  return hasAll;
}

void FindFunctions(VkDevice device, DeviceState& state) {
#define OSTRA_FIND(name) state.name = reinterpret_cast<PFN_vk##name>(state.getNext(device, "vk" #name));
  OSTRA_DEVICE_FUNCTIONS(OSTRA_FIND)
#undef OSTRA_FIND
}

std::unique_ptr<DeviceState> MakeState(VkPhysicalDevice physicalDevice, const VkDeviceCreateInfo& info) {
  auto state = std::make_unique<DeviceState>();
  state->instance = &GetInstance(GetKey(physicalDevice));
  state->physicalDevice = physicalDevice;
  state->table = &GetTable(physicalDevice);
  VkPhysicalDeviceProperties properties;
  GetPhysicalDeviceProperties(physicalDevice, &properties);
  state->limits = properties.limits;
  for (uint32_t i = 0; i < info.queueCreateInfoCount; ++i)
    state->queueCounts[info.pQueueCreateInfos[i].queueFamilyIndex] = info.pQueueCreateInfos[i].queueCount;
  return state;
}

// Takes a structure that the driver does not know out of a chain for as long as it lives.
class WithoutStructure {
 public:
  WithoutStructure(const void* chain, VkStructureType type) {
    for (auto* entry = static_cast<VkBaseInStructure*>(const_cast<void*>(chain)); entry && entry->pNext;
         entry = const_cast<VkBaseInStructure*>(entry->pNext)) {
      if (entry->pNext->sType != type) continue;
      _before = entry;
      _taken = entry->pNext;
      _before->pNext = _taken->pNext;
      return;
    }
  }
  WithoutStructure(const WithoutStructure&) = delete;
  ~WithoutStructure() {
    if (_before) _before->pNext = _taken;
  }

 private:
  VkBaseInStructure* _before = nullptr;
  const VkBaseInStructure* _taken = nullptr;
};

}  // namespace

VkResult CreateDevice(VkPhysicalDevice physicalDevice, const VkDeviceCreateInfo* info,
                      const VkAllocationCallbacks* callbacks, VkDevice* device) {
  InstanceState& instance = GetInstance(GetKey(physicalDevice));
  CheckSubset(instance, GetTable(physicalDevice), *info);
  if (!HasWantedFeatures(instance, physicalDevice, *info)) return VK_ERROR_FEATURE_NOT_PRESENT;
  if (!HasWantedQueues(instance, physicalDevice, *info)) return VK_ERROR_INITIALIZATION_FAILED;
  auto state = MakeState(physicalDevice, *info);

  // The driver is asked for its one queue, whatever the families are, and never for what it does not know itself.
  VkDeviceCreateInfo changed = *info;
  const float priority = 1;
  VkDeviceQueueCreateInfo queue = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
  queue.queueCount = 1;
  queue.pQueuePriorities = &priority;
  changed.queueCreateInfoCount = 1;
  changed.pQueueCreateInfos = &queue;
  std::vector<const char*> extensions;
  for (uint32_t i = 0; i < info->enabledExtensionCount; ++i) {
    const char* const name = info->ppEnabledExtensionNames[i];
    if (!IsAnsweredByLayer(GetTable(physicalDevice), name)) extensions.push_back(name);
  }
  changed.enabledExtensionCount = static_cast<uint32_t>(extensions.size());
  changed.ppEnabledExtensionNames = extensions.data();

  VkLayerDeviceLink*& link =
      FindLink<VkLayerDeviceCreateInfo>(*info, VK_STRUCTURE_TYPE_LOADER_DEVICE_CREATE_INFO)->u.pLayerInfo;
  state->getNext = link->pfnNextGetDeviceProcAddr;
  const auto create =
      reinterpret_cast<PFN_vkCreateDevice>(link->pfnNextGetInstanceProcAddr(instance.handle, "vkCreateDevice"));
  link = link->pNext;
  const WithoutStructure withoutFaults(&changed, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FAULT_FEATURES_EXT);
  const VkResult result = create(physicalDevice, &changed, callbacks, device);
  if (result != VK_SUCCESS) return result;
  FindFunctions(*device, *state);
  AddDevice(GetKey(*device), std::move(state));
  return VK_SUCCESS;
}

void DestroyDevice(VkDevice device, const VkAllocationCallbacks* callbacks) {
  if (!device) return;
  // The next device may have the same key as soon as this one is gone.
  const auto state = TakeDevice(GetKey(device));
  state->DestroyDevice(device, callbacks);
}

void GetDeviceQueue(VkDevice device, uint32_t family, uint32_t index, VkQueue* queue) {
  const DeviceState& state = GetDevice(GetKey(device));
  const auto found = state.queueCounts.find(family);
  if (found == state.queueCounts.end() || index >= found->second)
    ReportViolation(state, "vkGetDeviceQueue asks for a queue that the device was not made with");
  state.GetDeviceQueue(device, 0, 0, queue);
}

VkResult CreateCommandPool(VkDevice device, const VkCommandPoolCreateInfo* info, const VkAllocationCallbacks* callbacks,
                           VkCommandPool* pool) {
  const DeviceState& state = GetDevice(GetKey(device));
  if (state.queueCounts.count(info->queueFamilyIndex) == 0)
    ReportViolation(state, "vkCreateCommandPool names a family that the device has no queue of");
  VkCommandPoolCreateInfo changed = *info;
  changed.queueFamilyIndex = 0;
  return state.CreateCommandPool(device, &changed, callbacks, pool);
}

}  // namespace ostra::pretended
