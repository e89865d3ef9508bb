// Where a host's configuration values come from. Used by Host.
#pragma once

#include <span>

#include "ostra/core/result.h"

namespace ostra {

// Reads the configuration file, then the environment, then the arguments into the configuration service; see host.h.
// Errors: illegal argument for what cannot be understood; those of reading the file; out of memory.
Result<void> ReadConfigurationSources(std::span<const char* const> arguments, Bool readsEnvironment);

}  // namespace ostra
