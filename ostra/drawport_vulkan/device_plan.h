// Which device is used, and which of its memory for what: decisions from plain snapshots, so that they can be tested on
// machines without a GPU.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"

namespace ostra::vulkan {

enum class DeviceKind : Int32 { Discrete, Integrated, Virtual, Other, Software };

struct QueueFamilySnapshot {
  Bool hasGraphics = false;
  Bool hasCompute = false;
  UInt32 timestampBits = 0;  // that count; 0: no time stamps
};

struct MemoryHeapSnapshot {
  Int size = 0;  // bytes
  Bool isDeviceLocal = false;
};

struct MemoryTypeSnapshot {
  Int heap = 0;
  Bool isDeviceLocal = false;
  Bool isHostVisible = false;  // and coherent
  Bool isHostCached = false;
  Bool isSpecial = false;  // has properties beside these: lazily allocated, protected, device-coherent and so on
};

// Whether passes can begin without an object of their own, and where the functions for it are found.
enum class RenderingSupport : Int32 { None, Extension, Core };

struct DeviceSnapshot {
  String name;
  DeviceKind kind = DeviceKind::Other;
  UInt32 majorVersion = 0;  // of the API
  UInt32 minorVersion = 0;
  Bool hasTimelineSemaphores = false;
  RenderingSupport rendering = RenderingSupport::None;
  BaseArray<QueueFamilySnapshot> queueFamilies;
  BaseArray<MemoryHeapSnapshot> heaps;
  BaseArray<MemoryTypeSnapshot> memoryTypes;
};

// Why a device cannot be used ("no timeline semaphores"); empty for devices of at least version 1.2 with timeline
// semaphores and a compute queue.
std::string_view FindObstacle(const DeviceSnapshot& device);

// Names of the devices that cannot be used, each with the reason in parentheses: "A (no timeline semaphores), B (...)".
// Error: out of memory.
Result<String> ListUnusable(Block<const DeviceSnapshot> devices);

// True when the device draws as well: passes can begin, and its queue has graphics.
Bool CanDraw(const DeviceSnapshot& device);

// Indices of the usable devices, from the one that suits best: discrete, integrated, virtual, others, software;
// otherwise in the order given. `wanted` (the environment variable OSTRA_VULKAN_DEVICE) moves devices to the front: a
// number is an index into `devices`, any other text a part of the name, letters of either case.
// Errors: illegal argument when `wanted` fits no usable device, with the reason of those that it fits; out of memory.
Result<BaseArray<Int>> PlanDevices(Block<const DeviceSnapshot> devices, std::string_view wanted);

// A queue family that computes, best one that also draws; -1 for none.
Int PlanQueueFamily(const DeviceSnapshot& device);

enum class MemoryUse : Int32 {
  Device,    // buffers and textures; host-visible as well when that is not a small window only
  Upload,    // written by the host, read by the device
  ReadBack,  // written by the device, read by the host
};

// The memory type for `use` among those whose bit is set in `allowed`; -1 for none. Special types are never taken.
Int PlanMemoryType(const DeviceSnapshot& device, MemoryUse use, UInt32 allowed);

// Whether memory type `to` is much slower for `use` than type `from`: the host's for what the device works with, memory
// that the host does not cache for what it reads.
Bool IsSlower(const DeviceSnapshot& device, MemoryUse use, Int from, Int to);

// The heap that budgets are about: the largest device-local one; -1 for none.
Int PlanBudgetHeap(const DeviceSnapshot& device);

}  // namespace ostra::vulkan
