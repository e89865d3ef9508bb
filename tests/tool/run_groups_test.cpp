// Words of a work group, on the CPU and the GPU, against plain loops.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"
#include "tests/tool/word_values.h"

namespace ostra {
namespace {

constexpr std::size_t kCount = 257, kGroup = 100;  // the last group is not full, and no group is a power of 2
constexpr std::size_t kNumbers = 6, kWords = 4;

// In the order that the documentation names.
float SumUp(std::vector<float> values) {
  for (std::size_t reach = std::bit_ceil(values.size()) / 2; reach > 0; reach /= 2) {
    for (std::size_t k = 0; k < reach && k + reach < values.size(); ++k) values[k] += values[k + reach];
  }
  return values[0];
}

std::vector<float> SumUpTo(std::vector<float> values) {
  for (std::size_t reach = 1; reach < values.size(); reach *= 2) {
    std::vector<float> sums = values;
    for (std::size_t k = reach; k < values.size(); ++k) sums[k] = values[k] + values[k - reach];
    values = sums;
  }
  return values;
}

class RunGroupsTest : public testing::TestWithParam<std::string> {
 protected:
  RunGroupsTest() {
    std::mt19937 random(5);
    for (std::size_t i = 0; i < kCount; ++i)
      _source.push_back(static_cast<float>(random() >> 8) * std::ldexp(1.0f, -24));
    _folder.Write("source.raw", std::string(reinterpret_cast<const char*>(_source.data()), kCount * sizeof(float)));
  }

  // What the kernel sees of a group.
  std::vector<float> GetGroup(std::size_t group) const {
    std::vector<float> values(kGroup, 0.0f);
    for (std::size_t k = 0; k < kGroup && group * kGroup + k < kCount; ++k) values[k] = _source[group * kGroup + k];
    return values;
  }

  TemporaryFolder _folder;
  std::vector<float> _source;
};

TEST_P(RunGroupsTest, GiveWhatLoopsDo) {
  const ToolResult result = RunTool(
      {"run", GetTestKernel("extended/net.example.groups.krn"), "--backend", GetParam(), "--in",
       "source=" + _folder / "source.raw", "--in", "target=zeros:" + std::to_string(kCount * kNumbers), "--in",
       "words=zeros:" + std::to_string(kCount * kWords), "--out", "target=" + _folder / "target.raw", "--out",
       "words=" + _folder / "words.raw", "--set", "count=" + std::to_string(kCount), "--size", std::to_string(kCount)});
  if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const std::vector<float> target = ValuesOf<float>(_folder.Read("target.raw"));
  const std::vector<Word> words = ValuesOf<Word>(_folder.Read("words.raw"));
  ASSERT_EQ(target.size(), kCount * kNumbers);
  ASSERT_EQ(words.size(), kCount * kWords);
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::vector<float> values = GetGroup(i / kGroup), sums = SumUpTo(values);
    const std::size_t k = i % kGroup;
    const float *const numbers = &target[i * kNumbers], largest = *std::max_element(values.begin(), values.end());
    EXPECT_EQ(numbers[0], SumUp(values)) << i;
    EXPECT_EQ(numbers[1], largest) << i;
    EXPECT_EQ(numbers[2], -*std::min_element(values.begin(), values.end())) << i;
    EXPECT_EQ(numbers[3], k == 0 ? 0.0f : sums[k - 1]) << i;
    EXPECT_EQ(numbers[4], sums[k]) << i;
    EXPECT_EQ(numbers[5], values[3]) << i;
    Word count = 0, bits = 0, mask = 0, steps = 1;
    for (std::size_t j = 0; j < kGroup; ++j) {
      count += values[j] > 0.5f ? 1 : 0;
      mask ^= std::bit_cast<Word>(values[j]);
      if (j / 32 == k / 32 && values[j] > 0.5f) bits |= 1u << (j % 32);
    }
    for (float x = largest * 0.5f; x > 0.1f; x *= 0.5f) ++steps;
    const Word* const found = &words[i * kWords];
    EXPECT_EQ(found[0], count) << i;
    EXPECT_EQ(found[1], bits) << i;
    EXPECT_EQ(found[2], (largest > 0.99f ? 1u : 0u) + 2u + steps * 4u) << i;
    EXPECT_EQ(found[3], mask) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Backends, RunGroupsTest, testing::Values("cpu", "gpu"),
                         [](const auto& parameter) { return parameter.param; });

TEST(CheckGroupsTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("extended/net.example.groups.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.output, "1 file, 4 targets: 0 errors, 0 warnings\n");
}

}  // namespace
}  // namespace ostra
