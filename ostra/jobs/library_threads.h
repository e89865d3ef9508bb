// The threads that workers run on. oneTBB owns them and shares them with other users of the library in this process.
// Internal to this folder; the only place that knows the library.
#pragma once

#include "ostra/core/types.h"

namespace ostra::LibraryThreads {

// Hardware threads that this process may use; at least 1.
Int GetHardwareThreadCount();

// Lets up to `count` threads run at once, even beyond the hardware's number. Not thread-safe; for tests.
void SetLimit(Int count);

// Calls `function` on a library thread, soon. False when there is no memory for it. Thread-safe.
Bool Run(void (*function)());

// Most functions that run at once.
inline constexpr Int kMaxRunning = 255;

}  // namespace ostra::LibraryThreads
