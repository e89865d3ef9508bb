// Quotients and remainders of integers in lanes.

namespace ostra::OSTRA_LANES {

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

}  // namespace ostra::OSTRA_LANES
