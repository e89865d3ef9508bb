// Words that are written in the language itself, on the CPU in lanes and one invocation at a time and on the GPU,
// against what the C library and plain loops compute.
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

constexpr std::size_t kResults = 35, kRounded = 4;

float RoundToEven(float x) { return std::nearbyint(x); }  // in the mode that programs start with

Word CountBits(Word word) {
  Word count = 0;
  for (int i = 0; i < 32; ++i) count += (word >> i) & 1;
  return count;
}

// -1: there is none.
int FindHighest(Word word) {
  for (int i = 31; i >= 0; --i) {
    if ((word >> i) & 1) return i;
  }
  return -1;
}

int FindLowest(Word word) {
  for (int i = 0; i < 32; ++i) {
    if ((word >> i) & 1) return i;
  }
  return -1;
}

Word Reverse(Word word) {
  Word reversed = 0;
  for (int i = 0; i < 32; ++i) reversed |= ((word >> i) & 1) << (31 - i);
  return reversed;
}

Word MaskOf(Word at, Word bits) { return static_cast<Word>(((std::uint64_t{1} << bits) - 1) << at); }

Word HalfOf(float x) {
  const Word sign = std::signbit(x) ? 0x8000 : 0;
  const double size = std::fabs(x);
  if (size == 0) return sign;
  if (size >= 65520) return sign | 0x7C00;
  const int exponent = std::max(std::ilogb(size), -14);
  return sign +
         static_cast<Word>((exponent + 14) * 1024 + static_cast<int>(std::nearbyint(std::ldexp(size, 10 - exponent))));
}

// Of numbers that are finite.
float FloatOfHalf(Word half) {
  const int exponent = static_cast<int>((half >> 10) & 31), mantissa = static_cast<int>(half & 1023);
  const double size = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(mantissa + 1024, exponent - 25);
  return static_cast<float>((half & 0x8000) != 0 ? -size : size);
}

Word Quantize(float x, float low, float scale, Word mask) {
  const float limited = std::fmin(std::fmax(x, low), 1.0f) * scale;
  return static_cast<Word>(static_cast<int>(std::round(limited))) & mask;
}
Word Unorm(float x, float scale) { return Quantize(x, 0, scale, 0xFFFF); }
Word Snorm(float x, float scale, Word mask) { return Quantize(x, -1, scale, mask); }

std::vector<Word> ComputeResults(float x, float y, Word a, Word b) {
  const Word at = b & 15, bits = ((b >> 4) & 15) + 1, field = (a >> at) & MaskOf(0, bits);
  const Word isNegative = (field >> (bits - 1)) & 1;
  const float quarter = x * 0.25f, product = x * (0.5f * y), side = 0.5f * 1.0f + 0.0f * 1.0f;
  const double signed8 = static_cast<signed char>(a >> 8), signed16 = static_cast<std::int16_t>(a);
  return {BitsOf(std::round(x)),
          BitsOf(RoundToEven(x)),
          BitsOf(x > 0 ? std::fmin(x, 1.0f) : 0.0f),
          BitsOf(std::fmod(x, y)),
          BitsOf(std::ldexp(x, static_cast<int>(at) - 8)),
          BitsOf(std::copysign(x, y)),
          std::isfinite(x) ? 1u : 0u,
          a < b ? b : a,
          CountBits(a),
          CountBits(b),
          static_cast<Word>(FindHighest(a)),
          static_cast<Word>(FindHighest((a >> 31) != 0 ? ~a : a)),
          static_cast<Word>(FindLowest(a)),
          static_cast<Word>(31 - FindHighest(a)),
          a == 0 ? 32 : static_cast<Word>(FindLowest(a)),
          field,
          isNegative != 0 ? field | ~MaskOf(0, bits) : field,
          (a & ~MaskOf(at, bits)) | ((b << at) & MaskOf(at, bits)),
          Reverse(a),
          std::rotl(a, static_cast<int>(b & 31)),
          HalfOf(x) | HalfOf(y) << 16,
          BitsOf(FloatOfHalf(a & 0x7BFF)),
          BitsOf(FloatOfHalf((a & 2080340991u) >> 16)),
          Unorm(x, 255) | Unorm(y, 255) << 8 | 128u << 16 | Unorm(quarter, 255) << 24,
          Snorm(x, 127, 255) | Snorm(y, 127, 255) << 8 | Snorm(-0.5f, 127, 255) << 16 | Snorm(quarter, 127, 255) << 24,
          Unorm(x, 65535) | Unorm(y, 65535) << 16,
          Snorm(x, 32767, 0xFFFF) | Snorm(y, 32767, 0xFFFF) << 16,
          BitsOf(static_cast<float>((a & 255) / 255.0)),
          BitsOf(static_cast<float>(std::fmax(signed8 / 127.0, -1.0))),
          BitsOf(static_cast<float>((a >> 16) / 65535.0)),
          BitsOf(static_cast<float>(std::fmax(signed16 / 32767.0, -1.0))),
          BitsOf(x * (1.0f - 0.25f) + y * 0.25f),
          std::isfinite(y) ? a : b,
          BitsOf(product * product),
          BitsOf(side < 0 ? x : -x)};
}

std::vector<double> ComputeRounded(Word a) {
  const double part = (a & 65535) / 65536.0;
  const double k = 1 - part * part * (1 - 0.64);
  return {1 / (0.5 + part), 1 / std::sqrt(0.5 + part), part * -0.8 - (part * -0.8 + std::sqrt(k)),
          std::atan2(part - 0.25, -0.5)};
}

