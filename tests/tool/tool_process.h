// Runs the tool as users do: another process, with its exit status and its two outputs.
#pragma once

#include <string>
#include <vector>

namespace ostra {

struct ToolResult {
  int exitStatus = -1;
  std::string output;  // standard output
  std::string errors;  // standard error
};

// Runs `ostra` with the arguments, and `input` as standard input. Compiled kernels are kept in a folder that all tests
// share unless --cache-dir is given.
ToolResult RunTool(const std::vector<std::string>& arguments, const std::string& input = "");

// The path of a kernel file of these tests.
std::string GetTestKernel(const std::string& name);

}  // namespace ostra
