#include "ostra/drawport_vulkan/resource.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<void> DeviceResource::CheckIsOn(const Device& device) const {
  if (&device == &GetDevice()) return OK;
  return OSTRA_ILLEGAL_STATE("What is used lies on another GPU device than that of the context.");
}

}  // namespace ostra::vulkan
