// The kernels of the library against plain loops in Float64.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "conformance/kernel_scenarios.h"
#include "tests/kernels/kernel_runner.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

using namespace conformance;

// A kernel after its scenario has run.
class FinishedKernel : public KernelRunner {
 public:
  explicit FinishedKernel(const char* name) : KernelRunner(GetKernelId(name)) {
    for (const KernelScenario& scenario : GetKernelScenarios()) {
      if (std::string_view(scenario.name) != name) continue;
      scenario.prepare(*this);
      EXPECT_THAT(Run(scenario.extent), IsOk());
      return;
    }
    ADD_FAILURE() << "There is no scenario for " << name;
  }
};

class KernelLibraryTest : public testing::Test {
 protected:
  static Int At(Int32 x, Int32 y) { return Int{std::clamp(y, 0, kHeight - 1)} * kWidth + std::clamp(x, 0, kWidth - 1); }
  template <class Visit>
  static void ForEachPixel(Visit&& visit) {
    for (Int32 y = 0; y < kHeight; ++y)
      for (Int32 x = 0; x < kWidth; ++x) visit(x, y);
  }
  static Float64 GetBrightness(const Vec4<Float32>& pixel) {
    return 0.2126 * pixel.x + 0.7152 * pixel.y + 0.0722 * pixel.z;
  }
};

TEST_F(KernelLibraryTest, SaxpyAddsTheScaledVectorAndLeavesTheRestAlone) {
  const auto x = MakeNumbers(kCount, -5, 5), y = MakeNumbers(kCount, -9, 2);
  const auto result = FinishedKernel("saxpy").GetBuffer<Float32>("y");
  for (UInt32 i = 0; i < kCount - 2; ++i) EXPECT_EQ(result[i], 1.7f * x[i] + y[i]) << i;
  for (UInt32 i = kCount - 2; i < kCount; ++i) EXPECT_EQ(result[i], y[i]) << i;
}

TEST_F(KernelLibraryTest, IndexWritesTheNumbersOfTheElements) {
  const auto values = FinishedKernel("index").GetBuffer<UInt32>("values");
  for (UInt32 i = 0; i < kCount; ++i) EXPECT_EQ(values[i], i < kCount - 2 ? i : 7) << i;
}

TEST_F(KernelLibraryTest, GroupsSumAndScanTheirElements) {
  const auto source = MakeNumbers(kCount, -1, 1);
  const auto sums = FinishedKernel("groupsum").GetBuffer<Float32>("sums");
  const FinishedKernel scan("groupscan");
  const auto target = scan.GetBuffer<UInt32>("target"), totals = scan.GetBuffer<UInt32>("totals");
  for (UInt32 group = 0; group < 4; ++group) {
    Float64 sum = 0;
    UInt32 total = 0;
    for (UInt32 i = group * 256; i < std::min(group * 256 + 256, kCount - 2); ++i) {
      sum += source[i];
      total += i * i;
      EXPECT_EQ(target[i], total) << i;
    }
    EXPECT_NEAR(sums[group], sum, 1e-4) << group;
    EXPECT_EQ(totals[group], total) << group;
  }
  for (UInt32 i = kCount - 2; i < kCount; ++i) EXPECT_EQ(target[i], 0u);
}

TEST_F(KernelLibraryTest, GroupsOfAKernelThatHasRunAllocateNothing) {
  FinishedKernel sums("groupsum");
  const std::vector<Byte> state = sums.GetState();
  for (const Way way : {Way::kUnordered, Way::kInSmallPieces, Way::kOrdered}) {
    const FailingAllocation failure(1);
    EXPECT_THAT(sums.Run({kCount, 1, 1}, way), IsOk());
    EXPECT_FALSE(AllocationFaults::HasFired());
  }
  EXPECT_EQ(sums.GetState(), state);
}

TEST_F(KernelLibraryTest, GroupsWithoutMemoryAreAnError) {
  KernelRunner sums(GetKernelId("groupsum"));
  sums.SetValue("count", UInt32{4});
  sums.SetBuffer<Float32>("source", {1, 2, 3, 4});
  sums.SetBuffer<Float32>("sums", {0});
  {
    const FailingAllocation failure(1);
    EXPECT_THAT(sums.Run({4, 1, 1}), IsErrorOfKind(kOutOfMemoryError));
  }
  EXPECT_THAT(sums.Run({4, 1, 1}), IsOk());
  EXPECT_THAT(sums.GetBuffer<Float32>("sums"), testing::ElementsAre(10));
}

