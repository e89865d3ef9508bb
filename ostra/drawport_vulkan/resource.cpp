#include "ostra/drawport_vulkan/resource.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

void DeviceResource::Go() {
  if (IsPlanned()) _device->GetSetup().Remove(*this);
  Free();
}

Result<void> DeviceResource::CheckIsOn(const Device& device) const {
  if (&device == &GetDevice()) return OK;
  return OSTRA_ILLEGAL_STATE("What is used lies on another GPU device than that of the context.");
}

}  // namespace ostra::vulkan
