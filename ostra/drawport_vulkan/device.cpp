#include "ostra/drawport_vulkan/device.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "ostra/drawport_vulkan/device_fault.h"
#include "ostra/drawport_vulkan/device_features.h"
#include "ostra/drawport_vulkan/program_store.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/snapshot.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kMaxDevices = 32;

constinit std::mutex g_mutex;
constinit Device* g_running[kMaxDevices] = {};  // not counted; by place in the plan

}  // namespace

Result<DeviceRef> Device::Open(Int index) {
  OSTRA_ASSIGN_OR_RETURN(DriverRef driver, Driver::Get());
  if (index >= driver->GetDeviceCount() && index < driver->GetListedCount())
    return OSTRA_ILLEGAL_ARGUMENT("The GPU device @, \"@\", cannot be used: @.", index, driver->GetSnapshot(index).name,
                                  FindObstacle(driver->GetSnapshot(index)));
  if (index < 0 || index >= std::min(driver->GetDeviceCount(), kMaxDevices))
    return OSTRA_ILLEGAL_ARGUMENT("There is no GPU device @; there are @.", index, driver->GetDeviceCount());
  DeviceRef held;  // destroyed after the lock: the destructor of a device that did not start needs it
  const std::scoped_lock lock(g_mutex);
  Device*& running = g_running[index];
  // A lost device stays lost: the next request gets a fresh one.
  if (running && !running->IsLost() && running->TryAddRef()) return DeviceRef::Adopt(running);
  Device* device = NewObj<Device>(std::move(driver));
  if (!device) return OSTRA_OUT_OF_MEMORY();
  held = DeviceRef::Adopt(device);
  OSTRA_RETURN_IF_ERROR(device->Init(index));
  running = device;
  return held;
}

Device::Device(DriverRef driver) : _driver(std::move(driver)) {}

Device::~Device() {
  {
    const std::scoped_lock lock(g_mutex);
    for (Device*& running : g_running)
      if (running == this) running = nullptr;
  }
  if (!_device) return;
  vkDeviceWaitIdle(_device);
  _programs.reset();
  if (_timeline) vkDestroySemaphore(_device, _timeline, nullptr);
  _memory.Release();
  vkDestroyDevice(_device, nullptr);
}

Result<void> Device::Init(Int index) {
  _index = index;
  _physicalDevice = _driver->GetPhysicalDevice(index);
  _queueFamily = static_cast<UInt32>(PlanQueueFamily(_driver->GetSnapshot(index)));
  _timestampBits = _driver->GetSnapshot(index).queueFamilies[Int{_queueFamily}].timestampBits;
  VkPhysicalDeviceDriverProperties driver = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DRIVER_PROPERTIES};
  VkPhysicalDeviceProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2};
  properties.pNext = &driver;
  vkGetPhysicalDeviceProperties2(_physicalDevice, &properties);
  _properties = properties.properties;
  _miscountsPatches = driver.driverID == VK_DRIVER_ID_MESA_LLVMPIPE;
  OSTRA_ASSIGN_OR_RETURN(_timeLimit, ReadTimeLimit());
  OSTRA_RETURN_IF_ERROR(QueryLimits());
  OSTRA_RETURN_IF_ERROR(CreateDevice());
  vkGetDeviceQueue(_device, _queueFamily, 0, &_queue);
  _memory.Init(_physicalDevice, _device, _driver->GetSnapshot(index), _extensions.hasBudget);

  VkSemaphoreTypeCreateInfo type = {VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO};
  type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
  VkSemaphoreCreateInfo info = {VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO};
  info.pNext = &type;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateSemaphore(_device, &info, nullptr, &_timeline)));
  OSTRA_ASSIGN_OR_RETURN(_programs, ProgramStore::Create(*this));
  return OK;
}

Result<void> Device::QueryLimits() {
  // Devices of version 1.3 need not name the extension any more.
  const Bool isCore = std::min(_properties.apiVersion, _driver->GetApiVersion()) >= VK_API_VERSION_1_3;
  OSTRA_ASSIGN_OR_RETURN(const Bool isExtension,
                         HasDeviceExtension(_physicalDevice, VK_KHR_MAINTENANCE_4_EXTENSION_NAME));
  if (!isCore && !isExtension) return OK;
  VkPhysicalDeviceMaintenance4PropertiesKHR limits = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_4_PROPERTIES_KHR};
  VkPhysicalDeviceProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2};
  properties.pNext = &limits;
  vkGetPhysicalDeviceProperties2(_physicalDevice, &properties);
  _maxBufferSize = limits.maxBufferSize;
  return OK;
}

Result<void> Device::CreateDevice() {
  OSTRA_ASSIGN_OR_RETURN(_extensions, QueryExtensions(_physicalDevice));
  const DeviceSnapshot& snapshot = _driver->GetSnapshot(_index);
  _isRenderingCore = snapshot.rendering == RenderingSupport::Core;
  FeatureChain has, wants;
  // What programs may use is switched on where it is there; nothing else.
  _shaderFeatures = QueryFeatures(_physicalDevice, _extensions, has);
  RequestFeatures(_shaderFeatures, has, _extensions, CanDraw(snapshot), wants);
  // Halves are read, converted and written; what computes with them is asked for by the program that does.
  _hasHalfFloats = wants.since11.storageBuffer16BitAccess;
  const VkPhysicalDeviceFeatures& core = wants.all.features;
  _graphics = {.canDraw = CanDraw(snapshot),
               .hasTessellation = Bool(core.tessellationShader),
               .hasSampleShading = Bool(core.sampleRateShading),
               .hasVertexStores = Bool(core.vertexPipelineStoresAndAtomics),
               .hasFragmentStores = Bool(core.fragmentStoresAndAtomics),
               .hasIndependentBlend = Bool(core.independentBlend)};
  return CreateDeviceWith(wants);
}

