// How the CPU program cuts a dispatch into the runs that it gives to kernels with the range interface.
#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <thread>

#include "ostra/jobs/worker_threads.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

struct SeenRange {
  Vec3<UInt32> extent{0, 0, 0};
  UInt32 first = 0;
  UInt32 count = 0;
  Bool isOrdered = false;
  UInt64 thread = 0;
};

std::mutex g_rangesMutex;
std::vector<SeenRange> g_ranges;

// Notes every range that it is given in g_ranges. Tuned like the recorder kernel. Does not say how many invocations it
// computes at once, so that pieces have nothing to do with the time that they take.
template <class Derived>
class RangeNotes : public KernelBase<Derived, KernelRangeInterface> {
 public:
  Result<void> Init() override {
    this->_workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("threshold", this->_singleThreadedThreshold));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("granularity", this->_granularity));
    return this->AddParameter("workGroupSize", this->_workGroupSize);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    ADD_FAILURE() << "A kernel with ranges was called for one invocation.";
    return OK;
  }
  Result<void> RunRange(const KernelRange& range) override {
    const std::scoped_lock lock(g_rangesMutex);
    EXPECT_TRUE(range.stop && range.stop->Load() == 0);
    g_ranges.push_back({range.extent, range.first, range.count, range.isOrdered, GetThreadNumber()});
    return OK;
  }
};

class RangeKeeper final : public RangeNotes<RangeKeeper> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.rangekeeper";
};

// Computes four invocations at once. Ranges are over when as many as g_wantedRanges have begun.
std::atomic<UInt32> g_wantedRanges{0};
std::atomic<UInt32> g_begunRanges{0};

class LaneKeeper final : public RangeNotes<LaneKeeper> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.lanekeeper";
  Result<void> RunRange(const KernelRange& range) override {
    ++g_begunRanges;
    while (g_begunRanges.load() < g_wantedRanges.load()) std::this_thread::yield();
    return RangeNotes::RunRange(range);
  }
  UInt32 GetLaneCount() const override { return 4; }
};

template <class Kernel>
Result<void> Register(const Id& id) {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, Class::Create<Kernel>(id));
  return registry.Insert(kernelClass);
}

Result<void> RegisterKeepers() {
  OSTRA_RETURN_IF_ERROR(Register<RangeKeeper>("net.ostra.test.rangekeeper"_id));
  return Register<LaneKeeper>("net.ostra.test.lanekeeper"_id);
}

class RangePiecesTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    static const Result<void> registered = RegisterKeepers();
    ASSERT_THAT(registered, IsOk());
    ASSERT_THAT(program->AddKernel("k"_iid, Url("net.ostra.test.rangekeeper"_s), true), IsOk());
  }
  template <class T>
  void Tune(InternedId name, T value) {
    ASSERT_THAT(program->SetUniform(name, value), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
  }
  // The ranges of a dispatch, ordered by their beginning.
  template <class Call>
  static std::vector<SeenRange> Collect(Call&& call) {
    g_ranges.clear();
    g_begunRanges = 0;
    EXPECT_THAT(call(), IsOk());
    std::sort(g_ranges.begin(), g_ranges.end(),
              [](const SeenRange& a, const SeenRange& b) { return a.first < b.first; });
    return g_ranges;
  }
  std::vector<SeenRange> Dispatch(UInt32 x, UInt32 y, UInt32 z) {
    return Collect([&] { return program->DispatchKernel(x, y, z, false); });
  }

  // The one range of all invocations of `extent`.
  static void ExpectOnePiece(const std::vector<SeenRange>& ranges, const Vec3<UInt32>& extent, Bool isOrdered) {
    ASSERT_EQ(ranges.size(), 1u);
    EXPECT_EQ(ranges[0].extent, extent);
    EXPECT_EQ(ranges[0].first, 0u);
    EXPECT_EQ(ranges[0].count, extent.x * extent.y * extent.z);
    EXPECT_EQ(ranges[0].isOrdered, isOrdered);
    EXPECT_EQ(ranges[0].thread, GetThreadNumber());
  }
  // Ranges in no order that have every invocation of `extent` once; all but the last have at least `granularity`.
  static void ExpectPieces(const std::vector<SeenRange>& ranges, const Vec3<UInt32>& extent, UInt32 granularity) {
    UInt32 next = 0;
    for (const SeenRange& range : ranges) {
      ASSERT_EQ(range.extent, extent);
      ASSERT_FALSE(range.isOrdered);
      ASSERT_EQ(range.first, next);
      next += range.count;
      if (&range == &ranges.back()) break;
      ASSERT_GE(range.count, granularity);
    }
    EXPECT_EQ(next, extent.x * extent.y * extent.z);
  }
};

TEST_F(RangePiecesTest, AsManyInvocationsAsTheGranularityAreOnePiece) {
  ExpectOnePiece(Dispatch(16, 1, 1), {16, 1, 1}, false);
  ExpectOnePiece(Dispatch(1, 1, 1), {1, 1, 1}, false);
  Tune("granularity"_iid, Int{1000});
  ExpectOnePiece(Dispatch(1000, 1, 1), {1000, 1, 1}, false);
}

