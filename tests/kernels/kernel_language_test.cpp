// What the words of the dialect mean on the CPU.
#include <cmath>
#include <limits>

#include "conformance/kernel_scenarios.h"
#include "tests/kernels/kernel_runner.h"

namespace ostra::kernelclasses {
Result<ClassRef> Create_by_hand();
Result<ClassRef> Create_by_hand_checked();
}  // namespace ostra::kernelclasses

namespace ostra::test {
namespace {

using namespace conformance;

using Ids = Vec3<UInt32>;

struct Shape {
  Ids extent;
  UInt32 first, count;
};

class KernelIdsTest : public testing::TestWithParam<Shape> {
 protected:
  static constexpr Ids kGroup{4, 3, 2};

  static void Prepare(KernelRunner& runner, const Ids& extent) {
    const std::vector<Ids> ids(extent.x * extent.y * extent.z, Ids(9999, 9999, 9999));
    runner.SetValue("width", extent.x);
    runner.SetValue("height", extent.y);
    runner.SetBuffer("globals", ids);
    runner.SetBuffer("locals", ids);
    runner.SetBuffer("groups", ids);
    runner.SetBuffer("numbers", std::vector<UInt32>(ids.size(), 9999));
  }
};

TEST_P(KernelIdsTest, ARangeRunsExactlyItsInvocationsWithTheirIds) {
  const auto [extent, first, count] = GetParam();
  for (const Bool isOrdered : {false, true}) {
    KernelRunner runner("net.ostra.test.ids.krn");
    Prepare(runner, extent);
    ASSERT_THAT(runner.RunRange({.extent = extent, .first = first, .count = count, .isOrdered = isOrdered}), IsOk());
    const auto globals = runner.GetBuffer<Ids>("globals"), locals = runner.GetBuffer<Ids>("locals");
    const auto groups = runner.GetBuffer<Ids>("groups");
    const auto numbers = runner.GetBuffer<UInt32>("numbers");
    for (UInt32 i = 0; i < globals.size(); ++i) {
      if (i < first || i >= first + count) {
        ASSERT_EQ(globals[i], Ids(9999, 9999, 9999)) << i << " is not of the range";
        continue;
      }
      const Ids global(i % extent.x, i / extent.x % extent.y, i / extent.x / extent.y);
      ASSERT_EQ(globals[i], global) << i;
      ASSERT_EQ(locals[i], global % kGroup) << i;
      ASSERT_EQ(groups[i], global / kGroup) << i;
      ASSERT_EQ(numbers[i], global.x + global.y / kGroup.y * 65535 * kGroup.x) << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, KernelIdsTest,
                         testing::Values(Shape{{10, 1, 1}, 0, 10}, Shape{{10, 1, 1}, 3, 5}, Shape{{7, 5, 3}, 0, 105},
                                         Shape{{7, 5, 3}, 33, 40}, Shape{{7, 5, 3}, 34, 1}, Shape{{1, 9, 4}, 5, 25},
                                         Shape{{16, 3, 2}, 16, 16}, Shape{{5, 5, 5}, 124, 1}, Shape{{5, 5, 5}, 60, 0}));

TEST(KernelLanguageTest, DirectivesSetTheTuningValues) {
  KernelRunner runner("net.ostra.test.ids.krn");
  EXPECT_EQ(runner.GetKernel().GetKernelWorkGroupSize(), Ids(4, 3, 2));
  EXPECT_EQ(runner.GetKernel().GetGranularity(), 9);
  EXPECT_EQ(runner.GetKernel().GetSingleThreadedThreshold(), 77);
  KernelRunner plain("net.ostra.test.templated.krn");
  EXPECT_EQ(plain.GetKernel().GetKernelWorkGroupSize(), Ids(256, 1, 1));
  EXPECT_EQ(plain.GetKernel().GetGranularity(), 16);
  EXPECT_EQ(plain.GetKernel().GetSingleThreadedThreshold(), 0);
}

TEST(KernelLanguageTest, NumbersOfInvocationsWrapWhereThirtyTwoBitsEnd) {
  // Row 3 * 6000 lies in group row 6000: 6000 * 65535 * 4 invocations before it do not fit 32 bits.
  const Ids extent(8, 18001, 1);
  for (const Way way : {Way::kUnordered, Way::kOneByOne}) {
    KernelRunner runner("net.ostra.test.ids.krn");
    const UInt32 total = extent.x * extent.y;
    runner.SetValue("width", extent.x);
    runner.SetValue("height", extent.y);
    runner.SetBuffer("globals", std::vector<Ids>(total));
    runner.SetBuffer("locals", std::vector<Ids>(total));
    runner.SetBuffer("groups", std::vector<Ids>(total));
    runner.SetBuffer("numbers", std::vector<UInt32>(total));
    ASSERT_THAT(runner.Run(extent, way), IsOk());
    const auto numbers = runner.GetBuffer<UInt32>("numbers");
    for (UInt32 i = 0; i < total; ++i) {
      const UInt64 number = i % 8 + UInt64{i / 8 / 3} * 65535 * 4;
      ASSERT_EQ(numbers[i], static_cast<UInt32>(number)) << i;
    }
  }
}

TEST(KernelGuardTest, InvocationsBelowTheBoundRunAndNoOthersHoweverTheyAreCutUp) {
  for (const Way way : kAllWays) {
    for (const UInt32 count : {0u, 1u, 7u, 8u, 9u, 40u, 41u, 0xffffffffu}) {
      for (const UInt32 width : {1u, 8u, 33u, 40u}) {
        KernelRunner runner("net.ostra.test.guarded.krn");
        runner.SetValue("count", count);
        runner.SetValue<UInt32>("offset", 100);
        runner.SetBuffer("values", std::vector<UInt32>(40, 7));
        ASSERT_THAT(runner.Run({width, 1, 1}, way), IsOk());
        const auto values = runner.GetBuffer<UInt32>("values");
        for (UInt32 i = 0; i < 40; ++i)
          ASSERT_EQ(values[i], i < width && i < count ? i + 100 : 7) << count << ", " << width;
      }
    }
  }
}

TEST(KernelGuardTest, RowsBeyondTheBoundAndBoundsThatAreNoIntegersDoAsTheyShould) {
  const Ids extent(5, 6, 1);
  for (const Way way : kAllWays) {
    for (const Float32 width : {0.0f, 2.5f, 9.0f}) {
      KernelRunner runner("net.ostra.test.guarded2d.krn");
      runner.SetValue("width", width);
      runner.SetValue<UInt32>("columns", 4);
      runner.SetValue<UInt32>("pitch", 5);
      runner.SetValue<UInt32>("height", 3);
      runner.SetBuffer("values", std::vector<UInt32>(30));
      ASSERT_THAT(runner.Run(extent, way), IsOk());
      const auto values = runner.GetBuffer<UInt32>("values");
      for (UInt32 i = 0; i < 30; ++i) {
        const UInt32 x = i % 5, y = i / 5;
        ASSERT_EQ(values[i], static_cast<Float32>(x) < width && x < 4 && y < 3 ? 1 : 0) << i;
      }
    }
  }
}

class StructFormTest : public testing::Test {
 protected:
  StructFormTest() : runner("net.ostra.test.structform.krn") {
    runner.SetValue("factor", 3.0f);
    runner.SetValue<UInt32>("failing", 1000);
    runner.SetBuffer("values", std::vector<Float32>(6, 50.0f));
    runner.SetBuffer("steps", std::vector<Float32>{1, -2, 3, -4, 5, 6});
  }
  KernelRunner runner;
};

TEST_F(StructFormTest, ReadsItsMembersAndLeavesEarly) {
  for (const Way way : kAllWays) {
    runner.SetBuffer("values", std::vector<Float32>(6, 50.0f));
    ASSERT_THAT(runner.Run({6, 1, 1}, way), IsOk());
    EXPECT_EQ(runner.GetBuffer<Float32>("values"), (std::vector<Float32>{3.1f, 50, 9.1f, 50, 15.1f, 18.1f}));
  }
}

TEST_F(StructFormTest, TheFirstErrorEndsTheRangeAndIsReturned) {
  runner.SetValue<UInt32>("failing", 2);
  for (const Bool isOrdered : {true, false}) {
    runner.SetBuffer("values", std::vector<Float32>(6, 50.0f));
    EXPECT_THAT(runner.RunRange({.extent = {6, 1, 1}, .first = 0, .count = 6, .isOrdered = isOrdered}),
                IsErrorWith(kIllegalStateError, "Invocation 2 failed."));
    EXPECT_EQ(runner.GetBuffer<Float32>("values"), (std::vector<Float32>{3.1f, 50, 50, 50, 50, 50}));
  }
}

TEST_F(StructFormTest, AStopKeepsFurtherInvocationsFromRunning) {
  const Atomic<Byte> stop{1};
  EXPECT_THAT(runner.RunRange({.extent = {6, 1, 1}, .first = 0, .count = 6, .stop = &stop}), IsOk());
  EXPECT_EQ(runner.GetBuffer<Float32>("values"), std::vector<Float32>(6, 50.0f));
}

TEST(KernelLanguageTest, EveryWordOfTheDialectDoesItsWork) {
  KernelRunner runner("net.ostra.test.words.krn");
  const std::vector<Float32> points = {2.25f, 3.5f, -1.75f};
  SquareMatrix4d32 place{};
  place.v0.w = 10;
  place.v1.w = 20;
  place.v2.w = 30;
  runner.SetBuffer("points", points);
  runner.SetBuffer("results", std::vector<Vec4<Float32>>(3));
  runner.SetValue("place", place);
  runner.SetValue("turn", SquareMatrix32({0, 1, 0}, {1, 0, 0}, {0, 0, 2}));
  runner.SetValue("halves", Vec4<HalfFloat>(Vec4<Float32>(1, 8, 1, 1)));
  runner.SetValue<Float64>("precise", 0.1);
  runner.SetBuffer("highest", std::vector<UInt32>{0});
  runner.SetCounter("counter", 1);
  ASSERT_THAT(runner.Run({3, 1, 1}), IsOk());
  const auto results = runner.GetBuffer<Vec4<Float32>>("results");
  for (int i = 0; i < 3; ++i) {
    const Float32 whole = std::floor(points[i]), part = points[i] - whole;
    EXPECT_EQ(results[i], Vec4<Float32>(10 + 0.625f, 20 + whole, 30 + 2 * part, -1)) << i;
  }
  EXPECT_EQ(runner.GetCounter("counter"), 7u);
  EXPECT_EQ(runner.GetBuffer<UInt32>("highest")[0], 2u);
  runner.SetValue<Float64>("precise", 0.2);
  ASSERT_THAT(runner.Run({3, 1, 1}), IsOk());
  EXPECT_EQ(runner.GetBuffer<Vec4<Float32>>("results")[0].w, 6.0f);
}

TEST(KernelLanguageTest, SignedIntegersWrapAroundInEveryWayOfRunning) {
  constexpr Int32 kLeast = std::numeric_limits<Int32>::min(), kGreatest = std::numeric_limits<Int32>::max();
  for (const Way way : kAllWays) {
    KernelRunner runner("net.ostra.parity.overflow.krn");
    runner.SetValue<UInt32>("count", 2);
    runner.SetBuffer("a", std::vector<Int32>{kGreatest, kLeast});
    runner.SetBuffer("b", std::vector<Int32>{2, 1});
    runner.SetBuffer("results", std::vector<Int32>(20, 7));
    ASSERT_THAT(runner.Run({2, 1, 1}, way), IsOk());
    EXPECT_THAT(runner.GetBuffer<Int32>("results"),
                testing::ElementsAre(0, 1, 0, -kGreatest, 0, kLeast + 1, kGreatest - 2, -2, -128, 0,  // of the greatest
                                     1, 0, 0, kLeast, 1, kLeast + 1, kGreatest, kLeast, 0, 1))        // of the least
        << static_cast<int>(way);
  }
}

TEST(KernelLanguageTest, TypeStandsForTheTemplateArgument) {
  KernelRunner runner("net.ostra.test.templated.krn");
  runner.SetBuffer("source", std::vector<Vec2<Float32>>{{1, 2}, {3, 4}});
  runner.SetBuffer("target", std::vector<Vec2<Float32>>(2));
  ASSERT_THAT(runner.Run({2, 1, 1}), IsOk());
  EXPECT_EQ(runner.GetBuffer<Vec2<Float32>>("target"), (std::vector<Vec2<Float32>>{{2, 4}, {6, 8}}));
}

TEST(KernelLanguageTest, AKernelIncludedByHandIsTheKernelThatTheFrontStepMakes) {
  auto byHandClass = kernelclasses::Create_by_hand();
  ASSERT_THAT(byHandClass, IsOk());
  KernelRunner byHand(*byHandClass), made("net.ostra.test.byhand.krn");
  for (KernelRunner* runner : {&byHand, &made}) {
    EXPECT_EQ(runner->GetKernel().GetKernelWorkGroupSize(), Ids(32, 2, 1));
    EXPECT_EQ(runner->GetKernel().GetGranularity(), 5);
    EXPECT_EQ(runner->GetKernel().GetKernelParameterMap().GetCount(), 4);
    runner->SetValue<UInt32>("offset", 3);
    runner->SetBuffer("source", MakeNumbers(45, -1, 1));
    runner->SetBuffer("target", std::vector<Float32>(45));
    runner->SetCounter("runs", 0);
    ASSERT_THAT(runner->Run({45, 1, 1}), IsOk());
    EXPECT_EQ(runner->GetCounter("runs"), 45u);
  }
  EXPECT_EQ(byHand.GetState(), made.GetState());
}

TEST(KernelLanguageTest, AnIndexOutsideABufferStopsDebugBuildsAndNamesItsPlace) {
  auto checked = kernelclasses::Create_by_hand_checked();
  ASSERT_THAT(checked, IsOk());
  KernelRunner runner(*checked);
  runner.SetValue<UInt32>("offset", 1);
  runner.SetBuffer("source", MakeNumbers(4, -1, 1));
  runner.SetBuffer("target", std::vector<Float32>(4));
  runner.SetCounter("runs", 0);
  EXPECT_THAT(runner.Run({4, 1, 1}), IsOk());
  EXPECT_DEATH(static_cast<void>(runner.Run({5, 1, 1}, Way::kOrdered)),
               "net.ostra.test.byhand.krn:22: error: index 4 is outside the 4 elements of the buffer");
}

TEST(KernelLanguageTest, FastKernelsAreCloseToExactOnes) {
  KernelRunner runner("net.ostra.test.fast.krn");
  const auto source = MakeNumbers(100, -3, 3);
  runner.SetBuffer("source", source);
  runner.SetBuffer("target", std::vector<Float32>(100));
  runner.SetBuffer("kinds", std::vector<Float32>(100));
  ASSERT_THAT(runner.Run({100, 1, 1}), IsOk());
  const auto target = runner.GetBuffer<Float32>("target");
  for (int i = 0; i < 100; ++i) {
    const Float64 x = source[i], expected = std::exp(x) + std::pow(std::fabs(x), 1.5) * std::sin(x);
    EXPECT_NEAR(target[i], expected, 2e-6 * (1 + std::fabs(expected))) << x;
  }
}

TEST(KernelLanguageTest, FastKernelsKnowInfinitiesAndWhatIsNoNumber) {
  constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
  KernelRunner runner("net.ostra.test.fast.krn");
  runner.SetBuffer("source", std::vector<Float32>{kInfinity, -kInfinity, std::nanf(""), 1});
  runner.SetBuffer("target", std::vector<Float32>(4));
  runner.SetBuffer("kinds", std::vector<Float32>(4));
  ASSERT_THAT(runner.Run({4, 1, 1}), IsOk());
  EXPECT_EQ(runner.GetBuffer<Float32>("kinds"), (std::vector<Float32>{2, 2, 1, 0}));
}

TEST(KernelLanguageTest, FastInverseSquareRootsAreCloseEverywhere) {
  constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
  std::vector<Float32> source = {0.0f, kInfinity, std::nanf(""), -1.0f, 1e-40f, 1e-45f};
  for (Float32 x = std::numeric_limits<Float32>::min(); x < 3e38f; x *= 1.37f) source.push_back(x);
  const auto count = static_cast<UInt32>(source.size());
  KernelRunner runner("net.ostra.test.fastroots.krn");
  runner.SetBuffer("source", source);
  runner.SetBuffer("target", std::vector<Float32>(count));
  ASSERT_THAT(runner.Run({count, 1, 1}), IsOk());
  const auto target = runner.GetBuffer<Float32>("target");
  EXPECT_EQ(target[0], kInfinity);
  EXPECT_EQ(target[1], 0.0f);
  EXPECT_TRUE(std::isnan(target[2]));
  EXPECT_TRUE(std::isnan(target[3]));
  for (std::size_t i = 4; i < source.size(); ++i) {
    const Float64 expected = 1.0 / std::sqrt(Float64{source[i]});
    // Below the normal range the estimate stays as it is.
    EXPECT_NEAR(target[i], expected, (i < 6 ? 1e-4 : 3e-7) * expected) << source[i];
  }
}

}  // namespace
}  // namespace ostra::test
