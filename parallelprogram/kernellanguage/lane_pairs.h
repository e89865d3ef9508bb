// Kernels that run two vectors at a time where there are registers for them (ostra/math/lanes/pairs.inl): short loops
// of arithmetic, each step of which waits for the one before. Loops that pick up elements, look up textures or go
// different ways have other things to wait for.
#pragma once

#include "parallelprogram/kernellanguage/lane_rows.h"

namespace ostra::kernellanguage {

// How many numbers differ between lanes, in such a kernel; 0 for others.
UInt32 CountPairedNumbers(const LaneKernel& kernel, const LaneRows& rows);

}  // namespace ostra::kernellanguage
