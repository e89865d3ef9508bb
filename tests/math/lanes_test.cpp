// Lanes against the same operations of scalars: equal bits in every lane, at every instruction level of this processor.
#define OSTRA_UNARY_FUNCTIONS(f)                                                                                 \
  f(abs) f(sign) f(floor) f(ceil) f(trunc) f(fract) f(sqrt) f(Sqrt) f(inversesqrt) f(exp) f(exp2) f(log) f(log2) \
      f(sin) f(cos) f(tan) f(asin) f(acos) f(atan) f(radians) f(degrees)
#define OSTRA_BINARY_FUNCTIONS(f) f(min) f(max) f(mod) f(step) f(pow) f(atan)
#define OSTRA_TERNARY_FUNCTIONS(f) f(clamp) f(mix) f(smoothstep)
#define OSTRA_UNARY_FUNCTIONS_64(f) \
  f(abs) f(sign) f(floor) f(ceil) f(trunc) f(fract) f(sqrt) f(Sqrt) f(inversesqrt) f(radians) f(degrees)
#define OSTRA_BINARY_FUNCTIONS_64(f) f(min) f(max) f(mod) f(step)

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "ostra/math/lane_levels.h"
#include "ostra/math/vocabulary.h"

// The order matters.
// clang-format off
#define OSTRA_LANE_LEVEL 0
#include "ostra/math/lanes/lanes.inl"
#include "ostra/math/lanes/level_begin.inl"
#include "tests/math/lane_cases.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#ifdef __x86_64__
#define OSTRA_LANE_LEVEL 1
#include "ostra/math/lanes/lanes.inl"
#include "ostra/math/lanes/level_begin.inl"
#include "tests/math/lane_cases.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#define OSTRA_LANE_LEVEL 2
#include "ostra/math/lanes/lanes.inl"
#include "ostra/math/lanes/level_begin.inl"
#include "tests/math/lane_cases.inl"
#include "ostra/math/lanes/level_end.inl"
#undef OSTRA_LANE_LEVEL
#endif
// clang-format on

namespace ostra {
namespace {

// Any bits, with values at which functions turn mixed in.
Float32 MakeFloat(std::mt19937& random) {
  static constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
  static constexpr Float32 kSpecial[] = {0.0f,      -0.0f,      0.5f,       -0.5f,   1.0f,        -1.0f,
                                         1.5f,      -2.5f,      8388607.5f, 8388608, -8388608.5f, 2147483648.0f,
                                         kInfinity, -kInfinity, 1e-40f,     -1e-45f, 3.4e38f,     0.99999994f};
  switch (random() % 4) {
    case 0:
      return kSpecial[random() % std::size(kSpecial)];
    case 1:
      return std::bit_cast<Float32>(static_cast<UInt32>(random()));
    case 2:
      return static_cast<Float32>(static_cast<Int32>(random() % 2001) - 1000) / 64.0f;
    default:
      return std::uniform_real_distribution<Float32>(-4.0f, 4.0f)(random);
  }
}

template <class T>
T MakeNumber(std::mt19937& random) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(MakeFloat(random));
  else
    return static_cast<T>(random() % 4 == 0 ? random() % 8 : (static_cast<UInt64>(random()) << 32 | random()));
}

template <class T>
std::vector<T> MakeNumbers(std::mt19937& random, std::size_t count) {
  std::vector<T> numbers(count);
  for (T& number : numbers) number = MakeNumber<T>(random);
  return numbers;
}

// NaNs are equal to each other: which of several a processor passes on is not part of a result.
template <class T>
void ExpectSameBits(const std::vector<T>& lanes, const std::vector<T>& scalars, const std::string& what) {
  ASSERT_EQ(lanes.size(), scalars.size()) << what;
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    if constexpr (std::is_floating_point_v<T>) {
      if (std::isnan(lanes[i]) && std::isnan(scalars[i])) continue;
    }
    ASSERT_EQ(std::memcmp(&lanes[i], &scalars[i], sizeof(T)), 0)
        << what << " " << i << ": " << lanes[i] << " instead of " << scalars[i];
  }
}

