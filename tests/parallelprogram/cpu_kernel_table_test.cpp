// The kernel table of the CPU program: adding, copying, activating and releasing kernels.
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

using KernelTableTest = ProgramTest;

// The program name by which kernels of this class are counted.
String GetProgramName(const char* kernelClass) { return GetKernelFile(kernelClass, KernelForm::Call).GetName(); }

TEST_F(KernelTableTest, AnAddedKernelIsKnownAndActive) {
  EXPECT_FALSE(program->HasKernel("a"_iid));
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  AddKernel("a"_iid, kScale);
  EXPECT_TRUE(program->HasKernel("a"_iid));
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
  AddKernel("b"_iid, kCount);
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
}

TEST_F(KernelTableTest, AddingUnderAUsedIdIsRefusedAndTheFirstKernelStays) {
  AddKernel("a"_iid, kScale);
  AddKernel("b"_iid, kScale);
  const Int kernels = g_liveKernels;
  EXPECT_THAT(program->AddKernel("a"_iid, GetKernelFile(kCount, KernelForm::Call), true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kScale)), 2);
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kCount)), 0);
  EXPECT_EQ(g_liveKernels, kernels);
}

TEST_F(KernelTableTest, AWrongClassNameComesWithTheNearestOne) {
  const String right = GetKernelFile(kNotKernel, KernelForm::Call).GetName();
  auto wrong = Url::Create(std::string(right.GetView().substr(0, right.GetView().size() - 1)));
  ASSERT_THAT(wrong, IsOk());
  EXPECT_THAT(program->AddKernel("a"_iid, *wrong, true),
              IsErrorContaining(kIllegalArgumentError, "; did you mean \"" + std::string(right.GetView()) + "\"?"));
}

TEST_F(KernelTableTest, AUsedIdIsReportedBeforeAnUnknownClass) {
  AddKernel("a"_iid, kScale);
  EXPECT_THAT(program->AddKernel("a"_iid, Url("net.ostra.test.unknown"_s), true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
}

// What AddKernel leaves behind when it fails.
class FailingAddTest : public ProgramTest {
 protected:
  void ExpectRefused(const Url& file, const Id& kind) {
    AddKernel("before"_iid, kScale);
    const Int kernels = g_liveKernels;
    EXPECT_THAT(program->AddKernel("a"_iid, file, true), IsErrorOfKind(kind));
    EXPECT_FALSE(program->HasKernel("a"_iid));
    EXPECT_EQ(program->GetProgramCount(file.GetName()), 0);
    EXPECT_EQ(program->GetActiveKernelId(), "before"_iid);
    EXPECT_EQ(g_liveKernels, kernels);
    // The ID is free again.
    AddKernel("a"_iid, kCount);
    EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
  }
};

TEST_F(FailingAddTest, AFileThatNamesNoClassIsRefused) {
  ExpectRefused(Url("kernels/net.ostra.test.unknown"_s), kIllegalArgumentError);
}

TEST_F(FailingAddTest, TheRegistrysErrorForAnUnknownClassNamesIt) {
  EXPECT_THAT(program->AddKernel("a"_iid, Url("kernels/net.ostra.test.unknown"_s), true),
              IsErrorContaining(kIllegalArgumentError, "net.ostra.test.unknown"));
}

TEST_F(FailingAddTest, AnEmptyFileIsRefused) { ExpectRefused(Url(), kIllegalArgumentError); }

TEST_F(FailingAddTest, AClassThatMakesNoObjectIsRefused) {
  ExpectRefused(GetKernelFile(kNoObject, KernelForm::Call), kOutOfMemoryError);
}

TEST_F(FailingAddTest, AClassWhoseObjectsAreNoKernelsIsRefused) {
  ExpectRefused(GetKernelFile(kNotKernel, KernelForm::Call), kIllegalArgumentError);
}

TEST_F(FailingAddTest, AKernelThatFailsInInitIsRefusedWithItsOwnError) {
  g_isInitFailing = true;
  EXPECT_THAT(program->AddKernel("a"_iid, GetKernelFile(kFailingInit, KernelForm::Call), true),
              IsErrorWith(kIllegalStateError, "This kernel does not start."));
  ExpectRefused(GetKernelFile(kFailingInit, KernelForm::Call), kIllegalStateError);
  g_isInitFailing = false;
}

TEST_F(FailingAddTest, WithoutAnyKernelAFailedAddLeavesNoneActive) {
  EXPECT_THAT(program->AddKernel("a"_iid, Url("net.ostra.test.unknown"_s), true), testing::Not(IsOk()));
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, kNoActiveKernel));
}

