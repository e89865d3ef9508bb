// Elementary functions and exact arithmetic that are written in the language itself, on the CPU in lanes and one
// invocation at a time and on the GPU, against the C library.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"
#include "tests/tool/word_values.h"

namespace ostra {
namespace {

constexpr std::size_t kCount = 65533;  // no whole lanes
constexpr std::size_t kResults = 22, kRounded = 15;
constexpr std::size_t kFirstOfDevice = 16;  // from here on the CPU says what the GPU has to give

std::vector<Word> ComputeResults(float x, float y, float z, Word a, Word b) {
  float whole = 0;
  const float part = std::modf(x, &whole);
  int exponent = 0, other = 0;
  const float mantissa = std::frexp(y, &exponent), otherMantissa = std::frexp(z, &other);
  const std::uint64_t product = std::uint64_t{a} * b;
  const std::int64_t signedProduct = std::int64_t{static_cast<std::int32_t>(a)} * static_cast<std::int32_t>(b);
  return {BitsOf(std::fma(x, y, z)),
          BitsOf(part),
          BitsOf(whole),
          BitsOf(mantissa),
          static_cast<Word>(exponent),
          BitsOf(otherMantissa),
          static_cast<Word>(other),
          static_cast<Word>(product >> 32),
          static_cast<Word>(signedProduct >> 32),
          static_cast<Word>(product >> 32) ^ std::rotl(static_cast<Word>(product), 1),
          a + b,
          a - b,
          (a + b < a ? 2u : 0u) + (a < b ? 1u : 0u),
          BitsOf(std::fmin(x, z)),
          BitsOf(std::fmax(x, z)),
          BitsOf(y * 2.0f + z)};
}

std::vector<double> ComputeExact(double x, double y, Word a) {
  const double angle = (a & 1023) / 256.0;
  return {std::expm1(x), std::pow(10.0, x), std::log1p(x),    std::log10(x),   std::erf(x),
          std::sinh(x),  std::cosh(x),      std::tanh(x),     std::asinh(x),   std::acosh(x),
          std::atanh(x), std::cbrt(x),      std::hypot(x, y), std::sin(angle), std::cos(angle)};
}

// In units of the last place of what is exact.
double GetDistance(float found, double exact) {
  if (std::isnan(exact) || std::isnan(found)) return std::isnan(exact) && std::isnan(found) ? 0 : 1e9;
  const float nearest = static_cast<float>(exact);
  if (std::isinf(nearest) || std::isinf(found)) {
    return nearest == found ? 0 : std::fabs(exact) > 3.4028e38 && std::fabs(found) > 3.4028e38f ? 1 : 1e9;
  }
  // The sign of 0 counts, too. What is below the normal range may be 0.
  if (exact == 0) return BitsOf(found) == BitsOf(nearest) ? 0 : 1e9;
  if (std::fabs(exact) < 1.2e-38) return std::fabs(found) < 1.2e-38 ? 0 : 1e9;
  int exponent = 0;
  std::frexp(exact, &exponent);
  return std::fabs(found - exact) / std::ldexp(1.0, exponent - 24);
}

class RunElementaryTest : public testing::Test {
 protected:
  RunElementaryTest() {
    // No number is below the normal range, where devices may round to zero.
    const float infinity = std::numeric_limits<float>::infinity(), none = std::numeric_limits<float>::quiet_NaN();
    const float smallest = std::numeric_limits<float>::min(), largest = std::numeric_limits<float>::max();
    const std::vector<float> numbers = {0.0f, -0.0f, 1.0f,     -1.0f,   0.5f,     -0.5f,    2.0f,      10.0f,
                                        1e5f, 27.0f, smallest, largest, -largest, infinity, -infinity, none};
    for (const float x : numbers)
      for (const float y : numbers)
        for (const float z : numbers) _numbers.insert(_numbers.end(), {x, y, z});
    std::mt19937 random(11);
    const auto makeNumber = [&](int lowest, int count) {
      const float size = FloatOf(0x3F800000 | (random() >> 9));
      const float x = std::ldexp(size, lowest + static_cast<int>(random() % static_cast<Word>(count)));
      return random() % 2 == 0 ? x : -x;
    };
    while (_numbers.size() < 3 * kCount) {
      const float x = makeNumber(-16, 24), y = makeNumber(-40, 80);
      // Sums that are near 0, much larger and much smaller than the product.
      const float z = random() % 3 == 0 ? -(x * y) : makeNumber(-60, 120);
      _numbers.insert(_numbers.end(), {x, y, z});
    }
    for (std::size_t i = 0; i < 2 * kCount; ++i) _words.push_back(static_cast<Word>(random()));
    _folder.Write("numbers.raw", BytesOf(_numbers));
    _folder.Write("words.raw", BytesOf(_words));
  }

