// GpuDispatchTimes: how long dispatches of a GPU program took on the device. See DispatchTimesInterface.
#pragma once

#include "ostra/drawport/command_list.h"
#include "parallelprogram/program/dispatch_times_interface.h"

namespace ostra {

class GpuDispatchTimes {
 public:
  // Errors: those of a list without a clock; those of its work.
  Result<void> SetOn(DrawportCommandList& list, Bool isOn);
  Bool IsOn() const { return _isOn; }

  // Records a dispatch by `record()` and notes its time. `contextNumber`: of the list's context. Errors: those of
  // `record` and of the list; out of memory.
  template <class Record>
  Result<void> RecordTimed(DrawportCommandList& list, Int contextNumber, const InternedId& kernelId,
                           const Vec3<UInt32>& invocations, Record&& record) {
    OSTRA_RETURN_IF_ERROR(_measured.Reserve(_measured.GetCount() + 1));
    OSTRA_ASSIGN_OR_RETURN(const UInt64 number, list.BeginTimedWork());
    OSTRA_RETURN_IF_ERROR(record());
    OSTRA_RETURN_IF_ERROR(list.EndTimedWork(number));
    OSTRA_RETURN_IF_ERROR(_measured.Append(Measured{{kernelId, invocations}, number, contextNumber}));
    return OK;
  }
  // Waits for the dispatches and takes their times; those of other contexts are lost. Errors: those of the list.
  Result<BaseArray<DispatchTime>> Take(DrawportCommandList& list, Int contextNumber);

 private:
  struct Measured {
    DispatchTime time;  // without begin and duration
    UInt64 number;      // that the command list of
    Int contextNumber;  // this context knows the time by
  };

  Bool _isOn = false;
  BaseArray<Measured> _measured;
};

}  // namespace ostra
