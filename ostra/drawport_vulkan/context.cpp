#include "ostra/drawport_vulkan/context.h"

#include <algorithm>
#include <typeinfo>

#include "ostra/drawport/settings.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kStagingCapacity = Int(8) << 20;
constexpr Int kMinStagingCapacity = Int(64) << 10;

// Textures are moved in whole rows, so that each must fit; 256 KiB on most devices.
Int GetLongestRow(const Device& device) {
  constexpr Int kLargestTexel = 16;
  const VkPhysicalDeviceLimits& limits = device.GetLimits();
  const Int texels = std::max(limits.maxImageDimension1D, limits.maxImageDimension2D);
  const Int alignment = GetDrawportRowAlignment();
  return (texels * kLargestTexel + alignment - 1) / alignment * alignment;
}

DrawportCapabilities MakeCapabilities(const Device& device) {
  const Int wanted = GetDrawportStagingCapacity();
  const Int capacity = std::max({wanted > 0 ? wanted : kStagingCapacity, kMinStagingCapacity, GetLongestRow(device)});
  const auto alignment = static_cast<Int>(device.GetLimits().minStorageBufferOffsetAlignment);
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
  OSTRA_RETURN_IF_ERROR(_commands.Finish());
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

Drawport::Drawport(DrawportCacheRef cache, DeviceRef device)
    : _cache(std::move(cache)),
      _device(std::move(device)),
      _language(GetDrawportShadingLanguage()),
      _capabilities(MakeCapabilities(*_device)) {}

Result<DrawportRef> Drawport::Create(DrawportCacheRef cache, DeviceRef device) {
  Drawport* drawport = NewObj<Drawport>(std::move(cache), std::move(device));
  if (!drawport) return OSTRA_OUT_OF_MEMORY();
  return DrawportRef::Adopt(drawport);
}

Result<DrawportContextRef> Drawport::CreateOffscreenRenderContext(Bool, Int32 deviceIndex) {
  DrawportRef drawport(this);
  DeviceRef device = _device;
  if (deviceIndex != _device->GetIndex() || _device->IsLost()) {
    OSTRA_ASSIGN_OR_RETURN(device, Device::Open(deviceIndex));
    OSTRA_ASSIGN_OR_RETURN(drawport, Drawport::Create(_cache, device));
  }
  OSTRA_ASSIGN_OR_RETURN(StrongRef<Context> context, Context::Create(std::move(drawport), *device));
  return DrawportContextRef(context);
}

}  // namespace ostra::vulkan
