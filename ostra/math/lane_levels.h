// The levels of ostra/math/lanes that this processor can run.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

#ifdef __x86_64__
// Whether the processor converts half floats. Clang 14 does not know the feature by name.
inline Bool HasHalfConversions() {
  UInt32 leaf = 1, b, features = 0, d;
  __asm__("cpuid" : "+a"(leaf), "=b"(b), "+c"(features), "=d"(d));
  return (features >> 29 & 1u) != 0;
}
#endif

// 1: four lanes, which every processor has; 2: eight lanes of AVX2, too; 3: sixteen lanes of AVX-512, too. Thread-safe.
inline int CountLaneLevels() {
#ifdef __x86_64__
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") || !__builtin_cpu_supports("bmi2") ||
      !HasHalfConversions())
    return 1;
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
      !__builtin_cpu_supports("avx512dq") || !__builtin_cpu_supports("avx512vl"))
    return 2;
  return 3;
#else
  return 1;
#endif
}

}  // namespace ostra
