// Mask: a condition for each of kLaneCount invocations.
//
// A mask is held as the processor holds it: with AVX-512 one bit for each lane, in a register for masks, else a vector
// whose lanes are all ones or all zeros. There is no && and ||: `&` and `|` compute both sides.

namespace ostra::OSTRA_LANES {

inline constexpr UInt32 kAllBits = (1u << kLaneCount) - 1u;

enum class Relation { kLess, kLessOrEqual, kGreater, kGreaterOrEqual, kEqual, kNotEqual };

namespace internal {

template <Relation relation, class T>
OSTRA_LANE_INLINE auto CompareVectors(T a, T b) {
  if constexpr (relation == Relation::kLess)
    return a < b;
  else if constexpr (relation == Relation::kLessOrEqual)
    return a <= b;
  else if constexpr (relation == Relation::kGreater)
    return a > b;
  else if constexpr (relation == Relation::kGreaterOrEqual)
    return a >= b;
  else if constexpr (relation == Relation::kEqual)
    return a == b;
  else
    return a != b;
}

#if OSTRA_LANE_LEVEL == 2
// How the instructions that compare number the relations of floats and of integers.
constexpr int kFloatRelations[] = {1, 2, 14, 13, 0, 4}, kIntegerRelations[] = {1, 2, 6, 5, 0, 4};
#endif

}  // namespace internal

#if OSTRA_LANE_LEVEL == 2
struct Mask {
  using Element = Bool;

  UInt16 bits;

  Mask() = default;
  OSTRA_LANE_INLINE Mask(Bool all) : bits(static_cast<UInt16>(-static_cast<Int32>(all))) {}
  OSTRA_LANE_INLINE static Mask MakeOfBits(UInt32 bits) {
    Mask mask;
    mask.bits = static_cast<UInt16>(bits);
    return mask;
  }
  // Of a vector whose lanes are all ones or all zeros.
  template <class Condition>
  OSTRA_LANE_INLINE static Mask Make(Condition condition) {
    if constexpr (sizeof(condition) == sizeof(Native<Int32>))
      return MakeOfBits(__builtin_ia32_cvtd2mask512(reinterpret_cast<Native<Int32>>(condition)));
    else
      return MakeOfBits(__builtin_ia32_cvtd2mask512(__builtin_convertvector(condition, Native<Int32>)));
  }
  template <Relation relation, class T>
  OSTRA_LANE_INLINE static Mask Compare(T a, T b) {
    using Element = std::remove_cvref_t<decltype(a[0])>;
    constexpr int kNumber =
        (std::is_floating_point_v<Element> ? internal::kFloatRelations
                                           : internal::kIntegerRelations)[static_cast<int>(relation)];
    if constexpr (sizeof(Element) != sizeof(Int32)) {
      return Make(internal::CompareVectors<relation>(a, b));
    } else if constexpr (std::is_floating_point_v<Element>) {
      return MakeOfBits(__builtin_ia32_cmpps512_mask(a, b, kNumber, UInt16(0xffff), 4));
    } else if constexpr (Element(-1) > Element(0)) {
      return MakeOfBits(__builtin_ia32_ucmpd512_mask(reinterpret_cast<Native<Int32>>(a),
                                                     reinterpret_cast<Native<Int32>>(b), kNumber, UInt16(0xffff)));
    } else {
      return MakeOfBits(__builtin_ia32_cmpd512_mask(a, b, kNumber, UInt16(0xffff)));
    }
  }
  // As wide as elements of T.
  template <class T>
  OSTRA_LANE_INLINE NativeCondition<T> As() const {
    const Native<Int32> lanes = __builtin_ia32_cvtmask2d512(bits);
    if constexpr (sizeof(T) == sizeof(Int32))
      return lanes;
    else
      return __builtin_convertvector(lanes, NativeCondition<T>);
  }
  // `a` where the mask holds, `b` elsewhere.
  template <class T>
  OSTRA_LANE_INLINE T Choose(T a, T b) const {
    using Element = std::remove_cvref_t<decltype(a[0])>;
    if constexpr (sizeof(Element) != sizeof(Int32)) {
      return As<Element>() ? a : b;
#ifdef __clang__
    } else if constexpr (std::is_floating_point_v<Element>) {
      return __builtin_ia32_selectps_512(bits, a, b);
    } else {
      return reinterpret_cast<T>(
          __builtin_ia32_selectd_512(bits, reinterpret_cast<Native<Int32>>(a), reinterpret_cast<Native<Int32>>(b)));
#else
    } else if constexpr (std::is_floating_point_v<Element>) {
      return __builtin_ia32_blendmps_512_mask(b, a, bits);
    } else {
      return reinterpret_cast<T>(__builtin_ia32_blendmd_512_mask(reinterpret_cast<Native<Int32>>(b),
                                                                 reinterpret_cast<Native<Int32>>(a), bits));
#endif
    }
  }

  OSTRA_LANE_INLINE Bool Get(int lane) const { return (bits >> lane & 1) != 0; }
  OSTRA_LANE_INLINE void Set(int lane, Bool value) {
    bits = static_cast<UInt16>((bits & ~(1u << lane)) | static_cast<UInt32>(value) << lane);
  }

