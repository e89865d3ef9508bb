#include "ostra/drawport_vulkan/context.h"

#include <algorithm>
#include <typeinfo>

#include "ostra/drawport/settings.h"
#include "ostra/drawport_vulkan/cache_items.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kStagingCapacity = Int(8) << 20;
constexpr Int kMinStagingCapacity = Int(64) << 10;

// Textures are moved in whole rows, so that each must fit; 256 KiB on most devices.
Int GetLongestRow(const VkPhysicalDeviceLimits& limits) {
  constexpr Int kMaxTexel = 16;
  const Int texels = std::max(limits.maxImageDimension1D, limits.maxImageDimension2D);
  const Int alignment = GetDrawportRowAlignment();
  return (texels * kMaxTexel + alignment - 1) / alignment * alignment;
}

DrawportCapabilities MakeCapabilities(VkPhysicalDevice device) {
  VkPhysicalDeviceProperties properties;
  vkGetPhysicalDeviceProperties(device, &properties);
  const Int wanted = GetDrawportStagingCapacity();
  const Int capacity =
      std::max({wanted > 0 ? wanted : kStagingCapacity, kMinStagingCapacity, GetLongestRow(properties.limits)});
  const auto alignment = static_cast<Int>(properties.limits.minStorageBufferOffsetAlignment);
  return DrawportCapabilities({{DrawportCapability::BufferTransferChunk, capacity},
                               {DrawportCapability::TextureStagingCapacity, capacity},
                               {DrawportCapability::ReadBackStagingCapacity, capacity},
                               {DrawportCapability::SubBufferAlignment, std::max<Int>(alignment, 16)}});
}

}  // namespace

Result<StrongRef<Context>> Context::Create(DrawportRef drawport, Device& device) {
  Context* context = NewObj<Context>(std::move(drawport), device);
  if (!context) return OSTRA_OUT_OF_MEMORY();
  auto held = StrongRef<Context>::Adopt(context);
  OSTRA_RETURN_IF_ERROR(context->_commands.Init());
  return held;
}

Bool Context::IsFeatureSupported(DrawportFeature feature) const {
  switch (feature) {
    case DrawportFeature::ComputeShader:
    case DrawportFeature::ShaderStorageBuffer:
    case DrawportFeature::ImageLoadStore:
    case DrawportFeature::AtomicOperations:
      return true;  // what every device of the plan can do
    case DrawportFeature::ShaderHalfFloat:
      return GetDevice().HasHalfFloats();
    case DrawportFeature::MultisampleTexture:
      return GetDevice().GetGraphics().canDraw && GetDevice().GetGraphics().hasSampleShading;
  }
  return false;
}

DrawportPixelFormatAccess Context::GetPixelFormatAccessFlags(PixelFormatRef format, Bool isFloatingPoint) const {
  if (!format || (format->valueClass == PixelValueClass::FloatingPoint) != isFloatingPoint)
    return DrawportPixelFormatAccess::None;
  return GetFormatAccess(GetDevice().GetPhysicalDevice(), format);
}

VideoMemoryBudget Context::GetAvailableAndTotalVRAMBudget() const { return GetDevice().GetMemory().GetBudget(); }

Result<void> Context::FreeTrash() {
  OSTRA_RETURN_IF_ERROR(_commands.Execute(true));
  // Work of other contexts holds things as well, and some of them never ask whether it is done.
  OSTRA_RETURN_IF_ERROR(GetDevice().WaitForSubmitted());
  GetDevice().ReleaseDone();
  _commands.FreeSpareMemory();
  GetDevice().GetMemory().FreeEmptyBlocks();
  return OK;
}

Result<Context*> FindContext(DrawportContextInterface& context) {
  // Asked several times a draw: the class is found without counting references.
  if (typeid(context) == typeid(Context)) return static_cast<Context*>(&context);
  return OSTRA_ILLEGAL_STATE("The context belongs to another GPU backend.");
}

Drawport::Drawport(DrawportCacheRef cache, DriverRef driver, Int index)
    : _cache(std::move(cache)),
      _driver(std::move(driver)),
      _index(index),
      _language(GetDrawportShadingLanguage()),
      _stagingCapacity(GetDrawportStagingCapacity()),
      _capabilities(MakeCapabilities(_driver->GetPhysicalDevice(index))) {}

Drawport::~Drawport() { static_cast<Cache&>(*_cache).Forget(*this); }

Result<StrongRef<Drawport>> Drawport::Create(DrawportCacheRef cache, Int index) {
  OSTRA_ASSIGN_OR_RETURN(DriverRef driver, Driver::Get());
  Drawport* drawport = NewObj<Drawport>(std::move(cache), std::move(driver), index);
  if (!drawport) return OSTRA_OUT_OF_MEMORY();
  return StrongRef<Drawport>::Adopt(drawport);
}

Bool Drawport::TakesDevice(const DeviceRef& device) {
  const std::scoped_lock lock(_mutex);
  if (!device) return !_device || !_device->IsLost();
  if (!_device) _device = device;
  return _device == device;
}

Bool Drawport::Serves(Int index, const DeviceRef& device) {
  return index == _index && _language == GetDrawportShadingLanguage() &&
         _stagingCapacity == GetDrawportStagingCapacity() && TakesDevice(device);
}

Result<DrawportContextRef> Drawport::CreateOffscreenRenderContext(Bool, Int32 deviceIndex) {
  OSTRA_ASSIGN_OR_RETURN(const DeviceRef device, Device::Open(deviceIndex));
  DrawportRef drawport(this);
  // Of another device, or a fresh one in the place of one that is lost.
  if (deviceIndex != _index || !TakesDevice(device)) {
    OSTRA_ASSIGN_OR_RETURN(drawport, static_cast<Cache&>(*_cache).GetDrawport(deviceIndex, device));
  }
  OSTRA_ASSIGN_OR_RETURN(StrongRef<Context> context, Context::Create(std::move(drawport), *device));
  return DrawportContextRef(context);
}

Int32 Drawport::GetDrawingDevice() const {
  for (Int i = 0; i < _driver->GetDeviceCount(); ++i)
    if (CanDraw(_driver->GetSnapshot(i))) return static_cast<Int32>(i);
  return 0;
}

}  // namespace ostra::vulkan
