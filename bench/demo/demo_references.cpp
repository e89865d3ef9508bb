// The fastest hand-written loops that are known here for kernels of the demo, timed on this machine.
//
//   ostra-demo-references WIDTH HEIGHT
//
// One line for each kernel: its label in the demo, a tab, the milliseconds of the best run of the fastest loop. The
// blur is of a picture of that size; the Mandelbrot set is that of the demo. A loop whose results differ from those of
// the plain loop on one thread ends the program with 1; sides that are no numbers, and pictures that are too large for
// the loops or for the memory that is left, with 2.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "bench/references/shaped.h"

namespace bench {
namespace {

constexpr int kRuns = 5;

double Time(const std::function<void()>& run) {
  double best = std::numeric_limits<double>::infinity();
  for (int i = 0; i < kRuns; ++i) {
    const auto start = std::chrono::steady_clock::now();
    run();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    best = std::min(best, taken.count());
  }
  return best;
}

// Times `loops`, which fill `result`, and compares what they leave with `expected`.
template <class Number>
bool PrintBest(const char* label, const std::vector<std::function<void()>>& loops, std::vector<Number>& result,
               const std::vector<Number>& expected, double bound) {
  double best = std::numeric_limits<double>::infinity();
  for (const auto& loop : loops) {
    std::fill(result.begin(), result.end(), Number());
    best = std::min(best, Time(loop));
    for (std::size_t i = 0; i < result.size(); ++i) {
      if (std::fabs(static_cast<double>(result[i]) - static_cast<double>(expected[i])) <= bound) continue;
      std::fprintf(stderr, "%s: the results of two loops differ at %zu\n", label, i);
      return false;
    }
  }
  std::printf("%s\t%.6f\n", label, best);
  return true;
}

// Bytes that can be used without swapping; the most that there are where the system does not say it.
std::uint64_t FindAvailableMemory() {
  std::ifstream file("/proc/meminfo");
  std::string name, unit;
  for (std::uint64_t count = 0; file >> name >> count; std::getline(file, unit))
    if (name == "MemAvailable:") return count * 1024;
  return std::numeric_limits<std::uint64_t>::max();
}

// Of the three pictures of the blur.
std::uint64_t CountBytes(long width, long height) {
  return std::uint64_t{3} * 4 * sizeof(float) * static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
}

bool PrintBlur(int width, int height) {
  constexpr float kWeights[] = {1, 4, 6, 4, 1};
  float taps[25];
  for (int i = 0; i < 25; ++i) taps[i] = kWeights[i / 5] * kWeights[i % 5] / 256;
  const std::size_t count = std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::vector<float> source(count), target(count), expected(count);
  for (std::size_t i = 0; i < count; ++i) source[i] = static_cast<float>((i * 2654435761u >> 7) & 255) / 255;
  Blur5(Style::Serial, width, height, taps, source.data(), expected.data());
  std::vector<std::function<void()>> loops;
  for (const Style style : {Style::OpenMp, Style::OpenMpStatic, Style::Tbb})
    loops.push_back([&, style] { Blur5(style, width, height, taps, source.data(), target.data()); });
  if (GetShapedLanes() != 0 && width >= 20)
    loops.push_back([&] { ShapedBlur5(width, height, taps, source.data(), target.data()); });
  return PrintBest("blur, 25 weights", loops, target, expected, 1e-5);
}

bool PrintMandelbrot() {
  constexpr Plane kPlane = {1920, 1080, -2.4f, -1.0f, 0.00185f};
  constexpr std::uint32_t kLimit = 1000;
  constexpr std::size_t kCount = std::size_t{1920} * 1080;
  std::vector<std::uint32_t> steps(kCount), expected(kCount);
  Mandelbrot(Style::Serial, kPlane, kLimit, expected.data());
  std::vector<std::function<void()>> loops;
  for (const Style style : {Style::OpenMp, Style::Tbb})
    loops.push_back([&, style] { Mandelbrot(style, kPlane, kLimit, steps.data()); });
  for (const int lanes : {8, 16})
    if (lanes <= GetShapedLanes())
      loops.push_back([&, lanes] { ShapedMandelbrot(lanes, kPlane, kLimit, steps.data()); });
  return PrintBest("mandelbrot, 1000 steps", loops, steps, expected, 0);
}

}  // namespace
}  // namespace bench

int main(int argumentCount, char** arguments) {
  const long width = argumentCount == 3 ? std::strtol(arguments[1], nullptr, 10) : 0;
  const long height = argumentCount == 3 ? std::strtol(arguments[2], nullptr, 10) : 0;
  if (width < 1 || height < 1 || width > 32768 || height > 32768) {
    std::fprintf(stderr, "ostra-demo-references WIDTH HEIGHT: both from 1 to 32768\n");
    return 2;
  }
  const std::uint64_t needed = bench::CountBytes(width, height), available = bench::FindAvailableMemory();
  constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;
  if (needed > available) {
    std::fprintf(stderr, "ostra-demo-references: a picture of %ld x %ld needs %llu MiB, and %llu MiB are left\n", width,
                 height, static_cast<unsigned long long>(needed / kMebibyte),
                 static_cast<unsigned long long>(available / kMebibyte));
    return 2;
  }
  try {
    return bench::PrintBlur(static_cast<int>(width), static_cast<int>(height)) && bench::PrintMandelbrot() ? 0 : 1;
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "ostra-demo-references: there is not enough memory for a picture of %ld x %ld\n", width,
                 height);
    return 2;
  }
}
