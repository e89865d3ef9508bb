#include <gmock/gmock.h>

#include <array>

#include "ostra/config/configuration.h"
#include "ostra/core/host_flags.h"
#include "ostra/object/interface_reference.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

struct Expected {
  const char* name;
  const char* help;
  Int32 kind;
  Bool initialValue;
};

constexpr Expected kHostVariables[] = {
    {"g_metalPointCircleAAWorkaround", "Set to true to enable point circle code workaround when used with MSAA.", 1,
     true},
    {"g_trackSpinlocks", "Track usage of Spinlocks (either for performance checks or deadlock detection)", 1, false},
    {"g_trackCpuYield", "Track usage of Spinlocks (either for performance checks or deadlock detection)", 1, false},
    {"g_enableDebugBreak", "enable debug breaks (when debugger is attached)", 1, true},
    {"g_inCrashhandler", "", 5, false},
};

TEST(HostVariablesTest, TheHostRegistersItsFlagsWithTheirDefaultsAndHelp) {
  ASSERT_THAT(Configuration::Start(), IsOk());
  auto variables = Configuration::GetVariables();
  ASSERT_THAT(variables, IsOk());
  ASSERT_EQ(variables->GetCount(), 5);
  Int index = 0;
  for (const Expected& expected : kHostVariables) {
    const ConfigurationInformation& variable = (*variables)[index++];
    EXPECT_EQ(variable.name, expected.name);
    EXPECT_EQ(variable.help, expected.help) << expected.name;
    EXPECT_EQ(static_cast<Int32>(variable.kind), expected.kind) << expected.name;
    EXPECT_EQ(variable.value, expected.initialValue) << expected.name;
  }
  Configuration::Stop();
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), 0);
}

TEST(HostVariablesTest, ConfiguredFlagsAreBackAtTheirDefaultsAfterTheService) {
  ASSERT_THAT(Configuration::ReadList("g_trackSpinlocks=1,g_enableDebugBreak=0", "test"), IsOk());
  ASSERT_THAT(Configuration::Start(), IsOk());
  EXPECT_TRUE(g_trackSpinlocks);
  EXPECT_FALSE(g_enableDebugBreak);
  Configuration::Stop();
  Configuration::ForgetValues();
  EXPECT_FALSE(g_trackSpinlocks);
  EXPECT_TRUE(g_enableDebugBreak);
}

TEST(HostVariablesTest, ModulesReachTheServiceThroughItsInterface) {
  HostMethod<Result<void>(ConfigurationEntry&)> configurationRegister("ConfigurationRegister");
  HostMethod<void(ConfigurationEntry&)> configurationUnregister("ConfigurationUnregister");
  const std::array<HostMethodBase*, 2> methods{&configurationRegister, &configurationUnregister};
  InterfaceReference reference{kConfigurationInterface, methods};
  ASSERT_THAT(Configuration::Start(), IsOk());
  ASSERT_TRUE(HostInterfaces::Resolve(reference));
  Bool value = false;
  ConfigurationEntry entry{"g_example", String(), ConfigKind::Bool, &value};
  EXPECT_THAT(configurationRegister(entry), IsOk());
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), 6);
  configurationUnregister(entry);
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), 5);
  Configuration::Stop();
  EXPECT_FALSE(HostInterfaces::Resolve(reference));
}

TEST(HostVariablesTest, StartingReportsEveryFailingAllocationAndLeavesNothing) {
  ASSERT_THAT(Configuration::Start(), IsOk());
  Configuration::Stop();
  const Int before = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 100);
    AllocationFaults::FailNth(n);
    auto started = Configuration::Start();
    AllocationFaults::Disable();
    if (!AllocationFaults::HasFired()) break;
    EXPECT_THAT(started, IsErrorOfKind(kOutOfMemoryError));
    EXPECT_EQ(Configuration::GetVariables()->GetCount(), 0);
    EXPECT_EQ(AllocationFaults::GetLiveCount(), before) << "allocation " << n;
  }
  Configuration::Stop();
}

}  // namespace
}  // namespace ostra
