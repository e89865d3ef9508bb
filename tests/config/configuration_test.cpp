#include "ostra/config/configuration.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

using testing::ElementsAre;

class ConfigurationTest : public testing::Test {
 protected:
  void TearDown() override {
    Configuration::Unregister(_lamp);
    Configuration::Unregister(_door);
    Configuration::ForgetValues();
  }

  Bool _isLampOn = false;
  Bool _isDoorOpen = true;
  ConfigurationEntry _lamp{"g_lamp", "turns the lamp on"_s, ConfigKind::Bool, &_isLampOn};
  ConfigurationEntry _door{"g_door", String(), ConfigKind::CrashHandlerFlag, &_isDoorOpen};
};

TEST_F(ConfigurationTest, AVariableWithoutValueKeepsItsDefault) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  EXPECT_FALSE(_isLampOn);
  EXPECT_TRUE(_isDoorOpen);
  EXPECT_EQ(_lamp.state, ConfigState::Default);
}

TEST_F(ConfigurationTest, AValueIsAppliedAtOnceToARegisteredVariable) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::SetValue("g_lamp", "true", "test"), IsOk());
  EXPECT_TRUE(_isLampOn);
  EXPECT_EQ(_lamp.state, ConfigState::Configured);
}

TEST_F(ConfigurationTest, AVariableThatComesAgainHasItsValueAgainUnlessThatWasForgotten) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::SetValue("g_lamp", "true", "test"), IsOk());
  Configuration::Unregister(_lamp);
  _isLampOn = false;  // as a module that is loaded again begins
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_TRUE(_isLampOn);
  EXPECT_EQ(_lamp.state, ConfigState::Configured);
  Configuration::Unregister(_lamp);
  Configuration::ForgetValues();
  _isLampOn = false;
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_FALSE(_isLampOn);
  EXPECT_EQ(_lamp.state, ConfigState::Default);
}

TEST_F(ConfigurationTest, AnEarlierValueWaitsForItsVariable) {
  ASSERT_THAT(Configuration::SetValue("g_lamp", "on", "test"), IsOk());
  ASSERT_THAT(Configuration::SetValue("g_door", "off", "test"), IsOk());
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_TRUE(_isLampOn);
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  EXPECT_FALSE(_isDoorOpen);
}

TEST_F(ConfigurationTest, TheLaterValueWins) {
  ASSERT_THAT(Configuration::ReadText("g_lamp = true\n", "file"), IsOk());
  ASSERT_THAT(Configuration::ReadList("g_lamp=false,g_door=0", "OSTRA_CONFIG"), IsOk());
  ASSERT_THAT(Configuration::ReadAssignment("g_door=1", "--config"), IsOk());
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  EXPECT_FALSE(_isLampOn);
  EXPECT_TRUE(_isDoorOpen);
}

TEST_F(ConfigurationTest, AValueSurvivesThatItsVariableComesAgain) {
  ASSERT_THAT(Configuration::SetValue("g_lamp", "yes", "test"), IsOk());
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  Configuration::Unregister(_lamp);
  _isLampOn = false;
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_TRUE(_isLampOn);
}

TEST_F(ConfigurationTest, EveryWordForAValueIsUnderstood) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  for (const char* word : {"true", "on", "yes", "1"}) {
    _isLampOn = false;
    EXPECT_THAT(Configuration::SetValue("g_lamp", word, "test"), IsOk());
    EXPECT_TRUE(_isLampOn) << word;
  }
  for (const char* word : {"false", "off", "no", "0"}) {
    _isLampOn = true;
    EXPECT_THAT(Configuration::SetValue("g_lamp", word, "test"), IsOk());
    EXPECT_FALSE(_isLampOn) << word;
  }
}

TEST_F(ConfigurationTest, AWrongValueIsNamedWithItsSourceAndChangesNothing) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_THAT(Configuration::ReadAssignment("g_lamp=maybe", "--config"),
              IsErrorWith(kIllegalArgumentError,
                          "--config: the value \"maybe\" of g_lamp is not one of true, false, on, "
                          "off, yes, no, 1, 0."));
  EXPECT_THAT(Configuration::ReadAssignment("g_lamp=", "--config"), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Configuration::ReadAssignment("g_lamp", "--config"),
              IsErrorWith(kIllegalArgumentError, "--config: \"g_lamp\" is not of the form name=value."));
  EXPECT_THAT(
      Configuration::ReadAssignment(" = true", "--config"),
      IsErrorWith(kIllegalArgumentError, "--config: a configuration variable without a name is given a value."));
  EXPECT_FALSE(_isLampOn);
  EXPECT_EQ(Configuration::GetUnknownNames()->GetCount(), 0);
}

