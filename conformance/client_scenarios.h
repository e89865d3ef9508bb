// What clients do with a program, unchanged on both classes: buffers, links, counters, textures, dispatches, messages.
#pragma once

#include <span>
#include <vector>

#include "conformance/client_run.h"

namespace ostra::conformance {

std::span<const ClientScenario> GetBufferScenarios();
std::span<const ClientScenario> GetKernelScenariosOfClients();
std::span<const ClientScenario> GetTextureScenarios();

// All of them.
std::vector<ClientScenario> GetClientScenarios();

// y = a * x + y, for scenarios: links the buffers x and y to a new kernel "saxpy", and runs it over `count` elements.
void LinkSaxpy(ClientRun& run, const Floats& x, const Floats& y);
void RunSaxpy(ClientRun& run, Float32 a, UInt32 count);

// Adds the kernel that writes its invocations' numbers, as "index", with a buffer of `count` elements `value`.
void LinkIndex(ClientRun& run, UInt32 count, UInt32 value);

inline constexpr const char* kSaxpyKernel = "net.ostra.kernels.saxpy.krn";
inline constexpr const char* kIndexKernel = "net.ostra.kernels.index.krn";

}  // namespace ostra::conformance
