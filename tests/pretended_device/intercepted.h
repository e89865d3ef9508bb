// The functions of the layer, with the signatures of Vulkan's. Those of one header of Vulkan stand in one list each:
// see layer_state.h.
#pragma once

#include "tests/pretended_device/layer_state.h"

namespace ostra::pretended {

template <class Function>
struct SignatureOf;
template <class Result, class... Arguments>
struct SignatureOf<Result(VKAPI_PTR*)(Arguments...)> {
  using Type = Result VKAPI_CALL(Arguments...);
};

SignatureOf<PFN_vkCreateInstance>::Type CreateInstance;
#define OSTRA_DECLARE(name) SignatureOf<PFN_vk##name>::Type name;
OSTRA_INSTANCE_FUNCTIONS(OSTRA_DECLARE)
OSTRA_DEVICE_FUNCTIONS(OSTRA_DECLARE)
#undef OSTRA_DECLARE

// Counts a call that may lose the device. True when the device is lost, by this call or before.
bool IsLostNow(DeviceState& state);

// What the device has, from what the driver has.
Features GetOfferedFeatures(VkPhysicalDevice device);

}  // namespace ostra::pretended