template <class Cases>
class LanesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (Cases::kLevel >= CountLaneLevels())
      GTEST_SKIP() << "this processor has no " << (Cases::kLevel == 1 ? "AVX2" : "AVX-512");
  }
  static constexpr int kCount = Cases::kCount;
  static constexpr UInt32 kAll = (1u << kCount) - 1u;
  std::mt19937 _random{17};

  template <class T>
  void CompareOperators(const std::string& type);
  template <class T>
  void CompareQuotients();
  // `Between`: the type by way of which the scalars are converted.
  template <class To, class From, class Between = To>
  void CompareConversion(const std::string& what, From low, From high);
  template <class From, class... To>
  void CompareConversions(const std::string& what);
  template <class Small>
  void CompareSmallNumbers(const std::string& what);
  template <class T>
  void CompareMemory();
};

#ifdef __x86_64__
using Levels = testing::Types<lanes4::LaneCases, lanes8::LaneCases, lanes16::LaneCases>;
#else
using Levels = testing::Types<lanes4::LaneCases>;
#endif
TYPED_TEST_SUITE(LanesTest, Levels);

TYPED_TEST(LanesTest, FunctionsOfOneNumberHaveTheBitsOfTheScalarOnes) {
  struct Case {
    const char* name;
    void (*lanes)(const Float32*, Float32*);
    Float32 (*scalar)(Float32);
  };
#define OSTRA_CASE(name) {#name, TypeParam::Unary_##name, vocabulary::name},
  const Case cases[] = {OSTRA_UNARY_FUNCTIONS(OSTRA_CASE)};
#undef OSTRA_CASE
  for (const Case& function : cases) {
    for (int run = 0; run < 500; ++run) {
      const auto x = MakeNumbers<Float32>(this->_random, TypeParam::kCount);
      std::vector<Float32> result(x.size()), expected;
      function.lanes(x.data(), result.data());
      for (const Float32 value : x) expected.push_back(function.scalar(value));
      ExpectSameBits(result, expected, function.name);
    }
  }
}

TYPED_TEST(LanesTest, FunctionsOfSeveralNumbersHaveTheBitsOfTheScalarOnes) {
  struct Binary {
    const char* name;
    void (*lanes)(const Float32*, const Float32*, Float32*);
    Float32 (*scalar)(Float32, Float32);
  };
  struct Ternary {
    const char* name;
    void (*lanes)(const Float32*, const Float32*, const Float32*, Float32*);
    Float32 (*scalar)(Float32, Float32, Float32);
  };
#define OSTRA_CASE(name) {#name, TypeParam::Binary_##name, vocabulary::name},
  const Binary binaries[] = {OSTRA_BINARY_FUNCTIONS(OSTRA_CASE)};
#undef OSTRA_CASE
#define OSTRA_CASE(name) {#name, TypeParam::Ternary_##name, vocabulary::name},
  const Ternary ternaries[] = {OSTRA_TERNARY_FUNCTIONS(OSTRA_CASE)};
#undef OSTRA_CASE
  for (int run = 0; run < 500; ++run) {
    const auto x = MakeNumbers<Float32>(this->_random, TypeParam::kCount);
    const auto y = MakeNumbers<Float32>(this->_random, TypeParam::kCount);
    const auto z = MakeNumbers<Float32>(this->_random, TypeParam::kCount);
    std::vector<Float32> result(x.size()), expected(x.size());
    for (const Binary& function : binaries) {
      function.lanes(x.data(), y.data(), result.data());
      for (std::size_t i = 0; i < x.size(); ++i) expected[i] = function.scalar(x[i], y[i]);
      ExpectSameBits(result, expected, function.name);
    }
    for (const Ternary& function : ternaries) {
      function.lanes(x.data(), y.data(), z.data(), result.data());
      for (std::size_t i = 0; i < x.size(); ++i) expected[i] = function.scalar(x[i], y[i], z[i]);
      ExpectSameBits(result, expected, function.name);
    }
  }
}

