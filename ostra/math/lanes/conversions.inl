// Lanes of half floats and of integers of 8 and 16 bits, and numbers of lanes as other numbers.

namespace ostra::OSTRA_LANES {

// Half floats are held as their bits. Arithmetic happens with the numbers that they convert to.
template <>
struct Lanes<HalfFloat> {
  using Element = HalfFloat;

  Native<HalfBits> v;

  Lanes() = default;
  OSTRA_LANE_INLINE Lanes(HalfFloat x) : v(static_cast<HalfBits>(x.GetBits()) - Native<HalfBits>{}) {}
  OSTRA_LANE_INLINE static Lanes Make(Native<HalfBits> v) {
    Lanes lanes;
    lanes.v = v;
    return lanes;
  }

  OSTRA_LANE_INLINE HalfFloat Get(int lane) const { return HalfFloat::FromBits(static_cast<UInt16>(v[lane])); }
  OSTRA_LANE_INLINE void Set(int lane, HalfFloat value) { v[lane] = static_cast<HalfBits>(value.GetBits()); }
};

// Small integers are held as Int32, and wrap around. C++ promotes scalars of these types to Int32 before it computes
// with them, but not the components of our vectors.
template <class T>
requires kIsSmallInteger<T>
struct Lanes<T> {
  using Element = T;

  Native<Int32> v;  // values of the type T

  Lanes() = default;
  OSTRA_LANE_INLINE Lanes(T x) : v(static_cast<Int32>(x) - Native<Int32>{}) {}
  OSTRA_LANE_INLINE static Lanes Make(Native<Int32> v) {
    Lanes lanes;
    lanes.v = v;
    return lanes;
  }
  OSTRA_LANE_INLINE static Lanes Wrap(Native<Int32> v) {
    constexpr int kBits = 8 * sizeof(T);
    return Make(std::is_signed_v<T> ? v << (32 - kBits) >> (32 - kBits) : v & ((1 << kBits) - 1));
  }

  OSTRA_LANE_INLINE T Get(int lane) const { return static_cast<T>(v[lane]); }
  OSTRA_LANE_INLINE void Set(int lane, T value) { v[lane] = value; }

  // clang-format off
  friend OSTRA_LANE_INLINE Lanes operator+(Lanes a, Lanes b) { return Wrap(a.v + b.v); }
  friend OSTRA_LANE_INLINE Lanes operator-(Lanes a, Lanes b) { return Wrap(a.v - b.v); }
  friend OSTRA_LANE_INLINE Lanes operator*(Lanes a, Lanes b) { return Wrap(a.v * b.v); }
  friend OSTRA_LANE_INLINE Lanes operator-(Lanes a) { return Wrap(-a.v); }

