// Looks inside the module: its table of configuration variables, and registrations that come too early.
#include <gmock/gmock.h>

#include "ostra/config/configuration.h"
#include "ostra/host.h"
#include "ostra/object/machine_info.h"
#include "parallelprogram/module/configuration_variables.h"
#include "parallelprogram/module/startup.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

TEST(ModuleConfigurationTest, ARegistrationBeforeTheDescriptorIsSetUpIsReportedAndOnlySetsTheDefault) {
  DiagnosticRecorder recorder;
  Bool variable = false;
  EXPECT_TRUE(RegisterConfiguration("g_early", variable, true, ConfigKind::Bool, "early"_s));
  EXPECT_TRUE(variable);
  EXPECT_THAT(recorder.GetLines(), testing::ElementsAre("Assertion failed: g_ostra.GetInitializer()"));
  EXPECT_EQ(g_configurationTable.GetCount(), 0);
}

TEST(ModuleConfigurationTest, EntriesAreHandedOverAtTheStartAndWithoutHelpAfterTheEnd) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  auto module = host->RegisterApplication(g_ostra);
  ASSERT_THAT(module, IsOk());
  ASSERT_EQ(g_configurationTable.GetCount(), 4);
  EXPECT_STREQ(g_configurationTable.GetEntries()[0].name, "g_checkActiveProgramForUpdatedShaders");
  EXPECT_EQ(g_configurationTable.GetEntries()[0].variable, &g_checkActiveProgramForUpdatedShaders);
  EXPECT_EQ(g_configurationTable.GetEntries()[3].variable, &g_outOfCoreParallelProgram);
  ASSERT_THAT(Configuration::SetValue("g_32bitOnlyParallelProgram", "true", "test"), IsOk());
  EXPECT_TRUE(g_32bitOnlyParallelProgram);
  StopConfiguration(g_ostra);
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), 5);
  for (const ConfigurationEntry& entry : g_configurationTable.GetEntries()) EXPECT_TRUE(entry.help.IsEmpty());
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_EQ(g_configurationTable.GetCount(), 0);
}

TEST(ModuleConfigurationTest, The257thVariableIsNotOfferedToTheHost) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  ASSERT_THAT(host->RegisterApplication(g_ostra, {.takesPartInConfiguration = false}), IsOk());
  static Bool variables[253] = {};
  static char names[253][16];
  for (int i = 0; i < 253; ++i) {
    std::snprintf(names[i], sizeof(names[i]), "g_%d", i);
    EXPECT_TRUE(RegisterConfiguration(names[i], variables[i], true, ConfigKind::Bool, String()));
  }
  EXPECT_EQ(g_configurationTable.GetCount(), 256);
  EXPECT_TRUE(variables[252]);
  Int offered = 0;
  for (const ConfigurationEntry& entry : g_configurationTable.GetEntries())
    offered += entry.variable == &variables[252];
  EXPECT_EQ(offered, 0);
  for (int i = 0; i < 252; ++i) g_configurationTable.RemoveLast();
}

TEST(ModuleConfigurationTest, TheStartReadsTheProcessorsFlagsInTheirOrder) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  ASSERT_THAT(host->RegisterApplication(g_ostra), IsOk());
  const ProcessorFlags& flags = GetProcessorFlags();
  const Bool values[] = {flags.sse2, flags.sse3, flags.ssse3, flags.sse41,     flags.sse42,
                         flags.avx,  flags.fma,  flags.aes,   flags.pclmulqdq, flags.avx2};
  for (std::size_t i = 0; i < std::size(values); ++i)
    EXPECT_EQ(values[i], *MachineInfo::GetFlag(MachineInfo::kFlags[i])) << i;
}

TEST(ModuleConfigurationTest, UnitsAndStartUpEntriesStandInTheirOrder) {
  std::vector<std::string> units;
  for (const ModuleEntry& unit : g_ostra.units) units.emplace_back(unit.name);
  EXPECT_THAT(units, testing::ElementsAre("general_shader_loader_impl", "shader_data_entries", "kernelbase_impl",
                                          "kernelinterface_texture", "parallelprogram_cpu_impl",
                                          "parallelprogram_gpu_impl", "texture_sampling_structs", "shaderparser",
                                          "kernelclassregistry", "reflection", "register"));
  std::vector<std::string> entries;
  for (const ModuleEntry& entry : g_ostra.startupEntries) entries.emplace_back(entry.name);
  EXPECT_THAT(entries, testing::ElementsAre("configuration", ".cpuidinit", ".reflection"));
}

}  // namespace
}  // namespace ostra
