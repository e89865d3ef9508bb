// Operations one by one, and integers.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "conformance/comparisons.h"
#include "conformance/program_runner.h"
#include "ostra/drawport/settings.h"

namespace ostra::conformance {
namespace {

using Floats = std::vector<Float32>;

Floats Collect(const std::vector<Operands>& operands, Float32 Operands::*member) {
  Floats values;
  for (const Operands& each : operands) values.push_back(each.*member);
  return values;
}

struct Results {
  Floats values;  // of all operations, element after element
  std::string failure;
};

Results RunOperations(const Id& programClass, const OperationGroup& group, const std::vector<Operands>& operands,
                      const Url& kernels) {
  const auto count = static_cast<UInt32>(operands.size());
  ProgramRunner runner(programClass, kernels, group.kernel);
  runner.SetValue<UInt32>("count", count);
  runner.SetBuffer("a", Collect(operands, &Operands::x));
  runner.SetBuffer("b", Collect(operands, &Operands::y));
  runner.SetBuffer("c", Collect(operands, &Operands::z));
  runner.SetBuffer("results", Floats(operands.size() * group.operations.size(), std::numeric_limits<Float32>::max()));
  runner.Run({count, 1, 1});
  Results results{runner.Read<Float32>("results"), runner.GetFailure()};
  if (results.failure.empty() && results.values.size() != operands.size() * group.operations.size())
    results.failure = "there are not as many results as expected";
  return results;
}

// Zeros of either sign are the same.
Bool HasSameBits(Float32 a, Float32 b) {
  return (a == 0 && b == 0) || std::bit_cast<UInt32>(a) == std::bit_cast<UInt32>(b);
}

// A device that gives no number is infinitely far away.
Float64 GetDistance(Float64 a, Float64 b) {
  const Float64 distance = std::abs(a - b);
  return std::isnan(distance) ? std::numeric_limits<Float64>::infinity() : distance;
}

// The results of one operation.
struct Column {
  const std::vector<Operands>& operands;
  const Floats& cpu;
  const Floats& gpu;
  std::size_t place, width;
  Float32 GetCpu(std::size_t i) const { return cpu[i * width + place]; }
  Float32 GetGpu(std::size_t i) const { return gpu[i * width + place]; }
};

void CompareBits(const Column& column, ConformanceRow& row) {
  std::size_t others = 0;
  for (std::size_t i = 0; i < column.operands.size(); ++i) others += !HasSameBits(column.GetCpu(i), column.GetGpu(i));
  row.isHeld = others == 0;
  row.reached =
      row.isHeld ? kSameBits : std::to_string(others) + " of " + std::to_string(column.operands.size()) + " differ";
}

void Measure(const Operation& operation, const Column& column, ConformanceRow& row) {
  Float64 fromExact = 0, fromCpu = 0, share = 0;
  for (std::size_t i = 0; i < column.operands.size(); ++i) {
    const Float64 exact = operation.exact(column.operands[i]);
    const Float64 unit = operation.unit == DistanceUnit::Absolute ? 1 : GetLastPlace(exact);
    const Float64 distance = GetDistance(column.GetGpu(i), exact);
    fromExact = std::max(fromExact, distance / unit);
    fromCpu = std::max(fromCpu, GetDistance(column.GetGpu(i), column.GetCpu(i)) / unit);
    share = std::max(share, distance / operation.allowance(column.operands[i], exact));
  }
  row.isHeld = share <= 1;
  const char* units = operation.unit == DistanceUnit::Absolute ? "" : " units";
  char percent[16];
  std::snprintf(percent, sizeof(percent), "%.3g", 100 * share);
  row.reached = FormatFigure(fromExact) + units + ", " + percent + " % of what is allowed; " + FormatFigure(fromCpu) +
                units + " from the CPU";
}

std::vector<UInt32> MakeWords(UInt32 seed, UInt32 count) {
  std::vector<UInt32> words;
  UInt32 state = seed;
  for (UInt32 i = 0; i < count; ++i) {
    state = state * 1664525u + 1013904223u;
    words.push_back(state ^ (state >> 13));
  }
  return words;
}

// The results of one program, as numbers that must have the same bits.
template <class Number>
struct NumberRun {
  std::vector<Number> numbers;
  std::string failure;
};

// One row: `run` gives `resultCount` numbers for each element, and perhaps more behind them.
template <class Number, class Run>
ConformanceRow CompareNumbers(const char* group, const char* what, std::size_t resultCount, Run&& run) {
  const NumberRun<Number> cpu = run(kCpuProgramClass), gpu = run(kGpuProgramClass);
  if (!cpu.failure.empty() || !gpu.failure.empty())
    return MakeFailedRow(group, what, kSameBits, cpu.failure.empty() ? gpu.failure : cpu.failure);
  if (cpu.numbers.empty() || cpu.numbers.size() != gpu.numbers.size())
    return MakeFailedRow(group, what, kSameBits, "other numbers of results");
  for (std::size_t i = 0; i < cpu.numbers.size(); ++i)
    if (std::memcmp(&cpu.numbers[i], &gpu.numbers[i], sizeof(Number)) != 0)
      return MakeFailedRow(group, what, kSameBits,
                           "result " + std::to_string(i % resultCount) + " of element " +
                               std::to_string(i / resultCount) + " is " + std::to_string(gpu.numbers[i]) + ", not " +
                               std::to_string(cpu.numbers[i]));
  return {group, what, kSameBits, kSameBits, true};
}

// `kernel` makes `resultCount` results of each element of `a` and `b`.
template <class Number>
NumberRun<Number> RunPairs(const Id& programClass, const Url& kernels, const char* kernel, const std::vector<Number>& a,
                           const std::vector<Number>& b, std::size_t resultCount) {
  const auto count = static_cast<UInt32>(a.size());
  ProgramRunner runner(programClass, kernels, kernel);
  runner.SetValue<UInt32>("count", count);
  runner.SetBuffer("a", a);
  runner.SetBuffer("b", b);
  runner.SetBuffer("results", std::vector<Number>(a.size() * resultCount, Number(7)));
  runner.Run({count, 1, 1});
  std::vector<Number> results = runner.Read<Number>("results");
  return {std::move(results), runner.GetFailure()};
}

// Devices need not have the numbers of the row; then the program is refused.
ConformanceRow AllowRefusal(ConformanceRow row) {
  row.isHeld = row.isHeld || row.reached.find("which the GPU device does not support") != std::string::npos;
  return row;
}

}  // namespace

std::string FormatFigure(Float64 figure) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.3g", figure);
  return text;
}

