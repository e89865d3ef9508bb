// Kernels whose neighbouring invocations go different ways give the same bits at every width and for every length of a
// row.
#include <limits>

#include "tests/kernels/kernel_runner.h"
#include "tests/kernels/random_values.h"

namespace ostra::test {
namespace {

class LaneFormsTest : public testing::TestWithParam<UInt32> {
 protected:
  // Runs the kernel in every way and compares with one invocation after the other.
  template <class Prepare>
  void CompareWays(const char* id, const Vec3<UInt32>& extent, Prepare&& prepare) {
    KernelRunner before(id), expected(id);
    prepare(before);
    prepare(expected);
    ASSERT_THAT(expected.Run(extent, Way::kOneByOne), IsOk());
    // Results that are the same prove something only if the kernel does something.
    EXPECT_NE(expected.GetState(), before.GetState()) << id << " did nothing";
    for (const Way way : kAllWays) {
      KernelRunner runner(id);
      prepare(runner);
      ASSERT_THAT(runner.Run(extent, way), IsOk());
      EXPECT_EQ(runner.GetState(), expected.GetState()) << id << ", way " << static_cast<int>(way);
    }
  }

  const UInt32 _length = GetParam();
  RandomValues _random{GetParam() + 5};
};

TEST_P(LaneFormsTest, LoopsAndSwitchesThatInvocationsLeaveApart) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 25);
    CompareWays("net.ostra.test.lanecontrol.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<Int32>("results", std::vector<Int32>(_length, 12345));
    });
  }
}

TEST_P(LaneFormsTest, FunctionsThatInvocationsLeaveApart) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = _random.MakeFloats(_length);
    CompareWays("net.ostra.test.lanefunctions.krn", {_length + 2, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("limit", 2.5f);
      runner.SetBuffer<Float32>("numbers", numbers);
      runner.SetBuffer<Float32>("results", std::vector<Float32>(_length, 0.125f));
    });
  }
}

TEST_P(LaneFormsTest, FunctionsOfDoubles) {
  const auto numbers = _random.MakeFloats(_length);
  CompareWays("net.ostra.test.lanedoubles.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
    runner.SetValue("count", _length);
    runner.SetValue("scale", 0.75f);
    runner.SetBuffer<Float32>("numbers", numbers);
    runner.SetBuffer<Float64>("results", std::vector<Float64>(_length, 0.5));
    runner.SetBuffer<Int32>("marks", std::vector<Int32>(_length, 7));
  });
}

TEST_P(LaneFormsTest, CallsThatChangeElementsAndVariablesOfSomeLanes) {
  for (Int32 mode = 0; mode < 3; ++mode) {
    const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 25);
    CompareWays("net.ostra.test.lanecalls.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("mode", mode);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<Int32>("results", std::vector<Int32>(_length, 12));
      runner.SetBuffer<Vector32>("threes", std::vector<Vector32>(_length, Vector32(7.0f, 6.0f, 5.0f)));
    });
  }
}

