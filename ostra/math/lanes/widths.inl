// Native vectors: the compilers' own, of kLaneCount numbers. Numbers of 8 and 16 bits are held as numbers of 32 bits,
// and half floats as their bits; they are widened where they are loaded and cut where they are stored.

namespace ostra::OSTRA_LANES {

inline constexpr int kLaneCount = OSTRA_LANE_COUNT;

template <class T>
struct NativeVector {
  typedef T Type __attribute__((vector_size(sizeof(T) * kLaneCount)));
};
template <class T>
using Native = typename NativeVector<T>::Type;

// A vector whose lanes are all ones where a comparison of lanes of T holds, else all zeros.
template <class T>
using NativeCondition = Native<std::conditional_t<sizeof(T) == sizeof(Int64), Int64,
                                                  std::conditional_t<sizeof(T) == sizeof(Int16), Int16, Int32>>>;

template <class T>
inline constexpr Bool kIsSmallInteger = std::is_integral_v<T> && sizeof(T) < sizeof(Int32);

// The numbers of the vector in which numbers of the type T are held. The instructions that convert half floats take
// them side by side.
#if OSTRA_LANE_LEVEL == 0
using HalfBits = Int32;
#else
using HalfBits = Int16;
#endif
template <class T>
using Held =
    std::conditional_t<kIsSmallInteger<T>, Int32, std::conditional_t<std::is_same_v<T, HalfFloat>, HalfBits, T>>;

namespace internal {

// A vector anywhere in memory. As a vector of its own: what memcpy copies, GCC keeps in memory where ways meet.
template <class T>
struct UnalignedVector {
  typedef T Type __attribute__((vector_size(sizeof(T) * kLaneCount), aligned(alignof(T)), may_alias));
};
template <class T>
OSTRA_LANE_INLINE Native<T> LoadNative(const void* from) {
  return *static_cast<const typename UnalignedVector<T>::Type*>(from);
}
template <class T>
OSTRA_LANE_INLINE void StoreNative(void* to, Native<T> vector) {
  *static_cast<typename UnalignedVector<T>::Type*>(to) = vector;
}

#ifdef __x86_64__
// GCC 12 takes vectors of 64 bits and less apart: these have 128.
typedef Int8 Bytes16 __attribute__((vector_size(16)));
typedef Int16 Shorts8 __attribute__((vector_size(16)));
typedef Int32 Ints4 __attribute__((vector_size(16)));
typedef Int64 Longs2 __attribute__((vector_size(16)));

template <class T>
OSTRA_LANE_INLINE T LoadScalar(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  return value;
}
template <class T>
OSTRA_LANE_INLINE void StoreScalar(void* to, T value) {
  std::memcpy(to, &value, sizeof(T));
}
#endif

// kLaneCount numbers of 8 or 16 bits from `from` on.
template <class T>
OSTRA_LANE_INLINE Native<Int32> LoadWidened(const void* from) {
#if defined(__x86_64__) && OSTRA_LANE_LEVEL == 0
  // Each number as often as there is place for it; then the copies are shifted out.
  using Shifted = Native<std::conditional_t<std::is_signed_v<T>, Int32, UInt32>>;
  if constexpr (sizeof(T) == sizeof(Int16)) {
    const auto shorts = reinterpret_cast<Shorts8>(Longs2{LoadScalar<Int64>(from), 0});
    const auto pairs = reinterpret_cast<Shifted>(__builtin_shufflevector(shorts, shorts, 0, 0, 1, 1, 2, 2, 3, 3));
    return reinterpret_cast<Native<Int32>>(pairs >> 16);
  } else {
    const auto bytes = reinterpret_cast<Bytes16>(Ints4{LoadScalar<Int32>(from), 0, 0, 0});
    const auto pairs = reinterpret_cast<Shorts8>(
        __builtin_shufflevector(bytes, bytes, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7));
    const auto fours = reinterpret_cast<Shifted>(__builtin_shufflevector(pairs, pairs, 0, 0, 1, 1, 2, 2, 3, 3));
    return reinterpret_cast<Native<Int32>>(fours >> 24);
  }
#elif OSTRA_LANE_LEVEL == 1 && !defined(__clang__)
  typedef char Chars16 __attribute__((vector_size(16)));
  if constexpr (sizeof(T) == sizeof(Int16)) {
    const Shorts8 shorts = LoadNative<Int16>(from);
    return std::is_signed_v<T> ? __builtin_ia32_pmovsxwd256(shorts) : __builtin_ia32_pmovzxwd256(shorts);
  } else {
    const auto bytes = reinterpret_cast<Chars16>(Longs2{LoadScalar<Int64>(from), 0});
    return std::is_signed_v<T> ? __builtin_ia32_pmovsxbd256(bytes) : __builtin_ia32_pmovzxbd256(bytes);
  }
#else
  return __builtin_convertvector(LoadNative<T>(from), Native<Int32>);
#endif
}

#if defined(__x86_64__) && OSTRA_LANE_LEVEL < 2
// Numbers of 16 bits side by side.
OSTRA_LANE_INLINE Shorts8 PackShorts(Native<Int32> numbers) {
#if OSTRA_LANE_LEVEL == 0
  return reinterpret_cast<Shorts8>(__builtin_ia32_packssdw128(numbers, numbers));
#else
  const Ints4 low = __builtin_shufflevector(numbers, numbers, 0, 1, 2, 3);
  const Ints4 high = __builtin_shufflevector(numbers, numbers, 4, 5, 6, 7);
  return reinterpret_cast<Shorts8>(__builtin_ia32_packssdw128(low, high));
#endif
}
#endif

// Stores the lower bits of each number.
template <class T>
OSTRA_LANE_INLINE void StoreCut(void* to, Native<Int32> numbers) {
#if defined(__x86_64__) && OSTRA_LANE_LEVEL < 2
  // The instructions keep numbers within bounds: those that they get are.
  if constexpr (sizeof(T) == sizeof(Int16)) {
    const Shorts8 shorts = PackShorts(numbers << 16 >> 16);
#if OSTRA_LANE_LEVEL == 0
    StoreScalar(to, reinterpret_cast<Longs2>(shorts)[0]);
#else
    StoreNative<Int16>(to, shorts);
#endif
  } else {
    const Shorts8 shorts = PackShorts(numbers & 0xff);
    const auto bytes = __builtin_ia32_packuswb128(shorts, shorts);
#if OSTRA_LANE_LEVEL == 0
    StoreScalar(to, reinterpret_cast<Ints4>(bytes)[0]);
#else
    StoreScalar(to, reinterpret_cast<Longs2>(bytes)[0]);
#endif
  }
#else
  StoreNative<T>(to, __builtin_convertvector(numbers, Native<T>));
#endif
}

// Bits of half floats as they are held.
OSTRA_LANE_INLINE Native<HalfBits> HoldHalves(Native<Int32> bits) {
#if OSTRA_LANE_LEVEL == 0
  return bits;
#elif OSTRA_LANE_LEVEL == 1
  return PackShorts(bits << 16 >> 16);
#else
  return __builtin_convertvector(bits, Native<HalfBits>);
#endif
}

// kLaneCount numbers of the type T as they are held.
template <class T>
OSTRA_LANE_INLINE Native<Held<T>> LoadHeld(const void* from) {
  if constexpr (kIsSmallInteger<T>)
    return LoadWidened<T>(from);
  else if constexpr (sizeof(Held<T>) == sizeof(T))
    return LoadNative<Held<T>>(from);
  else
    return LoadWidened<UInt16>(from);
}
template <class T>
OSTRA_LANE_INLINE void StoreHeld(void* to, Native<Held<T>> numbers) {
  if constexpr (kIsSmallInteger<T>)
    StoreCut<T>(to, numbers);
  else if constexpr (sizeof(Held<T>) == sizeof(T))
    StoreNative<Held<T>>(to, numbers);
  else
    StoreCut<UInt16>(to, numbers);
}

}  // namespace internal
}  // namespace ostra::OSTRA_LANES
