// The options of the commands that look at shaders: translate and check.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::tool {

struct TranslateArguments {
  std::string file, target;
  std::optional<std::string> templateArgument;
  std::optional<Int32> multisampling;
  Bool isJson = false, isPlain = false;
};
CLI::App& AddTranslateCommand(CLI::App& app, TranslateArguments& arguments);
Result<void> RunTranslate(const TranslateArguments& arguments);

struct CheckArguments {
  std::vector<std::string> files, targets;
  std::optional<std::string> templateArgument;
  std::optional<Int32> multisampling;
  std::string shown;
  Bool isExplained = false;
};
CLI::App& AddCheckCommand(CLI::App& app, CheckArguments& arguments);
Result<void> RunCheck(const CheckArguments& arguments);

}  // namespace ostra::tool
