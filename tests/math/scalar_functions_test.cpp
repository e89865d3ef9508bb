// The vocabulary's scalar functions against the C library in Float64, and the elementary functions for all numbers of
// lanes.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "ostra/math/lane_levels.h"
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

// An elementary function; those of one number leave the second out.
struct Elementary {
  using Lanes = void (*)(const Float32*, const Float32*, Float32*);
  const char* name;
  Float32 (*scalar)(Float32, Float32);
  Float64 (*exact)(Float64, Float64);
  Lanes lanes4, lanes8, lanes16;
  UInt64 hash;  // of the results, see HasTheBitsItHasEverywhere
};
void PrintTo(const Elementary& function, std::ostream* stream) { *stream << function.name; }

template <class T, T (*function)(T)>
T OfFirst(T x, T) {
  return function(x);
}
template <void (*function)(const Float32*, Float32*) noexcept>
void LanesOfFirst(const Float32* x, const Float32*, Float32* result) {
  function(x, result);
}

namespace lanes4 = elementary::lanes4;
#ifdef __x86_64__
namespace lanes8 = elementary::lanes8;
namespace lanes16 = elementary::lanes16;
#else
namespace lanes8 = elementary::lanes4;
namespace lanes16 = elementary::lanes4;
#endif
const Bool kHasLanes8 = CountLaneLevels() > 1, kHasLanes16 = CountLaneLevels() > 2;

// clang-format off
#define OSTRA_UNARY(name, hash)                                                                                     \
  {#name, OfFirst<Float32, words::name>, OfFirst<Float64, std::name>,                                               \
   LanesOfFirst<lanes4::name>, LanesOfFirst<lanes8::name>, LanesOfFirst<lanes16::name>, hash}
// clang-format on
const Elementary kElementary[] = {
    OSTRA_UNARY(exp, 0xc76f5120af534e4bu),
    OSTRA_UNARY(exp2, 0x8837d444ff74b73cu),
    OSTRA_UNARY(log, 0x1865c71d1310e96du),
    OSTRA_UNARY(log2, 0x9286af0d7327481cu),
    OSTRA_UNARY(sin, 0xa6b3b271e7b03ad5u),
    OSTRA_UNARY(cos, 0x5fc444dcf289c180u),
    OSTRA_UNARY(tan, 0xc131c092c478ff94u),
    OSTRA_UNARY(asin, 0x99329edb11fbd3e3u),
    OSTRA_UNARY(acos, 0x3752780688d1d035u),
    OSTRA_UNARY(atan, 0x013d96835727a173u),
    {"atan2", words::atan, std::atan2, lanes4::atan, lanes8::atan, lanes16::atan, 0x566aec56ba28392cu},
    {"pow", words::pow, std::pow, lanes4::pow, lanes8::pow, lanes16::pow, 0x8db60aeb919bf636u},
};
#undef OSTRA_UNARY

constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
constexpr Float32 kNan = std::numeric_limits<Float32>::quiet_NaN();
// What functions treat in a way of its own; every pair of these is asked for.
constexpr Float32 kSpecial[] = {0.0f,       -0.0f,      1.0f,        -1.0f,        2.0f,        -2.0f,
                                3.0f,       -3.0f,      0.5f,        -0.5f,        1e-45f,      -1e-45f,
                                1e-40f,     3e38f,      -3e38f,      kInfinity,    -kInfinity,  kNan,
                                8388607.0f, 8388608.0f, 16777215.0f, -16777215.0f, 0.99999994f, 1.0000001f};

// Arguments of all kinds, by the number of the argument: pairs of special ones, any bits, and the ranges where most
// results are neither zero nor infinite. The same on every machine.
struct Arguments {
  Float32 x, y;
};
std::vector<Arguments> MakeArguments(std::size_t count) {
  std::vector<Arguments> arguments;
  for (const Float32 x : kSpecial)
    for (const Float32 y : kSpecial) arguments.push_back({x, y});
  std::mt19937 random(23);
  const auto any = [&] { return std::bit_cast<Float32>(static_cast<UInt32>(random())); };
  const auto within = [&](Float32 range) {
    return (static_cast<Float32>(random() % 0x1000000u) / 8388608.0f - 1.0f) * range;
  };
  while (arguments.size() < count) {
    arguments.push_back({any(), any()});
    arguments.push_back({within(1), within(1)});
    arguments.push_back({within(100), static_cast<Float32>(static_cast<Int32>(random() % 41u) - 20)});
    arguments.push_back({std::fabs(any()), within(4)});
  }
  arguments.resize(count);
  return arguments;
}

