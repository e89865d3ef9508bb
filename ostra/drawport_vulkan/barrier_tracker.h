// BarrierTracker: which barriers the work of a list needs. Dispatches see each other's writes only where the client
// asks for it; everything that has to do with transfers waits by itself, and no more than it has to.
//
//   if (const auto barrier = tracker.BeforeDispatch()) Record(*barrier);
//   vkCmdDispatch(...);
//   tracker.AddDispatch();
//
// LayoutTracker: which images of a batch are in a layout for transfers. Between batches, and whenever a dispatch or a
// draw may read it, an image is in its home layout; transfers in between leave it where they need it.
//
//   if (const auto change = layouts.BeforeTransfer(&image, home, isWrite)) Record(*change);
//   vkCmdCopyBufferToImage(...);
//   Record(layouts.TakeHome());  // before a dispatch, a draw, and at the end of the batch
//
// They call no driver.
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
  // One for both.
  friend Barrier operator|(const Barrier& a, const Barrier& b) {
    return {a.from | b.from, a.fromAccess | b.fromAccess, a.to | b.to, a.toAccess | b.toAccess};
  }
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
  // The same where the image changes its layout, for which all earlier work with it has to be done.
  Barrier BeforeLayoutChange(const void* image, const DrawportRegion& region, Bool isWrite);
  // Between transfers and whatever comes.
  Barrier BeforeAnything() const;
  // One a pass: what was written before it may be vertices, uniforms, textures or targets in it.
  Barrier BeforePass() const;
  // Behind rendering: what was drawn is read by whatever comes.
  Barrier BehindPass() const;
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

class LayoutTracker {
 public:
  static constexpr Int kCapacity = 16;

  struct Change {
    const void* image = nullptr;  // told apart by its address
    VkImageLayout from = VK_IMAGE_LAYOUT_UNDEFINED;
    VkImageLayout to = VK_IMAGE_LAYOUT_UNDEFINED;
  };
  struct Changes {
    Change items[kCapacity];
    Int count = 0;
    const Change* begin() const { return items; }
    const Change* end() const { return items + count; }
  };

  // In which layout transfers read or write an image of this home: the general layout serves them as well.
  static VkImageLayout GetTransferLayout(VkImageLayout home, Bool isWrite);

  // Before a transfer; nothing where the image is in the layout for it. The tracker must not be full.
  std::optional<Change> BeforeTransfer(const void* image, VkImageLayout home, Bool isWrite);
  // What brings all images home. They count as there.
  Changes TakeHome();
  Bool IsFull() const { return _count == kCapacity; }
  Bool IsEmpty() const { return _count == 0; }
  // The batch was dropped: nothing has left its home.
  void Forget() { _count = 0; }

 private:
  struct Away {
    const void* image;
    VkImageLayout home, layout;
  };
  Away _away[kCapacity] = {};
  Int _count = 0;
};

}  // namespace ostra::vulkan
