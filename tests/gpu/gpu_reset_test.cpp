// What a reset of the GPU program leaves, and what goes with it.
#include "tests/gpu/textures_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::Not;

class GpuResetTest : public GpuTexturesTest {
 protected:
  // Resets, and gives the program the same context again.
  void Reset() {
    ASSERT_THAT(program->Reset(), IsOk());
    ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
    TakeCalls();
  }
};

TEST_F(GpuResetTest, TheOrderOfDeletionStays) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"b"_iid});
  Reset();
  for (const InternedId& id : {"a"_iid, "b"_iid, "c"_iid}) ASSERT_THAT(StoreLarge(id, 1), IsOk());
  EXPECT_TRUE(IsOnDevice("a"_iid));
  EXPECT_FALSE(IsOnDevice("b"_iid));
  EXPECT_TRUE(IsOnDevice("c"_iid));
}

TEST_F(GpuResetTest, TexturesGoAlsoThoseThatWereKeptOnTheHost) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"a"_iid});
  for (const InternedId& id : {"a"_iid, "b"_iid, "c"_iid}) ASSERT_THAT(StoreLarge(id, 1), IsOk());
  ASSERT_FALSE(IsOnDevice("a"_iid));
  EXPECT_EQ(GetFirst("a"_iid), 1);
  Reset();
  const DiagnosticRecorder diagnostics;
  for (const InternedId& id : {"a"_iid, "b"_iid, "c"_iid}) {
    EXPECT_FALSE(Read(id));
    EXPECT_FALSE(IsOnDevice(id));
  }
  EXPECT_THAT(diagnostics.GetLines(), Contains("Stop"));
}

TEST_F(GpuResetTest, KernelsAndBuffersGo) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  Reset();
  EXPECT_FALSE(program->HasKernel("k"_iid));
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  EXPECT_EQ(program->GetProgramCount("net.ostra.test.calls.krn"_s), 0);
  EXPECT_THAT(program->GetGlobalBufferData("values"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "no active kernel set"));
  // The names are free.
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 4), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("buffer values = 16"));
}

TEST_F(GpuResetTest, RecordedWorkIsSubmittedFirstAndWithoutMemoryForThatNothingGoes) {
  AddKernel("k"_iid, kKernel);
  TakeCalls();
  device.failing = "execute";
  device.failingKind = kOutOfMemoryError;
  EXPECT_THAT(program->Reset(), IsErrorWith(kOutOfMemoryError, "made-up failure"));
  EXPECT_TRUE(program->HasKernel("k"_iid));
  device.failing = "";
  TakeCalls();
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("execute 0"));
  // A second reset has no context, and what a lost device had recorded is lost.
  EXPECT_THAT(program->Reset(), IsOk());
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  device.failing = "execute";
  device.failingKind = kIllegalStateError;
  EXPECT_THAT(program->Reset(), IsOk());
}

TEST_F(GpuResetTest, CountersStayAndTheirLinksGo) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  ASSERT_THAT(program->SetAtomicCounter("hits"_iid, 5), IsOk());
  Reset();
  AddKernel("k"_iid, kKernel);
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Not(Contains("counter hits = 0")));
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("counter hits = 0"));
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 5u);
}

}  // namespace
}  // namespace ostra::test
