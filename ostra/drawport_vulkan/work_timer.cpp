#include "ostra/drawport_vulkan/work_timer.h"

#include <chrono>

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Int GetHostTime() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

Result<UInt64> WorkTimer::Begin() {
  if (!_clock) OSTRA_RETURN_IF_ERROR(StartClock());
  const UInt64 number = ++_lastNumber;
  OSTRA_RETURN_IF_ERROR(WriteStamp(number, false));
  return number;
}

Result<DrawportWorkTime> WorkTimer::Take(UInt64 number) {
  _recorder.GetCompletedSerial();  // reads the stamps of what is done
  const TimedWork* const found = _works.Find(number);
  if (!found || !found->isEnded) return OSTRA_ILLEGAL_STATE("The device has no time of the work number @.", number);
  const DrawportWorkTime time = found->time;
  _works.Erase(number);
  return time;
}

// What was recorded before must not count: the stamp alone is awaited. The shortest wait of several says best when
// the stamp was written.
Result<void> WorkTimer::StartClock() {
  if (_recorder.GetDevice().GetTimestampBits() == 0)
    return OSTRA_NOT_IMPLEMENTED("The GPU device @ has no time stamps.",
                                 _recorder.GetDevice().GetProperties().deviceName);
  OSTRA_RETURN_IF_ERROR(_recorder.Execute(true));
  Int shortest = INT64_MAX;
  for (int i = 0; i < 3; ++i) {
    const Int before = GetHostTime();
    OSTRA_RETURN_IF_ERROR(WriteStamp(0, false));
    OSTRA_RETURN_IF_ERROR(_recorder.Execute(true));
    const Int after = GetHostTime();
    if (after - before >= shortest) continue;
    shortest = after - before;
    _clock.emplace(_recorder.GetDevice().GetTimestampBits(), Float64{_recorder.GetDevice().GetLimits().timestampPeriod},
                   _calibrationStamp, before + shortest / 2);
  }
  return OK;
}

Result<void> WorkTimer::WriteStamp(UInt64 number, Bool isEnd) {
  if (_recorder.HasBatch()) {
    const Owned<Stamps>& stamps = _stamps[_recorder.GetPlace()];
    if (stamps && stamps->count == Stamps::kMaxCount) OSTRA_RETURN_IF_ERROR(_recorder.Submit());
  }
  OSTRA_RETURN_IF_ERROR(_recorder.BeginBatch());
  OSTRA_ASSIGN_OR_RETURN(Stamps & stamps, GetStamps(_recorder.GetPlace()));
  if (stamps.count == 0) {
    _recorder.EndRendering();
    vkCmdResetQueryPool(_recorder.GetCommands(), stamps.pool, 0, Stamps::kMaxCount);
  }
  vkCmdWriteTimestamp(_recorder.GetCommands(), VK_PIPELINE_STAGE_BOTTOM_OF_PIPE_BIT, stamps.pool, stamps.count);
  stamps.work[stamps.count++] = {number, isEnd};
  return OK;
}

Result<WorkTimer::Stamps&> WorkTimer::GetStamps(Int place) {
  if (_stamps[place]) return *_stamps[place];
  Owned<Stamps> stamps = MakeOwned<Stamps>();
  if (!stamps) return OSTRA_OUT_OF_MEMORY();
  VkQueryPoolCreateInfo info = {VK_STRUCTURE_TYPE_QUERY_POOL_CREATE_INFO};
  info.queryType = VK_QUERY_TYPE_TIMESTAMP;
  info.queryCount = Stamps::kMaxCount;
  OSTRA_RETURN_IF_ERROR(
      OSTRA_VULKAN(vkCreateQueryPool(_recorder.GetDevice().GetHandle(), &info, nullptr, &stamps->pool)));
  _stamps[place] = std::move(stamps);
  return *_stamps[place];
}

void WorkTimer::Read(Int place) {
  if (!_stamps[place] || _stamps[place]->count == 0) return;
  Stamps& stamps = *_stamps[place];
  UInt64 values[Stamps::kMaxCount] = {};
  const VkResult result =
      vkGetQueryPoolResults(_recorder.GetDevice().GetHandle(), stamps.pool, 0, stamps.count,
                            stamps.count * sizeof(UInt64), values, sizeof(UInt64), VK_QUERY_RESULT_64_BIT);
  for (UInt32 i = 0; result == VK_SUCCESS && i < stamps.count; ++i) {
    const auto [number, isEnd] = stamps.work[i];
    if (number == 0) {
      _calibrationStamp = values[i];
      continue;
    }
    const Int time = _clock->GetTime(values[i]);
    if (!isEnd) {
      (void)_works.Insert(number, TimedWork{{time, 0}, false});
    } else if (TimedWork* const work = _works.Find(number)) {
      work->time.duration = std::max(time - work->time.begin, Int{0});
      work->isEnded = true;
    }
  }
  stamps.count = 0;
}

void WorkTimer::Drop(Int place) {
  if (_stamps[place]) _stamps[place]->count = 0;
}

WorkTimer::~WorkTimer() {
  if (_recorder.GetDevice().IsHung()) return;
  for (const Owned<Stamps>& stamps : _stamps)
    if (stamps) vkDestroyQueryPool(_recorder.GetDevice().GetHandle(), stamps->pool, nullptr);
}

}  // namespace ostra::vulkan
