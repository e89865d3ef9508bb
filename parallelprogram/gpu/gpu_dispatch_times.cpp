#include "parallelprogram/gpu/gpu_dispatch_times.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> GpuDispatchTimes::SetOn(DrawportCommandList& list, Bool isOn) {
  if (isOn) {
    // Sets the clock, or says that there is none.
    OSTRA_ASSIGN_OR_RETURN(const UInt64 number, list.BeginTimedWork());
    OSTRA_RETURN_IF_ERROR(list.EndTimedWork(number));
    OSTRA_RETURN_IF_ERROR(list.Execute(true));
    OSTRA_RETURN_IF_ERROR(list.TakeWorkTime(number));
  }
  _isOn = isOn;
  return OK;
}

Result<BaseArray<DispatchTime>> GpuDispatchTimes::Take(DrawportCommandList& list, Int contextNumber) {
  OSTRA_RETURN_IF_ERROR(list.Execute(true));
  BaseArray<DispatchTime> times;
  OSTRA_RETURN_IF_ERROR(times.Reserve(_measured.GetCount()));
  for (Measured& dispatch : _measured) {
    if (dispatch.contextNumber != contextNumber) continue;
    OSTRA_ASSIGN_OR_RETURN(const DrawportWorkTime time, list.TakeWorkTime(dispatch.number));
    dispatch.time.begin = time.begin;
    dispatch.time.duration = time.duration;
    OSTRA_RETURN_IF_ERROR(times.Append(dispatch.time));
  }
  _measured.Clear();
  return times;
}

}  // namespace ostra
