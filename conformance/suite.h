// The conformance suite: everything that is compared between the CPU and a GPU, for `ostra parity` and for the tests.
//
//   OSTRA_RETURN_IF_ERROR(RegisterConformanceKernels());
//   OSTRA_ASSIGN_OR_RETURN(const KernelFolder kernels, KernelFolder::Create());
//   for (const ConformanceCase& each : GetAllConformanceCases())
//     for (const ConformanceRow& row : each.run({kernels.GetUrl(), weightBits})) Show(row);
//
// The GPU program runs what the backend is set to: see SetDrawportShadingLanguage.
#pragma once

#include <functional>

#include "conformance/conformance_row.h"
#include "ostra/io/url.h"

namespace ostra::conformance {

struct ConformanceSetting {
  const Url& kernels;  // of a KernelFolder
  Int weightBits = 8;  // of the device: see DrawportDeviceInformation
};

struct ConformanceCase {
  std::string name;  // one word
  std::function<std::vector<ConformanceRow>(const ConformanceSetting&)> run;
};

// What compares numbers: operations, integers, noises, textures, kernels of the library.
std::vector<ConformanceCase> GetConformanceCases();

// Those, and two of one row each: "Clients", what clients do, the same on both classes; and "Differences", what the
// classes do differently. A row that is not held says on which class and where.
std::vector<ConformanceCase> GetAllConformanceCases();

}  // namespace ostra::conformance
