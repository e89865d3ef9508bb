#include "parallelprogram/program/cpu_dispatcher.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>
#include <utility>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/jobs/paced_loop.h"
#include "ostra/jobs/worker_threads.h"
#include "ostra/monitor/monitor.h"
#include "parallelprogram/program/cpu_hand_over.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

constexpr Int kComplexGranularity = 64;
constexpr Float64 kLongPieceTicks = 500 * kTicksPerMicrosecond;
// Where a range runs one invocation after the other the compiler may still have made vector instructions of its loop:
// so many are shared in ranges that suit these, but for fewer than kManyInvocations threads without work would cost
// more.
constexpr Int kMaxVector = 16;
constexpr Int kManyInvocations = 256;

Int GetSteadyTime() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// Why a dispatch ends before its end. The bits of both lie in one flag, so that neither undoes the other.
constexpr Byte kFailed = 1, kStopRequested = 2;

void SetBits(Atomic<Byte>& flags, Byte bits) {
  Byte before = flags.Load();
  while (!flags.CompareExchange(before, static_cast<Byte>(before | bits))) {
  }
}

void ClearBits(Atomic<Byte>& flags, Byte bits) {
  Byte before = flags.Load();
  while (!flags.CompareExchange(before, static_cast<Byte>(before & ~bits))) {
  }
}

// What the threads of one dispatch share. The stop flag ends pieces soon after a failure, not at once.
struct Dispatch {
  Dispatch(KernelInterface& dispatchedKernel, KernelRangeInterface* kernelRange, const InternedId& id,
           const Vec3<UInt32>& invocations, Atomic<Byte>& stopFlag)
      : kernel(dispatchedKernel),
        kernelId(id),
        range(kernelRange),
        extent(invocations),
        workGroup(dispatchedKernel.GetKernelWorkGroupSize()),
        stop(stopFlag) {}

  KernelInterface& kernel;
  const InternedId kernelId;
  KernelRangeInterface* range;
  const Vec3<UInt32> extent;
  const Vec3<UInt32> workGroup;
  Atomic<Byte>& stop;
  std::mutex errorMutex;
  Result<void> result = OK;

  void Fail(Error error) {
    const std::scoped_lock lock(errorMutex);
    result = std::move(error);  // the last error is the dispatch's
    SetBits(stop, kFailed);
  }
};

// The IDs of consecutive invocations, x first.
class InvocationIds {
 public:
  InvocationIds(const Dispatch& dispatch, UInt32 index) : _dispatch(dispatch) {
    const UInt32 row = index / dispatch.extent.x;
    SetRow(row % dispatch.extent.y, row / dispatch.extent.y);
    global.x = index % dispatch.extent.x;
    local.x = global.x % dispatch.workGroup.x;
    group.x = global.x / dispatch.workGroup.x;
  }

  void Advance() {
    ++global.x;
    if (++local.x == _dispatch.workGroup.x) {
      local.x = 0;
      ++group.x;
    }
    if (global.x < _dispatch.extent.x) return;
    global.x = local.x = group.x = 0;
    const Bool isLastRow = global.y + 1 == _dispatch.extent.y;
    SetRow(isLastRow ? 0 : global.y + 1, isLastRow ? global.z + 1 : global.z);
  }

  Vec3<UInt32> global, local, group;

 private:
  void SetRow(UInt32 y, UInt32 z) {
    global.y = y;
    global.z = z;
    local.y = y % _dispatch.workGroup.y;
    local.z = z % _dispatch.workGroup.z;
    group.y = y / _dispatch.workGroup.y;
    group.z = z / _dispatch.workGroup.z;
  }
  const Dispatch& _dispatch;
};

Result<void> RunUnguarded(Dispatch& dispatch, UInt32 first, UInt32 count, Bool isOrdered) {
  if (dispatch.range) return dispatch.range->RunRange({dispatch.extent, first, count, isOrdered, &dispatch.stop});
  InvocationIds ids(dispatch, first);
  for (UInt32 i = 0; i < count; ++i, ids.Advance()) {
    if (dispatch.stop.LoadRelaxed()) return OK;
    OSTRA_RETURN_IF_ERROR(dispatch.kernel.Kernel(ids.global, ids.local, ids.group));
  }
  return OK;
}

// Runs the invocations first .. first + count - 1 on this thread and returns the first error. An exception must not
// leave the dispatch: other threads still use what lies on this one's stack.
Result<void> RunInvocations(Dispatch& dispatch, UInt32 first, UInt32 count, Bool isOrdered) {
  try {
    return CatchOutOfMemory(kOstraUnit, __LINE__, [&] { return RunUnguarded(dispatch, first, count, isOrdered); });
  } catch (const std::exception& exception) {
    return OSTRA_ILLEGAL_STATE("The kernel \"@\" has thrown an exception: @", dispatch.kernelId, exception.what());
  } catch (...) {
    return OSTRA_ILLEGAL_STATE("The kernel \"@\" has thrown an exception.", dispatch.kernelId);
  }
}

