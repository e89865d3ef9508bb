// Dispatches of the CPU program: which invocations run, with which IDs, and where.
#include <limits>
#include <set>
#include <thread>
#include <tuple>

#include "parallelprogram/program/dispatch_stop_interface.h"
#include "parallelprogram/program/dispatch_times_interface.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

using Triple = std::tuple<UInt32, UInt32, UInt32>;

Triple ToTriple(const Vec3<UInt32>& vector) { return {vector.x, vector.y, vector.z}; }

// A program whose active kernel records its invocations.
class DispatchTest : public KernelFormTest {
 protected:
  static constexpr Int kMaxRecords = 70000;

  void SetUp() override {
    KernelFormTest::SetUp();
    AddKernel("recorder"_iid, kRecorder);
    ASSERT_THAT(program->CreateUniformBuffer("records"_iid, GetDataType<InvocationRecord>(), kMaxRecords), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("records"_iid), IsOk());
    LinkCounter("calls"_iid);
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }

  template <class T>
  void Tune(InternedId name, T value) {
    ASSERT_THAT(program->SetUniform(name, value), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }
  void SetGroup(UInt32 x, UInt32 y, UInt32 z) { Tune("workGroupSize"_iid, Vec3<UInt32>(x, y, z)); }

  // The records of one dispatch, in the order in which the invocations began.
  std::vector<InvocationRecord> TakeRecords() {
    const auto calls = static_cast<std::size_t>(GetCounter("calls"_iid));
    EXPECT_LE(calls, static_cast<std::size_t>(kMaxRecords));
    const auto data = program->GetGlobalBufferData("records"_iid, 0, static_cast<Int>(calls));
    EXPECT_THAT(program->SetAtomicCounter("calls"_iid, 0), IsOk());
    return GetElements<InvocationRecord>(data);
  }
  std::vector<InvocationRecord> Dispatch(UInt32 x, UInt32 y, UInt32 z) {
    EXPECT_THAT(program->DispatchKernel(x, y, z, false), IsOk());
    return TakeRecords();
  }

  // Every invocation of the box exactly once, each with the IDs that the work group size gives.
  static void ExpectBox(const std::vector<InvocationRecord>& records, UInt32 x, UInt32 y, UInt32 z,
                        const Vec3<UInt32>& group) {
    std::set<Triple> seen;
    for (const InvocationRecord& record : records) {
      ASSERT_LT(record.global.x, x);
      ASSERT_LT(record.global.y, y);
      ASSERT_LT(record.global.z, z);
      for (int axis = 0; axis < 3; ++axis) {
        ASSERT_LT(record.local[axis], group[axis]);
        ASSERT_EQ(record.group[axis] * group[axis] + record.local[axis], record.global[axis]);
      }
      ASSERT_TRUE(seen.insert(ToTriple(record.global)).second);
    }
    EXPECT_EQ(seen.size(), std::size_t{x} * y * z);
  }
};

TEST_P(DispatchTest, DispatchesAreMeasuredWhenThatIsAskedFor) {
  auto* const times = FindInterface<DispatchTimesInterface>(*program);
  ASSERT_TRUE(times);
  Dispatch(5, 1, 1);
  ASSERT_THAT(times->MeasureDispatches(true), IsOk());
  Dispatch(7, 1, 1);
  Dispatch(8, 4, 2);
  ASSERT_THAT(times->MeasureDispatches(false), IsOk());
  Dispatch(9, 1, 1);
  const auto taken = times->TakeDispatchTimes();
  ASSERT_THAT(taken, IsOk());
  ASSERT_EQ(taken->GetCount(), 2);
  EXPECT_EQ((*taken)[0].kernel, "recorder"_iid);
  EXPECT_EQ((*taken)[0].invocations, Vec3<UInt32>(7, 1, 1));
  EXPECT_EQ((*taken)[1].invocations, Vec3<UInt32>(8, 4, 2));
  EXPECT_GT((*taken)[0].duration, 0);
  EXPECT_GE((*taken)[1].begin, (*taken)[0].begin + (*taken)[0].duration);
  EXPECT_EQ(times->TakeDispatchTimes()->GetCount(), 0);
}

TEST_P(DispatchTest, ADispatchThatFailsHasNoTime) {
  auto* const times = FindInterface<DispatchTimesInterface>(*program);
  ASSERT_THAT(times->MeasureDispatches(true), IsOk());
  SetGroup(0, 1, 1);
  EXPECT_FALSE(program->DispatchKernel(7, 1, 1, false));
  EXPECT_EQ(times->TakeDispatchTimes()->GetCount(), 0);
}

TEST_P(DispatchTest, AStoppedProgramRunsNothingUntilTheStopIsForgotten) {
  auto* const stop = FindInterface<DispatchStopInterface>(*program);
  ASSERT_TRUE(stop);
  stop->RequestStop();
  EXPECT_THAT(program->DispatchKernel(7, 1, 1, false), IsErrorContaining(kIllegalStateError, "was stopped"));
  EXPECT_THAT(program->DispatchKernel(7, 2, 1, false), IsErrorContaining(kIllegalStateError, "was stopped"));
  EXPECT_EQ(GetCounter("calls"_iid), 0u);
  stop->ForgetStop();
  EXPECT_EQ(Dispatch(7, 1, 1).size(), 7u);
}

TEST_P(DispatchTest, ADispatchIsStoppedWhileItRuns) {
  auto* const stop = FindInterface<DispatchStopInterface>(*program);
  ASSERT_TRUE(stop);
  constexpr UInt32 kCount = 4000000000u;
  std::jthread stopper([&] {
    while (GetCounter("calls"_iid) == 0) std::this_thread::yield();
    stop->RequestStop();
  });
  EXPECT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsErrorContaining(kIllegalStateError, "was stopped"));
  EXPECT_LT(GetCounter("calls"_iid), kCount);
}

