// Looks inside the module: its table of configuration variables, and registrations that come too early.
#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

#include "ostra/config/configuration.h"
#include "ostra/host.h"
#include "ostra/object/framework.h"
#include "ostra/object/machine_info.h"
#include "ostra/object/registration.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/module/startup.h"
#include "parallelprogram/module/units.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

constexpr Int kHostVariableCount = 5;

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
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), kHostVariableCount);
  for (const ConfigurationEntry& entry : g_configurationTable.GetEntries()) EXPECT_TRUE(entry.help.IsEmpty());
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_EQ(g_configurationTable.GetCount(), 0);
}

TEST(ModuleConfigurationTest, The257thVariableIsNotOfferedToTheHost) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  ASSERT_THAT(host->RegisterApplication(g_ostra), IsOk());
  StopConfiguration(g_ostra);
  static Bool variables[253] = {};
  static char names[253][16];
  for (int i = 0; i < 253; ++i) {
    std::snprintf(names[i], sizeof(names[i]), "g_%d", i);
    EXPECT_TRUE(RegisterConfiguration(names[i], variables[i], true, ConfigKind::Bool, String()));
  }
  EXPECT_EQ(g_configurationTable.GetCount(), 256);
  EXPECT_TRUE(variables[252]);
  ASSERT_THAT(StartConfiguration(g_ostra), IsOk());
  {
    auto offered = Configuration::GetVariables();
    ASSERT_THAT(offered, IsOk());
    ASSERT_EQ(offered->GetCount(), kHostVariableCount + 256);
    EXPECT_EQ((*offered)[kHostVariableCount + 255].name, "g_251");
  }
  ASSERT_THAT(Configuration::SetValue("g_252", "false", "test"), IsOk());
  EXPECT_TRUE(variables[252]);
  EXPECT_THAT(GetTexts(*Configuration::GetUnknownNames()), testing::ElementsAre("g_252"));
  StopConfiguration(g_ostra);
  for (Bool& variable : variables) g_configurationTable.Remove(variable);
  EXPECT_EQ(g_configurationTable.GetCount(), 4);
}

TEST(ModuleConfigurationTest, AVariableThatTheHostRefusesEndsTheStartAndTakesTheEarlierOnesBack) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  Bool taken = false;
  ConfigurationEntry rival{"g_32bitOnlyParallelProgram", String(), ConfigKind::Bool, &taken};
  ASSERT_THAT(Configuration::Register(rival), IsOk());
  EXPECT_THAT(host->RegisterApplication(g_ostra),
              IsErrorWith(kIllegalArgumentError,
                          "The module \"net.ostra.parallelprogram\" cannot be loaded: the start-up entry "
                          "\"configuration\" failed: The configuration variable g_32bitOnlyParallelProgram is already "
                          "registered."));
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), kHostVariableCount + 1);
  EXPECT_EQ(g_configurationTable.GetCount(), 0);  // the units are taken back as well
  EXPECT_FALSE(DataType::Find("net.ostra.datatype.parallelprogram.textures.samplingdata"_id));
  Configuration::Unregister(rival);
  EXPECT_THAT(host->RegisterApplication(g_ostra), IsOk());
}

// A host that says which flags it is asked for, and of exactly one that it is set.
std::vector<std::string> g_asked;
std::size_t g_setFlag = 0;
Result<Bool> AnswerFlag(const Id& flag) {
  g_asked.emplace_back(flag.GetView());
  return g_asked.size() - 1 == g_setFlag;
}

TEST(ModuleConfigurationTest, EachProcessorFlagIsAskedForInItsOrderAndKeptInItsPlace) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  ASSERT_TRUE(HostInterfaces::Withdraw(kMachineInfoInterface));
  static const std::array kAnswers = {MakeHostFunction<&AnswerFlag>("GetFlag")};
  ASSERT_THAT(HostInterfaces::Publish(kMachineInfoInterface, kAnswers), IsOk());
  for (g_setFlag = 0; g_setFlag < 10; ++g_setFlag) {
    g_asked.clear();
    auto module = host->RegisterApplication(g_ostra);
    ASSERT_THAT(module, IsOk());
    const std::string prefix = "net.ostra.machineinfo.support";
    EXPECT_THAT(g_asked, testing::ElementsAre(prefix + "sse2", prefix + "sse3", prefix + "ssse3", prefix + "sse41",
                                              prefix + "sse42", prefix + "avx", prefix + "fma", prefix + "aes",
                                              prefix + "pclmulqdq", prefix + "avx2"));
    const ProcessorFlags& flags = GetProcessorFlags();
    const Bool values[] = {flags.sse2, flags.sse3, flags.ssse3, flags.sse41,     flags.sse42,
                           flags.avx,  flags.fma,  flags.aes,   flags.pclmulqdq, flags.avx2};
    for (std::size_t i = 0; i < std::size(values); ++i) EXPECT_EQ(values[i], i == g_setFlag) << i;
    EXPECT_THAT(host->UnloadModule(*module), IsOk());
  }
}