// Runs the invocations [begin, end) for a parallel loop.
[[gnu::always_inline]] inline void RunPiece(Dispatch& dispatch, Int begin, Int end) {
  if (dispatch.stop.LoadRelaxed()) return;
  auto result = RunInvocations(dispatch, static_cast<UInt32>(begin), static_cast<UInt32>(end - begin), false);
  if (!result) dispatch.Fail(result.TakeError());
}

// The size of the ranges that long invocations are shared in: whole lanes, but fewer where threads would be without
// work.
Int GetUnit(Bool hasRanges, Int count, Int laneCount) {
  if (laneCount == 1) return hasRanges && count >= kManyInvocations ? kMaxVector : 1;
  const Int threadCount = GetWorkerThreadCount();
  return std::clamp((count + threadCount - 1) / threadCount, Int{1}, laneCount);
}

// Shares invocations that may be long. Returns what one has taken: what the calling thread has measured, but no more
// than all threads had time for. A thread that came to few short ones measures what calling others takes.
Float64 RunPaced(Dispatch& dispatch, Int count, Int laneCount, Float64 ticks) {
  const Int unit = GetUnit(dispatch.range != nullptr, count, laneCount);
  const UInt64 start = ReadTicks();
  const Float64 unitTicks =
      ParallelFor::RunPaced((count + unit - 1) / unit, ticks * static_cast<Float64>(unit),
                            [&](Int begin, Int end) { RunPiece(dispatch, begin * unit, std::min(end * unit, count)); });
  const Float64 limit = static_cast<Float64>(ReadTicks() - start + 1) * static_cast<Float64>(GetWorkerThreadCount());
  return std::min(unitTicks / static_cast<Float64>(unit), limit / static_cast<Float64>(count));
}

// The granularity is meant for invocations that take little: long ones are worth sharing one by one. What one takes is
// found out in the first dispatch, and measured anew in the first one after an update, which may have changed it, and
// as long as it is long: a thread that had to wait for the processor is not taken for a long kernel for good.
Result<void> RunParallel(Dispatch& dispatch, UInt32 count, Int granularity, InvocationCost& cost) {
  if (count == 1 || GetWorkerThreadCount() == 1) return RunInvocations(dispatch, 0, count, false);
  const auto run = [&dispatch](Int begin, Int end) { RunPiece(dispatch, begin, end); };
  const Int piece = std::min(Int{count}, std::max(granularity, Int{1}));
  const Bool isKnown = cost.ticks > 0;
  if (!isKnown || cost.ticks * static_cast<Float64>(piece) > kLongPieceTicks) {
    if (const Int laneCount = dispatch.range ? Int{dispatch.range->GetLaneCount()} : 1; laneCount > 0) {
      cost.ticks = RunPaced(dispatch, count, laneCount, cost.ticks);
      cost.isOld = false;
      return std::move(dispatch.result);
    }
  }
  if (cost.isOld && isKnown) {
    const UInt64 start = ReadTicks();
    ParallelFor::Dynamic(count, run, granularity);
    cost.ticks = static_cast<Float64>(ReadTicks() - start + 1) / static_cast<Float64>(count);
    cost.isOld = false;
  } else {
    ParallelFor::Dynamic(count, run, granularity);
  }
  return std::move(dispatch.result);
}

// Runs every group of the dispatch, the last ones of each axis whole.
Result<void> RunGroups(Dispatch& dispatch, KernelGroupInterface& kernel) {
  KernelGroups groups;
  for (int axis = 0; axis < 3; ++axis)
    groups.count[axis] = dispatch.extent[axis] / dispatch.workGroup[axis] +
                         (dispatch.extent[axis] % dispatch.workGroup[axis] == 0 ? 0 : 1);
  Int count = 0;
  if (__builtin_mul_overflow(Int{groups.count.x}, Int{groups.count.y}, &count) ||
      __builtin_mul_overflow(count, Int{groups.count.z}, &count))
    return OSTRA_ILLEGAL_ARGUMENT("The dispatch of the kernel \"@\" has too many work groups.", dispatch.kernelId);
  ParallelFor::Dynamic(
      count,
      [&](Int begin, Int end) {
        if (dispatch.stop.LoadRelaxed()) return;
        KernelGroups part = groups;
        part.first = static_cast<UInt64>(begin);
        part.end = static_cast<UInt64>(end);
        auto result = kernel.RunGroups(part);
        if (!result) dispatch.Fail(result.TakeError());
      },
      1);
  return std::move(dispatch.result);
}

// The IDs of every axis are divided by the size of a group, in one dimension too.
Result<void> CheckWorkGroup(const KernelInterface& kernel, const InternedId& kernelId) {
  const Vec3<UInt32>& size = kernel.GetKernelWorkGroupSize();
  if (size.x == 0 || size.y == 0 || size.z == 0)
    return OSTRA_ILLEGAL_STATE("The work group size (@, @, @) of the kernel \"@\" has a component 0.", size.x, size.y,
                               size.z, kernelId);
  return OK;
}

Result<void> CheckReady(CpuKernel& kernel, const InternedId& kernelId) {
  OSTRA_RETURN_IF_ERROR(CheckWorkGroup(*kernel.kernel, kernelId));
  if (kernel.unset) [[unlikely]]
    return CpuHandOver(kernel, kernelId).CheckIsSet();
  return OK;
}

}  // namespace

