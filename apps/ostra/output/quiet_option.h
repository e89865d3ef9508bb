// The option --quiet of commands.
#pragma once

#include <CLI/CLI.hpp>

#include "apps/ostra/output/quiet.h"

namespace ostra::tool {

inline CLI::Option* AddQuietOption(CLI::App& command, const char* help = "Write no report, no notes and no progress") {
  return command.add_flag_callback(
      "--quiet", [] { SetQuiet(true); }, help);
}

}  // namespace ostra::tool