TEST_F(ConfigurationTest, AFileHoldsLinesCommentsAndHeadings) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  EXPECT_THAT(
      Configuration::ReadText("# comment\r\n\r\n[house]\r\n  g_lamp =  on \r\n; g_door = maybe\ng_door=off", "f"),
      IsOk());
  EXPECT_TRUE(_isLampOn);
  EXPECT_FALSE(_isDoorOpen);
}

TEST_F(ConfigurationTest, AWrongLineOfAFileIsNamedWithItsNumber) {
  EXPECT_THAT(Configuration::ReadText("g_lamp = on\n\ng_door\n", "house.conf"),
              IsErrorWith(kIllegalArgumentError, "house.conf:3: \"g_door\" is not of the form name=value."));
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_TRUE(_isLampOn);
}

TEST_F(ConfigurationTest, EmptyPartsOfAListAreSkipped) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  EXPECT_THAT(Configuration::ReadList("", "OSTRA_CONFIG"), IsOk());
  EXPECT_THAT(Configuration::ReadList(" , g_lamp = true ,", "OSTRA_CONFIG"), IsOk());
  EXPECT_TRUE(_isLampOn);
}

TEST_F(ConfigurationTest, NamesThatNoVariableHasAreReported) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::ReadList("g_lmap=on,g_lamp=on,g_door=on", "OSTRA_CONFIG"), IsOk());
  auto unknown = Configuration::GetUnknownNames();
  ASSERT_THAT(unknown, IsOk());
  EXPECT_THAT(GetTexts(*unknown), ElementsAre("g_door", "g_lmap"));
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  EXPECT_THAT(GetTexts(*Configuration::GetUnknownNames()), ElementsAre("g_lmap"));
}

TEST_F(ConfigurationTest, VariablesAreListedInTheOrderOfRegistration) {
  ASSERT_THAT(Configuration::Register(_door), IsOk());
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  ASSERT_THAT(Configuration::SetValue("g_lamp", "on", "test"), IsOk());
  auto variables = Configuration::GetVariables();
  ASSERT_THAT(variables, IsOk());
  ASSERT_EQ(variables->GetCount(), 2);
  EXPECT_EQ((*variables)[0].name, "g_door");
  EXPECT_EQ((*variables)[0].help, "");
  EXPECT_EQ((*variables)[0].kind, ConfigKind::CrashHandlerFlag);
  EXPECT_TRUE((*variables)[0].value);
  EXPECT_EQ((*variables)[0].state, ConfigState::Default);
  EXPECT_EQ((*variables)[1].name, "g_lamp");
  EXPECT_EQ((*variables)[1].help, "turns the lamp on");
  EXPECT_TRUE((*variables)[1].value);
  EXPECT_EQ((*variables)[1].state, ConfigState::Configured);
}

TEST_F(ConfigurationTest, ANameIsRegisteredOnce) {
  ASSERT_THAT(Configuration::Register(_lamp), IsOk());
  Bool other = false;
  ConfigurationEntry again{"g_lamp", String(), ConfigKind::Bool, &other};
  EXPECT_THAT(Configuration::Register(again),
              IsErrorWith(kIllegalArgumentError, "The configuration variable g_lamp is already registered."));
  Configuration::Unregister(again);
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), 1);
}

TEST_F(ConfigurationTest, EveryFailingAllocationIsReportedAndNothingLeaks) {
  const Int before = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 100);
    AllocationFaults::FailNth(n);
    auto set = Configuration::ReadText("g_lamp = on\ng_door = off\n", "house.conf");
    Result<void> registered = OK;
    if (set) registered = Configuration::Register(_lamp);
    AllocationFaults::Disable();
    Configuration::Unregister(_lamp);
    Configuration::ForgetValues();
    EXPECT_EQ(AllocationFaults::GetLiveCount(), before) << "allocation " << n;
    if (!AllocationFaults::HasFired()) {
      EXPECT_THAT(registered, IsOk());
      break;
    }
    EXPECT_TRUE(!set || !registered);
    if (!set) {
      EXPECT_THAT(set, IsErrorOfKind(kOutOfMemoryError));
    }
    if (!registered) {
      EXPECT_THAT(registered, IsErrorOfKind(kOutOfMemoryError));
    }
  }
}

}  // namespace
}  // namespace ostra
