// KernelGroupInterface: an interface of kernel objects whose invocations exchange values in group memory.
//
// A program asks for it once, when the kernel is added or copied, and then runs whole work groups, with RunGroups
// alone. Classes made from kernel files of that kind have it by themselves (kernel_groups.h).
#pragma once

#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

// A run of consecutive work groups of one dispatch: groups first .. end - 1, x first.
struct KernelGroups {
  Vec3<UInt32> count;  // of the whole dispatch per axis
  UInt64 first = 0;
  UInt64 end = 0;
  // True: between barriers the invocations run one after the other in ascending order, not in lanes.
  Bool isOrdered = false;
};

class KernelGroupInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.kernelgroupinterface"_id;

  // Runs the groups. Called from many threads at once for different ones. Error: out of memory.
  virtual Result<void> RunGroups(const KernelGroups& groups) = 0;

  // Invocations of a group that RunGroups computes at a time, for all or part of the kernel.
  virtual UInt32 GetLaneCount() const { return 1; }
};

}  // namespace ostra
