// Kernels whose neighbouring invocations go different ways give the same bits at every width and for every length of a
// row.
#include "tests/kernels/kernel_runner.h"

#include <random>

namespace ostra::test {
namespace {

class LaneFormsTest : public testing::TestWithParam<UInt32> {
 protected:
  template <class T>
  std::vector<T> MakeIntegers(std::size_t count, Int64 low, Int64 high) {
    std::vector<T> numbers(count);
    for (T& number : numbers) number = static_cast<T>(std::uniform_int_distribution<Int64>(low, high)(_random));
    return numbers;
  }
  std::vector<Float32> MakeFloats(std::size_t count) {
    std::vector<Float32> numbers(count);
    for (Float32& number : numbers) number = std::uniform_real_distribution<Float32>(-6.0f, 6.0f)(_random);
    return numbers;
  }
  template <class Vector>
  std::vector<Vector> MakeVectors(std::size_t count) {
    std::vector<Vector> vectors(count);
    for (Vector& vector : vectors)
      for (int i = 0; i < Vector::length(); ++i) vector[i] = MakeFloats(1)[0];
    return vectors;
  }

  // Runs the kernel in every way and compares with one invocation after the other.
  template <class Prepare>
  void CompareWays(const char* id, const Vec3<UInt32>& extent, Prepare&& prepare) {
    KernelRunner before(id), expected(id);
    prepare(before);
    prepare(expected);
    ASSERT_THAT(expected.Run(extent, Way::kOneByOne), IsOk());
    ASSERT_NE(expected.GetState(), before.GetState()) << "The kernel did nothing.";
    for (const Way way : kAllWays) {
      KernelRunner runner(id);
      prepare(runner);
      ASSERT_THAT(runner.Run(extent, way), IsOk());
      EXPECT_EQ(runner.GetState(), expected.GetState()) << id << ", way " << static_cast<int>(way);
    }
  }

  const UInt32 _length = GetParam();
  std::mt19937 _random{GetParam() + 5};
};

TEST_P(LaneFormsTest, LoopsAndSwitchesThatInvocationsLeaveApart) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = MakeIntegers<Int32>(_length, -3, 25);
    CompareWays("net.ostra.test.lanecontrol.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<Int32>("results", std::vector<Int32>(_length, 12345));
    });
  }
}

TEST_P(LaneFormsTest, FunctionsThatInvocationsLeaveApart) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = MakeFloats(_length);
    CompareWays("net.ostra.test.lanefunctions.krn", {_length + 2, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("limit", 2.5f);
      runner.SetBuffer<Float32>("numbers", numbers);
      runner.SetBuffer<Float32>("results", std::vector<Float32>(_length, 0.125f));
    });
  }
}

TEST_P(LaneFormsTest, ElementsInARowTurnedAroundFarApartAndShared) {
  for (int run = 0; run < 10; ++run) {
    const auto fours = MakeVectors<Vector4d32>(_length);
    const auto threes = MakeVectors<Vector32>(_length);
    const auto places = MakeIntegers<UInt32>(_length, 0, _length - 1);
    CompareWays("net.ostra.test.lanememory.krn", {_length + 20, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetBuffer<Vector4d32>("fours", fours);
      runner.SetBuffer<Vector32>("threes", threes);
      runner.SetBuffer<UInt32>("places", places);
      runner.SetBuffer<Vector2d32>("twos", std::vector<Vector2d32>(_length, Vector2d32(9.0f, 8.0f)));
      runner.SetBuffer<Vector32>("turned", std::vector<Vector32>(_length, Vector32(7.0f, 6.0f, 5.0f)));
      runner.SetBuffer<UInt32>("bins", std::vector<UInt32>(5, 3));
      runner.SetBuffer<UInt32>("olds", std::vector<UInt32>(2 * _length, 4));
      runner.SetBuffer<Int32>("last", std::vector<Int32>(4, -1));
      runner.SetBuffer<Float64>("doubles", std::vector<Float64>(_length, 0.5));
      runner.SetCounter("counter", 5);
    });
  }
}

TEST_P(LaneFormsTest, PositionsInRowsAndGroups) {
  for (UInt32 height = 1; height <= 3; ++height) {
    CompareWays("net.ostra.test.lanepositions.krn", {_length + 1, height + 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("width", static_cast<Int32>(_length));
      runner.SetValue("height", static_cast<Int32>(height));
      runner.SetBuffer<Int32>("results", std::vector<Int32>(2 * _length * height, 77));
      runner.SetBuffer<Float32>("weights", std::vector<Float32>(_length * height, 0.75f));
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Lengths, LaneFormsTest, testing::Range(1u, 41u));

}  // namespace
}  // namespace ostra::test