  ToolResult Run(const std::vector<std::string>& options) {
    const std::string count = std::to_string(kCount);
    std::vector<std::string> arguments = {"run",    GetTestKernel("extended/net.example.elementary.krn"),
                                          "--in",   "numbers=" + _folder / "numbers.raw",
                                          "--in",   "words=" + _folder / "words.raw",
                                          "--in",   "results=zeros:" + std::to_string(kCount * kResults),
                                          "--in",   "rounded=zeros:" + std::to_string(kCount * kRounded),
                                          "--out",  "results=" + _folder / "results.raw",
                                          "--out",  "rounded=" + _folder / "rounded.raw",
                                          "--set",  "count=" + count,
                                          "--size", count};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }

  std::vector<Word> ReadResults() const { return ValuesOf<Word>(_folder.Read("results.raw")); }

  void CheckResults(double distanceOfFunctions, double distanceOfAngles) {
    const std::vector<Word> results = ReadResults();
    const std::vector<float> rounded = ValuesOf<float>(_folder.Read("rounded.raw"));
    ASSERT_EQ(results.size(), kCount * kResults);
    ASSERT_EQ(rounded.size(), kCount * kRounded);
    for (std::size_t i = 0; i < kCount; ++i) {
      const float x = _numbers[3 * i], y = _numbers[3 * i + 1], z = _numbers[3 * i + 2];
      const Word a = _words[2 * i], b = _words[2 * i + 1];
      const std::vector<Word> expected = ComputeResults(x, y, z, a, b);
      ASSERT_EQ(expected.size(), kFirstOfDevice);
      for (std::size_t k = 0; k < kFirstOfDevice; ++k) {
        const Word found = results[i * kResults + k];
        if (IsNan(expected[k]) && IsNan(found)) continue;
        // The C library leaves the power of what has none open.
        if ((k == 4 && !std::isfinite(y)) || (k == 6 && !std::isfinite(z))) continue;
        // Either 0 is the smaller one.
        if ((k == 13 || k == 14) && x == 0 && z == 0) continue;
        ASSERT_EQ(found, expected[k]) << "result " << k << " of " << x << ", " << y << ", " << z << ", " << a << ", "
                                      << b;
      }
      const std::vector<double> exact = ComputeExact(x, y, a);
      for (std::size_t k = 0; k < kRounded; ++k) {
        const float found = rounded[i * kRounded + k];
        if (k >= 13)
          ASSERT_NEAR(found, exact[k], distanceOfAngles) << k << " of " << a;
        else
          ASSERT_LE(GetDistance(found, exact[k]), distanceOfFunctions)
              << k << " of " << x << ", " << y << ": " << found;
      }
    }
  }

  TemporaryFolder _folder;
  std::vector<float> _numbers;
  std::vector<Word> _words;
};

TEST_F(RunElementaryTest, LanesAreWithinTwoUnitsOfTheCLibrary) {
  const ToolResult cpu = Run({"--backend", "cpu"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults(2.0, 1e-7);
}

TEST_F(RunElementaryTest, OneInvocationAtATimeHasTheBitsOfLanes) {
  const ToolResult lanes = Run({"--backend", "cpu"});
  ASSERT_EQ(lanes.exitStatus, 0) << lanes.errors;
  const std::vector<Word> results = ReadResults();
  const ToolResult alone = Run({"--backend", "cpu", "--debug"});
  ASSERT_EQ(alone.exitStatus, 0) << alone.errors;
  CheckResults(2.0, 1e-7);
  const std::vector<Word> found = ReadResults();
  for (std::size_t i = 0; i < results.size(); ++i)
    ASSERT_TRUE(results[i] == found[i] || (IsNan(results[i]) && IsNan(found[i]))) << i % kResults << " of " << i;
}

TEST_F(RunElementaryTest, TheGpuHasTheBitsOfTheCpuWhereNothingIsDivided) {
  const ToolResult gpu = Run({"--backend", "gpu"});
  if (gpu.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(gpu.exitStatus, 0) << gpu.errors;
  // Devices may take 2.5 units for a quotient, and 2^-11 for a sine.
  CheckResults(8.0, 5e-4);
  const std::vector<Word> results = ReadResults();
  const ToolResult cpu = Run({"--backend", "cpu"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  const std::vector<Word> expected = ReadResults();
  for (std::size_t i = 0; i < results.size(); ++i) {
    if (IsNan(expected[i]) && IsNan(results[i])) continue;
    ASSERT_EQ(results[i], expected[i]) << "result " << i % kResults << " of " << _numbers[i / kResults * 3];
  }
}

TEST_F(RunElementaryTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("extended/net.example.elementary.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors << result.output;
  EXPECT_EQ(result.output, "1 file, 4 targets: 0 errors, 0 warnings\n");
}

}  // namespace
}  // namespace ostra
