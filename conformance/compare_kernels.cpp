// The kernels of the library.
#include <algorithm>
#include <cmath>

#include "conformance/comparisons.h"
#include "conformance/program_runner.h"

namespace ostra::conformance {
namespace {

struct Outcome {
  std::map<std::string, DataType> types;
  std::map<std::string, std::vector<Byte>> buffers;
  std::vector<UInt32> counters;
  std::string failure;
};

std::vector<Float32> ToFloats(const std::vector<Byte>& bytes) {
  std::vector<Float32> values(bytes.size() / sizeof(Float32));
  if (!values.empty()) MemCopy(values.data(), bytes.data(), static_cast<Int>(bytes.size()));
  return values;
}

// The kernel "compact" finds its values in any order.
void SortFound(std::vector<Byte>& bytes) {
  std::vector<Float32> found = ToFloats(bytes);
  std::sort(found.begin(), found.end());
  if (!found.empty()) MemCopy(bytes.data(), found.data(), static_cast<Int>(bytes.size()));
}

Outcome RunScenario(const Id& programClass, const KernelScenario& scenario, const Url& kernels) {
  Outcome outcome;
  ProgramRunner runner(programClass, kernels, GetKernelId(scenario.name));
  scenario.prepare(runner);
  runner.Run(scenario.extent);
  outcome.types = runner.GetBuffers();
  for (const auto& [name, type] : outcome.types) outcome.buffers[name] = runner.ReadBytes(name);
  for (const std::string& name : runner.GetCounters()) outcome.counters.push_back(runner.ReadCounter(name));
  if (std::string(scenario.name) == "compact") SortFound(outcome.buffers["found"]);
  outcome.failure = runner.GetFailure();
  return outcome;
}

Bool IsFloat(DataType type) {
  return type == GetDataType<Float32>() ||
         (type.IsMadeWith(kVectorParametricType) && type.GetInnerType() == GetDataType<Float32>());
}

// The largest distance of two buffers of floats, relative to values above 1.
Float32 GetDistance(const std::vector<Byte>& a, const std::vector<Byte>& b) {
  const std::vector<Float32> one = ToFloats(a), other = ToFloats(b);
  Float32 largest = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    const Float32 distance = std::abs(one[i] - other[i]) / std::max(1.0f, std::abs(one[i]));
    largest = distance <= largest ? largest : distance;  // a distance that is no number is the largest
  }
  return largest;
}

}  // namespace

std::vector<ConformanceRow> CompareKernel(const KernelScenario& scenario, const Url& kernels) {
  ConformanceRow row{"kernels", scenario.name, kSameBits, kSameBits, true};
  if (scenario.distance > 0) row.promised = FormatFigure(scenario.distance) + " (" + scenario.inexact + ")";
  const Outcome cpu = RunScenario(kCpuProgramClass, scenario, kernels);
  const Outcome gpu = RunScenario(kGpuProgramClass, scenario, kernels);
  const auto fail = [&row](const std::string& reason) {
    row.reached = reason;
    row.isHeld = false;
  };
  if (!cpu.failure.empty() || !gpu.failure.empty()) {
    fail(cpu.failure.empty() ? gpu.failure : cpu.failure);
    return {row};
  }
  Float32 largest = 0;
  for (const auto& [name, bytes] : cpu.buffers) {
    const std::vector<Byte>& others = gpu.buffers.at(name);
    if (others == bytes) continue;
    if (others.size() != bytes.size() || !IsFloat(cpu.types.at(name))) {
      fail(name + " differs");
      return {row};
    }
    const Float32 distance = GetDistance(bytes, others);
    largest = distance <= largest ? largest : distance;
    if (!(distance <= scenario.distance) || scenario.distance == 0)
      fail(name + " differs by up to " + FormatFigure(distance));
  }
  if (gpu.counters != cpu.counters) fail("a counter differs");
  if (row.isHeld && largest > 0) row.reached = FormatFigure(largest);
  return {row};
}

}  // namespace ostra::conformance
