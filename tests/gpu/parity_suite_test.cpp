// The conformance suite on this machine's device, translated to each language that the backend compiles.
#include <fstream>
#include <sstream>

#include "conformance/client_scenarios.h"
#include "conformance/comparisons.h"
#include "conformance/differences.h"
#include "conformance/suite.h"
#include "ostra/drawport/device_list.h"
#include "ostra/drawport/settings.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

using namespace conformance;

struct Language {
  const char* name;
  const Id& id;
};
constexpr Language kLanguages[] = {{"Glsl", kShadingLanguageGlsl}, {"Hlsl", kShadingLanguageHlsl}};

// Translates what programs are given during a test.
class LanguageTest : public testing::Test {
 protected:
  ~LanguageTest() override { SetDrawportShadingLanguage(kShadingLanguageGlsl); }
  void Choose(const Language& language) {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    SetDrawportShadingLanguage(language.id);
  }
};

struct NumbersParameter {
  ConformanceCase suiteCase;
  Language language;
};

class NumbersParityTest : public LanguageTest, public testing::WithParamInterface<NumbersParameter> {
 protected:
  void SetUp() override { Choose(GetParam().language); }
};

TEST_P(NumbersParityTest, EveryBoundIsHeld) {
  const auto devices = GetDrawportDevices();
  ASSERT_THAT(devices, IsOk());
  ASSERT_TRUE(devices->IsPopulated());
  const std::vector<ConformanceRow> rows =
      GetParam().suiteCase.run({GetKernelFolder(), (*devices)[0].filterWeightBits});
  EXPECT_FALSE(rows.empty());
  for (const ConformanceRow& row : rows) {
    EXPECT_TRUE(row.isHeld) << row.what << ": promised " << row.promised << ", reached " << row.reached;
    EXPECT_NE(row.reached, "") << row.what;
  }
}

std::vector<NumbersParameter> ListNumbers() {
  std::vector<NumbersParameter> all;
  for (const ConformanceCase& suiteCase : GetConformanceCases())
    for (const Language& language : kLanguages) all.push_back({suiteCase, language});
  return all;
}

INSTANTIATE_TEST_SUITE_P(, NumbersParityTest, testing::ValuesIn(ListNumbers()),
                         [](const auto& test) { return test.param.suiteCase.name + "In" + test.param.language.name; });

// A scenario or the check of a difference, on a program.
struct ClientParameter {
  std::string name;
  void (*run)(ClientRun&);
  Id programClass;
  Language language;
};

class ClientParityTest : public LanguageTest, public testing::WithParamInterface<ClientParameter> {
 protected:
  void SetUp() override {
    if (GetParam().programClass == kGpuProgramClass) Choose(GetParam().language);
  }
  void RunClients() {
    for (const std::string& failure : RunClient(GetParam().run, GetParam().programClass, GetKernelFolder()))
      ADD_FAILURE() << failure;
  }
};

void AddPrograms(const std::string& name, void (*run)(ClientRun&), std::vector<ClientParameter>& all) {
  all.push_back({name + "OnTheCpu", run, kCpuProgramClass, kLanguages[0]});
  for (const Language& language : kLanguages)
    all.push_back({name + "OnTheGpuIn" + language.name, run, kGpuProgramClass, language});
}

std::string GetClientName(const testing::TestParamInfo<ClientParameter>& test) { return test.param.name; }

using ProgramParityTest = ClientParityTest;

TEST_P(ProgramParityTest, AScenarioHolds) { RunClients(); }

std::vector<ClientParameter> ListScenarios() {
  std::vector<ClientParameter> all;
  for (const ClientScenario& scenario : GetClientScenarios()) AddPrograms(scenario.name, scenario.run, all);
  return all;
}

INSTANTIATE_TEST_SUITE_P(, ProgramParityTest, testing::ValuesIn(ListScenarios()), GetClientName);

class ProgramDifferencesTest : public ClientParityTest {};

TEST_P(ProgramDifferencesTest, EachClassKeepsItsOwnRule) { RunClients(); }

std::vector<ClientParameter> ListDifferences() {
  std::vector<ClientParameter> all;
  for (const Difference& difference : GetDifferences()) AddPrograms(difference.test, difference.check, all);
  return all;
}

INSTANTIATE_TEST_SUITE_P(, ProgramDifferencesTest, testing::ValuesIn(ListDifferences()), GetClientName);

// The suite notices what is not as promised.
class SuspiciousParityTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  }
};

Float64 GetUnit(const Operands&, Float64 exact) { return GetLastPlace(exact); }

TEST_F(SuspiciousParityTest, AResultThatIsFartherAwayThanAllowedIsNotHeld) {
  // The kernel has ten results; the second of these is not what it computes.
  static const Operation operations[10] = {
      {"x + y", "a unit", [](const Operands& at) { return Float64{at.x} + at.y; }, &GetUnit},
      {"x - y", "a unit", [](const Operands& at) { return 1.000001 * (Float64{at.x} - at.y); }, &GetUnit},
  };
  const OperationGroup& arithmetic = GetOperationGroups()[0];
  const std::vector<ConformanceRow> rows =
      CompareOperations({"other", "Other", arithmetic.kernel, operations, arithmetic.makeOperands}, GetKernelFolder());
  ASSERT_EQ(rows.size(), 10u);
  EXPECT_TRUE(rows[0].isHeld) << rows[0].reached;
  EXPECT_FALSE(rows[1].isHeld);
}

TEST_F(SuspiciousParityTest, AKernelWithOtherResultsIsNotHeld) {
  static int runs = 0;
  const auto prepare = [](ScenarioTarget& target) {
    target.SetValue<UInt32>("count", 2);
    target.SetValue("a", 1.0f);
    target.SetBuffer<Float32>("x", {1, 2});
    target.SetBuffer<Float32>("y", {3, runs++ == 0 ? 4.0f : 4.001f});
  };
  const std::vector<ConformanceRow> rows = CompareKernel({"saxpy", {2, 1, 1}, prepare}, GetKernelFolder());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_FALSE(rows[0].isHeld);
  EXPECT_THAT(rows[0].reached, testing::HasSubstr("y differs by up to 0.0001"));
}

TEST_F(SuspiciousParityTest, AKernelThatIsNotThereIsSaid) {
  const std::vector<ConformanceRow> rows =
      CompareKernel({"nothing", {1, 1, 1}, [](ScenarioTarget&) {}}, GetKernelFolder());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_FALSE(rows[0].isHeld);
  EXPECT_THAT(rows[0].reached, testing::HasSubstr("net.ostra.kernels.nothing.krn"));
}

std::string ReadPage() {
  std::ostringstream text;
  text << std::ifstream(OSTRA_TEST_PAGE).rdbuf();
  return text.str();
}

TEST(DifferencesTableTest, ThePageHasTheTableOfTheSuite) {
  std::string table = "| | CPU | GPU |\n|---|---|---|\n";
  for (const Difference& difference : GetDifferences())
    table += std::string("| ") + difference.what + " | " + difference.onCpu + " | " + difference.onGpu + " |\n";
  EXPECT_THAT(ReadPage(), testing::HasSubstr(table));
}

}  // namespace
}  // namespace ostra::test