Result<void> CpuDispatcher::Run(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  const MonitorScope scope("dispatch kernel");
  if (_isMeasured) [[unlikely]]
    return RunMeasured(active, invocations);
  return RunUnmeasured(active, invocations);
}

Result<Vec3<UInt32>> CpuDispatcher::ReadInvocations(const ActiveKernel& active, const BufferSlot* counts,
                                                    UInt32 offset) {
  OSTRA_ASSIGN_OR_RETURN(const CpuKernel& kernel, active.GetRunnable());
  if (!counts) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  if (counts->GetElementType() != GetDataType<Vec4<Int32>>())
    return OSTRA_ILLEGAL_ARGUMENT("buffer is not of the correct type for dispatch indirect");
  const Block<Vec4<Int32>> elements = counts->GetFirstBlock<Vec4<Int32>>();
  if (Int{offset} >= elements.GetCount()) return OSTRA_ILLEGAL_ARGUMENT("dispatch offset out of buffer range");
  const Vec4<Int32>& groups = elements[offset];
  OSTRA_RETURN_IF_ERROR(CheckWorkGroup(*kernel.kernel, active.id));
  const Vec3<UInt32>& workGroup = kernel.kernel->GetKernelWorkGroupSize();
  auto invocations = [](Int32 groupCount, UInt32 size) { return static_cast<UInt32>(std::max(groupCount, 1)) * size; };
  return Vec3<UInt32>(invocations(groups.x, workGroup.x), invocations(groups.y, workGroup.y),
                      invocations(groups.z, workGroup.z));
}

Result<void> CpuDispatcher::RunUnmeasured(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  if (active.kernel && active.kernel->reports) [[unlikely]]
    return RunReported(active, invocations);
  return RunUnreported(active, invocations);
}

Result<void> CpuDispatcher::RunReported(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  OSTRA_RETURN_IF_ERROR(_reports.Begin(*active.kernel, invocations));
  Result<void> done = RunUnreported(active, invocations);
  OSTRA_RETURN_IF_ERROR(_reports.End(*active.kernel, active.id, invocations));
  return done;
}

Result<void> CpuDispatcher::RunUnreported(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  if (_stop.LoadRelaxed() != 0) [[unlikely]]
    ClearBits(_stop, kFailed);
  OSTRA_RETURN_IF_ERROR(CheckStop(active.id));
  OSTRA_RETURN_IF_ERROR(invocations.y == 1 && invocations.z == 1 ? RunLine(active, invocations.x)
                                                                 : RunBox(active, invocations));
  return CheckStop(active.id);
}

Result<void> CpuDispatcher::CheckStop(const InternedId& kernelId) const {
  if ((_stop.Load() & kStopRequested) == 0) return OK;
  return OSTRA_ILLEGAL_STATE("The dispatch of the kernel \"@\" was stopped.", kernelId);
}

void CpuDispatcher::RequestStop() { SetBits(_stop, kStopRequested); }

void CpuDispatcher::ForgetStop() { ClearBits(_stop, kStopRequested); }

Result<void> CpuDispatcher::RunMeasured(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  OSTRA_RETURN_IF_ERROR(_times.Append(DispatchTime{active.id, invocations}));
  DispatchTime& time = _times.GetLast();
  time.begin = GetSteadyTime();
  auto done = RunUnmeasured(active, invocations);
  time.duration = GetSteadyTime() - time.begin;
  if (!done) _times.RemoveLast();
  return done;
}

BaseArray<DispatchTime> CpuDispatcher::TakeTimes() { return std::exchange(_times, BaseArray<DispatchTime>()); }

Result<void> CpuDispatcher::RunLine(const ActiveKernel& active, UInt32 count) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, active.GetRunnable());
  if (count == 0) return OK;
  OSTRA_RETURN_IF_ERROR(CheckReady(kernel, active.id));
  Dispatch dispatch(*kernel.kernel, kernel.range, active.id, {count, 1, 1}, _stop);
  if (kernel.groups) return RunGroups(dispatch, *kernel.groups);
  if (kernel.kernel->GetSingleThreadedThreshold() >= Int{count}) return RunInvocations(dispatch, 0, count, true);
  return RunParallel(dispatch, count, kernel.kernel->GetGranularity(), kernel.cost);
}

Result<void> CpuDispatcher::RunBox(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, active.GetRunnable());
  OSTRA_RETURN_IF_ERROR(CheckReady(kernel, active.id));
  const Vec3<UInt32>& workGroup = kernel.kernel->GetKernelWorkGroupSize();
  const Vec3<UInt32> extent(std::max(invocations.x, workGroup.x), std::max(invocations.y, workGroup.y),
                            std::max(invocations.z, workGroup.z));
  Dispatch dispatch(*kernel.kernel, kernel.range, active.id, extent, _stop);
  if (kernel.groups) return RunGroups(dispatch, *kernel.groups);
  return RunParallel(dispatch, extent.x * extent.y * extent.z, kComplexGranularity, kernel.cost);
}

}  // namespace ostra
