// What the CPU program answers where it has nothing to do, and where something is missing.
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/parallelprogram/program_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

using FixedResultsTest = ProgramTest;

TEST_F(FixedResultsTest, ExecutionAndBarriersSucceedWithoutEffect) {
  EXPECT_THAT(program->Execute(true), IsOk());
  EXPECT_THAT(program->Execute(false), IsOk());
  EXPECT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_THAT(program->UpdateDrawportContext(DrawportContextRef()), IsOk());
  EXPECT_THAT(program->SetTextureOutOfCoreDeleteOrder(BaseArray<InternedId>()), IsOk());
  EXPECT_THAT(program->SetTextureOutOfCoreDeleteOrder(MakeArray<InternedId>({"a"_iid, "b"_iid})), IsOk());
}

TEST_F(FixedResultsTest, ReloadingAndWaitingKeepTheKernels) {
  AddKernel("a"_iid, kScale);
  program->WaitForKernelCompile();
  program->ReloadKernels();
  EXPECT_TRUE(program->HasKernel("a"_iid));
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
}

TEST_F(FixedResultsTest, TextureHandlesAreNull) {
  const auto sampler = program->GetTextureSamplerHandle("a"_iid);
  const auto texture = program->GetTextureHandle("a"_iid);
  const auto samplerItem = program->GetTextureSamplerCacheRef("a"_iid);
  const auto textureItem = program->GetTextureCacheRef("a"_iid);
  ASSERT_THAT(sampler, IsOk());
  ASSERT_THAT(texture, IsOk());
  ASSERT_THAT(samplerItem, IsOk());
  ASSERT_THAT(textureItem, IsOk());
  EXPECT_FALSE(*sampler);
  EXPECT_FALSE(*texture);
  EXPECT_FALSE(*samplerItem);
  EXPECT_FALSE(*textureItem);
}

TEST_F(FixedResultsTest, MemoryAndFormatsAreFixed) {
  Int64 freeMemory = 5;
  Int64 totalMemory = 5;
  EXPECT_TRUE(program->GetMemoryInformation(freeMemory, totalMemory));
  EXPECT_EQ(freeMemory, -1);
  EXPECT_EQ(totalMemory, -1);
  Bool readWrite16bit = true;
  Bool readWrite8bit = false;
  program->GetSupportReadWritePixelFormats(readWrite16bit, readWrite8bit);
  EXPECT_FALSE(readWrite16bit);
  EXPECT_TRUE(readWrite8bit);
  const auto [available, total] = program->GetAvailableAndTotalVRAMBudget();
  EXPECT_EQ(available, Int64{1099511627776});
  EXPECT_EQ(total, Int64{1099511627776});
}

TEST_F(FixedResultsTest, AProgramCannotBeCopied) {
  constexpr const char* kMessage = "Component ParallelProgramCPUImpl has members, but CopyFrom is not implemented!";
  AddKernel("a"_iid, kScale);
  ParallelProgramRef other = MakeProgram();
  const DiagnosticRecorder recorder;
  EXPECT_THAT(other->CopyFrom(*program), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(recorder.GetLines(), testing::Contains(std::string(kMessage)));
  EXPECT_FALSE(other->HasKernel("a"_iid));
}

TEST_F(FixedResultsTest, TheProgramKnowsItsClassAndInterface) {
  EXPECT_EQ(program->GetClass().GetId(), kCpuProgramClass);
  EXPECT_EQ(FindInterface<ParallelProgramInterface>(*program), program.GetPointer());
  EXPECT_EQ(program->FindInterface("net.ostra.test.interface.other"_id), nullptr);
}

// Every per-kernel method without a kernel. The program stays as it was.
class NoKernelTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    FillAgain();
  }
  // Puts something of each kind under the name "a".
  void FillAgain() {
    StoreBuffer<Int32>("a"_iid, {1});
    ASSERT_THAT(program->AddAtomicCounter("a"_iid, Int32(0)), IsOk());
    const std::vector<Byte> texels(16);
    TextureBindData bindData;
    bindData._data = texels.data();
    bindData._dataSize = 16;
    bindData._dimensions = {2, 2, 1};
    bindData._format = TextureFormat::F32;
    bindData._numChannels = 1;
    ASSERT_THAT(program->StoreTextureBindData("a"_iid, bindData, false), IsOk());
    const auto link = program->GetGlobalBufferLink("a"_iid);
    ASSERT_THAT(link, IsOk());
    _link = *link;
  }
  void ExpectEveryMethodFails() {
    const auto refused = IsErrorWith(kIllegalStateError, kNoActiveKernel);
    EXPECT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), refused);
    EXPECT_THAT(program->SetBufferToActiveKernel("a"_iid, "b"_iid), refused);
    EXPECT_THAT(program->SetKernelBufferLink("a"_iid, _link), refused);
    EXPECT_THAT(program->SetKernelBufferLink("a"_iid, Data()), refused);
    EXPECT_THAT(program->GetKernelBufferLink("a"_iid), refused);
    EXPECT_THAT(program->GetKernelBufferData("a"_iid), refused);
    EXPECT_THAT(program->SetAtomicCounterToActiveKernel("a"_iid), refused);
    EXPECT_THAT(program->SetTextureToActiveKernelSameId("a"_iid), refused);
    EXPECT_THAT(program->SetTextureToActiveKernel("a"_iid, "b"_iid), refused);
    EXPECT_THAT(program->SetKernelTextureLink("a"_iid, Data()), refused);
    EXPECT_THAT(program->SetUniform("a"_iid, Int32(1)), refused);
    EXPECT_THAT(program->SwapBuffers("a"_iid, "b"_iid), refused);
    EXPECT_THAT(program->UpdateUniforms(), refused);
    EXPECT_THAT(program->DispatchIndirectKernel("unknown"_iid, 9, false), refused);
    for (const UInt32 x : {0u, 1u, 100u}) {
      for (const UInt32 y : {0u, 1u, 2u}) EXPECT_THAT(program->DispatchKernel(x, y, 1, false), refused);
    }
    EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  }
  Data _link;
};

TEST_F(NoKernelTest, EveryPerKernelMethodOfAFreshProgramFails) {
  ExpectEveryMethodFails();
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  // What failed left no links or uniforms behind for the next kernel.
  AddKernel("k"_iid, kTyped);
  EXPECT_THAT(program->GetKernelBufferLink("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(NoKernelTest, ActivatingTheEmptyOrAnUnknownIdActivatesNothing) {
  program->SetActiveKernel(InternedId());
  program->SetActiveKernel("unknown"_iid);
  ExpectEveryMethodFails();
}

TEST_F(NoKernelTest, EveryPerKernelMethodFailsAfterReset) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->Reset(), IsOk());
  FillAgain();
  ExpectEveryMethodFails();
}

// A program before Init: everything but the noise names is there already.
TEST(BeforeInitTest, AProgramCanBeAskedAndReleased) {
  auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  ASSERT_THAT(program, IsOk());
  EXPECT_FALSE((*program)->HasKernel("a"_iid));
  EXPECT_TRUE((*program)->GetActiveKernelId().IsEmpty());
  EXPECT_THAT((*program)->UpdateUniforms(), IsErrorWith(kIllegalStateError, kNoActiveKernel));
  EXPECT_THAT((*program)->AddKernel("a"_iid, GetKernelFile(kCount, KernelForm::Call), true), IsOk());
  EXPECT_THAT((*program)->UpdateUniforms(), IsOk());
}

}  // namespace
}  // namespace ostra::test
