// The elementary functions for one number (OSTRA_LANE_COUNT 1) or for several lanes: included by
// elementary_functions.cpp once for each. No include guard.
//
// A Wide is one Float64, or a vector of as many as the processor computes with at once; operators and ?: mean the same
// for both. All that differs between the forms stands in the first part.

namespace ostra::elementary::OSTRA_LANES {

#if OSTRA_LANE_COUNT == 1
constexpr int kWidth = 1;
using Wide = Float64;
using Bits = UInt64;
OSTRA_LANE_INLINE Bool Any(Bool condition) { return condition; }
OSTRA_LANE_INLINE Bool All(Bool condition) { return condition; }
OSTRA_LANE_INLINE Wide Sqrt(Wide x) { return __builtin_sqrt(x); }
OSTRA_LANE_INLINE void Set(Wide& x, int, Float64 value) { x = value; }
OSTRA_LANE_INLINE void Set(Bits& x, int, UInt64 value) { x = value; }
OSTRA_LANE_INLINE Float64 Get(Wide x, int) { return x; }
#else
// The lanes are computed in two halves.
constexpr int kWidth = OSTRA_LANE_COUNT / 2;
typedef Float32 Narrow __attribute__((vector_size(sizeof(Float32) * kWidth)));
typedef Float64 Wide __attribute__((vector_size(sizeof(Float64) * kWidth)));
typedef UInt64 Bits __attribute__((vector_size(sizeof(UInt64) * kWidth)));
typedef Int64 Condition __attribute__((vector_size(sizeof(Int64) * kWidth)));
OSTRA_LANE_INLINE void Set(Wide& x, int lane, Float64 value) { x[lane] = value; }
OSTRA_LANE_INLINE void Set(Bits& x, int lane, UInt64 value) { x[lane] = value; }
OSTRA_LANE_INLINE Float64 Get(Wide x, int lane) { return x[lane]; }

// A bit for each lane.
OSTRA_LANE_INLINE int GetBits(Condition condition) {
#if !defined(__x86_64__)
  int bits = 0;
  for (int i = 0; i < kWidth; ++i) bits |= static_cast<int>(condition[i] & 1) << i;
  return bits;
#elif OSTRA_LANE_LEVEL == 0
  return __builtin_ia32_movmskpd(reinterpret_cast<Wide>(condition));
#elif OSTRA_LANE_LEVEL == 1
  return __builtin_ia32_movmskpd256(reinterpret_cast<Wide>(condition));
#else
  typedef long long Native __attribute__((vector_size(sizeof(Condition))));
  return static_cast<UInt8>(__builtin_ia32_cvtq2mask512(reinterpret_cast<Native>(condition)));
#endif
}
OSTRA_LANE_INLINE Bool Any(Condition condition) { return GetBits(condition) != 0; }
OSTRA_LANE_INLINE Bool All(Condition condition) { return GetBits(condition) == (1 << kWidth) - 1; }

OSTRA_LANE_INLINE Wide Sqrt(Wide x) {
#if !defined(__x86_64__)
  for (int i = 0; i < kWidth; ++i) x[i] = __builtin_sqrt(x[i]);
  return x;
#elif OSTRA_LANE_LEVEL == 0
  return __builtin_ia32_sqrtpd(x);
#elif OSTRA_LANE_LEVEL == 1
  return __builtin_ia32_sqrtpd256(x);
#elif defined(__clang__)
  return __builtin_ia32_sqrtpd512(x, 4);
#else
  return __builtin_ia32_sqrtpd512_mask(x, x, UInt8(0xff), 4);
#endif
}
#endif

OSTRA_LANE_INLINE Wide Splat(Float64 x) { return x - Wide{}; }
OSTRA_LANE_INLINE Bits ToBits(Wide x) { return __builtin_bit_cast(Bits, x); }
OSTRA_LANE_INLINE Wide FromBits(Bits x) { return __builtin_bit_cast(Wide, x); }

// What lies outside of -limit to limit becomes the nearer of them; NaN stays. Compilers make two instructions of each
// ?: with vectors.
OSTRA_LANE_INLINE Wide Clamp(Wide x, Float64 limit) {
  const Wide low = Splat(-limit), high = Splat(limit);
#if OSTRA_LANE_COUNT == 1 || !defined(__x86_64__)
  x = low > x ? low : x;
  return high < x ? high : x;
#elif OSTRA_LANE_LEVEL == 0
  return __builtin_ia32_minpd(high, __builtin_ia32_maxpd(low, x));
#elif OSTRA_LANE_LEVEL == 1
  return __builtin_ia32_minpd256(high, __builtin_ia32_maxpd256(low, x));
#elif defined(__clang__)
  return __builtin_ia32_minpd512(high, __builtin_ia32_maxpd512(low, x, 4), 4);
#else
  x = __builtin_ia32_maxpd512_mask(low, x, x, UInt8(0xff), 4);
  return __builtin_ia32_minpd512_mask(high, x, x, UInt8(0xff), 4);
#endif
}

#if OSTRA_LANE_COUNT == 1
OSTRA_LANE_INLINE Wide Load(const Float32* x) { return *x; }
OSTRA_LANE_INLINE void Store(Float32* to, Wide x) { *to = static_cast<Float32>(x); }
#else
OSTRA_LANE_INLINE Wide Load(const Float32* x) {
  Narrow narrow;
  std::memcpy(&narrow, x, sizeof(narrow));
#if OSTRA_LANE_LEVEL == 2
  return __builtin_ia32_cvtps2pd512_mask(narrow, Wide{}, UInt8(0xff), 4);
#else
  return __builtin_convertvector(narrow, Wide);
#endif
}
OSTRA_LANE_INLINE void Store(Float32* to, Wide x) {
  const Narrow narrow = __builtin_convertvector(x, Narrow);
  std::memcpy(to, &narrow, sizeof(narrow));
}
#endif

OSTRA_LANE_INLINE Wide Magnitude(Wide x) { return FromBits(ToBits(x) & ~kSignBit); }
OSTRA_LANE_INLINE Wide CopySign(Wide magnitude, Wide sign) {
  return FromBits(ToBits(magnitude) | (ToBits(sign) & kSignBit));
}
// Of a magnitude.
OSTRA_LANE_INLINE auto IsWhole(Wide x) { return (x + 0x1p52) - 0x1p52 == x; }

// A polynomial with its terms in a tree: processors compute several at once.
struct Powers {
  Wide x1, x2, x4, x8;
};
template <int first, int count>
OSTRA_LANE_INLINE Wide SumOfTerms(const Float64* c, const Powers& x) {
  if constexpr (count == 1)
    return Splat(c[first]);
  else if constexpr (count == 2)
    return c[first] + c[first + 1] * x.x1;
  else if constexpr (count <= 4)
    return SumOfTerms<first, 2>(c, x) + SumOfTerms<first + 2, count - 2>(c, x) * x.x2;
  else if constexpr (count <= 8)
    return SumOfTerms<first, 4>(c, x) + SumOfTerms<first + 4, count - 4>(c, x) * x.x4;
  else
    return SumOfTerms<first, 8>(c, x) + SumOfTerms<first + 8, count - 8>(c, x) * x.x8;
}
// coefficients[0] + coefficients[1] * x + ...
template <int count>
OSTRA_LANE_INLINE Wide Polynomial(const Float64 (&coefficients)[count], Wide x) {
  const Wide square = x * x, fourth = square * square;
  return SumOfTerms<0, count>(coefficients, Powers{x, square, fourth, fourth * fourth});
}

// 2^x; beyond 2^200 and 2^-200 something that a Float32 cannot hold either.
OSTRA_LANE_INLINE Wide Power(Wide x) {
  x = Clamp(x, 200.0);
  const Wide shifted = x + kToWhole;
  const Wide part = x - (shifted - kToWhole);
  const Wide whole = FromBits((ToBits(shifted) << 52) + 0x3ff0000000000000u);
  return (1.0 + part * Polynomial(kExp2, part)) * whole;
}

// The logarithm to base 2 of a positive Float32: whole + log2(m), m from sqrt(1/2) to sqrt(2).
OSTRA_LANE_INLINE Wide LogarithmOfPositive(Wide x) {
  constexpr UInt64 kOne = 0x3ff0000000000000u, kRootOfHalf = 0x3fe6a09e667f3bcdu;
  const Bits bits = ToBits(x) + (kOne - kRootOfHalf);
  // The exponent as lowest bits of a number that begins at 2^52.
  const Wide whole = FromBits((bits >> 52) | 0x4330000000000000u) - (0x1p52 + 1023.0);
  const Wide m = FromBits((bits & 0x000fffffffffffffu) + kRootOfHalf);
  const Wide s = (m - 1.0) / (m + 1.0);
  return whole + s * Polynomial(kLog2, s * s);
}
OSTRA_LANE_INLINE Wide Logarithm(Wide x) {
  const Wide result = LogarithmOfPositive(x);
  const auto isOrdinary = (x > 0.0) & (x < kInfinity);
  if (All(isOrdinary)) [[likely]]
    return result;
  const Wide other = x == 0.0 ? Splat(-kInfinity) : (x < 0.0 ? Splat(kNaN) : x);
  return isOrdinary ? result : other;
}

struct Angle {
  Wide rest;      // from -pi/4 to pi/4
  Bits quadrant;  // that many quarter turns were taken away; the two lowest bits count
};
OSTRA_LANE_INLINE Angle Reduce(Wide x) {
  const Wide shifted = x * kQuarterTurnsPerUnit + kToWhole;
  const Wide quarters = shifted - kToWhole;
  Angle angle = {(x - quarters * kQuarterTurnHigh) - quarters * kQuarterTurnLow, ToBits(shifted)};
  if (Any(Magnitude(x) >= kLargeAngle)) [[unlikely]] {
    for (int i = 0; i < kWidth; ++i) {
      if (!(Get(Magnitude(x), i) >= kLargeAngle)) continue;
      const LargeAngle large = ReduceLargeAngle(static_cast<Float32>(Get(x, i)));
      Set(angle.rest, i, large.rest);
      Set(angle.quadrant, i, large.quadrant);
    }
  }
  return angle;
}
OSTRA_LANE_INLINE Wide SinOfRest(Wide x, Wide square) { return x * (1.0 + square * Polynomial(kSin, square)); }
OSTRA_LANE_INLINE Wide CosOfRest(Wide square) {
  return (1.0 - 0.5 * square) + square * square * Polynomial(kCos, square);
}
OSTRA_LANE_INLINE Wide SinAfterQuarters(const Angle& angle, UInt64 quarters) {
  const Wide square = angle.rest * angle.rest;
  const Wide sine = SinOfRest(angle.rest, square), cosine = CosOfRest(square);
  const Bits quadrant = angle.quadrant + quarters;
  return FromBits(ToBits((quadrant & 1u) != 0u ? cosine : sine) ^ ((quadrant & 2u) << 62));
}

// asin of a magnitude: up to 1/2 `small`, beyond pi/2 - 2 * `small`.
struct ArcSine {
  Wide small;
  Wide magnitude;
};
OSTRA_LANE_INLINE ArcSine MakeArcSine(Wide x) {
  const Wide magnitude = Magnitude(x);
  const Wide square = magnitude > 0.5 ? (1.0 - magnitude) * 0.5 : magnitude * magnitude;
  const Wide small = magnitude > 0.5 ? Sqrt(square) : magnitude;
  return {small * (1.0 + square * Polynomial(kAsin, square)), magnitude};
}

// The angle of the point (x, y), neither of which is negative.
OSTRA_LANE_INLINE Wide AngleOfPoint(Wide y, Wide x) {
  const auto isSteep = y > x * kTanThreeEighths;
  const auto isFlat = y <= x * kTanEighth;
  const Wide dividend = isSteep ? -x : (isFlat ? y : y - x);
  const Wide divisor = isSteep ? y : (isFlat ? x : y + x);
  const Wide base = isSteep ? Splat(kPi / 2) : (isFlat ? Splat(0.0) : Splat(kPi / 4));
  const Wide slope = dividend / divisor;
  const Wide square = slope * slope;
  return base + slope * (1.0 + square * Polynomial(kAtan, square));
}

namespace function {

OSTRA_LANE_INLINE Wide exp(Wide x) { return Power(x * 1.4426950408889634); }
OSTRA_LANE_INLINE Wide exp2(Wide x) { return Power(x); }
OSTRA_LANE_INLINE Wide log(Wide x) { return Logarithm(x) * 0.6931471805599453; }
OSTRA_LANE_INLINE Wide log2(Wide x) { return Logarithm(x); }

OSTRA_LANE_INLINE Wide sin(Wide x) { return SinAfterQuarters(Reduce(x), 0); }
OSTRA_LANE_INLINE Wide cos(Wide x) { return SinAfterQuarters(Reduce(x), 1); }
OSTRA_LANE_INLINE Wide tan(Wide x) {
  const Angle angle = Reduce(x);
  const Wide square = angle.rest * angle.rest;
  const Wide sine = SinOfRest(angle.rest, square), cosine = CosOfRest(square);
  const auto isOdd = (angle.quadrant & 1u) != 0u;
  return (isOdd ? -cosine : sine) / (isOdd ? sine : cosine);
}

OSTRA_LANE_INLINE Wide asin(Wide x) {
  const ArcSine arc = MakeArcSine(x);
  return CopySign(arc.magnitude > 0.5 ? kPi / 2 - 2.0 * arc.small : arc.small, x);
}
OSTRA_LANE_INLINE Wide acos(Wide x) {
  const ArcSine arc = MakeArcSine(x);
  const Wide large = x < 0.0 ? kPi - 2.0 * arc.small : 2.0 * arc.small;
  return arc.magnitude > 0.5 ? large : kPi / 2 - CopySign(arc.small, x);
}
OSTRA_LANE_INLINE Wide atan(Wide x) { return CopySign(AngleOfPoint(Magnitude(x), Splat(1.0)), x); }
OSTRA_LANE_INLINE Wide atan(Wide y, Wide x) {
  Wide height = Magnitude(y), width = Magnitude(x);
  // Only the ratio counts, and 0 : 0 is 0 : 1, infinite : infinite is 1 : 1.
  const auto isInfinite = (height == kInfinity) & (width == kInfinity);
  height = isInfinite ? Splat(1.0) : height;
  width = (isInfinite | ((height == 0.0) & (width == 0.0))) ? Splat(1.0) : width;
  const Wide angle = AngleOfPoint(height, width);
  const Wide one = CopySign(Splat(1.0), x);
  return CopySign(one < 0.0 ? kPi - angle : angle, y);
}

// For all arguments, those included at which a power is not what its logarithm says.
OSTRA_LANE_INLINE Wide GeneralPower(Wide x, Wide y) {
  const Wide base = Magnitude(x), exponent = Magnitude(y);
  const Wide product = y * Logarithm(base);
  Wide result = Power(((base == 1.0) & (exponent == kInfinity)) ? Splat(0.0) : product);
  const auto isWhole = IsWhole(exponent);
  result = (isWhole & (IsWhole(exponent * 0.5) == 0)) ? CopySign(result, x) : result;
  const auto isUndefined = (x < 0.0) & (isWhole == 0) & (base != kInfinity);
  result = isUndefined ? Splat(kNaN) : result;
  return ((y == 0.0) | (x == 1.0)) ? Splat(1.0) : result;
}
OSTRA_LANE_INLINE Wide pow(Wide x, Wide y) {
  // Squares are those of a multiplication.
  const auto isSquare = y == 2.0;
  const auto isOrdinary = (x > 0.0) & (x < kInfinity) & (Magnitude(y) < kInfinity) & (y != 2.0);
  if (!All(isOrdinary)) [[unlikely]] {
    if (All(isSquare)) return x * x;
    return isSquare ? x * x : GeneralPower(x, y);
  }
  return Power(y * LogarithmOfPositive(x));
}

}  // namespace function

#if OSTRA_LANE_COUNT != 1
#define OSTRA_FUNCTION(name)                               \
  void name(const Float32* x, Float32* result) noexcept {  \
    const Wide first = Load(x), second = Load(x + kWidth); \
    Store(result, function::name(first));                  \
    Store(result + kWidth, function::name(second));        \
  }
OSTRA_ELEMENTARY_UNARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION
#define OSTRA_FUNCTION(name)                                                \
  void name(const Float32* x, const Float32* y, Float32* result) noexcept { \
    const Wide firstX = Load(x), secondX = Load(x + kWidth);                \
    const Wide firstY = Load(y), secondY = Load(y + kWidth);                \
    Store(result, function::name(firstX, firstY));                          \
    Store(result + kWidth, function::name(secondX, secondY));               \
  }
OSTRA_ELEMENTARY_BINARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION
#endif

}  // namespace ostra::elementary::OSTRA_LANES
