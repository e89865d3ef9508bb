// `ostra parity`, and what it says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "apps/ostra/parity/parity_report.h"
#include "tests/support/result_matchers.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using tool::ParityReport;

ParityReport MakeReport(Bool isHeld) {
  return {"a device",
          "GLSL",
          {{"arithmetic", "x + y", "the same bits", "the same bits", true},
           {"arithmetic", "x * y", "the same bits", isHeld ? "the same bits" : "3 of 8 differ", isHeld}}};
}

TEST(ParityReportTest, TheTableNamesAGroupOnceAndWhatIsNotHeld) {
  EXPECT_EQ(tool::FormatParityReport(MakeReport(false)),
            "device    a device\n"
            "language  GLSL\n"
            "\n"
            "                   promised       reached\n"
            "arithmetic  x + y  the same bits  the same bits\n"
            "            x * y  the same bits  NOT HELD: 3 of 8 differ\n");
}

TEST(ParityReportTest, ARowThatIsNotHeldIsAnError) {
  EXPECT_THAT(tool::CheckParityReport(MakeReport(true)), IsOk());
  EXPECT_THAT(tool::CheckParityReport(MakeReport(false)),
              IsErrorWith(kIllegalStateError, "1 of 2 promises are not held"));
}

TEST(ParityReportTest, ProgramsGetTheSame) {
  const json report = json::parse(tool::FormatParityReportAsJson(MakeReport(false)));
  EXPECT_EQ(report["device"], "a device");
  EXPECT_EQ(report["isHeld"], false);
  EXPECT_EQ(report["rows"][1]["reached"], "3 of 8 differ");
  EXPECT_EQ(report["rows"][1]["isHeld"], false);
}

TEST(ParityCommandTest, EveryPromiseIsHeldOnThisMachine) {
  const ToolResult result = RunTool({"parity", "--json"});
  if (result.errors.find("there is nothing to compare with the CPU") != std::string::npos) {
    EXPECT_EQ(result.exitStatus, 1);
    GTEST_SKIP() << "There is no GPU device on this machine.";
  }
  ASSERT_EQ(result.exitStatus, 0) << result.errors << result.output;
  EXPECT_EQ(result.errors, "");
  const json report = json::parse(result.output);
  EXPECT_EQ(report["isHeld"], true);
  EXPECT_EQ(report["language"], "GLSL");
  std::set<std::string> groups;
  for (const json& row : report["rows"]) groups.insert(row["group"].get<std::string>());
  EXPECT_THAT(groups, testing::IsSupersetOf({"arithmetic", "quotients and roots", "exponentials", "angles", "integers",
                                             "noises", "textures", "kernels", "clients", "differences"}));
}

TEST(ParityCommandTest, WithoutADriverThereIsNothingToCompare) {
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(setenv(name, "/nonexistent.json", 1), 0);
  const ToolResult result = RunTool({"parity"});
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(unsetenv(name), 0);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, HasSubstr("there is nothing to compare with the CPU"));
}

TEST(ParityCommandTest, AnUnknownLanguageIsWrongUsage) {
  EXPECT_EQ(RunTool({"parity", "--language", "METAL"}).exitStatus, 2);
}

}  // namespace
}  // namespace ostra
