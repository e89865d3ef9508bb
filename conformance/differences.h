// What the two program classes do differently, each by its own rule: the table of docs/gpu-program.md as data, with a
// check of every row.
#pragma once

#include <span>
#include <vector>

#include "conformance/client_run.h"

namespace ostra::conformance {

struct Difference {
  const char* what;
  const char* onCpu;
  const char* onGpu;
  // Runs on a program of either class and asks for what its column says.
  void (*check)(ClientRun&);
  const char* test;  // one word
};

std::span<const Difference> GetDispatchDifferences();
std::span<const Difference> GetBufferDifferences();
std::span<const Difference> GetTextureDifferences();

// All of them, in the order of the table.
std::vector<Difference> GetDifferences();

}  // namespace ostra::conformance
