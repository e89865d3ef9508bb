// Waiting for a device, and what becomes of one that is lost or whose work does not end.
#include "ostra/core/diagnostics.h"
#include "ostra/drawport/settings.h"
#include "ostra/drawport_vulkan/device.h"
#include "ostra/drawport_vulkan/device_fault.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Devices whose work does not end, so that they are not taken for leaks. Guarded by the mutex.
constinit std::mutex g_abandonedMutex;
constinit Device* g_abandoned = nullptr;

}  // namespace

Error Device::MakeLostError(Int32 line) const {
  if (_loss.text.IsEmpty()) return MakeDeviceLostError(kOstraUnit, line);
  return MakeError(kIllegalStateError, kOstraUnit, line, "The GPU device is lost. @", _loss.text);
}

Result<void> Device::CheckLoss(Result<void> result) {
  if (result || !IsDeviceLost(result.GetError())) return result;
  if (IsLost()) return MakeLostError(__LINE__);
  // Running work must end before it counts as done. A device that is really lost answers at once.
  static_cast<void>(vkDeviceWaitIdle(_device));
  if (_extensions.hasFault) {
    const Result<String> fault = DescribeFault(_device);
    Result<String> text =
        fault && fault->IsPopulated() ? Format("The driver says: @.", *fault) : Result<String>(String());
    if (text) _loss.text = std::move(*text);
  }
  _loss.isUntold.store(_loss.text.IsPopulated(), std::memory_order_relaxed);
  _isLost.store(true, std::memory_order_release);
  return MakeLostError(__LINE__);
}

Result<void> Device::Wait(UInt64 value) {
  if (IsLost()) return MakeLostError(__LINE__);
  const UInt64 limit = _timeLimit ? *_timeLimit : static_cast<UInt64>(GetDrawportTimeLimit() * 1e9);
  Result<void> waited = WaitWithLimit(value, limit);
  if (waited) return waited;
  {
    const std::scoped_lock lock(_queueMutex);
    waited = IsTimeout(waited.GetError()) ? Result<void>(Abandon(limit)) : CheckLoss(std::move(waited));
  }
  TellLoss();
  return waited;
}

void Device::TellLoss() {
  if (!IsLost() || !_loss.isUntold.exchange(false, std::memory_order_relaxed)) return;
  WarningOutput("The GPU device \"@\" is lost. @", _driver->GetSnapshot(_index).name, _loss.text);
}

Result<void> Device::WaitWithLimit(UInt64 value, UInt64 limit) {
  VkSemaphoreWaitInfo info = {VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO};
  info.semaphoreCount = 1;
  info.pSemaphores = &_timeline;
  info.pValues = &value;
  if (limit == 0) return OSTRA_VULKAN(vkWaitSemaphores(_device, &info, UINT64_MAX));
  UInt64 before = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkGetSemaphoreCounterValue(_device, _timeline, &before)));
  while (true) {
    Result<void> waited = OSTRA_VULKAN(vkWaitSemaphores(_device, &info, limit));
    if (waited || !IsTimeout(waited.GetError())) return waited;
    // Each submission has the whole time.
    UInt64 reached = 0;
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkGetSemaphoreCounterValue(_device, _timeline, &reached)));
    if (reached == before) return waited;
    before = reached;
  }
}

Error Device::Abandon(UInt64 limit) {
  if (IsLost()) return MakeLostError(__LINE__);
  Result<String> text =
      Format("Its work did not end within @ seconds, the time limit of OSTRA_GPU_TIME_LIMIT or SetDrawportTimeLimit.",
             static_cast<Float64>(limit) * 1e-9);
  if (text) _loss.text = std::move(*text);
  // The device may go on with what it was given, so none of that is ever freed.
  _memory.Abandon();
  AddRef();
  {
    const std::scoped_lock lock(g_abandonedMutex);
    _nextAbandoned = std::exchange(g_abandoned, this);
  }
  _loss.isUntold.store(_loss.text.IsPopulated(), std::memory_order_relaxed);
  _isHung.store(true, std::memory_order_release);
  _isLost.store(true, std::memory_order_release);
  return MakeLostError(__LINE__);
}

void Device::WaitUntilIdle() {
  if (IsHung()) return;
  const std::scoped_lock lock(_queueMutex);
  static_cast<void>(vkDeviceWaitIdle(_device));
}

}  // namespace ostra::vulkan
