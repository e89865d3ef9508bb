#include "ostra/object/module_loader.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <array>
#include <fstream>
#include <string>

#include "ostra/object/class.h"
#include "ostra/object/framework.h"
#include "ostra/object/registration.h"
#include "tests/object/plugins/counter.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

std::string GetModulePath(const std::string& name) { return OSTRA_TEST_MODULES "/" + name + ".so"; }

Result<Int> DoubleNumber(Int number) { return 2 * number; }
const std::array kNumbers = {MakeHostFunction<&DoubleNumber>("DoubleNumber")};

class ModuleLoaderTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_THAT(Frameworks::Publish("net.ostra.core.framework"_id), IsOk());
    ASSERT_THAT(HostInterfaces::Publish(kNumbersInterface, kNumbers), IsOk());
  }
  void TearDown() override {
    HostInterfaces::Withdraw(kNumbersInterface);
    Frameworks::Withdraw("net.ostra.core.framework"_id);
    ExpectNoTrace();
  }

  static void ExpectNoTrace() {
    auto modules = ModuleLoader::GetModules();
    ASSERT_THAT(modules, IsOk());
    EXPECT_EQ(modules->GetCount(), 0);
    EXPECT_FALSE(Frameworks::IsPublished(kGoodFramework));
    EXPECT_FALSE(ClassRegistry::GetClasses().FindEntryValue(kCounterClass));
    EXPECT_FALSE(ClassRegistry::GetClasses().FindEntryValue("com.example.nothing"_id));
    EXPECT_FALSE(ClassRegistry::Find(kCounterRegistry));
    EXPECT_FALSE(InterfaceRegistry::FindName(CounterInterface::kInterfaceId));
  }

  static Module* LoadOrFail(const std::string& name) {
    auto module = ModuleLoader::Load(GetModulePath(name));
    EXPECT_THAT(module, IsOk());
    return module ? &*module : nullptr;
  }

  DiagnosticRecorder _recorder;
};

TEST_F(ModuleLoaderTest, EntriesRunInOrderAtLoadAndInReverseAtUnload) {
  Module* module = LoadOrFail("test_good");
  ASSERT_TRUE(module);
  EXPECT_THAT(_recorder.GetLines(), ElementsAre("enter counter", "enter registry", "start numbers 42", "start last"));
  _recorder.Clear();
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
  EXPECT_THAT(_recorder.GetLines(), ElementsAre("stop last", "stop numbers", "leave registry", "leave counter"));
}

TEST_F(ModuleLoaderTest, ALoadedModuleOffersItsClassesInterfacesAndFramework) {
  Module* module = LoadOrFail("test_good");
  ASSERT_TRUE(module);
  EXPECT_EQ(module->GetId(), kGoodModule);
  EXPECT_EQ(module->GetVersion(), "1.2.3");
  EXPECT_EQ(module->GetPath(), GetModulePath("test_good").c_str());
  EXPECT_TRUE(Frameworks::IsPublished(kGoodFramework));
  EXPECT_THAT(ClassRegistry::Find(kCounterRegistry), IsOk());
  EXPECT_EQ(*InterfaceRegistry::FindName(CounterInterface::kInterfaceId), "CounterInterface");
  {
    auto counter = CreateObject<CounterInterface>(kCounterClass);
    ASSERT_THAT(counter, IsOk());
    EXPECT_EQ((*counter)->Next(), 1);
    EXPECT_EQ((*counter)->Next(), 2);
  }
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
}

TEST_F(ModuleLoaderTest, LoadedModulesAreListedInTheOrderOfLoading) {
  Module* good = LoadOrFail("test_good");
  Module* dependent = LoadOrFail("test_dependent");
  ASSERT_TRUE(good && dependent);
  {
    auto modules = ModuleLoader::GetModules();
    ASSERT_THAT(modules, IsOk());
    ASSERT_EQ(modules->GetCount(), 2);
    EXPECT_EQ((*modules)[0].id, kGoodModule);
    EXPECT_EQ((*modules)[0].version, "1.2.3");
    EXPECT_EQ((*modules)[1].id, "com.example.dependent"_id);
  }
  EXPECT_THAT(ModuleLoader::Unload(*dependent), IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*good), IsOk());
}

TEST_F(ModuleLoaderTest, LoadingUnloadingAndLoadingAgainWorksAndLeaksNothing) {
  for (int round = 0; round < 3; ++round) {
    const Int before = AllocationFaults::GetLiveCount();
    _recorder.Clear();
    Module* module = LoadOrFail("test_good");
    ASSERT_TRUE(module);
    EXPECT_EQ(_recorder.GetLines().size(), 4U);
    ASSERT_THAT(ModuleLoader::Unload(*module), IsOk());
    // The first round interns what stays for the life of the process.
    if (round > 0) {
      EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
    }
  }
}