class RunWordsTest : public testing::Test {
 protected:
  RunWordsTest() {
    // No number is below the normal range, where devices may round to zero.
    const float infinity = std::numeric_limits<float>::infinity(), tiny = std::ldexp(1.0f, -25);
    const std::vector<float> numbers = {
        0.0f,        -0.0f,       0.5f,       0.49999997f, 0.50000006f, 1.5f,
        2.5f,        -2.5f,       -0.5f,      1.0f,        -1.0f,       8388609.0f,
        4194303.5f,  65504.0f,    65519.996f, 65520.0f,    tiny,        std::nextafter(tiny, 1.0f),
        6.1035e-05f, 6.0976e-05f, infinity,   -infinity};
    const std::vector<Word> words = {0, 1, 0x80000000, 0xFFFFFFFF, 0x7FFFFFFF, 0x00010000, 0xAAAAAAAA, 31, 32, 15};
    for (const float x : numbers)
      for (const float y : numbers) _numbers.insert(_numbers.end(), {x, y});
    std::mt19937 random(7);
    const std::size_t pairs = 65536;
    for (Word i = 0; _numbers.size() < 2 * pairs; ++i) {
      const float x = static_cast<float>(static_cast<std::int32_t>(random())) *
                      std::ldexp(1.0f, -31 + static_cast<int>(random() % 30) - 8);
      _numbers.insert(_numbers.end(),
                      {i % 3 == 0 ? std::round(x) + 0.5f : x, static_cast<float>(random() % 4096 + 1) / 256.0f});
    }
    // All values of both halves of a word.
    for (Word i = 0; _words.size() < 2 * pairs; ++i)
      _words.insert(_words.end(), {i * 0x00010001, i < 1000 ? words[i % words.size()] : static_cast<Word>(random())});
    for (std::size_t i = 0; i < words.size() * words.size(); ++i) {
      _words[2 * (1000 + i)] = words[i / words.size()];
      _words[2 * (1000 + i) + 1] = words[i % words.size()];
    }
    _folder.Write("numbers.raw", BytesOf(_numbers));
    _folder.Write("words.raw", BytesOf(_words));
  }

  std::size_t GetCount() const { return _words.size() / 2 - 3; }  // no whole lanes

  ToolResult Run(const std::vector<std::string>& options) {
    const std::string count = std::to_string(GetCount());
    std::vector<std::string> arguments = {"run",    GetTestKernel("extended/net.example.words.krn"),
                                          "--in",   "numbers=" + _folder / "numbers.raw",
                                          "--in",   "words=" + _folder / "words.raw",
                                          "--in",   "results=zeros:" + std::to_string(GetCount() * kResults),
                                          "--in",   "rounded=zeros:" + std::to_string(GetCount() * kRounded),
                                          "--out",  "results=" + _folder / "results.raw",
                                          "--out",  "rounded=" + _folder / "rounded.raw",
                                          "--set",  "count=" + count,
                                          "--size", count};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }

  void CheckResults() {
    const std::vector<Word> results = ValuesOf<Word>(_folder.Read("results.raw"));
    const std::vector<float> rounded = ValuesOf<float>(_folder.Read("rounded.raw"));
    ASSERT_EQ(results.size(), GetCount() * kResults);
    ASSERT_EQ(rounded.size(), GetCount() * kRounded);
    for (std::size_t i = 0; i < GetCount(); ++i) {
      const float x = _numbers[2 * i], y = _numbers[2 * i + 1];
      const Word a = _words[2 * i], b = _words[2 * i + 1];
      const std::vector<Word> expected = ComputeResults(x, y, a, b);
      ASSERT_EQ(expected.size(), kResults);
      for (std::size_t k = 0; k < kResults; ++k) {
        const Word found = results[i * kResults + k];
        if (IsNan(expected[k]) && IsNan(found)) continue;
        ASSERT_EQ(found, expected[k]) << "result " << k << " of " << x << ", " << y << ", " << a << ", " << b;
      }
      const std::vector<double> exact = ComputeRounded(a);
      // Devices may take 4096 units in the last place for an angle.
      const double distances[kRounded] = {1e-6, 1e-6, 1e-6, 5e-4};
      for (std::size_t k = 0; k < kRounded; ++k)
        ASSERT_NEAR(rounded[i * kRounded + k], exact[k], distances[k] * std::fmax(1.0, std::fabs(exact[k])))
            << k << " of " << a;
    }
  }

  TemporaryFolder _folder;
  std::vector<float> _numbers;
  std::vector<Word> _words;
};

TEST_F(RunWordsTest, LanesComputeWhatTheCLibraryDoes) {
  const ToolResult cpu = Run({"--backend", "cpu"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults();
}

TEST_F(RunWordsTest, OneInvocationAtATimeComputesWhatTheCLibraryDoes) {
  const ToolResult cpu = Run({"--backend", "cpu", "--debug"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  CheckResults();
}

TEST_F(RunWordsTest, TheGpuComputesWhatTheCLibraryDoes) {
  const ToolResult gpu = Run({"--backend", "gpu"});
  if (gpu.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(gpu.exitStatus, 0) << gpu.errors;
  CheckResults();
}

TEST_F(RunWordsTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("extended/net.example.words.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors << result.output;
}

}  // namespace
}  // namespace ostra