TEST_F(KernelLibraryTest, GroupsCountAndSortTheirElements) {
  std::vector<UInt32> counts(256);
  for (UInt32 i = 0; i < kCount - 2; ++i) ++counts[std::min(i * i % 300, 255u)];
  EXPECT_EQ(FinishedKernel("grouphistogram").GetBuffer<UInt32>("bins"), counts);
  auto sorted = MakeNumbers(kCount, -1, 1);
  for (Int i = 0; i < Int{kCount} - 2; i += 256)
    std::sort(sorted.begin() + i, sorted.begin() + std::min(i + 256, Int{kCount} - 2));
  EXPECT_EQ(FinishedKernel("bitonicsort").GetBuffer<Float32>("values"), sorted);
}

TEST_F(KernelLibraryTest, TilesOfGroupsMultiplyMatricesAndSpreadHeat) {
  const auto left = MakeNumbers(Int{kHeight} * kInner, -1, 1), right = MakeNumbers(Int{kInner} * kWidth, -1, 1);
  const auto product = FinishedKernel("matrixproduct").GetBuffer<Float32>("product");
  const auto heat = MakeNumbers(Int{kWidth} * kHeight, 0, 100);
  const auto target = FinishedKernel("diffusion").GetBuffer<Float32>("target");
  ForEachPixel([&](Int32 x, Int32 y) {
    Float64 sum = 0;
    for (Int k = 0; k < Int{kInner}; ++k) sum += Float64{left[y * Int{kInner} + k]} * right[k * kWidth + x];
    EXPECT_NEAR(product[At(x, y)], sum, 1e-5);
    const Float64 mean =
        (Float64{heat[At(x, y - 1)]} + heat[At(x - 1, y)] + heat[At(x + 1, y)] + heat[At(x, y + 1)]) / 4;
    EXPECT_NEAR(target[At(x, y)], heat[At(x, y)] + (mean - heat[At(x, y)]) * 0.7, 1e-4);
  });
}

// What the kernel computes, statement by statement for all invocations of a group.
std::vector<UInt32> MakeGroupControl(UInt32 rounds) {
  constexpr UInt32 kSize = 16;
  std::vector<UInt32> ring(kSize), result(4 * kSize);
  UInt32 turns = 0, hundreds = 0, halves = 0;
  for (UInt32 k = 0; k < kSize; ++k) ring[k] = k * k;
  for (UInt32 round = 1; round <= rounds; ++round) {
    if (round == 2) {
      hundreds += 100;
      continue;
    }
    std::rotate(ring.begin(), ring.begin() + 1, ring.end());
    if (round > 5) break;
    ++turns;
    ++halves;
  }
  const UInt32 ends = turns < 3 ? 3 - turns : 1;
  turns += ends;
  ring[0] += kSize * (kSize - 1) / 2;
  for (UInt32 k = 0; k < kSize; ++k) {
    result[4 * k] = rounds == 7 ? 7 : ring[(k + 3) % kSize];
    if (rounds == 7 || k == 5) continue;
    result[4 * k + 1] = k == kSize - 1 ? 1000 : k + ends;
    result[4 * k + 2] = k + 1 + hundreds + halves;
    result[4 * k + 3] = 7 + k + turns * 1000;
  }
  return result;
}

TEST_F(KernelLibraryTest, GroupsComeToTheirBarriersInEveryKindOfControlFlow) {
  for (const UInt32 rounds : {0u, 1u, 2u, 4u, 7u, 9u}) {
    SCOPED_TRACE(rounds);
    const std::vector<UInt32> expected = MakeGroupControl(rounds);
    for (const Way way : kAllWays) {
      KernelRunner runner("net.ostra.test.groupcontrol.krn");
      static_cast<ScenarioTarget&>(runner).SetValue<UInt32>("rounds", rounds);
      static_cast<ScenarioTarget&>(runner).SetBuffer("result", std::vector<UInt32>(8 * 64));
      ASSERT_THAT(runner.Run({16, 4, 2}, way), IsOk());
      const auto result = runner.GetBuffer<UInt32>("result");
      for (Int i = 0; i < 8 * 64; ++i) ASSERT_EQ(result[i], expected[i % 64]) << i;
    }
  }
}

