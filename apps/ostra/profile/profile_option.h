// The option --profile of commands.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "ostra/core/result.h"

namespace ostra::tool {

// `value` stays empty without the option.
void AddProfileOption(CLI::App& command, std::string& value);
// The trace file that the option names, empty for none. Errors: those of CheckFileTarget.
Result<std::string> GetTraceFile(const std::string& value);

}  // namespace ostra::tool
