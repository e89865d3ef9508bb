#include "ostra/jobs/parallel_for.h"

#include <algorithm>

#include "ostra/jobs/paced_loop.h"
#include "ostra/jobs/shared_loop.h"
#include "ostra/jobs/worker_threads.h"

namespace ostra::ParallelFor {
namespace {

// Calling a worker costs some microseconds until it works: neither earlier than this, nor for less work than this.
constexpr UInt64 kAloneTicks = 3 * kTicksPerMicrosecond;
constexpr UInt64 kWorthSharingTicks = 2 * kTicksPerMicrosecond;
constexpr UInt64 kAlonePieceTicks = 2 * kTicksPerMicrosecond;
constexpr UInt64 kLongPieceTicks = 64 * kTicksPerMicrosecond;

constexpr Int kMaxQuarter = Int{1} << 60;  // four times this still is an Int

Int GetThreadCount(Int wanted) {
  const Int available = GetWorkerThreadCount();
  return wanted < 0 || wanted > available ? available : std::max<Int>(wanted, 1);
}

// Works from work.begin on until others are worth calling, or to the end. Pieces grow from the granularity on, so that
// short loops look at the clock only a few times.
void RunAlone(LoopWork& work, Rate& rate) {
  const UInt64 start = ReadTicks();
  UInt64 last = start;
  Int size = work.granularity;
  for (;;) {
    const Int left = work.count - work.begin;
    const Int done = std::min(size, left);
    work.Call(work.begin, work.begin + done);
    work.begin += done;
    if (done == left) return;
    const UInt64 now = ReadTicks();
    rate.Measure(done, now - last);
    last = now;
    if (work.threadCount > 1 && now - start >= kAloneTicks && rate.GetIndexCount(kWorthSharingTicks) < left - done)
      return;
    const Int longest = rate.GetIndexCount(work.threadCount > 1 ? kAlonePieceTicks : kLongPieceTicks);
    // Never all that is left at once: it may take much longer than what was measured.
    const Int half = std::max((left - done) / 2, 8 * std::min<Int>(work.granularity, 64));
    size = std::max(std::min({4 * std::min(done, kMaxQuarter), longest, half}), work.granularity);
  }
}

}  // namespace

void RunPieces(Int count, Int granularity, Int threadCount, PieceFunction* function, void* context) {
  LoopWork work{function, context, 0, count, granularity, GetThreadCount(threadCount)};
  Rate rate;
  RunAlone(work, rate);
  if (work.begin == count) return;
  if (SharedLoop* loop = SharedLoop::Open(work, rate)) {
    loop->Work();
    loop->Close();
    return;
  }
  work.threadCount = 1;
  RunAlone(work, rate);
}

// An unknown duration counts as a long one, so that the first pieces are single indices. Helpers wait, then: most loops
// are over before these are needed.
Float64 RunPacedPieces(Int count, Float64 ticksPerIndex, PieceFunction* function, void* context) {
  constexpr Float64 kUnknownTicks = 1e15;
  constexpr UInt64 kHelpDelay = 500 * kTicksPerMicrosecond;
  const Bool isKnown = ticksPerIndex > 0;
  LoopWork work{function, context, 0, count, 1, GetThreadCount(-1)};
  Rate rate(isKnown ? ticksPerIndex : kUnknownTicks);
  SharedLoop* loop = nullptr;
  if (work.threadCount > 1 && count > 1) loop = SharedLoop::Open(work, rate, isKnown ? 0 : kHelpDelay);
  if (loop) {
    const Float64 measured = loop->Work();
    loop->Close();
    return measured > 0 ? measured : ticksPerIndex;
  }
  const UInt64 start = ReadTicks();
  work.threadCount = 1;
  RunAlone(work, rate);
  return static_cast<Float64>(ReadTicks() - start) / static_cast<Float64>(count);
}

}  // namespace ostra::ParallelFor