TEST(ModuleConfigurationTest, TheModuleNeedsTheFrameworksOfTheHostAndItsOwn) {
  const char* const kNeeded[] = {"net.ostra.core.framework",
                                 "net.ostra.math.framework",
                                 "net.ostra.crypt.framework",
                                 "net.ostra.network.framework",
                                 "net.ostra.image.framework",
                                 "net.ostra.drawport.framework",
                                 "net.ostra.drawport_misc.framework",
                                 "net.ostra.drawport_functioncache.framework",
                                 "net.ostra.performancemonitor.framework",
                                 "net.ostra.parallelprogram.framework"};
  std::vector<std::string> needed;
  for (const Id& framework : g_ostra.requiredFrameworks) needed.emplace_back(framework.GetView());
  EXPECT_THAT(needed, testing::ElementsAreArray(kNeeded));
  EXPECT_EQ(g_ostra.publishedFramework, "net.ostra.parallelprogram.framework"_id);
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  for (std::size_t i = 0; i < 9; ++i) {  // the last is published by the module itself
    const Id framework = *Id::Create(kNeeded[i]);
    ASSERT_TRUE(Frameworks::Withdraw(framework));
    EXPECT_THAT(host->RegisterApplication(g_ostra),
                IsErrorWith(kIllegalStateError, "The module \"net.ostra.parallelprogram\" needs the framework \"" +
                                                    std::string(kNeeded[i]) + "\", which is not published."));
    ASSERT_THAT(Frameworks::Publish(framework), IsOk());
  }
  EXPECT_THAT(host->RegisterApplication(g_ostra), IsOk());
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

TEST(ModuleConfigurationTest, EachEntryRunsTheFunctionOfItsName) {
  struct Functions {
    Result<void> (*enter)(ModuleDescriptor& module);
    void (*leave)(ModuleDescriptor& module);
  };
  const Functions kUnits[] = {{&RegisterGeneralShaderLoader, &UnregisterGeneralShaderLoader},
                              {&RegisterShaderDataEntries, nullptr},
                              {&RegisterKernelBase, nullptr},
                              {&RegisterKernelTextures, nullptr},
                              {&RegisterCpuProgram, nullptr},
                              {&RegisterGpuProgram, &UnregisterGpuProgram},
                              {&RegisterTextureStructures, nullptr},
                              {nullptr, nullptr},
                              {&RegisterKernelClassRegistry, nullptr},
                              {nullptr, nullptr},
                              {&RegisterModuleFrame, nullptr}};
  const Functions kStartup[] = {
      {&StartConfiguration, &StopConfiguration}, {&ReadProcessorFlags, nullptr}, {&RegisterReflections, nullptr}};
  ASSERT_EQ(g_ostra.units.size(), std::size(kUnits));
  for (std::size_t i = 0; i < std::size(kUnits); ++i) {
    EXPECT_EQ(g_ostra.units[i].enter, kUnits[i].enter) << g_ostra.units[i].name;
    EXPECT_EQ(g_ostra.units[i].leave, kUnits[i].leave) << g_ostra.units[i].name;
  }
  ASSERT_EQ(g_ostra.startupEntries.size(), std::size(kStartup));
  for (std::size_t i = 0; i < std::size(kStartup); ++i) {
    EXPECT_EQ(g_ostra.startupEntries[i].enter, kStartup[i].enter) << g_ostra.startupEntries[i].name;
    EXPECT_EQ(g_ostra.startupEntries[i].leave, kStartup[i].leave) << g_ostra.startupEntries[i].name;
  }
}

}  // namespace
}  // namespace ostra
