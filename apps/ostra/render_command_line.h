// The options of `ostra render`.
#pragma once

#include <CLI/CLI.hpp>
#include <span>
#include <string>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::tool {

// As they stand on the command line.
struct RenderArguments {
  std::string scene, target, size, cacheFolder, profile;
  std::vector<std::string> values;
  Bool isJson = false;
};

CLI::App& AddRenderCommand(CLI::App& app, RenderArguments& arguments);
// `processArguments`: those of the process, for the host.
Result<void> RunRender(const RenderArguments& arguments, std::span<const char* const> processArguments);

}  // namespace ostra::tool
