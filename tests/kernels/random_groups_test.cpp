// Random kernels with group memory (make_random_groups.py) give the same bits in every way that they can be run.
#include <cstdio>

#include "random_groups_test_kernels.h"
#include "tests/kernels/kernel_runner.h"
#include "tests/kernels/linked_kernels.h"
#include "tests/kernels/random_values.h"

namespace ostra::test {
namespace {

const LinkedKernels kRandomGroups(GetKernels_random_groups_test());

constexpr UInt32 kLengths[] = {1, 2, 3, 5, 8, 13, 17, 31, 40, 77};

struct Input {
  std::vector<Int32> numbers;
  std::vector<Vector32> threes;
  Int32 mode = 0;
};

std::vector<Byte> RunKernel(const std::string& id, const Input& input, Way way) {
  const std::size_t length = input.numbers.size();
  KernelRunner runner(id);
  runner.SetValue("count", static_cast<UInt32>(length));
  runner.SetValue("mode", input.mode);
  runner.SetBuffer<Int32>("numbers", input.numbers);
  runner.SetBuffer<Vector32>("threes", input.threes);
  runner.SetBuffer<Int32>("results", std::vector<Int32>(length, 12345));
  runner.SetBuffer<Float32>("floats", std::vector<Float32>(length, 0.5f));
  runner.SetBuffer<Vector32>("places", std::vector<Vector32>(length, Vector32(7.0f, 6.0f, 5.0f)));
  const std::vector<Byte> before = runner.GetState();
  EXPECT_THAT(runner.Run({static_cast<UInt32>(length), 1, 1}, way), IsOk());
  // Results that are the same prove something only if the kernel does something.
  EXPECT_NE(runner.GetState(), before) << id << " did nothing";
  runner.MakeNansAlike<Float32>("floats");
  runner.MakeNansAlike<Float32>("places");
  return runner.GetState();
}

TEST(RandomGroups, GiveTheSameBitsInEveryWay) {
  int wideCount = 0, comparisonCount = 0;
  for (UInt32 seed = OSTRA_RANDOM_GROUP_FIRST; seed <= OSTRA_RANDOM_GROUP_LAST; ++seed) {
    const std::string id = "net.ostra.test.randomgroup" + std::to_string(seed) + ".krn";
    wideCount += KernelRunner(id).GetLaneCount() > 1;
    for (const UInt32 length : kLengths) {
      RandomValues random(seed * 64 + length);
      Input input{random.MakeIntegers<Int32>(length, -3, 12), random.MakeVectors<Vector32>(length)};
      for (; input.mode < 3; ++input.mode) {
        const std::vector<Byte> expected = RunKernel(id, input, Way::kOneByOne);
        for (const Way way : kAllWays) {
          EXPECT_EQ(RunKernel(id, input, way), expected)
              << id << ", " << length << " elements, mode " << input.mode << ", way " << static_cast<int>(way);
          ++comparisonCount;
        }
      }
    }
  }
  EXPECT_GT(wideCount, 0);
  std::printf("%d random kernels with groups, %d of them in lanes, %d comparisons\n",
              OSTRA_RANDOM_GROUP_LAST - OSTRA_RANDOM_GROUP_FIRST + 1, wideCount, comparisonCount);
}

}  // namespace
}  // namespace ostra::test
