// Workers: they run jobs and help in parallel loops. Internal to this folder.
//
// A worker is called onto a library thread when work is notified and no worker looks for work. It looks for more work
// for at most 100 us before it gives the thread back.
//
// A thread that makes work visible calls Notify() afterwards. Work is never forgotten: either the notifying thread
// sees that no worker looks, or the worker that stops looking sees the work. All functions are thread-safe.
#pragma once

#include "ostra/core/types.h"

namespace ostra::WorkerPool {

// Calls a worker when none looks for work and the limit allows one more. False when there is no worker at all and none
// can be called.
Bool Notify();

// Lets no worker be called again and waits until all have ended what they run. Called once, at the end, and not on a
// worker, which could not wait for itself: that ends the process with a message.
void Stop();
Bool IsStopping();
// Whether this process is the child of a fork of one that had loaded the library: it has no workers and gets none.
// Loops run on the calling thread alone, and jobs are refused.
Bool IsForkedChild();

}  // namespace ostra::WorkerPool