Result<void> Device::CreateDeviceWith(const FeatureChain& wants) {
  const char* extensions[4];
  UInt32 extensionCount = 0;
  if (_extensions.hasFault) extensions[extensionCount++] = VK_EXT_DEVICE_FAULT_EXTENSION_NAME;
  if (_extensions.hasBudget) extensions[extensionCount++] = VK_EXT_MEMORY_BUDGET_EXTENSION_NAME;
  if (_extensions.hasSubset) extensions[extensionCount++] = VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME;
  if (_graphics.canDraw && !_isRenderingCore) extensions[extensionCount++] = VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME;
  const Float32 priority = 1;
  VkDeviceQueueCreateInfo queue = {VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
  queue.queueFamilyIndex = _queueFamily;
  queue.queueCount = 1;
  queue.pQueuePriorities = &priority;
  VkDeviceCreateInfo info = {VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
  info.pNext = &wants.all;
  info.queueCreateInfoCount = 1;
  info.pQueueCreateInfos = &queue;
  info.enabledExtensionCount = extensionCount;
  info.ppEnabledExtensionNames = extensions;
  return OSTRA_VULKAN(vkCreateDevice(_physicalDevice, &info, nullptr, &_device));
}

Result<UInt64> Device::Submit(const VkCommandBuffer* commands, UInt32 count) {
  if (IsLost()) return MakeLostError(__LINE__);
  const std::scoped_lock lock(_queueMutex);
  const UInt64 value = _submittedValue + 1;
  VkTimelineSemaphoreSubmitInfo timeline = {VK_STRUCTURE_TYPE_TIMELINE_SEMAPHORE_SUBMIT_INFO};
  timeline.signalSemaphoreValueCount = 1;
  timeline.pSignalSemaphoreValues = &value;
  VkSubmitInfo info = {VK_STRUCTURE_TYPE_SUBMIT_INFO};
  info.pNext = &timeline;
  info.commandBufferCount = count;
  info.pCommandBuffers = commands;
  info.signalSemaphoreCount = 1;
  info.pSignalSemaphores = &_timeline;
  OSTRA_RETURN_IF_ERROR(CheckLoss(OSTRA_VULKAN(vkQueueSubmit(_queue, 1, &info, VK_NULL_HANDLE))));
  _submittedValue = value;
  return value;
}

UInt64 Device::GetSubmittedValue() {
  const std::scoped_lock lock(_queueMutex);
  return _submittedValue;
}

Result<void> Device::WaitForSubmitted() { return Wait(GetSubmittedValue()); }

Result<UInt32> Device::AddList(Recorder& list) {
  static constinit std::atomic<UInt32> counter{1};
  const UInt32 number = counter.fetch_add(1, std::memory_order_relaxed);
  const std::scoped_lock lock(_listMutex);
  OSTRA_RETURN_IF_ERROR(_lists.Append(ListEntry{number, &list}));
  ++_listCount;
  return number;
}

Device::ListEntry* Device::FindList(UInt32 number) {
  return std::find_if(_lists.begin(), _lists.end(), [=](const ListEntry& list) { return list.number == number; });
}

void Device::RemoveList(UInt32 number) {
  const std::scoped_lock lock(_listMutex);
  ListEntry* const place = FindList(number);
  if (place == _lists.end()) return;
  _lists.RemoveUnordered(place - _lists.begin());
  --_listCount;
}

Bool Device::HasList(UInt32 number) {
  const std::scoped_lock lock(_listMutex);
  return FindList(number) != _lists.end();
}

void Device::ReleaseDone() {
  const UInt64 reached = GetReachedValue();
  const std::scoped_lock lock(_listMutex);
  for (const ListEntry& entry : _lists) entry.list->ReleaseDone(reached);
}

UInt64 Device::GetReachedValue() {
  if (IsLost()) return UINT64_MAX;
  UInt64 value = 0;
  Result<void> asked = OSTRA_VULKAN(vkGetSemaphoreCounterValue(_device, _timeline, &value));
  if (asked) return value;
  {
    const std::scoped_lock lock(_queueMutex);
    static_cast<void>(CheckLoss(std::move(asked)));
  }
  TellLoss();
  return IsLost() ? UINT64_MAX : 0;
}

void Device::TellUnfiltered(PixelFormatRef format) {
  if (_hasToldUnfiltered[format - GetPixelFormats().GetFirst()].exchange(true, std::memory_order_relaxed)) return;
  WarningOutput(
      "The GPU device \"@\" does not filter textures of the pixel format @: the nearest texel is read instead.",
      _driver->GetSnapshot(_index).name, format->id);
}

void Device::BeginRendering(VkCommandBuffer commands, const VkRenderingInfo& info) const {
  (_isRenderingCore ? vkCmdBeginRendering : vkCmdBeginRenderingKHR)(commands, &info);
}

void Device::EndRendering(VkCommandBuffer commands) const {
  (_isRenderingCore ? vkCmdEndRendering : vkCmdEndRenderingKHR)(commands);
}

void Device::SetName(VkObjectType type, UInt64 handle, const CString& name) const {
  if (!_driver->HasDebugUtils() || name.IsEmpty()) return;
  VkDebugUtilsObjectNameInfoEXT info = {VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT};
  info.objectType = type;
  info.objectHandle = handle;
  info.pObjectName = name.GetCString();
  static_cast<void>(vkSetDebugUtilsObjectNameEXT(_device, &info));  // debug names are optional
}

}  // namespace ostra::vulkan
