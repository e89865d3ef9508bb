#include "ostra/object/registration.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

#include "ostra/object/module_loader.h"
#include "ostra/object/reflection.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

using testing::ElementsAre;

TEST(RegistrationTest, RegisteringBeforeTheHostHasSetUpTheDescriptorIsReportedAndFails) {
  DiagnosticRecorder recorder;
  ModuleDescriptor module{.id = "com.example.early"_id};
  EXPECT_THAT(RegisterRegistry(module, "com.example.registry.early"_id), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(RegisterInterface(module, "com.example.interface.early"_id, "Early"), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(RegisterReflection(module, "com.example.interface.early"_id, "Early", {}),
              IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(RegisterDataType(module, GetDataType<Int32>()), IsErrorOfKind(kIllegalStateError));
  auto early = Class::Create("com.example.early"_id, [](const Class&) -> ObjectInterface* { return nullptr; });
  ASSERT_THAT(early, IsOk());
  EXPECT_THAT(RegisterClass(module, *early),
              IsErrorWith(kIllegalStateError,
                          "The module \"com.example.early\" registers something before the host has set up its "
                          "descriptor."));
  EXPECT_THAT(RegisterUndo(module, [] {}), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(recorder.GetLines(),
              testing::AllOf(testing::SizeIs(6), testing::Each("Assertion failed: g_ostra.GetInitializer()")));
  EXPECT_FALSE(ClassRegistry::Find("com.example.registry.early"_id));
  EXPECT_FALSE(InterfaceRegistry::FindName("com.example.interface.early"_id));
  EXPECT_FALSE(Reflection::Find("com.example.interface.early"_id));
  EXPECT_FALSE(ClassRegistry::GetClasses().FindEntryValue("com.example.early"_id));
}

// What the module of the next tests registers: set by the test.
std::vector<std::string> g_done;
Result<void> (*g_enter)(ModuleDescriptor& module) = nullptr;
Result<void> RegisterUnit(ModuleDescriptor& module) { return g_enter(module); }
constexpr std::array<ModuleEntry, 1> kUnits = {{{"unit", &RegisterUnit}}};

struct Shape {
  Int numbers[3];
};
struct Rival {
  Int numbers[4];
};
constexpr Id kShape = "com.example.datatype.shape"_id;
DataType DescribeShape() { return DataType::FindOrRegister(DescribeType<Shape>(kShape, "Shape"_s)); }

TEST(RegistrationTest, ATypeIsInTheRegistryAsLongAsItsModule) {
  g_enter = [](ModuleDescriptor& module) { return RegisterDataType(module, DescribeShape()); };
  ModuleDescriptor module{.id = "com.example.module"_id, .units = kUnits};
  for (int round = 0; round < 2; ++round) {
    auto registered = ModuleLoader::RegisterApplication(module);
    ASSERT_THAT(registered, IsOk());
    EXPECT_EQ(DataType::Find(kShape)->GetName(), "Shape");
    EXPECT_THAT(ModuleLoader::Unload(*registered), IsOk());
    EXPECT_FALSE(DataType::Find(kShape));
  }
}

TEST(RegistrationTest, ATypeWhoseIdHasAnotherTypeIsRefusedAndTheOtherOneStays) {
  g_enter = [](ModuleDescriptor& module) { return RegisterDataType(module, DescribeShape()); };
  auto rival = DataType::Register(DescribeType<Rival>(kShape, "Rival"_s));
  ASSERT_THAT(rival, IsOk());
  ModuleDescriptor module{.id = "com.example.module"_id, .units = kUnits};
  EXPECT_THAT(ModuleLoader::RegisterApplication(module),
              IsErrorWith(kIllegalArgumentError,
                          "The module \"com.example.module\" cannot be loaded: the registration \"unit\" failed: The "
                          "data type \"com.example.datatype.shape\" is already registered."));
  EXPECT_EQ(*DataType::Find(kShape), *rival);
  EXPECT_EQ(rival->GetSize(), static_cast<Int>(sizeof(Rival)));
  EXPECT_TRUE(DataType::Erase(kShape));
}

TEST(RegistrationTest, ATypeThatSomebodyElseDescribedBeforeStaysWithThem) {
  // The host's Int32 works with the host's code.
  g_enter = [](ModuleDescriptor& module) { return RegisterDataType(module, GetDataType<Int32>()); };
  ModuleDescriptor module{.id = "com.example.module"_id, .units = kUnits};
  auto registered = ModuleLoader::RegisterApplication(module);
  ASSERT_THAT(registered, IsOk());
  EXPECT_THAT(ModuleLoader::Unload(*registered), IsOk());
  EXPECT_THAT(DataType::Find("net.ostra.datatype.int32"_id), IsOk());
}

TEST(RegistrationTest, WhatAModuleKeepsItselfIsUndoneInReverseAlsoWhenItsUnitFails) {
  g_enter = [](ModuleDescriptor& module) -> Result<void> {
    OSTRA_RETURN_IF_ERROR(RegisterUndo(module, [] { g_done.emplace_back("first"); }));
    OSTRA_RETURN_IF_ERROR(RegisterUndo(module, [] { g_done.emplace_back("second"); }));
    return module.version[0] ? Result<void>(OK) : Error::Make(kIllegalStateError, "No version.", "test", 1);
  };
  for (const char* version : {"1", ""}) {
    g_done.clear();
    ModuleDescriptor module{.id = "com.example.module"_id, .version = version, .units = kUnits};
    auto registered = ModuleLoader::RegisterApplication(module);
    EXPECT_EQ(registered.IsOk(), version[0] != 0);
    if (registered) {
      EXPECT_TRUE(g_done.empty());
      EXPECT_THAT(ModuleLoader::Unload(*registered), IsOk());
    }
    EXPECT_THAT(g_done, ElementsAre("second", "first"));
  }
}

TEST(RegistrationTest, ATableForARegistryThatIsNotThereNamesTheModuleToLoad) {
  ModuleDescriptor module{.id = "com.example.shapes"_id};
  EXPECT_THAT(RegisterClasses(module, "com.example.registry.shapes"_id, {}, "shape", "geometry"),
              IsErrorWith(kIllegalStateError,
                          "There is no registry of shape classes: load the module \"geometry\" before the shapes of "
                          "\"com.example.shapes\" are registered."));
}

TEST(RegistrationTest, AModuleTakesPartInConfigurationUnlessTheHostSaysOtherwise) {
  ModuleDescriptor module{.id = "com.example.module"_id};
  EXPECT_FALSE(TakesPartInConfiguration(module));
  for (const Bool takesPart : {true, false}) {
    auto registered = ModuleLoader::RegisterApplication(module, {.takesPartInConfiguration = takesPart});
    ASSERT_THAT(registered, IsOk());
    EXPECT_EQ(TakesPartInConfiguration(module), takesPart);
    EXPECT_THAT(ModuleLoader::Unload(*registered), IsOk());
  }
}

TEST(InterfaceRegistryTest, InterfacesAreKnownByNameUntilTheyAreErased) {
  ASSERT_THAT(InterfaceRegistry::Insert("com.example.interface.lamp"_id, "LampInterface"), IsOk());
  EXPECT_THAT(
      InterfaceRegistry::Insert("com.example.interface.lamp"_id, "Other"),
      IsErrorWith(kIllegalArgumentError, "The interface \"com.example.interface.lamp\" is already registered."));
  EXPECT_EQ(*InterfaceRegistry::FindName("com.example.interface.lamp"_id), "LampInterface");
  auto ids = InterfaceRegistry::GetIds();
  ASSERT_THAT(ids, IsOk());
  EXPECT_THAT(GetTexts(*ids), ElementsAre("com.example.interface.lamp"));
  EXPECT_TRUE(InterfaceRegistry::Erase("com.example.interface.lamp"_id));
  EXPECT_FALSE(InterfaceRegistry::Erase("com.example.interface.lamp"_id));
}

}  // namespace
}  // namespace ostra
