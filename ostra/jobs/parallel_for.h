// Loops whose iterations are spread over the worker threads.
//
//   ParallelFor::Dynamic(count, [&](Int begin, Int end) {
//     for (Int i = begin; i < end; ++i) out[i] = in[i] * 2;
//   }, 16);
//
//   OSTRA_RETURN_IF_ERROR(ParallelFor::Rows(height, [&](Int row) -> Result<void> { return ConvertRow(row); }));
//
// The calling thread starts at once and takes part; others are called when work is left after a few microseconds. A
// call returns when all work is done, and then sees all its effects. Calls from several threads at once and calls
// inside a body are allowed. Nothing is allocated. Bodies run on several threads at once and must not throw.
#pragma once

#include <atomic>
#include <memory>
#include <type_traits>

#include "ostra/core/export.h"
#include "ostra/core/result.h"

namespace ostra {

// A loop body without its type: `context` is the body.
using PieceFunction = void(void* context, Int begin, Int end);

namespace ParallelFor {

// Dynamic for a body without its type. `count` and `granularity` are at least 1.
OSTRA_API void RunPieces(Int count, Int granularity, Int threadCount, PieceFunction* function, void* context);

// Calls body(begin, end) for consecutive pieces of [0, count): every index is in exactly one piece; which thread gets
// which piece is open. A piece has at least `granularity` indices (values below 1 mean 1), except at the end, and more
// when a piece takes little time, up to about 64 us. At most `threadCount` threads take part; -1 sets no limit.
template <class Body>
void Dynamic(Int count, Body&& body, Int granularity = 1, Int threadCount = -1) {
  if (count <= 0) return;
  if (count <= granularity) {
    body(Int{0}, count);
    return;
  }
  using Target = std::remove_reference_t<Body>;
  RunPieces(
      count, granularity < 1 ? 1 : granularity, threadCount,
      [](void* context, Int begin, Int end) { (*static_cast<Target*>(context))(begin, end); },
      const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}

// Calls body(row), which returns Result<void>, for every row of [0, count). The first error is returned, and rows that
// have not started by then are left out.
template <class Body>
Result<void> Rows(Int count, Body&& body) {
  std::atomic<bool> failed{false};
  Result<void> result = OK;
  Dynamic(count, [&](Int begin, Int end) {
    for (Int row = begin; row < end && !failed.load(std::memory_order_relaxed); ++row) {
      Result<void> rowResult = body(row);
      if (!rowResult && !failed.exchange(true)) result = rowResult.TakeError();
    }
  });
  return result;
}

}  // namespace ParallelFor
}  // namespace ostra