TEST_F(KernelTableTest, EachKernelIsInitialisedOnce) {
  const Int before = g_initCalls;
  AddKernel("a"_iid, kFailingInit);
  EXPECT_EQ(g_initCalls, before + 1);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  EXPECT_EQ(g_initCalls, before + 2);
}

TEST_F(KernelTableTest, OnlyTheLastPartOfTheFileNamesTheClass) {
  const String name = GetProgramName(kScale);
  for (const char* folder : {"", "one/", "one/two/", "relative://one/"}) {
    const InternedId id = InternedId::FromLiteral(folder[0] ? folder : "none");
    auto file = Url::Create(folder + std::string(name.GetView()));
    ASSERT_THAT(file, IsOk());
    EXPECT_THAT(program->AddKernel(id, *file, false), IsOk()) << folder;
  }
  EXPECT_EQ(program->GetProgramCount(name), 4);
}

TEST_F(KernelTableTest, TheEmptyIdIsAKernelIdLikeAnyOther) {
  AddKernel(InternedId(), kScale);
  EXPECT_TRUE(program->HasKernel(InternedId()));
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(KernelTableTest, KernelsAreCountedByTheWholeNameOfTheirFile) {
  const String name = GetProgramName(kScale);
  EXPECT_EQ(program->GetProgramCount(name), 0);
  AddKernel("a"_iid, kScale);
  AddKernel("b"_iid, kScale);
  AddKernel("c"_iid, kCount);
  EXPECT_EQ(program->GetProgramCount(name), 2);
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kCount)), 1);
  EXPECT_EQ(program->GetProgramCount(String()), 0);
  EXPECT_EQ(program->GetProgramCount(name.SubString(0, name.GetCount() - 1)), 0);
  EXPECT_EQ(program->GetProgramCount(name.SubString(1)), 0);
}

TEST_F(KernelTableTest, ActivatingAnUnknownKernelKeepsTheActiveOne) {
  AddKernel("a"_iid, kScale);
  AddKernel("b"_iid, kScale);
  program->SetActiveKernel("unknown"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
  program->SetActiveKernel(InternedId());
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
  program->SetActiveKernel("a"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
  program->SetActiveKernel("a"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
}

TEST_F(KernelTableTest, ActivatingChangesWhichKernelReceivesUniforms) {
  AddKernel("a"_iid, kTyped);
  AddKernel("b"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(2)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  program->SetActiveKernel("a"_iid);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(1)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 1);
  program->SetActiveKernel("b"_iid);
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 2);
}

using CopyKernelTest = ProgramTest;

TEST_F(CopyKernelTest, CopyingToTheSameIdSucceedsAndDoesNothing) {
  AddKernel("a"_iid, kScale);
  const Int kernels = g_liveKernels;
  EXPECT_THAT(program->CopyKernel("a"_iid, "a"_iid, true), IsOk());
  EXPECT_EQ(g_liveKernels, kernels);
  EXPECT_THAT(program->CopyKernel("unknown"_iid, "unknown"_iid, true), IsOk());
  EXPECT_FALSE(program->HasKernel("unknown"_iid));
}

TEST_F(CopyKernelTest, AnUnknownSourceIsReportedBeforeAUsedTarget) {
  AddKernel("a"_iid, kScale);
  EXPECT_THAT(program->CopyKernel("unknown"_iid, "b"_iid, true),
              IsErrorWith(kIllegalArgumentError, "source kernel could not be found"));
  EXPECT_FALSE(program->HasKernel("b"_iid));
  EXPECT_THAT(program->CopyKernel("unknown"_iid, "a"_iid, true),
              IsErrorWith(kIllegalArgumentError, "source kernel could not be found"));
}

TEST_F(CopyKernelTest, AUsedTargetIsRefused) {
  AddKernel("a"_iid, kScale);
  AddKernel("b"_iid, kCount);
  const Int kernels = g_liveKernels;
  EXPECT_THAT(program->CopyKernel("a"_iid, "b"_iid, true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
  EXPECT_EQ(g_liveKernels, kernels);
}

TEST_F(CopyKernelTest, ACopyIsNotActivatedAndNotCounted) {
  AddKernel("a"_iid, kScale);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  EXPECT_TRUE(program->HasKernel("b"_iid));
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kScale)), 1);
}

TEST_F(CopyKernelTest, ActivatingACopyGivesTheIdThatWasActivated) {
  AddKernel("a"_iid, kScale);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  program->SetActiveKernel("b"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
}

class ShortLivedKernel final : public KernelBase<ShortLivedKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.shortlived";
  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    return OK;
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
};

TEST_F(CopyKernelTest, AKernelCanBeCopiedAfterItsClassHasLeftTheRegistry) {
  const Id id = "net.ostra.test.shortlived"_id;
  auto registry = ClassRegistry::Find(kKernelClassRegistry);
  ASSERT_THAT(registry, IsOk());
  {
    auto shortLived = Class::Create<ShortLivedKernel>(id);
    ASSERT_THAT(shortLived, IsOk());
    ASSERT_THAT(registry->Insert(*shortLived), IsOk());
  }
  ASSERT_THAT(program->AddKernel("a"_iid, Url("net.ostra.test.shortlived"_s), true), IsOk());
  ASSERT_TRUE(registry->Erase(id));
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  ASSERT_THAT(program->CopyKernel("b"_iid, "c"_iid, true), IsOk());
  program->SetActiveKernel("c"_iid);
  EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_THAT(program->AddKernel("d"_iid, Url("net.ostra.test.shortlived"_s), true),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(CopyKernelTest, ACopyCanBeCopied) {
  AddKernel("a"_iid, kScale);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  ASSERT_THAT(program->CopyKernel("b"_iid, "c"_iid, true), IsOk());
  EXPECT_TRUE(program->HasKernel("c"_iid));
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kScale)), 1);
}