Bool IsSame(Float32 a, Float32 b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<UInt32>(a) == std::bit_cast<UInt32>(b);
}

class ElementaryFunctionTest : public testing::TestWithParam<Elementary> {};

TEST_P(ElementaryFunctionTest, IsWithinHalfAUnitOfTheExactResult) {
  for (const auto& [x, y] : MakeArguments(20000)) {
    const Float64 exact = GetParam().exact(x, y);
    const Float32 result = GetParam().scalar(x, y), rounded = static_cast<Float32>(exact);
    if (std::isnan(rounded) || std::isinf(rounded) || rounded == 0.0f) {
      ASSERT_TRUE(IsSame(result, rounded)) << x << ", " << y << ": " << result << " instead of " << exact;
      continue;
    }
    int exponent = 0;
    std::frexp(exact, &exponent);
    const Float64 unit = std::ldexp(1.0, std::max(exponent - 24, -149));
    ASSERT_LE(std::fabs(result - exact), 0.501 * unit) << x << ", " << y << ": " << result << " instead of " << exact;
  }
}

TEST_P(ElementaryFunctionTest, HasTheSameBitsInAllLanes) {
  const std::vector<Arguments> arguments = MakeArguments(40000);
  for (const auto& [count, hasThem, lanes] :
       {std::tuple(std::size_t{4}, true, GetParam().lanes4), std::tuple(std::size_t{8}, kHasLanes8, GetParam().lanes8),
        std::tuple(std::size_t{16}, kHasLanes16, GetParam().lanes16)}) {
    if (!hasThem) continue;  // the tests of lanes say so
    std::vector<Float32> x(count), y(count), result(count);
    for (std::size_t begin = 0; begin + count <= arguments.size(); begin += count) {
      for (std::size_t i = 0; i < count; ++i) x[i] = arguments[begin + i].x, y[i] = arguments[begin + i].y;
      lanes(x.data(), y.data(), result.data());
      for (std::size_t i = 0; i < count; ++i)
        ASSERT_TRUE(IsSame(result[i], GetParam().scalar(x[i], y[i])))
            << count << " lanes: " << x[i] << ", " << y[i] << ": " << result[i];
      // The result may lie where an argument does.
      const std::vector<Float32> expected = result;
      lanes(x.data(), y.data(), y.data());
      for (std::size_t i = 0; i < count; ++i) ASSERT_TRUE(IsSame(y[i], expected[i]));
    }
  }
}

// What other processors, compilers and C libraries must give, too.
TEST_P(ElementaryFunctionTest, HasTheBitsItHasEverywhere) {
  UInt64 hash = 0xcbf29ce484222325u;
  for (const auto& [x, y] : MakeArguments(20000)) {
    const Float32 result = GetParam().scalar(x, y);
    hash = (hash ^ (std::isnan(result) ? 0x7fc00000u : std::bit_cast<UInt32>(result))) * 0x100000001b3u;
  }
  EXPECT_EQ(hash, GetParam().hash) << std::hex << hash;
}

INSTANTIATE_TEST_SUITE_P(Functions, ElementaryFunctionTest, testing::ValuesIn(kElementary),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ScalarFunctionsTest, TheSecondPowerIsAMultiplicationForEveryWayToAskForIt) {
  for (const auto& [x, y] : MakeArguments(10000)) {
    ASSERT_TRUE(IsSame(words::pow(x, 2.0f), x * x)) << x;
    ASSERT_TRUE(IsSame(elementary::pow(x, 2.0f), x * x)) << x;
    const Float32 values[] = {x, y, x, y}, exponents[] = {2.0f, 2.0f, 2.0f, 2.0f};
    Float32 squares[4];
    lanes4::pow(values, exponents, squares);
    ASSERT_TRUE(IsSame(squares[2], x * x) && IsSame(squares[3], y * y)) << x << ", " << y;
  }
}

}  // namespace
}  // namespace ostra