TYPED_TEST(LanesTest, FunctionsOfDoublesHaveTheBitsOfTheScalarOnes) {
  namespace scalar = vocabulary::float64;
  for (int run = 0; run < 500; ++run) {
    const auto x = MakeNumbers<Float64>(this->_random, TypeParam::kCount);
    const auto y = MakeNumbers<Float64>(this->_random, TypeParam::kCount);
    const auto z = MakeNumbers<Float64>(this->_random, TypeParam::kCount);
    std::vector<Float64> expected;
    const auto add = [&](auto&& function) {
      for (std::size_t i = 0; i < x.size(); ++i) expected.push_back(function(x[i], y[i], z[i]));
    };
#define OSTRA_CASE(name) add([](Float64 a, Float64, Float64) { return scalar::name(a); });
    OSTRA_UNARY_FUNCTIONS_64(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name) add([](Float64 a, Float64 b, Float64) { return scalar::name(a, b); });
    OSTRA_BINARY_FUNCTIONS_64(OSTRA_CASE)
#undef OSTRA_CASE
#define OSTRA_CASE(name) add([](Float64 a, Float64 b, Float64 c) { return scalar::name(a, b, c); });
    OSTRA_TERNARY_FUNCTIONS(OSTRA_CASE)
#undef OSTRA_CASE
    add([](Float64 a, Float64, Float64) { return scalar::isnan(a); });
    add([](Float64 a, Float64, Float64) { return scalar::isinf(a); });
    std::vector<Float64> result(expected.size());
    TypeParam::Functions64(x.data(), y.data(), z.data(), result.data());
    ExpectSameBits(result, expected, "a function of Float64");
  }
}

// The same results in the same order as LaneCases::Operators. Signed numbers wrap, as in kernels.
template <class T>
void ScalarOperators(T x, T y, std::vector<T>& result) {
  using Wide = std::conditional_t<std::is_floating_point_v<T>, T, UInt64>;
  const Wide a = static_cast<Wide>(x), b = static_cast<Wide>(y);
  const auto add = [&](auto value) { result.push_back(static_cast<T>(value)); };
  add(a + b), add(a - b), add(a * b), add(-a), add(a + Wide(3)), add(Wide(3) - b);
  add(x < y), add(x <= y), add(x > y), add(x >= y), add(x == y), add(x != y);
  add(x < y && y != T(1) ? x : y), add(x < y || x == y ? x : y), add((x < y) != (x < T(0)) ? x : y);
  if constexpr (std::is_floating_point_v<T>) {
    add(x / y);
  } else {
    add(x & y), add(x | y), add(x ^ y), add(~x);
    add(y == T(0) ? T(0) : x / y), add(y == T(0) ? T(0) : x % y);
    add(x), add(x / T(48)), add(x / T(-7)), add(x / T(0x7fffffff));
    add(T(0)), add(x % T(24)), add(x % T(-7)), add(x % T(0x7fffffff));
    const int shift = static_cast<int>(y & T(sizeof(T) * 8 - 1));
    add(static_cast<std::make_unsigned_t<T>>(x) << shift), add(x >> shift);
  }
}

template <class Cases>
template <class T>
void LanesTest<Cases>::CompareOperators(const std::string& type) {
  for (int run = 0; run < 500; ++run) {
    auto x = MakeNumbers<T>(_random, kCount), y = MakeNumbers<T>(_random, kCount);
    if constexpr (std::is_signed_v<T> && !std::is_floating_point_v<T>)
      for (T& divisor : y) divisor = divisor == T(-1) ? T(7) : divisor;  // the smallest number has no quotient by -1
    std::vector<T> one;
    ScalarOperators(x[0], y[0], one);
    std::vector<T> result(one.size() * kCount), expected(result.size());
    Cases::Operators(x.data(), y.data(), result.data());
    for (int lane = 0; lane < kCount; ++lane) {
      one.clear();
      ScalarOperators(x[lane], y[lane], one);
      for (std::size_t i = 0; i < one.size(); ++i) expected[i * kCount + lane] = one[i];
    }
    ExpectSameBits(result, expected, type);
  }
}

TYPED_TEST(LanesTest, OperatorsHaveTheBitsOfTheScalarOnes) {
  this->template CompareOperators<Float32>("Float32");
  this->template CompareOperators<Float64>("Float64");
  this->template CompareOperators<Int32>("Int32");
  this->template CompareOperators<UInt32>("UInt32");
  this->template CompareOperators<Int64>("Int64");
  this->template CompareOperators<UInt64>("UInt64");
}

template <class Cases>
template <class T>
void LanesTest<Cases>::CompareQuotients() {
  for (int run = 0; run < 20000; ++run) {
    T x[kCount], y[kCount], quotients[kCount], rests[kCount];
    for (int lane = 0; lane < kCount; ++lane) {
      const T divisor = static_cast<T>(_random() >> _random() % 32);
      y[lane] = divisor == T(0) || divisor == T(-1) ? T(3) : divisor;
      const T whole = static_cast<T>(_random()) / y[lane];
      x[lane] = static_cast<T>(static_cast<UInt32>(whole * y[lane]) + static_cast<UInt32>(_random() % 3) - 1u);
    }
    Cases::Quotients(x, y, quotients, rests);
    for (int lane = 0; lane < kCount; ++lane) {
      ASSERT_EQ(quotients[lane], x[lane] / y[lane]) << x[lane] << " / " << y[lane];
      ASSERT_EQ(rests[lane], x[lane] % y[lane]) << x[lane] << " % " << y[lane];
    }
  }
}

