// Driver: the Vulkan loader and the devices that it knows. Shared by the process; destroyed with its last reference.
//
// OSTRA_VULKAN_DEVICE chooses the device that is taken first, by number or part of its name. With
// OSTRA_VULKAN_VALIDATION=1 the validation layer looks at every call; what it says is written as critical diagnostics,
// "Vulkan: ...".
#pragma once

#include "ostra/drawport/object.h"
#include "ostra/drawport_vulkan/api.h"
#include "ostra/drawport_vulkan/device_plan.h"

namespace ostra::vulkan {

// For tests: what a machine would be like.
struct PretendedMachine {
  Bool hasEveryDeviceTwice = false;
  Bool firstCannotDraw = false;
  Bool firstIsUnusable = false;  // no timeline semaphores
  // Each device has one memory type more, of the host's memory, behind those that are there.
  Bool hasHostMemory = false;
  Bool isOld = false;  // the loader knows version 1.2 only
};

class Driver final : public DrawportCounted<Driver, DrawportObject> {
 public:
  // The driver that is running, or a new one. Errors: illegal state without a Vulkan loader, with one that is too old,
  // or without a usable device, with the reason for each that is there; those of PlanDevices; out of memory.
  // Thread-safe.
  static Result<StrongRef<Driver>> Get();

  Driver() = default;
  Driver(const Driver&) = delete;
  ~Driver();

  VkInstance GetInstance() const { return _instance; }
  // Of the instance: what is newer in a device cannot be used.
  UInt32 GetApiVersion() const { return _apiVersion; }
  // Usable devices, from the one that suits best.
  Int GetDeviceCount() const { return _usableCount; }
  // With those that cannot be used, which come last.
  Int GetListedCount() const { return _order.GetCount(); }
  VkPhysicalDevice GetPhysicalDevice(Int index) const { return _physicalDevices[_order[index]]; }
  const DeviceSnapshot& GetSnapshot(Int index) const { return _snapshots[_order[index]]; }

  // Counts for the next driver that starts.
  static void Pretend(const PretendedMachine& machine);

  // Objects have names, and validation messages are heard.
  Bool HasDebugUtils() const { return _hasDebugUtils; }

 private:
  Result<void> Init();
  Result<void> CreateInstance();
  Result<void> QueryDevices();
  Result<void> PretendDevices();

  VkInstance _instance = VK_NULL_HANDLE;
  UInt32 _apiVersion = VK_API_VERSION_1_2;
  VkDebugUtilsMessengerEXT _messenger = VK_NULL_HANDLE;
  Bool _hasDebugUtils = false;
  BaseArray<VkPhysicalDevice> _physicalDevices;
  BaseArray<DeviceSnapshot> _snapshots;
  BaseArray<Int> _order;
  Int _usableCount = 0;
};

using DriverRef = StrongRef<Driver>;

}  // namespace ostra::vulkan
