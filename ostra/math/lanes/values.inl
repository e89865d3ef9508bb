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
// An operation of lanes does in each lane what the same operation does with two scalars: the same bits at every
// level, but for the bits of a NaN.
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

// One more, or one less, where the mask holds; wraps.
template <class T>
OSTRA_LANE_INLINE Lanes<T> Increment(Mask mask, Lanes<T> a) {
#if OSTRA_LANE_LEVEL < 2
  if constexpr (sizeof(T) == sizeof(Int32)) return Lanes<T>::Make(a.v - reinterpret_cast<Native<T>>(mask.v));
#endif
  return Select(mask, a + Lanes<T>(T(1)), a);
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Decrement(Mask mask, Lanes<T> a) {
#if OSTRA_LANE_LEVEL < 2
  if constexpr (sizeof(T) == sizeof(Int32)) return Lanes<T>::Make(a.v + reinterpret_cast<Native<T>>(mask.v));
#endif
  return Select(mask, a - Lanes<T>(T(1)), a);
}

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

// The same bits as another type of the same size.
template <class To, class From>
OSTRA_LANE_INLINE Lanes<To> BitCast(Lanes<From> a) {
  return Lanes<To>::Make(reinterpret_cast<Native<To>>(a.v));
}

}  // namespace ostra::OSTRA_LANES
