// Kernel files that change while a program runs.
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

class GpuReloadTest : public GpuCallsTest {
 protected:
  void SetUp() override {
    GpuCallsTest::SetUp();
    AddKernel("k"_iid, kPlain);
    ASSERT_THAT(Store("values"_iid, 3), IsOk());
  }
};

TEST_F(GpuReloadTest, AReloadedKernelNeedsItsUniformsAgain) {
  g_reloadKernelsParallelProgram = true;
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
  // As long as nothing was edited one update is enough.
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  ASSERT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
  Write("net.ostra.test.calls.krn", kPlain);
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  TakeCalls();
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true),
              IsErrorWith(kIllegalStateError, "The uniforms of the GPU program have not been updated."));
  EXPECT_THAT(TakeCalls(), ElementsAre());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
  // An edit that does not compile leaves the kernel as it was, with its uniforms.
  Write("net.ostra.test.calls.krn", kPlain);
  device.failing = "program";
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
}

TEST_F(GpuReloadTest, WithoutReloadingNoFileIsTouched) {
  std::filesystem::remove_all(folder);
  TakeCalls();
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  program->ReloadKernels();
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre());
  g_reloadKernelsParallelProgram = true;
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsErrorOfKind(kIllegalStateError));
  program->ReloadKernels();
  EXPECT_EQ(diagnostics.GetLines().size(), 1u);
  EXPECT_THAT(TakeCalls(), ElementsAre());
  // The kernel runs on.
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
}

TEST_F(GpuReloadTest, AFileThatIsGoneForAMomentIsNoWrongSource) {
  program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  const DiagnosticRecorder diagnostics;
  const Url file = Write("k.krn", kPlain);
  ASSERT_THAT(program->AddKernel("k"_iid, file, true), IsOk());  // not compiled without a context
  ASSERT_THAT(program->UpdateDrawportContext(context), IsOk());
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  std::filesystem::remove(folder / "k.krn");
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(program->UpdateUniforms(),
                IsErrorWith(kIllegalStateError,
                            "The kernel \"k\" cannot run because it could not be compiled: Illegal argument: "
                            "Condition file.IoDetect() == IODETECT::FILE not fulfilled."));
  }
  Write("k.krn", kPlain);
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("program k"));
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsOk());
}

TEST_F(GpuReloadTest, OutOfCoreADispatchCompilesWhatAnUpdateWould) {
  g_outOfCoreParallelProgram = true;
  program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsErrorWith(kIllegalStateError, "no active kernel set"));
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->AddKernel("k"_iid, Write("k.krn", kPlain), true), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsErrorOfKind(kIllegalStateError));
  ASSERT_THAT(program->UpdateDrawportContext(context), IsOk());
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  TakeCalls();
  // Clients of out-of-core programs need no update of their own.
  ASSERT_THAT(program->DispatchKernel(9, 1, 1, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program k", "buffer values = 12", "barrier 16384", "dispatch 2 1 1"));
}

}  // namespace
}  // namespace ostra::test