  friend OSTRA_LANE_INLINE Mask operator<(Lanes a, Lanes b) { return Mask::Compare<Relation::kLess>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator==(Lanes a, Lanes b) { return Mask::Compare<Relation::kEqual>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator!=(Lanes a, Lanes b) { return Mask::Compare<Relation::kNotEqual>(a.v, b.v); }
  // clang-format on
};

namespace internal {

constexpr Int32 kFloatInfinity = 0x7f800000;
constexpr Int32 kSmallestNormalHalf = 113 << 23;  // 2^-14 as a Float32
constexpr Int32 kHalfRebias = (127 - 15) << 23;   // between the exponents of the two formats

// As HalfFloat does it, for processors without an instruction for it.
OSTRA_LANE_INLINE Lanes<Float32> WidenHalvesBySteps(Lanes<Int32> bits) {
  const Lanes<Int32> shifted = ShiftLeft(bits & 0x7fff, Lanes<Int32>(13));
  const Lanes<Int32> offset = kSmallestNormalHalf;
  const Lanes<Float32> subnormal = BitCast<Float32>(shifted | offset) - BitCast<Float32>(offset);
  Lanes<Int32> magnitude = shifted + kHalfRebias;
  magnitude = Select(shifted < (1 << 23), BitCast<Int32>(subnormal), magnitude);
  magnitude = Select(shifted >= (0x1f << 23), shifted | kFloatInfinity, magnitude);
  return BitCast<Float32>(magnitude | ShiftLeft(bits & 0x8000, Lanes<Int32>(16)));
}
OSTRA_LANE_INLINE Lanes<Int32> RoundToHalvesBySteps(Lanes<Float32> x) {
  const Lanes<Int32> bits = BitCast<Int32>(x), magnitude = bits & 0x7fffffff;
  const auto shiftRight = [](Lanes<Int32> a, Int32 count) { return ShiftRight(a, Lanes<Int32>(count)); };
  // The carry of the rounding may run into the exponent: that is the next power of two, or infinity.
  const Lanes<Int32> rounded = magnitude + 0x0fff + (shiftRight(magnitude, 13) & 1);
  Lanes<Int32> half = shiftRight(rounded - kHalfRebias, 13);
  // Below 2^-14 the sum with 1/2 is rounded to a multiple of 2^-24, the smallest half.
  const Lanes<Float32> sum = BitCast<Float32>(magnitude) + 0.5f;
  half = Select(magnitude < kSmallestNormalHalf, BitCast<Int32>(sum) - BitCast<Int32>(Lanes<Float32>(0.5f)), half);
  half = Select(magnitude >= (143 << 23), Lanes<Int32>(0x7c00), half);  // 65536 and above
  half = Select(magnitude > kFloatInfinity, (shiftRight(magnitude, 13) & 0x3ff) | 0x7e00, half);
  return half | (shiftRight(bits, 16) & 0x8000);
}

OSTRA_LANE_INLINE Lanes<Float32> WidenHalves(Lanes<HalfFloat> halves) {
#if OSTRA_LANE_LEVEL == 0
  return WidenHalvesBySteps(Lanes<Int32>::Make(halves.v));
#elif OSTRA_LANE_LEVEL == 1
  return Lanes<Float32>::Make(__builtin_ia32_vcvtph2ps256(halves.v));
#else
  return Lanes<Float32>::Make(__builtin_ia32_vcvtph2ps512_mask(halves.v, Native<Float32>{}, UInt16(0xffff), 4));
#endif
}
// To the nearest half, ties to the even one.
OSTRA_LANE_INLINE Lanes<HalfFloat> RoundToHalves(Lanes<Float32> x) {
#if OSTRA_LANE_LEVEL == 0
  return Lanes<HalfFloat>::Make(RoundToHalvesBySteps(x).v);
#elif OSTRA_LANE_LEVEL == 1
  return Lanes<HalfFloat>::Make(__builtin_ia32_vcvtps2ph256(x.v, 0));
#else
  return Lanes<HalfFloat>::Make(__builtin_ia32_vcvtps2ph512_mask(x.v, 0, Native<Int16>{}, UInt16(0xffff)));
#endif
}

}  // namespace internal

// The value as another number, as static_cast converts it.
template <class To, class From>
OSTRA_LANE_INLINE Lanes<To> Convert(Lanes<From> a) {
  if constexpr (std::is_same_v<To, From>) {
    return a;
  } else if constexpr (std::is_same_v<From, HalfFloat>) {
    return Convert<To>(internal::WidenHalves(a));
  } else if constexpr (std::is_same_v<To, HalfFloat>) {
    return internal::RoundToHalves(Convert<Float32>(a));
  } else if constexpr (kIsSmallInteger<From>) {
    return Convert<To>(Lanes<Int32>::Make(a.v));
  } else if constexpr (kIsSmallInteger<To>) {
    return Lanes<To>::Wrap(Convert<Int32>(a).v);
  } else if constexpr (std::is_floating_point_v<From> && To(-1) > To(0) && sizeof(To) == sizeof(Int32)) {
    // Unsigned: the upper half of the numbers is moved below 2^31 and back, with instructions that every level has.
    const From half = 2147483648.0f;
    const Mask isUpper = a >= Lanes<From>(half);
    const auto low = __builtin_convertvector(Select(isUpper, a - Lanes<From>(half), a).v, Native<Int32>);
    return Lanes<To>::Make(
        reinterpret_cast<Native<To>>(low) ^
        (reinterpret_cast<Native<To>>(isUpper.template As<To>()) & (To(0x80000000u) - Native<To>{})));
  } else {
    return Lanes<To>::Make(__builtin_convertvector(a.v, Native<To>));
  }
}
template <class To>
OSTRA_LANE_INLINE Lanes<To> Convert(Mask a) {
  return Select(a, Lanes<To>(To(1)), Lanes<To>(To(0)));
}

}  // namespace ostra::OSTRA_LANES
