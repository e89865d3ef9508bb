// The vocabulary's functions of Float64: nothing is rounded to 32 bits on the way.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "ostra/math/vocabulary.h"

namespace ostra {
namespace {

namespace words = vocabulary;
using vocabulary::half;
using vocabulary::vec2;
using vocabulary::vec3;
using DoubleVector = Vec3<Float64>;

struct Function {
  const char* name;
  std::function<Float64(Float64)> tested, reference;
  Float64 low, high;
  Float64 tolerance;  // in last places of the reference
};

#define OSTRA_FUNCTION(name) #name, [](Float64 x) { return words::name(x); }, [](Float64 x) { return std::name(x); }

const Function kFunctions[] = {
    {OSTRA_FUNCTION(abs), -9, 9, 0},
    {OSTRA_FUNCTION(floor), -1e12, 1e12, 0},
    {OSTRA_FUNCTION(ceil), -1e12, 1e12, 0},
    {OSTRA_FUNCTION(trunc), -1e12, 1e12, 0},
    {"fract", [](Float64 x) { return words::fract(x); }, [](Float64 x) { return x - std::floor(x); }, -1e6, 1e6, 0},
    {"sign", [](Float64 x) { return words::sign(x * 1e-300); }, [](Float64 x) { return x > 0 ? 1.0 : -1.0; }, -1, 1, 0},
    {OSTRA_FUNCTION(sqrt), 0, 1e300, 0},
    {"Sqrt", [](Float64 x) { return words::Sqrt(x); }, [](Float64 x) { return std::sqrt(x); }, 0, 1e300, 0},
    {"inversesqrt", [](Float64 x) { return words::inversesqrt(x); }, [](Float64 x) { return 1 / std::sqrt(x); }, 1e-9,
     1e9, 1},
    {OSTRA_FUNCTION(exp), -300, 300, 1},
    {OSTRA_FUNCTION(exp2), -300, 300, 1},
    {OSTRA_FUNCTION(log), 1e-6, 1e6, 1},
    {OSTRA_FUNCTION(log2), 1e-6, 1e6, 1},
    {OSTRA_FUNCTION(sin), -50, 50, 1},
    {OSTRA_FUNCTION(cos), -50, 50, 1},
    {OSTRA_FUNCTION(tan), -1.5, 1.5, 1},
    {OSTRA_FUNCTION(asin), -1, 1, 1},
    {OSTRA_FUNCTION(acos), -1, 1, 1},
    {OSTRA_FUNCTION(atan), -50, 50, 1},
    {"radians", [](Float64 x) { return words::radians(x); }, [](Float64 x) { return x * M_PI / 180; }, -720, 720, 2},
    {"degrees", [](Float64 x) { return words::degrees(x); }, [](Float64 x) { return x * 180 / M_PI; }, -20, 20, 2},
};

class Float64FunctionTest : public testing::TestWithParam<Function> {};

TEST_P(Float64FunctionTest, KeepsAllDigits) {
  const Function& function = GetParam();
  std::mt19937_64 random(3);
  std::uniform_real_distribution<Float64> values(function.low, function.high);
  for (int i = 0; i < 1000; ++i) {
    const Float64 x = values(random);
    const Float64 expected = function.reference(x);
    const Float64 lastPlace = std::nextafter(std::fabs(expected), 1e308) - std::fabs(expected);
    EXPECT_NEAR(function.tested(x), expected, function.tolerance * lastPlace) << "at " << x;
  }
}

INSTANTIATE_TEST_SUITE_P(Functions, Float64FunctionTest, testing::ValuesIn(kFunctions),
                         [](const auto& test) { return std::string(test.param.name); });

constexpr Float64 kThird = 1.0 / 3.0, kHuge = 1e300;

TEST(Float64FunctionsTest, FunctionsOfSeveralNumbersKeepAllDigits) {
  EXPECT_EQ(words::min(kThird, 0.5), kThird);
  EXPECT_EQ(words::max(kThird, 0.25), kThird);
  EXPECT_EQ(words::clamp(kHuge, 0.0, 1e301), kHuge);
  EXPECT_EQ(words::mod(7 + kThird, 2.0), 7 + kThird - 2.0 * 3);
  EXPECT_EQ(words::mix(kThird, kHuge, 0.0), kThird);
  EXPECT_EQ(words::step(kThird, kThird - 1e-15), 0.0);
  EXPECT_EQ(words::step(kThird, kThird), 1.0);
  EXPECT_EQ(words::smoothstep(0.0, 1.0, kThird), kThird * kThird * (3.0 - 2.0 * kThird));
  EXPECT_EQ(words::pow(kThird, 3.0), std::pow(kThird, 3.0));
  EXPECT_EQ(words::atan(kThird, -1.0), std::atan2(kThird, -1.0));
  EXPECT_FALSE(words::isinf(kHuge));
  EXPECT_TRUE(words::isinf(kHuge * kHuge));
  EXPECT_TRUE(words::isnan(std::numeric_limits<Float64>::quiet_NaN()));
}

TEST(Float64FunctionsTest, OneArgumentOfFloat64MakesAllOfThem) {
  static_assert(std::is_same_v<decltype(words::max(kThird, 1.0f)), Float64>);
  static_assert(std::is_same_v<decltype(words::mix(1.0f, 2, kThird)), Float64>);
  static_assert(std::is_same_v<decltype(words::mix(vec3(), vec3(), kThird)), DoubleVector>);
  EXPECT_EQ(words::max(kThird, 0), kThird);
  EXPECT_EQ(words::max(half(0.25f), kThird), kThird);
  EXPECT_EQ(words::mix(0.0f, 1, kThird), kThird);
  EXPECT_EQ(words::mix(vec3(0, 3, 6), vec3(1, 3, 6), kThird).x, kThird);
  EXPECT_EQ(words::dot(vec2(1, 0), Vec2<Float64>(kThird, 0)), kThird);
}

TEST(Float64FunctionsTest, OtherArgumentsKeepTheirFunctions) {
  static_assert(std::is_same_v<decltype(words::sqrt(2.0f)), Float32>);
  static_assert(std::is_same_v<decltype(words::sqrt(2)), Float32>);
  static_assert(std::is_same_v<decltype(words::sqrt(half(2.0f))), Float32>);
  static_assert(std::is_same_v<decltype(words::pow(2.0f, 3)), Float32>);
  static_assert(std::is_same_v<decltype(words::max(2u, 3u)), UInt32>);
  static_assert(std::is_same_v<decltype(words::abs(-2)), Int32>);
  static_assert(std::is_same_v<decltype(words::floor(vec3())), vec3>);
  EXPECT_EQ(words::sqrt(4), 2.0f);
}

TEST(Float64FunctionsTest, VectorsKeepAllDigits) {
  const DoubleVector a(kThird, -kThird, kHuge), b(1, 2, 3);
  EXPECT_EQ(words::abs(a), DoubleVector(kThird, kThird, kHuge));
  EXPECT_EQ(words::floor(a), DoubleVector(0, -1, kHuge));
  EXPECT_EQ(words::sqrt(b), DoubleVector(1, std::sqrt(2.0), std::sqrt(3.0)));
  EXPECT_EQ(words::max(a, 0.0), DoubleVector(kThird, 0, kHuge));
  EXPECT_EQ(words::clamp(a, 0.0, 1.0), DoubleVector(kThird, 0, 1));
  EXPECT_EQ(words::step(kThird, b * kThird), DoubleVector(1, 1, 1));
  EXPECT_EQ(words::length(b), std::sqrt(14.0));
  EXPECT_EQ(words::distance(b, b * 2.0), std::sqrt(14.0));
  EXPECT_EQ(words::dot(b, DoubleVector(kThird, 0, 0)), kThird);
  EXPECT_EQ(words::cross(DoubleVector(kThird, 0, 0), DoubleVector(0, 1, 0)), DoubleVector(0, 0, kThird));
  EXPECT_NEAR(words::length(words::normalize(b)), 1.0, 3e-16);
  EXPECT_EQ(words::reflect(DoubleVector(kThird, 1, 0), DoubleVector(0, 1, 0)), DoubleVector(kThird, -1, 0));
}

// True when `name` can be called with the arguments.
#define OSTRA_TEST_IS_CALLABLE(name)                  \
  template <class... Values>                          \
  concept Calls_##name = requires(Values... values) { \
    words::name(values...);                           \
  };
OSTRA_TEST_IS_CALLABLE(mul)
OSTRA_TEST_IS_CALLABLE(min)
OSTRA_TEST_IS_CALLABLE(mod)
OSTRA_TEST_IS_CALLABLE(pow)
OSTRA_TEST_IS_CALLABLE(floor)
OSTRA_TEST_IS_CALLABLE(floatBitsToUint)

// These would lose digits, and no compiler would warn.
TEST(Float64FunctionsTest, WhatHasNoFormOf64BitsIsNoFunction) {
  static_assert(Calls_mul<SquareMatrix32, vec3> && !Calls_mul<SquareMatrix32, DoubleVector>);
  static_assert(Calls_min<Int32, Int32> && !Calls_min<Int64, Int32> && !Calls_min<UInt64, UInt64>);
  static_assert(Calls_mod<Int32, Int32> && !Calls_mod<UInt64, UInt64>);
  static_assert(Calls_floor<UInt32> && !Calls_floor<UInt64>);
  static_assert(Calls_pow<Float64, Float64> && !Calls_pow<DoubleVector, Float64>);
  static_assert(Calls_floatBitsToUint<Float32> && !Calls_floatBitsToUint<Float64>);
}

}  // namespace
}  // namespace ostra
