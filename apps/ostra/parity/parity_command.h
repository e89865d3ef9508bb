// ostra parity: how close the results of this machine's GPU are to those of the CPU.
#pragma once

#include <CLI/CLI.hpp>
#include <span>
#include <string>

#include "ostra/core/result.h"

namespace ostra::tool {

// As they stand on the command line.
struct ParityArguments {
  std::string language = "GLSL";
  Bool isJson = false;
};

CLI::App& AddParityCommand(CLI::App& app, ParityArguments& arguments);

// Runs the conformance suite on the first device and writes what it has found. `processArguments`: those of the
// process, for the host. Errors: illegal state without a device, and when something is not as it is promised; those of
// StartHost.
Result<void> RunParity(const ParityArguments& arguments, std::span<const char* const> processArguments);

}  // namespace ostra::tool
