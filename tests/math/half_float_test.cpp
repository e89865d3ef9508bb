// HalfFloat against the definition of the format, computed in Float64 with the C library.
#include "ostra/math/half_float.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace ostra {
namespace {

constexpr UInt32 kInfinity = 0x7c00;

// The value of a finite half: mantissa times a power of two.
Float64 GetDefinedValue(UInt32 bits) {
  const UInt32 exponent = (bits >> 10) & 31u, mantissa = bits & 1023u;
  const Float64 value =
      exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024 + mantissa, static_cast<int>(exponent) - 25);
  return bits & 0x8000u ? -value : value;
}

// The half nearest to a non-negative finite number, ties to the even one; 65536 counts as the neighbour of the largest.
UInt32 FindNearest(Float64 value) {
  static const std::vector<Float64> values = [] {
    std::vector<Float64> made;
    for (UInt32 bits = 0; bits < kInfinity; ++bits) made.push_back(GetDefinedValue(bits));
    made.push_back(65536.0);
    return made;
  }();
  const auto above = std::lower_bound(values.begin(), values.end(), value);
  if (above == values.end()) return kInfinity;
  const UInt32 high = static_cast<UInt32>(above - values.begin());
  if (*above == value) return high;
  const Float64 toHigh = *above - value, toLow = value - values[high - 1];
  if (toHigh != toLow) return toHigh < toLow ? high : high - 1;
  return high % 2 == 0 ? high : high - 1;
}

TEST(HalfFloatTest, EveryFiniteHalfWidensToItsExactValue) {
  for (UInt32 bits = 0; bits < 65536; ++bits) {
    if ((bits & kInfinity) == kInfinity) continue;
    const Float32 widened = HalfFloat::FromBits(static_cast<UInt16>(bits));
    ASSERT_EQ(static_cast<Float64>(widened), GetDefinedValue(bits)) << bits;
    ASSERT_EQ(std::signbit(widened), (bits & 0x8000u) != 0) << bits;
  }
}

TEST(HalfFloatTest, InfinitiesAndNansWidenToTheirLikeWithTheirPayload) {
  for (UInt32 bits = 0; bits < 65536; ++bits) {
    if ((bits & kInfinity) != kInfinity) continue;
    const Float32 widened = HalfFloat::FromBits(static_cast<UInt16>(bits));
    ASSERT_EQ(std::bit_cast<UInt32>(widened), (bits & 0x8000u) << 16 | 0x7f800000u | (bits & 1023u) << 13) << bits;
  }
}

TEST(HalfFloatTest, WideningAndNarrowingGivesTheSameHalf) {
  for (UInt32 bits = 0; bits < 65536; ++bits) {
    const HalfFloat half = HalfFloat::FromBits(static_cast<UInt16>(bits));
    const Bool isNan = (bits & 0x7fffu) > kInfinity;
    const UInt32 quiet = isNan ? 0x200u : 0u;
    ASSERT_EQ(HalfFloat(static_cast<Float32>(half)).GetBits(), bits | quiet) << bits;
  }
}

TEST(HalfFloatTest, NumbersAtAndBesideEveryTieRoundToTheNearestHalf) {
  for (UInt32 bits = 0; bits < kInfinity; ++bits) {
    const Float64 next = bits + 1 == kInfinity ? 65536.0 : GetDefinedValue(bits + 1);
    const Float32 tie = static_cast<Float32>((GetDefinedValue(bits) + next) / 2);
    for (const Float32 value : {std::nextafter(tie, 0.0f), tie, std::nextafter(tie, 1e9f)}) {
      ASSERT_EQ(HalfFloat(value).GetBits(), FindNearest(value)) << value;
      ASSERT_EQ(HalfFloat(-value).GetBits(), FindNearest(value) | 0x8000u) << value;
    }
  }
}

TEST(HalfFloatTest, NumbersOfAnySizeRoundToTheNearestHalf) {
  std::mt19937 random(7);
  for (int i = 0; i < 200000; ++i) {
    const Float32 value = std::bit_cast<Float32>(static_cast<UInt32>(random()) & 0x7fffffffu);
    if (!std::isfinite(value)) continue;
    ASSERT_EQ(HalfFloat(value).GetBits(), FindNearest(value)) << value;
  }
}

TEST(HalfFloatTest, VectorsOfHalvesConvertComponentByComponent) {
  const Vec3<HalfFloat> halves(Vec3<Float32>(1.5f, -0.25f, 70000.0f));
  const Vec3<Float32> widened(halves);
  EXPECT_EQ(widened.x, 1.5f);
  EXPECT_EQ(widened.y, -0.25f);
  EXPECT_TRUE(std::isinf(widened.z));
}

}  // namespace
}  // namespace ostra
