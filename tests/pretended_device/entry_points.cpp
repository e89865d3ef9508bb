// How the loader finds the functions of the layer.
#include <algorithm>
#include <atomic>

#include "tests/pretended_device/intercepted.h"
#include "tests/pretended_device/promoted_extensions.h"

namespace ostra::pretended {
namespace {

using Function = PFN_vkVoidFunction;

struct Entry {
  std::string_view name;
  Function function;
};

#define OSTRA_ENTRY(name) Entry{"vk" #name, reinterpret_cast<Function>(&name)},
constexpr auto MakeInstanceEntries = [] { return std::vector<Entry>{OSTRA_INSTANCE_FUNCTIONS(OSTRA_ENTRY)}; };
constexpr auto MakeDeviceEntries = [] { return std::vector<Entry>{OSTRA_DEVICE_FUNCTIONS(OSTRA_ENTRY)}; };
#undef OSTRA_ENTRY

// Extensions have the functions that they became under their own name.
std::string_view WithoutSuffix(std::string_view name) {
  return name.ends_with("KHR") ? name.substr(0, name.size() - 3) : name;
}

Function Find(const std::vector<Entry>& entries, std::string_view name) {
  for (const Entry& entry : entries)
    if (entry.name == WithoutSuffix(name)) return entry.function;
  return nullptr;
}

Function FindInstanceFunction(std::string_view name) {
  static const std::vector<Entry> entries = MakeInstanceEntries();
  return Find(entries, name);
}
Function FindDeviceFunction(std::string_view name) {
  static const std::vector<Entry> entries = MakeDeviceEntries();
  return Find(entries, name);
}

// In place of functions that came with Vulkan 1.3, for devices that are older. A call cannot say of which device it is,
// nor is there anything to return for it.
template <std::size_t kIndex>
VkResult VKAPI_CALL CallNewerFunction() {
  InstanceState nowhere;
  ReportViolation(nowhere, GetFirstTable(),
                  "a call of " + std::string(kFunctionsOf13[kIndex]) + ", which came with Vulkan 1.3");
  return VK_ERROR_EXTENSION_NOT_PRESENT;
}

template <std::size_t... kIndices>
Function FindNewerFunction(std::string_view name, std::index_sequence<kIndices...>) {
  Function found = nullptr;
  static_cast<void>(
      ((kFunctionsOf13[kIndices] == name ? (found = reinterpret_cast<Function>(&CallNewerFunction<kIndices>), true)
                                         : false) ||
       ...));
  return found;
}

void FindFunctions(VkInstance instance, InstanceState& state) {
  state.handle = instance;
#define OSTRA_FIND(name) state.name = reinterpret_cast<PFN_vk##name>(state.getNext(instance, "vk" #name));
  OSTRA_INSTANCE_FUNCTIONS(OSTRA_FIND)
#undef OSTRA_FIND
}

Function VKAPI_CALL GetDeviceFunction(VkDevice device, const char* name) {
  if (std::string_view(name) == "vkGetDeviceProcAddr") return reinterpret_cast<Function>(&GetDeviceFunction);
  const DeviceState& state = GetDevice(GetKey(device));
  const Function next = state.getNext(device, name);
  if (state.table->hasDeviceFault && std::string_view(name) == "vkGetDeviceFaultInfoEXT")
    return reinterpret_cast<Function>(&GetDeviceFaultInfoEXT);
  if (state.table->apiVersion < VK_API_VERSION_1_3)
    if (const Function newer = FindNewerFunction(name, std::make_index_sequence<kFunctionsOf13.size()>())) return newer;
  const Function own = FindDeviceFunction(name);
  return own && next ? own : next;
}

Function VKAPI_CALL GetInstanceFunction(VkInstance instance, const char* name) {
  const std::string_view wanted = name;
  if (wanted == "vkGetInstanceProcAddr") return reinterpret_cast<Function>(&GetInstanceFunction);
  if (wanted == "vkGetDeviceProcAddr") return reinterpret_cast<Function>(&GetDeviceFunction);
  if (wanted == "vkCreateInstance") return reinterpret_cast<Function>(&CreateInstance);
  if (!instance) return nullptr;
  const Function next = GetInstance(GetKey(instance)).getNext(instance, name);
  if (!next) return nullptr;
  if (const Function own = FindInstanceFunction(wanted)) return own;
  const Function own = FindDeviceFunction(wanted);
  return own ? own : next;
}

}  // namespace

VkResult CreateInstance(const VkInstanceCreateInfo* info, const VkAllocationCallbacks* callbacks,
                        VkInstance* instance) {
  // The loader leaves drivers out that are asked for by this flag alone, and fails when no other is there.
  const bool seesPortability = (info->flags & VK_INSTANCE_CREATE_ENUMERATE_PORTABILITY_BIT_KHR) != 0;
  if (GetFirstTable().isPortability && !seesPortability) return VK_ERROR_INCOMPATIBLE_DRIVER;
  VkLayerInstanceLink*& link =
      FindLink<VkLayerInstanceCreateInfo>(*info, VK_STRUCTURE_TYPE_LOADER_INSTANCE_CREATE_INFO)->u.pLayerInfo;
  auto state = std::make_unique<InstanceState>();
  state->getNext = link->pfnNextGetInstanceProcAddr;
  const auto create = reinterpret_cast<PFN_vkCreateInstance>(state->getNext(nullptr, "vkCreateInstance"));
  link = link->pNext;
  const VkResult result = create(info, callbacks, instance);
  if (result != VK_SUCCESS) return result;
  FindFunctions(*instance, *state);
  AddInstance(GetKey(*instance), std::move(state));
  return VK_SUCCESS;
}

void DestroyInstance(VkInstance instance, const VkAllocationCallbacks* callbacks) {
  if (!instance) return;
  const auto state = TakeInstance(GetKey(instance));
  state->DestroyInstance(instance, callbacks);
}

VkResult CreateDebugUtilsMessengerEXT(VkInstance instance, const VkDebugUtilsMessengerCreateInfoEXT* info,
                                      const VkAllocationCallbacks* callbacks, VkDebugUtilsMessengerEXT* messenger) {
  InstanceState& state = GetInstance(GetKey(instance));
  const VkResult result = state.CreateDebugUtilsMessengerEXT(instance, info, callbacks, messenger);
  if (result != VK_SUCCESS) return result;
  const std::scoped_lock lock(state.mutex);
  state.receivers[*messenger] = {info->pfnUserCallback, info->pUserData};
  return VK_SUCCESS;
}

void DestroyDebugUtilsMessengerEXT(VkInstance instance, VkDebugUtilsMessengerEXT messenger,
                                   const VkAllocationCallbacks* callbacks) {
  InstanceState& state = GetInstance(GetKey(instance));
  {
    const std::scoped_lock lock(state.mutex);
    state.receivers.erase(messenger);
  }
  state.DestroyDebugUtilsMessengerEXT(instance, messenger, callbacks);
}

}  // namespace ostra::pretended

extern "C" VK_LAYER_EXPORT VkResult VKAPI_CALL
vkNegotiateLoaderLayerInterfaceVersion(VkNegotiateLayerInterface* versions) {
  versions->loaderLayerInterfaceVersion = std::min<uint32_t>(versions->loaderLayerInterfaceVersion, 2);
  versions->pfnGetInstanceProcAddr = &ostra::pretended::GetInstanceFunction;
  versions->pfnGetDeviceProcAddr = &ostra::pretended::GetDeviceFunction;
  versions->pfnGetPhysicalDeviceProcAddr = nullptr;
  return VK_SUCCESS;
}
