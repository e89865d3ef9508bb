#include "ostra/drawport_vulkan/render_target.h"

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Bool CanBlend(VkPhysicalDevice device, VkFormat format) {
  VkFormatProperties properties;
  vkGetPhysicalDeviceFormatProperties(device, format, &properties);
  return (properties.optimalTilingFeatures & VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BLEND_BIT) != 0;
}

}  // namespace

Result<RenderTargetRef> RenderTarget::Create(Device& device, const DrawportRenderTargetDescription& description,
                                             MemorySpill spill) {
  if (device.IsLost()) return device.MakeLostError(__LINE__);
  RenderTarget* target = NewObj<RenderTarget>(DeviceRef(&device), description);
  if (!target) return OSTRA_OUT_OF_MEMORY();
  RenderTargetRef held = RenderTargetRef::Adopt(target);
  while (target->_colorCount < kMaxColorTargets && description.colorFormats[target->_colorCount]) ++target->_colorCount;
  OSTRA_RETURN_IF_ERROR(target->Check());
  OSTRA_RETURN_IF_ERROR(target->Init(spill));
  return held;
}

Result<void> RenderTarget::Check() const {
  const auto& [width, height, formats, depthFormat, sampleCount] = _description;
  const VkPhysicalDeviceLimits& limits = _device->GetLimits();
  if (!_device->GetGraphics().canDraw) return OSTRA_ILLEGAL_STATE("The GPU device cannot draw.");
  if (_colorCount == 0 && depthFormat == DrawportDepthFormat::None)
    return OSTRA_ILLEGAL_ARGUMENT("A render target needs a colour or a depth.");
  if (_colorCount > static_cast<Int>(limits.maxColorAttachments))
    return OSTRA_ILLEGAL_ARGUMENT("@ colours are more than the @ of the GPU device.", _colorCount,
                                  limits.maxColorAttachments);
  if (width < 1 || height < 1 || width > static_cast<Int>(limits.maxFramebufferWidth) ||
      height > static_cast<Int>(limits.maxFramebufferHeight))
    return OSTRA_ILLEGAL_ARGUMENT("A render target of @ x @ pixels is not possible; the GPU device has at most @ x @.",
                                  width, height, limits.maxFramebufferWidth, limits.maxFramebufferHeight);
  if (static_cast<Int32>(depthFormat) < 0 || depthFormat > DrawportDepthFormat::Unorm16)
    return OSTRA_ILLEGAL_ARGUMENT("@ is no depth format; there are 0 to 2.", static_cast<Int32>(depthFormat));
  if (sampleCount != 1 && sampleCount != 2 && sampleCount != 4 && sampleCount != 8)
    return OSTRA_ILLEGAL_ARGUMENT("A pixel has 1, 2, 4 or 8 samples, not @.", sampleCount);
  return OK;
}

Result<void> RenderTarget::Init(MemorySpill spill) {
  const auto createImage = [&](PixelFormatRef format, DrawportDepthFormat depth, Int32 samples) {
    DrawportTextureDescription description;
    description.format = format;
    description.extent = {_description.width, _description.height, 1};
    description.depthFormat = depth;
    description.sampleCount = samples;
    return ImageResource::CreateTarget(*_device, description, spill);
  };
  const Int32 sampleCount = _description.sampleCount;
  for (Int i = 0; i < _colorCount; ++i) {
    const PixelFormatRef format = _description.colorFormats[i];
    OSTRA_ASSIGN_OR_RETURN(_colors[i], createImage(format, DrawportDepthFormat::None, 1));
    if (sampleCount > 1) {
      OSTRA_ASSIGN_OR_RETURN(_colorSamples[i], createImage(format, DrawportDepthFormat::None, sampleCount));
    }
    _formats.colors[i] = _colors[i]->GetFormat().format;
    if (CanBlend(_device->GetPhysicalDevice(), _formats.colors[i])) _formats.blendMask |= 1u << i;
  }
  _formats.colorCount = static_cast<UInt32>(_colorCount);
  _formats.samples = static_cast<VkSampleCountFlagBits>(sampleCount);  // the bits are the counts
  const DrawportDepthFormat depthFormat = _description.depthFormat;
  if (depthFormat == DrawportDepthFormat::None) return OK;
  // A depth is read as one channel.
  OSTRA_ASSIGN_OR_RETURN(
      const PixelFormatRef format,
      GetPixelFormat(depthFormat == DrawportDepthFormat::Float32 ? "net.ostra.image.pixelformat.dynamic.redf32"_id
                                                                 : "net.ostra.image.pixelformat.dynamic.redu16"_id));
  OSTRA_ASSIGN_OR_RETURN(_depth, createImage(format, depthFormat, 1));
  if (sampleCount > 1) {
    OSTRA_ASSIGN_OR_RETURN(_depthSamples, createImage(format, depthFormat, sampleCount));
  }
  _formats.depth = _depth->GetFormat().format;
  return OK;
}

DrawportTexture* RenderTarget::Get(Int index, Bool withSamples) const {
  if (index < 0 || index >= _colorCount) return nullptr;
  const ImageRef& image = withSamples && _colorSamples[index] ? _colorSamples[index] : _colors[index];
  return image.GetPointer();
}

RenderTarget::Attachment RenderTarget::GetColor(Int index) const {
  if (!_colorSamples[index]) return {_colors[index].GetPointer(), nullptr};
  return {_colorSamples[index].GetPointer(), _colors[index].GetPointer()};
}

RenderTarget::Attachment RenderTarget::GetDepth() const {
  if (!_depthSamples) return {_depth.GetPointer(), nullptr};
  return {_depthSamples.GetPointer(), _depth.GetPointer()};
}

Bool RenderTarget::Has(const ImageResource& image) const {
  for (Int i = 0; i < _colorCount; ++i)
    if (_colors[i].GetPointer() == &image || _colorSamples[i].GetPointer() == &image) return true;
  return _depth.GetPointer() == &image || _depthSamples.GetPointer() == &image;
}

}  // namespace ostra::vulkan
