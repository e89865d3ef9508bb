#include "ostra/drawport_vulkan/device_list.h"

#include "ostra/core/format.h"
#include "ostra/drawport_vulkan/cache_items.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

String GetKindText(DeviceKind kind) {
  switch (kind) {
    case DeviceKind::Discrete:
      return "discrete"_s;
    case DeviceKind::Integrated:
      return "integrated"_s;
    case DeviceKind::Virtual:
      return "virtual"_s;
    case DeviceKind::Software:
      return "software"_s;
    case DeviceKind::Other:
      break;
  }
  return "other"_s;
}

DrawportFormatCounts CountFormats(const DrawportContextInterface& context) {
  DrawportFormatCounts counts;
  for (Int i = 0; i < kPixelFormatCount; ++i) {
    const PixelFormatRef format = GetPixelFormats().GetFirst() + i;
    const DrawportPixelFormatAccess access =
        context.GetPixelFormatAccessFlags(format, format->valueClass == PixelValueClass::FloatingPoint);
    counts.sampled += HasAccess(access, DrawportPixelFormatAccess::Sampled);
    counts.filtered += HasAccess(access, DrawportPixelFormatAccess::Filtered);
    counts.shaderReadWrite += HasAccess(access, DrawportPixelFormatAccess::ShaderReadWrite);
  }
  return counts;
}

Result<void> DescribeContext(DrawportContextInterface& context, DrawportDeviceInformation& information) {
  information.memory = context.GetAvailableAndTotalVRAMBudget();
  for (const DrawportFeature feature : kAllDrawportFeatures)
    if (context.IsFeatureSupported(feature)) OSTRA_RETURN_IF_ERROR(information.features.Append(feature));
  information.formats = CountFormats(context);
  OSTRA_ASSIGN_OR_RETURN(const Context* found, FindContext(context));
  OSTRA_ASSIGN_OR_RETURN(information.missing, ListMissing(found->GetDevice().GetShaderFeatures()));
  information.filterWeightBits = found->GetDevice().GetLimits().subTexelPrecisionBits;
  return OK;
}

}  // namespace

Result<BaseArray<DrawportDeviceInformation>> ListDevices(DrawportCacheInterface& cache) {
  OSTRA_ASSIGN_OR_RETURN(const DriverRef driver, Driver::Get());
  OSTRA_ASSIGN_OR_RETURN(const DrawportRef drawport, cache.AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
  BaseArray<DrawportDeviceInformation> devices;
  Result<void> failed = OK;  // the first that did
  Bool isAnyWorking = false;
  for (Int i = 0; i < driver->GetListedCount(); ++i) {
    const DeviceSnapshot& snapshot = driver->GetSnapshot(i);
    DrawportDeviceInformation information;
    information.backend = kDrawportTypeVulkan;
    information.name = snapshot.name;
    information.kind = GetKindText(snapshot.kind);
    OSTRA_ASSIGN_OR_RETURN(information.apiVersion, Format("@.@", snapshot.majorVersion, snapshot.minorVersion));
    information.canDraw = CanDraw(snapshot);
    information.isUsable = i < driver->GetDeviceCount();
    if (!information.isUsable) {
      OSTRA_ASSIGN_OR_RETURN(information.problem, String::Create(FindObstacle(snapshot)));
      OSTRA_RETURN_IF_ERROR(devices.Append(std::move(information)));
      continue;
    }
    auto context = drawport->CreateOffscreenRenderContext(false, static_cast<Int32>(i));
    if (context) {
      OSTRA_RETURN_IF_ERROR(DescribeContext(**context, information));
      isAnyWorking = true;
    } else {
      information.problem = context.GetError().GetMessage();
      if (failed) failed = context.TakeError();
    }
    OSTRA_RETURN_IF_ERROR(devices.Append(std::move(information)));
  }
  if (!isAnyWorking && !failed) return failed.TakeError();
  return devices;
}

}  // namespace ostra::vulkan
