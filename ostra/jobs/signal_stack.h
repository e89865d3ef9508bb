// Stacks on which handlers of signals run, for those who say what a thread has died of: where its own stack is used up,
// no handler can run on it.
#pragma once

#include <memory>

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Gives the calling thread such a stack while it lives, for handlers with SA_ONSTACK. A thread that has one keeps it,
// and without memory there is none. To be destroyed on the same thread.
class OSTRA_API SignalStack {
 public:
  SignalStack();
  SignalStack(const SignalStack&) = delete;
  SignalStack& operator=(const SignalStack&) = delete;
  ~SignalStack();

  // From now on every worker has one while it runs work. Thread-safe.
  static void RequestForWorkers();
  static Bool IsRequestedForWorkers();

  // Whether a stack pointer lies at or beyond the end of the calling thread's stack; false on threads without a
  // SignalStack. May be called in handlers.
  static Bool IsUsedUp(const void* stackPointer);

 private:
  std::unique_ptr<Byte[]> _memory;
};

}  // namespace ostra
