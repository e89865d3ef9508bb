#include "ostra/drawport_vulkan/device_plan.h"

#include <algorithm>

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

char ToLower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

Bool ContainsText(std::string_view text, std::string_view part) {
  const auto equal = [](char a, char b) { return ToLower(a) == ToLower(b); };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), equal) != text.end();
}

Bool IsNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

Error MakeUnknownDeviceError(Block<const DeviceSnapshot> devices, std::string_view wanted) {
  String names;
  for (Int i = 0; i < devices.GetCount(); ++i) {
    const std::string_view obstacle = FindObstacle(devices[i]);
    const auto name = obstacle.empty()
                          ? Format("@@ (@)", i == 0 ? "" : ", ", devices[i].name, i)
                          : Format("@@ (@, not usable: @)", i == 0 ? "" : ", ", devices[i].name, i, obstacle);
    if (!name || !names.Append(*name)) return OSTRA_OUT_OF_MEMORY();
  }
  return OSTRA_ILLEGAL_ARGUMENT("No usable GPU device is \"@\". There are: @.", wanted,
                                names.IsEmpty() ? std::string_view("none") : names.GetView());
}

// How well a memory type serves, larger is better; 0: not at all.
Int RateMemory(const DeviceSnapshot& device, const MemoryTypeSnapshot& type, MemoryUse use) {
  if (use == MemoryUse::Device) {
    if (!type.isDeviceLocal) return 1;
    const Int budgetHeap = PlanBudgetHeap(device);
    // A small window into device memory is soon full; what is as large as the rest can be used for everything.
    const Bool isLarge = type.heap < device.heaps.GetCount() && budgetHeap >= 0 &&
                         device.heaps[type.heap].size >= device.heaps[budgetHeap].size / 2;
    if (type.isHostVisible) return isLarge ? 4 + type.isHostCached : 2;
    return 3;
  }
  if (!type.isHostVisible) return 0;
  if (use == MemoryUse::Upload) return type.isDeviceLocal ? 1 : 2 + !type.isHostCached;
  return 1 + 2 * type.isHostCached + !type.isDeviceLocal;
}

}  // namespace

std::string_view FindObstacle(const DeviceSnapshot& device) {
  const Bool isNewEnough = device.majorVersion > 1 || (device.majorVersion == 1 && device.minorVersion >= 2);
  if (!isNewEnough) return "older than Vulkan 1.2";
  if (!device.hasTimelineSemaphores) return "no timeline semaphores";
  return PlanQueueFamily(device) < 0 ? "no queue that computes" : "";
}

Result<String> ListUnusable(Block<const DeviceSnapshot> devices) {
  String list;
  for (Int i = 0; i < devices.GetCount(); ++i) {
    const std::string_view obstacle = FindObstacle(devices[i]);
    if (obstacle.empty()) continue;
    OSTRA_ASSIGN_OR_RETURN(const String entry, Format("@@ (@)", list.IsEmpty() ? "" : ", ", devices[i].name, obstacle));
    OSTRA_RETURN_IF_ERROR(list.Append(entry));
  }
  return list;
}

Bool CanDraw(const DeviceSnapshot& device) {
  const Int family = PlanQueueFamily(device);
  return device.rendering != RenderingSupport::None && family >= 0 && device.queueFamilies[family].hasGraphics;
}

Result<BaseArray<Int>> PlanDevices(Block<const DeviceSnapshot> devices, std::string_view wanted) {
  BaseArray<Int> order;
  const auto isWanted = [&](Int index) -> Bool {
    if (wanted.empty()) return true;
    if (!IsNumber(wanted)) return ContainsText(devices[index].name, wanted);
    const auto number = Format("@", index);
    return number && *number == wanted;
  };
  Bool isAnyWanted = wanted.empty();
  for (const Bool takesWanted : {true, false}) {
    for (Int kind = 0; kind <= static_cast<Int>(DeviceKind::Software); ++kind) {
      for (Int i = 0; i < devices.GetCount(); ++i) {
        if (static_cast<Int>(devices[i].kind) != kind || !FindObstacle(devices[i]).empty() ||
            isWanted(i) != takesWanted)
          continue;
        isAnyWanted = isAnyWanted || takesWanted;
        OSTRA_RETURN_IF_ERROR(order.Append(i));
      }
    }
  }
  if (!isAnyWanted) return MakeUnknownDeviceError(devices, wanted);
  return order;
}

Int PlanQueueFamily(const DeviceSnapshot& device) {
  Int found = -1;
  for (Int i = 0; i < device.queueFamilies.GetCount(); ++i) {
    if (!device.queueFamilies[i].hasCompute) continue;
    if (device.queueFamilies[i].hasGraphics) return i;
    if (found < 0) found = i;
  }
  return found;
}

Int PlanMemoryType(const DeviceSnapshot& device, MemoryUse use, UInt32 allowed) {
  Int best = -1;
  Int bestRate = 0;
  for (Int i = 0; i < device.memoryTypes.GetCount(); ++i) {
    if (!(allowed & (UInt32(1) << i)) || device.memoryTypes[i].isSpecial) continue;
    const Int rate = RateMemory(device, device.memoryTypes[i], use);
    if (rate <= bestRate) continue;
    best = i;
    bestRate = rate;
  }
  return best;
}

Bool IsSlower(const DeviceSnapshot& device, MemoryUse use, Int from, Int to) {
  const MemoryTypeSnapshot& before = device.memoryTypes[from];
  const MemoryTypeSnapshot& after = device.memoryTypes[to];
  if (use == MemoryUse::Device) return before.isDeviceLocal && !after.isDeviceLocal;
  return use == MemoryUse::ReadBack && before.isHostCached && !after.isHostCached;
}

Int PlanBudgetHeap(const DeviceSnapshot& device) {
  Int found = -1;
  for (Int i = 0; i < device.heaps.GetCount(); ++i) {
    if (!device.heaps[i].isDeviceLocal) continue;
    if (found < 0 || device.heaps[i].size > device.heaps[found].size) found = i;
  }
  return found;
}

}  // namespace ostra::vulkan
