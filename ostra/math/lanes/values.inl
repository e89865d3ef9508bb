// Lanes<T>: a number for each of kLaneCount invocations; conditions of them are masks (masks.inl).
//
//   #define OSTRA_LANE_LEVEL 2
//   #include "ostra/math/lanes/lanes.inl"
//   using namespace ostra::lanes16;
//
//   Lanes<Float32> x = Load(source);
//   Lanes<Float32> y = Select(x < 0.0f, -x, 2.0f * x);
//   if (Any(y > limit)) ...
//
// An operation of lanes does in each lane what the same operation does with two scalars: the same bits, at every level.
// A scalar stands for a value that all lanes share. What C++ leaves undefined for scalars (a division by zero, a shift
// by more than the width) must not happen in any lane, active or not: Divide and Remainder take a mask for that.
// Nothing allocates, fails or keeps state.

namespace ostra::OSTRA_LANES {

// The number of each lane: 0, 1, 2, ...
template <class T>
OSTRA_LANE_INLINE Native<T> MakeNativeIota() {
  Native<T> iota = {};
  for (int i = 0; i < kLaneCount; ++i) iota[i] = static_cast<T>(i);
  return iota;
}

template <class T>
struct Lanes {
  using Element = T;

  Native<T> v;

  Lanes() = default;
  // The same value in all lanes.
  OSTRA_LANE_INLINE Lanes(T x) : v(x - Native<T>{}) {}
  OSTRA_LANE_INLINE static Lanes Make(Native<T> v) {
    Lanes lanes;
    lanes.v = v;
    return lanes;
  }

  OSTRA_LANE_INLINE T Get(int lane) const { return v[lane]; }
  OSTRA_LANE_INLINE void Set(int lane, T value) { v[lane] = value; }

  // clang-format off
  friend OSTRA_LANE_INLINE Lanes operator+(Lanes a, Lanes b) { return Make(a.v + b.v); }
  friend OSTRA_LANE_INLINE Lanes operator-(Lanes a, Lanes b) { return Make(a.v - b.v); }
  friend OSTRA_LANE_INLINE Lanes operator*(Lanes a, Lanes b) { return Make(a.v * b.v); }
  friend OSTRA_LANE_INLINE Lanes operator-(Lanes a) { return Make(-a.v); }
  friend OSTRA_LANE_INLINE Lanes operator+(Lanes a) { return a; }
  // Divisions of integers are Divide and Remainder below.
  friend OSTRA_LANE_INLINE Lanes operator/(Lanes a, Lanes b) requires std::is_floating_point_v<T> { return Make(a.v / b.v); }

  friend OSTRA_LANE_INLINE Lanes operator&(Lanes a, Lanes b) requires(!std::is_floating_point_v<T>) { return Make(a.v & b.v); }
  friend OSTRA_LANE_INLINE Lanes operator|(Lanes a, Lanes b) requires(!std::is_floating_point_v<T>) { return Make(a.v | b.v); }
  friend OSTRA_LANE_INLINE Lanes operator^(Lanes a, Lanes b) requires(!std::is_floating_point_v<T>) { return Make(a.v ^ b.v); }
  friend OSTRA_LANE_INLINE Lanes operator~(Lanes a) requires(!std::is_floating_point_v<T>) { return Make(~a.v); }