bool IsMapped(const std::string& name) {
  void* handle = dlopen(GetModulePath(name).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

TEST_F(ModuleLoaderTest, AnUnloadedModuleIsGoneFromMemory) {
  Module* module = LoadOrFail("test_good");
  ASSERT_TRUE(module);
  EXPECT_TRUE(IsMapped("test_good"));
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
  EXPECT_FALSE(IsMapped("test_good"));
}

TEST_F(ModuleLoaderTest, AModuleWithTypesIsGoneFromMemoryAlsoAfterASecondLoadWasRefused) {
  for (int round = 0; round < 2; ++round) {
    Module* module = LoadOrFail("test_type_owner");
    ASSERT_TRUE(module);
    EXPECT_THAT(DataType::Find("com.example.datatype.owned"_id), IsOk());
    EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_type_owner")), IsErrorOfKind(kIllegalStateError));
    EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
    EXPECT_FALSE(DataType::Find("com.example.datatype.owned"_id));
    EXPECT_FALSE(IsMapped("test_type_owner"));
  }
}

TEST_F(ModuleLoaderTest, AModuleWhoseTypesAreStillKnownStaysInMemorySoThatTheyWork) {
  Module* module = LoadOrFail("test_type_keeper");
  ASSERT_TRUE(module);
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
  auto type = DataType::Find("com.example.datatype.lasting"_id);
  ASSERT_THAT(type, IsOk());
  alignas(32) Byte first[64];
  alignas(32) Byte second[64];
  ASSERT_LE(type->GetSize(), 64);
  type->Construct(first);
  type->Construct(second);
  EXPECT_TRUE(type->IsEqual(first, second));
  type->Destruct(first);
  type->Destruct(second);
}

TEST_F(ModuleLoaderTest, AModuleIsNotLoadedTwice) {
  Module* module = LoadOrFail("test_good");
  ASSERT_TRUE(module);
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_good")),
              IsErrorWith(kIllegalStateError, "The module \"com.example.good\" is already loaded."));
  EXPECT_THAT(CreateObject<CounterInterface>(kCounterClass), IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
}

TEST_F(ModuleLoaderTest, AMissingFileIsNamed) {
  EXPECT_THAT(ModuleLoader::Load("/nowhere/absent.so"),
              IsErrorWith(kIllegalArgumentError, "There is no module file \"/nowhere/absent.so\"."));
  EXPECT_THAT(ModuleLoader::Load("absent.so"),
              IsErrorWith(kIllegalArgumentError, "There is no module file \"absent.so\"."));
}

TEST_F(ModuleLoaderTest, AFileThatIsNoSharedObjectIsRefusedWithTheReason) {
  const std::string path = testing::TempDir() + "not_an_object.so";
  std::ofstream(path) << "plain text";
  EXPECT_THAT(ModuleLoader::Load(path),
              IsErrorContaining(kIllegalArgumentError, "The module file \"" + path + "\" cannot be loaded: "));
  EXPECT_THAT(ModuleLoader::Load(path), IsErrorContaining(kIllegalArgumentError, "file too short"));
}

TEST_F(ModuleLoaderTest, ASharedObjectWithoutDescriptorIsNoModule) {
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_no_descriptor")),
              IsErrorContaining(kIllegalArgumentError, "is not a module: it has no descriptor g_ostra."));
}

TEST_F(ModuleLoaderTest, AnotherSymbolOfTheDescriptorsNameIsNotTakenForOne) {
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_foreign_descriptor")),
              IsErrorContaining(kIllegalArgumentError, "is not a module: its g_ostra is not a module descriptor."));
}

TEST_F(ModuleLoaderTest, AModuleOfAnotherInterfaceVersionIsRefusedWithBothVersions) {
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_wrong_version")),
              IsErrorContaining(kIllegalArgumentError, "is made for module interface 4711; this host has 2."));
}

TEST_F(ModuleLoaderTest, AMissingFrameworkIsNamed) {
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_missing_framework")),
              IsErrorWith(kIllegalStateError,
                          "The module \"com.example.needy\" needs the framework "
                          "\"com.example.absent.framework\", which is not published."));
}

TEST_F(ModuleLoaderTest, ARefusedRegistrationFailsTheLoadAndUndoesTheEarlierOnes) {
  EXPECT_THAT(
      ModuleLoader::Load(GetModulePath("test_refused_registration")),
      IsErrorWith(kIllegalArgumentError,
                  "The module \"com.example.refused\" cannot be loaded: the registration \"second\" failed: The "
                  "registry \"net.ostra.registry.classes\" already has an entry \"com.example.nothing\"."));
  EXPECT_THAT(_recorder.GetLines(), ElementsAre("leave first"));
}

TEST_F(ModuleLoaderTest, AFailingStartUpEntryFailsTheLoadAndUndoesEverythingInReverse) {
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_failing_startup")),
              IsErrorWith(kIllegalStateError,
                          "The module \"com.example.failing\" cannot be loaded: the start-up entry "
                          "\"second\" failed: The lamp is broken."));
  EXPECT_THAT(_recorder.GetLines(), ElementsAre("stop first", "leave registry"));
}

