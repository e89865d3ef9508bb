// The devices that a backend can use, and why it cannot use others, for people who want to know before they choose.
//
//   OSTRA_ASSIGN_OR_RETURN(const BaseArray<DrawportDeviceInformation> devices, GetDrawportDevices());
//   for (const DrawportDeviceInformation& device : devices) Show(device.name, device.memory.total);
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"
#include "ostra/drawport/context.h"
#include "ostra/object/interface.h"

namespace ostra {

// Pixel formats of the tables in ostra/image that textures can have on a device, by what can be done with them.
struct DrawportFormatCounts {
  Int sampled = 0;
  Int filtered = 0;
  Int shaderReadWrite = 0;
};

struct DrawportDeviceInformation {
  Id backend;  // type of the cache, such as "Vulkan"
  String name;
  String kind;        // "discrete", "integrated", "virtual", "other" or "software"
  String apiVersion;  // "1.3"
  VideoMemoryBudget memory;
  BaseArray<DrawportFeature> features;  // those that are there
  // What programs may ask for and the device does not have, as "64-bit floats".
  BaseArray<String> missing;
  DrawportFormatCounts formats;
  Bool canDraw = false;
  // False: the device lacks something that the backend needs, which `problem` names.
  Bool isUsable = true;
  // Why the device cannot be used or does not start; empty for one that works. Without a start, memory, features,
  // formats and weights are not known.
  String problem;
  Int filterWeightBits = 0;  // bits behind the point of the weights with which neighbouring texels are blended
};

// A backend NAME registers the class net.ostra.drawport.devicelist.NAME. Any thread.
class DrawportDeviceListInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.devicelist"_id;
  // The usable devices, whose place is the device index of contexts, and behind them those that cannot be used. Every
  // usable device is started for it; those that do not start are in the list with the reason. Errors: illegal state
  // without a driver or a usable device, with the reason for each device; when no device starts, that of the first; out
  // of memory.
  virtual Result<BaseArray<DrawportDeviceInformation>> GetDevices() const = 0;
};
using DrawportDeviceListRef = StrongRef<DrawportDeviceListInterface>;

inline constexpr std::string_view kDrawportDeviceListClassPrefix = "net.ostra.drawport.devicelist.";

// The devices of the backends that are loaded, in the order in which GetDefaultDrawportCache tries them. Errors: that
// of the last backend when none has a device; illegal state "There is no GPU backend." without any; out of memory.
OSTRA_API Result<BaseArray<DrawportDeviceInformation>> GetDrawportDevices();

// "compute shaders" and so on; never empty.
OSTRA_API std::string_view GetDrawportFeatureText(DrawportFeature feature);

// All features that a device may have, in the order of their numbers.
inline constexpr DrawportFeature kAllDrawportFeatures[] = {
    DrawportFeature::ComputeShader,  DrawportFeature::ShaderStorageBuffer, DrawportFeature::MultisampleTexture,
    DrawportFeature::ImageLoadStore, DrawportFeature::AtomicOperations,    DrawportFeature::ShaderHalfFloat,
};

}  // namespace ostra
