#include "ostra/host.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <string>

#include "ostra/config/configuration.h"
#include "ostra/core/host_flags.h"
#include "ostra/object/class.h"
#include "ostra/object/framework.h"
#include "tests/object/plugins/counter.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

std::string WriteFile(const std::string& name, const std::string& text) {
  const std::string path = testing::TempDir() + name;
  std::ofstream(path) << text;
  return path;
}

// Sets environment variables for one test.
class HostTest : public testing::Test {
 protected:
  void TearDown() override {
    unsetenv("OSTRA_CONFIG");
    unsetenv("OSTRA_CONFIG_FILE");
    EXPECT_EQ(Frameworks::GetIds()->GetCount(), 0);
    EXPECT_EQ(Configuration::GetVariables()->GetCount(), 0);
    EXPECT_EQ(Configuration::GetUnknownNames()->GetCount(), 0);
  }
};

TEST_F(HostTest, AHostPublishesItsFrameworksWhileItLives) {
  {
    auto host = Host::Create();
    ASSERT_THAT(host, IsOk());
    EXPECT_TRUE(Frameworks::IsPublished("net.ostra.core.framework"_id));
    EXPECT_EQ(Frameworks::GetIds()->GetCount(), 9);
  }
  EXPECT_FALSE(Frameworks::IsPublished("net.ostra.core.framework"_id));
}

TEST_F(HostTest, ThereIsOneHostAtATime) {
  auto host = Host::Create();
  ASSERT_THAT(host, IsOk());
  EXPECT_THAT(Host::Create(), IsErrorWith(kIllegalStateError, "There is a host in this program already."));
}

TEST_F(HostTest, AHostCanBeMovedAndFollowedByAnother) {
  {
    auto host = Host::Create();
    ASSERT_THAT(host, IsOk());
    const Host moved = std::move(*host);
    EXPECT_TRUE(Frameworks::IsPublished("net.ostra.math.framework"_id));
  }
  EXPECT_THAT(Host::Create(), IsOk());
}

TEST_F(HostTest, TheCommandLineWinsOverTheEnvironmentAndThatOverTheFile) {
  const std::string file = WriteFile("host_test.conf",
                                     "g_trackSpinlocks = true\n"
                                     "g_trackCpuYield = true\n"
                                     "g_enableDebugBreak = false\n");
  setenv("OSTRA_CONFIG_FILE", file.c_str(), 1);
  setenv("OSTRA_CONFIG", "g_trackCpuYield=false,g_enableDebugBreak=false", 1);
  const std::array arguments = {"run", "--config", "g_enableDebugBreak=true", "--config=g_unheardOf=on", "--configure"};
  auto host = Host::Create({.arguments = arguments});
  ASSERT_THAT(host, IsOk());
  EXPECT_TRUE(g_trackSpinlocks);
  EXPECT_FALSE(g_trackCpuYield);
  EXPECT_TRUE(g_enableDebugBreak);
  auto unknown = Configuration::GetUnknownNames();
  ASSERT_THAT(unknown, IsOk());
  ASSERT_EQ(unknown->GetCount(), 1);
  EXPECT_EQ((*unknown)[0], "g_unheardOf");
}

TEST_F(HostTest, TheConfigurationFileOfTheCommandLineReplacesThatOfTheEnvironment) {
  setenv("OSTRA_CONFIG_FILE", "/nowhere/absent.conf", 1);
  const std::string file = WriteFile("host_test_second.conf", "g_trackSpinlocks = on\n");
  const std::array arguments = {"--config-file", file.c_str()};
  auto host = Host::Create({.arguments = arguments});
  ASSERT_THAT(host, IsOk());
  EXPECT_TRUE(g_trackSpinlocks);
}

TEST_F(HostTest, WhatCannotBeReadIsAnErrorThatNamesItsSource) {
  const std::array missingFile = {"--config-file=/nowhere/absent.conf"};
  EXPECT_THAT(Host::Create({.arguments = missingFile}), IsErrorContaining(kIllegalStateError, "/nowhere/absent.conf"));
  const std::array withoutValue = {"--config"};
  EXPECT_THAT(Host::Create({.arguments = withoutValue}),
              IsErrorWith(kIllegalArgumentError, "The option --config needs a value after it."));
  const std::array wrongValue = {"--config", "g_trackSpinlocks=perhaps"};
  EXPECT_THAT(Host::Create({.arguments = wrongValue}), IsErrorOfKind(kIllegalArgumentError));
  setenv("OSTRA_CONFIG", "g_trackSpinlocks", 1);
  EXPECT_THAT(Host::Create(),
              IsErrorWith(kIllegalArgumentError, "OSTRA_CONFIG: \"g_trackSpinlocks\" is not of the form name=value."));
  EXPECT_THAT(Host::Create({.readsEnvironment = false}), IsOk());
}

