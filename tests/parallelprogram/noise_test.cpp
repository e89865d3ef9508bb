// Noises of the CPU program: from uniforms to what kernels are given.
#include "tests/parallelprogram/noise_fixture.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

TEST_F(NoiseTest, AModeAndASeedGiveOneNoise) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 0, 1234);
  const auto noises = Update();
  ASSERT_EQ(noises.GetCount(), 1);
  EXPECT_EQ(GetNoiseClass(noises), "perlin");
  const Vector32 place(1.3f, 2.4f, 3.5f);
  EXPECT_EQ(noises[0]->Noise(place, 0), MakeNoise(kPerlinNoise, 1234)->Noise(place, 0));
  EXPECT_THAT(noises[0]->Init(1, 10, kPerlinNoise), IsErrorOfKind(kIllegalStateError)) << "Init was called already.";
}

TEST_F(NoiseTest, EveryModeHasItsClass) {
  const std::vector<std::pair<Int32, std::string>> classes = {{0, "perlin"},
                                                              {1, "turbulence"},
                                                              {2, "turbulence"},
                                                              {3, "gaseous"},
                                                              {4, "electric"},
                                                              {5, "box"},
                                                              {6, "blisteredturbulence"},
                                                              {7, "displacedturbulence"},
                                                              {8, "buya"},
                                                              {9, "cranal"},
                                                              {10, "dents"},
                                                              {11, "hama"},
                                                              {12, "luka"},
                                                              {13, "mod"},
                                                              {14, "naki"},
                                                              {15, "nutous"},
                                                              {16, "ober"},
                                                              {17, "pezo"},
                                                              {18, "poxo"},
                                                              {19, "sema"},
                                                              {20, "stupl"},
                                                              {21, "vl"},
                                                              {22, "wavyturbulence"},
                                                              {23, "zada"},
                                                              {24, "cell"},
                                                              {25, "turbulence"},
                                                              {-1, "turbulence"},
                                                              {2147483647, "turbulence"},
                                                              {-2147483647 - 1, "turbulence"}};
  AddKernelFile("net.ostra.test.noisekeeper");
  for (Int i = 0; i < static_cast<Int>(classes.size()); ++i) SetNoise(i, classes[i].first, 3);
  const auto noises = Update();
  ASSERT_EQ(noises.GetCount(), static_cast<Int>(classes.size()));
  for (Int i = 0; i < noises.GetCount(); ++i)
    EXPECT_EQ(GetNoiseClass(noises, i), classes[i].second) << classes[i].first;
}

TEST_F(NoiseTest, AGapEndsTheList) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 3, 1);
  SetNoise(2, 4, 1);
  EXPECT_EQ(Update().GetCount(), 1);
  SetNoise(1, 5, 1);
  EXPECT_EQ(Update().GetCount(), 3);
}

TEST_F(NoiseTest, AModeThatIsNoIntegerEndsTheList) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 3, 1);
  SetNoise(1, 3, 1);
  ASSERT_THAT(program->SetUniform("noiseMode_1"_iid, Float32(3)), IsOk());
  EXPECT_EQ(Update().GetCount(), 1);
}

TEST_F(NoiseTest, ModesAndSeedsMayBeIntegersOfOtherTypes) {
  AddKernelFile("net.ostra.test.noisekeeper");
  ASSERT_THAT(program->SetUniform("noiseMode_0"_iid, Int64(24)), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, UInt32(7)), IsOk());
  const auto noises = Update();
  ASSERT_EQ(noises.GetCount(), 1);
  EXPECT_EQ(GetNoiseClass(noises), "cell");
}

TEST_F(NoiseTest, AModeWithoutASeedIsAnErrorAfterTheOtherUniforms) {
  AddKernel("recorder"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(5)), IsOk());
  SetInteger(0, "noiseMode_@", 0);
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 5);
}

TEST_F(NoiseTest, ASeedThatIsNoIntegerIsAnError) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetInteger(0, "noiseMode_@", 0);
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Float32(1)), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(NoiseTest, ASeedWithoutAModeIsIgnored) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetInteger(0, "noiseSeed_@", 3);
  EXPECT_EQ(Update().GetCount(), 0);
}

TEST_F(NoiseTest, AtMost128NoisesAreMade) {
  AddKernelFile("net.ostra.test.noisekeeper");
  for (Int i = 0; i < 130; ++i) SetNoise(i, 0, static_cast<Int32>(i));
  EXPECT_EQ(Update().GetCount(), 128);
}

TEST_F(NoiseTest, ASecondInitChangesNothing) {
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 3, 1);
  SetNoise(2, 4, 1);
  EXPECT_EQ(Update().GetCount(), 1);
  SetNoise(1, 5, 1);
  const auto three = Update();
  ASSERT_EQ(three.GetCount(), 3);
  EXPECT_EQ(GetNoiseClass(three, 0), "gaseous");
  EXPECT_EQ(GetNoiseClass(three, 1), "box");
  EXPECT_EQ(GetNoiseClass(three, 2), "electric");
  for (Int i = 0; i < 130; ++i) SetNoise(i, 0, static_cast<Int32>(i));
  EXPECT_EQ(Update().GetCount(), 128);
}

