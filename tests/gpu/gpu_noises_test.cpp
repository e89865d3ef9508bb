// Noises of the GPU program's kernels: what a program is built with, which values it is given, and when it is built
// again for other modes.
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class GpuNoisesTest : public GpuCallsTest {
 protected:
  // A kernel that asks for the noises of these numbers and declares `inputs`.
  static std::string MakeKernel(const std::vector<std::string>& numbers, const std::string& inputs = "") {
    std::string text = "#define KERNELINPUTS \\\n" + inputs +
                       "(Block<Float32>) values\n\nGROUPSIZE(8, 1, 1)\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n"
                       "\tfloat x = 0.0;\n";
    for (const std::string& number : numbers)
      text += "\tADDNOISECALL\n\tx = RenderNoise(" + number + ", vec3(0.0, 0.0, 0.0), 0.0);\n";
    return text + "\tUNIFORM_BUFFER(values)[0] = x;\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  }
  // Sets the mode of the first noise and updates.
  Result<void> Change(Int32 mode) {
    OSTRA_RETURN_IF_ERROR(program->SetUniform("noiseMode_0"_iid, Int32(mode)));
    return program->UpdateUniforms();
  }
  // What the program was last built for.
  std::vector<Int32> GetModes() {
    const auto records =
        GetCache().programs["k"]->description.MakeShaderRecords(DrawportStage::Compute, kShadingLanguageGlsl);
    EXPECT_THAT(records, IsOk());
    return {records->noiseModes.begin(), records->noiseModes.end()};
  }
};

TEST_F(GpuNoisesTest, NoisesComeWithAllTheirFunctionsAndSeeds) {
  AddKernel("k"_iid, MakeKernel({"0", "1"}));
  const DrawportProgramDescription& kernel = GetCache().programs["k"]->description;
  std::vector<std::string> functions;
  for (const auto& use : kernel.GetNoiseFunctions()) {
    std::string name(use.id.GetView());
    const std::string prefix = "net.ostra.render.rendernoiseclass.";
    if (name.starts_with(prefix)) name = name.substr(prefix.size());
    functions.push_back(name + (use.variant ? " " + std::to_string(use.variant) : ""));
  }
  EXPECT_THAT(functions,
              ElementsAre("net.ostra.drawport.noise.turbulence4d", "gaseous", "electric", "box", "blisteredturbulence",
                          "cranal", "buya", "dents", "cell", "displacedturbulence", "hama", "luka", "mod", "naki",
                          "nutous", "ober", "pezo", "poxo", "sema", "stupl", "vl", "wavyturbulence", "zada", "sema 2"));
  std::vector<DrawportFeature> features;
  for (const auto& use : kernel.GetRequiredFeatures()) features.push_back(use.feature);
  EXPECT_THAT(features, ElementsAre(DrawportFeature::ComputeShader, DrawportFeature::ShaderStorageBuffer,
                                    DrawportFeature::AtomicOperations, DrawportFeature::ImageLoadStore));
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_1"_iid, Int32(7)), IsOk());
  ASSERT_THAT(program->SetUniform("noiseMode_1"_iid, Int32(3)), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program k", "int noiseSeed_1 = 7", "int noiseMode_1 = 3", "buffer values = 4",
                                       "noise noiseData_0 = 42", "noise noiseData_1 = 7"));
  // The program was built for the modes that are set now; others are another program, the same ones are not.
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Not(Contains("program k")));
  ASSERT_THAT(Change(24), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program k"));
}

TEST_F(GpuNoisesTest, ANoiseSeedHasTheBitsOfItsUniform) {
  AddKernel("k"_iid, MakeKernel({"9223372036854775807"}));
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, UInt32(4000000000u)), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::IsSupersetOf({"uint noiseSeed_0 = 4000000000", "noise noiseData_0 = -294967296",
                                                  "noise noiseData_127 = 42"}));
}

TEST_F(GpuNoisesTest, AParameterNamedNoiseDataIsBoundLastAndWithTheSeedOfNone) {
  AddKernel("k"_iid, MakeKernel({"0"}, "(Float32) noiseData, \\\n"));
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Int32(5)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("int noiseSeed_0 = 5", "buffer values = 4", "noise noiseData_0 = 5", "noise noiseData = 42"));
}

