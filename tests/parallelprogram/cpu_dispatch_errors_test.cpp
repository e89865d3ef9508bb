// Dispatches of the CPU program that fail or stop early, and indirect dispatches.
#include <limits>

#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

constexpr const char* kNotFound = "buffer for update could not be found";
constexpr const char* kWrongType = "buffer is not of the correct type for dispatch indirect";
constexpr const char* kOutOfRange = "dispatch offset out of buffer range";

// A program whose active kernel counts its invocations and fails on demand.
class DispatchErrorTest : public KernelFormTest {
 protected:
  void SetUp() override {
    KernelFormTest::SetUp();
    AddKernel("recorder"_iid, kRecorder);
    LinkCounter("calls"_iid);
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }
  template <class T>
  void Tune(InternedId name, T value) {
    ASSERT_THAT(program->SetUniform(name, value), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }
  void FailBetween(Int64 begin, Int64 end) {
    Tune("failBegin"_iid, begin);
    Tune("failEnd"_iid, end);
  }
  UInt32 TakeCalls() {
    const UInt32 calls = GetCounter("calls"_iid);
    EXPECT_THAT(program->SetAtomicCounter("calls"_iid, 0), IsOk());
    return calls;
  }
};

TEST_P(DispatchErrorTest, ASerialDispatchEndsAtTheFirstError) {
  Tune("threshold"_iid, Int{100});
  FailBetween(0, 100);
  EXPECT_THAT(program->DispatchKernel(100, 1, 1, false), IsErrorWith(kIllegalStateError, "Invocation 0 failed."));
  EXPECT_EQ(TakeCalls(), 1u);
  FailBetween(41, 43);
  EXPECT_THAT(program->DispatchKernel(100, 1, 1, false), IsErrorWith(kIllegalStateError, "Invocation 41 failed."));
  EXPECT_EQ(TakeCalls(), 42u);
  FailBetween(99, 100);
  EXPECT_THAT(program->DispatchKernel(100, 1, 1, false), IsErrorWith(kIllegalStateError, "Invocation 99 failed."));
  EXPECT_EQ(TakeCalls(), 100u);
}

// The first invocations run on the calling thread, the last ones often on a worker.
TEST_P(DispatchErrorTest, AnExceptionBecomesTheErrorOfTheDispatchOnWhateverThreadItIsThrown) {
  AddKernel("throwing"_iid, kThrowing);
  LinkCounter("total"_iid);
  constexpr UInt32 kCount = 200000;
  for (const Int64 place : {Int64{0}, Int64{100000}, Int64{kCount - 1}}) {
    const std::string message =
        "The kernel \"throwing\" has thrown an exception: Invocation " + std::to_string(place) + " has thrown.";
    Tune("throwAt"_iid, place);
    EXPECT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsErrorWith(kIllegalStateError, message));
    EXPECT_THAT(program->DispatchKernel(kCount, 2, 1, false), IsErrorWith(kIllegalStateError, message));
    Tune("throwAt"_iid, Int64{-1});
    ASSERT_THAT(program->SetAtomicCounter("total"_iid, 0), IsOk());
    ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
    EXPECT_EQ(GetCounter("total"_iid), kCount);
  }
}

TEST_P(DispatchErrorTest, AParallelDispatchReturnsTheOnlyError) {
  FailBetween(20000, 20001);
  EXPECT_THAT(program->DispatchKernel(100000, 1, 1, false),
              IsErrorWith(kIllegalStateError, "Invocation 20000 failed."));
  EXPECT_GE(TakeCalls(), 1u);
}

TEST_P(DispatchErrorTest, AParallelDispatchSkipsWhatIsLeftAfterAnError) {
  constexpr UInt32 kCount = 50000000;  // takes far longer than stopping
  FailBetween(0, kCount);
  const auto result = program->DispatchKernel(kCount, 1, 1, false);
  EXPECT_THAT(result, IsErrorContaining(kIllegalStateError, " failed."));
  EXPECT_LT(TakeCalls(), kCount / 2);
}

TEST_P(DispatchErrorTest, AThreeDimensionalDispatchSkipsWhatIsLeftAfterAnError) {
  FailBetween(3, 4);
  const auto result = program->DispatchKernel(5000, 5000, 2, false);
  EXPECT_THAT(result, IsErrorWith(kIllegalStateError, "Invocation 3 failed."));
  EXPECT_LT(TakeCalls(), 25000000u);
}

TEST_P(DispatchErrorTest, TheErrorReturnedIsOneOfTheErrorsRaised) {
  FailBetween(500, 510);
  for (int i = 0; i < 50; ++i) {
    const auto result = program->DispatchKernel(1000, 1, 1, false);
    ASSERT_THAT(result, IsErrorContaining(kIllegalStateError, "Invocation 50"));
    ASSERT_EQ(result.GetError().GetMessage().GetCount(), Int{sizeof("Invocation 500 failed.") - 1});
  }
}