TEST_F(KernelLibraryTest, InvocationsThatHaveReturnedRunNothingBehindABarrier) {
  for (const UInt32 mode : {0u, 1u, 2u}) {
    SCOPED_TRACE(mode);
    KernelRunner runner("net.ostra.test.groupreturns.krn");
    static_cast<ScenarioTarget&>(runner).SetValue<UInt32>("mode", mode);
    static_cast<ScenarioTarget&>(runner).SetBuffer("result", std::vector<UInt32>(24, 7));
    ASSERT_THAT(runner.Run({12, 2, 1}), IsOk());
    const auto result = runner.GetBuffer<UInt32>("result");
    for (UInt32 i = 0; i < 24; ++i) {
      const UInt32 other = 11 - i % 12 + mode;
      const Bool isEarly = mode > 0 && other == 5, isLate = mode == 2 && i % 12 == 3;
      EXPECT_EQ(result[i], isEarly ? 7 : (mode > 0 ? other : 7) + (isLate ? 0 : 100)) << i;
    }
  }
}

TEST_F(KernelLibraryTest, BlurWeighsTheNeighboursAndClampsAtTheEdges) {
  const auto source = MakePixels(Int{kWidth} * kHeight, 1.5f);
  const auto taps = MakeNumbers(25, 0, 0.08f);
  const auto target = FinishedKernel("blur5").GetBuffer<Vec4<Float32>>("target");
  ForEachPixel([&](Int32 x, Int32 y) {
    for (int channel = 0; channel < 4; ++channel) {
      Float64 sum = 0;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx)
          sum += Float64{source[At(x + dx, y + dy)][channel]} * taps[(dy + 2) * 5 + dx + 2];
      ASSERT_NEAR(target[At(x, y)][channel], sum, 1e-5) << x << ", " << y;
    }
  });
}

TEST_F(KernelLibraryTest, BilateralFilterWeighsByDistanceAndLikeness) {
  const auto source = MakePixels(Int{kWidth} * kHeight, 1.5f);
  const auto target = FinishedKernel("bilateral").GetBuffer<Vec4<Float32>>("target");
  ForEachPixel([&](Int32 x, Int32 y) {
    const auto& center = source[At(x, y)];
    Float64 sum[3] = {}, weights = 0;
    for (int dy = -3; dy <= 3; ++dy) {
      for (int dx = -3; dx <= 3; ++dx) {
        const auto& other = source[At(x + dx, y + dy)];
        Float64 difference = 0;
        for (int channel = 0; channel < 3; ++channel)
          difference += std::pow(Float64{other[channel]} - center[channel], 2);
        const Float64 weight =
            std::exp(-(dx * dx + dy * dy) / (2 * 1.5 * 1.5)) * std::exp(-difference / (2 * Float64{0.3f} * 0.3f));
        for (int channel = 0; channel < 3; ++channel) sum[channel] += weight * other[channel];
        weights += weight;
      }
    }
    for (int channel = 0; channel < 3; ++channel)
      ASSERT_NEAR(target[At(x, y)][channel], sum[channel] / weights, 1e-5) << x << ", " << y;
    ASSERT_EQ(target[At(x, y)].w, center.w);
  });
}

TEST_F(KernelLibraryTest, ToneMappingCountsClippedPixelsAndStaysInRange) {
  const auto source = MakePixels(kCount, 8.0f);
  const FinishedKernel runner("tonemap");
  const auto target = runner.GetBuffer<Vec4<Float32>>("target");
  auto curve = [](Float64 x) { return x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14); };
  UInt32 clipped = 5;
  for (UInt32 i = 0; i < kCount - 2; ++i) {
    clipped += GetBrightness(source[i]) * 1.3 > 4.0;
    for (int channel = 0; channel < 3; ++channel) {
      const Float64 mapped = std::clamp(curve(1.3 * source[i][channel]) / curve(4.0), 0.0, 1.0);
      ASSERT_NEAR(target[i][channel], std::pow(mapped, 1 / 2.2), 1e-5) << i;
    }
    ASSERT_EQ(target[i].w, source[i].w);
  }
  EXPECT_EQ(runner.GetCounter("clipped"), clipped);
  EXPECT_GT(clipped, 5u);
}