TEST_F(GpuNoisesTest, AKernelThatAsksForNoNoiseIsGivenNone) {
  AddKernel("k"_iid, MakeKernel({}, "(Float32) noiseData_0, \\\n"));
  EXPECT_TRUE(GetCache().programs["k"]->description.GetNoiseFunctions().IsEmpty());
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Int32(5)), IsOk());
  TakeCalls();
  ASSERT_THAT(Change(3), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("buffer values = 4"));
}

TEST_F(GpuNoisesTest, AfterThirtyTwoChangesAProgramChoosesAsItRuns) {
  AddKernel("k"_iid, MakeKernel({"0"}));
  for (Int32 mode = 1; mode <= 32; ++mode) {
    ASSERT_THAT(Change(mode), IsOk());
    EXPECT_THAT(GetModes(), ElementsAre(mode));
  }
  TakeCalls();
  ASSERT_THAT(Change(33), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program k"));
  EXPECT_THAT(GetModes(), ElementsAre());
  ASSERT_THAT(Change(34), IsOk());
  EXPECT_THAT(TakeCalls(), Not(Contains("program k")));
}

TEST_F(GpuNoisesTest, AChangeOfModesThatFailsIsTriedAgain) {
  AddKernel("k"_iid, MakeKernel({"0"}));
  for (Int32 mode = 1; mode <= 40; ++mode) {
    SCOPED_TRACE(mode);
    if (mode <= 33) {
      device.failing = "program";
      EXPECT_THAT(Change(mode), IsErrorWith(kIllegalStateError, "made-up failure"));
      device.failing = "";
      TakeCalls();
    }
    ASSERT_THAT(Change(mode), IsOk());
    // Failed tries are no changes.
    const std::vector<Int32> modes = mode <= 32 ? std::vector<Int32>{mode} : std::vector<Int32>();
    EXPECT_EQ(GetModes(), modes);
    EXPECT_EQ(testing::Matches(Contains("program k"))(TakeCalls()), mode <= 33);
  }
  EXPECT_THAT(GetModes(), ElementsAre());
}

TEST_F(GpuNoisesTest, AChangeOfModesTouchesNoFile) {
  AddKernel("k"_iid, MakeKernel({"0"}));
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  // Half of an edit.
  const Url file = Write("net.ostra.test.calls.krn", "OSTRA_PARALLEL_KERNEL(");
  ASSERT_THAT(Change(24), IsOk());
  EXPECT_THAT(GetModes(), ElementsAre(24));
  // Another kernel, without a request to take it.
  Write("net.ostra.test.calls.krn", MakeKernel({"0", "1"}, "(Float32) other, \\\n"));
  ASSERT_THAT(Change(3), IsOk());
  for (const DrawportParameter& parameter : GetCache().programs["k"]->description.GetParameters())
    EXPECT_FALSE(parameter.name == "other"_iid);
  std::filesystem::remove_all(folder);
  ASSERT_THAT(Change(5), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Int32(7)), IsOk());
  TakeCalls();
  ASSERT_THAT(Change(6), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program k", "int noiseMode_0 = 6", "int noiseSeed_0 = 7", "buffer values = 4",
                                       "noise noiseData_0 = 7"));
  EXPECT_THAT(program->DispatchKernel(9, 1, 1, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("dispatch 2 1 1"));
}

TEST_F(GpuNoisesTest, AChangeOfModesKeepsTheLastGoodKernelAndAReloadTakesTheNewOne) {
  AddKernel("k"_iid, MakeKernel({"0"}));
  g_reloadKernelsParallelProgram = true;
  const std::string good = MakeKernel({"0"}, "(Float32) other, \\\n");
  std::string bad = good;
  Write("net.ostra.test.calls.krn", bad.replace(bad.find("(8, 1, 1)"), 9, "(0, 1, 1)"));
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(Change(24), IsOk());
  EXPECT_THAT(GetModes(), ElementsAre(24));
  // With a reload the new source is what later changes begin from.
  Write("net.ostra.test.calls.krn", good);
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  ASSERT_THAT(Change(3), IsOk());
  const auto& parameters = GetCache().programs["k"]->description.GetParameters();
  EXPECT_TRUE(std::any_of(parameters.begin(), parameters.end(),
                          [](const DrawportParameter& parameter) { return parameter.name == "other"_iid; }));
  EXPECT_THAT(GetModes(), ElementsAre(3));
}

}  // namespace
}  // namespace ostra::test