TEST_F(HostTest, OptionsAfterTheTwoDashesAreNotTheHosts) {
  const std::array arguments = {"--", "--config", "nonsense"};
  EXPECT_THAT(Host::Create({.arguments = arguments}), IsOk());
}

TEST_F(HostTest, ModulesAreUnloadedInReverseWhenTheHostEnds) {
  DiagnosticRecorder recorder;
  {
    auto host = Host::Create();
    ASSERT_THAT(host, IsOk());
    ASSERT_THAT(host->LoadModule(OSTRA_TEST_MODULES "/test_good.so"), IsOk());
    ASSERT_THAT(host->LoadModule(OSTRA_TEST_MODULES "/test_dependent.so"), IsOk());
    EXPECT_THAT(CreateObject<CounterInterface>(kCounterClass), IsOk());
    recorder.Clear();
  }
  EXPECT_THAT(recorder.GetLines(), ElementsAre("stop last", "stop numbers", "leave registry", "leave counter"));
  EXPECT_EQ(ModuleLoader::GetModules()->GetCount(), 0);
}

TEST_F(HostTest, AModuleCanBeUnloadedAndLoadedAgainMeanwhile) {
  DiagnosticRecorder recorder;
  auto host = Host::Create();
  ASSERT_THAT(host, IsOk());
  auto good = host->LoadModule(OSTRA_TEST_MODULES "/test_good.so");
  ASSERT_THAT(good, IsOk());
  auto dependent = host->LoadModule(OSTRA_TEST_MODULES "/test_dependent.so");
  ASSERT_THAT(dependent, IsOk());
  EXPECT_THAT(host->UnloadModule(*good), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(host->UnloadModule(*dependent), IsOk());
  EXPECT_THAT(host->UnloadModule(*good), IsOk());
  EXPECT_THAT(host->LoadModule(OSTRA_TEST_MODULES "/test_good.so"), IsOk());
}

TEST_F(HostTest, AModuleThatIsNotFoundIsNamedWithThePlaces) {
  auto host = Host::Create();
  ASSERT_THAT(host, IsOk());
  auto folder = Host::GetLibraryFolder();
  ASSERT_THAT(folder, IsOk());
  EXPECT_THAT(host->LoadModule("nosuchmodule"),
              IsErrorContaining(kIllegalArgumentError, "There is no module \"nosuchmodule\": neither in " +
                                                           std::string(folder->GetView()) + " nor in "));
  EXPECT_EQ(ModuleLoader::GetModules()->GetCount(), 0);
}

TEST_F(HostTest, AnApplicationsOwnClassesComeAndGoWithTheHost) {
  static ModuleDescriptor application{.id = "com.example.application"_id};
  {
    auto host = Host::Create();
    ASSERT_THAT(host, IsOk());
    ASSERT_THAT(host->RegisterApplication(application), IsOk());
    EXPECT_TRUE(application.GetInitializer());
  }
  EXPECT_FALSE(application.GetInitializer());
}

TEST_F(HostTest, StartingReportsEveryFailingAllocationAndLeavesNothing) {
  const std::array arguments = {"--config", "g_trackSpinlocks=true"};
  { ASSERT_THAT(Host::Create({.arguments = arguments}), IsOk()); }
  const Int before = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 500);
    AllocationFaults::FailNth(n);
    {
      auto host = Host::Create({.arguments = arguments});
      AllocationFaults::Disable();
      if (!AllocationFaults::HasFired()) {
        EXPECT_THAT(host, IsOk());
        break;
      }
      EXPECT_THAT(host, IsErrorOfKind(kOutOfMemoryError)) << "allocation " << n;
    }
    EXPECT_EQ(AllocationFaults::GetLiveCount(), before) << "allocation " << n;
    EXPECT_EQ(Frameworks::GetIds()->GetCount(), 0);
  }
}

}  // namespace
}  // namespace ostra