TEST_F(NoiseTest, AfterResetNoisesAreMadeWithoutAnotherInit) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 3, 1);
  ASSERT_EQ(Update().GetCount(), 1);
  ASSERT_THAT(program->Reset(), IsOk());
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 5, 1);
  const auto noises = Update();
  ASSERT_EQ(noises.GetCount(), 1);
  EXPECT_EQ(GetNoiseClass(noises), "box");
}

TEST_F(NoiseTest, NewModesAndSeedsCountAtTheNextUpdate) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 0, 1);
  Update();
  SetNoise(0, 5, 2);
  const auto noises = Update();
  EXPECT_EQ(GetNoiseClass(noises), "box");
  EXPECT_EQ(noises[0]->Noise(0.5f, 0), MakeNoise(kBoxNoise, 2)->Noise(0.5f, 0));
}

// A kernel keeps its block when there is nothing to hand over; what the block refers to must not be gone.
TEST_F(NoiseTest, WithoutNoisesTheBlockStaysAndHoldsNone) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 0, 1);
  Update();
  ASSERT_THAT(program->SetUniform("noiseMode_0"_iid, Float32(0)), IsOk());
  const auto noises = Update();
  ASSERT_EQ(noises.GetCount(), 1);
  EXPECT_FALSE(noises[0]);
}

TEST_F(NoiseTest, AFailedUpdateLeavesNoNoiseThatIsGone) {
  AddKernelFile("net.ostra.test.fournoises.krn");
  StoreBuffer<Vec4<Float32>>("values"_iid, {Vec4<Float32>(9, 9, 9, 9)});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  for (Int i = 0; i < 4; ++i) SetNoise(i, 0, 1);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_2"_iid, Float32(0)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  const auto values = ReadBuffer<Vec4<Float32>>("values"_iid);
  EXPECT_NE(values[0].x, 0);
  EXPECT_NE(values[0].y, 0);
  EXPECT_EQ(values[0].z, 0);
  EXPECT_EQ(values[0].w, 0);
}

TEST_F(NoiseTest, ACopiedKernelMakesItsOwnNoises) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 0, 1);
  const RenderNoiseRef first = Update()[0];
  ASSERT_THAT(program->CopyKernel("kernel"_iid, "copy"_iid, true), IsOk());
  program->SetActiveKernel("copy"_iid);
  const RenderNoiseRef second = Update()[0];
  EXPECT_FALSE(first == second);
  EXPECT_EQ(first->Noise(0.3f, 0), second->Noise(0.3f, 0));
}

TEST_F(NoiseTest, BeforeInitNoNoiseIsMade) {
  auto fresh = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  ASSERT_THAT(fresh, IsOk());
  program = *fresh;
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 0, 1);
  EXPECT_EQ(Update().GetCount(), 0);
}

// What a host without render noises looks like to the program.
TEST_F(NoiseTest, AHostWithoutNoisesRunsKernelsThatUseNone) {
  AddKernelFile("net.ostra.test.noisekeeper");
  ClassRegistry::Withdraw(kRenderNoiseRegistry);
  EXPECT_EQ(Update().GetCount(), 0);
  SetNoise(0, 0, 1);
  EXPECT_THAT(program->UpdateUniforms(),
              IsErrorWith(kIllegalArgumentError,
                          "There is no registry \"net.ostra.render.registry.rendernoiseclasses\": no module that is "
                          "loaded declares it."));
  ASSERT_THAT(ClassRegistry::Declare(kRenderNoiseRegistry), IsOk());
  EXPECT_EQ(Update().GetCount(), 1);
}

TEST_F(NoiseTest, AMissingClassIsAnError) {
  AddKernelFile("net.ostra.test.noisekeeper");
  SetNoise(0, 23, 1);
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  ASSERT_THAT(registry, IsOk());
  const auto zada = registry->FindEntryValue(kZadaNoise);
  ASSERT_THAT(zada, IsOk());
  ASSERT_TRUE(registry->Erase(kZadaNoise));
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(registry->Insert(*zada), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(NoiseTest, EveryAllocationFailureIsReported) {
  const auto file = Url::Create("net.ostra.test.noisekeeper");
  ASSERT_THAT(file, IsOk());
  const Int failed = ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const auto fresh, CreateObject<ParallelProgramInterface>(kCpuProgramClass));
    OSTRA_RETURN_IF_ERROR(fresh->Init(Url(), nullptr, 0, false));
    OSTRA_RETURN_IF_ERROR(fresh->AddKernel("kernel"_iid, *file, true));
    for (const InternedId& name : {"noiseMode_0"_iid, "noiseSeed_0"_iid, "noiseMode_1"_iid, "noiseSeed_1"_iid})
      OSTRA_RETURN_IF_ERROR(fresh->SetUniform(name, Int32(3)));
    OSTRA_RETURN_IF_ERROR(fresh->UpdateUniforms());
    OSTRA_RETURN_IF_ERROR(fresh->UpdateUniforms());
    return fresh->Reset();
  });
  EXPECT_GE(failed, 10);
}

}  // namespace
}  // namespace ostra::test