TEST_P(DispatchErrorTest, AFailedDispatchDoesNotDisturbTheNext) {
  FailBetween(0, 1000);
  EXPECT_THAT(program->DispatchKernel(1000, 1, 1, false), testing::Not(IsOk()));
  TakeCalls();
  FailBetween(0, 0);
  EXPECT_THAT(program->DispatchKernel(1000, 1, 1, false), IsOk());
  EXPECT_EQ(TakeCalls(), 1000u);
}

TEST_P(DispatchErrorTest, AWorkGroupSizeWithAZeroIsAnErrorThatNamesTheKernel) {
  AddKernel("unsized"_iid, kNoWorkGroup);
  for (const Vec3<UInt32>& extent : {Vec3<UInt32>(1, 1, 1), Vec3<UInt32>(100, 1, 1), Vec3<UInt32>(2, 2, 2)}) {
    EXPECT_THAT(program->DispatchKernel(extent.x, extent.y, extent.z, false),
                IsErrorContaining(kIllegalStateError, "unsized"));
  }
}

TEST_P(DispatchErrorTest, EveryZeroComponentOfAWorkGroupSizeIsFoundInThreeDimensions) {
  for (int axis = 0; axis < 3; ++axis) {
    Vec3<UInt32> size(2, 2, 2);
    size[axis] = 0;
    Tune("workGroupSize"_iid, size);
    EXPECT_THAT(program->DispatchKernel(4, 4, 4, false), IsErrorContaining(kIllegalStateError, "recorder"));
  }
  EXPECT_EQ(TakeCalls(), 0u);
}

TEST_P(DispatchErrorTest, AZeroWorkGroupSizeIsFoundBelowTheThresholdToo) {
  Tune("threshold"_iid, Int{1000});
  Tune("workGroupSize"_iid, Vec3<UInt32>(0, 1, 1));
  EXPECT_THAT(program->DispatchKernel(10, 1, 1, false), IsErrorContaining(kIllegalStateError, "recorder"));
  EXPECT_EQ(TakeCalls(), 0u);
}

TEST_P(DispatchErrorTest, AZeroAlongYOrZIsFoundInOneDimensionToo) {
  for (const Vec3<UInt32>& size : {Vec3<UInt32>(4, 0, 0), Vec3<UInt32>(4, 0, 1), Vec3<UInt32>(4, 1, 0)}) {
    Tune("workGroupSize"_iid, size);
    EXPECT_THAT(program->DispatchKernel(5, 1, 1, false), IsErrorContaining(kIllegalStateError, "recorder"));
  }
  Tune("workGroupSize"_iid, Vec3<UInt32>(4, 0, 0));
  EXPECT_THAT(
      program->DispatchKernel(5, 1, 1, false),
      IsErrorWith(kIllegalStateError, "The work group size (4, 0, 0) of the kernel \"recorder\" has a component 0."));
  EXPECT_EQ(TakeCalls(), 0u);
}

TEST_P(DispatchErrorTest, WithoutInvocationsAZeroWorkGroupSizeIsNoErrorInOneDimensionOnly) {
  AddKernel("unsized"_iid, kNoWorkGroup);
  EXPECT_THAT(program->DispatchKernel(0, 1, 1, false), IsOk());
  // In three dimensions every extent is raised to one work group.
  EXPECT_THAT(
      program->DispatchKernel(0, 1, 0, false),
      IsErrorWith(kIllegalStateError, "The work group size (0, 0, 0) of the kernel \"unsized\" has a component 0."));
}

OSTRA_TEST_BOTH_FORMS(DispatchErrorTest);

class IndirectDispatchTest : public DispatchErrorTest {
 protected:
  using Counts = Vec4<Int32>;
  void SetUp() override {
    DispatchErrorTest::SetUp();
    Tune("workGroupSize"_iid, Vec3<UInt32>(8, 1, 1));
  }
  // The invocations that the given element dispatches.
  UInt32 CountFor(const Counts& counts) {
    StoreBuffer<Counts>("counts"_iid, {counts});
    EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false), IsOk());
    return TakeCalls();
  }
};

TEST_P(IndirectDispatchTest, CountsBelowOneAreOneAndTheFourthIsIgnored) {
  EXPECT_EQ(CountFor(Counts(2, 0, -5, 9)), 16u);
  EXPECT_EQ(CountFor(Counts(0, 0, 0, 0)), 8u);
  EXPECT_EQ(CountFor(Counts(-1, -1, -1, -1)), 8u);
  EXPECT_EQ(CountFor(Counts(std::numeric_limits<Int32>::min(), 1, 1, 7)), 8u);
}

