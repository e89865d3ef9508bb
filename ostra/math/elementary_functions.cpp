// The functions are computed in Float64, with operations that every processor has and rounds alike: no contraction, no
// table, no approximate reciprocal. A Float64 has 29 bits more than a result, so polynomials with an error of 2^-35 and
// a plain rounding to Float32 at the end do, and numbers below the normal range need no care. The text is that of
// elementary_forms.inl, once for a number and once for each number of lanes.
//
// The polynomials are minimax ones, found by the Remez algorithm; beside each stands its greatest error, relative to
// the function's value.
#include "ostra/math/elementary_functions.h"

#include <bit>
#include <cstring>
#include <limits>

namespace ostra::elementary {
namespace {

constexpr Float64 kInfinity = std::numeric_limits<Float64>::infinity();
constexpr Float64 kNaN = std::numeric_limits<Float64>::quiet_NaN();
constexpr Float64 kPi = 3.141592653589793;
constexpr UInt64 kSignBit = 0x8000000000000000u;

// Added, it moves the whole number next to a small Float64 into the lowest bits.
constexpr Float64 kToWhole = 6755399441055744.0;  // 1.5 * 2^52

// (2^x - 1) / x, x from -1/2 to 1/2; 2^-38.7
constexpr Float64 kExp2[] = {0.6931471805568318,    0.2402265069573741,    0.05550410906330572,
                             0.009618129183587587,  0.0013333478468261265, 0.00015403436504672624,
                             1.530370223128892e-05, 1.3259647187751292e-06};
// log2((1 + s) / (1 - s)) / s, in s * s, s from -0.172 to 0.172; 2^-45.1
constexpr Float64 kLog2[] = {2.88539008177785,   0.9617966941133053,  0.5770779423770301,
                             0.4122092510419658, 0.31990575525048076, 0.282899282703725};
// (sin(x) / x - 1) / (x * x), in x * x, x from -pi/4 to pi/4; 2^-35.7
constexpr Float64 kSin[] = {-0.16666666663860835, 0.008333331876327062, -0.00019840087433763818, 2.725000122312386e-06};
// (cos(x) - 1 + x * x / 2) / x^4, in x * x, x as before; 2^-39.5
constexpr Float64 kCos[] = {0.04166666666432517, -0.0013888887673172414, 2.4800600876272515e-05,
                            -2.7301013099927534e-07};
// (asin(x) / x - 1) / (x * x), in x * x, x from -1/2 to 1/2; 2^-42.2
constexpr Float64 kAsin[] = {0.1666666666674852,   0.07499999948327797,   0.04464291078331077,
                             0.030379806727258825, 0.022414601801669046,  0.016883989206392905,
                             0.016952697280463343, 0.0008489010850764366, 0.02856578452189198};
// (atan(x) / x - 1) / (x * x), in x * x, x from -tan(pi/8) to tan(pi/8); 2^-38.3
constexpr Float64 kAtan[] = {-0.33333333331568177, 0.1999999897045538,  -0.1428561611191236,  0.11107584403202585,
                             -0.09029984583705646, 0.07140501994061145, -0.040532674018695036};
constexpr Float64 kTanEighth = 0.41421356237309503;  // of pi
constexpr Float64 kTanThreeEighths = 2.414213562373095;

// pi / 2 in two parts; the first has 30 bits, so its products with whole numbers below 2^23 are exact.
constexpr Float64 kQuarterTurnHigh = 1.570796325802803, kQuarterTurnLow = 9.920935796805404e-10;
constexpr Float64 kQuarterTurnsPerUnit = 0.6366197723675814;
constexpr Float64 kLargeAngle = 8388608.0;  // 2^23

// What is left of an angle from 2^23 on after `quadrant` quarter turns, from -pi/4 to pi/4. For infinities NaN.
struct LargeAngle {
  Float64 rest;
  UInt64 quadrant;
};
LargeAngle ReduceLargeAngle(Float32 angle) {
  // 1 / (2 pi), bits behind the point.
  static constexpr UInt64 kTurnsPerUnit[] = {0x28be60db9391054a, 0x7f09d5f47d4d3770, 0x36d8a5664f10e410,
                                             0x7f9458eaf7aef158, 0x6dc91b8e909374b8};
  const UInt32 bits = std::bit_cast<UInt32>(angle);
  const UInt32 biased = bits >> 23 & 0xffu;
  if (biased == 0xffu) return {kNaN, 0};
  const UInt64 mantissa = (bits & 0x7fffffu) | 0x800000u;
  // The angle is mantissa * 2^exponent. Bits of 1 / (2 pi) in front of `exponent` give whole turns; of the others 128
  // make a fraction of a turn that is exact to 2^-104.
  const UInt32 exponent = biased - 150u;
  const UInt32 word = exponent / 64u, shift = exponent % 64u;
  UInt64 high = kTurnsPerUnit[word], low = kTurnsPerUnit[word + 1];
  if (shift != 0) {
    high = high << shift | low >> (64u - shift);
    low = low << shift | kTurnsPerUnit[word + 2] >> (64u - shift);
  }
  const UInt64 lowest = mantissa * (low & 0xffffffffu);
  const UInt64 middle = mantissa * (low >> 32) + (lowest >> 32);
  const UInt64 turn = mantissa * high + (middle >> 32);
  const UInt64 quadrant = (turn + (UInt64(1) << 61)) >> 62;
  const Float64 rest = (static_cast<Float64>(static_cast<Int64>(turn - (quadrant << 62))) +
                        static_cast<Float64>(middle << 32) * 0x1p-64) *
                       (2.0 * kPi * 0x1p-64);
  return bits >> 31 != 0 ? LargeAngle{-rest, 0u - quadrant} : LargeAngle{rest, quadrant};
}

}  // namespace
}  // namespace ostra::elementary

// The order matters.
// clang-format off
#define OSTRA_LANES one
#define OSTRA_LANE_COUNT 1
#define OSTRA_LANE_INLINE inline __attribute__((always_inline))
#include "ostra/math/elementary_forms.inl"
#undef OSTRA_LANES
#undef OSTRA_LANE_COUNT
#undef OSTRA_LANE_INLINE
#define OSTRA_LANE_LEVEL 0
#include "ostra/math/lanes/level_begin.inl"
#include "ostra/math/elementary_forms.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#ifdef __x86_64__
#define OSTRA_LANE_LEVEL 1
#include "ostra/math/lanes/level_begin.inl"
#include "ostra/math/elementary_forms.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#define OSTRA_LANE_LEVEL 2
#include "ostra/math/lanes/level_begin.inl"
#include "ostra/math/elementary_forms.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#endif
// clang-format on

namespace ostra::elementary {

#define OSTRA_FUNCTION(name) \
  Float32 name(Float32 x) noexcept { return static_cast<Float32>(one::function::name(x)); }
OSTRA_ELEMENTARY_UNARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION
#define OSTRA_FUNCTION(name) \
  Float32 name(Float32 x, Float32 y) noexcept { return static_cast<Float32>(one::function::name(x, y)); }
OSTRA_ELEMENTARY_BINARY(OSTRA_FUNCTION)
#undef OSTRA_FUNCTION

}  // namespace ostra::elementary
