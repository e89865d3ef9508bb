// Lanes of twice as many invocations as the vectors of AVX2 or AVX-512 hold: each value is a pair of them.
//
// The steps of one half fill the time in which those of the other are not done, as long as both fit into the registers.
// The names are those of the single form (masks.inl, values.inl, functions.inl, memory.inl), in a namespace of their
// own; what is not here has no such form.
#include "ostra/math/lanes/lanes.inl"

#if (OSTRA_LANE_LEVEL == 1 && !defined(OSTRA_HAS_LANE_PAIRS_1)) || \
    (OSTRA_LANE_LEVEL == 2 && !defined(OSTRA_HAS_LANE_PAIRS_2))
#if OSTRA_LANE_LEVEL == 1
#define OSTRA_HAS_LANE_PAIRS_1
#else
#define OSTRA_HAS_LANE_PAIRS_2
#endif

#define OSTRA_LANE_PAIRS
#include "ostra/math/lanes/level_begin.inl"

namespace ostra::OSTRA_LANES {

#if OSTRA_LANE_LEVEL == 1
namespace half = lanes8;
#else
namespace half = lanes16;
#endif

inline constexpr int kLaneCount = OSTRA_LANE_COUNT;
static_assert(kLaneCount == 2 * half::kLaneCount);

struct Mask {
  using Element = Bool;

  half::Mask a, b;

  Mask() = default;
  OSTRA_LANE_INLINE Mask(Bool all) : a(all), b(all) {}
  OSTRA_LANE_INLINE Mask(half::Mask first, half::Mask second) : a(first), b(second) {}
  friend OSTRA_LANE_INLINE Mask operator&(Mask x, Mask y) { return {x.a & y.a, x.b & y.b}; }
  friend OSTRA_LANE_INLINE Mask operator|(Mask x, Mask y) { return {x.a | y.a, x.b | y.b}; }
  friend OSTRA_LANE_INLINE Mask operator^(Mask x, Mask y) { return {x.a ^ y.a, x.b ^ y.b}; }
  friend OSTRA_LANE_INLINE Mask operator!(Mask x) { return {!x.a, !x.b}; }
  friend OSTRA_LANE_INLINE Mask operator==(Mask x, Mask y) { return {x.a == y.a, x.b == y.b}; }
  friend OSTRA_LANE_INLINE Mask operator!=(Mask x, Mask y) { return {x.a != y.a, x.b != y.b}; }
};
OSTRA_LANE_INLINE Mask AndNot(Mask x, Mask y) { return {half::AndNot(x.a, y.a), half::AndNot(x.b, y.b)}; }
OSTRA_LANE_INLINE Bool Any(Mask mask) { return half::Any(mask.a | mask.b); }
OSTRA_LANE_INLINE Bool All(Mask mask) { return half::All(mask.a & mask.b); }
OSTRA_LANE_INLINE Bool None(Mask mask) { return half::None(mask.a | mask.b); }

template <class T>
struct Lanes {
  using Element = T;
  using Half = half::Lanes<T>;

  Half a, b;

  Lanes() = default;
  OSTRA_LANE_INLINE Lanes(T x) : a(x), b(x) {}
  OSTRA_LANE_INLINE Lanes(Half first, Half second) : a(first), b(second) {}

