// A clock that can be read in a few nanoseconds, to measure how long work takes.
#pragma once

#include "ostra/core/types.h"

#if defined(__x86_64__)
#include <x86intrin.h>
#else
#include <chrono>
#endif

namespace ostra {

#if defined(__x86_64__)
// The time stamp counter runs at 2 to 4 GHz. Pacing tolerates a factor of two, so nothing is calibrated.
inline constexpr UInt64 kTicksPerMicrosecond = 2500;
inline UInt64 ReadTicks() { return __rdtsc(); }
#else
inline constexpr UInt64 kTicksPerMicrosecond = 1000;
inline UInt64 ReadTicks() {
  return static_cast<UInt64>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count());
}
#endif

// Tells the processor that this thread waits in a loop.
inline void PauseProcessor() {
#if defined(__x86_64__)
  _mm_pause();
#endif
}

}  // namespace ostra
