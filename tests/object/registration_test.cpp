#include "ostra/object/registration.h"

#include <gmock/gmock.h>

#include "ostra/object/module_loader.h"
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
  EXPECT_THAT(recorder.GetLines(),
              ElementsAre("Assertion failed: g_ostra.GetInitializer()", "Assertion failed: g_ostra.GetInitializer()"));
  EXPECT_FALSE(ClassRegistry::Find("com.example.registry.early"_id));
  EXPECT_FALSE(InterfaceRegistry::FindName("com.example.interface.early"_id));
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