  friend OSTRA_LANE_INLINE Lanes operator-(Lanes x) { return {-x.a, -x.b}; }
  friend OSTRA_LANE_INLINE Lanes operator+(Lanes x) { return x; }
  friend OSTRA_LANE_INLINE Lanes operator~(Lanes x) { return {~x.a, ~x.b}; }
#define OSTRA_PAIR_OPERATOR(op, Result) \
  friend OSTRA_LANE_INLINE Result operator op(Lanes x, Lanes y) { return {x.a op y.a, x.b op y.b}; }
  OSTRA_PAIR_OPERATOR(+, Lanes)
  OSTRA_PAIR_OPERATOR(-, Lanes)
  OSTRA_PAIR_OPERATOR(*, Lanes)
  OSTRA_PAIR_OPERATOR(/, Lanes)
  OSTRA_PAIR_OPERATOR(&, Lanes)
  OSTRA_PAIR_OPERATOR(|, Lanes)
  OSTRA_PAIR_OPERATOR(^, Lanes)
  OSTRA_PAIR_OPERATOR(<, Mask)
  OSTRA_PAIR_OPERATOR(<=, Mask)
  OSTRA_PAIR_OPERATOR(>, Mask)
  OSTRA_PAIR_OPERATOR(>=, Mask)
  OSTRA_PAIR_OPERATOR(==, Mask)
  OSTRA_PAIR_OPERATOR(!=, Mask)
#undef OSTRA_PAIR_OPERATOR
};

template <class T>
OSTRA_LANE_INLINE Lanes<T> Select(Mask mask, Lanes<T> x, Lanes<T> y) {
  return {half::Select(mask.a, x.a, y.a), half::Select(mask.b, x.b, y.b)};
}
OSTRA_LANE_INLINE Mask Select(Mask mask, Mask x, Mask y) {
  return {half::Select(mask.a, x.a, y.a), half::Select(mask.b, x.b, y.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Increment(Mask mask, Lanes<T> x) {
  return {half::Increment(mask.a, x.a), half::Increment(mask.b, x.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Decrement(Mask mask, Lanes<T> x) {
  return {half::Decrement(mask.a, x.a), half::Decrement(mask.b, x.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> ShiftLeft(Lanes<T> x, Lanes<T> count) {
  return {half::ShiftLeft(x.a, count.a), half::ShiftLeft(x.b, count.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> ShiftRight(Lanes<T> x, Lanes<T> count) {
  return {half::ShiftRight(x.a, count.a), half::ShiftRight(x.b, count.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Divide(Lanes<T> x, Lanes<T> y, Mask mask) {
  return {half::Divide(x.a, y.a, mask.a), half::Divide(x.b, y.b, mask.b)};
}
template <class T>
OSTRA_LANE_INLINE Lanes<T> Remainder(Lanes<T> x, Lanes<T> y, Mask mask) {
  return {half::Remainder(x.a, y.a, mask.a), half::Remainder(x.b, y.b, mask.b)};
}
template <auto kDivisor, class T>
OSTRA_LANE_INLINE Lanes<T> DivideBy(Lanes<T> x) {
  return {half::DivideBy<kDivisor>(x.a), half::DivideBy<kDivisor>(x.b)};
}
template <auto kDivisor, class T>
OSTRA_LANE_INLINE Lanes<T> RemainderBy(Lanes<T> x) {
  return {half::RemainderBy<kDivisor>(x.a), half::RemainderBy<kDivisor>(x.b)};
}
template <class To, class From>
OSTRA_LANE_INLINE Lanes<To> Convert(Lanes<From> x) {
  return {half::Convert<To>(x.a), half::Convert<To>(x.b)};
}
template <class To>
OSTRA_LANE_INLINE Lanes<To> Convert(Mask x) {
  return {half::Convert<To>(x.a), half::Convert<To>(x.b)};
}

#define OSTRA_PAIR_UNARY(Result, T, name) \
  OSTRA_LANE_INLINE Result name(Lanes<T> x) { return {half::name(x.a), half::name(x.b)}; }
#define OSTRA_PAIR_BINARY(T, name) \
  OSTRA_LANE_INLINE Lanes<T> name(Lanes<T> x, Lanes<T> y) { return {half::name(x.a, y.a), half::name(x.b, y.b)}; }
#define OSTRA_PAIR_TERNARY(T, name)                                     \
  OSTRA_LANE_INLINE Lanes<T> name(Lanes<T> x, Lanes<T> y, Lanes<T> z) { \
    return {half::name(x.a, y.a, z.a), half::name(x.b, y.b, z.b)};      \
  }
#define OSTRA_PAIR_FUNCTION(name) OSTRA_PAIR_UNARY(Lanes<Float32>, Float32, name)
OSTRA_PAIR_FUNCTION(floor)
OSTRA_PAIR_FUNCTION(ceil)
OSTRA_PAIR_FUNCTION(trunc)
OSTRA_PAIR_FUNCTION(fract)
OSTRA_PAIR_FUNCTION(sqrt)
OSTRA_PAIR_FUNCTION(Sqrt)
OSTRA_PAIR_FUNCTION(inversesqrt)
OSTRA_PAIR_FUNCTION(abs)
OSTRA_PAIR_FUNCTION(sign)
OSTRA_PAIR_FUNCTION(radians)
OSTRA_PAIR_FUNCTION(degrees)
OSTRA_ELEMENTARY_UNARY(OSTRA_PAIR_FUNCTION)
#undef OSTRA_PAIR_FUNCTION
OSTRA_PAIR_UNARY(Lanes<Int32>, Int32, abs)
OSTRA_PAIR_UNARY(Lanes<Int32>, Int32, sign)
OSTRA_PAIR_UNARY(Mask, Float32, isnan)
OSTRA_PAIR_UNARY(Mask, Float32, isinf)
OSTRA_PAIR_UNARY(Lanes<UInt32>, Float32, floatBitsToUint)
OSTRA_PAIR_UNARY(Lanes<Int32>, Float32, floatBitsToInt)
OSTRA_PAIR_UNARY(Lanes<Float32>, UInt32, uintBitsToFloat)
OSTRA_PAIR_UNARY(Lanes<Float32>, Int32, intBitsToFloat)
#define OSTRA_PAIR_FUNCTION(name) OSTRA_PAIR_BINARY(Float32, name)
OSTRA_PAIR_FUNCTION(mod)
OSTRA_PAIR_FUNCTION(step)
OSTRA_ELEMENTARY_BINARY(OSTRA_PAIR_FUNCTION)
#undef OSTRA_PAIR_FUNCTION
#define OSTRA_PAIR_ORDER(T) \
  OSTRA_PAIR_BINARY(T, min) \
  OSTRA_PAIR_BINARY(T, max) \
  OSTRA_PAIR_TERNARY(T, clamp)
OSTRA_PAIR_ORDER(Float32)
OSTRA_PAIR_ORDER(Int32)
OSTRA_PAIR_ORDER(UInt32)
#undef OSTRA_PAIR_ORDER
OSTRA_PAIR_TERNARY(Float32, mix)
OSTRA_PAIR_TERNARY(Float32, smoothstep)
#undef OSTRA_PAIR_UNARY
#undef OSTRA_PAIR_BINARY
#undef OSTRA_PAIR_TERNARY

}  // namespace ostra::OSTRA_LANES

#include "ostra/math/lanes/vectors.inl"
//
#include "ostra/math/lanes/matrices.inl"

namespace ostra::OSTRA_LANES {

// How the halves of an element's lanes are joined, and had again.
template <class T>
struct Spread {
  using Lane = Lanes<T>;
  using Half = half::Lanes<T>;
  OSTRA_LANE_INLINE static Lane Join(const Half& x, const Half& y) { return {x, y}; }
  OSTRA_LANE_INLINE static Half First(const Lane& x) { return x.a; }
  OSTRA_LANE_INLINE static Half Second(const Lane& x) { return x.b; }
};
template <class T>
struct Spread<Vec2<T>> {
  using Lane = LaneVec2<T>;
  using Half = half::LaneVec2<T>;
  OSTRA_LANE_INLINE static Lane Join(const Half& x, const Half& y) { return {{x.x, y.x}, {x.y, y.y}}; }
  OSTRA_LANE_INLINE static Half First(const Lane& x) { return {x.x.a, x.y.a}; }
  OSTRA_LANE_INLINE static Half Second(const Lane& x) { return {x.x.b, x.y.b}; }
};
template <class T>
struct Spread<Vec3<T>> {
  using Lane = LaneVec3<T>;
  using Half = half::LaneVec3<T>;
  OSTRA_LANE_INLINE static Lane Join(const Half& x, const Half& y) {
    return {Lanes<T>{x.x, y.x}, Lanes<T>{x.y, y.y}, Lanes<T>{x.z, y.z}};
  }
  OSTRA_LANE_INLINE static Half First(const Lane& x) { return {x.x.a, x.y.a, x.z.a}; }
  OSTRA_LANE_INLINE static Half Second(const Lane& x) { return {x.x.b, x.y.b, x.z.b}; }
};
template <class T>
struct Spread<Vec4<T>> {
  using Lane = LaneVec4<T>;
  using Half = half::LaneVec4<T>;
  OSTRA_LANE_INLINE static Lane Join(const Half& x, const Half& y) {
    return {Lanes<T>{x.x, y.x}, Lanes<T>{x.y, y.y}, Lanes<T>{x.z, y.z}, Lanes<T>{x.w, y.w}};
  }
  OSTRA_LANE_INLINE static Half First(const Lane& x) { return {x.x.a, x.y.a, x.z.a, x.w.a}; }
  OSTRA_LANE_INLINE static Half Second(const Lane& x) { return {x.x.b, x.y.b, x.z.b, x.w.b}; }
};

template <class T, class Index>
OSTRA_LANE_INLINE typename Spread<T>::Lane Gather(const T* base, Lanes<Index> index, Mask mask) {
  return Spread<T>::Join(half::Gather(base, index.a, mask.a), half::Gather(base, index.b, mask.b));
}
template <class T, class Index>
OSTRA_LANE_INLINE void Scatter(T* base, Lanes<Index> index, const typename Spread<T>::Lane& lanes, Mask mask) {
  half::Scatter(base, index.a, Spread<T>::First(lanes), mask.a);
  half::Scatter(base, index.b, Spread<T>::Second(lanes), mask.b);
}

}  // namespace ostra::OSTRA_LANES

#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_PAIRS
#endif
