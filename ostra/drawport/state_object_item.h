// DrawportStateDescription: depth test, culling and blending of a draw. Numbers come from clients: one that is not of
// its enumeration is an illegal argument, and nothing changes.
//
//   OSTRA_RETURN_IF_ERROR(state.InitializeWithDefaults());
//   OSTRA_RETURN_IF_ERROR(state.SetDepthTestMode(1));  // less
//   OSTRA_RETURN_IF_ERROR(state.SetBlendFunction(DrawportBlendFactor::SourceAlpha,
//                                                DrawportBlendFactor::OneMinusSourceAlpha, DrawportBlendFactor::One,
//                                                DrawportBlendFactor::One));
//   OSTRA_RETURN_IF_ERROR(state.SetAlphaBlendingMode(1));
#pragma once

#include "ostra/core/delegate.h"
#include "ostra/drawport/graphics_objects.h"
#include "ostra/drawport/object.h"

namespace ostra {

class OSTRA_API DrawportStateDescription {
 public:
  // No depth test, nothing culled, counter-clockwise faces in front, no blending.
  Result<void> InitializeWithDefaults();
  // A test other than Off also writes the depth of what passes. Off neither tests nor writes, unless the fragment stage
  // computes the depth: that is then written.
  Result<void> SetDepthTestMode(Int32 mode);
  Result<void> SetCullFace(Int32 face);
  // Which winding is a front face, seen in the picture.
  Result<void> SetFrontFace(Int32 face);
  // Factors of the sums for colour and alpha; count once blending is on.
  Result<void> SetBlendFunction(DrawportBlendFactor sourceColor, DrawportBlendFactor targetColor,
                                DrawportBlendFactor sourceAlpha, DrawportBlendFactor targetAlpha);
  Result<void> SetAlphaBlendingMode(Int32 mode);

  DrawportDepthTestMode GetDepthTestMode() const { return _depthTest; }
  DrawportCullFace GetCullFace() const { return _cullFace; }
  DrawportFrontFace GetFrontFace() const { return _frontFace; }
  DrawportAlphaBlendingMode GetAlphaBlendingMode() const { return _blending; }
  DrawportBlendFactor GetSourceColorFactor() const { return _sourceColor; }
  DrawportBlendFactor GetTargetColorFactor() const { return _targetColor; }
  DrawportBlendFactor GetSourceAlphaFactor() const { return _sourceAlpha; }
  DrawportBlendFactor GetTargetAlphaFactor() const { return _targetAlpha; }

  friend Bool operator==(const DrawportStateDescription&, const DrawportStateDescription&) = default;

 private:
  DrawportDepthTestMode _depthTest = DrawportDepthTestMode::Off;
  DrawportCullFace _cullFace = DrawportCullFace::None;
  DrawportFrontFace _frontFace = DrawportFrontFace::CounterClockwise;
  DrawportAlphaBlendingMode _blending = DrawportAlphaBlendingMode::Off;
  DrawportBlendFactor _sourceColor = DrawportBlendFactor::One;
  DrawportBlendFactor _targetColor = DrawportBlendFactor::Zero;
  DrawportBlendFactor _sourceAlpha = DrawportBlendFactor::One;
  DrawportBlendFactor _targetAlpha = DrawportBlendFactor::Zero;
};

class DrawportStateObjectItemInterface : public DrawportObject {
 public:
  virtual DrawportStateObject& GetStateObject() = 0;

 protected:
  ~DrawportStateObjectItemInterface() = default;
};
using DrawportStateObjectItemRef = StrongRef<DrawportStateObjectItemInterface>;

// Fills the description of a state object; its first error ends it.
using DrawportStateDescribe = Delegate<Result<void>(DrawportStateDescription& description)>;

}  // namespace ostra
