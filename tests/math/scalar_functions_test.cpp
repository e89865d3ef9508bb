// The vocabulary's scalar functions against the C library in Float64.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "ostra/math/vocabulary.h"

namespace ostra {
namespace {

namespace words = vocabulary;

struct Function {
  const char* name;
  Float32 (*tested)(Float32);
  std::function<Float64(Float64)> reference;
  Float32 low, high;
  Float64 tolerance;  // relative to the result, at least absolute
};

const Function kFunctions[] = {
    {"abs", words::abs, [](Float64 x) { return std::fabs(x); }, -9, 9, 0},
    {"floor", words::floor, [](Float64 x) { return std::floor(x); }, -1e6f, 1e6f, 0},
    {"ceil", words::ceil, [](Float64 x) { return std::ceil(x); }, -1e6f, 1e6f, 0},
    {"trunc", words::trunc, [](Float64 x) { return std::trunc(x); }, -1e6f, 1e6f, 0},
    {"fract", words::fract, [](Float64 x) { return x - std::floor(x); }, -100, 100, 1e-7},
    {"sign", words::sign, [](Float64 x) { return x > 0   ? 1.0
                                                 : x < 0 ? -1.0
                                                         : 0.0; }, -1, 1, 0},
    {"sqrt", words::sqrt, [](Float64 x) { return std::sqrt(x); }, 0, 1e9f, 1e-7},
    {"Sqrt", words::Sqrt, [](Float64 x) { return std::sqrt(x); }, 0, 1e9f, 1e-7},
    {"inversesqrt", words::inversesqrt, [](Float64 x) { return 1 / std::sqrt(x); }, 1e-3f, 1e9f, 2e-7},
    {"exp", words::exp, [](Float64 x) { return std::exp(x); }, -80, 80, 2e-7},
    {"exp2", words::exp2, [](Float64 x) { return std::exp2(x); }, -120, 120, 2e-7},
    {"log", words::log, [](Float64 x) { return std::log(x); }, 1e-6f, 1e6f, 2e-7},
    {"log2", words::log2, [](Float64 x) { return std::log2(x); }, 1e-6f, 1e6f, 2e-7},
    {"sin", words::sin, [](Float64 x) { return std::sin(x); }, -50, 50, 2e-7},
    {"cos", words::cos, [](Float64 x) { return std::cos(x); }, -50, 50, 2e-7},
    {"tan", words::tan, [](Float64 x) { return std::tan(x); }, -1.5f, 1.5f, 4e-7},
    {"asin", words::asin, [](Float64 x) { return std::asin(x); }, -1, 1, 4e-7},
    {"acos", words::acos, [](Float64 x) { return std::acos(x); }, -1, 1, 4e-7},
    {"atan", words::atan, [](Float64 x) { return std::atan(x); }, -50, 50, 2e-7},
    {"radians", words::radians, [](Float64 x) { return x * M_PI / 180; }, -720, 720, 2e-7},
    {"degrees", words::degrees, [](Float64 x) { return x * 180 / M_PI; }, -20, 20, 2e-7},
};

class ScalarFunctionTest : public testing::TestWithParam<Function> {};

TEST_P(ScalarFunctionTest, AgreesWithTheCLibraryOverItsRange) {
  const Function& function = GetParam();
  std::mt19937 random(3);
  std::uniform_real_distribution<Float32> values(function.low, function.high);
  for (int i = 0; i < 2000; ++i) {
    const Float32 x = values(random);
    const Float64 expected = function.reference(x);
    EXPECT_NEAR(function.tested(x), expected, function.tolerance * std::max(1.0, std::fabs(expected))) << "at " << x;
  }
}

INSTANTIATE_TEST_SUITE_P(Functions, ScalarFunctionTest, testing::ValuesIn(kFunctions),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ScalarFunctionsTest, MinimumMaximumAndClampChooseOneOfTheirArguments) {
  EXPECT_EQ(words::min(2.0f, -3.0f), -3.0f);
  EXPECT_EQ(words::max(2.0f, -3.0f), 2.0f);
  EXPECT_EQ(words::min(-2, 3), -2);
  EXPECT_EQ(words::max(2u, 3000000000u), 3000000000u);
  EXPECT_EQ(words::clamp(5.0f, 0.0f, 1.0f), 1.0f);
  EXPECT_EQ(words::clamp(-5, -3, 7), -3);
  EXPECT_EQ(words::clamp(4u, 3u, 7u), 4u);
}

TEST(ScalarFunctionsTest, TheLeastNumberIsItsOwnMagnitude) {
  constexpr Int32 kLeast = std::numeric_limits<Int32>::min();
  EXPECT_EQ(words::abs(kLeast), kLeast);
  EXPECT_EQ(words::abs(kLeast + 1), std::numeric_limits<Int32>::max());
}

TEST(ScalarFunctionsTest, RemainderHasTheSignOfTheDivisor) {
  EXPECT_FLOAT_EQ(words::mod(5.5f, 2.0f), 1.5f);
  EXPECT_FLOAT_EQ(words::mod(-0.5f, 2.0f), 1.5f);
  EXPECT_FLOAT_EQ(words::mod(0.5f, -2.0f), -1.5f);
}

TEST(ScalarFunctionsTest, BlendingAndSteps) {
  EXPECT_EQ(words::mix(2.0f, 6.0f, 0.0f), 2.0f);
  EXPECT_EQ(words::mix(2.0f, 6.0f, 1.0f), 6.0f);
  EXPECT_EQ(words::mix(2.0f, 6.0f, 0.25f), 3.0f);
  EXPECT_EQ(words::step(1.0f, 0.99f), 0.0f);
  EXPECT_EQ(words::step(1.0f, 1.0f), 1.0f);
  EXPECT_EQ(words::smoothstep(1.0f, 3.0f, 0.5f), 0.0f);
  EXPECT_EQ(words::smoothstep(1.0f, 3.0f, 2.0f), 0.5f);
  EXPECT_EQ(words::smoothstep(1.0f, 3.0f, 9.0f), 1.0f);
}

TEST(ScalarFunctionsTest, AngleOfAPointKnowsItsQuadrant) {
  EXPECT_FLOAT_EQ(words::atan(1.0f, 1.0f), static_cast<Float32>(M_PI / 4));
  EXPECT_FLOAT_EQ(words::atan(1.0f, -1.0f), static_cast<Float32>(3 * M_PI / 4));
  EXPECT_FLOAT_EQ(words::atan(-1.0f, -1.0f), static_cast<Float32>(-3 * M_PI / 4));
  EXPECT_FLOAT_EQ(words::pow(3.0f, 4.0f), 81.0f);
}

TEST(ScalarFunctionsTest, BitsSurviveAsAnotherType) {
  EXPECT_EQ(words::floatBitsToUint(1.0f), 0x3f800000u);
  EXPECT_EQ(words::floatBitsToInt(-0.0f), std::numeric_limits<Int32>::min());
  EXPECT_EQ(words::uintBitsToFloat(0x40490fdbu), 3.14159274f);
  EXPECT_EQ(words::intBitsToFloat(0x3f800000), 1.0f);
  EXPECT_TRUE(words::isnan(words::uintBitsToFloat(0x7fc00000u)));
  EXPECT_TRUE(words::isinf(words::uintBitsToFloat(0xff800000u)));
  EXPECT_FALSE(words::isnan(1.0f) || words::isinf(1.0f));
}

}  // namespace
}  // namespace ostra