TEST_F(KernelLibraryTest, HistogramPutsEveryPixelIntoItsBin) {
  const auto source = MakePixels(kCount, 4.0f);
  const auto bins = FinishedKernel("histogram").GetBuffer<UInt32>("bins");
  std::vector<UInt32> expected(16);
  for (UInt32 i = 0; i < kCount - 2; ++i)
    ++expected[std::min(15, static_cast<int>(GetBrightness(source[i]) / 3.0 * 16.0))];
  EXPECT_EQ(bins, expected);
}

TEST_F(KernelLibraryTest, MandelbrotCountsTheStepsWithinTheCircle) {
  const auto steps = FinishedKernel("mandelbrot").GetBuffer<UInt32>("steps");
  UInt32 inside = 0;
  ForEachPixel([&](Int32 x, Int32 y) {
    const Float32 cx = -2.2f + static_cast<Float32>(x) * 0.1f, cy = -1.2f + static_cast<Float32>(y) * 0.1f;
    Float32 zx = 0, zy = 0;
    UInt32 count = 0;
    for (; count < 64 && zx * zx + zy * zy <= 4; ++count) {
      const Float32 next = zx * zx - zy * zy + cx;
      zy = 2 * zx * zy + cy;
      zx = next;
    }
    inside += count == 64;
    ASSERT_EQ(steps[At(x, y)], count) << x << ", " << y;
  });
  EXPECT_GT(inside, 20u);
}

TEST_F(KernelLibraryTest, ReactionDiffusionFollowsTheModelOnATorus) {
  const auto pixels = MakePixels(Int{kWidth} * kHeight, 1.0f);
  const auto target = FinishedKernel("reactiondiffusion").GetBuffer<Vec2<Float32>>("target");
  auto cell = [&](Int32 x, Int32 y, int substance) {
    return Float64{pixels[At((x + kWidth) % kWidth, (y + kHeight) % kHeight)][substance]};
  };
  ForEachPixel([&](Int32 x, Int32 y) {
    Float64 spread[2];
    for (int s = 0; s < 2; ++s) {
      spread[s] =
          0.2 * (cell(x - 1, y, s) + cell(x + 1, y, s) + cell(x, y - 1, s) + cell(x, y + 1, s)) - cell(x, y, s) +
          0.05 * (cell(x - 1, y - 1, s) + cell(x + 1, y - 1, s) + cell(x - 1, y + 1, s) + cell(x + 1, y + 1, s));
    }
    const Float64 a = cell(x, y, 0), b = cell(x, y, 1);
    const Float64 nextA = a + (spread[0] - a * b * b + 0.055 * (1 - a)) * 0.9;
    const Float64 nextB = b + (0.5 * spread[1] + a * b * b - (0.055 + 0.062) * b) * 0.9;
    ASSERT_NEAR(target[At(x, y)].x, std::clamp(nextA, 0.0, 1.0), 1e-5);
    ASSERT_NEAR(target[At(x, y)].y, std::clamp(nextB, 0.0, 1.0), 1e-5);
  });
}

TEST_F(KernelLibraryTest, BodiesAreMovedByThePullOfAllOthers) {
  const auto bodies = MakePixels(256, 1.0f), velocities = MakePixels(256, 0.1f);
  const FinishedKernel runner("nbody");
  const auto positions = runner.GetBuffer<Vec4<Float32>>("nextPositions");
  const auto nextVelocities = runner.GetBuffer<Vec4<Float32>>("nextVelocities");
  for (int i = 0; i < 256; ++i) {
    Float64 pull[3] = {};
    for (int k = 0; k < 256; ++k) {
      Float64 way[3], square = 0.01;
      for (int axis = 0; axis < 3; ++axis) {
        way[axis] = Float64{bodies[k][axis]} - bodies[i][axis];
        square += way[axis] * way[axis];
      }
      for (int axis = 0; axis < 3; ++axis) pull[axis] += way[axis] * bodies[k].w / std::pow(square, 1.5);
    }
    for (int axis = 0; axis < 3; ++axis) {
      const Float64 velocity = velocities[i][axis] + 0.02 * pull[axis];
      ASSERT_NEAR(nextVelocities[i][axis], velocity, 1e-3) << i;
      ASSERT_NEAR(positions[i][axis], bodies[i][axis] + 0.02 * velocity, 1e-4) << i;
    }
    ASSERT_EQ(positions[i].w, bodies[i].w);
    ASSERT_EQ(nextVelocities[i].w, velocities[i].w);
  }
}

