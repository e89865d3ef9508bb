// Parallel loops for callers that know from earlier ones what an index takes, or keep that for the next: others are
// called at once, where ParallelFor first works alone to find out.
//
//   _ticks = ParallelFor::RunPaced(count, _ticks, [&](Int begin, Int end) { ... });      // _ticks starts with 0
//
// As long as the duration is unknown the caller begins with one index, and others take part when that has shown to be
// worth it, or after half a millisecond. Everything else is as in parallel_for.h.
#pragma once

#include "ostra/jobs/parallel_for.h"
#include "ostra/jobs/ticks.h"

namespace ostra::ParallelFor {

// RunPaced for a body without its type. `count` is at least 1.
OSTRA_API Float64 RunPacedPieces(Int count, Float64 ticksPerIndex, PieceFunction* function, void* context);

// Calls body(begin, end) for consecutive pieces of [0, count), which have at least one index. `ticksPerIndex` is in
// ticks of ticks.h; 0: unknown. Returns what an index has taken now.
template <class Body>
Float64 RunPaced(Int count, Float64 ticksPerIndex, Body&& body) {
  using Target = std::remove_reference_t<Body>;
  if (count <= 0) return ticksPerIndex;
  return RunPacedPieces(
      count, ticksPerIndex, [](void* context, Int begin, Int end) { (*static_cast<Target*>(context))(begin, end); },
      const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}

}  // namespace ostra::ParallelFor