TEST_P(IndirectDispatchTest, CountsAreWorkGroupsOnEveryAxis) {
  EXPECT_EQ(CountFor(Counts(1, 1, 1, 0)), 8u);
  EXPECT_EQ(CountFor(Counts(2, 3, 4, 0)), 16u * 3 * 4);
  Tune("workGroupSize"_iid, Vec3<UInt32>(2, 3, 5));
  EXPECT_EQ(CountFor(Counts(2, 3, 4, 0)), 4u * 9 * 20);
  EXPECT_EQ(CountFor(Counts(0, 0, 0, 0)), 2u * 3 * 5);
}

TEST_P(IndirectDispatchTest, InvocationCountsWrapAt32Bits) {
  EXPECT_EQ(CountFor(Counts(0x20000001, 1, 1, 0)), 8u);
  EXPECT_EQ(CountFor(Counts(0x20000000, 1, 1, 0)), 0u);
  // Three-dimensional: no invocations along x are raised to a work group.
  EXPECT_EQ(CountFor(Counts(0x20000000, 2, 1, 0)), 16u);
}

TEST_P(IndirectDispatchTest, TheOffsetSelectsTheElement) {
  StoreBuffer<Counts>("counts"_iid, {Counts(1, 1, 1, 0), Counts(2, 1, 1, 0), Counts(3, 1, 1, 0)});
  for (UInt32 i = 0; i < 3; ++i) {
    EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, i, i == 1), IsOk());
    EXPECT_EQ(TakeCalls(), 8 * (i + 1));
  }
}

TEST_P(IndirectDispatchTest, OneDimensionalWorkFollowsTheThreshold) {
  Tune("threshold"_iid, Int{16});
  FailBetween(0, 16);
  StoreBuffer<Counts>("counts"_iid, {Counts(2, 1, 1, 0)});
  EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false),
              IsErrorWith(kIllegalStateError, "Invocation 0 failed."));
  EXPECT_EQ(TakeCalls(), 1u);
}

TEST_P(IndirectDispatchTest, WrongBuffersAndOffsetsAreReported) {
  StoreBuffer<Counts>("counts"_iid, {Counts(1, 1, 1, 1), Counts(1, 1, 1, 1)});
  StoreBuffer<Int32>("integers"_iid, {1, 1, 1, 1});
  StoreBuffer<Vec4<UInt32>>("unsigned"_iid, {Vec4<UInt32>(1)});
  EXPECT_THAT(program->DispatchIndirectKernel("unknown"_iid, 0, false), IsErrorWith(kIllegalArgumentError, kNotFound));
  EXPECT_THAT(program->DispatchIndirectKernel("integers"_iid, 0, false),
              IsErrorWith(kIllegalArgumentError, kWrongType));
  EXPECT_THAT(program->DispatchIndirectKernel("integers"_iid, 99, false),
              IsErrorWith(kIllegalArgumentError, kWrongType));
  EXPECT_THAT(program->DispatchIndirectKernel("unsigned"_iid, 0, false),
              IsErrorWith(kIllegalArgumentError, kWrongType));
  for (const UInt32 offset : {2u, 3u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, offset, false),
                IsErrorWith(kIllegalArgumentError, kOutOfRange));
  }
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Counts>(), 0), IsOk());
  EXPECT_THAT(program->DispatchIndirectKernel("empty"_iid, 0, false), IsErrorWith(kIllegalArgumentError, kOutOfRange));
  EXPECT_EQ(TakeCalls(), 0u);
}

TEST_P(IndirectDispatchTest, TheBufferIsFoundInTheProgramNotInTheKernelsLinks) {
  StoreBuffer<Counts>("counts"_iid, {Counts(1, 1, 1, 1)});
  ASSERT_THAT(program->SetBufferToActiveKernel("counts"_iid, "linked"_iid), IsOk());
  EXPECT_THAT(program->DispatchIndirectKernel("linked"_iid, 0, false), IsErrorWith(kIllegalArgumentError, kNotFound));
}

TEST_P(IndirectDispatchTest, AZeroWorkGroupSizeIsAnErrorThatNamesTheKernel) {
  StoreBuffer<Counts>("counts"_iid, {Counts(1, 1, 1, 1)});
  AddKernel("unsized"_iid, kNoWorkGroup);
  EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false),
              IsErrorContaining(kIllegalStateError, "unsized"));
}

OSTRA_TEST_BOTH_FORMS(IndirectDispatchTest);

}  // namespace
}  // namespace ostra::test
