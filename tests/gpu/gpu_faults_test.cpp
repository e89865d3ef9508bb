// The GPU program while calls of the driver fail, and on a device that is lost.
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

constexpr const char* kKernel = R"(#define KERNELINPUTS \
(Float32) factor, \
(Block<Float32>) values, \
(const TextureSampler_2D_R_F32_LINEAR) image

GROUPSIZE(8, 1, 1)

OSTRA_PARALLEL_KERNEL(Faults, KERNELINPUTS)
{
	uint i = LinearInvocation();
	UNIFORM_BUFFER(values)[i] = UNIFORM_BUFFER(values)[i] * UNIFORM(factor) + FetchTexture(image, int2(1, 1));
}
OSTRA_PARALLEL_KERNEL_END
)";
constexpr Int kCount = 64;

class GpuFaultsTest : public vulkan::DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    if (IsSkipped()) return;
    _programClass = Take(CreateGpuProgramClass());
    _kernel = Take(Url::Create(_sources.Write("net.ostra.test.faults.krn", kKernel)));
  }
  void TearDown() override {
    ResetParserCache();
    DriverTest::TearDown();
  }

  // A kernel that did not get its memory is compiled once more, and what failed is written.
  Bool MayBeOvercome(VkResult fault, std::string_view call) const override {
    if (DriverTest::MayBeOvercome(fault, call) || _hasWritten) return true;
    if (fault == VK_ERROR_DEVICE_LOST) return false;
    for (const std::string_view name :
         {"vkCreateDescriptorSetLayout", "vkCreatePipelineLayout", "vkCreateShaderModule", "vkCreateComputePipelines"})
      if (call == name) return true;
    return false;
  }

  Result<ParallelProgramRef> MakeProgram(const DrawportContextRef& context) {
    OSTRA_ASSIGN_OR_RETURN(ParallelProgramRef program, _programClass->CreateObject<ParallelProgramInterface>());
    OSTRA_RETURN_IF_ERROR(program->Init(Url(), &context, 0, false));
    return program;
  }
  static TextureBindData Describe(const std::vector<Float32>& texels) {
    TextureBindData data;
    data._dimensions = Vec3<UInt32>(2, 2, 1);
    data._format = TextureFormat::F32;
    data._numChannels = 1;
    data._data = reinterpret_cast<const Byte*>(texels.data());
    data._dataSize = static_cast<Int64>(4 * texels.size());
    return data;
  }

  Result<void> RunScenario() {
    const std::size_t before = diagnostics.GetLines().size();
    Result<void> result = Run();
    _hasWritten = diagnostics.GetLines().size() > before;
    ResetParserCache();
    return result;
  }

 private:
  Result<void> Run() {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    OSTRA_ASSIGN_OR_RETURN(const ParallelProgramRef program, MakeProgram(context));
    OSTRA_RETURN_IF_ERROR(program->AddKernel("k"_iid, _kernel, true));
    BaseArray<Float32> values;
    OSTRA_RETURN_IF_ERROR(values.Resize(kCount));
    for (Int i = 0; i < kCount; ++i) values[i] = static_cast<Float32>(i);
    OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("values"_iid, std::move(values)));
    const std::vector<Float32> texels = {1, 2, 3, 4};
    TextureBindData bindData = Describe(texels);
    OSTRA_RETURN_IF_ERROR(program->StoreTextureBindData("image"_iid, bindData, false));
    OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("values"_iid));
    OSTRA_RETURN_IF_ERROR(program->SetTextureToActiveKernelSameId("image"_iid));
    OSTRA_RETURN_IF_ERROR(program->SetUniform("factor"_iid, 2.0f));
    OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
    OSTRA_RETURN_IF_ERROR(program->DispatchKernel(static_cast<UInt32>(kCount), 1, 1, false));
    OSTRA_RETURN_IF_ERROR(program->Execute(true));
    OSTRA_ASSIGN_OR_RETURN(const Data read, program->GetGlobalBufferData("values"_iid));
    const auto* array = read.GetIf<Array<Generic>>();
    EXPECT_TRUE(array && array->GetCount() == kCount);
    if (!array) return OK;
    Float32 fifth = 0;
    MemCopy(&fifth, reinterpret_cast<const Byte*>(array->GetFirstBlock().GetFirst()) + 5 * sizeof(fifth),
            sizeof(fifth));
    EXPECT_EQ(fifth, 14);
    return OK;
  }

  ClassRef _programClass;
  TemporaryFolder _sources;
  Url _kernel;
  Bool _hasWritten = false;
};

TEST_F(GpuFaultsTest, AFailureOfAnyCallIsAnErrorOrOvercomeAndLeavesNothingBehind) {
  FailEveryCall(VK_ERROR_OUT_OF_DEVICE_MEMORY, false, [this] { return RunScenario(); });
  EXPECT_THAT(failedCalls, testing::Contains("vkQueueSubmit"));
}

TEST_F(GpuFaultsTest, ALossIsAnErrorAndTheNextContextGoesOn) {
  FailEveryCall(VK_ERROR_DEVICE_LOST, true, [this] { return RunScenario(); });
  EXPECT_THAT(RunScenario(), IsOk());
}

TEST_F(GpuFaultsTest, OnALostDeviceNothingIsStoredOrMade) {
  const DrawportContextRef context = Take(MakeContext());
  const ParallelProgramRef program = Take(MakeProgram(context));
  const std::vector<Float32> texels = {1, 2, 3, 4};
  TextureBindData known = Describe(texels);
  Take(program->StoreTextureBindData("known"_iid, known, false));
  Take(program->CreateUniformBuffer("buffer"_iid, GetDataType<Float32>(), 4));
  Take(program->AddAtomicCounter("counter"_iid, UInt32(1)));
  Take(program->Execute(true));
  auto& commands = static_cast<vulkan::Context&>(*context).GetCommands();
  Take(commands.GetRecorder().BeginBatch());
  vulkan::CallFaults::FailNth(2, VK_ERROR_DEVICE_LOST);  // after the end of recording
  const auto isLost = IsErrorWith(kIllegalStateError, "The GPU device is lost.");
  EXPECT_THAT(program->Execute(true), isLost);
  vulkan::CallFaults::Disable();

  EXPECT_THAT(program->StoreTextureBindData("known"_iid, known, false), isLost);
  TextureBindData fresh = Describe(texels);
  EXPECT_THAT(program->StoreTextureBindData("fresh"_iid, fresh, false), isLost);
  TextureBindData empty = Describe({});
  empty._dataSize = 0;
  EXPECT_THAT(program->CreateTexture("empty"_iid, empty), isLost);
  EXPECT_THAT(program->CreateUniformBuffer("other"_iid, GetDataType<Float32>(), 4), isLost);
  EXPECT_THAT(program->SetAtomicCounter("counter"_iid, 3), isLost);
  EXPECT_THAT(program->GetAtomicCounter("counter"_iid), isLost);
  EXPECT_THAT(program->Execute(true), isLost);
  EXPECT_THAT(program->Execute(false), isLost);
}

}  // namespace
}  // namespace ostra::test
