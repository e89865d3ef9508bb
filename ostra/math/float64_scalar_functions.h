// The scalar functions of the vocabulary for Float64 (see scalar_functions.h). They lie in a namespace of their own,
// because a second overload beside those for Float32 would make integers ambiguous; float64_forms.h chooses them.
#pragma once

#include "ostra/core/types.h"

namespace ostra::vocabulary::float64 {

inline Float64 abs(Float64 x) { return __builtin_fabs(x); }
inline Float64 sign(Float64 x) { return static_cast<Float64>(x > 0.0) - static_cast<Float64>(x < 0.0); }

inline Float64 floor(Float64 x) { return __builtin_floor(x); }
inline Float64 ceil(Float64 x) { return __builtin_ceil(x); }
inline Float64 trunc(Float64 x) { return __builtin_trunc(x); }
inline Float64 fract(Float64 x) { return x - floor(x); }
inline Float64 mod(Float64 x, Float64 y) { return x - y * floor(x / y); }

inline Float64 min(Float64 x, Float64 y) { return y < x ? y : x; }
inline Float64 max(Float64 x, Float64 y) { return x < y ? y : x; }
inline Float64 clamp(Float64 x, Float64 low, Float64 high) { return min(max(x, low), high); }

inline Float64 mix(Float64 x, Float64 y, Float64 part) { return x * (1.0 - part) + y * part; }
inline Float64 step(Float64 edge, Float64 x) { return x < edge ? 0.0 : 1.0; }
inline Float64 smoothstep(Float64 low, Float64 high, Float64 x) {
  const Float64 t = clamp((x - low) / (high - low), 0.0, 1.0);
  return t * t * (3.0 - 2.0 * t);
}

inline Float64 sqrt(Float64 x) { return __builtin_sqrt(x); }
inline Float64 Sqrt(Float64 x) { return __builtin_sqrt(x); }
inline Float64 inversesqrt(Float64 x) { return 1.0 / __builtin_sqrt(x); }

inline Float64 pow(Float64 x, Float64 y) { return __builtin_pow(x, y); }
inline Float64 exp(Float64 x) { return __builtin_exp(x); }
inline Float64 exp2(Float64 x) { return __builtin_exp2(x); }
inline Float64 log(Float64 x) { return __builtin_log(x); }
inline Float64 log2(Float64 x) { return __builtin_log2(x); }
inline Float64 sin(Float64 x) { return __builtin_sin(x); }
inline Float64 cos(Float64 x) { return __builtin_cos(x); }
inline Float64 tan(Float64 x) { return __builtin_tan(x); }
inline Float64 asin(Float64 x) { return __builtin_asin(x); }
inline Float64 acos(Float64 x) { return __builtin_acos(x); }
inline Float64 atan(Float64 x) { return __builtin_atan(x); }
inline Float64 atan(Float64 y, Float64 x) { return __builtin_atan2(y, x); }
inline Float64 radians(Float64 degrees) { return degrees * 0.017453292519943295; }
inline Float64 degrees(Float64 radians) { return radians * 57.29577951308232; }

inline Bool isnan(Float64 x) { return __builtin_isnan(x); }
inline Bool isinf(Float64 x) { return __builtin_isinf(x); }

}  // namespace ostra::vocabulary::float64
