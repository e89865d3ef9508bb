// Rows of texels of a texture, counted through all its slices: how much of a new texture has been filled, and what is
// left. It calls no driver.
#pragma once

#include "ostra/drawport/resources.h"

namespace ostra::vulkan {

inline Int CountRows(const DrawportExtent& extent) { return extent.height * extent.depth; }

// Where the rows of `region` end when they begin at row `filled` and leave none out; -1 for other regions.
Int FindFillEnd(const DrawportExtent& whole, const DrawportRegion& region, Int filled);

// The largest block that begins with row `begin` and has at most `maxRows` rows, at least 1.
DrawportRegion GetRows(const DrawportExtent& whole, Int begin, Int maxRows);

}  // namespace ostra::vulkan
