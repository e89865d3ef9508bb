#include "ostra/drawport/device_list.h"

#include "ostra/core/format.h"
#include "ostra/drawport/selector_test.h"
#include "ostra/object/class.h"

OSTRA_UNIT("drawport");

namespace ostra {

Result<BaseArray<DrawportDeviceInformation>> GetDrawportDevices() {
  BaseArray<DrawportDeviceInformation> all;
  Result<void> last = OSTRA_ILLEGAL_STATE("There is no GPU backend.");
  for (const std::string_view name : kDrawportBackendNames) {
    OSTRA_ASSIGN_OR_RETURN(const String className, String::Concatenate(kDrawportDeviceListClassPrefix, name));
    const auto listClass = ClassRegistry::GetClasses().FindEntryValue(Id(className));
    if (!listClass) continue;
    OSTRA_ASSIGN_OR_RETURN(const DrawportDeviceListRef list, (*listClass)->CreateObject<DrawportDeviceListInterface>());
    Result<BaseArray<DrawportDeviceInformation>> devices = list->GetDevices();
    if (!devices) {
      last = devices.TakeError();
      continue;
    }
    for (DrawportDeviceInformation& device : *devices) OSTRA_RETURN_IF_ERROR(all.Append(std::move(device)));
  }
  if (all.IsEmpty() && !last) return last.TakeError();
  return all;
}

std::string_view GetDrawportFeatureText(DrawportFeature feature) {
  switch (feature) {
    case DrawportFeature::ComputeShader:
      return "compute shaders";
    case DrawportFeature::ShaderStorageBuffer:
      return "storage buffers";
    case DrawportFeature::MultisampleTexture:
      return "multisampled textures";
    case DrawportFeature::ImageLoadStore:
      return "writable images";
    case DrawportFeature::AtomicOperations:
      return "atomic operations";
    case DrawportFeature::ShaderHalfFloat:
      return "half floats";
  }
  return "an unknown feature";
}

}  // namespace ostra
