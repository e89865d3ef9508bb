// Kernels that run two vectors at a time where there are registers for them (ostra/math/lanes/pairs.inl): short loops
// of arithmetic, each step of which waits for the one before. Loops that pick up elements, look up textures or go
// different ways have other things to wait for.
#pragma once

#include <optional>

#include "parallelprogram/kernellanguage/lane_code.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_uses.h"

namespace ostra::kernellanguage {

// The numbers of such a kernel; none for others.
std::optional<PairedNumbers> CountPairedNumbers(const LaneKernel& kernel, const LaneRows& rows, const LaneUses& uses);

}  // namespace ostra::kernellanguage
