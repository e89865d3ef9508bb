#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/program.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

// The steps of net.ostra.bench.heavy.krn.
__attribute__((noinline)) std::uint32_t Step(std::uint32_t x, std::uint32_t steps) {
  for (std::uint32_t step = 0; step < steps; ++step) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
  }
  return x;
}

// How many steps take so long on this machine.
std::uint32_t FindSteps(double milliseconds) {
  constexpr std::uint32_t kTrial = 4000000;
  volatile std::uint32_t start = 1, end = 0;
  double seconds = 1e9;
  for (int i = 0; i < 3; ++i) seconds = std::min(seconds, Time([&] { end = Step(start, kTrial); }));
  return static_cast<std::uint32_t>(milliseconds * 1e-3 / seconds * kTrial) + 1;
}

// Every thread of the machine takes the next piece when it has done one.
void RunThreads(std::vector<std::uint32_t>& values, std::uint32_t steps) {
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < values.size(); i = next++)
      values[i] = Step(static_cast<std::uint32_t>(i) + 1, steps);
  };
  std::vector<std::thread> threads;
  for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) threads.emplace_back(work);
  work();
  for (std::thread& thread : threads) thread.join();
}

bool RunSize(const Options& options, std::uint32_t x, std::uint32_t y, double milliseconds, const char* size) {
  const std::uint32_t steps = FindSteps(milliseconds), count = x * y;
  const auto isRight = [=](const std::uint32_t* values) {
    for (std::uint32_t i = 0; i < count; ++i)
      if (values[i] != Step(i + 1, steps)) return false;
    return true;
  };
  Contest contest("heavy", size, "latency", "ms");
  auto program = std::make_shared<Program>("net.ostra.bench.heavy.krn");
  const auto* values = program->AddBuffer<ostra::UInt32>("values", count, [](std::int64_t) { return 0u; });
  program->SetUniform("width", x);
  program->SetUniform("steps", steps);
  program->Prepare();
  contest.Add(
      "ours", [=] { return program->Dispatch(x, y); }, [=] { return isRight(values); });
  // Each time a kernel of which nothing is known yet.
  auto first = std::make_shared<std::unique_ptr<Program>>();
  auto firstValues = std::make_shared<const ostra::UInt32*>();
  contest.Add(
      "ours-first",
      [=] {
        *first = std::make_unique<Program>("net.ostra.bench.heavy.krn");
        *firstValues = (*first)->AddBuffer<ostra::UInt32>("values", count, [](std::int64_t) { return 0u; });
        (*first)->SetUniform("width", x);
        (*first)->SetUniform("steps", steps);
        (*first)->Prepare();
        return (*first)->Dispatch(x, y);
      },
      [=] { return isRight(*firstValues); });
  auto others = std::make_shared<std::vector<std::uint32_t>>(count);
  contest.Add(
      "threads",
      [=] {
        RunThreads(*others, steps);
        return true;
      },
      [=] { return isRight(others->data()); });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

}  // namespace

bool RunHeavy(const Options& options) {
  return RunSize(options, 2, 1, 20, "2 of 20 ms") && RunSize(options, 4, 1, 20, "4 of 20 ms") &&
         RunSize(options, 32, 1, 1, "32 of 1 ms") && RunSize(options, 64, 2, 0.3, "64 x 2 of 0.3 ms");
}

}  // namespace bench