TEST_F(RangePiecesTest, MoreInvocationsAreCutIntoPiecesOfAtLeastTheGranularity) {
  for (const Int granularity : {Int{1}, Int{16}, Int{100}, Int{4999}}) {
    Tune("granularity"_iid, granularity);
    for (const UInt32 count : {5000u, 123457u}) {
      SCOPED_TRACE(testing::Message() << count << " invocations, granularity " << granularity);
      const auto ranges = Dispatch(count, 1, 1);
      EXPECT_GT(ranges.size(), 1u);
      ExpectPieces(ranges, {count, 1, 1}, static_cast<UInt32>(granularity));
    }
  }
}

TEST_F(RangePiecesTest, UpToTheThresholdThereIsOneOrderedPiece) {
  Tune("threshold"_iid, Int{1000});
  ExpectOnePiece(Dispatch(1, 1, 1), {1, 1, 1}, true);
  ExpectOnePiece(Dispatch(1000, 1, 1), {1000, 1, 1}, true);
  ExpectPieces(Dispatch(1001, 1, 1), {1001, 1, 1}, 16);
}

TEST_F(RangePiecesTest, NoInvocationsAreNoPiece) {
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
  Tune("threshold"_iid, Int{-1});
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
  Tune("threshold"_iid, Int{10});
  EXPECT_TRUE(Dispatch(0, 1, 1).empty());
}

TEST_F(RangePiecesTest, ThreeDimensionsTake64AtATimeWhateverTheTuningSays) {
  Tune("granularity"_iid, Int{1});
  Tune("threshold"_iid, std::numeric_limits<Int>::max());
  ExpectOnePiece(Dispatch(8, 8, 1), {8, 8, 1}, false);
  ExpectPieces(Dispatch(200, 1, 0), {200, 1, 1}, 64);
  Tune("granularity"_iid, Int{1000000});
  const auto ranges = Dispatch(200, 1, 0);
  EXPECT_GT(ranges.size(), 1u);
  ExpectPieces(ranges, {200, 1, 1}, 64);
  ExpectPieces(Dispatch(100, 90, 7), {100, 90, 7}, 64);
}

TEST_F(RangePiecesTest, TheExtentIsTheRaisedOne) {
  Tune("workGroupSize"_iid, Vec3<UInt32>(4, 2, 3));
  ExpectOnePiece(Dispatch(3, 1, 0), {4, 2, 3}, false);
  ExpectPieces(Dispatch(50, 1, 2), {50, 2, 3}, 64);
  ExpectOnePiece(Dispatch(3, 1, 1), {3, 1, 1}, false);  // one dimension is not raised
}

TEST_F(RangePiecesTest, AnIndirectDispatchIsOneDimensionalWhenYAndZComeToOne) {
  using Counts = Vec4<Int32>;
  Tune("workGroupSize"_iid, Vec3<UInt32>(8, 1, 1));
  Tune("threshold"_iid, Int{16});
  const auto dispatch = [this](const Counts& counts) {
    StoreBuffer<Counts>("counts"_iid, {counts});
    return Collect([this] { return program->DispatchIndirectKernel("counts"_iid, 0, false); });
  };
  // Only one-dimensional work is ordered.
  ExpectOnePiece(dispatch(Counts(2, 0, -5, 9)), {16, 1, 1}, true);
  ExpectOnePiece(dispatch(Counts(1, 2, 1, 9)), {8, 2, 1}, false);
  ExpectOnePiece(dispatch(Counts(1, 1, 2, 9)), {8, 1, 2}, false);
  Tune("workGroupSize"_iid, Vec3<UInt32>(8, 2, 1));
  ExpectOnePiece(dispatch(Counts(1, 1, 1, 9)), {8, 2, 1}, false);
}

// A program whose kernel computes four invocations at once, on two threads.
class LanePiecesTest : public RangePiecesTest {
 protected:
  void SetUp() override {
    SetWorkerThreadLimit(2);
    RangePiecesTest::SetUp();
    ASSERT_THAT(program->AddKernel("lanes"_iid, Url("net.ostra.test.lanekeeper"_s), true), IsOk());
  }
  void TearDown() override {
    g_wantedRanges = 0;
    RangePiecesTest::TearDown();
    SetWorkerThreadLimit(0);
  }
};

TEST_F(LanePiecesTest, AFewInvocationsWhoseDurationIsUnknownReachTwoThreads) {
  g_wantedRanges = 2;
  const auto ranges = Dispatch(2, 1, 1);
  ASSERT_EQ(ranges.size(), 2u);
  ExpectPieces(ranges, {2, 1, 1}, 1);
  EXPECT_NE(ranges[0].thread, ranges[1].thread);
}

TEST_F(LanePiecesTest, TwoDimensionsReachTwoThreadsInWholeLanes) {
  g_wantedRanges = 2;
  const auto ranges = Dispatch(4, 2, 1);
  ASSERT_EQ(ranges.size(), 2u);
  ExpectPieces(ranges, {4, 2, 1}, 4);
  EXPECT_NE(ranges[0].thread, ranges[1].thread);
}

TEST_F(LanePiecesTest, InvocationsWhoseDurationIsUnknownAreSharedInWholeLanes) {
  for (const SeenRange& range : Dispatch(4001, 1, 1)) EXPECT_EQ(range.first % 4, 0u);
}

}  // namespace
}  // namespace ostra::test
