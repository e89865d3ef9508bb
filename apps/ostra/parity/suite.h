// The parity suite: everything that is compared between the CPU and a GPU, for `ostra parity` and for the tests.
//
//   OSTRA_RETURN_IF_ERROR(RegisterParityKernels());
//   OSTRA_ASSIGN_OR_RETURN(const KernelFolder kernels, KernelFolder::Create());
//   for (const ParityCase& each : GetParityCases())
//     for (const ParityRow& row : each.run({kernels.GetUrl(), weightBits})) Show(row);
//
// The GPU program runs what the backend is set to: see SetDrawportShadingLanguage.
#pragma once

#include <functional>

#include "apps/ostra/parity/parity_row.h"
#include "ostra/io/url.h"

namespace ostra::parity {

struct ParitySetting {
  const Url& kernels;  // of a KernelFolder
  Int weightBits = 8;  // of the device: see DrawportDeviceInformation
};

struct ParityCase {
  std::string name;  // one word
  std::function<std::vector<ParityRow>(const ParitySetting&)> run;
};

// What compares numbers: operations, integers, noises, textures, kernels of the library.
std::vector<ParityCase> GetParityCases();

// One row each: what clients do, the same on both classes; and what the classes do differently. A row that is not held
// says on which class and where.
ParityRow RunClientScenarios(const ParitySetting& setting);
ParityRow RunDifferences(const ParitySetting& setting);

}  // namespace ostra::parity
