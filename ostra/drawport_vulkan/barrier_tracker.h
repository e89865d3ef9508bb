// BarrierTracker: which barriers the work of a list needs. Dispatches see each other's writes only where the client
// asks for it; everything that has to do with transfers waits by itself, and no more than it has to.
//
//   if (const auto barrier = tracker.BeforeDispatch()) Record(*barrier);
//   vkCmdDispatch(...);
//   tracker.AddDispatch();
//
// It calls no driver.
#pragma once

#include <volk.h>

#include <initializer_list>
#include <optional>

#include "ostra/drawport/resources.h"

namespace ostra::vulkan {

// What VkMemoryBarrier and vkCmdPipelineBarrier take.
struct Barrier {
  VkPipelineStageFlags from = 0;
  VkAccessFlags fromAccess = 0;
  VkPipelineStageFlags to = 0;
  VkAccessFlags toAccess = 0;
  friend bool operator==(const Barrier&, const Barrier&) = default;
};

// What recorded work, which has a tracker of its own for what is inside of it, is to the work before and behind a
// replay.
struct ReplayHazards {
  Bool hasDispatches = false;
  Bool hasTransfers = false;
  Bool isSeparatedBefore = false;  // the client has asked for a barrier before the first dispatch
  Bool isSeparatedBehind = false;  // and behind the last one
  Bool IsEmpty() const { return !hasDispatches && !hasTransfers; }
};

class BarrierTracker {
 public:
  // Work that was recorded. A pass counts when its rendering ends.
  void AddDispatch() { _hasUnseenDispatch = _transfersMissDispatches = true; }
  void AddPass() { _transfersMissDispatches = _dispatchesMissTransfers = true; }
  void BeginPass() { _hasDrawn = true; }
  // Recorded work was dropped with its barriers: all are needed again.
  void Forget() { _hasUnseenDispatch = _isAskedFor = _transfersMissDispatches = _dispatchesMissTransfers = true; }

  // The client asks that later dispatches see what earlier ones write. Costs nothing until one follows.
  void SeparateDispatches() { _isAskedFor = _isAskedFor || _hasUnseenDispatch; }
  // One for all that the dispatch waits for.
  std::optional<Barrier> BeforeDispatch();
  // One for all that a replay waits for, and what work behind it has to know. Inside of it transfers wait for no work
  // that was recorded before, so the replay does.
  std::optional<Barrier> BeforeReplay(const ReplayHazards& work);
  void AddReplay(const ReplayHazards& work);
  // What a transfer reads or writes: bytes of a buffer along x, texels of an image. The resource is told apart by its
  // address.
  struct Access {
    const void* resource = nullptr;
    DrawportRegion region;
    Bool isWrite = false;
  };
  // Before one transfer with all its accesses, at most two. It counts as recorded.
  std::optional<Barrier> BeforeTransfer(std::initializer_list<Access> accesses);
  std::optional<Barrier> BeforeTransfer(const void* resource, const DrawportRegion& region, Bool isWrite) {
    return BeforeTransfer({{resource, region, isWrite}});
  }
  // One a pass: what was written before it may be vertices, uniforms, textures or targets in it.
  Barrier BeforePass() const;
  // Before the host reads what was written.
  Barrier BeforeHost() const;

 private:
  static constexpr Int kAccessCount = 32;

  VkPipelineStageFlags GetDrawStages() const { return _hasDrawn ? VK_PIPELINE_STAGE_ALL_GRAPHICS_BIT : 0; }
  Bool Collides(std::initializer_list<Access> accesses) const;

  Bool _hasUnseenDispatch = false;        // since the last barrier between dispatches
  Bool _isAskedFor = false;               // such a barrier, by the client
  Bool _transfersMissDispatches = false;  // transfers do not wait for dispatches yet
  Bool _dispatchesMissTransfers = false;
  Bool _hasDrawn = false;          // ever
  Access _accesses[kAccessCount];  // of transfers since the last barrier between transfers
  Int _accessCount = 0;
};

}  // namespace ostra::vulkan
