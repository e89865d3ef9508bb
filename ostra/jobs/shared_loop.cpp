#include "ostra/jobs/shared_loop.h"

#include <bit>

#include "ostra/jobs/current_job.h"
#include "ostra/jobs/job.h"
#include "ostra/jobs/ticks.h"
#include "ostra/jobs/worker_pool.h"
#include "ostra/monitor/monitor.h"

namespace ostra {
namespace {

// One bit of a word for each loop; more loops than this at once are not shared.
constexpr std::size_t kLoopCount = 64;
constexpr UInt32 kSeat = 1U << 16;
constexpr UInt32 kHelperMask = kSeat - 1;

// A piece is long enough that taking it costs nothing, and short enough that a stop flag, which bodies look at once in
// a piece, is seen soon and that no thread waits long for the last piece of another.
constexpr UInt64 kShortPieceTicks = 1 * kTicksPerMicrosecond;
constexpr UInt64 kLongPieceTicks = 64 * kTicksPerMicrosecond;
// Calling a worker takes some microseconds.
constexpr UInt64 kWorthCallingTicks = 8 * kTicksPerMicrosecond;
constexpr UInt64 kWaitingTicks = 100 * kTicksPerMicrosecond;

constinit std::array<SharedLoop, kLoopCount> g_loops;
alignas(64) std::atomic<UInt64> g_usedLoops{0};
alignas(64) std::atomic<UInt64> g_openLoops{0};

SharedLoop* AcquireLoop() {
  UInt64 used = g_usedLoops.load(std::memory_order_relaxed);
  while (~used) {
    const UInt64 bit = ~used & (used + 1);
    if (g_usedLoops.compare_exchange_weak(used, used | bit, std::memory_order_acquire, std::memory_order_relaxed))
      return &g_loops[static_cast<std::size_t>(std::countr_zero(bit))];
  }
  return nullptr;
}

}  // namespace

UInt64 SharedLoop::GetBit() const { return UInt64{1} << static_cast<UInt64>(this - g_loops.data()); }

SharedLoop* SharedLoop::Open(const LoopWork& work, const Rate& rate, UInt64 helpDelay) {
  SharedLoop* loop = AcquireLoop();
  if (!loop) return nullptr;
  loop->_work = work;
  loop->_rate = rate;
  loop->_helpTime.store(helpDelay > 0 ? ReadTicks() + helpDelay : 0, std::memory_order_relaxed);
  loop->_job = GetCurrentJob();
  loop->Divide();
  loop->_seats.store(static_cast<UInt32>(work.threadCount - 1) * kSeat, std::memory_order_release);
  g_openLoops.fetch_or(loop->GetBit());
  (void)WorkerPool::Notify();
  return loop;
}

// Borders depend on the number of indices alone, not on how many are done already, and leave no piece below the
// granularity but the last one of all.
void SharedLoop::Divide() {
  const Int granules = (_work.count - 1) / _work.granularity + 1;
  _shareCount = std::min({_work.threadCount, granules, kMaxShareCount});
  Int begin = _work.begin;
  Int granule = 0;
  for (Int i = 0; i < _shareCount; ++i) {
    granule += granules / _shareCount + (i < granules % _shareCount ? 1 : 0);
    Int end = granule < granules ? granule * _work.granularity : _work.count;
    if (granule < granules && end - begin < _work.granularity) end = begin;
    Share& share = _shares[static_cast<std::size_t>(i)];
    share.next.store(begin, std::memory_order_relaxed);
    share.end = end;
    begin = end;
  }
  _chosen.store(1, std::memory_order_relaxed);
}

// A worker has the same share in every loop, unless another one has it.
Int SharedLoop::ChooseShare() {
  static std::atomic<Int> workerCount{0};
  thread_local const Int number = workerCount.fetch_add(1, std::memory_order_relaxed);
  if (_shareCount < 2) return 0;
  const UInt32 all = static_cast<UInt32>((UInt64{1} << static_cast<UInt64>(_shareCount)) - 1);
  UInt32 wanted = UInt32{2} << static_cast<UInt32>(number % (_shareCount - 1));
  while (_chosen.fetch_or(wanted, std::memory_order_relaxed) & wanted) {
    const UInt32 free = all & ~_chosen.load(std::memory_order_relaxed);
    if (!free) break;
    wanted = free & (~free + 1);
  }
  return std::countr_zero(wanted);
}

Int SharedLoop::GetLeft() const {
  Int left = 0;
  for (Int i = 0; i < _shareCount; ++i) left += _shares[static_cast<std::size_t>(i)].GetLeft();
  return left;
}

// Takes the next piece of a share, at most a part of it: large while there is plenty, smaller towards the end, so that
// all threads end together.
Bool SharedLoop::TakeFrom(Share& share, const Rate& rate, Int divisor, Int& begin, Int& end) {
  begin = share.next.load(std::memory_order_relaxed);
  const Int shortest = rate.GetIndexCount(kShortPieceTicks);
  const Int longest = rate.GetIndexCount(kLongPieceTicks);
  do {
    const Int left = share.end - begin;
    if (left <= 0) return false;
    const Int part = std::max(left / (2 * divisor), std::min(shortest, left / divisor));
    const Int size = std::max(std::min(part, longest), _work.granularity);
    const Int rest = left - size;
    end = rest <= 0 || (rest < _work.granularity && share.end < _work.count) ? share.end : begin + size;
  } while (!share.next.compare_exchange_weak(begin, end, std::memory_order_relaxed));
  return true;
}

Bool SharedLoop::Take(const Rate& rate, Int ownShare, Int& begin, Int& end) {
  if (TakeFrom(_shares[static_cast<std::size_t>(ownShare)], rate, 1, begin, end)) return true;
  for (;;) {
    Share* fullest = nullptr;
    Int most = 0;
    for (Int i = 0; i < _shareCount; ++i) {
      Share& share = _shares[static_cast<std::size_t>(i)];
      if (const Int left = share.GetLeft(); left > most) {
        most = left;
        fullest = &share;
      }
    }
    if (!fullest) return false;
    if (TakeFrom(*fullest, rate, _work.threadCount, begin, end)) return true;
  }
}

Float64 SharedLoop::Work(Rate rate, Int ownShare) {
  const MonitorScope scope("parallel loop");
  Int begin = 0;
  Int end = 0;
  UInt64 start = ReadTicks();
  const UInt64 first = start;
  Int done = 0;
  while (Take(rate, ownShare, begin, end)) {
    _work.Call(begin, end);
    const UInt64 now = ReadTicks();
    rate.Measure(end - begin, now - start);
    start = now;
    done += end - begin;
    CallMore(rate);
  }
  _helpTime.store(0, std::memory_order_relaxed);
  Hide();
  return done > 0 ? static_cast<Float64>(start - first) / static_cast<Float64>(done) : 0;
}

// Lets helpers begin, and calls one more worker, while there is work and a seat for it.
void SharedLoop::CallMore(const Rate& rate) {
  const Bool isOpen = g_openLoops.load(std::memory_order_relaxed) & GetBit();
  const Bool isHelpAwaited = _helpTime.load(std::memory_order_relaxed) != 0;
  if (!isOpen && !isHelpAwaited) return;
  if (GetLeft() <= rate.GetIndexCount(kWorthCallingTicks)) return;
  if (isHelpAwaited) _helpTime.store(0, std::memory_order_relaxed);
  if (isOpen) (void)WorkerPool::Notify();  // without a worker those inside do it all
}

// A helper that waits need not be called when the caller is in a long piece.
void SharedLoop::AwaitHelpTime() const {
  while (ReadTicks() < _helpTime.load(std::memory_order_relaxed)) PauseProcessor();
}

void SharedLoop::Hide() {
  if (g_openLoops.load(std::memory_order_relaxed) & GetBit()) g_openLoops.fetch_and(~GetBit());
}

void SharedLoop::Close() {
  Hide();
  UInt32 seats = _seats.fetch_and(kHelperMask, std::memory_order_acq_rel) & kHelperMask;
  for (const UInt64 start = ReadTicks(); seats != 0 && ReadTicks() - start < kWaitingTicks;) {
    PauseProcessor();
    seats = _seats.load(std::memory_order_acquire);
  }
  for (; seats != 0; seats = _seats.load(std::memory_order_acquire)) _seats.wait(seats, std::memory_order_acquire);
  g_usedLoops.fetch_and(~GetBit(), std::memory_order_release);
}

Bool SharedLoop::Join() {
  UInt32 seats = _seats.load(std::memory_order_relaxed);
  do {
    if (seats < kSeat) return false;
  } while (
      !_seats.compare_exchange_weak(seats, seats - kSeat + 1, std::memory_order_acquire, std::memory_order_relaxed));
  // Only while inside: the loop cannot be given to another thread now.
  if (seats < 2 * kSeat) Hide();
  return true;
}

void SharedLoop::Leave() {
  if (((_seats.fetch_sub(1, std::memory_order_release) - 1) & kHelperMask) == 0) _seats.notify_all();
}

void SharedLoop::ForgetHelpers() {
  for (SharedLoop& loop : g_loops) loop._seats.store(0);
  g_openLoops.store(0);
}

Bool SharedLoop::HasOpenLoops() { return g_openLoops.load() != 0; }
Bool SharedLoop::HasUsedLoops() { return g_usedLoops.load() != 0; }

void SharedLoop::HelpOne() {
  const UInt64 open = g_openLoops.load();
  if (!open) return;
  SharedLoop& loop = g_loops[static_cast<std::size_t>(std::countr_zero(open))];
  if (!loop.Join()) return;
  loop.AwaitHelpTime();
  loop.CallMore(loop._rate);
  const CurrentJobScope scope(loop._job);
  loop.Work(loop._rate, loop.ChooseShare());
  loop.Leave();
}

}  // namespace ostra
