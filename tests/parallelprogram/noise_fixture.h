// Fixture of the tests about noises: a program, and kernels that use noises, made of classes and of kernel files.
#pragma once

#include "ostra/render/render_noise.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {

// What the last kernel of the class net.ostra.test.noisekeeper was given when it ran.
extern Block<RenderNoiseRef> g_noiseData;

// Makes that class and the linked kernel files known, once per process.
Result<void> RegisterNoiseKernels();

// A noise that no program made.
RenderNoiseRef MakeNoise(const Id& id, Int32 seed);

class NoiseTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    ASSERT_THAT(RegisterNoiseKernels(), IsOk());
    g_noiseData = {};
  }

  void AddKernelFile(std::string_view name) {
    auto file = Url::Create(name);
    ASSERT_THAT(file, IsOk());
    ASSERT_THAT(program->AddKernel("kernel"_iid, *file, true), IsOk());
  }
  void SetInteger(Int number, std::string_view pattern, Int32 value) {
    auto name = InternedId::Create(pattern, number);
    ASSERT_THAT(name, IsOk());
    ASSERT_THAT(program->SetUniform(*name, Int32(value)), IsOk());
  }
  void SetNoise(Int number, Int32 mode, Int32 seed) {
    SetInteger(number, "noiseMode_@", mode);
    SetInteger(number, "noiseSeed_@", seed);
  }
  // Hands everything over and returns what the kernel sees.
  Block<RenderNoiseRef> Update() {
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    return g_noiseData;
  }
  // The last part of a noise's class ID.
  static std::string GetNoiseClass(const Block<RenderNoiseRef>& noises, Int index = 0) {
    const std::string text(noises[index]->GetClass().GetId().GetView());
    return text.substr(text.rfind('.') + 1);
  }
};

}  // namespace ostra::test
