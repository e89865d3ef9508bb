#include "ostra/drawport_vulkan/api.h"

namespace ostra::vulkan {
namespace {

constexpr std::string_view kDeviceLost = "The GPU device is lost.";
constexpr std::string_view kTimeout = "The GPU device was waited for too long.";

constinit std::atomic<Int> g_callCount{0};
constinit std::atomic<Int> g_failingCall{0};  // 0: none
constinit std::atomic<Int32> g_fault{VK_SUCCESS};
constinit std::atomic<const char*> g_firedCall{nullptr};

std::string_view GetFunction(std::string_view call) { return call.substr(0, call.find('(')); }

}  // namespace

Error MakeDeviceLostError(const char* unit, Int32 line) {
  return Error::Make(kIllegalStateError, kDeviceLost, unit, line);
}

Bool IsDeviceLost(const Error& error) {
  return error.GetKind() == kIllegalStateError && error.GetMessage().GetView().starts_with(kDeviceLost);
}

Bool IsTimeout(const Error& error) { return error.GetMessage() == kTimeout; }

const char* GetResultName(VkResult result) {
  switch (result) {
#define OSTRA_CASE(name) \
  case name:             \
    return #name
    OSTRA_CASE(VK_SUCCESS);
    OSTRA_CASE(VK_NOT_READY);
    OSTRA_CASE(VK_TIMEOUT);
    OSTRA_CASE(VK_INCOMPLETE);
    OSTRA_CASE(VK_ERROR_OUT_OF_HOST_MEMORY);
    OSTRA_CASE(VK_ERROR_OUT_OF_DEVICE_MEMORY);
    OSTRA_CASE(VK_ERROR_OUT_OF_POOL_MEMORY);
    OSTRA_CASE(VK_ERROR_FRAGMENTED_POOL);
    OSTRA_CASE(VK_ERROR_INITIALIZATION_FAILED);
    OSTRA_CASE(VK_ERROR_DEVICE_LOST);
    OSTRA_CASE(VK_ERROR_MEMORY_MAP_FAILED);
    OSTRA_CASE(VK_ERROR_LAYER_NOT_PRESENT);
    OSTRA_CASE(VK_ERROR_EXTENSION_NOT_PRESENT);
    OSTRA_CASE(VK_ERROR_FEATURE_NOT_PRESENT);
    OSTRA_CASE(VK_ERROR_INCOMPATIBLE_DRIVER);
    OSTRA_CASE(VK_ERROR_TOO_MANY_OBJECTS);
    OSTRA_CASE(VK_ERROR_FORMAT_NOT_SUPPORTED);
    OSTRA_CASE(VK_ERROR_UNKNOWN);
#undef OSTRA_CASE
    default:
      return "an unknown result";
  }
}

Result<void> CheckResult(VkResult result, const char* call, const char* unit, Int32 line) {
  switch (result) {
    case VK_SUCCESS:
    case VK_INCOMPLETE:
      return OK;
    case VK_ERROR_OUT_OF_HOST_MEMORY:
    case VK_ERROR_OUT_OF_DEVICE_MEMORY:
    case VK_ERROR_OUT_OF_POOL_MEMORY:
    case VK_ERROR_FRAGMENTED_POOL:
    case VK_ERROR_TOO_MANY_OBJECTS:
      return Error::MakeOutOfMemory(unit, line);
    case VK_TIMEOUT:
      return Error::Make(kIllegalStateError, kTimeout, unit, line);
    case VK_ERROR_DEVICE_LOST:
      return MakeDeviceLostError(unit, line);
    default:
      return MakeError(kIllegalStateError, unit, line, "@ failed with @.", GetFunction(call), GetResultName(result));
  }
}

void CallFaults::FailNth(Int n, VkResult result) {
  g_firedCall = nullptr;
  g_fault = result;
  g_failingCall = g_callCount.load() + n;
}

void CallFaults::Disable() { g_failingCall = 0; }
Bool CallFaults::HasFired() { return g_firedCall.load() != nullptr; }
std::string_view CallFaults::GetFiredCall() {
  const char* call = g_firedCall;
  return call ? GetFunction(call) : std::string_view();
}
Int CallFaults::GetCount() { return g_callCount; }

VkResult CallFaults::TakeFault(const char* call) {
  const Int number = g_callCount.fetch_add(1, std::memory_order_relaxed) + 1;
  if (number != g_failingCall.load(std::memory_order_relaxed)) [[likely]]
    return VK_SUCCESS;
  g_firedCall = call;
  return static_cast<VkResult>(g_fault.load());
}

}  // namespace ostra::vulkan
