// A kernel file with a cache of its own, run by the tool.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {

class KernelCacheTest : public testing::Test {
 protected:
  // The text of a kernel that writes the expression's value.
  static std::string MakeKernel(const std::string& expression) {
    return "#define KERNELINPUTS \\\n(Block<Float32>) values\n\nGROUPSIZE(64, 1, 1)\n\n"
           "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = " +
           expression + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  }
  void Write(const std::string& text) { _folder.Write("test.krn", text); }

  std::vector<std::string> MakeArguments() const {
    return {
        "run",    _folder / "test.krn", "--in",           "values=zeros:1", "--out", "values=" + _folder / "out.csv",
        "--json", "--cache-dir",        _folder / "cache"};
  }
  ToolResult Run(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = MakeArguments();
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }
  // Whether the kernel was compiled, and what it computed.
  std::pair<Bool, std::string> Compute(const std::vector<std::string>& options = {}) { return Read(Run(options)); }
  std::pair<Bool, std::string> Read(const ToolResult& result) const {
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    if (result.exitStatus != 0) return {};
    return {nlohmann::json::parse(result.output).at("compiled").get<Bool>(), _folder.Read("out.csv")};
  }

  std::vector<std::string> FindFiles(const std::string& suffix) const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(_folder / "cache"))
      if (entry.path().extension() == suffix) files.push_back(entry.path().native());
    return files;
  }
  std::string GetOnlyFile(const std::string& suffix) const {
    const std::vector<std::string> files = FindFiles(suffix);
    EXPECT_EQ(files.size(), 1u) << suffix;
    return files.empty() ? std::string() : files[0];
  }

  TemporaryFolder _folder;
};

}  // namespace ostra
