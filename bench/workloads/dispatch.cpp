#include <memory>
#include <vector>

#include "bench/program.h"
#include "bench/workloads/styles.h"
#include "bench/workloads/virtual_kernels.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

// Dispatches of a run, so that a run is long enough to be timed.
std::int64_t GetRepeats(std::int64_t count) { return count < 100 ? 100000 : count < 100000 ? 10000 : 50; }

bool IsRight(const std::uint32_t* values, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) {
    if (values[i] != i) return false;
  }
  return true;
}

void AddProgram(Contest& contest, const char* name, const char* kernel, std::int64_t count) {
  auto program = std::make_shared<Program>(kernel);
  const auto* values = program->AddBuffer<ostra::UInt32>("values", count, [](std::int64_t) { return 7u; });
  program->SetUniform("count", static_cast<ostra::UInt32>(count));
  program->Prepare();
  contest.Add(
      name,
      [program, count] {
        for (std::int64_t i = GetRepeats(count); i > 0; --i) {
          if (!program->Dispatch(static_cast<ostra::UInt32>(count))) return false;
        }
        return true;
      },
      [values, count] { return IsRight(values, count); });
}

void AddReference(Contest& contest, const NamedStyle& style, std::int64_t count) {
  auto values = std::make_shared<std::vector<std::uint32_t>>(count);
  contest.Add(
      style.name,
      [values, style, count] {
        for (std::int64_t i = GetRepeats(count); i > 0; --i) Index(style.style, count, values->data());
        return true;
      },
      [values, count] { return IsRight(values->data(), count); });
}

bool RunSize(const Options& options, std::int64_t count, const char* size) {
  auto contestants = [&](const char* metric) {
    Contest contest("dispatch", size, metric, "ns");
    AddProgram(contest, "ours", "net.ostra.kernels.index.krn", count);
    AddProgram(contest, "ours-virtual", kVirtualIndex, count);
    for (const NamedStyle& style : kInlinedStyles) AddReference(contest, style, count);
    AddReference(contest, kVirtualStyle, count);
    return contest;
  };
  const auto repeats = static_cast<double>(GetRepeats(count));
  return contestants("per_dispatch").Run(options, [=](double seconds) { return seconds / repeats * 1e9; }) &&
         contestants("per_invocation").Run(options, [=](double seconds) {
           return seconds / repeats / static_cast<double>(count) * 1e9;
         });
}

}  // namespace

bool RunDispatch(const Options& options) {
  return RunSize(options, 1, "1") && RunSize(options, 64, "64") && RunSize(options, 4096, "4096") &&
         RunSize(options, 1000000, "10^6");
}

}  // namespace bench