ConformanceRow MakeFailedRow(std::string group, std::string what, std::string promised, std::string failure) {
  return {std::move(group), std::move(what), std::move(promised), std::move(failure), false};
}

std::vector<ConformanceRow> CompareOperations(const OperationGroup& group, const Url& kernels) {
  const std::vector<Operands> operands = group.makeOperands();
  const Results cpu = RunOperations(kCpuProgramClass, group, operands, kernels);
  const Results gpu = RunOperations(kGpuProgramClass, group, operands, kernels);
  std::vector<ConformanceRow> rows;
  for (std::size_t i = 0; i < group.operations.size(); ++i) {
    const Operation& operation = group.operations[i];
    ConformanceRow row{group.name, operation.name, operation.promise ? operation.promise : kSameBits, {}, false};
    const Column column{operands, cpu.values, gpu.values, i, group.operations.size()};
    if (!cpu.failure.empty() || !gpu.failure.empty())
      row.reached = cpu.failure.empty() ? gpu.failure : cpu.failure;
    else if (operation.exact)
      Measure(operation, column, row);
    else
      CompareBits(column, row);
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<ConformanceRow> CompareIntegers(const Url& kernels) {
  constexpr UInt32 kElements = 10007;
  constexpr std::size_t kResults = 12;
  const auto run = [&](const Id& programClass) {
    ProgramRunner runner(programClass, kernels, "net.ostra.parity.integers.krn");
    runner.SetValue<UInt32>("count", kElements);
    runner.SetBuffer("a", MakeWords(1, kElements));
    runner.SetBuffer("b", MakeWords(2, kElements));
    runner.SetBuffer("results", std::vector<UInt32>(kElements * kResults, 7));
    runner.SetBuffer("counts", std::vector<UInt32>(64));
    runner.SetCounter("odd", 3);
    runner.Run({kElements, 1, 1});
    NumberRun<UInt32> all{runner.Read<UInt32>("results"), {}};
    for (const UInt32 count : runner.Read<UInt32>("counts")) all.numbers.push_back(count);
    all.numbers.push_back(runner.ReadCounter("odd"));
    all.failure = runner.GetFailure();
    return all;
  };
  return {CompareNumbers<UInt32>("integers", "+ - * / % & | ^ ~ << >>, conversions, atomics", kResults, run)};
}

std::vector<ConformanceRow> CompareOverflow(const Url& kernels) {
  constexpr std::size_t kResults = 10;
  constexpr Int32 kLeast = std::numeric_limits<Int32>::min(), kGreatest = std::numeric_limits<Int32>::max();
  constexpr Int32 kEnds[] = {kLeast, kLeast + 1, -1, 0, 1, kGreatest - 1, kGreatest, 0x55555555};
  std::vector<Int32> a, b;
  for (const Int32 x : kEnds)
    for (const Int32 y : kEnds) a.push_back(x), b.push_back(y);
  for (const UInt32 word : MakeWords(3, 4096)) a.push_back(static_cast<Int32>(word));
  for (const UInt32 word : MakeWords(4, 4096)) b.push_back(static_cast<Int32>(word));
  return {CompareNumbers<Int32>(
      "integers", "signed + - * << ++ past the ends, k + 1 > k", kResults, [&](const Id& programClass) {
        return RunPairs(programClass, kernels, "net.ostra.parity.overflow.krn", a, b, kResults);
      })};
}

std::vector<ConformanceRow> CompareRemainders(const Url& kernels) {
  constexpr std::size_t kResults = 8;
  constexpr Int32 kLeast = std::numeric_limits<Int32>::min(), kGreatest = std::numeric_limits<Int32>::max();
  std::vector<Int32> a, b;
  for (const Int32 x : {kLeast, kLeast + 1, -64, -1, 0, 1, 64, kGreatest})
    for (const Int32 y : {kLeast, -65, -64, -3, 1, 3, 64, kGreatest}) a.push_back(x), b.push_back(y);
  // Of all sizes: dividends and divisors of 1 to 32 bits.
  const auto append = [](std::vector<Int32>& numbers, UInt32 seed) {
    const std::vector<UInt32> words = MakeWords(seed, 2 * 4096);
    for (std::size_t i = 0; i < words.size(); i += 2)
      numbers.push_back(static_cast<Int32>(words[i]) >> (words[i + 1] % 32));
  };
  append(a, 10), append(b, 11);
  return {CompareNumbers<Int32>("integers", "% of signed numbers", kResults, [&](const Id& programClass) {
    return RunPairs(programClass, kernels, "net.ostra.parity.remainders.krn", a, b, kResults);
  })};
}

std::vector<ConformanceRow> CompareLanguage(const Url& kernels) {
  constexpr std::size_t kResults = 8;
  std::vector<Int32> a, b;
  for (const UInt32 word : MakeWords(6, 4096)) a.push_back(static_cast<Int32>(word));
  for (const UInt32 word : MakeWords(7, 4096)) b.push_back(static_cast<Int32>(word));
  return {CompareNumbers<Int32>("language", "swizzles, constructors, matrices, bool vectors, tables, macros", kResults,
                                [&](const Id& programClass) {
                                  return RunPairs(programClass, kernels, "net.ostra.parity.language.krn", a, b,
                                                  kResults);
                                })};
}

std::vector<ConformanceRow> CompareDoubles(const Url& kernels) {
  constexpr std::size_t kResults = 12;
  std::vector<Float64> a, b;
  // A fraction of 53 bits, sizes up to where numbers are whole, both signs.
  const std::vector<UInt32> words = MakeWords(5, 4 * 4096);
  const auto make = [&words](std::size_t i) {
    const Float64 fraction = 1.0 + (words[i] + words[i + 1] / 4294967296.0) / 4294967296.0;
    return std::ldexp(words[i] % 2 == 0 ? fraction : -fraction, static_cast<int>(words[i + 1] % 64) - 8);
  };
  for (std::size_t i = 0; i < words.size(); i += 4) a.push_back(make(i)), b.push_back(make(i + 2));
  constexpr const char* kGroup = "64-bit floats";
  constexpr const char* kWhat = "+ *, floor, ceil, trunc, fract, abs, sign, min, max, clamp, step, sqrt";
  if (GetDrawportShadingLanguage() == kShadingLanguageHlsl)
    return {{kGroup, kWhat, "nothing: HLSL computes them with 32 bits", "not compared", true}};
  ConformanceRow row = CompareNumbers<Float64>(kGroup, kWhat, kResults, [&](const Id& programClass) {
    return RunPairs(programClass, kernels, "net.ostra.parity.doubles.krn", a, b, kResults);
  });
  return {AllowRefusal(std::move(row))};
}

std::vector<ConformanceRow> CompareLongs(const Url& kernels) {
  constexpr std::size_t kResults = 12;
  constexpr const char* kGroup = "64-bit integers";
  constexpr const char* kWhat = "+ - * / % & | ^ ~ << >>, comparisons, conversions, min max clamp abs sign";
  if (GetDrawportShadingLanguage() == kShadingLanguageHlsl)
    return {{kGroup, kWhat, "nothing: HLSL text has none", "not compared", true}};
  constexpr Int64 kLeast = std::numeric_limits<Int64>::min(), kGreatest = std::numeric_limits<Int64>::max();
  constexpr Int64 kEnds[] = {kLeast, kLeast + 1, -4294967296, -1, 0, 1, 4294967295, kGreatest - 1, kGreatest};
  std::vector<Int64> a, b;
  for (const Int64 x : kEnds)
    for (const Int64 y : kEnds) a.push_back(x), b.push_back(y);
  // Of all sizes: dividends and divisors of 1 to 64 bits.
  const std::vector<UInt32> words = MakeWords(8, 4 * 4096);
  const auto make = [&words](std::size_t i) {
    return static_cast<Int64>(UInt64{words[i]} << 32 | words[i + 1]) >> (words[i] % 64);
  };
  for (std::size_t i = 0; i < words.size(); i += 4) a.push_back(make(i)), b.push_back(make(i + 2));
  ConformanceRow row = CompareNumbers<Int64>(kGroup, kWhat, kResults, [&](const Id& programClass) {
    return RunPairs(programClass, kernels, "net.ostra.parity.longs.krn", a, b, kResults);
  });
  return {AllowRefusal(std::move(row))};
}

std::vector<ConformanceRow> CompareShorts(const Url& kernels) {
  constexpr std::size_t kResults = 8;
  constexpr const char* kGroup = "8- and 16-bit integers";
  constexpr const char* kWhat = "+ - * / ^ << >> ++ +=, comparisons, conversions, elements";
  if (GetDrawportShadingLanguage() == kShadingLanguageHlsl)
    return {{kGroup, kWhat, "nothing: HLSL text has none", "not compared", true}};
  std::vector<Int16> a, b;
  std::vector<UInt8> bytes;
  // An odd count: the last bytes fill no word.
  for (const UInt32 word : MakeWords(9, 4097)) {
    a.push_back(static_cast<Int16>(word >> 16)), b.push_back(static_cast<Int16>(word));
    bytes.push_back(static_cast<UInt8>(word >> 8));
  }
  ConformanceRow row = CompareNumbers<Int16>(kGroup, kWhat, kResults, [&](const Id& programClass) {
    const auto count = static_cast<UInt32>(a.size());
    ProgramRunner runner(programClass, kernels, "net.ostra.parity.shorts.krn");
    runner.SetValue<UInt32>("count", count);
    runner.SetBuffer("a", a);
    runner.SetBuffer("b", b);
    runner.SetBuffer("results", std::vector<Int16>(a.size() * kResults, 7));
    runner.SetBuffer("bytes", bytes);
    runner.SetBuffer("byteResults", std::vector<UInt8>(bytes.size(), 7));
    runner.Run({count, 1, 1});
    NumberRun<Int16> all{runner.Read<Int16>("results"), {}};
    for (const UInt8 byte : runner.Read<UInt8>("byteResults")) all.numbers.push_back(byte);
    all.failure = runner.GetFailure();
    return all;
  });
  return {AllowRefusal(std::move(row))};
}

std::vector<ConformanceRow> CompareHalves(const Url& kernels) {
  constexpr std::size_t kResults = 12;
  constexpr const char* kGroup = "half floats";
  constexpr const char* kWhat = "vectors: + - * ++ += max clamp floor lessThan, swizzles, conversions";
  if (GetDrawportShadingLanguage() == kShadingLanguageHlsl)
    return {{kGroup, kWhat, "nothing: HLSL needs shader model 6.2", "not compared", true}};
  // From 1/8 to 16 with both signs: no result below the normal range.
  const auto make = [](UInt32 word) {
    return HalfFloat::FromBits(static_cast<UInt16>((word & 0x8000u) | (0x3000u + (word >> 16) % 0x1c00u)));
  };
  constexpr UInt32 kVectors = 1025;
  const std::vector<UInt32> words = MakeWords(10, 8 * kVectors);
  std::vector<Vec4<HalfFloat>> a, b;
  for (std::size_t i = 0; i < words.size(); i += 8) {
    a.emplace_back(make(words[i]), make(words[i + 1]), make(words[i + 2]), make(words[i + 3]));
    b.emplace_back(make(words[i + 4]), make(words[i + 5]), make(words[i + 6]), make(words[i + 7]));
  }
  return {CompareNumbers<UInt16>(kGroup, kWhat, kResults, [&](const Id& programClass) {
    ProgramRunner runner(programClass, kernels, "net.ostra.parity.halves.krn");
    runner.SetValue<UInt32>("count", kVectors);
    runner.SetValue("gain", Vec4<HalfFloat>(Vec4<Float32>(0.3f, -2, 7, 0.01f)));
    runner.SetValue("bias", Vec3<HalfFloat>(Vec3<Float32>(0.1f, 100, -3)));
    runner.SetValue("offset", Vec2<HalfFloat>(Vec2<Float32>(5, 0.7f)));
    runner.SetBuffer("a", a);
    runner.SetBuffer("b", b);
    runner.SetBuffer("results", std::vector<Vec4<HalfFloat>>(a.size() * 3));
    runner.Run({kVectors, 1, 1});
    std::vector<UInt16> bits = runner.Read<UInt16>("results");
    return NumberRun<UInt16>{std::move(bits), runner.GetFailure()};
  })};
}

}  // namespace ostra::conformance
