// The vocabulary's functions of Float64 (ostra/math/float64_scalar_functions.h) in lanes, with the same bits: all but
// those of the C library, which has no form of them for lanes.

namespace ostra::OSTRA_LANES {

#define OSTRA_LANE_BUILTIN(name)                                          \
  OSTRA_LANE_INLINE Lanes<Float64> name(Lanes<Float64> x) {               \
    return ForEachLane([](Float64 a) { return __builtin_##name(a); }, x); \
  }
OSTRA_LANE_BUILTIN(floor)
OSTRA_LANE_BUILTIN(ceil)
OSTRA_LANE_BUILTIN(trunc)
OSTRA_LANE_BUILTIN(sqrt)
#undef OSTRA_LANE_BUILTIN
OSTRA_LANE_INLINE Lanes<Float64> Sqrt(Lanes<Float64> x) { return sqrt(x); }
OSTRA_LANE_INLINE Lanes<Float64> inversesqrt(Lanes<Float64> x) { return 1.0 / sqrt(x); }

OSTRA_LANE_INLINE Lanes<Float64> abs(Lanes<Float64> x) {
  return BitCast<Float64>(BitCast<UInt64>(x) & 0x7fffffffffffffffu);
}
OSTRA_LANE_INLINE Lanes<Float64> sign(Lanes<Float64> x) {
  return Convert<Float64>(x > 0.0) - Convert<Float64>(x < 0.0);
}
OSTRA_LANE_INLINE Lanes<Float64> fract(Lanes<Float64> x) { return x - floor(x); }
OSTRA_LANE_INLINE Lanes<Float64> mod(Lanes<Float64> x, Lanes<Float64> y) { return x - y * floor(x / y); }

OSTRA_LANE_INLINE Lanes<Float64> min(Lanes<Float64> x, Lanes<Float64> y) {
  return Lanes<Float64>::Make(y.v < x.v ? y.v : x.v);
}
OSTRA_LANE_INLINE Lanes<Float64> max(Lanes<Float64> x, Lanes<Float64> y) {
  return Lanes<Float64>::Make(x.v < y.v ? y.v : x.v);
}
OSTRA_LANE_INLINE Lanes<Float64> clamp(Lanes<Float64> x, Lanes<Float64> low, Lanes<Float64> high) {
  return min(max(x, low), high);
}
OSTRA_LANE_INLINE Lanes<Float64> mix(Lanes<Float64> x, Lanes<Float64> y, Lanes<Float64> part) {
  return x * (1.0 - part) + y * part;
}
OSTRA_LANE_INLINE Lanes<Float64> step(Lanes<Float64> edge, Lanes<Float64> x) {
  return Select(x < edge, Lanes<Float64>(0.0), Lanes<Float64>(1.0));
}
OSTRA_LANE_INLINE Lanes<Float64> smoothstep(Lanes<Float64> low, Lanes<Float64> high, Lanes<Float64> x) {
  const Lanes<Float64> t = clamp((x - low) / (high - low), 0.0, 1.0);
  return t * t * (3.0 - 2.0 * t);
}
OSTRA_LANE_INLINE Lanes<Float64> radians(Lanes<Float64> degrees) { return degrees * 0.017453292519943295; }
OSTRA_LANE_INLINE Lanes<Float64> degrees(Lanes<Float64> radians) { return radians * 57.29577951308232; }

OSTRA_LANE_INLINE Mask isnan(Lanes<Float64> x) { return x != x; }
OSTRA_LANE_INLINE Mask isinf(Lanes<Float64> x) { return abs(x) == __builtin_inf(); }

}  // namespace ostra::OSTRA_LANES
