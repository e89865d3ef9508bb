// The GPU program when memory of the host runs out in the middle of a call: each allocation fails in turn, and what was
// there before is there afterwards.
#include "tests/gpu/calls_fixture.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

class GpuFailuresTest : public GpuCallsTest {
 protected:
  void SetUp() override {
    GpuCallsTest::SetUp();
    AddKernel("k"_iid, kKernel);
    ASSERT_THAT(Store("values"_iid, 3), IsOk());
    ExpectKernelRuns();
  }
  // The kernel "k" is active, and its program is the one that it had.
  void ExpectKernelRuns() {
    EXPECT_EQ(program->GetActiveKernelId(), "k"_iid);
    TakeCalls();
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(9, 9, 1, true), IsOk());
    EXPECT_THAT(TakeCalls(), ElementsAre("buffer values = 12", "texture image = -1", "dispatch 2 3 1"));
  }
  // Calls `run(id)` with names that are new, until it makes fewer allocations than the one that is to fail. It adds a
  // kernel of this name.
  template <class Run>
  void AddWithFailures(Run&& run) {
    Int refused = 0, notCompiled = 0;
    for (Int n = 1; n < 4000; ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
      const InternedId id = *InternedId::Create("new@", n);
      Result<void> added = OK;
      {
        const DiagnosticRecorder diagnostics;
        const FailingAllocation failure(n);
        added = run(id);
        program->WaitForKernelCompile();
      }
      if (!AllocationFaults::HasFired()) {
        EXPECT_THAT(added, IsOk());
        EXPECT_GT(refused, 0);
        EXPECT_GT(notCompiled, 0);
        return;
      }
      EXPECT_EQ(program->HasKernel(id), added.IsOk());
      if (added) {
        EXPECT_EQ(program->GetActiveKernelId(), id);
        notCompiled +=
            testing::Matches(testing::Not(testing::Contains("program " + std::string(id.GetView()))))(TakeCalls());
        // Once there is memory it runs.
        ASSERT_THAT(program->UpdateUniforms(), IsOk());
        ASSERT_THAT(program->DispatchKernel(9, 9, 1, true), IsOk());
        program->SetActiveKernel("k"_iid);
      } else {
        EXPECT_THAT(added, IsErrorOfKind(kOutOfMemoryError));
        ++refused;
      }
      ExpectKernelRuns();
      if (HasFailure()) return;
    }
    ADD_FAILURE() << "There is no end of allocations.";
  }
};

TEST_F(GpuFailuresTest, AKernelThatIsAddedInTheBackground) {
  const Url file = Write("new.krn", kKernel);
  AddWithFailures([&](InternedId id) { return program->AddKernel(id, file, false); });
}

TEST_F(GpuFailuresTest, ACopyOfAKernel) {
  AddWithFailures([&](InternedId id) { return program->CopyKernel("k"_iid, id, true); });
}

TEST_F(GpuFailuresTest, ACopyOfAKernelInTheBackground) {
  AddWithFailures([&](InternedId id) { return program->CopyKernel("k"_iid, id, false); });
}

TEST_F(GpuFailuresTest, AReplacementOfTheContext) {
  Int refused = 0;
  for (Int n = 1; n < 1000; ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
    RecordingDevice otherDevice;
    const DrawportContextRef other = otherDevice.MakeContext();
    Result<void> replaced = OK;
    {
      const DiagnosticRecorder diagnostics;
      const FailingAllocation failure(n);
      replaced = program->UpdateDrawportContext(other);
    }
    if (!AllocationFaults::HasFired()) {
      EXPECT_THAT(replaced, IsOk());
      EXPECT_GT(refused, 0);
      program = nullptr;  // before its devices
      return;
    }
    if (replaced) {  // it has got along without
      ASSERT_THAT(program->UpdateDrawportContext(context), IsOk());
      continue;
    }
    ++refused;
    EXPECT_THAT(replaced, IsErrorOfKind(kOutOfMemoryError));
    otherDevice.TakeCalls();
    ExpectKernelRuns();
    EXPECT_THAT(otherDevice.TakeCalls(), ElementsAre());
    if (HasFailure()) return;
  }
  ADD_FAILURE() << "There is no end of allocations.";
}

TEST_F(GpuFailuresTest, AReloadOfAnEditedKernel) {
  g_reloadKernelsParallelProgram = true;
  Int refused = 0;
  for (Int n = 1; n < 4000; ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
    Write("net.ostra.test.calls.krn", kKernel);
    TakeCalls();
    Result<void> checked = OK;
    {
      const DiagnosticRecorder diagnostics;
      const FailingAllocation failure(n);
      checked = program->CheckActiveKernelForUpdatedShaders();
    }
    if (!AllocationFaults::HasFired()) {
      EXPECT_THAT(checked, IsOk());
      EXPECT_THAT(TakeCalls(), ElementsAre("program k"));
      EXPECT_GT(refused, 0);
      return;
    }
    if (!checked) {
      ++refused;
      EXPECT_THAT(checked, IsErrorOfKind(kOutOfMemoryError));
    }
    ExpectKernelRuns();
    if (HasFailure()) return;
  }
  ADD_FAILURE() << "There is no end of allocations.";
}

}  // namespace
}  // namespace ostra::test
