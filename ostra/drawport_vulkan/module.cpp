// The descriptor of the module: the cache, the selector test and the device list of the backend.
#include <array>

#include "ostra/drawport/selector_test.h"
#include "ostra/drawport_vulkan/cache_items.h"
#include "ostra/drawport_vulkan/device_list.h"
#include "ostra/object/class.h"
#include "ostra/object/host_frameworks.h"
#include "ostra/object/registration.h"

namespace ostra {
namespace {

class SelectorTest final : public Component<SelectorTest, DrawportSelectorTestInterface> {
 public:
  static constexpr const char* kComponentName = "VulkanSelectorTest";
  Bool IsSupported() const override { return vulkan::Driver::Get().IsOk(); }
};

class DeviceList final : public Component<DeviceList, DrawportDeviceListInterface> {
 public:
  static constexpr const char* kComponentName = "VulkanDeviceList";
  Result<BaseArray<DrawportDeviceInformation>> GetDevices() const override {
    OSTRA_ASSIGN_OR_RETURN(const DrawportCacheRef cache,
                           CreateObject<DrawportCacheInterface>("net.ostra.drawport.cache.vulkan"_id));
    return vulkan::ListDevices(*cache);
  }
};

Result<void> RegisterBackend(ModuleDescriptor& module) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef cache, Class::Create<vulkan::Cache>("net.ostra.drawport.cache.vulkan"_id));
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, cache));
  OSTRA_ASSIGN_OR_RETURN(ClassRef test, Class::Create<SelectorTest>("net.ostra.drawport.selectortestclass.vulkan"_id));
  OSTRA_RETURN_IF_ERROR(RegisterClass(module, test));
  OSTRA_ASSIGN_OR_RETURN(ClassRef devices, Class::Create<DeviceList>("net.ostra.drawport.devicelist.vulkan"_id));
  return RegisterClass(module, devices);
}

constexpr std::array kFrameworks = {kCoreFramework, kImageFramework, kDrawportFramework};
constexpr std::array<ModuleEntry, 1> kUnits = {{{"drawport_vulkan", &RegisterBackend}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {
    .id = "net.ostra.drawport.vulkan"_id,
    .version = OSTRA_MODULE_VERSION,
    .requiredFrameworks = ostra::kFrameworks,
    .publishedFramework = "net.ostra.drawport.vulkan.framework"_id,
    .units = ostra::kUnits,
};
