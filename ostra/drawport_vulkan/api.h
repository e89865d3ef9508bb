// The Vulkan functions, and the one place where their results become errors.
//
//   OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateFence(device, &info, nullptr, &fence)));
//
// Tests make the n-th call that goes through the macro fail, without calling the driver:
//
//   CallFaults::FailNth(3, VK_ERROR_OUT_OF_DEVICE_MEMORY);
//
// Thread-safe.
#pragma once

#include <volk.h>

#include <atomic>
#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/format.h"
#include "ostra/core/result.h"

namespace ostra::vulkan {

// The text of a result code, such as "VK_ERROR_DEVICE_LOST".
const char* GetResultName(VkResult result);

// Success codes (VK_SUCCESS, VK_INCOMPLETE and the like) are OK. Memory codes become out of memory, all others an
// illegal state that names the call and the code.
Result<void> CheckResult(VkResult result, const char* call, const char* unit, Int32 line);

// The error of everything that is asked of a lost device, and how to tell it.
Error MakeDeviceLostError(const char* unit, Int32 line);
Bool IsDeviceLost(const Error& error);

// Whether an error is the timeout of a wait.
Bool IsTimeout(const Error& error);

namespace CallFaults {
// Lets the `n`-th call from now on fail with `result`, counted from 1 over all threads. Only that one fails.
void FailNth(Int n, VkResult result);
void Disable();
// True when the call chosen by FailNth was reached, and which function that was.
Bool HasFired();
std::string_view GetFiredCall();
// Calls so far.
Int GetCount();
// The result that this call is to fail with; VK_SUCCESS for none. Counts the call. `call` is a literal.
VkResult TakeFault(const char* call);
}  // namespace CallFaults

}  // namespace ostra::vulkan

// Calls a Vulkan function that returns VkResult; → Result<void>. Needs OSTRA_UNIT.
#define OSTRA_VULKAN(...)                                                                  \
  [&]() -> ::ostra::Result<void> {                                                         \
    VkResult vulkanResult = ::ostra::vulkan::CallFaults::TakeFault(#__VA_ARGS__);          \
    if (vulkanResult == VK_SUCCESS) [[likely]]                                             \
      vulkanResult = (__VA_ARGS__);                                                        \
    if (vulkanResult == VK_SUCCESS) [[likely]]                                             \
      return ::ostra::OK;                                                                  \
    return ::ostra::vulkan::CheckResult(vulkanResult, #__VA_ARGS__, kOstraUnit, __LINE__); \
  }()
