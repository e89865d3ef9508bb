// What Float32 and Float64 have alike among the vocabulary's functions of scalars: included by scalar_functions.h and
// float64_scalar_functions.h, which say which type (OSTRA_FLOAT) and what the compiler's builtin for it is called
// (OSTRA_BUILTIN). No include guard.
inline OSTRA_FLOAT abs(OSTRA_FLOAT x) { return OSTRA_BUILTIN(fabs)(x); }
inline OSTRA_FLOAT sign(OSTRA_FLOAT x) {
  return static_cast<OSTRA_FLOAT>(x > OSTRA_FLOAT(0)) - static_cast<OSTRA_FLOAT>(x < OSTRA_FLOAT(0));
}

inline OSTRA_FLOAT floor(OSTRA_FLOAT x) { return OSTRA_BUILTIN(floor)(x); }
inline OSTRA_FLOAT ceil(OSTRA_FLOAT x) { return OSTRA_BUILTIN(ceil)(x); }
inline OSTRA_FLOAT trunc(OSTRA_FLOAT x) { return OSTRA_BUILTIN(trunc)(x); }
inline OSTRA_FLOAT fract(OSTRA_FLOAT x) { return x - floor(x); }
inline OSTRA_FLOAT mod(OSTRA_FLOAT x, OSTRA_FLOAT y) { return x - y * floor(x / y); }

inline OSTRA_FLOAT min(OSTRA_FLOAT x, OSTRA_FLOAT y) { return y < x ? y : x; }
inline OSTRA_FLOAT max(OSTRA_FLOAT x, OSTRA_FLOAT y) { return x < y ? y : x; }
inline OSTRA_FLOAT clamp(OSTRA_FLOAT x, OSTRA_FLOAT low, OSTRA_FLOAT high) { return min(max(x, low), high); }

inline OSTRA_FLOAT mix(OSTRA_FLOAT x, OSTRA_FLOAT y, OSTRA_FLOAT part) {
  return x * (OSTRA_FLOAT(1) - part) + y * part;
}
inline OSTRA_FLOAT step(OSTRA_FLOAT edge, OSTRA_FLOAT x) { return x < edge ? OSTRA_FLOAT(0) : OSTRA_FLOAT(1); }
inline OSTRA_FLOAT smoothstep(OSTRA_FLOAT low, OSTRA_FLOAT high, OSTRA_FLOAT x) {
  const OSTRA_FLOAT t = clamp((x - low) / (high - low), OSTRA_FLOAT(0), OSTRA_FLOAT(1));
  return t * t * (OSTRA_FLOAT(3) - OSTRA_FLOAT(2) * t);
}

inline OSTRA_FLOAT sqrt(OSTRA_FLOAT x) { return OSTRA_BUILTIN(sqrt)(x); }
inline OSTRA_FLOAT Sqrt(OSTRA_FLOAT x) { return OSTRA_BUILTIN(sqrt)(x); }
inline OSTRA_FLOAT inversesqrt(OSTRA_FLOAT x) { return OSTRA_FLOAT(1) / OSTRA_BUILTIN(sqrt)(x); }
inline OSTRA_FLOAT radians(OSTRA_FLOAT degrees) { return degrees * OSTRA_FLOAT(0.017453292519943295); }
inline OSTRA_FLOAT degrees(OSTRA_FLOAT radians) { return radians * OSTRA_FLOAT(57.29577951308232); }

inline Bool isnan(OSTRA_FLOAT x) { return __builtin_isnan(x); }
inline Bool isinf(OSTRA_FLOAT x) { return __builtin_isinf(x); }
