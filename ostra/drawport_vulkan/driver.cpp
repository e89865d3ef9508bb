#include "ostra/drawport_vulkan/driver.h"

#include <cstdlib>
#include <mutex>
#include <span>

#include "ostra/core/diagnostics.h"
#include "ostra/drawport_vulkan/snapshot.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr const char* kValidationLayer = "VK_LAYER_KHRONOS_validation";

constinit std::mutex g_mutex;
constinit Driver* g_running = nullptr;  // not counted
constinit PretendedMachine g_pretended;

VKAPI_ATTR VkBool32 VKAPI_CALL WriteMessage(VkDebugUtilsMessageSeverityFlagBitsEXT, VkDebugUtilsMessageTypeFlagsEXT,
                                            const VkDebugUtilsMessengerCallbackDataEXT* data, void*) {
  CriticalOutput("Vulkan: @", data->pMessage);
  return VK_FALSE;
}

Bool IsValidationWanted() {
  const char* value = std::getenv("OSTRA_VULKAN_VALIDATION");
  return value && std::string_view(value) != "" && std::string_view(value) != "0";
}

// Names come as fixed arrays in records of different types.
template <class Record, class GetName>
Bool Contains(const BaseArray<Record>& records, std::string_view name, GetName getName) {
  for (const Record& record : records)
    if (getName(record) == name) return true;
  return false;
}

Result<Bool> HasLayer(std::string_view name) {
  UInt32 count = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumerateInstanceLayerProperties(&count, nullptr)));
  BaseArray<VkLayerProperties> layers;
  OSTRA_RETURN_IF_ERROR(layers.Resize(count));
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumerateInstanceLayerProperties(&count, layers.GetFirst())));
  return Contains(layers, name, [](const auto& layer) { return std::string_view(layer.layerName); });
}

Result<Bool> HasExtension(const char* layer, std::string_view name) {
  UInt32 count = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumerateInstanceExtensionProperties(layer, &count, nullptr)));
  BaseArray<VkExtensionProperties> extensions;
  OSTRA_RETURN_IF_ERROR(extensions.Resize(count));
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumerateInstanceExtensionProperties(layer, &count, extensions.GetFirst())));
  return Contains(extensions, name, [](const auto& extension) { return std::string_view(extension.extensionName); });
}

VkDebugUtilsMessengerCreateInfoEXT MakeMessengerInfo() {
  VkDebugUtilsMessengerCreateInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CREATE_INFO_EXT};
  info.messageSeverity =
      VK_DEBUG_UTILS_MESSAGE_SEVERITY_WARNING_BIT_EXT | VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT;
  info.messageType = VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT;
  info.pfnUserCallback = &WriteMessage;
  return info;
}

// Whether the validation layer is wanted and installed.
Result<Bool> FindValidation() {
  if (!IsValidationWanted()) return false;
  OSTRA_ASSIGN_OR_RETURN(const Bool isInstalled, HasLayer(kValidationLayer));
  if (!isInstalled) WarningOutput("Vulkan: the validation layer is not installed.");
  return isInstalled;
}

}  // namespace

Result<DriverRef> Driver::Get() {
  DriverRef held;  // destroyed after the lock: the destructor of a driver that did not start needs it
  const std::scoped_lock lock(g_mutex);
  // A driver whose last holder just let go is past help; its destructor waits for the lock.
  if (g_running && g_running->TryAddRef()) return DriverRef::Adopt(g_running);
  Driver* driver = NewObj<Driver>();
  if (!driver) return OSTRA_OUT_OF_MEMORY();
  held = DriverRef::Adopt(driver);
  OSTRA_RETURN_IF_ERROR(driver->Init());
  g_running = driver;
  return held;
}

void Driver::Pretend(const PretendedMachine& machine) {
  const std::scoped_lock lock(g_mutex);
  g_pretended = machine;
}

Driver::~Driver() {
  // The next driver starts when this one is gone: the loader's functions are the same variables for both.
  const std::scoped_lock lock(g_mutex);
  if (g_running == this) g_running = nullptr;
  if (_messenger) vkDestroyDebugUtilsMessengerEXT(_instance, _messenger, nullptr);
  if (_instance) vkDestroyInstance(_instance, nullptr);
}

Result<void> Driver::Init() {
  if (volkInitialize() != VK_SUCCESS) return OSTRA_ILLEGAL_STATE("There is no Vulkan loader on this machine.");
  if (volkGetInstanceVersion() < VK_API_VERSION_1_2)
    return OSTRA_ILLEGAL_STATE("The Vulkan loader of this machine is older than version 1.2.");
  OSTRA_RETURN_IF_ERROR(CreateInstance());
  return QueryDevices();
}

