// Starts the framework for a command.
#pragma once

#include <span>

#include "ostra/host.h"

namespace ostra::tool {

// A host with the module of parallel programs. Errors: usage error for a configuration variable that does not exist,
// with the nearest one; those of Host::Create and Host::LoadModule.
Result<Host> StartHost(std::span<const char* const> arguments);

}  // namespace ostra::tool
