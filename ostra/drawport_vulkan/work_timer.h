// WorkTimer: time stamps around the work of a list, written into its batches and read when these are done.
#pragma once

#include <optional>

#include "ostra/core/hash_map.h"
#include "ostra/core/owned.h"
#include "ostra/drawport/command_list.h"
#include "ostra/drawport_vulkan/device_clock.h"
#include "ostra/drawport_vulkan/recorder.h"

namespace ostra::vulkan {

class WorkTimer {
 public:
  explicit WorkTimer(Recorder& recorder) : _recorder(recorder) {}
  WorkTimer(const WorkTimer&) = delete;
  ~WorkTimer();

  // See DrawportCommandList.
  Result<UInt64> Begin();
  Result<void> End(UInt64 number) { return WriteStamp(number, true); }
  Result<DrawportWorkTime> Take(UInt64 number);

  // Reads the stamps of a batch that is done. Stamps that there is no memory for count as dropped.
  void Read(Int place);
  // Those of a batch that was not submitted.
  void Drop(Int place);

 private:
  // Time stamps of a batch.
  struct Stamps {
    static constexpr UInt32 kMaxCount = 1024;
    struct Work {
      UInt64 number;  // 0: the clock is set
      Bool isEnd;
    };
    VkQueryPool pool = VK_NULL_HANDLE;
    UInt32 count = 0;
    Work work[kMaxCount] = {};
  };

  struct TimedWork {
    DrawportWorkTime time;
    Bool isEnded = false;
  };

  Result<void> StartClock();
  Result<void> WriteStamp(UInt64 number, Bool isEnd);
  Result<Stamps&> GetStamps(Int place);

  Recorder& _recorder;
  Owned<Stamps> _stamps[Recorder::kBatchCount];  // made for the first stamp of a batch
  std::optional<DeviceClock> _clock;             // once work was timed
  UInt64 _calibrationStamp = 0;                  // the last that was read
  UInt64 _lastNumber = 0;
  HashMap<UInt64, TimedWork> _works;  // what was read and not taken yet
};

}  // namespace ostra::vulkan
