// DispatchTimesInterface: an optional interface of program objects that measure their dispatches. Both programs have
// it.
//
//   DispatchTimesInterface& times = *FindInterface<DispatchTimesInterface>(*program);
//   OSTRA_RETURN_IF_ERROR(times.MeasureDispatches(true));
//   ... UpdateUniforms, DispatchKernel ...
//   OSTRA_ASSIGN_OR_RETURN(const BaseArray<DispatchTime> taken, times.TakeDispatchTimes());
//
// While nothing is measured, a dispatch is not slower than without.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/interned_id.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

struct DispatchTime {
  InternedId kernel;         // that was active
  Vec3<UInt32> invocations;  // as the dispatch was asked for; zeros where only the device knows
  Int begin = 0;             // ns of std::chrono::steady_clock
  Int duration = 0;          // ns
};

class DispatchTimesInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.dispatchtimesinterface"_id;

  // From now on, or no more. CPU: the time of the call. GPU: the time of the device, from the end of earlier work on;
  // setting its clock waits for the device once. Errors: GPU: not implemented for a device without a clock; illegal
  // state without a context.
  virtual Result<void> MeasureDispatches(Bool isOn) = 0;
  // Those that were measured since the last call, in order. GPU: submits, and waits for the device; those of a context
  // that was replaced are left out. Errors: out of memory; those of submitting.
  virtual Result<BaseArray<DispatchTime>> TakeDispatchTimes() = 0;
};

}  // namespace ostra