  friend OSTRA_LANE_INLINE Mask operator&(Mask a, Mask b) { return Keep(a.bits & b.bits); }
  friend OSTRA_LANE_INLINE Mask operator|(Mask a, Mask b) { return Keep(a.bits | b.bits); }
  friend OSTRA_LANE_INLINE Mask operator^(Mask a, Mask b) { return Keep(a.bits ^ b.bits); }
  friend OSTRA_LANE_INLINE Mask operator!(Mask a) { return Keep(~a.bits); }
  friend OSTRA_LANE_INLINE Mask operator==(Mask a, Mask b) { return !(a ^ b); }
  friend OSTRA_LANE_INLINE Mask operator!=(Mask a, Mask b) { return a ^ b; }

 private:
  // GCC would compute with such bits where it computes with integers: the way there and back takes longer than what a
  // loop waits for otherwise.
  OSTRA_LANE_INLINE static Mask Keep(UInt32 bits) {
    Mask mask = MakeOfBits(bits);
#ifndef __clang__
    if (!__builtin_constant_p(mask.bits)) __asm__("" : "+k"(mask.bits));
#endif
    return mask;
  }
};

// Bit i of the result is lane i.
OSTRA_LANE_INLINE UInt32 GetBits(Mask mask) { return mask.bits; }
#else
struct Mask {
  using Element = Bool;

  Native<Int32> v;  // -1 or 0

  Mask() = default;
  OSTRA_LANE_INLINE Mask(Bool all) : v(static_cast<Int32>(-static_cast<Int32>(all)) - Native<Int32>{}) {}

  // Of a vector whose lanes are all ones or all zeros.
  template <class Condition>
  OSTRA_LANE_INLINE static Mask Make(Condition condition) {
    Mask mask;
    if constexpr (sizeof(condition) == sizeof(mask.v))
      mask.v = reinterpret_cast<Native<Int32>>(condition);
    else
      mask.v = __builtin_convertvector(condition, Native<Int32>);
    return mask;
  }
  template <Relation relation, class T>
  OSTRA_LANE_INLINE static Mask Compare(T a, T b) {
    return Make(internal::CompareVectors<relation>(a, b));
  }
  // As wide as elements of T.
  template <class T>
  OSTRA_LANE_INLINE NativeCondition<T> As() const {
    if constexpr (sizeof(T) == sizeof(Int32)) return v;
#if OSTRA_LANE_LEVEL == 1
    else if constexpr (sizeof(T) == sizeof(Int16))
      return internal::PackShorts(v);
#endif
    else
      return __builtin_convertvector(v, NativeCondition<T>);
  }
  // `a` where the mask holds, `b` elsewhere.
  template <class T>
  OSTRA_LANE_INLINE T Choose(T a, T b) const {
    using Element = std::remove_cvref_t<decltype(a[0])>;
#if OSTRA_LANE_LEVEL == 1 && !defined(__clang__)
    // GCC 12 would compare the mask with 0 first.
    if constexpr (sizeof(Element) == sizeof(Int32))
      return reinterpret_cast<T>(__builtin_ia32_blendvps256(reinterpret_cast<Native<Float32>>(b),
                                                            reinterpret_cast<Native<Float32>>(a),
                                                            reinterpret_cast<Native<Float32>>(v)));
    else
#endif
      return As<Element>() ? a : b;
  }

  OSTRA_LANE_INLINE Bool Get(int lane) const { return v[lane] != 0; }
  OSTRA_LANE_INLINE void Set(int lane, Bool value) { v[lane] = -static_cast<Int32>(value); }

  friend OSTRA_LANE_INLINE Mask operator&(Mask a, Mask b) { return Make(a.v & b.v); }
  friend OSTRA_LANE_INLINE Mask operator|(Mask a, Mask b) { return Make(a.v | b.v); }
  friend OSTRA_LANE_INLINE Mask operator^(Mask a, Mask b) { return Make(a.v ^ b.v); }
  friend OSTRA_LANE_INLINE Mask operator!(Mask a) { return Make(~a.v); }
  friend OSTRA_LANE_INLINE Mask operator==(Mask a, Mask b) { return Make(a.v == b.v); }
  friend OSTRA_LANE_INLINE Mask operator!=(Mask a, Mask b) { return Make(a.v != b.v); }
};

// Bit i of the result is lane i.
OSTRA_LANE_INLINE UInt32 GetBits(Mask mask) {
#if !defined(__x86_64__)
  UInt32 bits = 0;
  for (int i = 0; i < kLaneCount; ++i) bits |= static_cast<UInt32>(mask.v[i] & 1) << i;
  return bits;
#elif OSTRA_LANE_LEVEL == 0
  return static_cast<UInt32>(__builtin_ia32_movmskps(reinterpret_cast<Native<Float32>>(mask.v)));
#else
  return static_cast<UInt32>(__builtin_ia32_movmskps256(reinterpret_cast<Native<Float32>>(mask.v)));
#endif
}
#endif

// Where `a` holds and `b` does not.
OSTRA_LANE_INLINE Mask AndNot(Mask a, Mask b) { return a & !b; }

OSTRA_LANE_INLINE Bool Any(Mask mask) { return GetBits(mask) != 0; }
OSTRA_LANE_INLINE Bool All(Mask mask) { return GetBits(mask) == kAllBits; }
OSTRA_LANE_INLINE Bool None(Mask mask) { return GetBits(mask) == 0; }

}  // namespace ostra::OSTRA_LANES
