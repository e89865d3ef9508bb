// Which barriers work needs: as many as its hazards ask for, and no more.
#include "ostra/drawport_vulkan/barrier_tracker.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace ostra::test {
namespace {

using vulkan::Barrier;
using vulkan::BarrierTracker;

const Byte kResources[2] = {};  // their addresses tell them apart
const Byte& kBuffer = kResources[0];
const Byte& kOther = kResources[1];

DrawportRegion MakeBytes(Int begin, Int count) { return {{begin, 0, 0}, {count, 1, 1}}; }

TEST(BarrierTrackerTest, FirstWorkNeedsNone) {
  BarrierTracker tracker;
  tracker.SeparateDispatches();
  EXPECT_FALSE(tracker.BeforeDispatch());
  EXPECT_FALSE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), true));
}

TEST(BarrierTrackerTest, DispatchesWaitForEachOtherWhenAskedAndOnce) {
  BarrierTracker tracker;
  tracker.AddDispatch();
  EXPECT_FALSE(tracker.BeforeDispatch());
  tracker.SeparateDispatches();
  tracker.SeparateDispatches();
  const auto barrier = tracker.BeforeDispatch();
  ASSERT_TRUE(barrier);
  EXPECT_EQ(barrier->fromAccess, VkAccessFlags{VK_ACCESS_SHADER_WRITE_BIT});
  EXPECT_NE(barrier->toAccess & VK_ACCESS_INDIRECT_COMMAND_READ_BIT, 0u);
  EXPECT_FALSE(tracker.BeforeDispatch());
  tracker.SeparateDispatches();
  EXPECT_FALSE(tracker.BeforeDispatch()) << "nothing was dispatched since";
}

TEST(BarrierTrackerTest, ADispatchWaitsForDispatchesAndTransfersWithOneBarrier) {
  BarrierTracker tracker;
  tracker.AddDispatch();
  EXPECT_TRUE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false));
  tracker.SeparateDispatches();
  const auto barrier = tracker.BeforeDispatch();
  ASSERT_TRUE(barrier);
  EXPECT_EQ(barrier->from, VkPipelineStageFlags{VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | VK_PIPELINE_STAGE_TRANSFER_BIT});
  EXPECT_EQ(barrier->fromAccess, VkAccessFlags{VK_ACCESS_SHADER_WRITE_BIT | VK_ACCESS_TRANSFER_WRITE_BIT});
  EXPECT_FALSE(tracker.BeforeDispatch());
}

TEST(BarrierTrackerTest, AReplayOfDispatchesIsLikeADispatch) {
  BarrierTracker tracker;
  vulkan::ReplayHazards work{.hasDispatches = true};
  EXPECT_FALSE(tracker.BeforeReplay(work));
  tracker.AddReplay(work);
  EXPECT_FALSE(tracker.BeforeReplay(work)) << "dispatches are not separated unless the client asks";
  work.isSeparatedBefore = true;
  EXPECT_TRUE(tracker.BeforeReplay(work));
  EXPECT_FALSE(tracker.BeforeReplay(work)) << "nothing was dispatched since";
  work.isSeparatedBehind = true;
  tracker.AddReplay(work);
  EXPECT_TRUE(tracker.BeforeDispatch());
  tracker.AddReplay(work);
  EXPECT_TRUE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false));
  const auto barrier = tracker.BeforeReplay(work);
  ASSERT_TRUE(barrier);
  EXPECT_NE(barrier->toAccess & VK_ACCESS_UNIFORM_READ_BIT, 0u) << "values may have been copied";
}

TEST(BarrierTrackerTest, AReplayWithTransfersWaitsForEverythingAndIsWaitedFor) {
  BarrierTracker tracker;
  const vulkan::ReplayHazards work{.hasDispatches = true, .hasTransfers = true};
  EXPECT_FALSE(tracker.BeforeReplay(work));
  tracker.AddReplay(work);
  const auto barrier = tracker.BeforeReplay(work);
  ASSERT_TRUE(barrier);
  EXPECT_NE(barrier->from & VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, 0u);
  EXPECT_NE(barrier->from & VK_PIPELINE_STAGE_TRANSFER_BIT, 0u);
  EXPECT_NE(barrier->to & VK_PIPELINE_STAGE_TRANSFER_BIT, 0u);
  EXPECT_NE(barrier->to & VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, 0u);
  tracker.AddReplay(work);
  EXPECT_TRUE(tracker.BeforeDispatch());
  EXPECT_TRUE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false));
}