TEST_F(KernelLibraryTest, ReductionInPassesAddsUpAllValues) {
  auto values = MakeNumbers(5000, 0, 1);
  const Float64 expected = std::accumulate(values.begin(), values.end(), 0.0);
  while (values.size() > 1) {
    const UInt32 sums = static_cast<UInt32>((values.size() + 15) / 16);
    KernelRunner runner(GetKernelId("reduction"));
    runner.SetValue("count", static_cast<UInt32>(values.size()));
    runner.SetValue<UInt32>("run", 16);
    runner.SetBuffer("values", values);
    runner.SetBuffer("sums", std::vector<Float32>(sums));
    ASSERT_THAT(runner.Run({sums, 1, 1}), IsOk());
    values = runner.GetBuffer<Float32>("sums");
  }
  EXPECT_NEAR(values[0], expected, 1e-2);
}

TEST_F(KernelLibraryTest, PassesOfDoublingDistanceMakeARunningSum) {
  std::vector<UInt32> values(kCount), expected(kCount);
  for (UInt32 i = 0; i < kCount; ++i) values[i] = i % 7;
  std::partial_sum(values.begin(), values.end(), expected.begin());
  for (UInt32 distance = 1; distance < kCount; distance *= 2) {
    KernelRunner runner(GetKernelId("prefixsum"));
    runner.SetValue<UInt32>("count", kCount);
    runner.SetValue("distance", distance);
    runner.SetBuffer("source", values);
    runner.SetBuffer("target", std::vector<UInt32>(kCount));
    ASSERT_THAT(runner.Run({kCount, 1, 1}), IsOk());
    values = runner.GetBuffer<UInt32>("target");
  }
  EXPECT_EQ(values, expected);
}

TEST_F(KernelLibraryTest, CompactionArgumentsAndIndirectKernelWorkTogether) {
  const FinishedKernel compact("compact");
  const auto counts = compact.GetBuffer<UInt32>("counts");
  std::vector<Float32> expected;
  for (const Float32 value : MakeNumbers(kCount, -1, 1)) expected.push_back(value);
  expected.resize(kCount - 2);
  std::erase_if(expected, [](Float32 value) { return value <= 0.25f; });
  ASSERT_EQ(counts[0], expected.size());

  KernelRunner arguments(GetKernelId("dispatcharguments"));
  arguments.SetValue<Int32>("groupSize", 64);
  arguments.SetBuffer("counts", counts);
  arguments.SetBuffer("arguments", std::vector<Vec4<Int32>>(1));
  ASSERT_THAT(arguments.Run({1, 1, 1}), IsOk());
  const Vec4<Int32> groups = arguments.GetBuffer<Vec4<Int32>>("arguments")[0];
  ASSERT_EQ(groups, Vec4<Int32>((static_cast<Int32>(counts[0]) + 63) / 64, 1, 1, static_cast<Int32>(counts[0])));

  KernelRunner roots(GetKernelId("squareroots"));
  roots.SetBuffer("counts", counts);
  roots.SetBuffer("values", compact.GetBuffer<Float32>("found"));
  ASSERT_EQ(roots.GetKernel().GetKernelWorkGroupSize().x, 64u);
  ASSERT_THAT(roots.Run({static_cast<UInt32>(groups.x) * 64, 1, 1}), IsOk());
  auto found = roots.GetBuffer<Float32>("values");
  for (std::size_t i = 0; i < found.size(); ++i)
    EXPECT_EQ(found[i], i < expected.size() ? std::sqrt(expected[i]) : 0.0f) << i;
}

}  // namespace
}  // namespace ostra::test
