// Starts the framework for a command.
#pragma once

#include <span>
#include <string_view>

#include "ostra/host.h"

namespace ostra::tool {

// A host with the module of parallel programs. Errors: usage error for a configuration variable that does not exist,
// with the nearest one; those of Host::Create and Host::LoadModule.
Result<Host> StartHost(std::span<const char* const> arguments);

inline constexpr std::string_view kCpuHint = "--backend cpu runs the kernel without one";

// Loads the backend that GPU programs run on, and finds out whether it has a device. Error: illegal state with the hint
// what to do without.
Result<void> StartGpu(Host& host, std::string_view hint = kCpuHint);

}  // namespace ostra::tool