TEST(BarrierTrackerTest, TransfersBesideEachOtherDoNotWait) {
  BarrierTracker tracker;
  EXPECT_FALSE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), true));
  EXPECT_FALSE(tracker.BeforeTransfer(&kBuffer, MakeBytes(4, 4), true));
  EXPECT_FALSE(tracker.BeforeTransfer(&kOther, MakeBytes(0, 8), true));
}

TEST(BarrierTrackerTest, TransfersThatOnlyReadDoNotWait) {
  BarrierTracker tracker;
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false));
}

TEST(BarrierTrackerTest, ATransferWaitsForOneThatOverlapsWhenOneOfThemWrites) {
  for (const Bool writesFirst : {false, true}) {
    BarrierTracker tracker;
    EXPECT_FALSE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 8), writesFirst));
    EXPECT_TRUE(tracker.BeforeTransfer(&kBuffer, MakeBytes(4, 8), !writesFirst));
    EXPECT_EQ(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false).has_value(), false) << "seen by the barrier";
  }
}

// However many accesses were noted before it, the table is never full between the two of a copy.
TEST(BarrierTrackerTest, ACopyIsRememberedWithBothAccesses) {
  for (Int before = 0; before < 70; ++before) {
    for (const Bool usesSource : {false, true}) {
      BarrierTracker tracker;
      for (Int i = 0; i < before; ++i) tracker.BeforeTransfer(&kBuffer, MakeBytes(100 + 4 * i, 4), true);
      tracker.BeforeTransfer({{&kBuffer, MakeBytes(0, 4), false}, {&kOther, MakeBytes(0, 4), true}});
      const Byte& used = usesSource ? kBuffer : kOther;
      EXPECT_TRUE(tracker.BeforeTransfer(&used, MakeBytes(0, 4), true)) << before << " accesses before";
    }
  }
}

TEST(BarrierTrackerTest, WorkThatWasThrownAwayLeavesAllBarriersOwed) {
  BarrierTracker tracker;
  tracker.Forget();
  EXPECT_EQ(tracker.BeforeDispatch()->from,
            VkPipelineStageFlags{VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT | VK_PIPELINE_STAGE_TRANSFER_BIT});
  EXPECT_TRUE(tracker.BeforeTransfer(&kBuffer, MakeBytes(0, 4), false));
}

TEST(BarrierTrackerTest, StagesOfDrawsStandInBarriersOnceSomethingWasDrawn) {
  BarrierTracker tracker;
  EXPECT_EQ(tracker.BeforeHost().from & VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT, 0u);
  tracker.BeginPass();
  tracker.AddPass();
  EXPECT_NE(tracker.BeforeHost().from & VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT, 0u);
  EXPECT_NE(tracker.BeforeDispatch()->from & VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT, 0u);
}

// A list of work as a device would see it: each piece with its stage and accesses, and the barriers in front of it.
struct Work {
  enum Kind { kDispatch, kTransfer, kPass } kind;
  const void* resource = nullptr;
  DrawportRegion region = {};
  Bool isWrite = true;
  std::size_t barrierCount = 0;  // recorded before it
  std::size_t askedCount = 0;    // how often dispatches were to be separated before it

  VkPipelineStageFlags GetStage() const {
    return kind == kDispatch   ? VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT
           : kind == kTransfer ? VK_PIPELINE_STAGE_TRANSFER_BIT
                               : VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT;
  }
  VkAccessFlags GetWrites() const {
    if (!isWrite) return 0;
    return kind == kTransfer ? VK_ACCESS_TRANSFER_WRITE_BIT : VK_ACCESS_SHADER_WRITE_BIT;
  }
  VkAccessFlags GetAccess() const {
    if (kind == kPass) return VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    if (kind == kDispatch) return VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT;
    return isWrite ? VK_ACCESS_TRANSFER_WRITE_BIT : VK_ACCESS_TRANSFER_READ_BIT;
  }
};

