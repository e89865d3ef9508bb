// Every kernel gives the same bits whichever way its invocations are run.
#include <algorithm>

#include "conformance/kernel_scenarios.h"
#include "kernel_library_test_kernels.h"
#include "tests/kernels/kernel_runner.h"

namespace ostra::test {
namespace {

using namespace conformance;

class KernelParityTest : public testing::TestWithParam<KernelScenario> {};

TEST_P(KernelParityTest, RangesGiveTheBitsOfSingleInvocations) {
  const KernelScenario& scenario = GetParam();
  KernelRunner before(GetKernelId(scenario.name)), expected(GetKernelId(scenario.name));
  scenario.prepare(before);
  scenario.prepare(expected);
  ASSERT_THAT(expected.Run(scenario.extent, Way::kOneByOne), IsOk());
  ASSERT_NE(expected.GetState(), before.GetState()) << "The kernel did nothing.";
  for (const Way way : kAllWays) {
    KernelRunner runner(GetKernelId(scenario.name));
    scenario.prepare(runner);
    ASSERT_THAT(runner.Run(scenario.extent, way), IsOk());
    EXPECT_EQ(runner.GetState(), expected.GetState()) << "way " << static_cast<int>(way);
  }
}

INSTANTIATE_TEST_SUITE_P(Library, KernelParityTest, testing::ValuesIn(GetKernelScenarios()),
                         [](const auto& test) { return std::string(test.param.name); });

// Textures exist only within a program: kernels that read them are run in the program's tests.
Bool ReadsTextures(KernelRunner& runner) {
  for (const auto& [name, parameter] : runner.GetKernel().GetKernelParameterMap())
    if (parameter.type.IsPointer() && parameter.type != GetDataType<AtomicUInt32*>()) return true;
  return false;
}

TEST(KernelParityTableTest, EveryKernelOfTheLibraryWithoutTexturesHasAScenario) {
  const auto& scenarios = GetKernelScenarios();
  for (const auto& kernel : GetKernels_kernel_library_test()) {
    const std::string id = kernel.id;
    KernelRunner runner(id);
    if (!id.starts_with("net.ostra.kernels.") || ReadsTextures(runner)) continue;
    const Bool isKnown = std::any_of(scenarios.begin(), scenarios.end(),
                                     [&](const KernelScenario& scenario) { return GetKernelId(scenario.name) == id; });
    EXPECT_TRUE(isKnown) << id;
  }
}

}  // namespace
}  // namespace ostra::test
