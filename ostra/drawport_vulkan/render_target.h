// RenderTarget: the textures of a draw pass.
#pragma once

#include "ostra/drawport/draw_pass.h"
#include "ostra/drawport_vulkan/graphics_state.h"
#include "ostra/drawport_vulkan/image.h"

namespace ostra::vulkan {

class RenderTarget final : public DrawportCounted<RenderTarget, DrawportRenderTarget>,
                           public DrawportFramebufferTargetSet {
 public:
  // Errors: illegal argument for what the device cannot do; illegal state for one that cannot draw; out of memory.
  static Result<StrongRef<RenderTarget>> Create(Device& device, const DrawportRenderTargetDescription& description,
                                                MemorySpill spill = MemorySpill::Allowed);

  RenderTarget(DeviceRef device, const DrawportRenderTargetDescription& description)
      : _device(std::move(device)), _description(description) {}

  const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const override { return this; }
  const DrawportRenderTargetDescription& GetDescription() const override { return _description; }
  DrawportTexture* GetColorTexture(Int index) const override { return Get(index, false); }
  DrawportTexture* GetDepthTexture() const override { return _depth.GetPointer(); }
  DrawportTexture* GetColorSamples(Int index) const override { return Get(index, true); }
  DrawportTexture* GetDepthSamples() const override {
    return _depthSamples ? _depthSamples.GetPointer() : _depth.GetPointer();
  }

  Int GetColorCount() const override { return _colorCount; }
  PixelFormatRef GetColorFormat(Int index) const override { return _description.colorFormats[index]; }
  DrawportDepthFormat GetDepthFormat() const override { return _description.depthFormat; }
  Int32 GetSampleCount() const override { return _description.sampleCount; }

  Device& GetDevice() const { return *_device; }
  const TargetFormats& GetFormats() const { return _formats; }
  // What a pass draws into, and what several samples are resolved to; null for one sample.
  struct Attachment {
    ImageResource* image = nullptr;
    ImageResource* resolved = nullptr;
  };
  Attachment GetColor(Int index) const;
  Attachment GetDepth() const;
  // Calls `use` (→ Result<void>) with every image.
  template <class Use>
  Result<void> ForEachImage(Use&& use) const {
    for (const ImageRef* images : {_colors, _colorSamples})
      for (Int i = 0; i < _colorCount; ++i)
        if (images[i]) OSTRA_RETURN_IF_ERROR(use(*images[i]));
    if (_depth) OSTRA_RETURN_IF_ERROR(use(*_depth));
    if (_depthSamples) OSTRA_RETURN_IF_ERROR(use(*_depthSamples));
    return OK;
  }
  Bool Has(const ImageResource& image) const;

 private:
  Result<void> Check() const;
  Result<void> Init(MemorySpill spill);
  DrawportTexture* Get(Int index, Bool withSamples) const;

  DeviceRef _device;
  DrawportRenderTargetDescription _description;
  Int _colorCount = 0;
  TargetFormats _formats;
  ImageRef _colors[kMaxColorTargets], _depth;
  ImageRef _colorSamples[kMaxColorTargets], _depthSamples;  // null for one sample
};
using RenderTargetRef = StrongRef<RenderTarget>;

}  // namespace ostra::vulkan
