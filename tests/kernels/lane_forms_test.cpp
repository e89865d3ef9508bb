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
    CompareWays(id, extent, prepare, [](KernelRunner&) {});
  }
  // `finish` is told after each run.
  template <class Prepare, class Finish>
  void CompareWays(const char* id, const Vec3<UInt32>& extent, Prepare&& prepare, Finish&& finish) {
    KernelRunner before(id), expected(id);
    prepare(before);
    prepare(expected);
    ASSERT_THAT(expected.Run(extent, Way::kOneByOne), IsOk());
    finish(expected);
    // Results that are the same prove something only if the kernel does something.
    EXPECT_NE(expected.GetState(), before.GetState()) << id << " did nothing";
    for (const Way way : kAllWays) {
      KernelRunner runner(id);
      prepare(runner);
      ASSERT_THAT(runner.Run(extent, way), IsOk());
      finish(runner);
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

TEST_P(LaneFormsTest, LanesThatHaveContinuedOrReturned) {
  for (Int32 mode = 0; mode < 6; ++mode) {
    const auto numbers = MakeIntegers<Int32>(_length, -3, 25);
    auto places = MakeIntegers<UInt32>(_length, 0, _length - 1);
    // One lane that is on, of a number above its element's.
    for (UInt32 i = 0; mode % 2 == 0 && i < _length; ++i) places[i] = i % 3;
    CompareWays("net.ostra.test.lanereturns.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("mode", mode);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<UInt32>("places", places);
      runner.SetBuffer<Int32>("results", std::vector<Int32>(_length, 12345));
      runner.SetBuffer<Int32>("others", std::vector<Int32>(_length, 6));
      runner.SetBuffer<Vector32>("threes", std::vector<Vector32>(_length, Vector32(7.0f, 6.0f, 5.0f)));
    });
  }
}

// Kernels of make_random_kernels.py.
TEST_P(LaneFormsTest, RandomKernels) {
  const UInt32 height = 1 + _length % 3, width = _length;
  const UInt32 count = width * height - _length % 2;
  for (const char* id : {OSTRA_RANDOM_KERNELS}) {
    const auto floats = MakeFloats(2 * count + 36);
    const auto integers = MakeIntegers<Int32>(2 * count + 36, -6, 18);
    const auto numbers = MakeIntegers<UInt32>(2 * count + 36, 0, 40);
    const auto vectors = MakeVectors<Vector32>(2 * count + 36);
    const std::vector<Float64> doubles(floats.begin(), floats.end());
    const Int32 ui = MakeIntegers<Int32>(1, -5, 15)[0];
    const UInt32 uu = MakeIntegers<UInt32>(1, 0, 20)[0];
    const auto prepare = [&](KernelRunner& runner) {
      runner.SetValue("count", count);
      runner.SetValue("width", width);
      runner.SetValue("ui", ui);
      runner.SetValue("uu", uu);
      runner.SetValue("uf", floats[0]);
      runner.SetValue("uv", vectors[0]);
      runner.SetBuffer<Float32>("fin", floats);
      runner.SetBuffer<Int32>("iin", integers);
      runner.SetBuffer<UInt32>("uin", numbers);
      runner.SetBuffer<Vector32>("vin", vectors);
      runner.SetBuffer<Float64>("din", doubles);
      runner.SetBuffer<Float32>("fout", std::vector<Float32>(count, 0.25f));
      runner.SetBuffer<Int32>("iout", std::vector<Int32>(count, 77));
      runner.SetBuffer<UInt32>("uout", std::vector<UInt32>(4 * count, 78));
      runner.SetBuffer<Vector2d32>("twoout", std::vector<Vector2d32>(count, Vector2d32(1.0f, 2.0f)));
      runner.SetBuffer<Vector32>("threeout", std::vector<Vector32>(count, Vector32(3.0f, 4.0f, 5.0f)));
      runner.SetBuffer<Vector4d32>("fourout", std::vector<Vector4d32>(2 * count, Vector4d32(6.0f, 7.0f, 8.0f, 9.0f)));
      runner.SetBuffer<Float64>("dout", std::vector<Float64>(count, 0.5));
      runner.SetBuffer<Int64>("lout", std::vector<Int64>(count, 79));
      runner.SetBuffer<UInt32>("bins", std::vector<UInt32>(8, 3));
      runner.SetCounter("counter", 5);
    };
    CompareWays(id, {width + 2, height + 1, 1}, prepare, [](KernelRunner& runner) {
      for (const char* name : {"fout", "twoout", "threeout", "fourout"}) runner.MakeNansAlike<Float32>(name);
      runner.MakeNansAlike<Float64>("dout");
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

TEST_P(LaneFormsTest, NeighboursWithinARowAndVectorsThatAreNotTakenApart) {
  for (UInt32 height = 1; height <= 3; ++height) {
    const UInt32 count = _length * height;
    const auto ones = MakeFloats(count);
    const auto twos = MakeVectors<Vector2d32>(count);
    const auto threes = MakeVectors<Vector32>(count);
    const auto fours = MakeVectors<Vector4d32>(count);
    CompareWays("net.ostra.test.lanewindows.krn", {_length + 5, height + 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("width", static_cast<Int32>(_length));
      runner.SetValue("height", static_cast<Int32>(height));
      runner.SetValue("rowLength", _length);
      runner.SetBuffer<Float32>("ones", ones);
      runner.SetBuffer<Vector2d32>("twos", twos);
      runner.SetBuffer<Vector32>("threes", threes);
      runner.SetBuffer<Vector4d32>("fours", fours);
      runner.SetBuffer<Float32>("oneSums", std::vector<Float32>(count, 0.25f));
      runner.SetBuffer<Vector2d32>("twoSums", std::vector<Vector2d32>(count, Vector2d32(9.0f, 8.0f)));
      runner.SetBuffer<Vector32>("threeSums", std::vector<Vector32>(count, Vector32(7.0f, 6.0f, 5.0f)));
      runner.SetBuffer<Vector4d32>("fourSums", std::vector<Vector4d32>(count, Vector4d32(4.0f, 3.0f, 2.0f, 1.0f)));
    });
  }
}

TEST_P(LaneFormsTest, ShortLoopsOfArithmetic) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = MakeIntegers<Int32>(_length, -3, 25);
    const auto directions = MakeVectors<Vector32>(_length);
    CompareWays("net.ostra.test.lanepairs.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("limit", 1000.0f);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<Vector32>("directions", directions);
      runner.SetBuffer<Int32>("turns", std::vector<Int32>(_length, 12345));
      runner.SetBuffer<Vector32>("places", std::vector<Vector32>(_length, Vector32(7.0f, 6.0f, 5.0f)));
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
