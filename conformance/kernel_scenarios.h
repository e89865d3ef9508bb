// What each kernel of the library is run on, here and in tests: values of every kind, sizes that are no multiple of
// anything.
#pragma once

#include <string>
#include <vector>

#include "conformance/scenario_target.h"

namespace ostra::conformance {

struct KernelScenario {
  const char* name;  // of the kernel, in net.ostra.kernels.NAME.krn
  Vec3<UInt32> extent;
  void (*prepare)(ScenarioTarget& target);
  // How far numbers may be from those of the CPU where a device rounds in its own way, relative to values above 1; 0:
  // the same bits.
  Float32 distance = 0;
  // What of the kernel is rounded so.
  const char* inexact = "";
};

std::string GetKernelId(const char* name);

// One scenario for each kernel of the library.
const std::vector<KernelScenario>& GetKernelScenarios();

// Reproducible numbers between `low` and `high`.
std::vector<Float32> MakeNumbers(Int count, Float32 low, Float32 high);
std::vector<Vec4<Float32>> MakePixels(Int count, Float32 brightest);

inline constexpr Int32 kWidth = 37, kHeight = 19;
inline constexpr UInt32 kCount = 1003;
inline constexpr UInt32 kInner = 23;  // of the product of two matrices

}  // namespace ostra::conformance
