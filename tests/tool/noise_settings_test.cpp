// The settings that choose noises.
#include "plans/run/noise_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/tool_error.h"
#include "parallelprogram/program/noise_modes.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// "noiseMode_0=3", with a star behind values that were not set.
std::vector<std::string> Plan(const Assignments& settings) {
  const auto uniforms = PlanNoises(settings, "--set");
  EXPECT_THAT(uniforms, IsOk());
  std::vector<std::string> texts;
  if (!uniforms) return texts;
  for (const PlannedUniform& uniform : *uniforms) {
    EXPECT_EQ(uniform.value.GetType(), GetDataType<Int32>());
    texts.push_back(std::string(uniform.name.GetView()) + "=" + std::to_string(*uniform.value.GetIf<Int32>()) +
                    (uniform.isAutomatic ? "*" : ""));
  }
  return texts;
}

void ExpectRefused(const Assignments& settings, const char* text) {
  const auto result = PlanNoises(settings, "--set");
  ASSERT_FALSE(result.IsOk()) << text;
  EXPECT_EQ(result.GetError().GetKind(), kUsageError);
  EXPECT_THAT(std::string(result.GetError().GetMessage().GetView()), HasSubstr(text));
}

TEST(NoiseSettingTest, NamesAreAPrefixAndANumber) {
  ASSERT_TRUE(FindNoiseSetting("noiseMode_0"));
  EXPECT_TRUE(FindNoiseSetting("noiseMode_0")->isMode);
  ASSERT_TRUE(FindNoiseSetting("noiseSeed_127"));
  EXPECT_FALSE(FindNoiseSetting("noiseSeed_127")->isMode);
  EXPECT_EQ(FindNoiseSetting("noiseSeed_127")->number, 127);
  for (const char* name : {"noiseMode", "noiseMode_", "noiseMode_x", "noiseMode_1x", "noiseMode_01", "noiseMode_-1",
                           "noiseMode_+1", "NoiseMode_0", "noisemode_0", "noiseMode_99999999999999999999", "", "seed"})
    EXPECT_FALSE(FindNoiseSetting(name)) << name;
}

TEST(NoiseSettingTest, ModesAreNumbersOrNames) {
  EXPECT_THAT(Plan({{"noiseMode_0", "3"}, {"noiseSeed_0", "7"}}), ElementsAre("noiseMode_0=3", "noiseSeed_0=7"));
  EXPECT_THAT(Plan({{"noiseMode_0", "cell"}, {"noiseSeed_0", "-5"}}), ElementsAre("noiseMode_0=24", "noiseSeed_0=-5"));
  EXPECT_THAT(Plan({{"noiseMode_0", "turbulence"}}), ElementsAre("noiseMode_0=1", "noiseSeed_0=0*"));
  for (Int32 mode = 0; mode < kNoiseModeCount; ++mode) {
    const std::string_view id = GetNoiseClass(mode).GetView();
    const auto named = PlanNoises({{"noiseMode_0", std::string(id.substr(id.rfind('.') + 1))}}, "--set");
    ASSERT_THAT(named, IsOk());
    EXPECT_EQ(GetNoiseClass(*named->front().value.GetIf<Int32>()), GetNoiseClass(mode));
  }
}

TEST(NoiseSettingTest, WithoutSettingsThereIsOneNoise) {
  EXPECT_THAT(Plan({}), ElementsAre("noiseMode_0=0*", "noiseSeed_0=0*"));
  EXPECT_THAT(Plan({{"noiseSeed_0", "9"}}), ElementsAre("noiseMode_0=0*", "noiseSeed_0=9"));
  EXPECT_THAT(Plan({{"cells", "9"}}), ElementsAre("noiseMode_0=0*", "noiseSeed_0=0*"));
}

TEST(NoiseSettingTest, NoisesGoOnFromZeroInAnyOrder) {
  EXPECT_THAT(Plan({{"noiseMode_1", "5"}, {"noiseMode_0", "4"}, {"noiseSeed_1", "2"}}),
              ElementsAre("noiseMode_0=4", "noiseSeed_0=0*", "noiseMode_1=5", "noiseSeed_1=2"));
  EXPECT_THAT(Plan({{"noiseMode_1", "5"}}),
              ElementsAre("noiseMode_0=0*", "noiseSeed_0=0*", "noiseMode_1=5", "noiseSeed_1=0*"));
  ExpectRefused({{"noiseMode_0", "1"}, {"noiseMode_2", "1"}},
                "--set: noiseMode_2 is set, but not noiseMode_1: noises are numbered without gaps");
  ExpectRefused({{"noiseMode_0", "1"}, {"noiseSeed_1", "1"}}, "--set: noiseSeed_1 is set, but not noiseMode_1");
}

TEST(NoiseSettingTest, WhatIsNoModeOrSeedIsRefused) {
  ExpectRefused({{"noiseMode_0", "25"}},
                "--set noiseMode_0: there is no mode 25: modes go from 0 (perlin) to 24 (cell)");
  ExpectRefused({{"noiseMode_0", "-1"}}, "there is no mode -1");
  ExpectRefused({{"noiseMode_0", "perlim"}}, "there is no noise \"perlim\"; did you mean \"perlin\"?");
  ExpectRefused({{"noiseMode_0", "3.5"}}, "\"3.5\" is not a whole number");
  ExpectRefused({{"noiseMode_0", ""}}, "there is no noise \"\"");
  ExpectRefused({{"noiseMode_0", "4294967296"}}, "4294967296 does not fit into int32");
  ExpectRefused({{"noiseSeed_0", "2147483648"}},
                "--set noiseSeed_0: 2147483648 does not fit into int32, which goes from -2147483648 to 2147483647");
  ExpectRefused({{"noiseSeed_0", "red"}}, "\"red\" is not a whole number");
  ExpectRefused({{"noiseMode_128", "1"}}, "--set noiseMode_128: a kernel has at most 128 noises, numbered from 0");
}

}  // namespace
}  // namespace ostra::tool