TYPED_TEST(LanesTest, QuotientsNextToWholeNumbersAreExact) {
  this->template CompareQuotients<Int32>();
  this->template CompareQuotients<UInt32>();
}

template <class Cases>
template <class To, class From, class Between>
void LanesTest<Cases>::CompareConversion(const std::string& what, From low, From high) {
  for (int run = 0; run < 300; ++run) {
    std::vector<From> x(kCount);
    for (From& value : x)
      value =
          static_cast<From>(low + static_cast<From>(std::uniform_real_distribution<Float64>()(_random)) * (high - low));
    if (run == 0) x[0] = low, x[1] = high;
    std::vector<To> result(kCount), expected;
    Cases::ConvertAll(x.data(), result.data());
    for (const From value : x) expected.push_back(static_cast<To>(static_cast<Between>(value)));
    ExpectSameBits(result, expected, what);
  }
}

TYPED_TEST(LanesTest, ConversionsHaveTheBitsOfTheScalarOnes) {
  this->template CompareConversion<Int32, Float32>("float to int", -2147483648.0f, 2147483520.0f);
  this->template CompareConversion<UInt32, Float32>("float to uint", 0.0f, 4294967040.0f);
  this->template CompareConversion<Float32, Int32>("int to float", -2147480000, 90000);
  this->template CompareConversion<Float32, UInt32>("uint to float", 0u, 4294967295u);
  this->template CompareConversion<Float64, Float32>("float to double", -1e30f, 1e30f);
  this->template CompareConversion<Float32, Float64>("double to float", -1e30, 1e30);
  this->template CompareConversion<Int64, Int32>("int to long", -2147480000, 90000);
  this->template CompareConversion<Int32, UInt32>("uint to int", 0u, 4294967295u);
  this->template CompareConversion<UInt32, Float64>("double to uint", 0.0, 4294967295.0);
}

// From any bits, to each of the types.
template <class Cases>
template <class From, class... To>
void LanesTest<Cases>::CompareConversions(const std::string& what) {
  const auto compare = [&](auto to) {
    using Number = decltype(to);
    for (int run = 0; run < 100; ++run) {
      const auto x = MakeNumbers<From>(_random, kCount);
      std::vector<Number> result(kCount), expected;
      Cases::ConvertAll(x.data(), result.data());
      for (const From value : x) expected.push_back(static_cast<Number>(value));
      ExpectSameBits(result, expected, what);
    }
  };
  (compare(To()), ...);
}
template <class Cases>
template <class Small>
void LanesTest<Cases>::CompareSmallNumbers(const std::string& what) {
  CompareConversions<Small, Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64, HalfFloat, Float32, Float64>(
      "from " + what);
  CompareConversions<Int32, Small>("int to " + what);
  CompareConversions<UInt32, Small>("uint to " + what);
  CompareConversions<Int64, Small>("long to " + what);
  CompareConversions<UInt64, Small>("unsigned long to " + what);
  const auto low = static_cast<Float32>(std::numeric_limits<Small>::min());
  const auto high = static_cast<Float32>(std::numeric_limits<Small>::max());
  CompareConversion<Small, Float32>("float to " + what, low, high);
  CompareConversion<Small, Float64>("double to " + what, low, high);
  CompareConversion<Small, Float32, Int32>("float beyond " + what, -2147483648.0f, 2147483520.0f);
  for (int run = 0; run < 300; ++run) {
    const auto x = MakeNumbers<Small>(_random, kCount), y = MakeNumbers<Small>(_random, kCount);
    const auto bits = static_cast<UInt32>(_random());
    std::vector<Small> result(8 * kCount), expected;
    Cases::SmallOperators(x.data(), y.data(), bits, result.data());
    const auto add = [&](auto&& make) {
      for (int i = 0; i < kCount; ++i) expected.push_back(static_cast<Small>(make(x[i], y[i], (bits >> i & 1u) != 0)));
    };
    add([](Small a, Small b, Bool) { return a + b; }), add([](Small a, Small b, Bool) { return a - b; });
    add([](Small a, Small b, Bool) { return UInt32(a) * UInt32(b); }), add([](Small a, Small, Bool) { return -a; });
    add([](Small a, Small b, Bool isOn) { return isOn ? a : b; });
    add([](Small a, Small b, Bool) { return a < b; }), add([](Small a, Small b, Bool) { return a == b; });
    add([](Small a, Small b, Bool isOn) { return a < b && isOn ? a : b; });
    ExpectSameBits(result, expected, what);
  }
}

