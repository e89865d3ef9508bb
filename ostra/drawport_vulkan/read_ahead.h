// ReadAhead: what a list has copied for the host before it was asked for. Buffers and textures are read piece after
// piece: while the host takes one, the device copies what follows. It calls no driver.
#pragma once

#include "ostra/drawport_vulkan/staging.h"

namespace ostra::vulkan {

class ReadAhead {
 public:
  // Smaller copies take less time than their submission.
  static constexpr Int kMinBytes = Int(1) << 20;

  // When a copy was made: as the last work of batch `stamp`, which was submitted as `submittedValue` of the timeline,
  // after so many writes of the host, with rows of texels that far apart (SetDrawportRowAlignment).
  struct Moment {
    UInt64 stamp = 0;
    UInt64 submittedValue = 0;
    UInt64 hostWrites = 0;
    Int rowAlignment = 1;
  };

  // A copy was submitted to memory, which counts as mapped.
  void Note(DeviceResource& resource, const DrawportRegion& region, StagingMemory& memory, const Moment& moment);
  // The memory with exactly these bytes or texels; null unless they are still those of the resource.
  StagingMemory* Take(const DeviceResource& resource, const DrawportRegion& region);
  // Frees the memory.
  void Drop();

 private:
  WeakRef<DeviceResource> _resource;
  DrawportRegion _region;
  StagingMemory* _memory = nullptr;  // null when nothing is read ahead
  Moment _moment;
};

// What is read after `region` of a resource of `whole` by clients that read in whole rows or whole slices; no extent at
// the end, and where that cannot be known.
DrawportRegion FindNextRegion(const DrawportExtent& whole, const DrawportRegion& region);

}  // namespace ostra::vulkan
