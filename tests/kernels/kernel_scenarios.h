// What each kernel of the library is run on in tests: values of every kind, sizes that are no multiple of anything.
#pragma once

#include <string>
#include <vector>

#include "tests/kernels/scenario_target.h"

namespace ostra::test {

struct KernelScenario {
  const char* name;  // of the kernel, in net.ostra.kernels.NAME.krn
  Vec3<UInt32> extent;
  void (*prepare)(ScenarioTarget& target);
};

std::string GetKernelId(const char* name);

// One scenario for each kernel of the library.
const std::vector<KernelScenario>& GetKernelScenarios();

// Reproducible numbers between `low` and `high`.
std::vector<Float32> MakeNumbers(Int count, Float32 low, Float32 high);
std::vector<Vec4<Float32>> MakePixels(Int count, Float32 brightest);

inline constexpr Int32 kWidth = 37, kHeight = 19;
inline constexpr UInt32 kCount = 1003;

}  // namespace ostra::test