TYPED_TEST(LanesTest, NumbersOf8And16BitsWrapAroundAndConvertAsInCpp) {
  this->template CompareSmallNumbers<Int8>("Int8");
  this->template CompareSmallNumbers<UInt8>("UInt8");
  this->template CompareSmallNumbers<Int16>("Int16");
  this->template CompareSmallNumbers<UInt16>("UInt16");
}

TYPED_TEST(LanesTest, AllHalfFloatsWidenToTheirValue) {
  constexpr int kCount = TypeParam::kCount;
  for (UInt32 first = 0; first < 0x10000u; first += kCount) {
    HalfFloat halves[kCount];
    Float32 wide[kCount];
    for (int i = 0; i < kCount; ++i) halves[i] = HalfFloat::FromBits(static_cast<UInt16>(first + i));
    TypeParam::WidenHalves(halves, wide);
    for (int i = 0; i < kCount; ++i) {
      const Float32 expected = halves[i];
      const UInt32 quiet = expected == expected ? 0u : 0x00400000u;  // of what is no number
      ASSERT_EQ(std::bit_cast<UInt32>(wide[i]) | quiet, std::bit_cast<UInt32>(expected) | quiet) << halves[i].GetBits();
    }
  }
}

TYPED_TEST(LanesTest, FloatsRoundToTheNearestHalfFloatAsOneByOne) {
  constexpr int kCount = TypeParam::kCount;
  std::vector<Float32> numbers = MakeNumbers<Float32>(this->_random, 20000);
  // Halves, what lies between two of them, and the numbers beside those.
  for (UInt32 bits = 0; bits < 0x10000u; ++bits) {
    const auto half = HalfFloat::FromBits(static_cast<UInt16>(bits));
    const auto widened = std::bit_cast<UInt32>(static_cast<Float32>(half));
    const auto next = std::bit_cast<UInt32>(static_cast<Float32>(HalfFloat::FromBits(static_cast<UInt16>(bits + 1))));
    const UInt32 middle = widened + (next - widened) / 2;
    for (const UInt32 number : {widened, middle - 1, middle, middle + 1})
      numbers.push_back(std::bit_cast<Float32>(number));
  }
  numbers.resize(numbers.size() / kCount * kCount);
  for (std::size_t first = 0; first < numbers.size(); first += kCount) {
    HalfFloat halves[kCount];
    TypeParam::RoundToHalves(&numbers[first], halves);
    for (int i = 0; i < kCount; ++i)
      ASSERT_EQ(halves[i].GetBits(), HalfFloat(numbers[first + i]).GetBits()) << numbers[first + i];
  }
}

TYPED_TEST(LanesTest, MasksKeepTheirLanesAndKnowAnyAllAndNone) {
  for (int run = 0; run < 300; ++run) {
    const UInt32 bits = run == 0 ? 0u : run == 1 ? this->kAll : static_cast<UInt32>(this->_random()) & this->kAll;
    EXPECT_EQ(TypeParam::RepeatMask(bits), bits);
    Bool reduced[3];
    TypeParam::Reduce(bits, reduced);
    EXPECT_EQ(reduced[0], bits != 0);
    EXPECT_EQ(reduced[1], bits == this->kAll);
    EXPECT_EQ(reduced[2], bits == 0);
  }
}

