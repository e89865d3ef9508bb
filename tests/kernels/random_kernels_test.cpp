// Random kernels (make_random_kernels.py) give the same bits at every width, for every length of a row and in ranges of
// uneven lengths.
#include "tests/kernels/random_kernels.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <limits>

#include "tests/kernels/random_values.h"

namespace ostra::test {
namespace {

constexpr UInt32 kMaxLength = 40;
constexpr UInt32 kPieceSizes[] = {7, 1, 16, 5, 3, 33, 8, 2};

// Inputs for rows of `width`, and outputs as they are before.
RandomKernelData MakeData(UInt32 seed, UInt32 width) {
  RandomValues random(seed * 64 + width);
  RandomKernelData data;
  data.width = width;
  data.count = width * (1 + width % 3) - width % 2;
  const std::size_t count = data.count, inputCount = 2 * count + 36;
  data.fin = random.MakeFloats(inputCount);
  data.iin = random.MakeIntegers<Int32>(inputCount, -6, 18);
  data.uin = random.MakeIntegers<UInt32>(inputCount, 0, 40);
  data.vin = random.MakeVectors<Vector32>(inputCount);
  data.din.assign(data.fin.begin(), data.fin.end());
  data.hin = random.MakeHalves<HalfFloat>(inputCount);
  data.hfourin = random.MakeHalves<Vec4<HalfFloat>>(inputCount);
  data.yin = random.MakeIntegers<UInt8>(inputCount, 0, 255);
  data.win = random.MakeIntegers<Int16>(inputCount, -300, 300);
  data.ui = random.MakeIntegers<Int32>(1, -5, 15)[0];
  data.uu = random.MakeIntegers<UInt32>(1, 0, 20)[0];
  data.uf = data.fin[0];
  data.uv = data.vin[0];
  data.fout.assign(count, 0.25f);
  data.iout.assign(count, 77);
  data.uout.assign(4 * count, 78);
  data.twoout.assign(count, Vector2d32(1.0f, 2.0f));
  data.threeout.assign(count, Vector32(3.0f, 4.0f, 5.0f));
  data.fourout.assign(2 * count, Vector4d32(6.0f, 7.0f, 8.0f, 9.0f));
  data.dout.assign(count, 0.5);
  data.lout.assign(count, 79);
  data.hout.assign(count, HalfFloat(0.125f));
  data.hthreeout.assign(count, Vec3<HalfFloat>(HalfFloat(5.0f), HalfFloat(6.0f), HalfFloat(7.0f)));
  data.yout.assign(count, 80);
  data.wout.assign(count, -81);
  data.bins.assign(8, 3);
  data.counter.Store(5);
  return data;
}

template <class T>
void AppendBytes(const std::vector<T>& elements, std::vector<Byte>& bytes) {
  const auto* first = reinterpret_cast<const Byte*>(elements.data());
  bytes.insert(bytes.end(), first, first + elements.size() * sizeof(T));
}

// What is no number gets the same bits everywhere: nothing fixes them.
template <class Number, class T>
void AppendNumbers(const std::vector<T>& elements, std::vector<Byte>& bytes) {
  std::vector<Number> numbers(elements.size() * sizeof(T) / sizeof(Number));
  std::memcpy(numbers.data(), elements.data(), numbers.size() * sizeof(Number));
  for (Number& number : numbers) number = number == number ? number : std::numeric_limits<Number>::quiet_NaN();
  AppendBytes(numbers, bytes);
}

template <class T>
void AppendHalves(const std::vector<T>& elements, std::vector<Byte>& bytes) {
  const auto* halves = reinterpret_cast<const HalfFloat*>(elements.data());
  AppendNumbers<Float32>(std::vector<Float32>(halves, halves + elements.size() * sizeof(T) / sizeof(HalfFloat)), bytes);
}

// The bytes of all outputs.
std::vector<Byte> GetOutputs(const RandomKernelData& data) {
  std::vector<Byte> bytes;
  AppendNumbers<Float32>(data.fout, bytes);
  AppendNumbers<Float32>(data.twoout, bytes);
  AppendNumbers<Float32>(data.threeout, bytes);
  AppendNumbers<Float32>(data.fourout, bytes);
  AppendNumbers<Float64>(data.dout, bytes);
  AppendHalves(data.hout, bytes);
  AppendHalves(data.hthreeout, bytes);
  AppendBytes(data.yout, bytes);
  AppendBytes(data.wout, bytes);
  AppendBytes(data.iout, bytes);
  AppendBytes(data.uout, bytes);
  AppendBytes(data.lout, bytes);
  AppendBytes(data.bins, bytes);
  AppendBytes(std::vector<UInt32>{data.counter.LoadRelaxed()}, bytes);
  return bytes;
}

std::vector<Byte> RunKernel(UInt32 seed, UInt32 width, RandomKernel::Run run, Bool isInPieces) {
  RandomKernelData data = MakeData(seed, width);
  KernelRange range{.extent = {width + 2, 2 + width % 3, 1}};
  const UInt32 total = range.extent.x * range.extent.y;
  for (std::size_t piece = 0; range.first < total; ++piece) {
    range.count = isInPieces ? std::min(kPieceSizes[piece % std::size(kPieceSizes)], total - range.first) : total;
    run(data, range);
    range.first += range.count;
  }
  return GetOutputs(data);
}

TEST(RandomKernels, GiveTheSameBitsAtEveryWidth) {
  int wideCount = 0, comparisonCount = 0;
  for (const RandomKernel& kernel : RandomKernel::GetAll()) {
    Bool isWide = false;
    for (UInt32 width = 1; width <= kMaxLength; ++width) {
      const std::vector<Byte> expected = RunKernel(kernel.seed, width, kernel.runScalar, false);
      // Results that are the same prove something only if the kernel does something.
      EXPECT_TRUE(expected != GetOutputs(MakeData(kernel.seed, width)))
          << "the kernel of seed " << kernel.seed << " did nothing in rows of " << width;
      for (int level = 0; level <= static_cast<int>(kernel::DetectInstructionLevel()); ++level) {
        if (!kernel.runWide[level]) continue;
        isWide = true;
        for (const Bool isInPieces : {false, true}) {
          EXPECT_TRUE(RunKernel(kernel.seed, width, kernel.runWide[level], isInPieces) == expected)
              << "seed " << kernel.seed << " in rows of " << width << " at " << (4 << level) << " lanes"
              << (isInPieces ? " in pieces" : "");
          ++comparisonCount;
        }
      }
    }
    wideCount += isWide;
  }
  EXPECT_GT(wideCount, 0);
  std::printf("%zu random kernels, %d of them with a wide form, %d comparisons\n", RandomKernel::GetAll().size(),
              wideCount, comparisonCount);
}

}  // namespace
}  // namespace ostra::test
