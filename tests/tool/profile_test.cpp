// What `ostra run --profile` and `ostra render --profile` say, and the trace that they write.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class ProfileTest : public testing::Test {
 protected:
  ToolResult Run(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"run",   GetTestKernel("net.example.invert.krn"), "--in", "image=ones:30x20",
                                          "--out", "result=" + (_folder / "result.npy")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }
  json RunForJson(std::vector<std::string> options) const {
    options.emplace_back("--json");
    const ToolResult result = Run(options);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return json::parse(result.output);
  }
  static Bool HasGpu() { return !json::parse(RunTool({"info", "--json"}).output)["devices"].empty(); }
  json ReadTrace() const {
    std::ifstream file(_folder / "trace.json");
    return json::parse(file);
  }

  TemporaryFolder _folder;
};

std::vector<std::string> GetNames(const json& list) {
  std::vector<std::string> names;
  for (const json& each : list) names.push_back(each["name"]);
  return names;
}

TEST_F(ProfileTest, PartsAndKernelsAddUpToWhatWasDone) {
  const json report = RunForJson({"--profile", "--iterations", "3", "--repeat", "2"});
  const json& profile = report["profile"];
  const std::vector<std::string> names = GetNames(profile["parts"]);
  for (const char* part : {"front end", "load", "read files", "upload", "dispatch", "read back", "write files"})
    EXPECT_THAT(names, Contains(part));
  double sum = 0;
  for (const json& part : profile["parts"]) sum += part["milliseconds"].get<double>();
  EXPECT_LE(sum, profile["milliseconds"].get<double>());
  ASSERT_EQ(profile["kernels"].size(), 1U);
  const json& kernel = profile["kernels"][0];
  EXPECT_EQ(kernel["name"], "net.example.invert.krn");
  EXPECT_EQ(kernel["backend"], "cpu");
  EXPECT_EQ(kernel["dispatches"], 6);
  EXPECT_EQ(kernel["invocations"], 6 * 600);
  EXPECT_EQ(kernel["bytes"], 6 * 2 * 600 * 16);
  EXPECT_GT(kernel["milliseconds"].get<double>(), 0);
  EXPECT_LE(kernel["shortest"], kernel["longest"]);
  EXPECT_FALSE(profile.contains("trace"));
}

TEST_F(ProfileTest, WithoutTheOptionNothingIsSaid) {
  EXPECT_FALSE(RunForJson({}).contains("profile"));
  EXPECT_THAT(Run({}).output, Not(HasSubstr("part")));
}

TEST_F(ProfileTest, TheTraceHasPartsOfTheRun) {
  const json report = RunForJson({"--profile=" + (_folder / "trace.json")});
  EXPECT_EQ(report["profile"]["trace"], _folder / "trace.json");
  const std::vector<std::string> names = GetNames(ReadTrace()["traceEvents"]);
  for (const char* name : {"front end", "read files", "dispatch", "dispatch kernel"})
    EXPECT_THAT(names, Contains(name));
}

TEST_F(ProfileTest, ATraceThatCannotBeWrittenIsRefusedBeforeTheWork) {
  const ToolResult result = Run({"--profile=" + (_folder / "nowhere/trace.json")});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_THAT(result.errors, HasSubstr("ostra: --profile: "));
  EXPECT_FALSE(std::filesystem::exists(_folder / "result.npy"));
}

TEST_F(ProfileTest, DispatchesOfTheGpuAreOnATrackOfItsOwn) {
  if (!HasGpu()) GTEST_SKIP() << "there is no GPU device";
  const json profile =
      RunForJson({"--backend", "both", "--iterations", "4", "--profile=" + (_folder / "trace.json")})["profile"];
  if (!profile["notes"].empty()) GTEST_SKIP() << profile["notes"][0];
  ASSERT_EQ(profile["kernels"].size(), 2U);
  EXPECT_EQ(profile["kernels"][1]["backend"], "gpu");
  EXPECT_EQ(profile["kernels"][1]["dispatches"], 4);
  const json trace = ReadTrace();
  int track = -1, count = 0;
  for (const json& event : trace["traceEvents"])
    if (event["name"] == "thread_name" && event["args"]["name"] == "GPU") track = event["tid"];
  ASSERT_NE(track, -1);
  for (const json& event : trace["traceEvents"])
    if (event["tid"] == track && event["ph"] == "X") {
      EXPECT_EQ(event["name"], "net.example.invert.krn");
      ++count;
    }
  EXPECT_EQ(count, 4);
}

// The first columns of the page's tables are those that its command prints.
TEST_F(ProfileTest, TheCommandOfThePagePrintsTheTablesOfThePage) {
  if (!HasGpu()) GTEST_SKIP() << "there is no GPU device";
  std::ifstream page(OSTRA_TEST_PROFILING_PAGE);
  std::vector<std::string> arguments, expected;
  Int block = 0;
  for (std::string line; std::getline(page, line);) {
    if (line == "```") {
      ++block;
    } else if (block == 1) {
      std::istringstream words(line);
      for (std::string word; words >> word;)
        if (word != "\\") arguments.push_back(word);
    } else if (block == 3 && !line.empty()) {
      expected.push_back(line.substr(0, line.find("  ")));
    }
  }
  ASSERT_GT(arguments.size(), 10U);
  arguments.erase(arguments.begin());
  for (std::string& argument : arguments) {
    if (argument.starts_with("kernels/")) argument = std::string(OSTRA_TEST_LIBRARY) + argument.substr(7);
    if (argument == "y=y.npy") argument = "y=" + (_folder / "y.npy");
    if (argument == "--profile=trace.json") argument = "--profile=" + (_folder / "trace.json");
  }
  // Compiled anew, as on the page.
  arguments.insert(arguments.end(), {"--cache-dir", _folder / "cache"});
  const ToolResult result = RunTool(arguments);
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  std::vector<std::string> printed;
  std::istringstream lines(result.output.substr(result.output.find("\n\n")));
  for (std::string line; std::getline(lines, line);)
    if (!line.empty()) printed.push_back(line.substr(0, line.find("  ")));
  EXPECT_EQ(printed, expected) << result.output;
}

}  // namespace
}  // namespace ostra
