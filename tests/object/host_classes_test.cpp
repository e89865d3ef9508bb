#include "ostra/host_classes.h"

#include <gmock/gmock.h>

#include "ostra/drawport/gpu_compute.h"
#include "ostra/object/class.h"
#include "ostra/render/gradient.h"
#include "ostra/render/render_noise.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

// A noise, a gradient and a GPU program: one of several in a registry of its own, and two of the general registry.
void EraseSome() {
  auto noises = ClassRegistry::Find(kRenderNoiseRegistry);
  ASSERT_THAT(noises, IsOk());
  auto ids = noises->GetIds();
  ASSERT_THAT(ids, IsOk());
  ASSERT_GT(ids->GetCount(), 10);
  EXPECT_TRUE(noises->Erase((*ids)[3]));
  EXPECT_TRUE(ClassRegistry::GetClasses().Erase(kGradientClass));
  EXPECT_TRUE(ClassRegistry::GetClasses().Erase(kGpuComputeClass));
}

Int CountNoises() { return ClassRegistry::Find(kRenderNoiseRegistry)->GetIds()->GetCount(); }

void ExpectSomeThere(Int noiseCount) {
  EXPECT_EQ(CountNoises(), noiseCount);
  EXPECT_THAT(CreateObject<GradientInterface>(kGradientClass), IsOk());
  EXPECT_THAT(CreateObject<GpuComputeInterface>(kGpuComputeClass), IsOk());
}

TEST(HostClassesTest, RegisteringThemAgainChangesNothing) {
  const auto before = ClassRegistry::GetClasses().FindEntryValue(kGradientClass);
  ASSERT_THAT(before, IsOk());
  const Int noiseCount = CountNoises();
  EXPECT_THAT(RegisterHostClasses(), IsOk());
  const auto after = ClassRegistry::GetClasses().FindEntryValue(kGradientClass);
  ASSERT_THAT(after, IsOk());
  EXPECT_EQ(before->GetPointer(), after->GetPointer());
  EXPECT_EQ(CountNoises(), noiseCount);
}

TEST(HostClassesTest, ClassesThatAreMissingAreRegistered) {
  const Int noiseCount = CountNoises();
  EraseSome();
  EXPECT_THAT(CreateObject<GradientInterface>(kGradientClass), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(RegisterHostClasses(), IsOk());
  ExpectSomeThere(noiseCount);
}

TEST(HostClassesTest, ExhaustedMemoryIsReportedAndAnotherCallRegistersTheRest) {
  const Int noiseCount = CountNoises();
  Int failures = 0;
  for (Bool isDone = false; !isDone; failures += !isDone) {
    EraseSome();
    Result<void> result = OK;
    {
      const FailingAllocation failure(failures + 1);
      result = RegisterHostClasses();
      isDone = !AllocationFaults::HasFired();
    }
    if (isDone || HasFailure()) break;
    // Only the error that says a class is missing, which is dropped, may get along without memory.
    if (!result) {
      EXPECT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    }
    EXPECT_THAT(RegisterHostClasses(), IsOk());
    ExpectSomeThere(noiseCount);
  }
  EXPECT_THAT(RegisterHostClasses(), IsOk());
  ExpectSomeThere(noiseCount);
  EXPECT_GT(failures, 10);
}

}  // namespace
}  // namespace ostra
