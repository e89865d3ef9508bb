// Draw passes and render targets: what is drawn into.
//
//   DrawportRenderTargetDescription description{.width = 256, .height = 256};
//   description.colorFormats[0] = rgba8;
//   description.depthFormat = DrawportDepthFormat::Float32;
//   OSTRA_ASSIGN_OR_RETURN(DrawportRenderTargetRef target, cache->CreateRenderTarget(*context, description));
//
// Row 0 of a target is the top row of the picture; docs/graphics.md has all coordinates.
#pragma once

#include "ostra/drawport/graphics_objects.h"
#include "ostra/drawport/object.h"
#include "ostra/drawport/resources.h"

namespace ostra {

// What a renderer draws one after another into one set of targets.
class DrawportDrawPass {
 public:
  // The targets for which programs are built; null for a pass that does not say. Lives as long as the pass.
  virtual const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const = 0;

 protected:
  ~DrawportDrawPass() = default;
};

struct DrawportRenderTargetDescription {
  Int width = 1, height = 1;                           // pixels
  PixelFormatRef colorFormats[kMaxColorTargets] = {};  // as many as there are in front of the first null
  DrawportDepthFormat depthFormat = DrawportDepthFormat::None;
  Int32 sampleCount = 1;  // per pixel: 1, 2, 4 or 8
};

// Colour and depth targets of one size in memory of the device. Zero until they are cleared or drawn into.
class DrawportRenderTarget : public DrawportObject, public DrawportDrawPass {
 public:
  virtual const DrawportRenderTargetDescription& GetDescription() const = 0;

  // Textures for later passes and for reading back, with one sample per pixel: of several samples the mean of colours
  // and the depth of the first one, up to date whenever a pass has ended. Null where there is no such target.
  virtual DrawportTexture* GetColorTexture(Int index) const = 0;
  virtual DrawportTexture* GetDepthTexture() const = 0;
  // The same with all samples, for programs that read them one by one; with one sample the same textures as above.
  virtual DrawportTexture* GetColorSamples(Int index) const = 0;
  virtual DrawportTexture* GetDepthSamples() const = 0;

 protected:
  ~DrawportRenderTarget() = default;
};
using DrawportRenderTargetRef = StrongRef<DrawportRenderTarget>;

}  // namespace ostra
