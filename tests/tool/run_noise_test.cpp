// ostra run on kernels that call noises.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ostra/math/data_types.h"
#include "ostra/object/class.h"
#include "ostra/render/render_noise.h"
#include "plans/buffers/buffer_file.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr Int kCount = 50;

class RunNoiseTest : public testing::Test {
 protected:
  ToolResult Run(const std::vector<std::string>& settings) {
    std::vector<std::string> arguments = {
        "run",   GetTestKernel("net.example.noises.krn"), "--size", std::to_string(kCount), "--set", "step=0.3",
        "--out", "values=" + _folder / "out.npy"};
    for (const std::string& setting : settings) {
      arguments.push_back(setting.starts_with("--") ? setting : "--set");
      if (!setting.starts_with("--")) arguments.push_back(setting);
    }
    return RunTool(arguments);
  }

  // The two noises that come out are these, along the line.
  void ExpectNoises(const RenderNoiseRef& first, const RenderNoiseRef& second) {
    const auto contents = plans::LoadBuffer(_folder / "out.npy", GetDataType<Vector2d32>());
    ASSERT_THAT(contents, IsOk());
    ASSERT_EQ(contents->elements.GetCount(), kCount);
    const auto* values = static_cast<const Vector2d32*>(contents->elements.GetFirst());
    for (Int i = 0; i < kCount; ++i) {
      const Float32 at = static_cast<Float32>(i) * 0.3f;
      ASSERT_EQ(values[i].x, first ? first->Noise(at, 0.0f) : 0) << i;
      ASSERT_EQ(values[i].y, second ? second->Noise(at, 0.0f) : 0) << i;
    }
  }

  static RenderNoiseRef Make(const Id& noiseClass, Int32 seed) {
    const auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
    const RenderNoiseRef noise = *(*registry->FindEntryValue(noiseClass))->CreateObject<RenderNoiseInterface>();
    EXPECT_THAT(noise->Init(seed, kNoiseDepth, noiseClass), IsOk());
    return noise;
  }

  void ExpectRefused(const std::vector<std::string>& settings, const std::string& text) {
    const ToolResult result = Run(settings);
    EXPECT_EQ(result.exitStatus, 2) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr(text));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
  }

  TemporaryFolder _folder;
};

TEST_F(RunNoiseTest, ModesAndSeedsChooseTheNoises) {
  ToolResult result = Run({"noiseMode_0=3", "noiseSeed_0=7", "noiseMode_1=cell", "noiseSeed_1=-9"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  ExpectNoises(Make(kGaseousNoise, 7), Make(kCellNoise, -9));
}

TEST_F(RunNoiseTest, WhatIsNotSetHasADefault) {
  ToolResult result = Run({"--json"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  ExpectNoises(Make(kPerlinNoise, 0), {});
  const json uniforms = json::parse(result.output).at("uniforms");
  EXPECT_EQ(uniforms.at("noiseMode_0"), (json{{"type", "int32"}, {"value", "0"}}));
  EXPECT_EQ(uniforms.at("noiseSeed_0").at("value"), "0");
  result = Run({"noiseMode_1=zada"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  ExpectNoises(Make(kPerlinNoise, 0), Make(kZadaNoise, 0));
}

TEST_F(RunNoiseTest, WrongNoisesAreRefused) {
  ExpectRefused({"noiseMode_0=25"}, "--set noiseMode_0: there is no mode 25: modes go from 0 (perlin) to 24 (cell)");
  ExpectRefused({"noiseMode_0=gasous"}, "--set noiseMode_0: there is no noise \"gasous\"; did you mean \"gaseous\"?");
  ExpectRefused({"noiseSeed_0=1e9"}, "--set noiseSeed_0: \"1e9\" is not a whole number, and the type is int32");
  ExpectRefused({"noiseMode_2=1"}, "--set: noiseMode_2 is set, but not noiseMode_1: noises are numbered without gaps");
  ExpectRefused({"noiseMode_128=1"}, "--set noiseMode_128: a kernel has at most 128 noises, numbered from 0");
  ExpectRefused({"noiseMode_0=1", "noiseMode_0=2"}, "--set: \"noiseMode_0\" is given twice");
  ExpectRefused({"noiseMod_0=1"}, "--set: the kernel has no uniform \"noiseMod_0\"; did you mean \"noiseMode_0\"?");
}

TEST_F(RunNoiseTest, AKernelWithoutNoisesTakesNone) {
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.step.krn"), "--in", "now=zeros:4", "--out",
                                     "next=" + _folder / "out.csv", "--set", "noiseMode_0=3"});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.errors, "ostra: --set: the kernel calls no noises, so that \"noiseMode_0\" would change nothing\n");
}

}  // namespace
}  // namespace ostra