Result<void> Driver::CreateInstance() {
  VkApplicationInfo application = {VK_STRUCTURE_TYPE_APPLICATION_INFO};
  application.pApplicationName = "ostra";
  // Nothing of 1.3 is needed, but what was an extension before is used as what it has become.
  if (volkGetInstanceVersion() >= VK_API_VERSION_1_3 && !g_pretended.isOld) _apiVersion = VK_API_VERSION_1_3;
  application.apiVersion = _apiVersion;

  OSTRA_ASSIGN_OR_RETURN(const Bool validates, FindValidation());
  OSTRA_ASSIGN_OR_RETURN(_hasDebugUtils, HasExtension(nullptr, VK_EXT_DEBUG_UTILS_EXTENSION_NAME));
  OSTRA_ASSIGN_OR_RETURN(const Bool seesPortability,
                         HasExtension(nullptr, VK_KHR_PORTABILITY_ENUMERATION_EXTENSION_NAME));
  const char* extensions[2];
  UInt32 extensionCount = 0;
  if (_hasDebugUtils) extensions[extensionCount++] = VK_EXT_DEBUG_UTILS_EXTENSION_NAME;
  if (seesPortability) extensions[extensionCount++] = VK_KHR_PORTABILITY_ENUMERATION_EXTENSION_NAME;

  const VkValidationFeatureEnableEXT enabled[] = {VK_VALIDATION_FEATURE_ENABLE_SYNCHRONIZATION_VALIDATION_EXT};
  VkValidationFeaturesEXT features = {VK_STRUCTURE_TYPE_VALIDATION_FEATURES_EXT};
  features.enabledValidationFeatureCount = static_cast<UInt32>(std::size(enabled));
  features.pEnabledValidationFeatures = enabled;

  VkDebugUtilsMessengerCreateInfoEXT messenger = MakeMessengerInfo();
  VkInstanceCreateInfo info = {VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO};
  info.pApplicationInfo = &application;
  // Devices that lack parts of Vulkan are listed as well: what is used beyond those parts is asked for.
  if (seesPortability) info.flags = VK_INSTANCE_CREATE_ENUMERATE_PORTABILITY_BIT_KHR;
  info.enabledExtensionCount = extensionCount;
  info.ppEnabledExtensionNames = extensions;
  if (validates) {
    info.enabledLayerCount = 1;
    info.ppEnabledLayerNames = &kValidationLayer;
    info.pNext = &features;
    if (_hasDebugUtils) features.pNext = &messenger;  // also for what is said while the instance is made
  }
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateInstance(&info, nullptr, &_instance)));
  // Functions found through the instance serve all devices.
  volkLoadInstance(_instance);
  if (!validates || !_hasDebugUtils) return OK;
  return OSTRA_VULKAN(vkCreateDebugUtilsMessengerEXT(_instance, &messenger, nullptr, &_messenger));
}

Result<void> Driver::QueryDevices() {
  UInt32 count = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumeratePhysicalDevices(_instance, &count, nullptr)));
  OSTRA_RETURN_IF_ERROR(_physicalDevices.Resize(count));
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumeratePhysicalDevices(_instance, &count, _physicalDevices.GetFirst())));
  OSTRA_RETURN_IF_ERROR(_physicalDevices.Resize(count));
  if (g_pretended.hasEveryDeviceTwice) {
    OSTRA_RETURN_IF_ERROR(_physicalDevices.Reserve(2 * _physicalDevices.GetCount()));
    for (UInt32 i = 0; i < count; ++i) OSTRA_RETURN_IF_ERROR(_physicalDevices.Append(_physicalDevices[i]));
  }
  for (const VkPhysicalDevice device : _physicalDevices) {
    OSTRA_ASSIGN_OR_RETURN(DeviceSnapshot snapshot, TakeSnapshot(device, _apiVersion));
    OSTRA_RETURN_IF_ERROR(_snapshots.Append(std::move(snapshot)));
  }
  OSTRA_RETURN_IF_ERROR(PretendDevices());
  const Block<const DeviceSnapshot> all(_snapshots.GetFirst(), _snapshots.GetCount());
  OSTRA_ASSIGN_OR_RETURN(const String unusable, ListUnusable(all));
  const char* wanted = std::getenv("OSTRA_VULKAN_DEVICE");
  OSTRA_ASSIGN_OR_RETURN(_order, PlanDevices(all, wanted ? std::string_view(wanted) : std::string_view()));
  _usableCount = _order.GetCount();
  for (Int i = 0; i < all.GetCount(); ++i)
    if (!FindObstacle(all[i]).empty()) OSTRA_RETURN_IF_ERROR(_order.Append(i));
  if (_usableCount > 0) return OK;
  if (unusable.IsEmpty()) return OSTRA_ILLEGAL_STATE("There is no GPU device on this machine.");
  return OSTRA_ILLEGAL_STATE("There is no usable GPU device on this machine: @.", unusable);
}

Result<void> Driver::PretendDevices() {
  for (DeviceSnapshot& snapshot : _snapshots) {
    if (!g_pretended.hasHostMemory) continue;
    OSTRA_RETURN_IF_ERROR(snapshot.heaps.Append(MemoryHeapSnapshot{.size = snapshot.heaps[0].size}));
    const Int heap = snapshot.heaps.GetCount() - 1;
    OSTRA_RETURN_IF_ERROR(snapshot.memoryTypes.Append(MemoryTypeSnapshot{.heap = heap, .isHostVisible = true}));
  }
  if (_snapshots.IsEmpty()) return OK;
  if (g_pretended.firstCannotDraw) _snapshots[0].rendering = RenderingSupport::None;
  if (g_pretended.firstIsUnusable) _snapshots[0].hasTimelineSemaphores = false;
  return OK;
}

}  // namespace ostra::vulkan