template <class Cases>
template <class T>
void LanesTest<Cases>::CompareMemory() {
  constexpr int kElements = 64;
  const auto makeElements = [&] {
    std::vector<T> elements(kElements);
    for (T& element : elements)
      for (std::size_t i = 0; i < sizeof(T); i += 4) {
        const UInt32 bits = static_cast<UInt32>(_random()) & 0xbfffffffu;  // no NaN, whose bits a copy may change
        std::memcpy(reinterpret_cast<char*>(&element) + i, &bits, std::min<std::size_t>(4, sizeof(T) - i));
      }
    return elements;
  };
  const auto isSame = [](const std::vector<T>& a, const std::vector<T>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
  };
  for (int run = 0; run < 400; ++run) {
    const UInt32 bits = run % 3 == 0 ? kAll : static_cast<UInt32>(_random()) & kAll;
    const auto source = makeElements(), target = makeElements();
    std::vector<Int32> index(kCount);
    const Int32 first = static_cast<Int32>(_random() % (kElements - kCount + 1));
    for (int i = 0; i < kCount; ++i)
      index[i] = run % 4 == 0 ? first + i : run % 4 == 1 ? first : static_cast<Int32>(_random() % kElements);

    auto copied = target, expected = target;
    Cases::Copy(source.data() + first, copied.data() + first, bits);
    auto gathered = std::vector<T>(kCount), loaded = gathered, expectedGather = gathered, expectedLoad = gathered;
    Cases::GatherAll(source.data(), index.data(), gathered.data(), bits);
    Cases::LoadMasked(source.data() + first, loaded.data(), bits);
    auto scattered = target, expectedScatter = target;
    Cases::ScatterAll(scattered.data(), index.data(), source.data(), bits);
    for (int i = 0; i < kCount; ++i) {
      if ((bits >> i & 1u) == 0) continue;
      expected[first + i] = source[first + i];
      expectedLoad[i] = source[first + i];
      expectedGather[i] = source[index[i]];
      expectedScatter[index[i]] = source[i];
    }
    ASSERT_TRUE(isSame(copied, expected)) << run;
    ASSERT_TRUE(isSame(scattered, expectedScatter)) << run;
    for (int i = 0; i < kCount; ++i) {
      if ((bits >> i & 1u) == 0) gathered[i] = loaded[i] = T();  // not defined
    }
    ASSERT_TRUE(isSame(gathered, expectedGather)) << run;
    ASSERT_TRUE(isSame(loaded, expectedLoad)) << run;
  }
}

TYPED_TEST(LanesTest, LoadsAndStoresMoveTheElementsOfTheirMaskAndTouchNoOther) {
  this->template CompareMemory<Float32>();
  this->template CompareMemory<UInt32>();
  this->template CompareMemory<Float64>();
  this->template CompareMemory<Vec2<Float32>>();
  this->template CompareMemory<Vec3<Float32>>();
  this->template CompareMemory<Vec4<Float32>>();
  this->template CompareMemory<Vec4<Int32>>();
  this->template CompareMemory<Vec3<Float64>>();
  this->template CompareMemory<Int8>();
  this->template CompareMemory<UInt16>();
  this->template CompareMemory<HalfFloat>();
  this->template CompareMemory<Vec2<HalfFloat>>();
  this->template CompareMemory<Vec3<HalfFloat>>();
  this->template CompareMemory<Vec4<UInt8>>();
}

TYPED_TEST(LanesTest, FunctionsOfVectorsHaveTheBitsOfTheScalarOnes) {
  using namespace vocabulary;  // NOLINT: the words of kernels
  constexpr int kCount = TypeParam::kCount;
  constexpr int kResults = 9;
  for (int run = 0; run < 300; ++run) {
    std::vector<vec3> x(kCount), y(kCount), result(kCount * kResults);
    for (auto* vectors : {&x, &y})
      for (vec3& v : *vectors) v = vec3(MakeFloat(this->_random), MakeFloat(this->_random), MakeFloat(this->_random));
    TypeParam::Geometry(x.data(), y.data(), result.data());
    std::vector<Float32> numbers, expected(kCount * kResults * 3);
    for (const vec3& v : result) numbers.insert(numbers.end(), {v.x, v.y, v.z});
    for (int i = 0; i < kCount; ++i) {
      const vec3 a = x[i], b = y[i];
      const vec3 scalars[kResults] = {a + b,
                                      a * b / (b + 2.0f),
                                      vec3(dot(a, b), length(a), distance(a, b)),
                                      normalize(a),
                                      cross(a, b),
                                      reflect(a, b),
                                      mix(a, b, 0.25f),
                                      clamp(a, -1.0f, 1.0f),
                                      a.x < b.y ? a : -b};
      for (int k = 0; k < kResults; ++k)
        for (int c = 0; c < 3; ++c) expected[(k * kCount + i) * 3 + c] = scalars[k][c];
    }
    ExpectSameBits(numbers, expected, "vectors");
  }
}

}  // namespace
}  // namespace ostra