TEST_P(LaneFormsTest, LanesThatHaveContinuedOrReturned) {
  for (Int32 mode = 0; mode < 6; ++mode) {
    const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 25);
    auto places = _random.MakeIntegers<UInt32>(_length, 0, _length - 1);
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

TEST_P(LaneFormsTest, ElementsInARowTurnedAroundFarApartAndShared) {
  for (int run = 0; run < 10; ++run) {
    const auto fours = _random.MakeVectors<Vector4d32>(_length);
    const auto threes = _random.MakeVectors<Vector32>(_length);
    const auto places = _random.MakeIntegers<UInt32>(_length, 0, _length - 1);
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
    const auto ones = _random.MakeFloats(count);
    const auto twos = _random.MakeVectors<Vector2d32>(count);
    const auto threes = _random.MakeVectors<Vector32>(count);
    const auto fours = _random.MakeVectors<Vector4d32>(count);
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

TEST_P(LaneFormsTest, NeighboursWithinARadiusThatIsGiven) {
  const Int32 least = std::numeric_limits<Int32>::min(), most = std::numeric_limits<Int32>::max();
  for (const auto& [radius, shift] : {std::pair{0, 0}, {1, 0}, {3, 2}, {2, -9}, {-1, 0}, {least, 0}, {1, most}}) {
    const auto numbers = _random.MakeFloats(_length);
    CompareWays("net.ostra.test.laneradius.krn", {_length + 3, 1, 1},
                [&, radius = radius, shift = shift](auto& runner) {
                  runner.SetValue("width", static_cast<Int32>(_length));
                  runner.SetValue("radius", radius);
                  runner.SetValue("shift", shift);
                  runner.template SetBuffer<Float32>("numbers", numbers);
                  runner.template SetBuffer<Float32>("sums", std::vector<Float32>(_length, 0.375f));
                });
  }
}

TEST_P(LaneFormsTest, HalfFloats) {
  for (int run = 0; run < 10; ++run) {
    const auto halves = _random.MakeHalves<HalfFloat>(_length);
    const auto fours = _random.MakeHalves<Vec4<HalfFloat>>(_length);
    const auto places = _random.MakeIntegers<UInt32>(_length, 0, _length - 1);
    const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 9);
    const Vec3<HalfFloat> three(HalfFloat(7.0f), HalfFloat(6.0f), HalfFloat(5.0f));
    CompareWays("net.ostra.test.lanehalves.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("scale", 0.1f);
      runner.SetValue("offset", HalfFloat(0.7f));
      runner.SetBuffer<HalfFloat>("halves", halves);
      runner.SetBuffer<Vec4<HalfFloat>>("fours", fours);
      runner.SetBuffer<UInt32>("places", places);
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<HalfFloat>("results", std::vector<HalfFloat>(_length, HalfFloat(0.125f)));
      runner.SetBuffer<HalfFloat>("picked", std::vector<HalfFloat>(_length, HalfFloat(0.25f)));
      runner.SetBuffer<Vec3<HalfFloat>>("threes", std::vector<Vec3<HalfFloat>>(_length, three));
      runner.SetBuffer<Vec4<HalfFloat>>("blended", fours);
      runner.SetBuffer<HalfFloat>("last", std::vector<HalfFloat>(2, HalfFloat(3.0f)));
      runner.SetBuffer<Float32>("floats", std::vector<Float32>(_length, 0.5f));
      runner.SetBuffer<Int32>("marks", std::vector<Int32>(_length, 7));
    });
  }
}

TEST_P(LaneFormsTest, IntegersOf8And16Bits) {
  for (int run = 0; run < 10; ++run) {
    const auto bytes = _random.MakeIntegers<UInt8>(_length, 0, 255);
    const auto signs = _random.MakeIntegers<Int8>(_length, -128, 127);
    const auto shorts = _random.MakeIntegers<Int16>(_length, -32768, 32767);
    const auto places = _random.MakeIntegers<UInt16>(_length, 0, 65535);
    CompareWays("net.ostra.test.lanesmall.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("start", UInt8(5 + run));
      runner.SetBuffer<UInt8>("bytes", bytes);
      runner.SetBuffer<Int8>("signs", signs);
      runner.SetBuffer<Int16>("shorts", shorts);
      runner.SetBuffer<UInt16>("places", places);
      runner.SetBuffer<UInt8>("byteResults", std::vector<UInt8>(_length, 9));
      runner.SetBuffer<Int8>("signResults", std::vector<Int8>(_length, 8));
      runner.SetBuffer<Int16>("shortResults", std::vector<Int16>(_length, 7));
      runner.SetBuffer<UInt16>("picked", std::vector<UInt16>(_length, 6));
      runner.SetBuffer<UInt8>("last", std::vector<UInt8>(2, 5));
      runner.SetBuffer<Float32>("floats", std::vector<Float32>(_length, 0.5f));
      runner.SetBuffer<Int64>("longs", std::vector<Int64>(_length, -3));
    });
  }
}

TEST_P(LaneFormsTest, ShortLoopsOfArithmetic) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 25);
    const auto directions = _random.MakeVectors<Vector32>(_length);
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

