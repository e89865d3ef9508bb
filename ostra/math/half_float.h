// HalfFloat: a 16-bit floating-point number (1 sign, 5 exponent, 10 mantissa bits) for storage.
//
//   HalfFloat stored(0.1f);        // rounds to the nearest half, ties to the even one
//   Float32 value = stored;        // exact
//
// Arithmetic happens in Float32. Values from 65520 on become infinity; a NaN stays a NaN and keeps its sign and the
// upper bits of its payload. The conversions do not depend on how the processor treats subnormal numbers.
#pragma once

#include <bit>

#include "ostra/math/vector.h"

namespace ostra {

class HalfFloat {
 public:
  HalfFloat() = default;
  constexpr explicit HalfFloat(Float32 value) : _bits(Narrow(std::bit_cast<UInt32>(value))) {}

  static constexpr HalfFloat FromBits(UInt16 bits) {
    HalfFloat half(0.0f);
    half._bits = bits;
    return half;
  }
  constexpr UInt16 GetBits() const { return _bits; }

  constexpr operator Float32() const {
    return std::bit_cast<Float32>(Widen(_bits));
  }  // NOLINT(google-explicit-constructor)

 private:
  static constexpr UInt32 kFloatInfinity = 0x7f800000u;
  static constexpr UInt32 kSmallestNormalHalf = 113u << 23;  // 2^-14 as a Float32
  static constexpr UInt32 kRebias = (127u - 15u) << 23;      // between the exponents of the two formats

  static constexpr UInt32 Widen(UInt32 half) {
    const UInt32 sign = (half & 0x8000u) << 16;
    const UInt32 shifted = (half & 0x7fffu) << 13;
    if (shifted >= 0x1fu << 23) return sign | kFloatInfinity | shifted;
    if (shifted >= 1u << 23) return sign | (shifted + kRebias);
    // A subnormal half: as the mantissa of a number with a known exponent it is normal, and the difference is exact.
    const Float32 offset = std::bit_cast<Float32>(kSmallestNormalHalf);
    return sign | std::bit_cast<UInt32>(std::bit_cast<Float32>(kSmallestNormalHalf | shifted) - offset);
  }

  static constexpr UInt16 Narrow(UInt32 bits) {
    const UInt32 sign = (bits >> 16) & 0x8000u;
    const UInt32 magnitude = bits & 0x7fffffffu;
    if (magnitude > kFloatInfinity) return static_cast<UInt16>(sign | 0x7e00u | ((magnitude >> 13) & 0x3ffu));
    if (magnitude >= 143u << 23) return static_cast<UInt16>(sign | 0x7c00u);  // 65536 and above
    if (magnitude < kSmallestNormalHalf) return static_cast<UInt16>(sign | NarrowSubnormal(magnitude));
    // The carry of the rounding may run into the exponent: that is the next power of two, or infinity.
    const UInt32 rounded = magnitude + 0x0fffu + ((magnitude >> 13) & 1u);
    return static_cast<UInt16>(sign | ((rounded - kRebias) >> 13));
  }

  // Below 2^-14: a multiple of 2^-24, found with integers because the processor may flush subnormal numbers.
  static constexpr UInt32 NarrowSubnormal(UInt32 magnitude) {
    const UInt32 exponent = magnitude >> 23;
    if (exponent < 102u) return 0u;  // at most half of the smallest half: rounds to the even zero
    const UInt32 mantissa = (magnitude & 0x7fffffu) | 0x800000u;
    const UInt32 shift = 126u - exponent;  // 14 ... 24
    const UInt32 quotient = mantissa >> shift;
    const UInt32 rest = mantissa & ((1u << shift) - 1u);
    const UInt32 tie = 1u << (shift - 1u);
    return quotient + ((rest > tie || (rest == tie && (quotient & 1u))) ? 1u : 0u);
  }

  UInt16 _bits;
};

static_assert(kIsTightVector<HalfFloat, UInt16, 1>);
static_assert(kIsTightVector<Vec2<HalfFloat>, UInt16, 2> && kIsTightVector<Vec3<HalfFloat>, UInt16, 3> &&
              kIsTightVector<Vec4<HalfFloat>, UInt16, 4>);

}  // namespace ostra