TEST_F(ModuleLoaderTest, TheErrorOfAnEntryStillSaysWhereItWasRaised) {
  const auto module = ModuleLoader::Load(GetModulePath("test_failing_startup"));
  ASSERT_FALSE(module);
  EXPECT_EQ(module.GetError().GetUnit(), "failingstartup");
  EXPECT_EQ(module.GetError().GetLine(), 17);  // in plugins/failing_startup.cpp
}

TEST_F(ModuleLoaderTest, AnUnresolvableReferenceDoesNotPreventLoadingButFailsWhenCalled) {
  HostInterfaces::Withdraw(kNumbersInterface);
  Module* module = LoadOrFail("test_good");
  ASSERT_TRUE(module);
  EXPECT_THAT(_recorder.GetLines(),
              ElementsAre("enter counter", "enter registry", "Method invocation of unresolvable interface",
                          "com.example.interface.numbers", "Stop",
                          "start numbers without: Method invocation of unresolvable interface", "start last"));
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
}

TEST_F(ModuleLoaderTest, AModuleThatAnotherOneNeedsIsNotUnloadedBeforeIt) {
  Module* good = LoadOrFail("test_good");
  Module* dependent = LoadOrFail("test_dependent");
  ASSERT_TRUE(good && dependent);
  EXPECT_THAT(
      ModuleLoader::Unload(*good),
      IsErrorWith(kIllegalStateError,
                  "The module \"com.example.good\" cannot be unloaded: the module \"com.example.dependent\" needs "
                  "its framework \"com.example.good.framework\"."));
  EXPECT_THAT(CreateObject<CounterInterface>(kCounterClass), IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*dependent), IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*good), IsOk());
}

TEST_F(ModuleLoaderTest, AFrameworkThatIsTakenFailsTheLoadAndStaysWithItsOwner) {
  ASSERT_THAT(Frameworks::Publish(kGoodFramework), IsOk());
  EXPECT_THAT(ModuleLoader::Load(GetModulePath("test_good")), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_TRUE(Frameworks::Withdraw(kGoodFramework));
}

TEST_F(ModuleLoaderTest, EveryFailingAllocationFailsTheLoadAndLeavesNothing) {
  Module* warm = LoadOrFail("test_good");
  ASSERT_TRUE(warm);
  ASSERT_THAT(ModuleLoader::Unload(*warm), IsOk());
  const Int before = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    auto module = ModuleLoader::Load(GetModulePath("test_good"));
    AllocationFaults::Disable();
    if (!AllocationFaults::HasFired()) {
      ASSERT_THAT(module, IsOk());
      EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
      break;
    }
    // A diagnostic line that cannot be formatted is no failure.
    if (module) {
      EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
    } else {
      EXPECT_THAT(module, IsErrorOfKind(kOutOfMemoryError)) << "allocation " << n;
      ExpectNoTrace();
    }
    EXPECT_EQ(AllocationFaults::GetLiveCount(), before) << "allocation " << n;
  }
}

// An application registers a descriptor of its own.

Result<void> RegisterOwnRegistry(ModuleDescriptor& module) { return RegisterRegistry(module, kCounterRegistry); }
constexpr std::array<ModuleEntry, 1> kOwnUnits = {{{"own", &RegisterOwnRegistry}}};
constexpr std::array kOwnNeeds = {kGoodFramework};

TEST_F(ModuleLoaderTest, AnApplicationIsRegisteredByTheSameSteps) {
  ModuleDescriptor application{.id = "com.example.application"_id, .units = kOwnUnits};
  auto module = ModuleLoader::RegisterApplication(application);
  ASSERT_THAT(module, IsOk());
  EXPECT_TRUE(application.GetInitializer());
  EXPECT_EQ(module->GetPath(), "");
  EXPECT_THAT(ClassRegistry::Find(kCounterRegistry), IsOk());
  EXPECT_THAT(ModuleLoader::RegisterApplication(application), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(ModuleLoader::Unload(*module), IsOk());
  EXPECT_FALSE(application.GetInitializer());
}

TEST_F(ModuleLoaderTest, AnApplicationKeepsTheModulesItNeeds) {
  ModuleDescriptor application{.id = "com.example.application"_id, .requiredFrameworks = kOwnNeeds};
  EXPECT_THAT(ModuleLoader::RegisterApplication(application), IsErrorOfKind(kIllegalStateError));
  Module* good = LoadOrFail("test_good");
  ASSERT_TRUE(good);
  auto registered = ModuleLoader::RegisterApplication(application);
  ASSERT_THAT(registered, IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*good), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(ModuleLoader::Unload(*registered), IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*good), IsOk());
}

}  // namespace
}  // namespace ostra
