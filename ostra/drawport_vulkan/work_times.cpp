// Time stamps of a command list: written into its batches, read when these are done.
#include <chrono>

#include "ostra/core/format.h"
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Int GetHostTime() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

Result<UInt64> CommandList::BeginTimedWork() {
  if (!_clock) OSTRA_RETURN_IF_ERROR(StartClock());
  const UInt64 number = ++_lastTimedWork;
  OSTRA_RETURN_IF_ERROR(WriteStamp(number, false));
  return number;
}

Result<void> CommandList::EndTimedWork(UInt64 number) { return WriteStamp(number, true); }

Result<DrawportWorkTime> CommandList::TakeWorkTime(UInt64 number) {
  RetireReached();
  const TimedWork* const found = _timedWork.Find(number);
  if (!found || !found->isEnded) return OSTRA_ILLEGAL_STATE("The device has no time of the work number @.", number);
  const DrawportWorkTime time = found->time;
  _timedWork.Erase(number);
  return time;
}

// What was recorded before must not count: the stamp alone is awaited. The shortest wait of several says best when
// the stamp was written.
Result<void> CommandList::StartClock() {
  if (_device->GetTimestampBits() == 0)
    return OSTRA_NOT_IMPLEMENTED("The GPU device @ has no time stamps.", _device->GetProperties().deviceName);
  OSTRA_RETURN_IF_ERROR(Execute(true));
  Int shortest = INT64_MAX;
  for (int i = 0; i < 3; ++i) {
    const Int before = GetHostTime();
    OSTRA_RETURN_IF_ERROR(WriteStamp(0, false));
    OSTRA_RETURN_IF_ERROR(Execute(true));
    const Int after = GetHostTime();
    if (after - before >= shortest) continue;
    shortest = after - before;
    _clock.emplace(_device->GetTimestampBits(), Float64{_device->GetLimits().timestampPeriod}, _calibrationStamp,
                   before + shortest / 2);
  }
  return OK;
}

Result<void> CommandList::WriteStamp(UInt64 number, Bool isEnd) {
  if (_current && _current->stamps && _current->stamps->count == Stamps::kMaxCount) OSTRA_RETURN_IF_ERROR(Submit());
  OSTRA_RETURN_IF_ERROR(BeginBatch());
  OSTRA_ASSIGN_OR_RETURN(Stamps & stamps, GetStamps(*_current));
  if (stamps.count == 0) {
    SuspendPass();
    vkCmdResetQueryPool(_current->commands, stamps.pool, 0, Stamps::kMaxCount);
  }
  vkCmdWriteTimestamp(_current->commands, VK_PIPELINE_STAGE_BOTTOM_OF_PIPE_BIT, stamps.pool, stamps.count);
  stamps.work[stamps.count++] = {number, isEnd};
  return OK;
}

Result<CommandList::Stamps&> CommandList::GetStamps(Batch& batch) {
  if (batch.stamps) return *batch.stamps;
  Owned<Stamps> stamps = MakeOwned<Stamps>();
  if (!stamps) return OSTRA_OUT_OF_MEMORY();
  VkQueryPoolCreateInfo info = {VK_STRUCTURE_TYPE_QUERY_POOL_CREATE_INFO};
  info.queryType = VK_QUERY_TYPE_TIMESTAMP;
  info.queryCount = Stamps::kMaxCount;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateQueryPool(_device->GetHandle(), &info, nullptr, &stamps->pool)));
  batch.stamps = std::move(stamps);
  return *batch.stamps;
}

// Of a batch that is done. What finds no memory is as good as dropped.
void CommandList::ReadStamps(Batch& batch) {
  if (!batch.stamps || batch.stamps->count == 0) return;
  Stamps& stamps = *batch.stamps;
  UInt64 values[Stamps::kMaxCount] = {};
  const VkResult result =
      vkGetQueryPoolResults(_device->GetHandle(), stamps.pool, 0, stamps.count, stamps.count * sizeof(UInt64), values,
                            sizeof(UInt64), VK_QUERY_RESULT_64_BIT);
  for (UInt32 i = 0; result == VK_SUCCESS && i < stamps.count; ++i) {
    const auto [number, isEnd] = stamps.work[i];
    if (number == 0) {
      _calibrationStamp = values[i];
      continue;
    }
    const Int time = _clock->GetTime(values[i]);
    if (!isEnd) {
      (void)_timedWork.Insert(number, TimedWork{{time, 0}, false});
    } else if (TimedWork* const work = _timedWork.Find(number)) {
      work->time.duration = std::max(time - work->time.begin, Int{0});
      work->isEnded = true;
    }
  }
  stamps.count = 0;
}

void CommandList::DestroyStamps(Batch& batch) {
  if (!batch.stamps) return;
  if (!_device->IsHung()) vkDestroyQueryPool(_device->GetHandle(), batch.stamps->pool, nullptr);
  batch.stamps.reset();
}

}  // namespace ostra::vulkan
