#include "ostra/drawport/gradient_segments.h"

#include "ostra/render/gradient_table.h"

namespace ostra {

Result<void> AppendGradientSegments(const GradientRenderData& gradient, BaseArray<ShaderGradientSegment>& segments) {
  const GradientTable* table = gradient.GetTable();
  if (!table) return OK;
  OSTRA_RETURN_IF_ERROR(segments.Reserve(segments.GetCount() + table->segments.GetCount()));
  for (const GradientTable::Segment& segment : table->segments) {
    OSTRA_RETURN_IF_ERROR(
        segments.Append(ShaderGradientSegment{.position = segment.position,
                                              .scale = segment.scale,
                                              .bias = segment.bias,
                                              .lowSlope = segment.lowSlope,
                                              .highSlope = segment.highSlope,
                                              .interpolation = static_cast<Int32>(segment.interpolation),
                                              .color = {segment.color.x, segment.color.y, segment.color.z},
                                              .change = {segment.change.x, segment.change.y, segment.change.z}}));
  }
  return OK;
}

}  // namespace ostra
