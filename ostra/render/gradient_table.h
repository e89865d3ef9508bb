// The sorted knots behind GradientRenderData.
#pragma once

#include "ostra/render/gradient.h"

namespace ostra {

struct GradientTable : RefCounted<GradientTable> {
  // A knot and the way to the next one. The part of the way, 0 ... 1, bends at `bias`: it is
  // lowSlope * t before and 1 - highSlope * (1 - t) from there on.
  struct Segment {
    Float32 position;
    Float32 scale;  // 1 / length; 0 for no length
    Float32 bias, lowSlope, highSlope;
    GradientInterpolation interpolation;
    Vector32 color;   // intensity included
    Vector32 change;  // to the colour of the next knot
  };

  static Result<StrongRef<const GradientTable>> Create(const BaseArray<GradientKnot>& knots);
  Vector32 Sample(Float32 position) const;

  BaseArray<Segment> segments;
};

}  // namespace ostra
