// The vocabulary's functions of scalars (ostra/math/scalar_functions.h), lane by lane, with the same bits.

namespace ostra::OSTRA_LANES {

// Calls a function of scalars once per lane.
template <class Function, class T, class... More>
OSTRA_LANE_INLINE Lanes<T> ForEachLane(Function&& function, const Lanes<T>& first, const More&... more) {
  Lanes<T> result;
  for (int i = 0; i < kLaneCount; ++i) result.v[i] = function(first.v[i], more.v[i]...);
  return result;
}

namespace internal {

constexpr UInt32 kSignBit = 0x80000000u;

OSTRA_LANE_INLINE Lanes<Float32> CopySign(Lanes<Float32> magnitude, Lanes<Float32> sign) {
  return BitCast<Float32>((BitCast<UInt32>(magnitude) & ~kSignBit) | (BitCast<UInt32>(sign) & kSignBit));
}

// Rounding without an instruction for it: numbers of 2^23 and more are whole, the others fit into an Int32. The sign is
// that of the argument, also of zero.
OSTRA_LANE_INLINE Lanes<Float32> TruncateBySteps(Lanes<Float32> x) {
  const Lanes<Float32> magnitude = BitCast<Float32>(BitCast<UInt32>(x) & ~kSignBit);
  const Mask isSmall = magnitude < 8388608.0f;
  const Lanes<Float32> whole = Convert<Float32>(Convert<Int32>(Select(isSmall, x, Lanes<Float32>(0.0f))));
  return Select(isSmall, CopySign(whole, x), x);
}

}  // namespace internal

#if OSTRA_LANE_LEVEL == 1
#define OSTRA_LANE_ROUND(x, mode) Lanes<Float32>::Make(__builtin_ia32_roundps256((x).v, mode))
#elif OSTRA_LANE_LEVEL == 2
#define OSTRA_LANE_ROUND(x, mode) \
  Lanes<Float32>::Make(__builtin_ia32_rndscaleps_mask((x).v, mode, (x).v, UInt16(0xffff), 4))
#endif

#ifdef OSTRA_LANE_ROUND
// 8: no exception for numbers that are not whole.
OSTRA_LANE_INLINE Lanes<Float32> floor(Lanes<Float32> x) { return OSTRA_LANE_ROUND(x, 9); }
OSTRA_LANE_INLINE Lanes<Float32> ceil(Lanes<Float32> x) { return OSTRA_LANE_ROUND(x, 10); }
OSTRA_LANE_INLINE Lanes<Float32> trunc(Lanes<Float32> x) { return OSTRA_LANE_ROUND(x, 11); }
#undef OSTRA_LANE_ROUND
#else
OSTRA_LANE_INLINE Lanes<Float32> trunc(Lanes<Float32> x) { return internal::TruncateBySteps(x); }
OSTRA_LANE_INLINE Lanes<Float32> floor(Lanes<Float32> x) {
  const Lanes<Float32> whole = internal::TruncateBySteps(x);
  return Select(whole > x, whole - 1.0f, whole);
}
OSTRA_LANE_INLINE Lanes<Float32> ceil(Lanes<Float32> x) {
  const Lanes<Float32> whole = internal::TruncateBySteps(x);
  return Select(whole < x, internal::CopySign(whole + 1.0f, x), whole);
}
#endif

OSTRA_LANE_INLINE Lanes<Float32> sqrt(Lanes<Float32> x) {
#if !defined(__x86_64__)
  return ForEachLane([](Float32 a) { return __builtin_sqrtf(a); }, x);
#elif OSTRA_LANE_LEVEL == 0
  return Lanes<Float32>::Make(__builtin_ia32_sqrtps(x.v));
#elif OSTRA_LANE_LEVEL == 1
  return Lanes<Float32>::Make(__builtin_ia32_sqrtps256(x.v));
#elif defined(__clang__)
  return Lanes<Float32>::Make(__builtin_ia32_sqrtps512(x.v, 4));
#else
  return Lanes<Float32>::Make(__builtin_ia32_sqrtps512_mask(x.v, x.v, UInt16(0xffff), 4));
#endif
}
OSTRA_LANE_INLINE Lanes<Float32> Sqrt(Lanes<Float32> x) { return sqrt(x); }
OSTRA_LANE_INLINE Lanes<Float32> inversesqrt(Lanes<Float32> x) {
#if OSTRA_LANE_LEVEL == 2 && defined(OSTRA_KERNEL_IS_FAST)
  // The processor's estimate, which has 14 bits, and a step of Newton's. Of 0, infinity and numbers below the normal
  // range the estimate is taken, as the step would make something else of it.
  const Lanes<Float32> estimate =
      Lanes<Float32>::Make(__builtin_ia32_rsqrt14ps512_mask(x.v, Native<Float32>{}, UInt16(0xffff)));
  const Lanes<Float32> improved = 0.5f * estimate * (3.0f - x * estimate * estimate);
  return Select(Mask::MakeOfBits(__builtin_ia32_fpclassps512_mask(x.v, 0x2e, UInt16(0xffff))), estimate, improved);
#else
  return 1.0f / sqrt(x);
#endif
}

OSTRA_LANE_INLINE Lanes<Float32> abs(Lanes<Float32> x) {
  return BitCast<Float32>(BitCast<UInt32>(x) & ~internal::kSignBit);
}
OSTRA_LANE_INLINE Lanes<Int32> abs(Lanes<Int32> x) { return Select(x < 0, -x, x); }
OSTRA_LANE_INLINE Lanes<Float32> sign(Lanes<Float32> x) {
  return Convert<Float32>(x > 0.0f) - Convert<Float32>(x < 0.0f);
}
OSTRA_LANE_INLINE Lanes<Int32> sign(Lanes<Int32> x) { return Convert<Int32>(x > 0) - Convert<Int32>(x < 0); }
OSTRA_LANE_INLINE Lanes<Float32> fract(Lanes<Float32> x) { return x - floor(x); }
OSTRA_LANE_INLINE Lanes<Float32> mod(Lanes<Float32> x, Lanes<Float32> y) { return x - y * floor(x / y); }

// One argument at least is a value of lanes; the others may be scalars.
#define OSTRA_LANE_ORDER(T)                                                                                \
  OSTRA_LANE_INLINE Lanes<T> min(Lanes<T> x, Lanes<T> y) { return Lanes<T>::Make(y.v < x.v ? y.v : x.v); } \
  OSTRA_LANE_INLINE Lanes<T> max(Lanes<T> x, Lanes<T> y) { return Lanes<T>::Make(x.v < y.v ? y.v : x.v); } \
  OSTRA_LANE_INLINE Lanes<T> clamp(Lanes<T> x, Lanes<T> low, Lanes<T> high) { return min(max(x, low), high); }
OSTRA_LANE_ORDER(Float32)
OSTRA_LANE_ORDER(Int32)
OSTRA_LANE_ORDER(UInt32)
#undef OSTRA_LANE_ORDER

OSTRA_LANE_INLINE Lanes<Float32> mix(Lanes<Float32> x, Lanes<Float32> y, Lanes<Float32> part) {
  return x * (1.0f - part) + y * part;
}
OSTRA_LANE_INLINE Lanes<Float32> step(Lanes<Float32> edge, Lanes<Float32> x) {
  return Select(x < edge, Lanes<Float32>(0.0f), Lanes<Float32>(1.0f));
}
OSTRA_LANE_INLINE Lanes<Float32> smoothstep(Lanes<Float32> low, Lanes<Float32> high, Lanes<Float32> x) {
  const Lanes<Float32> t = clamp((x - low) / (high - low), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}
OSTRA_LANE_INLINE Lanes<Float32> radians(Lanes<Float32> degrees) { return degrees * 0.0174532925f; }
OSTRA_LANE_INLINE Lanes<Float32> degrees(Lanes<Float32> radians) { return radians * 57.2957795f; }

OSTRA_LANE_INLINE Mask isnan(Lanes<Float32> x) { return x != x; }
OSTRA_LANE_INLINE Mask isinf(Lanes<Float32> x) { return abs(x) == __builtin_inff(); }

OSTRA_LANE_INLINE Lanes<UInt32> floatBitsToUint(Lanes<Float32> x) { return BitCast<UInt32>(x); }
OSTRA_LANE_INLINE Lanes<Int32> floatBitsToInt(Lanes<Float32> x) { return BitCast<Int32>(x); }
OSTRA_LANE_INLINE Lanes<Float32> uintBitsToFloat(Lanes<UInt32> x) { return BitCast<Float32>(x); }
OSTRA_LANE_INLINE Lanes<Float32> intBitsToFloat(Lanes<Int32> x) { return BitCast<Float32>(x); }

#define OSTRA_LANE_FUNCTION(name)                                                                                 \
  OSTRA_LANE_INLINE Lanes<Float32> name(Lanes<Float32> x) {                                                       \
    Lanes<Float32> result;                                                                                        \
    elementary::OSTRA_LANES::name(reinterpret_cast<const Float32*>(&x.v), reinterpret_cast<Float32*>(&result.v)); \
    return result;                                                                                                \
  }
OSTRA_ELEMENTARY_UNARY(OSTRA_LANE_FUNCTION)
#undef OSTRA_LANE_FUNCTION
#define OSTRA_LANE_FUNCTION(name)                                                                                 \
  OSTRA_LANE_INLINE Lanes<Float32> name(Lanes<Float32> x, Lanes<Float32> y) {                                     \
    Lanes<Float32> result;                                                                                        \
    elementary::OSTRA_LANES::name(reinterpret_cast<const Float32*>(&x.v), reinterpret_cast<const Float32*>(&y.v), \
                                  reinterpret_cast<Float32*>(&result.v));                                         \
    return result;                                                                                                \
  }
OSTRA_ELEMENTARY_BINARY(OSTRA_LANE_FUNCTION)
#undef OSTRA_LANE_FUNCTION

}  // namespace ostra::OSTRA_LANES
