// Noises of all modes, still and moving.
#include "conformance/comparisons.h"
#include "conformance/program_runner.h"
#include "parallelprogram/program/noise_modes.h"

namespace ostra::conformance {
namespace {

// One program for all modes: its kernel is compiled once.
class NoiseRunner {
 public:
  NoiseRunner(const Id& programClass, const Url& kernels)
      : _runner(programClass, kernels, "net.ostra.kernels.noise.krn") {}

  std::vector<Byte> Draw(Int mode, Float32 time) {
    _runner.SetValue<Int32>("width", kWidth);
    _runner.SetValue<Int32>("height", kHeight);
    _runner.SetValue("cells", 7.0f);
    _runner.SetValue("time", time);
    _runner.SetBuffer("target", std::vector<Vec4<Float32>>(std::size_t{kWidth} * kHeight));
    _runner.SetValue<Int32>("noiseMode_0", static_cast<Int32>(mode));
    _runner.SetValue<Int32>("noiseSeed_0", 1000 + static_cast<Int32>(mode));
    _runner.Run({48, 32, 1});
    return _runner.ReadBytes("target");
  }
  const std::string& GetFailure() const { return _runner.GetFailure(); }

 private:
  ProgramRunner _runner;
};

// All noises by a number that the kernel computes.
std::vector<Byte> RunComputedNumbers(const Id& programClass, const Url& kernels, std::string& failure) {
  constexpr UInt32 kValues = 1000;
  ProgramRunner runner(programClass, kernels, "net.ostra.parity.noises.krn");
  runner.SetValue<UInt32>("count", kValues);
  runner.SetValue<Int32>("noises", static_cast<Int32>(kNoiseModeCount));
  runner.SetBuffer("values", std::vector<Float32>(kValues));
  for (Int32 mode = 0; mode < kNoiseModeCount; ++mode) {
    runner.SetValue(("noiseMode_" + std::to_string(mode)).c_str(), mode);
    runner.SetValue<Int32>(("noiseSeed_" + std::to_string(mode)).c_str(), 50 - mode);
  }
  runner.Run({kValues, 1, 1});
  std::vector<Byte> values = runner.ReadBytes("values");
  failure = runner.GetFailure();
  return values;
}

ConformanceRow CompareComputedNumbers(const Url& kernels) {
  std::string cpuFailure, gpuFailure;
  const Bool isSame = RunComputedNumbers(kCpuProgramClass, kernels, cpuFailure) ==
                      RunComputedNumbers(kGpuProgramClass, kernels, gpuFailure);
  ConformanceRow row{"noises", "chosen by a computed number", kSameBits, isSame ? kSameBits : "other bits", isSame};
  for (const std::string& failure : {cpuFailure, gpuFailure})
    if (!failure.empty()) row = MakeFailedRow(row.group, row.what, row.promised, failure);
  return row;
}

}  // namespace

std::vector<ConformanceRow> CompareNoises(const Url& kernels) {
  const std::string what = std::to_string(kNoiseModeCount) + " modes of RenderNoise";
  NoiseRunner cpu(kCpuProgramClass, kernels), gpu(kGpuProgramClass, kernels);
  std::string others;
  for (Int mode = 0; mode < kNoiseModeCount; ++mode) {
    Bool isSame = true;
    for (const Float32 time : {0.0f, 0.6f}) isSame = isSame && cpu.Draw(mode, time) == gpu.Draw(mode, time);
    if (!isSame) others += (others.empty() ? "other bits in mode " : ", ") + std::to_string(mode);
  }
  for (const std::string* failure : {&cpu.GetFailure(), &gpu.GetFailure()})
    if (!failure->empty()) others = *failure;
  return {{"noises", what, kSameBits, others.empty() ? kSameBits : others, others.empty()},
          CompareComputedNumbers(kernels)};
}

}  // namespace ostra::conformance
