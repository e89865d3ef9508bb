// Devices that are lost, and work that never ends, where the environment asks for it:
//
//   OSTRA_PRETENDED_LOSS=N  each device is lost in its N-th submission, wait, question for progress, or mapping of
//                           memory, and stays so
//   OSTRA_PRETENDED_HANG=N  the N-th submission of each device never ends, nor does a later one
#include <cstring>

#include "tests/pretended_device/intercepted.h"

namespace ostra::pretended {
namespace {

constexpr char kDescription[] = "pretended fault";
constexpr VkDeviceFaultAddressInfoEXT kAddress = {VK_DEVICE_FAULT_ADDRESS_TYPE_WRITE_INVALID_EXT, 0x12345678, 0x1000};

bool NeverEnds(DeviceState& state) {
  const std::scoped_lock lock(state.mutex);
  if (++state.faults.submitCount == ReadNumber("OSTRA_PRETENDED_HANG")) state.faults.isHung = true;
  return state.faults.isHung;
}

struct FaultFlags {
  bool isLost, isHung;
};
FaultFlags GetFlags(DeviceState& state) {
  const std::scoped_lock lock(state.mutex);
  return {state.faults.isLost, state.faults.isHung};
}

}  // namespace

bool IsLostNow(DeviceState& state) {
  const std::scoped_lock lock(state.mutex);
  if (++state.faults.callCount == ReadNumber("OSTRA_PRETENDED_LOSS")) state.faults.isLost = true;
  return state.faults.isLost;
}

VkResult QueueSubmit(VkQueue queue, uint32_t count, const VkSubmitInfo* infos, VkFence fence) {
  DeviceState& state = GetDevice(GetKey(queue));
  if (IsLostNow(state)) return VK_ERROR_DEVICE_LOST;
  if (NeverEnds(state)) return VK_SUCCESS;  // the driver would do it
  return state.QueueSubmit(queue, count, infos, fence);
}

VkResult WaitSemaphores(VkDevice device, const VkSemaphoreWaitInfo* info, uint64_t timeout) {
  DeviceState& state = GetDevice(GetKey(device));
  return IsLostNow(state) ? VK_ERROR_DEVICE_LOST : state.WaitSemaphores(device, info, timeout);
}

VkResult GetSemaphoreCounterValue(VkDevice device, VkSemaphore semaphore, uint64_t* value) {
  DeviceState& state = GetDevice(GetKey(device));
  return IsLostNow(state) ? VK_ERROR_DEVICE_LOST : state.GetSemaphoreCounterValue(device, semaphore, value);
}

VkResult GetQueryPoolResults(VkDevice device, VkQueryPool pool, uint32_t first, uint32_t count, size_t size, void* data,
                             VkDeviceSize stride, VkQueryResultFlags flags) {
  DeviceState& state = GetDevice(GetKey(device));
  if (IsLostNow(state)) return VK_ERROR_DEVICE_LOST;
  return state.GetQueryPoolResults(device, pool, first, count, size, data, stride, flags);
}

// A lost device may answer that it is idle: its work is over.
VkResult DeviceWaitIdle(VkDevice device) {
  DeviceState& state = GetDevice(GetKey(device));
  if (GetFlags(state).isHung) ReportViolation(state, "vkDeviceWaitIdle would wait for work that never ends");
  return state.DeviceWaitIdle(device);
}

VkResult GetDeviceFaultInfoEXT(VkDevice device, VkDeviceFaultCountsEXT* counts, VkDeviceFaultInfoEXT* info) {
  DeviceState& state = GetDevice(GetKey(device));
  if (!GetFlags(state).isLost) ReportViolation(state, "vkGetDeviceFaultInfoEXT asks a device that is not lost");
  if (!info) {
    counts->addressInfoCount = 1;
    counts->vendorInfoCount = 0;
    counts->vendorBinarySize = 0;
    return VK_SUCCESS;
  }
  std::memcpy(info->description, kDescription, sizeof(kDescription));
  if (counts->addressInfoCount > 0 && info->pAddressInfos) *info->pAddressInfos = kAddress;
  return VK_SUCCESS;
}

}  // namespace ostra::pretended
