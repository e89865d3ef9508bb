#include "tests/tool/tool_process.h"

#include <cstdlib>

#include "ostra/process/command.h"
#include "tests/support/temporary_folder.h"

namespace ostra {

ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& input) {
  setenv("XDG_CACHE_HOME", OSTRA_TEST_CACHE, 1);
  const TemporaryFolder folder;
  const std::string errorFile = folder / "errors", inputFile = folder / "input";
  std::ofstream(inputFile) << input;
  // The shell only connects the three streams.
  std::vector<std::string> command = {
      "/bin/sh",      "-c",      "errors=\"$1\" input=\"$2\"; shift 2; exec \"$@\" <\"$input\" 2>\"$errors\"",
      "sh",           errorFile, inputFile,
      OSTRA_TEST_TOOL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const auto result = RunCommand(command);
  if (!result) return {-1, "", std::string(result.GetError().GetMessage().GetView())};
  return {result->exitStatus, result->output, folder.Read("errors")};
}

std::string GetTestKernel(const std::string& name) { return std::string(OSTRA_TEST_KERNELS) + "/" + name; }

}  // namespace ostra