TEST_P(LaneFormsTest, ShortLoopsThatCountTheirTurns) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = _random.MakeFloats(_length);
    CompareWays("net.ostra.test.lanesteps.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("most", Int32{9});
      runner.SetValue("limit", 20.0f);
      runner.SetBuffer<Float32>("numbers", numbers);
      runner.SetBuffer<Float32>("ways", std::vector<Float32>(_length, 0.5f));
      runner.SetBuffer<Int32>("turns", std::vector<Int32>(_length, 12345));
    });
  }
}

TEST_P(LaneFormsTest, NumbersOfTurnsOfLoopsThatInvocationsLeaveApart) {
  for (int run = 0; run < 10; ++run) {
    const auto numbers = _random.MakeIntegers<Int32>(_length, 0, 25);
    CompareWays("net.ostra.test.lanecounts.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("most", Int32{3 + run});
      runner.SetBuffer<Int32>("numbers", numbers);
      runner.SetBuffer<Int32>("results", std::vector<Int32>(_length, 12345));
    });
  }
}

TEST_P(LaneFormsTest, StructsAndMatrices) {
  for (Int32 mode = 0; mode < 3; ++mode) {
    const auto numbers = _random.MakeFloats(_length);
    const auto places = _random.MakeIntegers<Int32>(_length, 0, std::min<UInt32>(_length, 9) - 1);
    const auto columns = _random.MakeVectors<Vector32>(3 * _length);
    const auto wideColumns = _random.MakeVectors<Vector4d32>(4 * _length);
    std::vector<SquareMatrix32> threes(_length);
    std::vector<Matrix32> fours(_length);
    std::memcpy(threes.data(), columns.data(), _length * sizeof(SquareMatrix32));
    std::memcpy(fours.data(), wideColumns.data(), _length * sizeof(Matrix32));
    CompareWays("net.ostra.test.lanestructs.krn", {_length + 3, 1, 1}, [&](KernelRunner& runner) {
      runner.SetValue("count", _length);
      runner.SetValue("mode", mode);
      runner.SetValue("turn", SquareMatrix32({0, 1, 0.5f}, {-1, 0, 0}, {0.25f, 0, 1}));
      runner.SetBuffer<Float32>("numbers", numbers);
      runner.SetBuffer<Int32>("places", places);
      runner.SetBuffer<SquareMatrix32>("threes", threes);
      runner.SetBuffer<Matrix32>("fours", fours);
      runner.SetBuffer<Float32>("results", std::vector<Float32>(_length, 0.125f));
      runner.SetBuffer<Vector4d32>("vectors", std::vector<Vector4d32>(_length, Vector4d32(1, 2, 3, 4)));
      runner.SetBuffer<SquareMatrix32>("matrices", std::vector<SquareMatrix32>(_length));
    });
  }
}

TEST_P(LaneFormsTest, ValuesThatLiveAcrossBarriersOfGroups) {
  for (const char* shape : {"3x2x2", "5x1x1", "7x3x1", "12x2x1"}) {
    for (Int32 mode = 0; mode < 3; ++mode) {
      const auto numbers = _random.MakeIntegers<Int32>(_length, -3, 12);
      const auto threes = _random.MakeVectors<Vector32>(_length);
      const std::string id = std::string("net.ostra.test.lanegroups") + shape + ".krn";
      CompareWays(id.c_str(), {_length, 1, 1}, [&](KernelRunner& runner) {
        runner.SetValue("count", _length);
        runner.SetValue("mode", mode);
        runner.SetBuffer<Int32>("numbers", numbers);
        runner.SetBuffer<Vector32>("threes", threes);
        runner.SetBuffer<Int32>("results", std::vector<Int32>(4 * _length, 12345));
        runner.SetBuffer<Float32>("floats", std::vector<Float32>(_length, 0.5f));
        runner.SetBuffer<Vector32>("places", std::vector<Vector32>(_length, Vector32(7.0f, 6.0f, 5.0f)));
        runner.SetBuffer<UInt32>("bins", std::vector<UInt32>(8, 3));
      });
    }
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
