// Says it when the process ends while a thread is inside of a dispatch.
#pragma once

namespace ostra {

// While it lives, the calling thread dispatches, waits for the device or reads what it has computed. Thread-safe.
class RunningCall {
 public:
  RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;
  ~RunningCall();
};

}  // namespace ostra
