// How work ends that its observer stops.
#pragma once

#include "ostra/core/format.h"
#include "plans/work_observer.h"

namespace ostra::plans {

// Error: illegal state if the observer stops the work. Null stops nothing.
inline Result<void> CheckStopped(const WorkObserver* observer) {
  if (!observer || !observer->IsStopped()) return OK;
  return MakeError(kIllegalStateError, "stopped_work", __LINE__, "The work was stopped.");
}

}  // namespace ostra::plans
