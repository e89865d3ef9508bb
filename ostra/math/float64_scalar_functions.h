// The scalar functions of the vocabulary for Float64 (see scalar_functions.h). They lie in a namespace of their own,
// because a second overload beside those for Float32 would make integers ambiguous; float64_forms.h chooses them.
#pragma once

#include "ostra/core/types.h"

namespace ostra::vocabulary::float64 {

#define OSTRA_FLOAT Float64
#define OSTRA_BUILTIN(name) __builtin_##name
#include "ostra/math/float_functions.inl"
#undef OSTRA_FLOAT
#undef OSTRA_BUILTIN

// The C library's.
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

}  // namespace ostra::vocabulary::float64