TEST_F(CopyKernelTest, TheKernelObjectOfACopyHasNoValuesOfItsSource) {
  AddKernel("a"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(7)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  program->SetActiveKernel("b"_iid);
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 0);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 7);
}

TEST_F(CopyKernelTest, UniformsOfSourceAndCopyChangeIndependently) {
  AddKernel("a"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(1)), IsOk());
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(2)), IsOk());
  program->SetActiveKernel("b"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 1);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(3)), IsOk());
  program->SetActiveKernel("a"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 2);
}

TEST_F(CopyKernelTest, LinksOfSourceAndCopyChangeIndependently) {
  StoreBuffer<Float32>("one"_iid, {1});
  StoreBuffer<Float32>("two"_iid, {2});
  AddKernel("a"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernel("one"_iid, "values"_iid), IsOk());
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("two"_iid, "values"_iid), IsOk());
  program->SetActiveKernel("b"_iid);
  EXPECT_EQ(ReadKernelBuffer<Float32>("values"_iid), std::vector<Float32>{1});
  ASSERT_THAT(program->SetBufferToActiveKernel("two"_iid, "more"_iid), IsOk());
  program->SetActiveKernel("a"_iid);
  EXPECT_EQ(ReadKernelBuffer<Float32>("values"_iid), std::vector<Float32>{2});
  EXPECT_THAT(program->GetKernelBufferLink("more"_iid), testing::Not(IsOk()));
}

TEST_F(CopyKernelTest, CounterLinksAreCopied) {
  AddKernel("a"_iid, kCount);
  LinkCounter("total"_iid);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  program->SetActiveKernel("b"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(10, 1, 1, false), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 10u);
}

TEST_F(CopyKernelTest, AFailingInitLeavesTheIncompleteCopyInTheTable) {
  AddKernel("a"_iid, kFailingInit);
  g_isInitFailing = true;
  EXPECT_THAT(program->CopyKernel("a"_iid, "b"_iid, true),
              IsErrorWith(kIllegalStateError, "This kernel does not start."));
  g_isInitFailing = false;
  EXPECT_TRUE(program->HasKernel("b"_iid));
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
  EXPECT_THAT(program->CopyKernel("a"_iid, "b"_iid, true),
              IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
}

TEST_F(CopyKernelTest, AnIncompleteCopyCanBeActivatedAndUsedWithoutACrash) {
  AddKernel("a"_iid, kFailingInit);
  ASSERT_THAT(program->SetUniform("x"_iid, Int32(1)), IsOk());
  g_isInitFailing = true;
  EXPECT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), testing::Not(IsOk()));
  g_isInitFailing = false;
  program->SetActiveKernel("b"_iid);
  EXPECT_EQ(program->GetActiveKernelId(), "b"_iid);
  // Whether the object that failed to start is kept is open: each call either works or fails with a clear error.
  const auto worksOrExplains = testing::AnyOf(IsOk(), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(program->UpdateUniforms(), worksOrExplains);
  EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), worksOrExplains);
  EXPECT_THAT(program->CopyKernel("b"_iid, "c"_iid, true), worksOrExplains);
  EXPECT_TRUE(program->HasKernel("b"_iid));
}

