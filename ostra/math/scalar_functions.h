// The vocabulary's functions of scalars (see vocabulary.h).
//
// They are written with the compiler's builtins, so that a loop over them becomes vector instructions where the
// processor has them. Built for speed before bits (-ffast-math), the transcendental ones come from the vector
// mathematics library.
#pragma once

#include <bit>

#ifdef __FAST_MATH__
#include <math.h>
#endif

#include "ostra/core/types.h"

namespace ostra::vocabulary {

inline Float32 abs(Float32 x) { return __builtin_fabsf(x); }
// The least number stays what it is, as on a GPU.
inline Int32 abs(Int32 x) { return static_cast<Int32>(x < 0 ? 0u - static_cast<UInt32>(x) : static_cast<UInt32>(x)); }
inline Float32 sign(Float32 x) { return static_cast<Float32>(x > 0.0f) - static_cast<Float32>(x < 0.0f); }
inline Int32 sign(Int32 x) { return static_cast<Int32>(x > 0) - static_cast<Int32>(x < 0); }

inline Float32 floor(Float32 x) { return __builtin_floorf(x); }
inline Float32 ceil(Float32 x) { return __builtin_ceilf(x); }
inline Float32 trunc(Float32 x) { return __builtin_truncf(x); }
inline Float32 fract(Float32 x) { return x - floor(x); }
inline Float32 mod(Float32 x, Float32 y) { return x - y * floor(x / y); }

inline Float32 min(Float32 x, Float32 y) { return y < x ? y : x; }
inline Int32 min(Int32 x, Int32 y) { return y < x ? y : x; }
inline UInt32 min(UInt32 x, UInt32 y) { return y < x ? y : x; }
inline Float32 max(Float32 x, Float32 y) { return x < y ? y : x; }
inline Int32 max(Int32 x, Int32 y) { return x < y ? y : x; }
inline UInt32 max(UInt32 x, UInt32 y) { return x < y ? y : x; }
inline Float32 clamp(Float32 x, Float32 low, Float32 high) { return min(max(x, low), high); }
inline Int32 clamp(Int32 x, Int32 low, Int32 high) { return min(max(x, low), high); }
inline UInt32 clamp(UInt32 x, UInt32 low, UInt32 high) { return min(max(x, low), high); }

inline Float32 mix(Float32 x, Float32 y, Float32 part) { return x * (1.0f - part) + y * part; }
inline Float32 step(Float32 edge, Float32 x) { return x < edge ? 0.0f : 1.0f; }
inline Float32 smoothstep(Float32 low, Float32 high, Float32 x) {
  const Float32 t = clamp((x - low) / (high - low), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

inline Float32 sqrt(Float32 x) { return __builtin_sqrtf(x); }
inline Float32 Sqrt(Float32 x) { return __builtin_sqrtf(x); }
inline Float32 inversesqrt(Float32 x) { return 1.0f / __builtin_sqrtf(x); }

inline Float32 pow(Float32 x, Float32 y) { return __builtin_powf(x, y); }
inline Float32 exp(Float32 x) { return __builtin_expf(x); }
inline Float32 exp2(Float32 x) { return __builtin_exp2f(x); }
inline Float32 log(Float32 x) { return __builtin_logf(x); }
inline Float32 log2(Float32 x) { return __builtin_log2f(x); }
inline Float32 sin(Float32 x) { return __builtin_sinf(x); }
inline Float32 cos(Float32 x) { return __builtin_cosf(x); }
inline Float32 tan(Float32 x) { return __builtin_tanf(x); }
inline Float32 asin(Float32 x) { return __builtin_asinf(x); }
inline Float32 acos(Float32 x) { return __builtin_acosf(x); }
inline Float32 atan(Float32 x) { return __builtin_atanf(x); }
// The angle of the point (x, y), between -pi and pi.
inline Float32 atan(Float32 y, Float32 x) { return __builtin_atan2f(y, x); }
inline Float32 radians(Float32 degrees) { return degrees * 0.0174532925f; }
inline Float32 degrees(Float32 radians) { return radians * 57.2957795f; }

inline Bool isnan(Float32 x) { return __builtin_isnan(x); }
inline Bool isinf(Float32 x) { return __builtin_isinf(x); }

// The same bits as another type.
inline UInt32 floatBitsToUint(Float32 x) { return std::bit_cast<UInt32>(x); }
inline Int32 floatBitsToInt(Float32 x) { return std::bit_cast<Int32>(x); }
inline Float32 uintBitsToFloat(UInt32 x) { return std::bit_cast<Float32>(x); }
inline Float32 intBitsToFloat(Int32 x) { return std::bit_cast<Float32>(x); }

}  // namespace ostra::vocabulary
