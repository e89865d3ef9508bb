// DispatchStopInterface: an optional interface of program objects whose dispatches can be stopped. The CPU program has
// it; what runs on a GPU ends by itself.
//
//   DispatchStopInterface& stop = *FindInterface<DispatchStopInterface>(*program);
//   stop.ForgetStop();
//   OnInterrupt([&stop] { stop.RequestStop(); });
//   const Result<void> done = program->DispatchKernel(count, 1, 1, false);     // illegal state when it was stopped
#pragma once

#include "ostra/object/interface.h"

namespace ostra {

class DispatchStopInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.dispatchstopinterface"_id;

  // The running dispatch ends after the invocations that have begun, and it and all later ones fail with illegal state.
  // Buffers keep what has been written. Any thread, and handlers of signals.
  virtual void RequestStop() = 0;
  // Dispatches run again. The thread that drives the program.
  virtual void ForgetStop() = 0;
};

}  // namespace ostra