using ResetTest = ProgramTest;

TEST_F(ResetTest, ForgetsKernelsBuffersAndCounters) {
  const Int kernels = g_liveKernels;
  StoreBuffer<Float32>("values"_iid, {1});
  AddKernel("a"_iid, kCount);
  LinkCounter("total"_iid);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_TRUE(program->GetActiveKernelId().IsEmpty());
  EXPECT_FALSE(program->HasKernel("a"_iid));
  EXPECT_FALSE(program->HasKernel("b"_iid));
  EXPECT_EQ(program->GetProgramCount(GetProgramName(kCount)), 0);
  EXPECT_EQ(g_liveKernels, kernels);
  EXPECT_THAT(program->GetGlobalBufferData("values"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->GetAtomicCounter("total"_iid),
              IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, kNoActiveKernel));
}

TEST_F(ResetTest, TheProgramCanBeFilledAgainWithoutInit) {
  AddKernel("a"_iid, kCount);
  for (int i = 0; i < 2; ++i) {
    ASSERT_THAT(program->Reset(), IsOk());
    AddKernel("a"_iid, kCount);
    LinkCounter("total"_iid);
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(3, 1, 1, false), IsOk());
    EXPECT_EQ(GetCounter("total"_iid), 3u);
  }
}

TEST_F(ResetTest, OfAnEmptyProgramSucceeds) {
  EXPECT_THAT(program->Reset(), IsOk());
  EXPECT_THAT(program->Reset(), IsOk());
}

TEST_F(ResetTest, ValuesReadBeforeStayReadable) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  const auto data = program->GetGlobalBufferData("values"_iid);
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_EQ(GetElements<Float32>(data), (std::vector<Float32>{1, 2}));
}

TEST_F(ResetTest, KeepsTheMemoryOfCountersUntilTheProgramEnds) {
  AddKernel("k"_iid, kTyped);
  LinkCounter("counter"_iid);
  ASSERT_THAT(program->Reset(), IsOk());  // what is made once is made
  const Int before = AllocationFaults::GetLiveCount();
  AddKernel("k"_iid, kTyped);
  LinkCounter("counter"_iid);
  ASSERT_THAT(program->AddAtomicCounter("other"_iid, Int32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounter("counter"_iid, 42), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  const AtomicUInt32* counter = TypedValues::seen.counter;
  ASSERT_TRUE(counter);
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_EQ(counter->LoadRelaxed(), 42u);
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before + 2);
  program = nullptr;
  EXPECT_LT(AllocationFaults::GetLiveCount(), before);
}

TEST_F(ResetTest, ReleasingTheProgramReleasesItsKernels) {
  const Int kernels = g_liveKernels;
  AddKernel("a"_iid, kScale);
  ASSERT_THAT(program->CopyKernel("a"_iid, "b"_iid, true), IsOk());
  EXPECT_EQ(g_liveKernels, kernels + 2);
  program = nullptr;
  EXPECT_EQ(g_liveKernels, kernels);
}

TEST_F(KernelTableTest, InitMayBeCalledAgain) {
  AddKernel("a"_iid, kScale);
  EXPECT_THAT(program->Init(Url("anywhere"_s), nullptr, 5, true), IsOk());
  EXPECT_TRUE(program->HasKernel("a"_iid));
  EXPECT_EQ(program->GetActiveKernelId(), "a"_iid);
}

TEST_F(KernelTableTest, ProgramsAreIndependent) {
  ParallelProgramRef other = MakeProgram();
  AddKernel("a"_iid, kScale);
  StoreBuffer<Float32>("values"_iid, {1});
  EXPECT_FALSE(other->HasKernel("a"_iid));
  EXPECT_TRUE(other->GetActiveKernelId().IsEmpty());
  EXPECT_THAT(other->GetGlobalBufferData("values"_iid), testing::Not(IsOk()));
}

}  // namespace
}  // namespace ostra::test