TEST_P(DispatchTest, OneDimensionRunsEveryIndexOnce) {
  for (const UInt32 count : {1u, 2u, 15u, 16u, 17u, 1000u, 65537u}) {
    for (const UInt32 group : {1u, 4u, 64u}) {
      SetGroup(group, 1, 1);
      SCOPED_TRACE(testing::Message() << count << " invocations in groups of " << group);
      ExpectBox(Dispatch(count, 1, 1), count, 1, 1, {group, 1, 1});
    }
  }
}

TEST_P(DispatchTest, FiveInvocationsInGroupsOfFourHaveTheseIds) {
  SetGroup(4, 1, 1);
  Tune("threshold"_iid, Int{5});
  const auto records = Dispatch(5, 1, 1);
  ASSERT_EQ(records.size(), 5u);
  const UInt32 groups[] = {0, 0, 0, 0, 1};
  const UInt32 locals[] = {0, 1, 2, 3, 0};
  for (UInt32 i = 0; i < 5; ++i) {
    EXPECT_EQ(ToTriple(records[i].global), Triple(i, 0, 0));
    EXPECT_EQ(ToTriple(records[i].local), Triple(locals[i], 0, 0));
    EXPECT_EQ(ToTriple(records[i].group), Triple(groups[i], 0, 0));
  }
}

TEST_P(DispatchTest, OneDimensionIsNotRaisedToAWorkGroup) {
  SetGroup(64, 1, 1);
  EXPECT_EQ(Dispatch(3, 1, 1).size(), 3u);
  SetGroup(64, 8, 8);
  EXPECT_EQ(Dispatch(3, 1, 1).size(), 3u);
}

TEST_P(DispatchTest, TwoAndThreeDimensionsRunEveryInvocationOnce) {
  SetGroup(1, 1, 1);
  ExpectBox(Dispatch(5, 7, 1), 5, 7, 1, {1, 1, 1});
  ExpectBox(Dispatch(1, 1, 9), 1, 1, 9, {1, 1, 1});
  SetGroup(4, 2, 3);
  ExpectBox(Dispatch(13, 11, 7), 13, 11, 7, {4, 2, 3});
  ExpectBox(Dispatch(300, 20, 4), 300, 20, 4, {4, 2, 3});
}

TEST_P(DispatchTest, ExtentsAreRaisedToOneWorkGroup) {
  SetGroup(4, 1, 1);
  ExpectBox(Dispatch(3, 2, 1), 4, 2, 1, {4, 1, 1});
  SetGroup(4, 3, 2);
  ExpectBox(Dispatch(1, 2, 1), 4, 3, 2, {4, 3, 2});
  ExpectBox(Dispatch(5, 4, 3), 5, 4, 3, {4, 3, 2});
}

TEST_P(DispatchTest, ZeroExtentsBeyondTheFirstAreThreeDimensional) {
  SetGroup(1, 1, 1);
  ExpectBox(Dispatch(7, 0, 0), 7, 1, 1, {1, 1, 1});
  ExpectBox(Dispatch(0, 0, 0), 1, 1, 1, {1, 1, 1});
  SetGroup(4, 2, 3);
  ExpectBox(Dispatch(7, 0, 0), 7, 2, 3, {4, 2, 3});
  ExpectBox(Dispatch(2, 0, 1), 4, 2, 3, {4, 2, 3});
  ExpectBox(Dispatch(0, 1, 0), 4, 2, 3, {4, 2, 3});
}

TEST_P(DispatchTest, NothingRunsForNoInvocations) {
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
  Tune("threshold"_iid, Int{-1});
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
  Tune("threshold"_iid, Int{100});
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
}

