#include "ostra/render/gradient_table.h"

#include <algorithm>

#include "ostra/core/format.h"

OSTRA_UNIT("gradient");

namespace ostra {
namespace {

GradientTable::Segment MakeSegment(const GradientKnot& knot, const GradientKnot& next) {
  const Float32 length = next.position - knot.position;
  const Vector32 color = knot.color * knot.intensity;
  return {.position = knot.position,
          .scale = length > 0 ? 1 / length : 0,
          .bias = knot.bias,
          .lowSlope = knot.bias > 0 ? 0.5f / knot.bias : 0,
          .highSlope = knot.bias < 1 ? 0.5f / (1 - knot.bias) : 0,
          .interpolation = knot.interpolation,
          .color = color,
          .change = next.color * next.intensity - color};
}

Float32 GetMixingPart(const GradientTable::Segment& segment, Float32 t) {
  if (segment.interpolation == GradientInterpolation::None) return 0;
  const Float32 part = t < segment.bias ? segment.lowSlope * t : 1 - segment.highSlope * (1 - t);
  return segment.interpolation == GradientInterpolation::Smooth ? part * part * (3 - 2 * part) : part;
}

}  // namespace

Result<StrongRef<const GradientTable>> GradientTable::Create(const BaseArray<GradientKnot>& knots) {
  BaseArray<GradientKnot> sorted;
  OSTRA_RETURN_IF_ERROR(sorted.CopyFrom(knots));
  // Indices grow in the order of insertion and so keep knots of one position apart.
  std::sort(sorted.begin(), sorted.end(), [](const GradientKnot& a, const GradientKnot& b) {
    return a.position != b.position ? a.position < b.position : a.index < b.index;
  });
  GradientTable* table = NewObj<GradientTable>();
  if (!table) return OSTRA_OUT_OF_MEMORY();
  const auto result = StrongRef<const GradientTable>::Adopt(table);
  OSTRA_RETURN_IF_ERROR(table->segments.Reserve(sorted.GetCount()));
  for (Int i = 0; i < sorted.GetCount(); ++i) {
    const Int next = std::min(i + 1, sorted.GetCount() - 1);
    OSTRA_RETURN_IF_ERROR(table->segments.Append(MakeSegment(sorted[i], sorted[next])));
  }
  return result;
}

Vector32 GradientTable::Sample(Float32 position) const {
  const Segment* const after =
      std::upper_bound(segments.begin(), segments.end(), position,
                       [](Float32 p, const Segment& segment) { return !(p >= segment.position); });
  if (after == segments.begin()) return after->color;
  const Segment& segment = after[-1];
  return segment.color +
         segment.change * GetMixingPart(segment, (std::min(position, 1.0f) - segment.position) * segment.scale);
}

}  // namespace ostra