Bool MustWait(const Work& first, const Work& second) {
  if (first.kind == Work::kDispatch && second.kind == Work::kDispatch)
    return first.askedCount != second.askedCount;  // the client asks for that
  if (first.kind != Work::kTransfer || second.kind != Work::kTransfer) return true;
  const Int begin = first.region.origin.x, otherBegin = second.region.origin.x;
  return first.resource == second.resource && (first.isWrite || second.isWrite) &&
         begin < otherBegin + second.region.extent.width && otherBegin < begin + first.region.extent.width;
}

Bool Separates(const Barrier& barrier, const Work& first, const Work& second) {
  const Bool isOrdered = (first.GetStage() & ~barrier.from) == 0 && (second.GetStage() & ~barrier.to) == 0;
  if (!isOrdered || first.GetWrites() == 0) return isOrdered;
  return (first.GetWrites() & ~barrier.fromAccess) == 0 && (second.GetAccess() & ~barrier.toAccess) == 0;
}

class Recording {
 public:
  explicit Recording(UInt32 seed) : _random(seed) {}

  void AddRandomWork() {
    switch (_random() % 6) {
      case 0:
        Note(_tracker.BeforeDispatch());
        Add({Work::kDispatch});
        _tracker.AddDispatch();
        break;
      case 1:
        _tracker.BeginPass();
        Note(_tracker.BeforePass());
        Add({Work::kPass});
        _tracker.AddPass();
        break;
      case 2:
        _tracker.SeparateDispatches();
        ++_askedCount;
        break;
      case 3: {  // a copy: both accesses are of one piece of work
        const DrawportRegion source = MakeBytes(_random() % 64, 1 + _random() % 16);
        const DrawportRegion target = MakeBytes(_random() % 64, 1 + _random() % 16);
        Note(_tracker.BeforeTransfer({{&kBuffer, source, false}, {&kOther, target, true}}));
        Add({Work::kTransfer, &kBuffer, source, false});
        Add({Work::kTransfer, &kOther, target, true});
        break;
      }
      default: {
        const void* const resource = _random() % 2 == 0 ? &kBuffer : &kOther;
        const DrawportRegion region = MakeBytes(_random() % 64, 1 + _random() % 16);
        const Bool isWrite = _random() % 2 == 0;
        Note(_tracker.BeforeTransfer(resource, region, isWrite));
        Add({Work::kTransfer, resource, region, isWrite});
      }
    }
  }

  void ExpectNoHazard() const {
    for (std::size_t second = 0; second < _work.size(); ++second) {
      for (std::size_t first = 0; first < second; ++first) {
        if (!MustWait(_work[first], _work[second])) continue;
        ASSERT_TRUE(AreSeparated(_work[first], _work[second])) << "work " << first << " and " << second;
      }
    }
  }

 private:
  void Note(const std::optional<Barrier>& barrier) {
    if (barrier) _barriers.push_back(*barrier);
  }
  void Add(Work work) {
    work.barrierCount = _barriers.size();
    work.askedCount = _askedCount;
    _work.push_back(work);
  }
  Bool AreSeparated(const Work& first, const Work& second) const {
    for (std::size_t i = first.barrierCount; i < second.barrierCount; ++i)
      if (Separates(_barriers[i], first, second)) return true;
    return false;
  }

  std::mt19937 _random;
  BarrierTracker _tracker;
  std::vector<Work> _work;
  std::vector<Barrier> _barriers;
  std::size_t _askedCount = 0;
};

TEST(BarrierTrackerTest, RandomWorkNeverMeetsAHazard) {
  for (UInt32 seed = 0; seed < 300; ++seed) {
    Recording recording(seed);
    for (int i = 0; i < 120; ++i) recording.AddRandomWork();
    recording.ExpectNoHazard();
    if (HasFatalFailure()) FAIL() << "seed " << seed;
  }
}

}  // namespace
}  // namespace ostra::test