TEST_P(DispatchTest, TheNumberOfInvocationsWrapsAt32Bits) {
  SetGroup(1, 1, 1);
  EXPECT_TRUE(Dispatch(65536, 65536, 1).empty());
  // 65536 * 65537 is 65536 modulo 2^32: the first row.
  ExpectBox(Dispatch(65536, 65537, 1), 65536, 1, 1, {1, 1, 1});
  // 2^31 * 2 * 3 = 0 modulo 2^32.
  EXPECT_TRUE(Dispatch(0x80000000u, 2, 3).empty());
  // 3 * 0x55555556 = 2 modulo 2^32.
  ExpectBox(Dispatch(3, 0x55555556u, 1), 2, 1, 1, {1, 1, 1});
}

TEST_P(DispatchTest, UpToTheThresholdEverythingRunsInOrderOnTheCallingThread) {
  Tune("threshold"_iid, Int{1000});
  for (const UInt32 count : {1u, 999u, 1000u}) {
    const auto records = Dispatch(count, 1, 1);
    ASSERT_EQ(records.size(), count);
    for (UInt32 i = 0; i < count; ++i) {
      ASSERT_EQ(records[i].global.x, i);
      ASSERT_EQ(records[i].thread, GetThreadNumber());
    }
  }
  ExpectBox(Dispatch(1001, 1, 1), 1001, 1, 1, {1, 1, 1});
}

TEST_P(DispatchTest, AHugeThresholdCoversEveryOneDimensionalDispatch) {
  Tune("threshold"_iid, std::numeric_limits<Int>::max());
  const auto records = Dispatch(60000, 1, 1);
  ASSERT_EQ(records.size(), 60000u);
  for (UInt32 i = 0; i < 60000; ++i) ASSERT_EQ(records[i].global.x, i);
}

TEST_P(DispatchTest, AnyGranularityRunsEveryIndexOnce) {
  for (const Int granularity : {Int{1}, Int{7}, Int{100000}, Int{0}, Int{-5}, std::numeric_limits<Int>::max(),
                                std::numeric_limits<Int>::min()}) {
    SCOPED_TRACE(granularity);
    Tune("granularity"_iid, granularity);
    ExpectBox(Dispatch(5000, 1, 1), 5000, 1, 1, {1, 1, 1});
  }
}

TEST_P(DispatchTest, ANegativeThresholdRunsEveryIndexOnce) {
  Tune("threshold"_iid, std::numeric_limits<Int>::min());
  ExpectBox(Dispatch(1, 1, 1), 1, 1, 1, {1, 1, 1});
  ExpectBox(Dispatch(500, 1, 1), 500, 1, 1, {1, 1, 1});
}

TEST_P(DispatchTest, TuningValuesAreReadForEveryDispatch) {
  SetGroup(2, 2, 2);
  EXPECT_EQ(Dispatch(1, 1, 0).size(), 8u);
  SetGroup(3, 1, 1);
  EXPECT_EQ(Dispatch(1, 1, 0).size(), 3u);
}

TEST_P(DispatchTest, TheBarrierFlagChangesNothing) {
  EXPECT_THAT(program->DispatchKernel(5, 1, 1, true), IsOk());
  EXPECT_EQ(TakeRecords().size(), 5u);
}

TEST_P(DispatchTest, ADispatchSeesTheValuesOfTheLastUpdateOnly) {
  SetGroup(4, 1, 1);
  ASSERT_THAT(program->SetUniform("workGroupSize"_iid, Vec3<UInt32>(8, 1, 1)), IsOk());
  EXPECT_EQ(Dispatch(1, 2, 1).size(), 8u);  // 4 * 2: not updated yet
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(Dispatch(1, 2, 1).size(), 16u);
}

OSTRA_TEST_BOTH_FORMS(DispatchTest);

// Large enough for several threads, with a result that shows every lost or repeated invocation.
class ParallelDispatchTest : public KernelFormTest {};

TEST_P(ParallelDispatchTest, EveryElementIsScaledOnce) {
  constexpr UInt32 kCount = 300000;
  std::vector<Float32> values(kCount);
  for (UInt32 i = 0; i < kCount; ++i) values[i] = static_cast<Float32>(i % 1000);
  StoreBuffer("values"_iid, values);
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(3)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  for (Float32& value : values) value *= 3;
  EXPECT_EQ(ReadBuffer<Float32>("values"_iid), values);
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 0, false), IsOk());
  for (Float32& value : values) value *= 3;
  EXPECT_EQ(ReadBuffer<Float32>("values"_iid), values);
}

TEST_P(ParallelDispatchTest, CountersCountEveryInvocation) {
  AddKernel("k"_iid, kCount);
  LinkCounter("total"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1000000, 1, 1, false), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 1000000u);
  ASSERT_THAT(program->DispatchKernel(1000, 1000, 1, false), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 2000000u);
}

OSTRA_TEST_BOTH_FORMS(ParallelDispatchTest);

}  // namespace
}  // namespace ostra::test