  friend OSTRA_LANE_INLINE Mask operator<(Lanes a, Lanes b) { return Mask::Compare<Relation::kLess>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator<=(Lanes a, Lanes b) { return Mask::Compare<Relation::kLessOrEqual>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator>(Lanes a, Lanes b) { return Mask::Compare<Relation::kGreater>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator>=(Lanes a, Lanes b) { return Mask::Compare<Relation::kGreaterOrEqual>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator==(Lanes a, Lanes b) { return Mask::Compare<Relation::kEqual>(a.v, b.v); }
  friend OSTRA_LANE_INLINE Mask operator!=(Lanes a, Lanes b) { return Mask::Compare<Relation::kNotEqual>(a.v, b.v); }
  // clang-format on
};

template <class T>
OSTRA_LANE_INLINE Lanes<T> MakeIota() {
  return Lanes<T>::Make(MakeNativeIota<T>());
}

// `a` where the mask holds, `b` elsewhere.
template <class T>
OSTRA_LANE_INLINE Lanes<T> Select(Mask mask, Lanes<T> a, Lanes<T> b) {
  return Lanes<T>::Make(mask.Choose(a.v, b.v));
}
OSTRA_LANE_INLINE Mask Select(Mask mask, Mask a, Mask b) { return (mask & a) | AndNot(b, mask); }

// Shifts to the left and to the right, each lane by a number of its own; arithmetic for signed elements. The numbers
// are below the width of T in every lane.
template <class T>
OSTRA_LANE_INLINE Lanes<T> ShiftLeft(Lanes<T> a, Lanes<T> count) {
  return Lanes<T>::Make(a.v << count.v);
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> ShiftRight(Lanes<T> a, Lanes<T> count) {
  return Lanes<T>::Make(a.v >> count.v);
}

// The value as another number, as static_cast converts it.
template <class To, class From>
OSTRA_LANE_INLINE Lanes<To> Convert(Lanes<From> a) {
  if constexpr (std::is_floating_point_v<From> && To(-1) > To(0) && sizeof(To) == sizeof(Int32)) {
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

#ifdef __x86_64__
// What a division of one number does that has no result.
[[noreturn, gnu::cold, gnu::noinline]] inline void StopAtDivision() {
  volatile Int32 number = 0;
  number = 1 / number;
  __builtin_trap();
}
#endif

// Quotient and remainder of integers where the mask holds; elsewhere nothing is divided by what lies in `b`. Quotients
// of 32-bit numbers are computed as doubles, for which processors have vectors: two quotients that differ are further
// apart than doubles round, so the whole part is exact. What ends the program one by one ends it here as well.
template <class T>
OSTRA_LANE_INLINE Lanes<T> Divide(Lanes<T> a, Lanes<T> b, Mask mask) {
  const Lanes<T> divisor = Select(mask, b, Lanes<T>(T(1)));
  if constexpr (sizeof(T) == sizeof(Int32)) {
#ifdef __x86_64__
    Mask hasNoResult = divisor == T(0);
    if constexpr (T(-1) < T(0)) hasNoResult = hasNoResult | ((divisor == T(-1)) & (a == T(0x80000000u)));
    if (Any(hasNoResult & mask)) [[unlikely]]
      StopAtDivision();
#endif
    return Convert<T>(Convert<Float64>(a) / Convert<Float64>(divisor));
  } else {
    return Lanes<T>::Make(a.v / divisor.v);
  }
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Remainder(Lanes<T> a, Lanes<T> b, Mask mask) {
  if constexpr (sizeof(T) == sizeof(Int32))
    return a - Divide(a, b, mask) * Select(mask, b, Lanes<T>(T(1)));
  else
    return Lanes<T>::Make(a.v % Select(mask, b, Lanes<T>(T(1))).v);
}
// The same by a constant other than 0, of which compilers make multiplications.
template <auto kDivisor, class T>
OSTRA_LANE_INLINE Lanes<T> DivideBy(Lanes<T> a) {
  return Lanes<T>::Make(a.v / (T(kDivisor) - Native<T>{}));
}
template <auto kDivisor, class T>
OSTRA_LANE_INLINE Lanes<T> RemainderBy(Lanes<T> a) {
  return Lanes<T>::Make(a.v % (T(kDivisor) - Native<T>{}));
}

// The same bits as another type of the same size.
template <class To, class From>
OSTRA_LANE_INLINE Lanes<To> BitCast(Lanes<From> a) {
  return Lanes<To>::Make(reinterpret_cast<Native<To>>(a.v));
}

}  // namespace ostra::OSTRA_LANES
